
#include "support/update_run.h"

namespace fenwright::testing {
namespace {

constexpr const char* kDone = "アップデート完了。  ";

/// A small firmware: a few words, one of them with the byte of "U" in it, and its version.
Bytes Program() { return {0x0C, 0x94, 0x55, 0x55, 0x34, 0x12, 0xFF, 0xFF, 0x55, 0x00}; }
Bytes Version() { return Hex("'KV-LOD350  V6.40' 0D 0A"); }

std::string SmallFirmware() {
  return HexRecord(0, Program()) + HexRecord(0x3FC0, Version()) + kEndRecord;
}

constexpr unsigned kWords = 5 + 9;

/// The power fails at the N-th byte of the update, in and between frames alike. The board then
/// waits in its loader (or, before the first word, runs its old firmware), and a new update
/// succeeds: at once, and after the dialog was closed and opened again.
TEST(PowerCut, AtAnyByteTheUpdateCanBeStartedAgainAndSucceeds) {
  constexpr unsigned kBytes = 1 + 4 * kWords + 4;
  for (unsigned byte = 1; byte <= kBytes; ++byte) {
    for (const bool reopen : {false, true}) {
      SCOPED_TRACE("byte " + std::to_string(byte));
      BoardUpdate run({.Baud = 0, .Faults = {MakeFault("powercut@" + std::to_string(byte))}});
      run.Open();
      run.UpdateWith(SmallFirmware());
      const bool seen_by_the_pc = byte <= 1 + 4 * kWords && byte != 1;
      EXPECT_EQ(run.Dialog_Update.Status.starts_with(kDone), !seen_by_the_pc && byte != 1);
      const bool word_written = byte > 1 + 4;
      EXPECT_EQ(run.Board->Protocol().UpdateUnfinished(), word_written);

      if (reopen) {
        update::Dialog_Update_Unload(run.Context);
        run.Open();
      }
      ASSERT_EQ(run.UpdateWith(SmallFirmware()), update::StartOutcome::Ran);
      EXPECT_TRUE(run.Dialog_Update.Status.starts_with(kDone)) << run.Dialog_Update.Status;
      EXPECT_FALSE(run.Board->Protocol().UpdateUnfinished());
      EXPECT_EQ(run.Board->Protocol().Firmware().size(), kWords);
      EXPECT_EQ(run.Board->Protocol().Firmware().at(0), 0x940C);
      EXPECT_EQ(run.Board->Protocol().VersionLine(), "KV-LOD350  V6.40\r\n");
      EXPECT_EQ(run.Board->Protocol().Set(), board::CommandSet::Normal);
      EXPECT_FALSE(run.BothOpen);
    }
  }
}

TEST(PowerCut, InTheLoaderTheBoardGivesNoVersion) {
  BoardUpdate run({.Baud = 0, .Faults = {MakeFault("powercut@10")}});
  run.Open();
  run.UpdateWith(SmallFirmware());
  ASSERT_EQ(run.Board->Protocol().Set(), board::CommandSet::Loader);
  update::CmdVersion_Click(run.Context);
  EXPECT_EQ(run.Update.UpdateFailed, -1);
  EXPECT_EQ(run.Dialog_Update.Version, "");
}

TEST(PowerCut, AnUpdateNeverTouchesTheLoader) {
  BoardUpdate run({.Baud = 0});
  run.Open();
  run.UpdateWith(HexFile(RandomBytes(0x10000, 9)));
  for (const auto& [address, word] : run.Board->Protocol().Firmware()) {
    EXPECT_FALSE(board::IsLoaderWord(address)) << address;
  }
}

}  // namespace
}  // namespace fenwright::testing
