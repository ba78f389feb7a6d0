#include "link/detection.h"

#include <cstdint>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/build_info.h"
#include "core/command_end.h"
#include "recorded_run.h"
#include "support/test_run.h"

namespace fenwright::link {
namespace {

using platform::InputMode;
using screen::MessageMode;
using screen::Panel;
using ::testing::ElementsAre;
using testing::Hex;
using ::testing::IsEmpty;
using testing::RecordedRun;
using testing::ScriptedRun;

constexpr double kOneTurn = 0.006;

const std::string kDetecting = "ｺﾏﾝﾄﾞ送信 : Avr Extend command A";
const std::string kFoundOnCom3 = "ライターを COM3に検出しました。";
const std::string kNoBoard =
    "ライターを検出できませんでした。使用可能な通信ポートを設定してください。";
const std::string kUnreadable = "ファームウエアバージョンを読み出せませんでした。";
const std::string kTooOld =
    "このソフトは使用できません。\r\n"
    "ファームウエアバージョン6.38以降にアップデートしてください。";

/// The script of a board that answers "?" with a version line and a line end.
template <typename Run>
void AnswerWith(Run& run, const std::string& line, const std::string& line_end = "0D 0A") {
  const std::string reply = "'" + line + "' " + line_end;
  run.Port.Expect("1B").Expect("'?'", reply).Expect("'?'", reply);
}

/// What a detection left behind.
struct Outcome {
  double Version = -1;
  std::int16_t Error = -1;
};

template <typename Run>
Outcome Detect(Run& run) {
  run.Port.SetCommPort(3);
  run.Port.Log.clear();
  Outcome outcome;
  DetectProgrammer(run.Context, outcome.Version, outcome.Error);
  return outcome;
}

TEST(DetectProgrammer, TakesItsStepsInOrder) {
  RecordedRun run;
  run.Port.StartOpen();
  AnswerWith(run, "KV-LOD350  V6.38");
  run.Port.Expect("'A'", "0D");
  Detect(run);
  EXPECT_THAT(
      run.Port.Log,
      ElementsAre("panel 1: " + kDetecting, "InputMode=text", "DiscardInput", "Output 1B", "yield",
                  "DiscardInput", "Output 3F", "yield", "DiscardInput", "Output 3F", "yield",
                  "panel 1: " + kFoundOnCom3, "dialog text: " + kFoundOnCom3,
                  "panel 3: KV-LOD350  V6.38", "DiscardInput", "Output 41", "InputMode=binary"));
}

TEST(DetectProgrammer, RestsATenthOfASecondBehindTheEscapeAndTheFirstQuestion) {
  ScriptedRun run;
  std::vector<double> moments;
  std::size_t seen = 0;
  run.Events.OnTurn = [&] {
    if (run.Port.Sent.size() != seen) moments.push_back(run.Clock.Elapsed());
    seen = run.Port.Sent.size();
  };
  AnswerWith(run, "KV-LOD350  V6.38");
  run.Port.Expect("'A'");
  Detect(run);
  ASSERT_EQ(moments.size(), 3U);
  EXPECT_NEAR(moments[1] - moments[0], 0.1, 1e-3);
  EXPECT_NEAR(moments[2] - moments[1], 0.1, 1e-3);
}

TEST(DetectProgrammer, AcceptsABoardWithItsVersion) {
  ScriptedRun run;
  AnswerWith(run, "KV-LOD350  V6.38");
  run.Port.Expect("'A'", "0D");
  const Outcome outcome = Detect(run);
  EXPECT_EQ(outcome.Error, 0);
  EXPECT_DOUBLE_EQ(outcome.Version, 6.38);
  EXPECT_EQ(run.State.FirmwareVersionText, "KV-LOD350  V6.38");
  EXPECT_EQ(run.State.StatusText, kFoundOnCom3);
  EXPECT_EQ(run.Dialog.Text, kFoundOnCom3);
  EXPECT_EQ(run.PanelText(Panel::BoardVersion), "KV-LOD350  V6.38");
  EXPECT_THAT(run.NewTrace(), ElementsAre(kDetecting, kFoundOnCom3, "KV-LOD350  V6.38"));
  EXPECT_EQ(run.Port.CurrentInputMode(), InputMode::Binary);
}

TEST(DetectProgrammer, ClearsAnEarlierFlagOnAcceptance) {
  ScriptedRun run;
  run.Port.SetCommPort(3);
  AnswerWith(run, "KV-LOD350  V6.38");
  run.Port.Expect("'A'", "0D");
  double version = 0;
  std::int16_t error = 1;
  DetectProgrammer(run.Context, version, error);
  EXPECT_EQ(error, 0);
}

TEST(DetectProgrammer, NamesThePortItFoundTheBoardOn) {
  ScriptedRun run;
  run.Port.SetCommPort(17);
  AnswerWith(run, "KV-LOD350  V6.38");
  run.Port.Expect("'A'", "0D");
  double version = 0;
  std::int16_t error = 0;
  DetectProgrammer(run.Context, version, error);
  EXPECT_EQ(run.State.StatusText, "ライターを COM17に検出しました。");
}

TEST(DetectProgrammer, ThrowsAwayTheAnswerToTheFirstQuestion) {
  ScriptedRun run;
  run.Port.Expect("1B", "0D")
      .Expect("'?'", "'KV-LOD350  V6.00' 0D 0A")
      .Expect("'?'", "'KV-LOD350  V6.38' 0D 0A")
      .Expect("'A'", "0D");
  const Outcome outcome = Detect(run);
  EXPECT_EQ(outcome.Error, 0);
  EXPECT_EQ(run.State.FirmwareVersionText, "KV-LOD350  V6.38");
}

TEST(DetectProgrammer, NeedsNoAnswerToTheFirstQuestion) {
  ScriptedRun run;
  run.Port.Expect("1B").Expect("'?'").Expect("'?'", "'KV-LOD350  V6.38' 0D 0A").Expect("'A'");
  EXPECT_EQ(Detect(run).Error, 0);
}

TEST(DetectProgrammer, TakesAVersionLineInPieces) {
  ScriptedRun run;
  run.Port.Expect("1B").Expect("'?'").ExpectParts("'?'",
                                                  {{.Delay = 0.3, .Data = Hex("'KV-LOD'")},
                                                   {.Delay = 0.3, .Data = Hex("'350  V6.3'")},
                                                   {.Delay = 0.3, .Data = Hex("'8' 0D 0A")}});
  run.Port.Expect("'A'");
  const Outcome outcome = Detect(run);
  EXPECT_EQ(outcome.Error, 0);
  EXPECT_EQ(run.State.FirmwareVersionText, "KV-LOD350  V6.38");
}

TEST(DetectProgrammer, KeepsSixteenCharactersOfALongerLine) {
  ScriptedRun run;
  AnswerWith(run, "KV-LOD350A V6.42", "' rev 2' 0D 0A");
  run.Port.Expect("'A'");
  const Outcome outcome = Detect(run);
  EXPECT_DOUBLE_EQ(outcome.Version, 6.42);
  EXPECT_EQ(run.State.FirmwareVersionText, "KV-LOD350A V6.42");
}

TEST(DetectProgrammer, NeedsNoLineEndAmongTheEighteenCharacters) {
  ScriptedRun run;
  AnswerWith(run, "KV-LOD350  V6.38", "'xx'");
  run.Port.Expect("'A'");
  EXPECT_EQ(Detect(run).Error, 0);
}

TEST(DetectProgrammer, DoesNotWaitForTheAcknowledgementOfTheExtendedSet) {
  ScriptedRun run;
  AnswerWith(run, "KV-LOD350  V6.38");
  run.Port.Expect("'A'");
  EXPECT_EQ(Detect(run).Error, 0);
  EXPECT_LT(run.Clock.Elapsed(), 0.2 + 0.001 + kOneTurn);
}

struct AcceptedLine {
  std::string Line;
  double Version;
};

TEST(DetectProgrammer, AcceptsBothModelsFromVersionSixPointThree) {
  const std::vector<AcceptedLine> rows{
      {"KV-LOD350  V6.30", 6.30}, {"KV-LOD350  V6.31", 6.31}, {"KV-LOD350  V6.37", 6.37},
      {"KV-LOD350  V6.38", 6.38}, {"KV-LOD350  V6.39", 6.39}, {"KV-LOD350  V7.00", 7.0},
      {"KV-LOD350  V10.0", 10.0}, {"KV-LOD350A V6.30", 6.30}, {"KV-LOD350A V6.38", 6.38}};
  for (const AcceptedLine& row : rows) {
    ScriptedRun run;
    AnswerWith(run, row.Line);
    run.Port.Expect("'A'", "0D");
    const Outcome outcome = Detect(run);
    EXPECT_EQ(outcome.Error, 0) << row.Line;
    EXPECT_DOUBLE_EQ(outcome.Version, row.Version) << row.Line;
    EXPECT_EQ(run.State.FirmwareVersionText, row.Line);
  }
}

// No board.

TEST(DetectProgrammer, ReportsASilentBoardAfterOneSecond) {
  ScriptedRun run;
  run.State.FirmwareVersionText = "KV-LOD350  V6.38";
  run.Port.Expect("1B").Expect("'?'").Expect("'?'");
  const Outcome outcome = Detect(run);
  EXPECT_EQ(outcome.Error, 1);
  EXPECT_EQ(outcome.Version, 0);
  EXPECT_EQ(run.State.FirmwareVersionText, "");
  EXPECT_EQ(run.PanelText(Panel::BoardVersion), "");
  EXPECT_EQ(run.State.MessageText, kNoBoard);
  EXPECT_EQ(run.PanelText(Panel::Status), kNoBoard);
  EXPECT_THAT(run.Dialog.Shown, ElementsAre(::testing::Pair(kNoBoard, MessageMode::Notice)));
  EXPECT_TRUE(run.Dialog.ButtonVisible);
  EXPECT_THAT(run.NewTrace(), ElementsAre(kDetecting, kNoBoard, kNoBoard, ""));
  EXPECT_GT(run.Clock.Elapsed(), 1.2 - 1e-6);
  EXPECT_LT(run.Clock.Elapsed(), 1.2 + kOneTurn);
}

TEST(DetectProgrammer, LeavesThePortInTextModeWhenThereIsNoBoard) {
  ScriptedRun run;
  run.Port.Expect("1B").Expect("'?'").Expect("'?'");
  Detect(run);
  EXPECT_EQ(run.Port.CurrentInputMode(), InputMode::Text);
}

TEST(DetectProgrammer, ReportsAMissingBoardInOrder) {
  RecordedRun run;
  run.Port.StartOpen();
  run.Port.Expect("1B").Expect("'?'").Expect("'?'");
  Detect(run);
  EXPECT_THAT(run.Port.Log,
              ElementsAre("panel 1: " + kDetecting, "InputMode=text", "DiscardInput", "Output 1B",
                          "yield", "DiscardInput", "Output 3F", "yield", "DiscardInput",
                          "Output 3F", "yield", "panel 1: " + kNoBoard, "dialog text: " + kNoBoard,
                          "dialog shown in mode 1: " + kNoBoard, "panel 3: ", "dialog button"));
}

TEST(DetectProgrammer, TakesSeventeenCharactersForNoBoard) {
  ScriptedRun run;
  AnswerWith(run, "KV-LOD350  V6.38", "0D");
  const Outcome outcome = Detect(run);
  EXPECT_EQ(outcome.Error, 1);
  EXPECT_EQ(outcome.Version, 0);
  EXPECT_EQ(run.State.MessageText, kNoBoard);
  EXPECT_EQ(run.State.FirmwareVersionText, "");
  EXPECT_EQ(run.Port.Sent, Hex("1B '?' '?'"));
}

TEST(DetectProgrammer, AcceptsALineThatComesJustInTime) {
  ScriptedRun run;
  run.Port.Expect("1B").Expect("'?'").Expect("'?'", "'KV-LOD350  V6.38' 0D 0A", 0.999);
  run.Port.Expect("'A'");
  EXPECT_EQ(Detect(run).Error, 0);
}

TEST(DetectProgrammer, DoesNotWaitForALineThatComesTooLate) {
  ScriptedRun run;
  run.Port.Expect("1B").Expect("'?'").Expect("'?'", "'KV-LOD350  V6.38' 0D 0A", 1.1);
  EXPECT_EQ(Detect(run).Error, 1);
  EXPECT_EQ(run.State.MessageText, kNoBoard);
}

TEST(DetectProgrammer, BegunBeforeMidnightWaitsUntilTheLineIsThere) {
  ScriptedRun run;
  run.Clock.Set(86399.5);
  run.Port.Expect("1B").Expect("'?'").Expect("'?'", "'KV-LOD350  V6.38' 0D 0A", 20);
  run.Port.Expect("'A'");
  EXPECT_EQ(Detect(run).Error, 0);
  EXPECT_GT(run.Clock.Elapsed(), 20);
}

TEST(DetectProgrammer, GetsThroughItsRestsAtMidnight) {
  ScriptedRun run;
  run.Clock.Set(86399.95);
  AnswerWith(run, "KV-LOD350  V6.38");
  run.Port.Expect("'A'");
  EXPECT_EQ(Detect(run).Error, 0);
  EXPECT_LT(run.Clock.Elapsed(), 0.3);
}

TEST(DetectProgrammer, OnAGoneLineDoesNotWaitTheSecondAndSaysTheSame) {
  ScriptedRun run;
  run.Port.Expect("1B").Expect("'?'").Expect("'?'").ThenHangUp();
  const Outcome outcome = Detect(run);
  EXPECT_EQ(outcome.Error, 1);
  EXPECT_EQ(run.State.MessageText, kNoBoard);
  EXPECT_THAT(run.NewTrace(), ElementsAre(kDetecting, kNoBoard, kNoBoard, ""));
  EXPECT_LT(run.Clock.Elapsed(), 0.2 + 2 * kOneTurn);
}

// Not the supported board.

TEST(DetectProgrammer, RefusesEveryOtherPrefix) {
  for (const char* line : {"KV-LOD350 V6.380", "KV-LOD350   V6.4", "KV-LOD350B V6.38",
                           "KV-LOD351  V6.38", "kv-lod350  v6.38", "KV-LOD350  v6.38",
                           " KV-LOD350  V6.3", "KV-LOD350AV6.380", "????????????????"}) {
    ScriptedRun run;
    run.State.FirmwareVersionText = "KV-LOD350  V6.38";
    AnswerWith(run, line);
    const Outcome outcome = Detect(run);
    EXPECT_EQ(outcome.Error, 1) << line;
    EXPECT_EQ(outcome.Version, 0) << line;
    EXPECT_EQ(run.State.FirmwareVersionText, "") << line;
    EXPECT_EQ(run.PanelText(Panel::BoardVersion), "") << line;
    EXPECT_EQ(run.State.StatusText, kUnreadable) << line;
    EXPECT_EQ(run.Dialog.Text, kUnreadable) << line;
    EXPECT_TRUE(run.Dialog.ButtonVisible) << line;
    EXPECT_THAT(run.NewTrace(), ElementsAre(kDetecting, kUnreadable, "")) << line;
    EXPECT_EQ(run.Port.Sent, Hex("1B '?' '?'")) << line;
    EXPECT_EQ(run.Port.CurrentInputMode(), InputMode::Binary) << line;
  }
}

TEST(DetectProgrammer, RefusesEighteenBytesOfNoise) {
  ScriptedRun run;
  run.Port.Expect("1B").Expect("'?'").Expect(
      "'?'", "FF FF FF FF FF FF 00 00 00 FF FF FF FF FF FF 80 80 80");
  EXPECT_EQ(Detect(run).Error, 1);
  EXPECT_EQ(run.State.StatusText, kUnreadable);
}

TEST(DetectProgrammer, ReportsAnotherBoardInOrder) {
  RecordedRun run;
  run.Port.StartOpen();
  AnswerWith(run, "KV-LOD350 V6.380");
  Detect(run);
  EXPECT_THAT(run.Port.Log, ElementsAre("panel 1: " + kDetecting, "InputMode=text", "DiscardInput",
                                        "Output 1B", "yield", "DiscardInput", "Output 3F", "yield",
                                        "DiscardInput", "Output 3F", "yield",
                                        "panel 1: " + kUnreadable, "dialog text: " + kUnreadable,
                                        "dialog button", "panel 3: ", "InputMode=binary"));
}

TEST(DetectProgrammer, TakesAVersionThatIsNoNumberForAnUnreadableOne) {
  for (const char* number : {"abcd", "6.3x", "6,38", "    ", "6..3", "nan ", "inf ", "-inf"}) {
    ScriptedRun run;
    AnswerWith(run, std::string("KV-LOD350  V") + number);
    const Outcome outcome = Detect(run);
    EXPECT_EQ(outcome.Error, 1) << number;
    EXPECT_EQ(outcome.Version, 0) << number;
    EXPECT_EQ(run.State.FirmwareVersionText, "") << number;
    EXPECT_EQ(run.PanelText(Panel::BoardVersion), "") << number;
    EXPECT_EQ(run.State.StatusText, kUnreadable) << number;
    EXPECT_EQ(run.Dialog.Text, kUnreadable) << number;
    EXPECT_TRUE(run.Dialog.ButtonVisible) << number;
    EXPECT_EQ(run.Port.Sent, Hex("1B '?' '?'")) << number;
    EXPECT_EQ(run.Port.CurrentInputMode(), InputMode::Binary) << number;
  }
}

// Firmware that is too old.

TEST(DetectProgrammer, RefusesFirmwareOlderThanSixPointThree) {
  for (const char* line : {"KV-LOD350  V6.29", "KV-LOD350A V6.29", "KV-LOD350  V5.99",
                           "KV-LOD350  V0.00", "KV-LOD350  V-9.9"}) {
    ScriptedRun run;
    AnswerWith(run, line);
    const Outcome outcome = Detect(run);
    EXPECT_EQ(outcome.Error, 2) << line;
    EXPECT_EQ(run.State.FirmwareVersionText, line);
    EXPECT_EQ(run.PanelText(Panel::BoardVersion), line);
    EXPECT_EQ(run.State.MessageText, kTooOld) << line;
    EXPECT_THAT(run.Dialog.Shown, ElementsAre(::testing::Pair(kTooOld, MessageMode::Notice)));
    EXPECT_TRUE(run.Dialog.ButtonVisible) << line;
    EXPECT_THAT(run.NewTrace(), ElementsAre(kDetecting, kFoundOnCom3, line, kTooOld, kTooOld));
    EXPECT_EQ(run.Port.Sent, Hex("1B '?' '?'")) << line;
    EXPECT_EQ(run.Port.CurrentInputMode(), InputMode::Binary) << line;
  }
}

TEST(DetectProgrammer, KeepsTheVersionOfFirmwareThatIsTooOld) {
  ScriptedRun run;
  AnswerWith(run, "KV-LOD350  V6.29");
  EXPECT_DOUBLE_EQ(Detect(run).Version, 6.29);
}

TEST(DetectProgrammer, ReportsOldFirmwareInOrder) {
  RecordedRun run;
  run.Port.StartOpen();
  AnswerWith(run, "KV-LOD350  V6.29");
  Detect(run);
  EXPECT_THAT(
      run.Port.Log,
      ElementsAre("panel 1: " + kDetecting, "InputMode=text", "DiscardInput", "Output 1B", "yield",
                  "DiscardInput", "Output 3F", "yield", "DiscardInput", "Output 3F", "yield",
                  "panel 1: " + kFoundOnCom3, "dialog text: " + kFoundOnCom3,
                  "panel 3: KV-LOD350  V6.29", "panel 1: " + kTooOld, "dialog text: " + kTooOld,
                  "dialog shown in mode 1: " + kTooOld, "dialog button", "InputMode=binary"));
}

TEST(DetectProgrammer, SendsNothingOnceAStopIsRequested) {
  ScriptedRun run;
  run.State.StopRequested = true;
  double version = 0;
  std::int16_t error = 0;
  EXPECT_THROW(DetectProgrammer(run.Context, version, error), core::CommandEnd);
  EXPECT_THAT(run.Port.Sent, IsEmpty());
}

TEST(DetectProgrammer, EndsBeforeItsNextByteWhenAStopIsRequested) {
  ScriptedRun run;
  run.Port.Expect("1B");
  run.Events.OnTurn = [&] { run.State.StopRequested = true; };
  double version = 0;
  std::int16_t error = 0;
  EXPECT_THROW(DetectProgrammer(run.Context, version, error), core::CommandEnd);
  EXPECT_EQ(run.Port.Sent, Hex("1B"));
}

// The advice.

TEST(AdviseFirmwareUpdate, ShowsTheWholeTextInACriticalBox) {
  ScriptedRun run;
  run.State.FirmwareVersion = 6.37;
  AdviseFirmwareUpdate(run.Context);
  ASSERT_EQ(run.Boxes.Boxes.size(), 1U);
  const std::string url(core::kSupportUrl);
  ASSERT_NE(url, "");
  EXPECT_EQ(run.Boxes.Boxes[0].Icon, screen::MessageIcon::Critical);
  EXPECT_EQ(run.Boxes.Boxes[0].Title, "") << "the application's own title";
  EXPECT_EQ(run.Boxes.Boxes[0].Text,
            "ファームウエアバージョンが古いのでアップデートを行なってください。　　　　\r\n"
            "　\r\n"
            "新しいファームウエアは、ご購入されたキットに添付されていたＣＤ－ＲＯＭ内、　　　　\r\n"
            "または、サポートページ " +
                url +
                " から入手できます。\r\n"
                "　\r\n"
                "アップデート方法は、サポートページ " +
                url +
                " をご覧ください。\r\n"
                "　\r\n"
                "現在のファームウエアバージョン　 ： KV-LOD350 V6.37 \r\n"
                "推奨するファームウエアバージョン ： KV-LOD350 V6.38 、または、それ以降。　\r\n"
                "　\r\n"
                "（現在使用中のファームウエアバージョンは、メイン画面の右下に表示されます。）\r\n");
}

TEST(AdviseFirmwareUpdate, NamesTheVersionInItsShortestForm) {
  ScriptedRun run;
  run.State.FirmwareVersion = 6.30;
  AdviseFirmwareUpdate(run.Context);
  ASSERT_EQ(run.Boxes.Boxes.size(), 1U);
  EXPECT_THAT(run.Boxes.Boxes[0].Text,
              ::testing::HasSubstr("現在のファームウエアバージョン　 ： KV-LOD350 V6.3 \r\n"));
}

TEST(AdviseFirmwareUpdate, IsGivenBelowSixPointThreeEightOnly) {
  for (const double version : {6.30, 6.31, 6.36, 6.37}) {
    ScriptedRun run;
    run.State.FirmwareVersion = version;
    AdviseFirmwareUpdate(run.Context);
    EXPECT_EQ(run.Boxes.Boxes.size(), 1U) << version;
  }
  for (const double version : {6.38, 6.39, 6.4, 7.0, 10.0}) {
    ScriptedRun run;
    run.State.FirmwareVersion = version;
    AdviseFirmwareUpdate(run.Context);
    EXPECT_THAT(run.Boxes.Boxes, IsEmpty()) << version;
  }
}

TEST(AdviseFirmwareUpdate, ComparesInSinglePrecision) {
  ScriptedRun run;
  run.State.FirmwareVersion = 6.38 - 1e-9;
  AdviseFirmwareUpdate(run.Context);
  EXPECT_THAT(run.Boxes.Boxes, IsEmpty());
}

}  // namespace
}  // namespace fenwright::link
