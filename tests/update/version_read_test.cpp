#include <gtest/gtest.h>

#include "support/update_run.h"

namespace fenwright::testing {
namespace {

using update::VersionOutcome;

constexpr const char* kNoAnswer =
    "　　***　ファームウエアアップデート　コミュニケーション失敗。　***　　　　　　\r\n　";

TEST(VersionRead, ShowsTheFirstFifteenCharacters) {
  ScriptedUpdate run;
  run.Update.UpdateFailed = -1;
  run.UpdaterPort.Expect("'?'", "'KV-LOD350  V6.38' 0D 0A");
  EXPECT_EQ(update::ReadVersion(run.Context), VersionOutcome::Read);
  EXPECT_EQ(run.Dialog_Update.Version, "KV-LOD350  V6.3");
  EXPECT_EQ(run.Dialog_Update.Status, "ファームウエアバージョンをリードしました。");
  EXPECT_EQ(run.Update.UpdateFailed, 0);
  EXPECT_EQ(run.Update.ReceiveBuffer, Hex("'KV-LOD350  V6.38' 0D 0A"));
  EXPECT_TRUE(run.UpdaterPort.PortOpen()) << "the port stays open";
  EXPECT_TRUE(run.DialogBoxes.Boxes.empty());
}

TEST(VersionRead, SetsUpThePortAndDiscardsBeforeItAsks) {
  ScriptedUpdate run;
  run.UpdaterPort.Expect("'?'", "'KV-LOD350  V6.38' 0D 0A");
  update::ReadVersion(run.Context);
  EXPECT_EQ(run.MainPort.Log, (std::vector<std::string>{"DiscardInput", "DiscardOutput", "Close"}));
  EXPECT_EQ(run.UpdaterPort.Log,
            (std::vector<std::string>{"InputMode=binary", "Handshaking=0", "InputLen=0",
                                      "RThreshold=0", "DiscardInput", "Settings=57600,n,8,1",
                                      "CommPort=3", "Open", "DiscardInput", "Output 3F"}));
}

TEST(VersionRead, SixteenBytesAreEnoughAndTwentyShowNoMore) {
  for (const char* reply : {"'0123456789ABCDEF'", "'0123456789ABCDEFGHIJ'"}) {
    ScriptedUpdate run;
    run.UpdaterPort.Expect("'?'", reply);
    EXPECT_EQ(update::ReadVersion(run.Context), VersionOutcome::Read);
    EXPECT_EQ(run.Dialog_Update.Version, "0123456789ABCDE");
  }
}

TEST(VersionRead, FifteenBytesAreNone) {
  ScriptedUpdate run;
  run.Dialog_Update.Version = "old";
  run.UpdaterPort.Expect("'?'", "'0123456789ABCDE'");
  EXPECT_EQ(update::ReadVersion(run.Context), VersionOutcome::NoReply);
  EXPECT_EQ(run.Update.UpdateFailed, -1);
  ASSERT_EQ(run.DialogBoxes.Boxes.size(), 1U);
  EXPECT_EQ(run.DialogBoxes.Boxes[0].Icon, screen::MessageIcon::Information);
  EXPECT_EQ(run.DialogBoxes.Boxes[0].Title, "") << "the application's own";
  EXPECT_EQ(run.DialogBoxes.Boxes[0].Text, kNoAnswer);
  EXPECT_EQ(run.Dialog_Update.Version, "old");
  EXPECT_TRUE(run.UpdaterPort.PortOpen());
  // The port's release takes 0.4 s, the wait 1 s.
  EXPECT_NEAR(run.Clock.Elapsed(), 1.4, 0.02);
}

TEST(VersionRead, AReplyInTwoPartsIsWaitedForWithinTheSecond) {
  ScriptedUpdate run;
  run.UpdaterPort.ExpectParts("'?'", {{0.1, Hex("'01234567'")}, {0.88, Hex("'89ABCDEF'")}});
  EXPECT_EQ(update::ReadVersion(run.Context), VersionOutcome::Read);
}

TEST(VersionRead, EachByteIsACharacterOfItsOwn) {
  ScriptedUpdate run;
  run.UpdaterPort.Expect("'?'", "B1 B2 82 A0 'ABCDEFGHIJKLMN'");
  update::ReadVersion(run.Context);
  // 82 A0 together would be one character; 82 alone is none.
  EXPECT_EQ(run.Dialog_Update.Version, "ｱｲ?" + run.CodePage.ToUtf8("\xA0") + "ABCDEFGHIJK");
}

TEST(VersionRead, APortThatCannotBeOpenedIsToldInTheStatusAndNothingIsSent) {
  ScriptedUpdate run;
  run.UpdaterPort.OpenResult = {
      .Status = platform::PortOpenStatus::Missing, .Path = "/dev/x", .Reason = "なし"};
  EXPECT_EQ(update::ReadVersion(run.Context), VersionOutcome::PortNotOpened);
  EXPECT_EQ(run.Dialog_Update.Status, "通信ポートをオープンできませんでした。");
  EXPECT_EQ(run.Dialog_Update.Detail, "なし");
  EXPECT_EQ(run.Update.UpdateFailed, -1);
  EXPECT_TRUE(run.DialogBoxes.Boxes.empty());
}

TEST(VersionRead, AnUnsetPortIsToldAndOpeningIsStillTriedOnTheOldNumber) {
  for (const char* text : {"?", ""}) {
    ScriptedUpdate run;
    run.UpdaterPort.SetCommPort(7);
    run.Dialog_Update.Port = text;
    run.UpdaterPort.Expect("'?'", "'KV-LOD350  V6.38' 0D 0A");
    EXPECT_EQ(update::ReadVersion(run.Context), VersionOutcome::Read);
    ASSERT_EQ(run.DialogBoxes.Boxes.size(), 1U);
    EXPECT_EQ(run.DialogBoxes.Boxes[0].Icon, screen::MessageIcon::Information);
    EXPECT_EQ(run.DialogBoxes.Boxes[0].Title, "");
    EXPECT_EQ(run.DialogBoxes.Boxes[0].Text, "ポート番号を設定してください。");
    EXPECT_EQ(run.UpdaterPort.CommPort(), 7);
  }
}

TEST(VersionRead, APortTextThatIsNoSmallNumberIsAPortThatCannotBeOpened) {
  for (const char* text : {"COM3", "3x", "70000", "3.5x"}) {
    ScriptedUpdate run;
    run.Dialog_Update.Port = text;
    EXPECT_EQ(update::ReadVersion(run.Context), VersionOutcome::PortNotOpened) << text;
    EXPECT_EQ(run.Dialog_Update.Status, "通信ポートをオープンできませんでした。");
    EXPECT_FALSE(run.UpdaterPort.PortOpen());
  }
}

TEST(VersionRead, TheSpeedTextChoosesTheLineSettingsAndAnotherLeavesThem) {
  const std::vector<std::pair<std::string, std::string>> rows{{" 9600", "Settings=9600,n,8,1"},
                                                              {"19200", "Settings=19200,n,8,1"},
                                                              {"57600", "Settings=57600,n,8,1"},
                                                              {"9600", ""},
                                                              {"?", ""}};
  for (const auto& [text, expected] : rows) {
    ScriptedUpdate run;
    run.Dialog_Update.Speed = text;
    update::OpenUpdaterPort(run.Context);
    std::string set;
    for (const std::string& line : run.UpdaterPort.Log) {
      if (line.starts_with("Settings=")) set += line;
    }
    EXPECT_EQ(set, expected) << text;
  }
}

TEST(VersionRead, ReleasingTheMainPortTakesTwoRestsWithEventsAroundThem) {
  ScriptedUpdate run;
  update::ReleaseMainPort(run.Context);
  EXPECT_NEAR(run.Clock.Elapsed(), 0.4, 1e-6);
  EXPECT_GE(run.Events.Turns, 3);
  EXPECT_FALSE(run.MainPort.PortOpen());
  update::ReleaseMainPort(run.Context);
  EXPECT_EQ(run.MainPort.Log, (std::vector<std::string>{"DiscardInput", "DiscardOutput", "Close",
                                                        "DiscardInput", "DiscardOutput"}));
}

TEST(VersionRead, WorksOnTheSimulatedBoardWithASplitReply) {
  BoardUpdate run({.Faults = {MakeFault("split@1:500")}});
  run.Open();
  update::CmdVersion_Click(run.Context);
  EXPECT_EQ(run.Dialog_Update.Version, "KV-LOD350  V6.3");
}

}  // namespace
}  // namespace fenwright::testing
