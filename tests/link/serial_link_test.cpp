#include "link/serial_link.h"

#include "core/command_end.h"
#include "link/link_test.h"

namespace fenwright::link {
namespace {

TEST_ON(LinkTest, ClearInput, DiscardsEveryByteNotYetRead) {
  Port.Expect("'d'", "01 02 03", 0);
  SendText(Context, 'd');
  ASSERT_EQ(Port.InBufferCount(), 3);
  ClearInput(Context);
  EXPECT_EQ(Port.InBufferCount(), 0);
}

TEST_ON(LinkTest, SendText, WritesOneCharacterAndNothingElse) {
  Port.Expect("41");
  SendText(Context, 'A');
  EXPECT_THAT(Port.Log, ElementsAre("Output 41"));
}

TEST_ON(LinkTest, SendText, IsWhereARequestedStopEndsTheCommandWithNothingSent) {
  State.StopRequested = true;
  try {
    SendText(Context, 'P');
    FAIL() << "no end of the command";
  } catch (const core::CommandEnd& end) {
    EXPECT_EQ(end.Ending, CommandEnding::Stopped);
    EXPECT_EQ(end.Text, "");
  }
  EXPECT_TRUE(Port.Sent.empty());
}

TEST_ON(LinkTest, SendByte, WritesEveryValueRawInAWriteOfItsOwn) {
  Port.Expect("00 0D 1B 80 FF");
  for (const std::uint8_t value : Hex("00 0D 1B 80 FF")) SendByte(Context, value);
  EXPECT_THAT(Port.Log,
              ElementsAre("Output 00", "Output 0D", "Output 1B", "Output 80", "Output FF"));
}

TEST_ON(LinkTest, SendByte, KeepsTheByteInTheOneElementBuffer) {
  Port.Expect("A7");
  SendByte(Context, 0xA7);
  EXPECT_THAT(State.TxByte, ElementsAre(0xA7));
}

TEST_ON(LinkTest, SendByte, StillCompletesAStartedExchangeAfterAStopRequest) {
  Port.Expect("A7");
  State.StopRequested = true;
  EXPECT_NO_THROW(SendByte(Context, 0xA7));
  EXPECT_EQ(Port.Sent, Hex("A7"));
}

TEST_ON(LinkTest, WaitForBytes, EndsWithoutATurnWhenTheBytesAreThere) {
  Port.Expect("'s'", "1E 91 03", 0);
  SendText(Context, 's');
  EXPECT_TRUE(WaitForBytes(Context, 3, 1));
  EXPECT_EQ(Events.Turns, 0);
  EXPECT_EQ(Clock.Elapsed(), 0);
}

TEST_ON(LinkTest, WaitForBytes, RunsWindowEventsOnEveryTurn) {
  EXPECT_FALSE(WaitForBytes(Context, 1, 1));
  // A window that waited longer than a few milliseconds for its turn would feel dead.
  EXPECT_GE(Events.Turns, 100);
}

TEST_ON(LinkTest, WaitForBytes, SeesAReplyTheMomentItIsThere) {
  Port.Expect("'P'", "0D", 0.0123);
  SendText(Context, 'P');
  EXPECT_TRUE(WaitForBytes(Context, 1, 1));
  EXPECT_NEAR(Clock.Elapsed(), 0.0123, 1e-4);
}

TEST_ON(LinkTest, WaitForBytes, KeepsTheTimeOfItsStart) {
  Clock.Set(4321.25);
  Port.Expect("'P'", "0D", 0.5);
  SendText(Context, 'P');
  EXPECT_TRUE(WaitForBytes(Context, 1, 1));
  EXPECT_EQ(State.WaitStart, 4321.25);
}

TEST_ON(LinkTest, WaitForBytes, TimesOutOnlyWhenStrictlyMoreThanTheTimeOutHasPassed) {
  Clock.Stands = true;
  Clock.Set(1000);
  Events.OnTurn = [this] {
    Clock.Set(Events.Turns == 1 ? 1005.0
                                : std::nextafter(1005.0, std::numeric_limits<double>::infinity()));
  };
  EXPECT_FALSE(WaitForBytes(Context, 1, 5));
  EXPECT_EQ(Events.Turns, 2) << "at exactly five seconds the wait goes on";
}

TEST_ON(LinkTest, WaitForBytes, OnASilentLineLastsTheWholeTimeOut) {
  for (const double seconds : {1.0, 2.0, 5.0}) {
    ScriptedRun run;
    EXPECT_FALSE(WaitForBytes(run.Context, 1, seconds));
    EXPECT_GT(run.Clock.Elapsed(), seconds - 1e-6);
    EXPECT_LT(run.Clock.Elapsed(), seconds + kOneTurn);
  }
}

TEST_ON(LinkTest, WaitForBytes, TimesOutWhenOneByteIsMissing) {
  Port.Expect("'s'", "1E 91");
  SendText(Context, 's');
  EXPECT_FALSE(WaitForBytes(Context, 3, 1));
  EXPECT_GT(Clock.Elapsed(), 1 - 1e-6);
}

TEST_ON(LinkTest, WaitForBytes, EndsAsSoonAsTheLastPieceOfASplitReplyHasArrived) {
  Port.ExpectParts("'o'", {{.Delay = 0.4, .Data = Hex("01")},
                           {.Delay = 0.4, .Data = Hex("02 03")},
                           {.Delay = 0.4, .Data = Hex("04")},
                           {.Delay = 0.4, .Data = Hex("05")}});
  SendText(Context, 'o');
  EXPECT_TRUE(WaitForBytes(Context, 4, 2));
  EXPECT_NEAR(Clock.Elapsed(), 1.2, 1e-3);
  EXPECT_EQ(Port.InBufferCount(), 4);
}

TEST_ON(LinkTest, WaitForBytes, ThePiecesDoNotRestartTheTimeOut) {
  Port.ExpectParts("'R'", {{.Delay = 0.9, .Data = Hex("01")}, {.Delay = 0.9, .Data = Hex("02")}});
  SendText(Context, 'R');
  EXPECT_FALSE(WaitForBytes(Context, 2, 1));
  EXPECT_LT(Clock.Elapsed(), 1 + kOneTurn);
}

TEST_ON(LinkTest, WaitForBytes, StartedBeforeMidnightLastsUntilTheBytesArrive) {
  Clock.Set(86399.5);
  Port.Expect("'d'", "5A", 20);
  SendText(Context, 'd');
  EXPECT_TRUE(WaitForBytes(Context, 1, 5));
  EXPECT_NEAR(Clock.Elapsed(), 20, 1e-3);
}

TEST_ON(LinkTest, WaitForBytes, StartedEarlyEnoughStillTimesOutBeforeMidnight) {
  Clock.Set(86398.5);
  EXPECT_FALSE(WaitForBytes(Context, 1, 1));
  EXPECT_LT(Clock.Elapsed(), 1 + kOneTurn);
}

TEST_ON(LinkTest, WaitForBytes, StartedAtMidnightTimesOutAsAtAnyOtherTime) {
  Clock.Set(0);
  EXPECT_FALSE(WaitForBytes(Context, 1, 1));
  EXPECT_GT(Clock.Elapsed(), 1 - 1e-6);
}

TEST_ON(LinkTest, WaitForBytes, APauseWithinItTakesOverItsStart) {
  bool paused = false;
  Events.OnTurn = [&] {
    if (paused || Clock.Elapsed() < 0.5) return;
    paused = true;
    Pause(Context, 0.1);
  };
  EXPECT_FALSE(WaitForBytes(Context, 1, 1));
  EXPECT_TRUE(paused);
  EXPECT_NEAR(Clock.Elapsed(), 1.5, 3 * kOneTurn) << "a second from the start of the pause";
}

TEST_ON(LinkTest, WaitForBytes, WhoseLastTurnOutlastsItLooksAtTheCountOnceMore) {
  Port.Expect("'s'", "1E 91 03", 20);
  Events.OnTurn = [this] { Clock.Advance(30); };
  SendText(Context, 's');
  EXPECT_TRUE(WaitForBytes(Context, 3, 1));
  EXPECT_EQ(Events.Turns, 1);
}

TEST_ON(LinkTest, WaitForBytes, WhoseLastTurnOutlastsItIsNotContentWithTooFewBytes) {
  Port.Expect("'s'", "1E 91", 20);
  Events.OnTurn = [this] { Clock.Advance(30); };
  SendText(Context, 's');
  EXPECT_FALSE(WaitForBytes(Context, 3, 1));
  EXPECT_EQ(Events.Turns, 1);
}

TEST_ON(LinkTest, WaitForBytes, OnAGoneLineEndsAtOnce) {
  Port.ThenHangUp();
  Port.Open();
  EXPECT_FALSE(WaitForBytes(Context, 1, 5));
  EXPECT_LT(Clock.Elapsed(), 2 * kOneTurn);
}

TEST_ON(LinkTest, WaitForBytes, OnAGoneLineEndsAtOnceAcrossMidnightToo) {
  Clock.Set(86399.999);
  Port.ThenHangUp();
  Port.Open();
  EXPECT_FALSE(WaitForBytes(Context, 1, 5));
  EXPECT_LT(Clock.Elapsed(), 2 * kOneTurn);
}

TEST_ON(LinkTest, WaitForBytes, OnAPortThatIsNotOpenEndsAtOnce) {
  Port.Close();
  EXPECT_FALSE(WaitForBytes(Context, 1, 5));
  EXPECT_LT(Clock.Elapsed(), 2 * kOneTurn);
}

TEST_ON(LinkTest, WaitForBytes, EndsAtOnceWhenTheLineGoesInTheMiddleOfTheWait) {
  Events.OnTurn = [&] {
    if (Clock.Elapsed() > 0.5) Port.Close();
  };
  EXPECT_FALSE(WaitForBytes(Context, 1, 5));
  EXPECT_LT(Clock.Elapsed(), 0.5 + 3 * kOneTurn);
}

TEST_ON(LinkTest, WaitForBytes, CountsTheBytesThatHadArrivedBeforeTheLineWent) {
  Port.Expect("'s'", "1E 91 03", 0).ThenHangUp();
  SendText(Context, 's');
  EXPECT_TRUE(WaitForBytes(Context, 3, 1));
  ReadReply(Context);
  EXPECT_EQ(State.RxBuf, Hex("1E 91 03"));
}

TEST_ON(LinkTest, WaitForBytes, CountsTheBytesThatArriveInTheTurnInWhichTheLineGoes) {
  Port.Expect("'s'", "1E 91 03", 0.001);
  Events.OnTurn = [&] {
    Clock.Advance(0.002);
    Port.Close();
  };
  SendText(Context, 's');
  EXPECT_TRUE(WaitForBytes(Context, 3, 1));
}

TEST_ON(LinkTest, WaitForBytes, LooksOnceMoreAfterTheEventsOfALineThatHasGone) {
  Port.Expect("'s'", "1E 91 03", 0.001).ThenHangUp();
  Events.OnTurn = [&] { Clock.Advance(0.002); };
  SendText(Context, 's');
  EXPECT_TRUE(WaitForBytes(Context, 3, 1));
  EXPECT_EQ(Events.Turns, 1);
}

TEST_ON(LinkTest, WaitForBytes, OnAGoneLineIsNotContentWithTooFewBytes) {
  Port.Expect("'s'", "1E 91", 0).ThenHangUp();
  SendText(Context, 's');
  EXPECT_FALSE(WaitForBytes(Context, 3, 1));
  EXPECT_LT(Clock.Elapsed(), 2 * kOneTurn);
}

/// A stop that is requested in the third turn of a wait, and stays so.
struct StopTest : LinkTest {
  StopTest() {
    Events.OnTurn = [this] { State.StopRequested = Events.Turns >= 3; };
  }
};

TEST_ON(StopTest, RequestedStop, EndsAWaitAQuarterOfASecondLater) {
  EXPECT_THROW(WaitForBytes(Context, 1, 5), core::CommandEnd);
  EXPECT_NEAR(Clock.Elapsed(), 0.25, 4 * kOneTurn);
  EXPECT_EQ(Events.Turns, 2 + 50);
}

TEST_ON(StopTest, RequestedStop, EndsTheEndlessWaitOverMidnightToo) {
  Clock.Set(86399.999);
  EXPECT_THROW(WaitForBytes(Context, 1, 1), core::CommandEnd);
  EXPECT_NEAR(Clock.Elapsed(), 0.25, 4 * kOneTurn);
}

TEST_ON(StopTest, RequestedStop, StillTakesTheReplyOfTheRunningExchange) {
  Port.Expect("'P'", "0D", 0.2);
  SendText(Context, 'P');
  EXPECT_TRUE(WaitForBytes(Context, 1, 1));
  EXPECT_TRUE(State.StopRequested);
}

TEST_ON(StopTest, RequestedStop, EndsTheWaitOfAnotherPortWithoutEndingTheCommand) {
  const double start = Clock.SecondsSinceMidnight();
  EXPECT_FALSE(WaitForBytesOn(Context, Port, 1, start, 5));
  EXPECT_NEAR(Clock.Elapsed(), 0.25, 4 * kOneTurn);
}

TEST_ON(LinkTest, WaitForBytes, LeavesFlagAndTextsToItsCaller) {
  EXPECT_FALSE(WaitForBytes(Context, 1, 1));
  EXPECT_EQ(State.LinkError, 0);
  EXPECT_TRUE(NewTrace().empty());
  EXPECT_FALSE(Dialog.Loaded);
}

TEST_ON(LinkTest, ReadReply, TakesEverythingThatHasArrived) {
  Port.Expect("'d'", "01 02 03 04 05 06 07 08 09 0A 0B 0C 0D", 0);
  SendText(Context, 'd');
  ReadReply(Context);
  EXPECT_EQ(State.RxBuf, Hex("01 02 03 04 05 06 07 08 09 0A 0B 0C 0D"));
  EXPECT_EQ(Port.InBufferCount(), 0);
}

TEST_ON(LinkTest, ReadReply, ReplacesTheReplyBefore) {
  Port.Expect("'R'", "01 02", 0).Expect("'d'", "03", 0);
  SendText(Context, 'R');
  ReadReply(Context);
  SendText(Context, 'd');
  ReadReply(Context);
  EXPECT_EQ(State.RxBuf, Hex("03"));
}

TEST_ON(LinkTest, Pause, LastsItsTimeWithWindowEventsRunning) {
  Clock.Set(7200.5);
  Pause(Context, 0.1);
  EXPECT_GE(Clock.Elapsed(), 0.1 - 1e-6);
  EXPECT_LT(Clock.Elapsed(), 0.1 + 1e-3);
  EXPECT_GE(Events.Turns, 10);
  EXPECT_EQ(State.WaitStart, 7200.5);
}

TEST_ON(LinkTest, Pause, APauseWithinItTakesOverItsStart) {
  bool paused = false;
  Events.OnTurn = [&] {
    if (paused || Clock.Elapsed() < 0.5) return;
    paused = true;
    Pause(Context, 0.1);
  };
  Pause(Context, 1);
  EXPECT_TRUE(paused);
  EXPECT_NEAR(Clock.Elapsed(), 1.5, 3 * kOneTurn) << "a second from the start of the inner one";
}

TEST_ON(LinkTest, Pause, IsNotCutShortByBytesThatArrive) {
  Port.Expect("'L'", "0D 0D", 0.01);
  SendText(Context, 'L');
  Pause(Context, 0.1);
  EXPECT_GE(Clock.Elapsed(), 0.1 - 1e-6);
}

TEST_ON(LinkTest, Pause, EndsAtMidnightAtTheLatest) {
  Clock.Set(86399.95);
  Pause(Context, 0.1);
  EXPECT_GE(Clock.Elapsed(), 0.05 - 1e-6);
  EXPECT_LE(Clock.Elapsed(), 0.1 + kOneTurn);
}

TEST_ON(LinkTest, Pause, OfNoTimeTakesNoTurn) {
  Pause(Context, 0);
  EXPECT_EQ(Events.Turns, 0);
}

TEST_ON(LinkTest, Rest, LastsItsTimeAndLeavesTheStartOfTheWaitAlone) {
  State.WaitStart = 17;
  Rest(Context, 0.1);
  EXPECT_NEAR(Clock.Elapsed(), 0.1, 1e-3);
  EXPECT_EQ(State.WaitStart, 17);
}

TEST_ON(LinkTest, Rest, EndsAtMidnightAtTheLatest) {
  Clock.Set(86399.99);
  Rest(Context, 0.1);
  EXPECT_LE(Clock.Elapsed(), 0.1 + kOneTurn);
}

/// Waits on a line on which bytes arrive that nobody takes; gives the number of turns.
int TurnsWhileBytesArrive(void (*wait)(core::RunContext&, double)) {
  BoardRun run("AT90S2343");
  run.Port.Open();
  run.Port.Output(Hex("'?'"));
  constexpr int kFarTooMany = 10000;
  run.Events.OnTurn = [&] {
    if (run.Events.Turns > kFarTooMany) throw std::runtime_error("the wait makes no progress");
  };
  wait(run.Context, 0.1);
  return run.Events.Turns;
}

// The eighteen bytes of a version line may end a turn's rest early, each of them once. Turns that
// never rest would keep the processor busy; on a virtual clock they would never end.
constexpr int kTurnsOfATenth = 20;
constexpr int kVersionLineBytes = 18;

TEST_ON(LinkTest, Rest, GoesOnRestingWhenBytesArriveThatNobodyTakes) {
  EXPECT_LE(TurnsWhileBytesArrive(Rest), kTurnsOfATenth + kVersionLineBytes + 2);
}

TEST_ON(LinkTest, Pause, GoesOnRestingWhenBytesArriveThatNobodyTakes) {
  EXPECT_LE(TurnsWhileBytesArrive(Pause), kTurnsOfATenth + kVersionLineBytes + 2);
}

TEST_ON(LinkTest, RestForBytes, EndsWhenTheBytesAreThere) {
  Port.Expect("'A'", "0D", 0.02);
  SendText(Context, 'A');
  EXPECT_TRUE(RestForBytes(Context, 1, 0.1));
  EXPECT_NEAR(Clock.Elapsed(), 0.02, 1e-3);
}

TEST_ON(LinkTest, RestForBytes, GivesUpAfterItsTime) {
  EXPECT_FALSE(RestForBytes(Context, 1, 0.1));
  EXPECT_NEAR(Clock.Elapsed(), 0.1, 1e-3);
}

TEST_ON(LinkTest, RestForBytes, OfNoTimeTakesNoTurn) {
  EXPECT_FALSE(RestForBytes(Context, 1, 0));
  EXPECT_EQ(Events.Turns, 0);
}

TEST_ON(LinkTest, RestForBytes, RestsOnEveryTurnAsLongAsAnyWaitDoes) {
  EXPECT_FALSE(RestForBytes(Context, 1, 0.1));
  EXPECT_LE(Events.Turns, kTurnsOfATenth + 2);
}

TEST_ON(LinkTest, RestForBytes, EndsAtMidnightAtTheLatest) {
  Clock.Set(86399.99);
  EXPECT_FALSE(RestForBytes(Context, 1, 0.1));
  EXPECT_LE(Clock.Elapsed(), 0.1 + kOneTurn);
}

TEST_ON(LinkTest, RestForBytes, OnAGoneLineEndsAtOnce) {
  Port.Close();
  EXPECT_FALSE(RestForBytes(Context, 1, 0.1));
  EXPECT_LT(Clock.Elapsed(), 2 * kOneTurn);
}

TEST_ON(LinkTest, SendEscape, SendsTheEscapeByteInTextModeAndGoesBackToBinary) {
  Port.Expect("1B");
  SendEscape(Context);
  EXPECT_THAT(Port.Log,
              ElementsAre("InputMode=text", "DiscardInput", "Output 1B", "InputMode=binary"));
}

TEST_ON(LinkTest, SendEscape, DiscardsWhatHadArrived) {
  Port.Expect("'d'", "5A", 0).Expect("1B");
  SendText(Context, 'd');
  SendEscape(Context);
  EXPECT_EQ(Port.InBufferCount(), 0);
}

TEST_ON(LinkTest, SendEscape, IsSentAfterAStopRequestToo) {
  Port.Expect("1B");
  State.StopRequested = true;
  EXPECT_NO_THROW(SendEscape(Context));
  EXPECT_EQ(Port.Sent, Hex("1B"));
}

TEST_ON(LinkTest, SendEscape, OnAClosedPortDoesNothingHarmful) {
  Port.Close();
  EXPECT_NO_THROW(SendEscape(Context));
  EXPECT_TRUE(Port.Sent.empty());
  EXPECT_EQ(Port.CurrentInputMode(), InputMode::Binary);
}

TEST_ON(LinkTest, ShowCommError, ShowsItsTextWithoutTheProgressBar) {
  Dialog.Show("busy", MessageMode::Busy);
  ASSERT_TRUE(Dialog.BarVisible);
  ShowCommError(Context);
  EXPECT_TRUE(Dialog.Loaded);
  EXPECT_EQ(Dialog.Text, "通信エラーが発生しました。");
  EXPECT_FALSE(Dialog.BarVisible);
  EXPECT_FALSE(Dialog.IsBusy());
  EXPECT_EQ(State.MessageText, "通信エラーが発生しました。");
  EXPECT_THAT(NewTrace(), ElementsAre("通信エラーが発生しました。"));
}

TEST_ON(LinkTest, ShowCommError, IsANoticeWithOneButton) {
  ShowCommError(Context);
  EXPECT_THAT(Dialog.Shown, ElementsAre(Pair("通信エラーが発生しました。", MessageMode::Notice)));
}

}  // namespace
}  // namespace fenwright::link
