#include <algorithm>
#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/command_end.h"
#include "core/device_catalogue.h"
#include "core/hex_format.h"
#include "core/settings_keys.h"
#include "link/detection.h"
#include "recorded_run.h"
#include "support/test_run.h"

namespace fenwright::link {
namespace {

using platform::InputMode;
using platform::PortOpenStatus;
using screen::MessageMode;
using screen::Panel;
using ::testing::AllOf;
using testing::BoardRun;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using testing::Hex;
using ::testing::IsEmpty;
using ::testing::Not;
using testing::RecordedRun;
using testing::ScriptedRun;
using ::testing::StartsWith;

constexpr double kOneTurn = 0.006;
/// The two rests of the detection.
constexpr double kDetectionRests = 0.2;

const std::string kStarting = "ライタと通信中！";
const std::string kDetecting = "ｺﾏﾝﾄﾞ送信 : Avr Extend command A";
const std::string kFound = "ライターを COM3に検出しました。";
const std::string kVersion = "KV-LOD350  V6.38";
const std::string kSelecting = "ｺﾏﾝﾄﾞ送信 : Select device command T , 0x4C";
const std::string kNoBoard =
    "ライターを検出できませんでした。使用可能な通信ポートを設定してください。";
const std::string kUnreadable = "ファームウエアバージョンを読み出せませんでした。";
const std::string kTooOld =
    "このソフトは使用できません。\r\n"
    "ファームウエアバージョン6.38以降にアップデートしてください。";
const std::string kSelectTimedOut = "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Select device command T";
const std::string kSelectRefused =
    "ｺﾐﾆｭｹｰｼｮﾝ失敗 : Select device command T \r\n"
    "プログラマは、選択したマイコンを認識できませんでした。";
const std::string kNoPort =
    "ライタと通信ができませんでした。\r\n"
    "PCとライタの接続を確認後、メニューバーの\r\n"
    "[通信チェック] [COMポート選択]を実行して下さい。\r\n";
const std::string kNoPortStatus = "ライタと通信ができませんでした。(レジストリリード)";

constexpr std::uint8_t kCode = 0x4C;

/// The script of a board up to "A".
template <typename Run>
void ExpectDetection(Run& run, const std::string& line = kVersion) {
  const std::string reply = "'" + line + "' 0D 0A";
  run.Port.Expect("1B").Expect("'?'", reply).Expect("'?'", reply);
}

/// The script of a board that accepts everything.
template <typename Run>
void ExpectGoodBoard(Run& run, const std::string& line = kVersion) {
  ExpectDetection(run, line);
  run.Port.Expect("'A'", "0D").Expect("'T' 4C", "0D").Expect("1B");
}

/// The log from the first entry of that text on.
std::vector<std::string> From(const std::vector<std::string>& log, const std::string& text) {
  const auto first = std::find(log.begin(), log.end(), text);
  return {first, log.end()};
}

TEST(CheckProgrammerLink, TakesItsStepsInOrder) {
  RecordedRun run;
  run.State.DeviceCode = kCode;
  run.Dialog.Show("busy", MessageMode::Busy);
  run.Port.StartOpen();
  ExpectGoodBoard(run);
  EXPECT_TRUE(CheckProgrammerLink(run.Context));
  EXPECT_THAT(run.Port.Log,
              ElementsAre("panel 1: " + kStarting, "yield", "Close", "CommPort=3", "panel 4: COM3",
                          "Settings=57600,n,8,1", "Handshaking=0", "InputLen=0", "RTSEnable=true",
                          "RThreshold=1", "DiscardInput", "Open",
                          // Detection.
                          "panel 1: " + kDetecting, "InputMode=text", "DiscardInput", "Output 1B",
                          "yield", "DiscardInput", "Output 3F", "yield", "DiscardInput",
                          "Output 3F", "yield", "panel 1: " + kFound, "dialog text: " + kFound,
                          "panel 3: " + kVersion, "DiscardInput", "Output 41", "InputMode=binary",
                          // The rest for the acknowledgement of "A", then the device.
                          "yield", "panel 1: " + kSelecting, "DiscardInput", "Output 54",
                          "Output 4C", "yield", "dialog closed",
                          AllOf(StartsWith("panel 1: "), EndsWith("ＯＫ ！！")), "yield",
                          // Back to the normal command set.
                          "InputMode=text", "DiscardInput", "Output 1B", "InputMode=binary"));
}

TEST(CheckProgrammerLink, OnSuccessLeavesThePortOpenAndTheDialogClosed) {
  ScriptedRun run;
  run.State.DeviceCode = kCode;
  run.State.LinkError = 2;
  ExpectGoodBoard(run);
  EXPECT_TRUE(CheckProgrammerLink(run.Context));
  EXPECT_EQ(run.State.LinkError, 0);
  EXPECT_TRUE(run.Port.PortOpen());
  EXPECT_EQ(run.Port.CurrentInputMode(), InputMode::Binary);
  EXPECT_FALSE(run.Dialog.Loaded);
  EXPECT_THAT(run.Boxes.Boxes, IsEmpty());
  EXPECT_DOUBLE_EQ(run.State.FirmwareVersion, 6.38);
  EXPECT_EQ(run.State.FirmwareVersionText, kVersion);
  EXPECT_EQ(run.PanelText(Panel::Port), "COM3");
  EXPECT_EQ(run.PanelText(Panel::BoardVersion), kVersion);
}

TEST(CheckProgrammerLink, TracesAWholeGoodCheck) {
  ScriptedRun run;
  run.State.DeviceCode = kCode;
  ExpectGoodBoard(run);
  CheckProgrammerLink(run.Context);
  EXPECT_THAT(run.NewTrace(), ElementsAre(kStarting, "COM3", kDetecting, kFound, kVersion,
                                          kSelecting, EndsWith("ＯＫ ！！")));
}

TEST(CheckProgrammerLink, ClosesAndReopensThePortEveryTime) {
  ScriptedRun run;
  run.State.DeviceCode = kCode;
  ExpectGoodBoard(run);
  ExpectGoodBoard(run);
  EXPECT_TRUE(CheckProgrammerLink(run.Context));
  run.Port.Log.clear();
  EXPECT_TRUE(CheckProgrammerLink(run.Context));
  EXPECT_THAT(run.Port.Log[0], "Close");
  EXPECT_THAT(run.Port.Log, Contains("Open"));
}

TEST(CheckProgrammerLink, OpensAPortThatWasClosed) {
  RecordedRun run;
  run.State.DeviceCode = kCode;
  ExpectGoodBoard(run);
  EXPECT_TRUE(CheckProgrammerLink(run.Context));
  EXPECT_THAT(run.Port.Log, Not(Contains("Close")));
}

TEST(CheckProgrammerLink, UsesThePortNumberStoredNow) {
  ScriptedRun run;
  run.State.DeviceCode = kCode;
  run.Settings.Write(core::kSettingsSection, core::kPortNumberKey, "12");
  ExpectGoodBoard(run);
  EXPECT_TRUE(CheckProgrammerLink(run.Context));
  EXPECT_EQ(run.Port.CommPort(), 12);
  EXPECT_EQ(run.PanelText(Panel::Port), "COM12");
}

// No port chosen.

TEST(CheckProgrammerLink, WithoutAStoredPortSaysSoAndOpensNothing) {
  ScriptedRun run;
  platform::MemorySettingsStore empty;
  const core::RunContext& all = run.Context;
  core::RunContext context{
      .State = all.State,
      .Line = all.Line,
      .Storage = {.Files = run.Files, .CodePage = run.CodePage, .Settings = empty},
      .Screen = all.Screen};
  EXPECT_FALSE(CheckProgrammerLink(context));
  EXPECT_THAT(run.Port.Log,
              ElementsAre("Close", "CommPort=1", "Settings=57600,n,8,1", "Handshaking=0",
                          "InputLen=0", "RTSEnable=true", "RThreshold=1", "DiscardInput"));
  EXPECT_FALSE(run.Port.PortOpen());
  EXPECT_EQ(run.PanelText(Panel::Port), "COM1");
  EXPECT_EQ(run.State.MessageText, kNoPort);
  EXPECT_THAT(run.Dialog.Shown, ElementsAre(::testing::Pair(kNoPort, MessageMode::Notice)));
  EXPECT_TRUE(run.Dialog.ButtonVisible);
  EXPECT_EQ(run.State.StatusText, kNoPortStatus);
  EXPECT_THAT(run.NewTrace(), ElementsAre(kStarting, "COM1", kNoPort, kNoPortStatus));
  EXPECT_EQ(run.State.LinkError, 0);
}

TEST(CheckProgrammerLink, WithTheStoredPortZeroSaysThatNoneIsChosen) {
  ScriptedRun run;
  run.Settings.Write(core::kSettingsSection, core::kPortNumberKey, "0");
  EXPECT_FALSE(CheckProgrammerLink(run.Context));
  EXPECT_THAT(run.Port.Log, Not(Contains("Open")));
  EXPECT_FALSE(run.Port.PortOpen());
  EXPECT_THAT(run.Port.Sent, IsEmpty());
  EXPECT_EQ(run.Port.CommPort(), 0);
  EXPECT_EQ(run.State.MessageText, kNoPort);
  EXPECT_THAT(run.NewTrace(), ElementsAre(kStarting, "COM0", kNoPort, kNoPortStatus));
}

TEST(CheckProgrammerLink, TakesAStoredPortThatMakesNoSenseForNone) {
  for (const char* stored : {"", "abc", "3x", "COM3", "-2", "1e99", "nan"}) {
    ScriptedRun run;
    run.Settings.Write(core::kSettingsSection, core::kPortNumberKey, stored);
    EXPECT_FALSE(CheckProgrammerLink(run.Context)) << stored;
    EXPECT_THAT(run.Port.Log, Not(Contains("Open"))) << stored;
    EXPECT_FALSE(run.Port.PortOpen()) << stored;
    EXPECT_THAT(run.Port.Sent, IsEmpty()) << stored;
    EXPECT_EQ(run.State.MessageText, kNoPort) << stored;
    EXPECT_EQ(run.State.StatusText, kNoPortStatus) << stored;
  }
}

// A port that cannot be opened.

TEST(CheckProgrammerLink, OnAPortThatCannotBeOpenedFindsNoBoardAndTellsTheCause) {
  struct Refusal {
    PortOpenStatus Status;
    std::string Reason;
  };
  for (const Refusal& refusal : {Refusal{PortOpenStatus::Missing, "No such file or directory"},
                                 Refusal{PortOpenStatus::NoPermission, "Permission denied"},
                                 Refusal{PortOpenStatus::Busy, "Device or resource busy"},
                                 Refusal{PortOpenStatus::Failed, "Inappropriate ioctl"}}) {
    ScriptedRun run;
    run.Port.OpenResult = {
        .Status = refusal.Status, .Path = "/dev/ttyUSB7", .Reason = refusal.Reason};
    EXPECT_FALSE(CheckProgrammerLink(run.Context));
    EXPECT_EQ(run.State.LinkError, 1);
    EXPECT_EQ(run.Dialog.Text, kNoBoard);
    EXPECT_TRUE(run.Dialog.ButtonVisible);
    EXPECT_THAT(run.Dialog.Detail, HasSubstr("COM3"));
    EXPECT_THAT(run.Dialog.Detail, HasSubstr("/dev/ttyUSB7"));
    EXPECT_THAT(run.Dialog.Detail, HasSubstr(refusal.Reason));
    EXPECT_THAT(run.NewTrace(), ElementsAre(kStarting, "COM3", kDetecting, kNoBoard, kNoBoard, ""));
    EXPECT_THAT(run.Port.Sent, IsEmpty());
    EXPECT_FALSE(run.Port.PortOpen());
    EXPECT_EQ(run.State.LastPortOpen.Status, refusal.Status);
    EXPECT_LT(run.Clock.Elapsed(), kDetectionRests + 2 * kOneTurn);
  }
}

TEST(CheckProgrammerLink, OnAPortWithoutADeviceNamesThePortAlone) {
  ScriptedRun run;
  run.Port.OpenResult = {.Status = PortOpenStatus::Missing, .Path = "", .Reason = "no device"};
  EXPECT_FALSE(CheckProgrammerLink(run.Context));
  EXPECT_EQ(run.Dialog.Detail, "COM3 : no device");
}

// Detection that fails.

TEST(CheckProgrammerLink, TellsASilentBoardFromALineThatHasGone) {
  ScriptedRun silent;
  silent.Port.Expect("1B").Expect("'?'").Expect("'?'");
  EXPECT_FALSE(CheckProgrammerLink(silent.Context));
  EXPECT_THAT(silent.Dialog.Detail,
              AllOf(StartsWith("COM3"), HasSubstr("ライターとしての返答がありません。")));
  ScriptedRun gone;
  gone.Port.Expect("1B").ThenHangUp();
  EXPECT_FALSE(CheckProgrammerLink(gone.Context));
  EXPECT_THAT(gone.Dialog.Detail,
              AllOf(StartsWith("COM3"), HasSubstr("通信ポートがなくなりました。")));
}

TEST(CheckProgrammerLink, ExplainsNoMissingBoardWhenTheFirmwareIsTooOld) {
  ScriptedRun run;
  ExpectDetection(run, "KV-LOD350  V6.29");
  EXPECT_FALSE(CheckProgrammerLink(run.Context));
  EXPECT_EQ(run.Dialog.Detail, "");
}

TEST(CheckProgrammerLink, OnASilentBoardClosesThePortAndThenSendsTheEscape) {
  RecordedRun run;
  run.Port.Expect("1B").Expect("'?'").Expect("'?'");
  EXPECT_FALSE(CheckProgrammerLink(run.Context));
  EXPECT_THAT(
      From(run.Port.Log, "panel 1: " + kNoBoard),
      ElementsAre("panel 1: " + kNoBoard, "dialog text: " + kNoBoard,
                  "dialog shown in mode 1: " + kNoBoard, "panel 3: ", "dialog button", "Close",
                  "InputMode=text", "DiscardInput", "Output 1B", "InputMode=binary"));
  EXPECT_EQ(run.State.LinkError, 1);
  EXPECT_FALSE(run.Port.PortOpen());
  EXPECT_TRUE(run.Dialog.Loaded);
  EXPECT_EQ(run.Port.CurrentInputMode(), InputMode::Binary);
  EXPECT_THAT(run.NewTrace(), ElementsAre(kStarting, "COM3", kDetecting, kNoBoard, kNoBoard, ""));
  EXPECT_GT(run.Clock.Elapsed(), kDetectionRests + 1 - 1e-6);
}

TEST(CheckProgrammerLink, ForgetsTheVersionOfABoardThatHasGoneSilent) {
  ScriptedRun run;
  run.State.DeviceCode = kCode;
  ExpectGoodBoard(run);
  ASSERT_TRUE(CheckProgrammerLink(run.Context));
  run.Port.Expect("1B").Expect("'?'").Expect("'?'");
  EXPECT_FALSE(CheckProgrammerLink(run.Context));
  EXPECT_EQ(run.State.FirmwareVersion, 0);
  EXPECT_EQ(run.State.FirmwareVersionText, "");
  EXPECT_EQ(run.PanelText(Panel::BoardVersion), "");
}

TEST(CheckProgrammerLink, OnAnotherBoardClosesThePort) {
  RecordedRun run;
  ExpectDetection(run, "KV-LOD350B V6.38");
  EXPECT_FALSE(CheckProgrammerLink(run.Context));
  EXPECT_THAT(From(run.Port.Log, "panel 1: " + kUnreadable),
              ElementsAre("panel 1: " + kUnreadable, "dialog text: " + kUnreadable, "dialog button",
                          "panel 3: ", "InputMode=binary", "Close", "InputMode=text",
                          "DiscardInput", "Output 1B", "InputMode=binary"));
  EXPECT_EQ(run.State.LinkError, 1);
  EXPECT_FALSE(run.Port.PortOpen());
}

TEST(CheckProgrammerLink, OnOldFirmwareClosesThePortWithFlagTwoAndNoAdvice) {
  ScriptedRun run;
  ExpectDetection(run, "KV-LOD350  V6.29");
  EXPECT_FALSE(CheckProgrammerLink(run.Context));
  EXPECT_EQ(run.State.LinkError, 2);
  EXPECT_FALSE(run.Port.PortOpen());
  EXPECT_EQ(run.Dialog.Text, kTooOld);
  EXPECT_THAT(run.Boxes.Boxes, IsEmpty());
  EXPECT_EQ(run.Port.Sent, Hex("1B '?' '?'"));
}

TEST(CheckProgrammerLink, OnAVersionThatIsNoNumberClosesThePort) {
  ScriptedRun run;
  ExpectDetection(run, "KV-LOD350  Vabcd");
  EXPECT_FALSE(CheckProgrammerLink(run.Context));
  EXPECT_EQ(run.State.LinkError, 1);
  EXPECT_FALSE(run.Port.PortOpen());
  EXPECT_THAT(run.NewTrace(), ElementsAre(kStarting, "COM3", kDetecting, kFound, "KV-LOD350  Vabcd",
                                          kUnreadable, ""));
}

// The advice.

TEST(CheckProgrammerLink, AdvisesAnUpdateBeforeItSelectsTheDeviceAndWorksOn) {
  RecordedRun run;
  run.State.DeviceCode = kCode;
  ExpectGoodBoard(run, "KV-LOD350A V6.30");
  EXPECT_TRUE(CheckProgrammerLink(run.Context));
  ASSERT_EQ(run.Boxes.Boxes.size(), 1U);
  EXPECT_THAT(run.Boxes.Boxes[0].Text, HasSubstr("KV-LOD350 V6.3 \r\n"));
  const std::vector<std::string> rest = From(run.Port.Log, "message box");
  EXPECT_THAT(rest, Contains("panel 1: " + kSelecting));
  EXPECT_THAT(rest, Not(Contains("Output 41"))) << "the advice comes after the detection";
  EXPECT_TRUE(run.Port.PortOpen());
}

// Selecting the device.

TEST(CheckProgrammerLink, WhenTheDeviceIsRefusedSendsTheEscapeAndThenClosesThePort) {
  RecordedRun run;
  run.State.DeviceCode = kCode;
  ExpectDetection(run);
  run.Port.Expect("'A'", "0D").Expect("'T' 4C", "3F").Expect("1B");
  EXPECT_FALSE(CheckProgrammerLink(run.Context));
  EXPECT_THAT(
      From(run.Port.Log, "panel 1: " + kSelectRefused),
      ElementsAre("panel 1: " + kSelectRefused, "dialog text: " + kSelectRefused, "dialog button",
                  "InputMode=text", "DiscardInput", "Output 1B", "InputMode=binary", "Close"));
  EXPECT_EQ(run.State.LinkError, 1);
  EXPECT_FALSE(run.Port.PortOpen());
  EXPECT_TRUE(run.Dialog.Loaded);
  EXPECT_THAT(run.NewTrace(), ElementsAre(kStarting, "COM3", kDetecting, kFound, kVersion,
                                          kSelecting, kSelectRefused));
}

TEST(CheckProgrammerLink, WhenTheDeviceIsNotAnsweredFailsAfterTwoSeconds) {
  ScriptedRun run;
  run.State.DeviceCode = kCode;
  ExpectDetection(run);
  run.Port.Expect("'A'", "0D").Expect("'T' 4C").Expect("1B");
  EXPECT_FALSE(CheckProgrammerLink(run.Context));
  EXPECT_EQ(run.Dialog.Text, kSelectTimedOut);
  EXPECT_TRUE(run.Dialog.ButtonVisible);
  EXPECT_FALSE(run.Port.PortOpen());
  EXPECT_NEAR(run.Clock.Elapsed(), kDetectionRests + 2, 3 * kOneTurn);
}

TEST(CheckProgrammerLink, DoesNotTakeASlowAcknowledgementOfTheExtendedSetForTheDevices) {
  ScriptedRun run;
  run.State.DeviceCode = kCode;
  ExpectDetection(run);
  run.Port.Expect("'A'", "0D", 0.020).Expect("'T' 4C", "3F").Expect("1B");
  EXPECT_FALSE(CheckProgrammerLink(run.Context));
  EXPECT_EQ(run.State.StatusText, kSelectRefused);
  EXPECT_EQ(run.State.LinkError, 1);
}

TEST(CheckProgrammerLink, AcceptsTheDeviceAfterASlowAcknowledgementOfTheExtendedSet) {
  ScriptedRun run;
  run.State.DeviceCode = kCode;
  ExpectDetection(run);
  run.Port.Expect("'A'", "0D", 0.020).Expect("'T' 4C", "0D").Expect("1B");
  EXPECT_TRUE(CheckProgrammerLink(run.Context));
  EXPECT_NEAR(run.Clock.Elapsed(), kDetectionRests + 0.02, kOneTurn);
}

TEST(CheckProgrammerLink, DoesNotTestTheAcknowledgementOfTheExtendedSet) {
  ScriptedRun run;
  run.State.DeviceCode = kCode;
  ExpectDetection(run);
  run.Port.Expect("'A'", "3F").Expect("'T' 4C", "0D").Expect("1B");
  EXPECT_TRUE(CheckProgrammerLink(run.Context));
}

TEST(CheckProgrammerLink, RestsATenthOfASecondAtMostForThatAcknowledgement) {
  ScriptedRun run;
  run.State.DeviceCode = kCode;
  ExpectDetection(run);
  run.Port.Expect("'A'").Expect("'T' 4C", "0D").Expect("1B");
  EXPECT_TRUE(CheckProgrammerLink(run.Context));
  EXPECT_NEAR(run.Clock.Elapsed(), kDetectionRests + 0.1 + 0.002, 1e-3);
}

// Lines that go.

TEST(CheckProgrammerLink, OnALineThatGoesEndsAtOnceWithTheTextsOfASilentOne) {
  ScriptedRun run;
  run.Port.Expect("1B").ThenHangUp();
  EXPECT_FALSE(CheckProgrammerLink(run.Context));
  EXPECT_THAT(run.NewTrace(), ElementsAre(kStarting, "COM3", kDetecting, kNoBoard, kNoBoard, ""));
  EXPECT_LT(run.Clock.Elapsed(), kDetectionRests + 2 * kOneTurn);
  EXPECT_FALSE(run.Port.PortOpen());
}

TEST(CheckProgrammerLink, OnALineThatGoesBehindTheDetectionDoesNotWaitForTheDevice) {
  ScriptedRun run;
  run.State.DeviceCode = kCode;
  ExpectDetection(run);
  run.Port.Expect("'A'").ThenHangUp();
  EXPECT_FALSE(CheckProgrammerLink(run.Context));
  EXPECT_THAT(run.NewTrace(), ElementsAre(kStarting, "COM3", kDetecting, kFound, kVersion,
                                          kSelecting, kSelectTimedOut));
  EXPECT_EQ(run.Dialog.Text, kSelectTimedOut);
  EXPECT_LT(run.Clock.Elapsed(), kDetectionRests + 4 * kOneTurn);
  EXPECT_FALSE(run.Port.PortOpen());
}

// Stopping.

TEST(CheckProgrammerLink, SendsNothingOnceAStopIsRequested) {
  ScriptedRun run;
  run.State.StopRequested = true;
  EXPECT_THROW(CheckProgrammerLink(run.Context), core::CommandEnd);
  EXPECT_THAT(run.Port.Sent, IsEmpty());
}

TEST(CheckProgrammerLink, StoppedDuringTheDetectionSendsNoFurtherCommand) {
  ScriptedRun run;
  ExpectDetection(run);
  run.Events.OnTurn = [&] {
    if (run.Port.Sent == Hex("1B '?' '?'")) run.State.StopRequested = true;
  };
  EXPECT_THROW(CheckProgrammerLink(run.Context), core::CommandEnd);
  EXPECT_EQ(run.Port.Sent, Hex("1B '?' '?'"));
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
};

TEST(LinkCheckOnABoard, IsReadyForEveryDevice) {
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    GuardedBoardRun run(device.DisplayName);
    EXPECT_TRUE(CheckProgrammerLink(run.Context)) << device.DisplayName;
    EXPECT_EQ(run.Wire, BoardRun::LinkCheckBytes(device.DeviceCode)) << device.DisplayName;
    EXPECT_TRUE(run.Port.PortOpen()) << device.DisplayName;
  }
}

TEST(LinkCheckOnABoard, TellsThatASlowBoardRefusesADevice) {
  GuardedBoardRun run("AT90S2343", {.Board = {.ExtendDelay = std::chrono::milliseconds(20)}});
  run.State.DeviceCode = 0x01;
  EXPECT_FALSE(CheckProgrammerLink(run.Context));
  EXPECT_EQ(run.State.StatusText, kSelectRefused);
}

TEST(LinkCheckOnABoard, IsReadyOnABoardThatIsSlowToAcknowledge) {
  GuardedBoardRun run("AT90S2343", {.Board = {.ExtendDelay = std::chrono::milliseconds(20)}});
  EXPECT_TRUE(CheckProgrammerLink(run.Context));
}

TEST(LinkCheckOnABoard, RefusesOldFirmwareAndAdvisesOnOlder) {
  GuardedBoardRun old("AT90S2343", {.Board = {.VersionLine = "KV-LOD350  V6.29\r\n"}});
  EXPECT_FALSE(CheckProgrammerLink(old.Context));
  EXPECT_EQ(old.State.LinkError, 2);
  GuardedBoardRun older("AT90S2343", {.Board = {.VersionLine = "KV-LOD350A V6.37\r\n"}});
  EXPECT_TRUE(CheckProgrammerLink(older.Context));
  EXPECT_EQ(older.Boxes.Boxes.size(), 1U);
}

TEST(LinkCheckOnABoard, OnALineThatHangsUpFailsAtOnceWithTheTextOfItsPlace) {
  // The bytes are: escape, "?", "?", "A", "T", the device code, escape.
  for (int byte = 1; byte <= 6; ++byte) {
    GuardedBoardRun run("AT90S2343",
                        {.Faults = {testing::MakeFault("hangup@" + std::to_string(byte))}});
    EXPECT_FALSE(CheckProgrammerLink(run.Context)) << byte;
    EXPECT_EQ(run.State.LinkError, 1) << byte;
    EXPECT_EQ(run.Dialog.Text, byte <= 3 ? kNoBoard : kSelectTimedOut) << byte;
    EXPECT_FALSE(run.Port.PortOpen()) << byte;
    EXPECT_LT(run.Clock.Elapsed(), kDetectionRests + 0.05) << byte;
  }
}

}  // namespace
}  // namespace fenwright::link
