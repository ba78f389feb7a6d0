
#include "support/update_run.h"

namespace fenwright::testing {
namespace {

using update::VersionOutcome;

constexpr const char* kNoAnswer =
    "　　***　ファームウエアアップデート　コミュニケーション失敗。　***　　　　　　\r\n　";

TEST_ON(UpdateTest, VersionRead, ShowsTheFirstFifteenCharacters) {
  Update.UpdateFailed = -1;
  UpdaterPort.Expect("'?'", "'KV-LOD350  V6.38' 0D 0A");
  EXPECT_EQ(update::ReadVersion(Context), VersionOutcome::Read);
  EXPECT_EQ(Dialog_Update.Version, "KV-LOD350  V6.3");
  EXPECT_EQ(Dialog_Update.Status, "ファームウエアバージョンをリードしました。");
  EXPECT_EQ(Update.UpdateFailed, 0);
  EXPECT_EQ(Update.ReceiveBuffer, Hex("'KV-LOD350  V6.38' 0D 0A"));
  EXPECT_TRUE(UpdaterPort.PortOpen()) << "the port stays open";
  EXPECT_TRUE(DialogBoxes.Boxes.empty());
}

TEST_ON(UpdateTest, VersionRead, SetsUpThePortAndDiscardsBeforeItAsks) {
  UpdaterPort.Expect("'?'", "'KV-LOD350  V6.38' 0D 0A");
  update::ReadVersion(Context);
  EXPECT_EQ(MainPort.Log, (Texts{"DiscardInput", "DiscardOutput", "Close"}));
  EXPECT_EQ(UpdaterPort.Log, (Texts{"InputMode=binary", "Handshaking=0", "InputLen=0",
                                    "RThreshold=0", "DiscardInput", "Settings=57600,n,8,1",
                                    "CommPort=3", "Open", "DiscardInput", "Output 3F"}));
}

TEST_ON(UpdateTest, VersionRead, SixteenBytesAreEnoughAndTwentyShowNoMore) {
  for (const char* reply : {"'0123456789ABCDEF'", "'0123456789ABCDEFGHIJ'"}) {
    ScriptedUpdate run;
    run.UpdaterPort.Expect("'?'", reply);
    EXPECT_EQ(update::ReadVersion(run.Context), VersionOutcome::Read);
    EXPECT_EQ(run.Dialog_Update.Version, "0123456789ABCDE");
  }
}

TEST_ON(UpdateTest, VersionRead, FifteenBytesAreNone) {
  Dialog_Update.Version = "old";
  UpdaterPort.Expect("'?'", "'0123456789ABCDE'");
  EXPECT_EQ(update::ReadVersion(Context), VersionOutcome::NoReply);
  EXPECT_EQ(Update.UpdateFailed, -1);
  EXPECT_THAT(DialogBoxes.Boxes, ElementsAre(Box{MessageIcon::Information, "", kNoAnswer}));
  EXPECT_EQ(Dialog_Update.Version, "old");
  EXPECT_TRUE(UpdaterPort.PortOpen());
  // The port's release takes 0.4 s, the wait 1 s.
  EXPECT_NEAR(Clock.Elapsed(), 1.4, 0.02);
}

TEST_ON(UpdateTest, VersionRead, AReplyInTwoPartsIsWaitedForWithinTheSecond) {
  UpdaterPort.ExpectParts("'?'", {{0.1, Hex("'01234567'")}, {0.88, Hex("'89ABCDEF'")}});
  EXPECT_EQ(update::ReadVersion(Context), VersionOutcome::Read);
}

TEST_ON(UpdateTest, VersionRead, EachByteIsACharacterOfItsOwn) {
  UpdaterPort.Expect("'?'", "B1 B2 82 A0 'ABCDEFGHIJKLMN'");
  update::ReadVersion(Context);
  // 82 A0 together would be one character; 82 alone is none.
  EXPECT_EQ(Dialog_Update.Version, "ｱｲ?" + CodePage.ToUtf8("\xA0") + "ABCDEFGHIJK");
}

TEST_ON(UpdateTest, VersionRead, APortThatCannotBeOpenedIsToldInTheStatusAndNothingIsSent) {
  UpdaterPort.OpenResult = {.Status = PortOpenStatus::Missing, .Path = "/dev/x", .Reason = "なし"};
  EXPECT_EQ(update::ReadVersion(Context), VersionOutcome::PortNotOpened);
  EXPECT_EQ(Dialog_Update.Status, "通信ポートをオープンできませんでした。");
  EXPECT_EQ(Dialog_Update.Detail, "なし");
  EXPECT_EQ(Update.UpdateFailed, -1);
  EXPECT_TRUE(DialogBoxes.Boxes.empty());
}

TEST_ON(UpdateTest, VersionRead, AnUnsetPortIsToldAndOpeningIsStillTriedOnTheOldNumber) {
  for (const char* text : {"?", ""}) {
    ScriptedUpdate run;
    run.UpdaterPort.SetCommPort(7);
    run.Dialog_Update.Port = text;
    run.UpdaterPort.Expect("'?'", "'KV-LOD350  V6.38' 0D 0A");
    EXPECT_EQ(update::ReadVersion(run.Context), VersionOutcome::Read);
    EXPECT_THAT(run.DialogBoxes.Boxes,
                ElementsAre(Box{MessageIcon::Information, "", "ポート番号を設定してください。"}));
    EXPECT_EQ(run.UpdaterPort.CommPort(), 7);
  }
}

TEST_ON(UpdateTest, VersionRead, APortTextThatIsNoSmallNumberIsAPortThatCannotBeOpened) {
  for (const char* text : {"COM3", "3x", "70000", "3.5x"}) {
    ScriptedUpdate run;
    run.Dialog_Update.Port = text;
    EXPECT_EQ(update::ReadVersion(run.Context), VersionOutcome::PortNotOpened) << text;
    EXPECT_EQ(run.Dialog_Update.Status, "通信ポートをオープンできませんでした。");
    EXPECT_FALSE(run.UpdaterPort.PortOpen());
  }
}

TEST_ON(UpdateTest, VersionRead, APortTextThatIsNoNumberHasNoReasonOfTheSystem) {
  Update.LastPortOpen = {.Status = PortOpenStatus::Busy, .Path = "/dev/x", .Reason = "busy"};
  Dialog_Update.Port = "3x";
  update::ReadVersion(Context);
  EXPECT_EQ(Update.LastPortOpen.Status, PortOpenStatus::Failed);
  EXPECT_EQ(Update.LastPortOpen.Path, "");
  EXPECT_EQ(Update.LastPortOpen.Reason, "");
}

TEST_ON(UpdateTest, VersionRead, TheSpeedTextChoosesTheLineSettingsAndAnotherLeavesThem) {
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

TEST_ON(UpdateTest, VersionRead, ReleasingTheMainPortTakesTwoRestsWithEventsAroundThem) {
  constexpr double kRest = 0.2;
  std::vector<double> turns;
  Events.OnTurn = [&] {
    turns.push_back(Clock.Elapsed());
    EXPECT_TRUE(MainPort.PortOpen());
  };
  update::ReleaseMainPort(Context);
  EXPECT_NEAR(Clock.Elapsed(), 2 * kRest, 1e-6);
  ASSERT_FALSE(turns.empty());
  EXPECT_EQ(turns.front(), 0) << "before the first rest";
  EXPECT_TRUE(std::ranges::any_of(turns, [](double at) { return std::abs(at - kRest) < 1e-6; }))
      << "between them";
  EXPECT_NEAR(turns.back(), 2 * kRest, 1e-6) << "behind the second";
  EXPECT_FALSE(MainPort.PortOpen());
  Events.OnTurn = {};
  update::ReleaseMainPort(Context);
  EXPECT_EQ(MainPort.Log,
            (Texts{"DiscardInput", "DiscardOutput", "Close", "DiscardInput", "DiscardOutput"}));
}

TEST_ON(UpdateTest, VersionRead, WorksOnTheSimulatedBoardWithASplitReply) {
  BoardUpdate run(WithFaults("split@1:500"));
  run.Open();
  update::CmdVersion_Click(run.Context);
  EXPECT_EQ(run.Dialog_Update.Version, "KV-LOD350  V6.3");
}

}  // namespace
}  // namespace fenwright::testing
