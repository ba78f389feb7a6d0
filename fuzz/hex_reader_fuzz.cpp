// The HEX reader against two readers written from scratch: one as simple as it is itself, which
// must give the same buffer, and one that follows the format, which must agree with every file that
// the check lets pass.

#include "fuzz/hex_run.h"
#include "fuzz/plain_hex.h"
#include "fuzz/require.h"
#include "image/hex_reader.h"

namespace fenwright::fuzz {
namespace {

using image::HexReadEnd;

constexpr const char* kFile = "/files/fuzzed.hex";

struct Case {
  bool IsCode;
  std::size_t ChipBytes;
  std::size_t BufferBytes;
};

/// What the reader must leave behind.
struct Expected {
  std::vector<std::uint8_t> Buffer;
  HexReadEnd End = HexReadEnd::Complete;
  std::int32_t StoppedAtLine = 0;
  bool WrongDigit = false;
};

/// Reads a line of records character by character; what is no capital digit, or not there, is 0.
class Digits {
 public:
  Digits(const std::string& line, bool& wrong) : line_(line), wrong_(wrong) {}

  std::size_t Take(int count) {
    std::size_t value = 0;
    for (; count > 0; --count) {
      const char character = at_ < line_.size() ? line_[at_] : '?';
      ++at_;
      value *= 16;
      if (character >= '0' && character <= '9') {
        value += static_cast<std::size_t>(character - '0');
      } else if (character >= 'A' && character <= 'F') {
        value += static_cast<std::size_t>(character - 'A' + 10);
      } else {
        wrong_ = true;
      }
    }
    return value;
  }

 private:
  const std::string& line_;
  bool& wrong_;
  std::size_t at_ = 1;
};

Expected ReadSimply(std::string_view content, const Case& tried) {
  Expected expected{.Buffer = std::vector<std::uint8_t>(tried.BufferBytes, 0xFF)};
  for (const std::string& line : LinesOf(content)) {
    ++expected.StoppedAtLine;
    if (line.empty() || line[0] != ':') {
      expected.End = HexReadEnd::BadLine;
      return expected;
    }
    Digits digits(line, expected.WrongDigit);
    const std::size_t count = digits.Take(2);
    const std::size_t address = digits.Take(4);
    if (digits.Take(2) != 0) continue;
    for (std::size_t byte = address; byte < address + count; ++byte) {
      const std::size_t value = digits.Take(2);
      std::size_t index = byte;
      if (tried.IsCode) index = byte % 2 == 0 ? byte + 1 : byte - 1;
      if (index >= expected.Buffer.size()) {
        expected.End = HexReadEnd::OutsideBuffer;
        return expected;
      }
      expected.Buffer[index] = static_cast<std::uint8_t>(value);
    }
  }
  expected.StoppedAtLine = 0;
  return expected;
}

/// A file that may be programmed says what the buffer holds, and nothing about the rest.
void CompareMeaning(const PlainImage& meaning, const std::vector<std::uint8_t>& buffer,
                    const Case& tried) {
  Require(meaning.IsWhole, "what is no whole HEX file is refused");
  Require(meaning.HasEnd && !meaning.HasDataBehindEnd,
          "a file without its end, or with data behind it, is refused");
  Require(meaning.HasData || !tried.IsCode, "a code file without data is refused");
  for (std::size_t address = 0; address < tried.ChipBytes; ++address) {
    const auto given = meaning.Bytes.find(address);
    const std::uint8_t byte = given == meaning.Bytes.end() ? 0xFF : given->second;
    Require(buffer[tried.IsCode ? address ^ 1U : address] == byte,
            "what is not refused is in the buffer as the file means it");
  }
  for (const auto& [address, byte] : meaning.Bytes) {
    Require(address < tried.ChipBytes || byte == 0xFF, "data beyond the chip are refused");
  }
}

bool IsFaultless(const PlainImage& meaning, const Case& tried) {
  if (!meaning.IsWhole || !meaning.HasEnd || meaning.HasDataBehindEnd || meaning.HasSmallDigits ||
      meaning.HasOffset || meaning.HasGap || meaning.IsAcrossTheTop ||
      (tried.IsCode && !meaning.HasData)) {
    return false;
  }
  return std::ranges::all_of(meaning.Bytes, [&tried](const auto& cell) {
    const auto& [address, byte] = cell;
    return address < tried.ChipBytes || (byte == 0xFF && address < tried.BufferBytes - 1);
  });
}

void Try(const std::string& content, std::string_view device, bool is_code) {
  HexRun run(device);
  run.Files.Files[kFile] = content;
  run.State.LinkError = 0;
  (is_code ? run.State.CodeFileName : run.State.DataFileName) = kFile;
  const image::HexReadReport report =
      is_code ? image::ReadCodeHexFile(run.Context) : image::ReadDataHexFile(run.Context);

  const std::vector<std::uint8_t>& buffer =
      is_code ? run.State.FlashBuffer : run.State.EepromBuffer;
  const Case tried{.IsCode = is_code,
                   .ChipBytes = static_cast<std::size_t>(is_code ? 2 * run.State.FlashWords
                                                                 : run.State.EepromBytes),
                   .BufferBytes = buffer.size()};
  Require(tried.ChipBytes > 0, "the device is known");
  const Expected expected = ReadSimply(content, tried);
  Require(report.End == expected.End, "the reading ends where it must");
  Require(report.StoppedAtLine == expected.StoppedAtLine, "the report names the line of the end");
  Require(buffer == expected.Buffer, "the buffer holds what the data records say");
  Require((run.State.LinkError != 0) == expected.WrongDigit, "a wrong digit raises the flag");
  Require(run.State.HexFileLeftOpen == (expected.End == HexReadEnd::BadLine),
          "a line that is no record leaves the file open");

  const PlainImage meaning = ReadPlainly(content);
  if (report.Check.FirstRefusal() == nullptr) {
    CompareMeaning(meaning, buffer, tried);
  } else {
    Require(!IsFaultless(meaning, tried), "a file without a fault is not refused");
  }
}

}  // namespace
}  // namespace fenwright::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string content(data, data + size);
  const char* const device = size % 2 == 0 ? "AT90S8515" : "AT90S2313";
  // A file of data is short.
  if (size < 512) fenwright::fuzz::Try(content, device, false);
  fenwright::fuzz::Try(content, device, true);
  return 0;
}
