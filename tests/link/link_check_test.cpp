#include "core/device_catalogue.h"
#include "link/detection.h"
#include "link/link_test.h"

namespace fenwright::link {
namespace {

/// The two rests of the detection.
constexpr double kDetectionRests = 0.2;

const std::string kStarting = "ライタと通信中！";
const std::string kSelecting = "ｺﾏﾝﾄﾞ送信 : Select device command T , 0x4C";
const std::string kSelectTimedOut = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Select device command T";
const std::string kSelectRefused =
    "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Select device command T \r\n"
    "プログラマは、選択したマイコンを認識できませんでした。";
const std::string kNoPort =
    "ライタと通信ができませんでした。\r\n"
    "PCとライタの接続を確認後、メニューバーの\r\n"
    "[通信チェック] [COMポート選択]を実行して下さい。\r\n";
const std::string kNoPortStatus = "ライタと通信ができませんでした。(レジストリリード)";

/// Link checks on port 3, the device 0x4C selected.
struct CheckRun : LinkRun {
  CheckRun() { State.DeviceCode = 0x4C; }

  bool Check() { return CheckProgrammerLink(Context); }
  /// On a board that answers to "A", to "T" and to the escape byte behind it.
  bool CheckWith(const std::string& extend, const std::string& select,
                 double extend_delay = 0.001) {
    ExpectVersion(Port);
    Port.Expect("'A'", extend, extend_delay).Expect("'T' 4C", select).Expect("1B");
    return Check();
  }
  /// On one that accepts everything.
  bool CheckGoodBoard(const std::string& line = kVersion) {
    ExpectVersion(Port, line);
    Port.Expect("'A'", "0D").Expect("'T' 4C", "0D").Expect("1B");
    return Check();
  }
  /// On one that is refused for its line.
  bool CheckOther(const std::string& line) {
    ExpectVersion(Port, line);
    return Check();
  }
  bool CheckSilence() {
    ExpectSilence(Port);
    return Check();
  }
  void ExpectNoBoardTraced() {
    EXPECT_THAT(NewTrace(),
                ElementsAre(kStarting, "COM3", kDetecting, kNoBoard, kNoBoard, "", Dialog.Detail));
  }
  void ExpectSelectionTraced(const ::testing::Matcher<std::string>& end) {
    Texts trace = NewTrace();
    // Behind the text of a failure stands the dialog's second line.
    if (!Dialog.Detail.empty()) {
      EXPECT_EQ(trace.back(), Dialog.Detail);
      trace.pop_back();
    }
    EXPECT_THAT(
        trace, ElementsAre(kStarting, "COM3", kDetecting, kFoundOnCom3, kVersion, kSelecting, end));
  }
};

struct CheckTest : Test, CheckRun {};

TEST_ON(CheckTest, CheckProgrammerLink, TakesItsStepsInOrder) {
  Dialog.Show("busy", MessageMode::Busy);
  Recorded.clear();
  EXPECT_TRUE(CheckGoodBoard());
  EXPECT_THAT(
      Steps(),
      ElementsAre("panel 1 " + kStarting, "turn", "Close", "CommPort=3", "panel 4 COM3",
                  "Settings=57600,n,8,1", "Handshaking=0", "InputLen=0", "RTSEnable=true",
                  "RThreshold=1", "DiscardInput", "Open",
                  // Detection.
                  "panel 1 " + kDetecting, "InputMode=text", "DiscardInput", "Output 1B", "turn",
                  "DiscardInput", "Output 3F", "turn", "DiscardInput", "Output 3F", "turn",
                  "panel 1 " + kFoundOnCom3, "dialog text " + kFoundOnCom3, "panel 3 " + kVersion,
                  "DiscardInput", "Output 41", "InputMode=binary",
                  // The rest for the acknowledgement of "A", then the device.
                  "turn", "panel 1 " + kSelecting, "DiscardInput", "Output 54", "Output 4C", "turn",
                  "close dialog", AllOf(StartsWith("panel 1 "), EndsWith("ＯＫ ！！")), "turn",
                  // Back to the normal command set.
                  "InputMode=text", "DiscardInput", "Output 1B", "InputMode=binary"));
}

TEST_ON(CheckTest, CheckProgrammerLink, OnSuccessLeavesThePortOpenAndTheDialogClosed) {
  State.LinkError = 2;
  EXPECT_TRUE(CheckGoodBoard());
  EXPECT_EQ(State.LinkError, 0);
  EXPECT_TRUE(Port.PortOpen());
  EXPECT_EQ(Port.CurrentInputMode(), InputMode::Binary);
  EXPECT_FALSE(Dialog.Loaded);
  EXPECT_THAT(Boxes.Boxes, IsEmpty());
  EXPECT_DOUBLE_EQ(State.FirmwareVersion, 6.38);
  EXPECT_EQ(State.FirmwareVersionText, kVersion);
  EXPECT_EQ(PanelText(Panel::Port), "COM3");
  EXPECT_EQ(PanelText(Panel::BoardVersion), kVersion);
}

TEST_ON(CheckTest, CheckProgrammerLink, TracesAWholeGoodCheck) {
  CheckGoodBoard();
  ExpectSelectionTraced(EndsWith("ＯＫ ！！"));
}

TEST_ON(CheckTest, CheckProgrammerLink, ClosesAndReopensThePortEveryTime) {
  EXPECT_TRUE(CheckGoodBoard());
  Port.Log.clear();
  EXPECT_TRUE(CheckGoodBoard());
  EXPECT_THAT(Port.Log[0], "Close");
  EXPECT_THAT(Port.Log, Contains("Open"));
}

TEST_ON(CheckTest, CheckProgrammerLink, OpensAPortThatWasClosed) {
  Port.Close();
  Port.Log.clear();
  EXPECT_TRUE(CheckGoodBoard());
  EXPECT_THAT(Port.Log, Not(Contains("Close")));
}

TEST_ON(CheckTest, CheckProgrammerLink, UsesThePortNumberStoredNow) {
  Store("ComNox", "12");
  EXPECT_TRUE(CheckGoodBoard());
  EXPECT_EQ(Port.CommPort(), 12);
  EXPECT_EQ(PanelText(Panel::Port), "COM12");
}

// No port chosen.

TEST_ON(CheckTest, CheckProgrammerLink, WithoutAStoredPortSaysSoAndOpensNothing) {
  Settings = {};
  EXPECT_FALSE(Check());
  EXPECT_THAT(Port.Log,
              ElementsAre("Close", "CommPort=1", "Settings=57600,n,8,1", "Handshaking=0",
                          "InputLen=0", "RTSEnable=true", "RThreshold=1", "DiscardInput"));
  EXPECT_FALSE(Port.PortOpen());
  EXPECT_EQ(PanelText(Panel::Port), "COM1");
  EXPECT_EQ(State.MessageText, kNoPort);
  EXPECT_THAT(Dialog.Shown, ElementsAre(Pair(kNoPort, MessageMode::Notice)));
  EXPECT_TRUE(Dialog.ButtonVisible);
  EXPECT_EQ(State.StatusText, kNoPortStatus);
  EXPECT_THAT(NewTrace(), ElementsAre(kStarting, "COM1", kNoPort, kNoPortStatus));
  EXPECT_EQ(State.LinkError, 0);
}

TEST_ON(CheckTest, CheckProgrammerLink, WithTheStoredPortZeroSaysThatNoneIsChosen) {
  Store("ComNox", "0");
  EXPECT_FALSE(Check());
  EXPECT_THAT(Port.Log, Not(Contains("Open")));
  EXPECT_FALSE(Port.PortOpen());
  EXPECT_THAT(Port.Sent, IsEmpty());
  EXPECT_EQ(Port.CommPort(), 0);
  EXPECT_EQ(State.MessageText, kNoPort);
  EXPECT_THAT(NewTrace(), ElementsAre(kStarting, "COM0", kNoPort, kNoPortStatus));
}

TEST_ON(CheckTest, CheckProgrammerLink, OpensAStoredNumberUpTo256) {
  for (const int number : {21, 256}) {
    CheckRun run;
    run.Store("ComNox", std::to_string(number));
    run.Port.OpenResult = {.Status = PortOpenStatus::Missing, .Path = "", .Reason = "no device"};
    EXPECT_FALSE(run.Check());
    EXPECT_THAT(run.Port.Log, Contains("Open"));
    EXPECT_EQ(run.PanelText(Panel::Port), "COM" + std::to_string(number));
    EXPECT_EQ(run.Dialog.Detail, "COM" + std::to_string(number) + " : no device");
  }
}

TEST_ON(CheckTest, CheckProgrammerLink, TakesAStoredPortThatMakesNoSenseForNone) {
  for (const char* stored : {"", "abc", "3x", "COM3", "-2", "257", "1e99", "nan"}) {
    SCOPED_TRACE(stored);
    CheckRun run;
    run.Store("ComNox", stored);
    EXPECT_FALSE(run.Check());
    EXPECT_THAT(run.Port.Log, Not(Contains("Open")));
    EXPECT_FALSE(run.Port.PortOpen());
    EXPECT_THAT(run.Port.Sent, IsEmpty());
    EXPECT_EQ(run.State.MessageText, kNoPort);
    EXPECT_EQ(run.State.StatusText, kNoPortStatus);
  }
}

TEST_ON(CheckTest, CheckProgrammerLink, WithoutAStoredPortClearsAnEarlierFlag) {
  Settings = {};
  State.LinkError = 1;
  EXPECT_FALSE(Check());
  EXPECT_EQ(State.LinkError, 0);
}

TEST_ON(CheckTest, OpenChosenPort, WithoutAStoredPortClosesAnOpenOne) {
  Settings = {};
  EXPECT_FALSE(OpenChosenPort(Context));
  EXPECT_FALSE(Port.PortOpen());
}

// A port that cannot be opened.

TEST_ON(CheckTest, CheckProgrammerLink, OnAPortThatCannotBeOpenedFindsNoBoardAndTellsTheCause) {
  const std::vector<std::pair<PortOpenStatus, std::string>> refusals{
      {PortOpenStatus::Missing, "No such file or directory"},
      {PortOpenStatus::NoPermission, "Permission denied"},
      {PortOpenStatus::Busy, "Device or resource busy"},
      {PortOpenStatus::Failed, "Inappropriate ioctl"}};
  for (const auto& [status, reason] : refusals) {
    CheckRun run;
    run.Port.OpenResult = {.Status = status, .Path = "/dev/ttyUSB7", .Reason = reason};
    EXPECT_FALSE(run.Check());
    EXPECT_EQ(run.State.LinkError, 1);
    EXPECT_EQ(run.Dialog.Text, kNoBoard);
    EXPECT_TRUE(run.Dialog.ButtonVisible);
    EXPECT_THAT(run.Dialog.Detail,
                AllOf(HasSubstr("COM3"), HasSubstr("/dev/ttyUSB7"), HasSubstr(reason)));
    run.ExpectNoBoardTraced();
    EXPECT_THAT(run.Port.Sent, IsEmpty());
    EXPECT_FALSE(run.Port.PortOpen());
    EXPECT_EQ(run.State.LastPortOpen.Status, status);
    EXPECT_LT(run.Clock.Elapsed(), kDetectionRests + 2 * kOneTurn);
  }
}

TEST_ON(CheckTest, CheckProgrammerLink, OnAPortWithoutADeviceNamesThePortAlone) {
  Port.OpenResult = {.Status = PortOpenStatus::Missing, .Path = "", .Reason = "no device"};
  EXPECT_FALSE(Check());
  EXPECT_EQ(Dialog.Detail, "COM3 : no device");
}

TEST_ON(CheckTest, CheckProgrammerLink, NamesThePathOfAPortInBracketsBehindItsNumber) {
  Port.OpenResult = {
      .Status = PortOpenStatus::Busy, .Path = "/dev/ttyUSB7", .Reason = "Device or resource busy"};
  EXPECT_FALSE(Check());
  EXPECT_EQ(Dialog.Detail, "COM3 (/dev/ttyUSB7) : Device or resource busy");
}

// Detection that fails.

TEST_ON(CheckTest, CheckProgrammerLink, TellsTheWholeCauseAndCureOfASilentBoard) {
  EXPECT_FALSE(CheckSilence());
  EXPECT_EQ(Dialog.Detail,
            "COM3 は開けましたが、ライターとしての返答がありません。"
            "ライターの電源、ケーブル、ポート番号を確認してください。");
}

TEST_ON(CheckTest, CheckProgrammerLink, TellsTheWholeCauseAndCureOfALineThatHasGone) {
  Port.Expect("1B").ThenHangUp();
  EXPECT_FALSE(Check());
  EXPECT_EQ(Dialog.Detail,
            "COM3 : 通信ポートがなくなりました。USBケーブルと電源を確認してください。");
}

TEST_ON(CheckTest, CheckProgrammerLink, TellsASilentBoardFromALineThatHasGone) {
  EXPECT_FALSE(CheckSilence());
  EXPECT_THAT(Dialog.Detail,
              AllOf(StartsWith("COM3"), HasSubstr("ライターとしての返答がありません。")));
  CheckRun gone;
  gone.Port.Expect("1B").ThenHangUp();
  EXPECT_FALSE(gone.Check());
  EXPECT_THAT(gone.Dialog.Detail,
              AllOf(StartsWith("COM3"), HasSubstr("通信ポートがなくなりました。")));
}

TEST_ON(CheckTest, CheckProgrammerLink, TellsAnotherDeviceFromABoardWithoutAVersionNumber) {
  EXPECT_FALSE(CheckOther("SOMETHING QUITE 1"));
  EXPECT_EQ(State.LastDetection, core::Detection::OtherDevice);
  EXPECT_EQ(Dialog.Detail,
            "COM3 から返答はありましたが、対応しているライターではありません。"
            "ポート番号を確認してください。");
  CheckRun unreadable;
  EXPECT_FALSE(unreadable.CheckOther("KV-LOD350  Vabcd"));
  EXPECT_EQ(unreadable.State.LastDetection, core::Detection::VersionUnreadable);
  EXPECT_EQ(unreadable.Dialog.Detail,
            "COM3 のライターのバージョンが数字ではありません。ライターの電源を入れ直してください。"
            "それでも読み出せないときは、ファームウエアをアップデートしてください。");
}

TEST_ON(CheckTest, CheckProgrammerLink, ForgetsWhatAnEarlierDetectionMet) {
  EXPECT_EQ(State.LastDetection, core::Detection::NotMade);
  EXPECT_FALSE(CheckOther("SOMETHING QUITE 1"));
  EXPECT_FALSE(CheckSilence());
  EXPECT_EQ(State.LastDetection, core::Detection::NoAnswer);
  Store("ComNox", "0");
  EXPECT_FALSE(Check());
  EXPECT_EQ(State.LastDetection, core::Detection::NotMade);
}

TEST_ON(CheckTest, CheckProgrammerLink, TracesTheSecondLineOfTheDialogToo) {
  EXPECT_FALSE(CheckSilence());
  EXPECT_FALSE(Dialog.Detail.empty());
  EXPECT_EQ(NewTrace().back(), Dialog.Detail);
}

TEST_ON(CheckTest, CheckProgrammerLink, ExplainsNoMissingBoardWhenTheFirmwareIsTooOld) {
  EXPECT_FALSE(CheckOther("KV-LOD350  V6.29"));
  EXPECT_EQ(Dialog.Detail, "");
}

TEST_ON(CheckTest, CheckProgrammerLink, OnASilentBoardClosesThePortAndThenSendsTheEscape) {
  EXPECT_FALSE(CheckSilence());
  EXPECT_THAT(StepsFrom("panel 1 " + kNoBoard),
              ElementsAre("panel 1 " + kNoBoard, "dialog text " + kNoBoard, "notice " + kNoBoard,
                          "panel 3 ", "dialog button", "Close", "InputMode=text", "DiscardInput",
                          "Output 1B", "InputMode=binary"));
  EXPECT_EQ(State.LinkError, 1);
  EXPECT_FALSE(Port.PortOpen());
  EXPECT_TRUE(Dialog.Loaded);
  EXPECT_EQ(Port.CurrentInputMode(), InputMode::Binary);
  ExpectNoBoardTraced();
  EXPECT_GT(Clock.Elapsed(), kDetectionRests + 1 - 1e-6);
}

TEST_ON(CheckTest, CheckProgrammerLink, ForgetsTheVersionOfABoardThatHasGoneSilent) {
  ASSERT_TRUE(CheckGoodBoard());
  EXPECT_FALSE(CheckSilence());
  EXPECT_EQ(State.FirmwareVersion, 0);
  EXPECT_EQ(State.FirmwareVersionText, "");
  EXPECT_EQ(PanelText(Panel::BoardVersion), "");
}

TEST_ON(CheckTest, CheckProgrammerLink, OnAnotherBoardClosesThePort) {
  EXPECT_FALSE(CheckOther("KV-LOD350B V6.38"));
  EXPECT_THAT(StepsFrom("panel 1 " + kUnreadable),
              ElementsAre("panel 1 " + kUnreadable, "dialog text " + kUnreadable, "dialog button",
                          "panel 3 ", "InputMode=binary", "Close", "InputMode=text", "DiscardInput",
                          "Output 1B", "InputMode=binary"));
  EXPECT_EQ(State.LinkError, 1);
  EXPECT_FALSE(Port.PortOpen());
}

TEST_ON(CheckTest, CheckProgrammerLink, OnOldFirmwareClosesThePortWithFlagTwoAndNoAdvice) {
  EXPECT_FALSE(CheckOther("KV-LOD350  V6.29"));
  EXPECT_EQ(State.LinkError, 2);
  EXPECT_FALSE(Port.PortOpen());
  EXPECT_EQ(Dialog.Text, kTooOld);
  EXPECT_THAT(Boxes.Boxes, IsEmpty());
  EXPECT_EQ(Port.Sent, Hex("1B '?' '?'"));
}

TEST_ON(CheckTest, CheckProgrammerLink, OnAVersionThatIsNoNumberClosesThePort) {
  EXPECT_FALSE(CheckOther("KV-LOD350  Vabcd"));
  EXPECT_EQ(State.LinkError, 1);
  EXPECT_FALSE(Port.PortOpen());
  EXPECT_THAT(NewTrace(), ElementsAre(kStarting, "COM3", kDetecting, kFoundOnCom3,
                                      "KV-LOD350  Vabcd", kUnreadable, "", Dialog.Detail));
}

// The advice.

TEST_ON(CheckTest, CheckProgrammerLink, AdvisesAnUpdateBeforeItSelectsTheDeviceAndWorksOn) {
  EXPECT_TRUE(CheckGoodBoard("KV-LOD350A V6.30"));
  EXPECT_THAT(Boxes.Texts(), ElementsAre(HasSubstr("KV-LOD350 V6.3 \r\n")));
  const Journal rest = StepsFrom("message box");
  EXPECT_THAT(rest, Contains("panel 1 " + kSelecting));
  EXPECT_THAT(rest, Not(Contains("Output 41"))) << "the advice comes after the detection";
  EXPECT_TRUE(Port.PortOpen());
}

TEST_ON(CheckTest, CheckProgrammerLink, RestsForTheAcknowledgementBehindTheAdvice) {
  ExpectVersion(Port, "KV-LOD350A V6.30");
  // A refusal that comes at once must not hide behind the acknowledgement of "A".
  Port.Expect("'A'", "0D", 0.020).Expect("'T' 4C", "3F").Expect("1B");
  EXPECT_FALSE(Check());
  EXPECT_EQ(State.StatusText, kSelectRefused);
  const Journal steps = StepsFrom("message box");
  ASSERT_GE(steps.size(), 3U);
  EXPECT_EQ(steps[1], "turn");
  EXPECT_EQ(steps[2], "panel 1 " + kSelecting);
}

// Selecting the device.

TEST_ON(CheckTest, CheckProgrammerLink, WhenTheDeviceIsRefusedSendsTheEscapeAndThenClosesThePort) {
  EXPECT_FALSE(CheckWith("0D", "3F"));
  EXPECT_THAT(
      StepsFrom("panel 1 " + kSelectRefused),
      ElementsAre("panel 1 " + kSelectRefused, "dialog text " + kSelectRefused, "dialog button",
                  "InputMode=text", "DiscardInput", "Output 1B", "InputMode=binary", "Close"));
  EXPECT_EQ(State.LinkError, 1);
  EXPECT_FALSE(Port.PortOpen());
  EXPECT_TRUE(Dialog.Loaded);
  ExpectSelectionTraced(kSelectRefused);
}

TEST_ON(CheckTest, CheckProgrammerLink, SaysThatARefusedDeviceLeavesTheChipAsItWas) {
  EXPECT_FALSE(CheckWith("0D", "3F"));
  EXPECT_EQ(Dialog.Detail,
            "デバイスには何も書き込んでいません。デバイスの選択と、ライターのファームウエア"
            "バージョンを確認してください。");
}

TEST_ON(CheckTest, CheckProgrammerLink, WhenTheDeviceIsNotAnsweredFailsAfterTwoSeconds) {
  EXPECT_FALSE(CheckWith("0D", ""));
  EXPECT_EQ(Dialog.Text, kSelectTimedOut);
  EXPECT_TRUE(Dialog.ButtonVisible);
  EXPECT_FALSE(Port.PortOpen());
  EXPECT_NEAR(Clock.Elapsed(), kDetectionRests + 2, 3 * kOneTurn);
}

TEST_ON(CheckTest, CheckProgrammerLink,
        DoesNotTakeASlowAcknowledgementOfTheExtendedSetForTheDevices) {
  EXPECT_FALSE(CheckWith("0D", "3F", 0.020));
  EXPECT_EQ(State.StatusText, kSelectRefused);
  EXPECT_EQ(State.LinkError, 1);
}

TEST_ON(CheckTest, CheckProgrammerLink, AcceptsTheDeviceAfterASlowAcknowledgementOfTheExtendedSet) {
  EXPECT_TRUE(CheckWith("0D", "0D", 0.020));
  EXPECT_NEAR(Clock.Elapsed(), kDetectionRests + 0.02, kOneTurn);
}

TEST_ON(CheckTest, CheckProgrammerLink, DoesNotTestTheAcknowledgementOfTheExtendedSet) {
  EXPECT_TRUE(CheckWith("3F", "0D"));
}

TEST_ON(CheckTest, CheckProgrammerLink, RestsATenthOfASecondAtMostForThatAcknowledgement) {
  EXPECT_TRUE(CheckWith("", "0D"));
  EXPECT_NEAR(Clock.Elapsed(), kDetectionRests + 0.1 + 0.002, 1e-3);
}

// Lines that go.

TEST_ON(CheckTest, CheckProgrammerLink, OnALineThatGoesEndsAtOnceWithTheTextsOfASilentOne) {
  Port.Expect("1B").ThenHangUp();
  EXPECT_FALSE(Check());
  ExpectNoBoardTraced();
  EXPECT_LT(Clock.Elapsed(), kDetectionRests + 2 * kOneTurn);
  EXPECT_FALSE(Port.PortOpen());
}

TEST_ON(CheckTest, CheckProgrammerLink, OnALineThatGoesBehindTheDetectionDoesNotWaitForTheDevice) {
  ExpectVersion(Port);
  Port.Expect("'A'").ThenHangUp();
  EXPECT_FALSE(Check());
  ExpectSelectionTraced(kSelectTimedOut);
  EXPECT_EQ(Dialog.Text, kSelectTimedOut);
  EXPECT_LT(Clock.Elapsed(), kDetectionRests + 4 * kOneTurn);
  EXPECT_FALSE(Port.PortOpen());
}

// Stopping.

TEST_ON(CheckTest, CheckProgrammerLink, SendsNothingOnceAStopIsRequested) {
  State.StopRequested = true;
  EXPECT_THROW(Check(), core::CommandEnd);
  EXPECT_THAT(Port.Sent, IsEmpty());
}

TEST_ON(CheckTest, CheckProgrammerLink, StoppedDuringTheDetectionSendsNoFurtherCommand) {
  ExpectVersion(Port);
  Events.OnTurn = [this] {
    if (Port.Sent == Hex("1B '?' '?'")) State.StopRequested = true;
  };
  EXPECT_THROW(Check(), core::CommandEnd);
  EXPECT_EQ(Port.Sent, Hex("1B '?' '?'"));
}

// A board at the other end.

/// A board whose run ends in an error, not never, when a wait makes no progress.
struct GuardedBoardRun : BoardRun {
  explicit GuardedBoardRun(std::string_view device, board::SimulatedBoardOptions options = {})
      : BoardRun(device, std::move(options)) {
    Events.OnTurn = [this] {
      constexpr int kFarTooMany = 100000;
      if (Events.Turns > kFarTooMany) throw std::runtime_error("a wait makes no progress");
    };
  }
  bool Check() { return CheckProgrammerLink(Context); }
};

TEST(LinkCheckOnABoard, IsReadyForEveryDevice) {
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    GuardedBoardRun run(device.DisplayName);
    EXPECT_TRUE(run.Check()) << device.DisplayName;
    EXPECT_EQ(run.Wire, BoardRun::LinkCheckBytes(device.DeviceCode)) << device.DisplayName;
    EXPECT_TRUE(run.Port.PortOpen()) << device.DisplayName;
  }
}

TEST(LinkCheckOnABoard, TellsThatASlowBoardRefusesADevice) {
  GuardedBoardRun run("AT90S2343", {.Board = {.ExtendDelay = 20ms}});
  run.State.DeviceCode = 0x01;
  EXPECT_FALSE(run.Check());
  EXPECT_EQ(run.State.StatusText, kSelectRefused);
}

TEST(LinkCheckOnABoard, IsReadyOnABoardThatIsSlowToAcknowledge) {
  GuardedBoardRun run("AT90S2343", {.Board = {.ExtendDelay = 20ms}});
  EXPECT_TRUE(run.Check());
}

TEST(LinkCheckOnABoard, RefusesOldFirmwareAndAdvisesOnOlder) {
  GuardedBoardRun old("AT90S2343", {.Board = {.VersionLine = "KV-LOD350  V6.29\r\n"}});
  EXPECT_FALSE(old.Check());
  EXPECT_EQ(old.State.LinkError, 2);
  GuardedBoardRun older("AT90S2343", {.Board = {.VersionLine = "KV-LOD350A V6.37\r\n"}});
  EXPECT_TRUE(older.Check());
  EXPECT_EQ(older.Boxes.Boxes.size(), 1U);
}

TEST(LinkCheckOnABoard, OnALineThatHangsUpFailsAtOnceWithTheTextOfItsPlace) {
  // The bytes are: escape, "?", "?", "A", "T", the device code, escape.
  for (int byte = 1; byte <= 6; ++byte) {
    GuardedBoardRun run("AT90S2343", WithFaults("hangup@" + std::to_string(byte)));
    EXPECT_FALSE(run.Check()) << byte;
    EXPECT_EQ(run.State.LinkError, 1) << byte;
    EXPECT_EQ(run.Dialog.Text, byte <= 3 ? kNoBoard : kSelectTimedOut) << byte;
    EXPECT_FALSE(run.Port.PortOpen()) << byte;
    EXPECT_LT(run.Clock.Elapsed(), kDetectionRests + 0.05) << byte;
  }
}

}  // namespace
}  // namespace fenwright::link
