#include "board/board_state.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <fstream>
#include <optional>
#include <sstream>
#include <vector>

namespace fenwright::board {
namespace {

// One line per fact, blanks between the fields, all numbers hexadecimal:
//
//   fenwright-board-state 1
//   firmware ADDRESS WORD
//   update unfinished            missing: the firmware is whole
//   chip NAME                    the lines below, up to the next "chip", belong to this chip
//   fuses LOW HIGH
//   lock BITS                    bit 1 = LB2, bit 0 = LB1
//   calibration BYTE x 4
//   flash ADDRESS WORD...        a row; rows that are not there are blank
//   eeprom ADDRESS BYTE...       likewise
//   socket NAME
//   device NAME                  missing: none selected
constexpr std::string_view kHeader = "fenwright-board-state 1";
constexpr std::uint32_t kRowCells = 16;

void AppendHex(std::string& text, std::uint32_t value, std::size_t digits) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  text += ' ';
  for (std::size_t i = digits; i-- > 0;) {
    text += kDigits[value >> (4 * i) & 0xF];
  }
}

/// Appends the rows of a memory that are not blank.
template <typename Read>
void AppendMemory(std::string& text, std::string_view keyword, std::uint32_t size,
                  std::size_t digits, Read read) {
  const std::uint32_t blank = (1U << (4 * digits)) - 1;
  for (std::uint32_t start = 0; start < size; start += kRowCells) {
    std::string row(keyword);
    AppendHex(row, start, 4);
    bool used = false;
    for (std::uint32_t cell = start; cell < std::min(size, start + kRowCells); ++cell) {
      AppendHex(row, read(cell), digits);
      used = used || read(cell) != blank;
    }
    if (used) {
      text.append(row).append("\n");
    }
  }
}

void AppendChip(std::string& text, const Chip& chip) {
  text.append("chip ").append(chip.Model().Name).append("\nfuses");
  AppendHex(text, chip.FuseLow(), 2);
  AppendHex(text, chip.FuseHigh(), 2);
  text.append("\nlock");
  AppendHex(text, chip.LockBits(), 1);
  text.append("\ncalibration");
  for (const std::uint8_t byte : chip.Calibration()) {
    AppendHex(text, byte, 2);
  }
  text.append("\n");
  AppendMemory(text, "flash", chip.Model().FlashWords, 4,
               [&chip](std::uint32_t word) { return chip.WrittenFlashWord(word); });
  AppendMemory(text, "eeprom", chip.Model().EepromBytes, 2,
               [&chip](std::uint32_t address) { return chip.WrittenEepromByte(address); });
}

/// All fields of `text` as hexadecimal numbers up to `largest`; nothing when one is not.
std::optional<std::vector<std::uint32_t>> Numbers(std::string_view text, std::uint32_t largest) {
  std::vector<std::uint32_t> numbers;
  while (!text.empty()) {
    const std::string_view field = text.substr(0, text.find(' '));
    std::uint32_t value = 0;
    const char* const end = field.data() + field.size();
    const auto [stop, problem] = std::from_chars(field.data(), end, value, 16);
    if (problem != std::errc{} || stop != end || value > largest) {
      return std::nullopt;
    }
    numbers.push_back(value);
    text.remove_prefix(std::min(text.size(), field.size() + 1));
  }
  return numbers;
}

constexpr std::uint32_t kLargestByte = 0xFF;
constexpr std::uint32_t kLargestWord = 0xFFFF;

const ChipModel* ModelNamed(std::string_view name) {
  const ChipModel* model = FindChip(name);
  return model != nullptr && model->Name == name ? model : nullptr;
}

class StateReader {
 public:
  explicit StateReader(SimulatedBoard& board) : board_(board) {}

  bool Line(std::string_view keyword, std::string_view rest) {
    if (keyword == "chip") return StartChip(rest);
    if (keyword == "socket") return board_.InsertChip(rest);
    if (keyword == "device") return Device(rest);
    if (keyword == "firmware") return Firmware(rest);
    if (keyword == "update") return Update(rest);
    if (chip_ == nullptr) return false;
    if (keyword == "fuses") return Fuses(rest);
    if (keyword == "lock") return Lock(rest);
    if (keyword == "calibration") return Calibration(rest);
    if (keyword == "flash") return Flash(rest);
    return keyword == "eeprom" && Eeprom(rest);
  }

 private:
  bool StartChip(std::string_view name) {
    const ChipModel* model = ModelNamed(name);
    if (model == nullptr) {
      return false;
    }
    chip_ = &board_.ChipOf(*model);
    for (std::uint32_t word = 0; word < model->FlashWords; ++word) {
      chip_->SetFlashWord(word, kLargestWord);
    }
    for (std::uint32_t address = 0; address < model->EepromBytes; ++address) {
      chip_->SetEepromByte(address, kLargestByte);
    }
    return true;
  }

