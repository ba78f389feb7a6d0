#include "job/image_place.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <initializer_list>
#include <limits>
#include <vector>

namespace fenwright::job {
namespace {

constexpr int kBitsPerByte = 8;

/// A whole number, decimal or hexadecimal ("0x1F"); nothing for anything else.
std::optional<std::uint64_t> ParseNumber(std::string_view text) {
  constexpr int kDecimal = 10;
  constexpr int kHexadecimal = 16;
  const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
  if (hexadecimal) text.remove_prefix(2);
  std::uint64_t number = 0;
  const auto [stop, code] = std::from_chars(text.data(), text.data() + text.size(), number,
                                            hexadecimal ? kHexadecimal : kDecimal);
  if (code != std::errc{} || stop != text.data() + text.size()) return std::nullopt;
  return number;
}

std::optional<int> ParseWithin(std::string_view text, int first, int last) {
  const auto number = ParseNumber(text);
  if (!number || *number < static_cast<std::uint64_t>(first) ||
      *number > static_cast<std::uint64_t>(last)) {
    return std::nullopt;
  }
  return static_cast<int>(*number);
}

/// Takes what stands before the first of a character off the text, the whole text where there is
/// none.
std::string_view TakeUntil(std::string_view& text, char character) {
  const std::size_t end = text.find(character);
  const std::string_view part = text.substr(0, end);
  text = end == std::string_view::npos ? "" : text.substr(end + 1);
  return part;
}

std::optional<ImagePlace> ParsePlace(std::string_view text, core::Sentence& error) {
  const std::string_view memory = TakeUntil(text, ':');
  const auto address = ParseWithin(text, 0, std::numeric_limits<std::int32_t>::max());
  if ((memory != "flash" && memory != "eeprom") || !address) {
    error = {"場所は flash:0x1FFC か eeprom:0x10 のように書きます",
             "the place is written like flash:0x1FFC or eeprom:0x10"};
    return std::nullopt;
  }
  return ImagePlace{.InFlash = memory == "flash", .Address = *address};
}

std::string Hex(std::uint64_t number) {
  constexpr std::size_t kDigits = 4;
  constexpr int kHexadecimal = 16;
  std::array<char, 2 * sizeof number> digits{};
  const auto end =
      std::to_chars(digits.data(), digits.data() + digits.size(), number, kHexadecimal).ptr;
  std::string text(digits.data(), end);
  for (char& digit : text) {
    if (digit >= 'a') digit = static_cast<char>(digit - 'a' + 'A');
  }
  if (text.size() < kDigits) text.insert(0, kDigits - text.size(), '0');
  return "0x" + text;
}

std::string Joined(std::initializer_list<std::string_view> parts) {
  std::string text;
  for (const std::string_view part : parts) text += part;
  return text;
}

/// The cell of the buffers that a byte of the image is in.
std::uint8_t& CellAt(core::AppState& state, const ImagePlace& place, int offset) {
  const auto address = static_cast<std::size_t>(place.Address) + static_cast<std::size_t>(offset);
  // A flash word has its high byte first there, the reverse of a HEX file.
  return place.InFlash ? state.FlashBuffer.at(address ^ 1U) : state.EepromBuffer.at(address);
}

std::uint8_t ByteAt(const core::AppState& state, const ImagePlace& place, int offset) {
  const auto address = static_cast<std::size_t>(place.Address) + static_cast<std::size_t>(offset);
  return place.InFlash ? state.FlashBuffer.at(address ^ 1U) : state.EepromBuffer.at(address);
}

}  // namespace

std::uint64_t SerialNumber::Largest() const {
  if (Width >= kWidest) return std::numeric_limits<std::uint64_t>::max();
  return (std::uint64_t{1} << (kBitsPerByte * Width)) - 1;
}

std::optional<SerialNumber> ParseSerialNumber(std::string_view text, core::Sentence& error) {
  SerialNumber serial;
  if (text.ends_with(':')) {
    error = {"終わりの「:」の後に何もありません", "nothing stands behind the last \":\""};
    return std::nullopt;
  }
  const auto place = ParsePlace(TakeUntil(text, '='), error);
  if (!place) return std::nullopt;
  serial.Place = *place;
  const std::string_view value = TakeUntil(text, ':');
  if (value != "next") {
    serial.Value = ParseNumber(value);
    if (!serial.Value) {
      error = {"「=」の後に next か番号を書きます", "behind \"=\" goes next, or a number"};
      return std::nullopt;
    }
  }
  if (!text.empty()) {
    const auto width = ParseWithin(TakeUntil(text, ':'), 1, SerialNumber::kWidest);
    if (!width) {
      error = {"幅は 1 から 8 バイトです", "the width is 1 to 8 bytes"};
      return std::nullopt;
    }
    serial.Width = *width;
  }
  if (!text.empty()) {
    const std::string_view order = TakeUntil(text, ':');
    if (order != "little" && order != "big") {
      error = {"バイト順は little か big です", "the byte order is little or big"};
      return std::nullopt;
    }
    serial.BigEndian = order == "big";
  }
  if (!text.empty()) {
    const auto step = ParseWithin(text, 1, std::numeric_limits<int>::max());
    if (!step) {
      error = {"増分は 1 以上の整数です", "the step is a whole number from 1 on"};
      return std::nullopt;
    }
    serial.Step = static_cast<std::uint32_t>(*step);
  }
  if (serial.Value && *serial.Value > serial.Largest()) {
    error = {"番号が幅に収まりません", "the number has no room in the width"};
    return std::nullopt;
  }
  return serial;
}

std::optional<Calibration> ParseCalibration(std::string_view text, core::Sentence& error) {
  constexpr int kMost = 4;
  Calibration calibration;
  const auto place = ParsePlace(TakeUntil(text, '='), error);
  if (!place) return std::nullopt;
  calibration.Place = *place;
  if (text.empty()) return calibration;
  const auto index = ParseWithin(text, 0, kMost - 1);
  if (!index) {
    error = {"発振校正値の番号は 0 から 3 です", "calibration bytes are counted from 0 to 3"};
    return std::nullopt;
  }
  calibration.Index = *index;
  return calibration;
}

std::string Describe(const ImagePlace& place) {
  return (place.InFlash ? "flash:" : "eeprom:") + Hex(static_cast<std::uint64_t>(place.Address));
}

core::Sentence WhyNoRoom(const core::AppState& state, const ImagePlace& place, int width) {
  const std::int64_t size =
      place.InFlash ? std::int64_t{2} * state.FlashWords : std::int64_t{state.EepromBytes};
  const std::string at = Describe(place);
  if (std::int64_t{place.Address} + width > size) {
    const std::string bytes = std::to_string(size);
    return {Joined({at, ": デバイスのメモリーは ", bytes, " バイトです"}),
            Joined({at, ": the device's memory has ", bytes, " bytes"})};
  }
  for (int offset = 0; offset < width; ++offset) {
    if (ByteAt(state, place, offset) == core::kBlank) continue;
    const std::string used =
        Hex(static_cast<std::uint64_t>(place.Address) + static_cast<std::uint64_t>(offset));
    return {Joined({at, ": ファイルの内容が ", used, " にあります"}),
            Joined({at, ": the file has data of its own at ", used})};
  }
  return {};
}

void PutNumber(core::AppState& state, const SerialNumber& form, std::uint64_t number) {
  for (int offset = 0; offset < form.Width; ++offset) {
    const int place = form.BigEndian ? form.Width - 1 - offset : offset;
    CellAt(state, form.Place, place) = static_cast<std::uint8_t>(number);
    number >>= kBitsPerByte;
  }
}

void PutByte(core::AppState& state, const ImagePlace& place, std::uint8_t byte) {
  CellAt(state, place, 0) = byte;
}

}  // namespace fenwright::job
