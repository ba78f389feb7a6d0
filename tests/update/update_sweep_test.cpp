// Every reply of an update of the board's firmware goes wrong in every way, and the line hangs up
// at every byte: the update ends in time; it never claims to be complete on a board that holds
// something else; what it says about the board is true; the next one, with the board switched off
// and on, succeeds. The table that the tests print says what was tried.

#include <cstdio>

#include "board/faults.h"
#include "support/update_run.h"
#include "update/update_report.h"

namespace fenwright::testing {
namespace {

constexpr std::uint8_t kImageWords = 40;
/// The end frame has no acknowledgement.
constexpr std::uint32_t kEndFrameBytes = 4;
constexpr double kLongestWait = 2.0;

Bytes Image() {
  Bytes image;
  for (std::uint8_t word = 0; word < kImageWords; ++word) {
    image.insert(image.end(), {word, static_cast<std::uint8_t>(0xA5U ^ word)});
  }
  return image;
}

board::FirmwareImage WordsOfImage() {
  board::FirmwareImage words;
  const Bytes image = Image();
  for (std::uint16_t word = 0; word < kImageWords; ++word) {
    words[word] = static_cast<std::uint16_t>(image[2U * word + 1] << 8U | image[2U * word]);
  }
  return words;
}

bool HoldsTheImage(const BoardUpdate& run) {
  return run.Board->Protocol().Firmware() == WordsOfImage() &&
         !run.Board->Protocol().UpdateUnfinished();
}

bool ClaimsToBeComplete(const BoardUpdate& run) {
  return run.Dialog_Update.Status.starts_with("アップデート完了。");
}

/// A further update on a board that was switched off and on, and plugged in.
void ExpectTheNextOneWorks(BoardUpdate& run) {
  run.Board->PlugIn();
  run.Board->Protocol().Restart();
  run.Clock.Advance(7);
  run.UpdaterPort.Close();
  EXPECT_EQ(run.UpdateWith(HexFile(Image())), update::StartOutcome::Ran);
  EXPECT_TRUE(ClaimsToBeComplete(run)) << run.Dialog_Update.Status;
  EXPECT_TRUE(HoldsTheImage(run));
}

struct Tally {
  int Runs = 0;
  int Complete = 0;
  int Failed = 0;
  int Undetected = 0;  ///< claimed to be complete, and is not
};

void Try(const std::string& fault, bool may_go_undetected, Tally& tally) {
  SCOPED_TRACE(fault);
  std::string error;
  const auto parsed = board::ParseFault(fault, error);
  ASSERT_TRUE(parsed) << error;
  BoardUpdate run({.Faults = {*parsed}});
  run.Open();
  const double start = run.Clock.Elapsed();
  ASSERT_EQ(run.UpdateWith(HexFile(Image())), update::StartOutcome::Ran);
  ++tally.Runs;
  // The board's second, and one wait that runs out beside the replies that come late.
  EXPECT_LT(run.Clock.Elapsed() - start, 2 + 2 * kLongestWait);
  const auto& firmware = run.Board->Protocol().Firmware();
  for (const auto& [address, word] : firmware) {
    EXPECT_EQ(WordsOfImage().at(address), word) << "a word that was never sent";
  }
  if (ClaimsToBeComplete(run)) {
    ++tally.Complete;
    if (!HoldsTheImage(run)) {
      ++tally.Undetected;
      EXPECT_TRUE(may_go_undetected) << "a false success";
    }
  } else {
    ++tally.Failed;
    const std::string said = update::DescribeBoardState(run.Update, core::Language::English);
    const bool says_unchanged = said.find("was not changed") != std::string::npos;
    EXPECT_TRUE(!says_unchanged || firmware.empty()) << said;
    EXPECT_FALSE(run.Dialog_Update.Detail.empty()) << "a failure says what the board holds";
  }
  if (!fault.starts_with("silent")) ExpectTheNextOneWorks(run);
}

void Print(const char* what, const Tally& tally) {
  std::printf("update sweep: %-8s %4d runs, %4d complete, %4d failed, %d undetected\n", what,
              tally.Runs, tally.Complete, tally.Failed, tally.Undetected);
}

TEST(UpdateSweep, EveryReplyMayGoWrongInEveryWay) {
  BoardUpdate whole;
  whole.Open();
  whole.UpdateWith(HexFile(Image()));
  ASSERT_TRUE(ClaimsToBeComplete(whole) && HoldsTheImage(whole));
  const std::uint32_t replies = whole.Board->Replies();
  ASSERT_GE(replies, std::uint32_t{kImageWords});
  Tally tally;
  for (std::uint32_t reply = 1; reply <= replies; ++reply) {
    for (const char* const form : {"drop@%", "late@%:200", "late@%:6000", "double@%", "silent@%",
                                   "flip@%:01", "flip@%:80", "flip@%:FF"}) {
      std::string fault = form;
      fault.replace(fault.find('%'), 1, std::to_string(reply));
      Try(fault, false, tally);
      if (HasFailure()) return;
    }
  }
  Print("replies", tally);
}

TEST(UpdateSweep, TheLineMayHangUpOrTheBoardLoseItsPowerAtEveryByte) {
  BoardUpdate whole;
  whole.Open();
  whole.UpdateWith(HexFile(Image()));
  const auto sent = static_cast<std::uint32_t>(whole.Wire.size());
  Tally tally;
  for (std::uint32_t byte = 1; byte <= sent; ++byte) {
    const bool in_end_frame = byte + kEndFrameBytes > sent;
    for (const char* const kind : {"hangup@", "powercut@"}) {
      Try(kind + std::to_string(byte), in_end_frame, tally);
      if (HasFailure()) return;
    }
  }
  Print("bytes", tally);
}

}  // namespace
}  // namespace fenwright::testing
