// Updates of the board's firmware with every kind of file: the simulated board gets the words that
// the file's data records say and no other, its loader stays whole, and a file without a fault
// leaves the firmware that it means.

#include "fuzz/input.h"
#include "fuzz/plain_hex.h"
#include "fuzz/require.h"
#include "support/update_run.h"
#include "update/update_check.h"
#include "update/update_protocol.h"

namespace fenwright::fuzz {
namespace {

using testing::Bytes;
using update::UpdateOutcome;

/// The bytes that go over the wire, and how it ends.
struct Expected {
  Bytes Wire{'U'};
  std::int32_t Words = 0;
  bool ReadsToTheEnd = true;
};

/// Digits of either case; -1 when one is wrong or missing.
int Number(const std::string& line, std::size_t at, std::size_t digits) {
  int value = 0;
  for (std::size_t i = at; i < at + digits; ++i) {
    const std::string_view all = "0123456789abcdef0123456789ABCDEF";
    const auto found = i < line.size() ? all.find(line[i]) : std::string_view::npos;
    if (found == std::string_view::npos) return -1;
    value = 16 * value + static_cast<int>(found % 16);
  }
  return value;
}

bool IsLoader(int word) { return (word >= 0x1F00 && word <= 0x1FDF) || word >= 0x1FFF; }

/// False at a digit that is wrong or missing, which ends the update.
bool AddRecord(const std::string& line, Expected& expected) {
  const int count = Number(line, 1, 2);
  const int address = Number(line, 3, 4);
  if (count < 0 || address < 0) return false;
  for (int byte = 0; byte < count; byte += 2) {
    const auto at = static_cast<std::size_t>(9 + 2 * byte);
    const int low = Number(line, at, 2);
    const int high = Number(line, at + 2, 2);
    if (low < 0 || high < 0) return false;
    const int word = (address + byte) / 2;
    if (IsLoader(word)) continue;
    for (const int part : {word / 256, word % 256, high, low}) {
      expected.Wire.push_back(static_cast<std::uint8_t>(part));
    }
    ++expected.Words;
  }
  return true;
}

Expected Read(std::string_view content) {
  Expected expected;
  for (const std::string& line : LinesOf(content)) {
    if (line.size() < 9 || line[0] != ':' || line.substr(7, 2) != "00") continue;
    if (!AddRecord(line, expected)) {
      expected.ReadsToTheEnd = false;
      return expected;
    }
  }
  expected.Wire.insert(expected.Wire.end(), 4, 0xFF);
  return expected;
}

/// What a file without a fault means is in the board, word by word.
void CompareMeaning(const std::string& content, const board::FirmwareImage& firmware) {
  const PlainImage meaning = ReadPlainly(content);
  Require(meaning.IsWhole && meaning.HasEnd && meaning.HasData && !meaning.HasDataBehindEnd &&
              !meaning.HasOffset,
          "a file that cannot be meant has a fault");
  for (const auto& [address, byte] : meaning.Bytes) {
    const auto word = static_cast<int>(address / 2);
    if (IsLoader(word)) continue;
    const auto stored = firmware.find(static_cast<std::uint16_t>(word));
    Require(stored != firmware.end(), "every word of the file is in the board");
    const unsigned shift = address % 2 == 0 ? 0 : 8;
    Require((stored->second >> shift & 0xFFU) == byte, "the board holds what the file means");
  }
  for (const auto& [word, value] : firmware) {
    Require(meaning.Bytes.contains(2 * std::uint64_t{word}),
            "the board holds no word that is not in the file");
  }
}

void Try(const std::string& content) {
  testing::BoardUpdate run({.Baud = 0});
  run.GivenFile(content);
  run.UpdaterPort.SetCommPort(1);
  Require(run.UpdaterPort.Open().Status == platform::PortOpenStatus::Ok, "the port opens");
  const UpdateOutcome outcome = update::RunFirmwareUpdate(run.Context, testing::kUpdateFile);

  const Expected expected = Read(content);
  Require(run.Wire == expected.Wire, "the wire carries the words of the data records");
  Require((outcome == UpdateOutcome::Finished) == expected.ReadsToTheEnd,
          "an update finishes when the whole file could be read, and then only");
  Require(run.Update.WordsSent == expected.Words, "the words are counted");
  const board::FirmwareImage& firmware = run.Board->Protocol().Firmware();
  for (const auto& [word, value] : firmware) {
    Require(!board::IsLoaderWord(word), "the board's loader stays whole");
  }

  const update::ImageReport report = update::CheckImage(content);
  if (report.Fault != update::ImageFault::None) return;
  Require(outcome == UpdateOutcome::Finished, "a file without a fault is sent whole");
  Require(report.WordsToSend == expected.Words, "the check counts the words that are sent");
  // A last byte alone is sent with what stands behind it, its checksum.
  if (report.FirstOddLine == 0) CompareMeaning(content, firmware);
}

}  // namespace
}  // namespace fenwright::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fenwright::fuzz::Try(fenwright::fuzz::TextOf({data, size}));
  return 0;
}
