// What the HEX writer saves is what the buffer holds: an independent reader and the program's own
// say so, for every chip.

#include "core/device_catalogue.h"
#include "fuzz/hex_run.h"
#include "fuzz/input.h"
#include "fuzz/plain_hex.h"
#include "fuzz/require.h"
#include "image/buffers.h"
#include "image/hex_reader.h"
#include "image/hex_writer.h"

namespace fenwright::fuzz {
namespace {

constexpr const char* kFile = "/files/saved.hex";

/// Runs of bytes: a place, a length, a byte to start with and a step to the next.
void Fill(Input& input, std::vector<std::uint8_t>& buffer, std::size_t size) {
  for (int runs = input.Byte() % 16; runs > 0; --runs) {
    const std::size_t start = input.Word() % size;
    const std::size_t end = std::min(size, start + input.Word() % 600);
    std::uint8_t byte = input.Byte();
    const std::uint8_t step = input.Byte();
    for (std::size_t at = start; at < end; ++at) {
      buffer[at] = byte;
      byte = static_cast<std::uint8_t>(byte + step);
    }
  }
}

/// Every line is a record of 16 bytes from address 0 upward, in capitals, and CR LF ends it.
void CheckForm(const std::string& text, std::size_t size) {
  const std::string end = ":00000001FF\r\n";
  Require(text.ends_with(end), "the last record is the end record");
  const std::vector<std::string> lines = LinesOf(text);
  Require(lines.size() == size / 16 + 1, "there is a record for every 16 bytes");
  Require(std::ranges::count(text, '\n') == std::ssize(lines) &&
              std::ranges::count(text, '\r') == std::ssize(lines),
          "every line ends in CR LF");
  for (const std::string& line : lines) {
    Require(line.size() >= 11 && line.size() <= 43, "records have their length");
    const auto is_capital = [](char character) {
      return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'F');
    };
    Require(line[0] == ':' && std::all_of(line.begin() + 1, line.end(), is_capital),
            "digits are capitals");
  }
}

class Writing {
 public:
  explicit Writing(Input& input) : run_(input.OneOf(core::DeviceCatalogue()).DisplayName) {
    Fill(input, run_.State.FlashBuffer, flash_bytes_);
    Fill(input, run_.State.EepromBuffer, 2 * eeprom_bytes_);
  }

  void TryCode() {
    const std::vector<std::uint8_t> saved = run_.State.FlashBuffer;
    run_.State.CodeSaveFileName = kFile;
    Require(static_cast<bool>(image::WriteCodeHexFile(run_.Context)), "the code file is written");
    CheckFile(flash_bytes_, [&saved](std::size_t address) { return saved[address ^ 1U]; });
    image::ClearFlashBuffer(run_.State);
    run_.State.CodeFileName = kFile;
    const image::HexReadReport report = image::ReadCodeHexFile(run_.Context);
    Require(report.End == image::HexReadEnd::Complete, "what was saved can be read");
    Require(run_.State.FlashBuffer == saved, "what was saved is read back");
    Require(report.Check.FirstRefusal() == nullptr, "what was saved is not refused");
  }

  void TryData() {
    const std::vector<std::uint8_t> saved = run_.State.EepromBuffer;
    run_.State.DataSaveFileName = kFile;
    Require(static_cast<bool>(image::WriteDataHexFile(run_.Context)), "the data file is written");
    CheckFile(2 * eeprom_bytes_, [&saved](std::size_t address) { return saved[address]; });
    image::ClearEepromBuffer(run_.State);
    run_.State.DataFileName = kFile;
    const image::HexReadReport report = image::ReadDataHexFile(run_.Context);
    Require(report.End == image::HexReadEnd::Complete, "what was saved can be read");
    Require(run_.State.EepromBuffer == saved, "what was saved is read back");
    const auto upper = saved.begin() + static_cast<std::ptrdiff_t>(eeprom_bytes_);
    const bool fits = std::all_of(upper, saved.end(), [](auto byte) { return byte == 0xFF; });
    Require((report.Check.FirstRefusal() == nullptr) == fits,
            "what was saved is refused when the upper half is not blank, and then only");
  }

 private:
  template <typename Byte>
  void CheckFile(std::size_t size, Byte byte) {
    const std::string& text = run_.Files.Files[kFile];
    CheckForm(text, size);
    const PlainImage meaning = ReadPlainly(text);
    Require(meaning.IsWhole && meaning.HasEnd && !meaning.HasOffset, "the file is whole");
    Require(meaning.Bytes.size() == size, "the file gives every byte once");
    for (std::size_t address = 0; address < size; ++address) {
      Require(meaning.Bytes.contains(address) && meaning.Bytes.at(address) == byte(address),
              "the file says what the buffer holds");
    }
  }

  HexRun run_;
  std::size_t flash_bytes_ = 2 * static_cast<std::size_t>(run_.State.FlashWords);
  std::size_t eeprom_bytes_ = static_cast<std::size_t>(run_.State.EepromBytes);
};

}  // namespace
}  // namespace fenwright::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fenwright::fuzz::Input input(data, size);
  fenwright::fuzz::Writing writing(input);
  writing.TryCode();
  writing.TryData();
  return 0;
}
