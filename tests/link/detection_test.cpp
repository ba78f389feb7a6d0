#include "link/detection.h"

#include "core/build_info.h"
#include "link/link_test.h"

namespace fenwright::link {
namespace {

/// Detections on port 3.
struct DetectionRun : LinkRun {
  DetectionRun() {
    Port.SetCommPort(3);
    Port.Log.clear();
    Recorded.clear();
    Error = -1;
  }
  /// Detects; the flag that this leaves.
  std::int16_t Detect() {
    DetectProgrammer(Context, Version, Error);
    return Error;
  }
  /// On a board that answers with that line, and "A" too when it comes to that.
  std::int16_t DetectBoard(const std::string& line, const std::string& line_end = "0D 0A") {
    ExpectVersion(Port, line, line_end);
    Port.Expect("'A'", "0D");
    return Detect();
  }
  /// On one that is refused for its line.
  std::int16_t DetectOther(const std::string& line, const std::string& line_end = "0D 0A") {
    ExpectVersion(Port, line, line_end);
    return Detect();
  }
  std::int16_t DetectSilence() {
    ExpectSilence(Port);
    return Detect();
  }
  void ExpectNoVersion() {
    EXPECT_EQ(Error, 1);
    EXPECT_EQ(Version, 0);
    EXPECT_EQ(State.FirmwareVersionText, "");
    EXPECT_EQ(PanelText(Panel::BoardVersion), "");
  }
  void ExpectUnreadable() {
    ExpectNoVersion();
    EXPECT_EQ(State.StatusText, kUnreadable);
    EXPECT_EQ(Dialog.Text, kUnreadable);
    EXPECT_TRUE(Dialog.ButtonVisible);
    EXPECT_EQ(Port.Sent, Hex("1B '?' '?'"));
    EXPECT_EQ(Port.CurrentInputMode(), InputMode::Binary);
  }
  double Version = -1;
};

struct DetectionTest : Test, DetectionRun {};

/// The steps of a detection up to the version line, and `rest`.
Journal StepsOfADetection(const Journal& rest) {
  Journal steps{"panel 1 " + kDetecting,
                "InputMode=text",
                "DiscardInput",
                "Output 1B",
                "turn",
                "DiscardInput",
                "Output 3F",
                "turn",
                "DiscardInput",
                "Output 3F",
                "turn"};
  steps.insert(steps.end(), rest.begin(), rest.end());
  return steps;
}

TEST_ON(DetectionTest, DetectProgrammer, TakesItsStepsInOrder) {
  DetectBoard(kVersion);
  EXPECT_EQ(Steps(), StepsOfADetection({"panel 1 " + kFoundOnCom3, "dialog text " + kFoundOnCom3,
                                        "panel 3 " + kVersion, "DiscardInput", "Output 41",
                                        "InputMode=binary"}));
}

TEST_ON(DetectionTest, DetectProgrammer, RestsATenthOfASecondBehindTheEscapeAndTheFirstQuestion) {
  std::vector<double> moments;
  std::size_t seen = 0;
  Events.OnTurn = [&] {
    if (Port.Sent.size() != seen) moments.push_back(Clock.Elapsed());
    seen = Port.Sent.size();
  };
  DetectBoard(kVersion);
  ASSERT_EQ(moments.size(), 3U);
  EXPECT_NEAR(moments[1] - moments[0], 0.1, 1e-3);
  EXPECT_NEAR(moments[2] - moments[1], 0.1, 1e-3);
}

TEST_ON(DetectionTest, DetectProgrammer, RunsWindowEventsOnceMoreWhenARestIsOver) {
  // The moment of the last turn before each byte but the first.
  std::vector<double> last_turns;
  std::size_t sent = 1;
  double last_turn = 0;
  Events.OnTurn = [&] {
    if (Port.Sent.size() > sent) {
      sent = Port.Sent.size();
      last_turns.push_back(last_turn);
    }
    last_turn = Clock.Elapsed();
  };
  // A byte in between, so that the turns do not end with the rest by themselves.
  const std::string line = "'" + kVersion + "' 0D 0A";
  Port.Expect("1B", "0D", 0.0123).Expect("'?'", line).Expect("'?'", line).Expect("'A'", "0D");
  Detect();
  last_turns.resize(2);
  EXPECT_GE(last_turns[0], 0.1 - 1e-9);
  EXPECT_GE(last_turns[1], 0.2 - 1e-9);
}

TEST_ON(DetectionTest, DetectProgrammer, AcceptsABoardWithItsVersion) {
  EXPECT_EQ(DetectBoard(kVersion), 0);
  EXPECT_DOUBLE_EQ(Version, 6.38);
  EXPECT_EQ(State.FirmwareVersionText, kVersion);
  EXPECT_EQ(State.StatusText, kFoundOnCom3);
  EXPECT_EQ(Dialog.Text, kFoundOnCom3);
  EXPECT_EQ(PanelText(Panel::BoardVersion), kVersion);
  EXPECT_THAT(NewTrace(), ElementsAre(kDetecting, kFoundOnCom3, kVersion));
  EXPECT_EQ(Port.CurrentInputMode(), InputMode::Binary);
}

TEST_ON(DetectionTest, DetectProgrammer, ClearsAnEarlierFlagOnAcceptance) {
  Error = 1;
  EXPECT_EQ(DetectBoard(kVersion), 0);
}

TEST_ON(DetectionTest, DetectProgrammer, NamesThePortItFoundTheBoardOn) {
  Port.SetCommPort(17);
  DetectBoard(kVersion);
  EXPECT_EQ(State.StatusText, "ライターを COM17に検出しました。");
}

TEST_ON(DetectionTest, DetectProgrammer, ThrowsAwayTheAnswerToTheFirstQuestion) {
  Port.Expect("1B", "0D")
      .Expect("'?'", "'KV-LOD350  V6.00' 0D 0A")
      .Expect("'?'", "'KV-LOD350  V6.38' 0D 0A")
      .Expect("'A'", "0D");
  EXPECT_EQ(Detect(), 0);
  EXPECT_EQ(State.FirmwareVersionText, kVersion);
}

TEST_ON(DetectionTest, DetectProgrammer, NeedsNoAnswerToTheFirstQuestion) {
  Port.Expect("1B").Expect("'?'").Expect("'?'", "'KV-LOD350  V6.38' 0D 0A").Expect("'A'");
  EXPECT_EQ(Detect(), 0);
}

TEST_ON(DetectionTest, DetectProgrammer, TakesAVersionLineInPieces) {
  Port.Expect("1B").Expect("'?'").ExpectParts("'?'", {{.Delay = 0.3, .Data = Hex("'KV-LOD'")},
                                                      {.Delay = 0.3, .Data = Hex("'350  V6.3'")},
                                                      {.Delay = 0.3, .Data = Hex("'8' 0D 0A")}});
  Port.Expect("'A'");
  EXPECT_EQ(Detect(), 0);
  EXPECT_EQ(State.FirmwareVersionText, kVersion);
}

TEST_ON(DetectionTest, DetectProgrammer, KeepsSixteenCharactersOfALongerLine) {
  DetectBoard("KV-LOD350A V6.42", "' rev 2' 0D 0A");
  EXPECT_DOUBLE_EQ(Version, 6.42);
  EXPECT_EQ(State.FirmwareVersionText, "KV-LOD350A V6.42");
}

TEST_ON(DetectionTest, DetectProgrammer, NeedsNoLineEndAmongTheEighteenCharacters) {
  EXPECT_EQ(DetectBoard(kVersion, "'xx'"), 0);
}

TEST_ON(DetectionTest, DetectProgrammer, DoesNotWaitForTheAcknowledgementOfTheExtendedSet) {
  ExpectVersion(Port);
  Port.Expect("'A'");
  EXPECT_EQ(Detect(), 0);
  EXPECT_LT(Clock.Elapsed(), 0.2 + 0.001 + kOneTurn);
}

TEST_ON(DetectionTest, DetectProgrammer, AcceptsBothModelsFromVersionSixPointThree) {
  const std::vector<std::pair<std::string, double>> rows{
      {"KV-LOD350  V6.30", 6.30}, {"KV-LOD350  V6.31", 6.31}, {"KV-LOD350  V6.37", 6.37},
      {"KV-LOD350  V6.38", 6.38}, {"KV-LOD350  V6.39", 6.39}, {"KV-LOD350  V7.00", 7.0},
      {"KV-LOD350  V10.0", 10.0}, {"KV-LOD350A V6.30", 6.30}, {"KV-LOD350A V6.38", 6.38}};
  for (const auto& [line, version] : rows) {
    DetectionRun run;
    EXPECT_EQ(run.DetectBoard(line), 0) << line;
    EXPECT_DOUBLE_EQ(run.Version, version) << line;
    EXPECT_EQ(run.State.FirmwareVersionText, line);
  }
}

// No board.

TEST_ON(DetectionTest, DetectProgrammer, ReportsASilentBoardAfterOneSecond) {
  State.FirmwareVersionText = kVersion;
  DetectSilence();
  ExpectNoVersion();
  EXPECT_EQ(State.MessageText, kNoBoard);
  EXPECT_EQ(PanelText(Panel::Status), kNoBoard);
  EXPECT_THAT(Dialog.Shown, ElementsAre(Pair(kNoBoard, MessageMode::Notice)));
  EXPECT_TRUE(Dialog.ButtonVisible);
  EXPECT_THAT(NewTrace(), ElementsAre(kDetecting, kNoBoard, kNoBoard, ""));
  EXPECT_GT(Clock.Elapsed(), 1.2 - 1e-6);
  EXPECT_LT(Clock.Elapsed(), 1.2 + kOneTurn);
}

TEST_ON(DetectionTest, DetectProgrammer, LeavesThePortInTextModeWhenThereIsNoBoard) {
  DetectSilence();
  EXPECT_EQ(Port.CurrentInputMode(), InputMode::Text);
}

TEST_ON(DetectionTest, DetectProgrammer, ReportsAMissingBoardInOrder) {
  DetectSilence();
  EXPECT_EQ(Steps(), StepsOfADetection({"panel 1 " + kNoBoard, "dialog text " + kNoBoard,
                                        "notice " + kNoBoard, "panel 3 ", "dialog button"}));
}

TEST_ON(DetectionTest, DetectProgrammer, TakesSeventeenCharactersForNoBoard) {
  DetectOther(kVersion, "0D");
  ExpectNoVersion();
  EXPECT_EQ(State.MessageText, kNoBoard);
  EXPECT_EQ(Port.Sent, Hex("1B '?' '?'"));
}

TEST_ON(DetectionTest, DetectProgrammer, AcceptsALineThatComesJustInTime) {
  Port.Expect("1B").Expect("'?'").Expect("'?'", "'KV-LOD350  V6.38' 0D 0A", 0.999).Expect("'A'");
  EXPECT_EQ(Detect(), 0);
}

TEST_ON(DetectionTest, DetectProgrammer, DoesNotWaitForALineThatComesTooLate) {
  Port.Expect("1B").Expect("'?'").Expect("'?'", "'KV-LOD350  V6.38' 0D 0A", 1.1);
  EXPECT_EQ(Detect(), 1);
  EXPECT_EQ(State.MessageText, kNoBoard);
}

TEST_ON(DetectionTest, DetectProgrammer, BegunBeforeMidnightWaitsUntilTheLineIsThere) {
  Clock.Set(86399.5);
  Port.Expect("1B").Expect("'?'").Expect("'?'", "'KV-LOD350  V6.38' 0D 0A", 20).Expect("'A'");
  EXPECT_EQ(Detect(), 0);
  EXPECT_GT(Clock.Elapsed(), 20);
}

TEST_ON(DetectionTest, DetectProgrammer, GetsThroughItsRestsAtMidnight) {
  Clock.Set(86399.95);
  EXPECT_EQ(DetectBoard(kVersion), 0);
  EXPECT_LT(Clock.Elapsed(), 0.3);
}

TEST_ON(DetectionTest, DetectProgrammer, OnAGoneLineDoesNotWaitTheSecondAndSaysTheSame) {
  ExpectSilence(Port);
  Port.ThenHangUp();
  EXPECT_EQ(Detect(), 1);
  EXPECT_EQ(State.MessageText, kNoBoard);
  EXPECT_THAT(NewTrace(), ElementsAre(kDetecting, kNoBoard, kNoBoard, ""));
  EXPECT_LT(Clock.Elapsed(), 0.2 + 2 * kOneTurn);
}

// Not the supported board.

TEST_ON(DetectionTest, DetectProgrammer, RefusesEveryOtherPrefix) {
  for (const char* line : {"KV-LOD350 V6.380", "KV-LOD350   V6.4", "KV-LOD350B V6.38",
                           "KV-LOD351  V6.38", "kv-lod350  v6.38", "KV-LOD350  v6.38",
                           " KV-LOD350  V6.3", "KV-LOD350AV6.380", "????????????????"}) {
    SCOPED_TRACE(line);
    DetectionRun run;
    run.State.FirmwareVersionText = kVersion;
    run.DetectOther(line);
    run.ExpectUnreadable();
    EXPECT_THAT(run.NewTrace(), ElementsAre(kDetecting, kUnreadable, ""));
  }
}

TEST_ON(DetectionTest, DetectProgrammer, RefusesEighteenBytesOfNoise) {
  Port.Expect("1B").Expect("'?'").Expect("'?'",
                                         "FF FF FF FF FF FF 00 00 00 FF FF FF FF FF FF 80 80 80");
  EXPECT_EQ(Detect(), 1);
  EXPECT_EQ(State.StatusText, kUnreadable);
}

TEST_ON(DetectionTest, DetectProgrammer, ReportsAnotherBoardInOrder) {
  DetectOther("KV-LOD350 V6.380");
  EXPECT_EQ(Steps(), StepsOfADetection({"panel 1 " + kUnreadable, "dialog text " + kUnreadable,
                                        "dialog button", "panel 3 ", "InputMode=binary"}));
}

TEST_ON(DetectionTest, DetectProgrammer, TakesAVersionThatIsNoNumberForAnUnreadableOne) {
  for (const std::string number :
       {"abcd", "6.3x", "6,38", "    ", "6..3", "nan ", "inf ", "-inf", "+6.4", "63e1"}) {
    SCOPED_TRACE(number);
    DetectionRun run;
    run.DetectOther("KV-LOD350  V" + number);
    run.ExpectUnreadable();
  }
}

// Firmware that is too old.

TEST_ON(DetectionTest, DetectProgrammer, RefusesFirmwareOlderThanSixPointThree) {
  for (const char* line : {"KV-LOD350  V6.29", "KV-LOD350A V6.29", "KV-LOD350  V5.99",
                           "KV-LOD350  V0.00", "KV-LOD350  V-9.9"}) {
    SCOPED_TRACE(line);
    DetectionRun run;
    EXPECT_EQ(run.DetectOther(line), 2);
    EXPECT_EQ(run.State.FirmwareVersionText, line);
    EXPECT_EQ(run.PanelText(Panel::BoardVersion), line);
    EXPECT_EQ(run.State.MessageText, kTooOld);
    EXPECT_THAT(run.Dialog.Shown, ElementsAre(Pair(kTooOld, MessageMode::Notice)));
    EXPECT_TRUE(run.Dialog.ButtonVisible);
    EXPECT_THAT(run.NewTrace(), ElementsAre(kDetecting, kFoundOnCom3, line, kTooOld, kTooOld));
    EXPECT_EQ(run.Port.Sent, Hex("1B '?' '?'"));
    EXPECT_EQ(run.Port.CurrentInputMode(), InputMode::Binary);
  }
}

TEST_ON(DetectionTest, DetectProgrammer, KeepsTheVersionOfFirmwareThatIsTooOld) {
  DetectOther("KV-LOD350  V6.29");
  EXPECT_DOUBLE_EQ(Version, 6.29);
}

TEST_ON(DetectionTest, DetectProgrammer, ReportsOldFirmwareInOrder) {
  DetectOther("KV-LOD350  V6.29");
  EXPECT_EQ(Steps(), StepsOfADetection({"panel 1 " + kFoundOnCom3, "dialog text " + kFoundOnCom3,
                                        "panel 3 KV-LOD350  V6.29", "panel 1 " + kTooOld,
                                        "dialog text " + kTooOld, "notice " + kTooOld,
                                        "dialog button", "InputMode=binary"}));
}

TEST_ON(DetectionTest, DetectProgrammer, SendsNothingOnceAStopIsRequested) {
  State.StopRequested = true;
  EXPECT_THROW(Detect(), core::CommandEnd);
  EXPECT_THAT(Port.Sent, IsEmpty());
}

TEST_ON(DetectionTest, DetectProgrammer, EndsBeforeItsNextByteWhenAStopIsRequested) {
  Port.Expect("1B");
  Events.OnTurn = [this] { State.StopRequested = true; };
  EXPECT_THROW(Detect(), core::CommandEnd);
  EXPECT_EQ(Port.Sent, Hex("1B"));
}

// The advice.

struct AdviceTest : ScriptedTest {
  /// The message boxes that a version is advised with.
  std::vector<Box> AdviceOn(double version) {
    Boxes.Boxes.clear();
    State.FirmwareVersion = version;
    AdviseFirmwareUpdate(Context);
    return Boxes.Boxes;
  }
};

TEST_ON(AdviceTest, AdviseFirmwareUpdate, ShowsTheWholeTextInACriticalBox) {
  const std::string url(core::kSupportUrl);
  ASSERT_NE(url, "");
  const std::string text =
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
      "（現在使用中のファームウエアバージョンは、メイン画面の右下に表示されます。）\r\n";
  // Without a title of its own, it gets the application's.
  EXPECT_THAT(AdviceOn(6.37), ElementsAre(Box{MessageIcon::Critical, "", text}));
}

TEST_ON(AdviceTest, AdviseFirmwareUpdate, NamesTheVersionInItsShortestForm) {
  ASSERT_EQ(AdviceOn(6.30).size(), 1U);
  EXPECT_THAT(Boxes.Boxes[0].Text,
              HasSubstr("現在のファームウエアバージョン　 ： KV-LOD350 V6.3 \r\n"));
}

TEST_ON(AdviceTest, AdviseFirmwareUpdate, IsGivenBelowSixPointThreeEightOnly) {
  for (const double version : {6.30, 6.31, 6.36, 6.37}) EXPECT_EQ(AdviceOn(version).size(), 1U);
  for (const double version : {6.38, 6.39, 6.4, 7.0, 10.0}) {
    EXPECT_THAT(AdviceOn(version), IsEmpty()) << version;
  }
}

TEST_ON(AdviceTest, AdviseFirmwareUpdate, ComparesInSinglePrecision) {
  EXPECT_THAT(AdviceOn(6.38 - 1e-9), IsEmpty());
}

}  // namespace
}  // namespace fenwright::link
