
#include "support/update_run.h"

namespace fenwright::testing {
namespace {

using update::UpdateOutcome;

constexpr const char* kTitle = "ファームウエアアップデート";
constexpr const char* kFailedBox = "　　　***　アップデート失敗　***　　　　　　\r\n　";
constexpr const char* kIncomplete =
    "ボードのファームウエアは途中までしか書き込まれていません。ボードの電源を再投入してから、"
    "もう一度アップデートを最後まで実行してください。";
constexpr const char* kCannotBeResumed =
    "ボードのファームウエアは途中までしか書き込まれていません。ボードの電源を再投入してから、"
    "もう一度初めから行ってください。再開できないときは、"
    "ボードのマイコンを通常の方法で書き込む必要があります。";
constexpr const char* kThreeWords = ":060000000C940CAB3412 00\r\n";

/// An update of the words AB0C... fails at one of its three frames.
struct AtFrame {
  int Index;
  const char* Status;
};

class UpdateTimeOut : public TestWithParam<AtFrame> {};

TEST_P(UpdateTimeOut, IsReportedInStatusAndBoxAndTheBarFallsBack) {
  static constexpr std::array<const char*, 3> kFrames{"00 00 94 0C", "00 01 AB 0C", "00 02 12 34"};
  static constexpr std::array<const char*, 3> kSums{"A0", "B8", "48"};
  ScriptedUpdate run;
  run.UpdaterPort.Expect("'U'");
  for (int i = 0; i <= GetParam().Index; ++i) {
    const auto at = static_cast<std::size_t>(i);
    run.UpdaterPort.Expect(kFrames.at(at), i == GetParam().Index ? "" : kSums.at(at));
  }
  EXPECT_EQ(run.RunUpdate(kThreeWords), UpdateOutcome::TimedOut);
  EXPECT_EQ(run.Update.UpdateFailed, -1);
  EXPECT_EQ(run.Dialog_Update.Status, GetParam().Status);
  EXPECT_THAT(run.DialogBoxes.Boxes,
              ElementsAre(Box{MessageIcon::Information, kTitle, kFailedBox}));
  EXPECT_EQ(run.Dialog_Update.Calls.back(), "bar at 0");
  EXPECT_EQ(run.Dialog_Update.Detail, kIncomplete);
  EXPECT_EQ(run.Dialog_Update.Background, std::nullopt);
  EXPECT_EQ(run.Dialog_Update.Instructions, "");
  EXPECT_TRUE(run.UpdaterPort.PortOpen()) << "the port is left open";
}

INSTANTIATE_TEST_SUITE_P(
    Frames, UpdateTimeOut,
    ::testing::Values(AtFrame{0, "***　アップデート失敗　*** Address=0x0 Data=0x94C"},
                      AtFrame{1, "***　アップデート失敗　*** Address=0x1 Data=0xABC"},
                      AtFrame{2, "***　アップデート失敗　*** Address=0x2 Data=0x1234"}));

TEST_ON(UpdateTest, UpdateFailures, ATimeOutPrintsHighByteThenLowByteWithoutLeadingZeros) {
  UpdaterPort.Expect("'U'").Expect("1E FF 0C 94", "");
  RunUpdate(HexRecord(0x3DFE, {0x94, 0x0C}));
  EXPECT_EQ(Dialog_Update.Status, "***　アップデート失敗　*** Address=0x1EFF Data=0xC94");
}

TEST_ON(UpdateTest, UpdateFailures, ATimeOutTakesTwoSeconds) {
  UpdaterPort.Expect("'U'").Expect("00 00 94 0C", "");
  RunUpdate(kThreeWords);
  EXPECT_NEAR(Clock.Elapsed(), 1 + 2, 0.02);
}

TEST_ON(UpdateTest, UpdateFailures, APortThatGoesEndsTheWaitAtOnceWithTheSameReport) {
  UpdaterPort.Expect("'U'").Expect("00 00 94 0C", "").ThenHangUp();
  EXPECT_EQ(RunUpdate(kThreeWords), UpdateOutcome::TimedOut);
  EXPECT_LT(Clock.Elapsed(), 1.1);
  EXPECT_EQ(Update.UpdateFailed, -1);
  EXPECT_EQ(Dialog_Update.Status, "***　アップデート失敗　*** Address=0x0 Data=0x94C");
  EXPECT_EQ(DialogBoxes.Boxes.size(), 1U);
}

class UpdateMismatch : public TestWithParam<int> {};

TEST_P(UpdateMismatch, PaintsTheLabelAndShowsNoBoxAndLeavesTheBar) {
  const int failing = GetParam();
  static constexpr std::array<const char*, 3> kFrames{"00 00 94 0C", "00 01 AB 0C", "00 02 12 34"};
  static constexpr std::array<const char*, 3> kSums{"A0", "B8", "48"};
  ScriptedUpdate run;
  run.UpdaterPort.Expect("'U'");
  for (int i = 0; i <= failing; ++i) {
    const auto at = static_cast<std::size_t>(i);
    run.UpdaterPort.Expect(kFrames.at(at), i == failing ? "05 48" : kSums.at(at));
  }
  EXPECT_EQ(run.RunUpdate(kThreeWords), UpdateOutcome::Mismatch);

  const std::string text =
      "label \"途中でファームウエアアップデートが失敗しました。\r\n"
      "アップデートが正常に終了できなかったので、アップデート作業を再開できない確立が高いです。"
      "このような場合は、通常の書き込みを行なう必要があります。\r\n"
      "　　　　　　　error data = 0x5\"";
  std::vector<std::string> expected;
  // The bar moves with word 0 alone: 1 and 2 are no multiples of 79.
  if (failing > 0) expected.emplace_back("bar 0..7936 at 0");
  expected.insert(expected.end(),
                  {"background 255", text, "status \"***　アップデート失敗　***\""});
  EXPECT_EQ(run.Dialog_Update.Calls, expected);
  EXPECT_EQ(run.Dialog_Update.Detail, kCannotBeResumed);
  EXPECT_TRUE(run.DialogBoxes.Boxes.empty());
  EXPECT_EQ(run.Update.UpdateFailed, 0) << "it is for time-outs";
  EXPECT_TRUE(run.UpdaterPort.PortOpen());
}

INSTANTIATE_TEST_SUITE_P(Frames, UpdateMismatch, ::testing::Values(0, 1, 2));

TEST_ON(UpdateTest, UpdateFailures, AMissingFileIsReportedLikeATimeOutAfterTheU) {
  UpdaterPort.StartOpen();
  UpdaterPort.Expect("'U'");
  EXPECT_EQ(update::RunFirmwareUpdate(Context, "/files/none.hex"), UpdateOutcome::TimedOut);
  EXPECT_EQ(Update.UpdateFailed, -1);
  EXPECT_EQ(Dialog_Update.Status, "***　アップデート失敗　*** Address=0x0 Data=0x00");
  EXPECT_EQ(Dialog_Update.Detail,
            "ボードのファームウエアは変わっていません。ボードの電源を再投入してください。");
  EXPECT_THAT(DialogBoxes.Texts(), ElementsAre(kFailedBox));
}

TEST_ON(UpdateTest, UpdateFailures,
        ADataRecordThatCannotBeReadIsReportedLikeATimeOutOfTheWordBefore) {
  for (const char* line :
       {":XX00020011220000", ":0200X20011220000", ":020002001", ":0200020011", ":0200020011G2CB",
        ":02000200-122CB", ":02000200 122CB", ":02-002001122CB"}) {
    ScriptedUpdate run;
    run.UpdaterPort.Expect("'U'").Expect("00 00 02 01", "03");
    EXPECT_EQ(run.RunUpdate(":020000000102FB\r\n" + std::string(line) + "\r\n"),
              UpdateOutcome::TimedOut)
        << line;
    EXPECT_EQ(run.Dialog_Update.Status, "***　アップデート失敗　*** Address=0x0 Data=0x21") << line;
    EXPECT_EQ(run.Update.UpdateFailed, -1) << line;
    EXPECT_EQ(run.DialogBoxes.Boxes.size(), 1U) << line;
  }
}

TEST_ON(UpdateTest, UpdateFailures, TheFirstFailureEndsTheUpdateAndANewOneBeginsWithU) {
  UpdaterPort.Expect("'U'").Expect("00 00 02 01", "04");
  UpdaterPort.Expect("'U'").Expect("00 00 02 01", "03").Expect("FF FF FF FF");
  EXPECT_EQ(RunUpdate(":020000000102FB\r\n"), UpdateOutcome::Mismatch);
  EXPECT_EQ(update::RunFirmwareUpdate(Context, kUpdateFile), UpdateOutcome::Finished);
  EXPECT_EQ(Dialog_Update.Background, 255U) << "nothing takes the red back";
}

TEST_ON(UpdateTest, UpdateFailures, ANewUpdateStartsWithTheInstructionsInPlaceOfTheRedText) {
  GivenFile(":020000000102FB\r\n");
  update::Dialog_Update_Load(Context);
  Dialog_Update.Port = "3";
  Update.UpdateFilePath = kUpdateFile;
  const std::string instructions = Dialog_Update.Instructions;
  UpdaterPort.Expect("'U'").Expect("00 00 02 01", "04");
  update::CmdUpdate_Click(Context);
  EXPECT_EQ(Dialog_Update.Background, 255U);
  EXPECT_NE(Dialog_Update.Instructions, instructions);

  UpdaterPort.OpenResult.Status = PortOpenStatus::Busy;
  update::CmdUpdate_Click(Context);
  EXPECT_EQ(Dialog_Update.Background, 255U) << "no update has started";
  UpdaterPort.OpenResult.Status = PortOpenStatus::Ok;

  Dialog_Update.Calls.clear();
  UpdaterPort.Expect("'U'").Expect("00 00 02 01", "");
  update::CmdUpdate_Click(Context);
  EXPECT_EQ(Dialog_Update.Background, std::nullopt);
  EXPECT_EQ(Dialog_Update.Instructions, instructions);
  const auto label = std::ranges::find(Dialog_Update.Calls, "background of the dialog");
  const auto sending = std::ranges::find(
      Dialog_Update.Calls, "status \"アップデート中です。電源は絶対に切らないでください。\"");
  EXPECT_LT(label, sending) << "before the first byte";
  EXPECT_EQ(Dialog_Update.Detail, kIncomplete) << "a time-out, told in its own words";

  Dialog_Update.Calls.clear();
  UpdaterPort.Expect("'U'").Expect("00 00 02 01", "03").Expect("FF FF FF FF");
  update::CmdUpdate_Click(Context);
  EXPECT_EQ(std::ranges::count(Dialog_Update.Calls, "background of the dialog"), 0)
      << "nothing to take back";
  EXPECT_EQ(Dialog_Update.Detail, "");
}

TEST_ON(UpdateTest, UpdateFailures, TheFlagOfATimeOutStaysUntilTheNextVersionRead) {
  UpdaterPort.Expect("'U'").Expect("00 00 02 01", "");
  UpdaterPort.Expect("'U'").Expect("00 00 02 01", "03").Expect("FF FF FF FF");
  UpdaterPort.Expect("'?'", "'KV-LOD350  V6.38' 0D 0A");
  EXPECT_EQ(RunUpdate(":020000000102FB\r\n"), UpdateOutcome::TimedOut);
  EXPECT_EQ(update::RunFirmwareUpdate(Context, kUpdateFile), UpdateOutcome::Finished);
  EXPECT_EQ(Update.UpdateFailed, -1);
  update::ReadVersion(Context);
  EXPECT_EQ(Update.UpdateFailed, 0);
}

TEST_ON(UpdateTest, UpdateFailures, TheFileIsClosedBeforeTheFirstWordGoesOut) {
  UpdaterPort.Expect("'U'").Expect("00 00 02 01", "03").Expect("00 01 04 03", "08");
  UpdaterPort.Expect("FF FF FF FF");
  Events.OnTurn = [this] {
    if (Update.WordsSent > 0) Files.Files.clear();
  };
  EXPECT_EQ(RunUpdate(":0400000001020304F2\r\n"), UpdateOutcome::Finished);
  EXPECT_TRUE(Files.Files.empty());
}

/// Faults of the simulated board at the first, a middle and the last of three frames: what the
/// user sees, and whether the board can be updated again without switching it off.
class UpdateFault : public TestWithParam<std::tuple<std::string, int>> {};

TEST_P(UpdateFault, EndsTheUpdateAndTheNextOneSucceeds) {
  const auto& [kind, frame] = GetParam();
  std::string form = kind + "@" + std::to_string(frame);
  if (kind == "late") form += ":2500";
  BoardUpdate run({.Baud = 0, .Faults = {MakeFault(form)}});
  run.Open();
  ASSERT_EQ(run.UpdateWith(HexFile({1, 2, 3, 4, 5, 6})), update::StartOutcome::Ran);
  const bool time_out = kind != "flip";
  EXPECT_EQ(run.Update.UpdateFailed, time_out ? -1 : 0);
  EXPECT_EQ(run.DialogBoxes.Boxes.size(), time_out ? 1U : 0U);
  EXPECT_EQ(run.Dialog_Update.Background.has_value(), !time_out);
  EXPECT_EQ(run.Wire.size(), 1U + 4U * static_cast<unsigned>(frame));
  EXPECT_TRUE(run.Board->Protocol().UpdateUnfinished());

  // A late acknowledgement of the failed run must not be taken for one of the next.
  ASSERT_EQ(update::CmdUpdate_Click(run.Context), update::StartOutcome::Ran);
  EXPECT_TRUE(run.Dialog_Update.Status.starts_with("アップデート完了。  "));
  EXPECT_FALSE(run.Board->Protocol().UpdateUnfinished());
  EXPECT_EQ(run.Board->Protocol().Firmware(),
            (board::FirmwareImage{{0, 0x0201}, {1, 0x0403}, {2, 0x0605}}));
  update::Dialog_Update_Unload(run.Context);
  EXPECT_FALSE(run.BothOpen);
}

INSTANTIATE_TEST_SUITE_P(Frames, UpdateFault,
                         ::testing::Combine(::testing::Values("drop", "flip", "late"),
                                            ::testing::Values(1, 2, 3)));

TEST_ON(UpdateTest, UpdateFailures, ALateAcknowledgementWithinTwoSecondsIsNoFailure) {
  for (const char* fault : {"late@2:1900", "double@1", "split@2:1900"}) {
    BoardUpdate run({.Baud = 0, .Faults = {MakeFault(fault)}});
    run.Open();
    run.UpdateWith(HexFile({1, 2, 3, 4, 5, 6}));
    EXPECT_TRUE(run.Dialog_Update.Status.starts_with("アップデート完了。  ")) << fault;
  }
}

TEST_ON(UpdateTest, UpdateFailures,
        APortThatGoesAtAnyByteEndsTheUpdateAndBothPortsAreClosedOrGone) {
  for (int byte = 1; byte <= 1 + 3 * 4; ++byte) {
    BoardUpdate run({.Baud = 0, .Faults = {MakeFault("hangup@" + std::to_string(byte))}});
    run.Open();
    run.UpdateWith(HexFile({1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(run.Update.UpdateFailed, -1) << byte;
    EXPECT_LT(run.Clock.Elapsed(), 2) << "no wait for a port that is gone, byte " << byte;
    update::Dialog_Update_Unload(run.Context);
    EXPECT_FALSE(run.UpdaterPort.PortOpen());
    EXPECT_FALSE(run.BothOpen);

    run.Board->PlugIn();
    ASSERT_EQ(update::CmdUpdate_Click(run.Context), update::StartOutcome::Ran);
    EXPECT_TRUE(run.Dialog_Update.Status.starts_with("アップデート完了。  ")) << byte;
  }
}

}  // namespace
}  // namespace fenwright::testing