  bool Device(std::string_view name) {
    const ChipModel* model = ModelNamed(name);
    if (model == nullptr || !model->DeviceCode) {
      return false;
    }
    board_.Protocol().SelectDevice(model);
    return true;
  }

  bool Firmware(std::string_view rest) {
    const auto numbers = Numbers(rest, kLargestWord);
    if (!numbers || numbers->size() != 2) {
      return false;
    }
    board_.Protocol().SetFirmwareWord(static_cast<std::uint16_t>((*numbers)[0]),
                                      static_cast<std::uint16_t>((*numbers)[1]));
    return true;
  }

  bool Update(std::string_view rest) {
    if (rest != "unfinished") {
      return false;
    }
    board_.Protocol().LeaveUpdateUnfinished();
    return true;
  }

  bool Fuses(std::string_view rest) {
    const auto numbers = Numbers(rest, kLargestByte);
    if (!numbers || numbers->size() != 2) {
      return false;
    }
    chip_->SetFuses(static_cast<std::uint8_t>((*numbers)[0]),
                    static_cast<std::uint8_t>((*numbers)[1]));
    return true;
  }

  bool Lock(std::string_view rest) {
    const auto numbers = Numbers(rest, 3);
    if (!numbers || numbers->size() != 1) {
      return false;
    }
    chip_->SetLockBits(numbers->front());
    return true;
  }

  bool Calibration(std::string_view rest) {
    const auto numbers = Numbers(rest, kLargestByte);
    std::array<std::uint8_t, 4> values{};
    if (!numbers || numbers->size() != values.size()) {
      return false;
    }
    std::transform(numbers->begin(), numbers->end(), values.begin(),
                   [](std::uint32_t value) { return static_cast<std::uint8_t>(value); });
    chip_->SetCalibration(values);
    return true;
  }

  bool Flash(std::string_view rest) {
    return Row(rest, kLargestWord, chip_->Model().FlashWords,
               [this](std::uint32_t address, std::uint32_t value) {
                 chip_->SetFlashWord(address, static_cast<std::uint16_t>(value));
               });
  }

  bool Eeprom(std::string_view rest) {
    return Row(rest, kLargestByte, chip_->Model().EepromBytes,
               [this](std::uint32_t address, std::uint32_t value) {
                 chip_->SetEepromByte(address, static_cast<std::uint8_t>(value));
               });
  }

  template <typename Set>
  static bool Row(std::string_view rest, std::uint32_t largest, std::uint32_t size, Set set) {
    const std::string_view address_text = rest.substr(0, rest.find(' '));
    const auto address = Numbers(address_text, size);
    const auto cells =
        Numbers(rest.substr(std::min(rest.size(), address_text.size() + 1)), largest);
    if (!address || address->size() != 1 || !cells || address->front() + cells->size() > size) {
      return false;
    }
    std::uint32_t at = address->front();
    for (const std::uint32_t value : *cells) {
      set(at++, value);
    }
    return true;
  }

  SimulatedBoard& board_;
  Chip* chip_ = nullptr;
};

std::string Quoted(std::string_view text) { return "\"" + std::string(text) + "\""; }

}  // namespace

std::string FormatState(const SimulatedBoard& board) {
  std::string text(kHeader);
  text += '\n';
  for (const auto& [address, word] : board.Protocol().Firmware()) {
    text.append("firmware");
    AppendHex(text, address, 4);
    AppendHex(text, word, 4);
    text += '\n';
  }
  if (board.Protocol().UpdateUnfinished()) {
    text.append("update unfinished\n");
  }
  for (const auto& [name, chip] : board.Chips()) {
    if (chip.Model().Present) {
      AppendChip(text, chip);
    }
  }
  text.append("socket ").append(board.Socket().Model().Name).append("\n");
  if (const ChipModel* device = board.Protocol().SelectedDevice()) {
    text.append("device ").append(device->Name).append("\n");
  }
  return text;
}

bool ParseState(std::string_view text, SimulatedBoard& board, std::string& error) {
  StateReader reader(board);
  bool first = true;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    const std::string_view keyword = line.substr(0, line.find(' '));
    const std::string_view rest = line.substr(std::min(line.size(), keyword.size() + 1));
    const bool good = first ? line == kHeader : line.empty() || reader.Line(keyword, rest);
    if (!good) {
      error = "not a line of a board state: " + Quoted(line);
      return false;
    }
    first = false;
  }
  if (first) {
    error =
        "the file is empty, so it holds no board state: give another one, or delete it to start "
        "with a new board";
  }
  return !first;
}

bool LoadState(const std::string& path, SimulatedBoard& board, std::string& error) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  // Copying nothing counts as a failure.
  const bool is_empty =
      file.peek() == std::ifstream::traits_type::eof() && file.is_open() && !file.bad();
  if (!is_empty && !(content << file.rdbuf())) {
    error = path + ": cannot be read";
    return false;
  }
  if (!ParseState(content.str(), board, error)) {
    error = path + ": " + error;
    return false;
  }
  return true;
}

}  // namespace fenwright::board
