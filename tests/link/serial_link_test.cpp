#include "link/serial_link.h"

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/command_end.h"
#include "support/test_run.h"

namespace fenwright::link {
namespace {

using ::testing::ElementsAre;
using testing::Hex;
using testing::ScriptedRun;

/// A turn of a wait rests this long at most, so a wait overshoots its end by no more.
constexpr double kOneTurn = 0.006;

/// A clock that stands still until a test sets it.
class StandingClock final : public platform::Clock {
 public:
  double SecondsSinceMidnight() override { return Value; }
  platform::DateTime Now() override { return {}; }
  void Sleep(double /*seconds*/) override {}
  double Value = 0;
};

core::RunContext WithClock(ScriptedRun& run, platform::Clock& clock) {
  return {.State = run.State,
          .Line = {.ProgrammerPort = run.Port, .Clock = clock, .Events = run.Events},
          .Storage = run.Context.Storage,
          .Screen = run.Context.Screen};
}

TEST(ClearInput, DiscardsEveryByteNotYetRead) {
  ScriptedRun run;
  run.Port.Expect("'d'", "01 02 03", 0);
  SendText(run.Context, 'd');
  ASSERT_EQ(run.Port.InBufferCount(), 3);
  ClearInput(run.Context);
  EXPECT_EQ(run.Port.InBufferCount(), 0);
}

TEST(SendText, WritesOneCharacterAndNothingElse) {
  ScriptedRun run;
  run.Port.Expect("41");
  SendText(run.Context, 'A');
  EXPECT_THAT(run.Port.Log, ElementsAre("Output 41"));
}

TEST(SendText, IsWhereARequestedStopEndsTheCommandWithNothingSent) {
  ScriptedRun run;
  run.State.StopRequested = true;
  try {
    SendText(run.Context, 'P');
    FAIL() << "no end of the command";
  } catch (const core::CommandEnd& end) {
    EXPECT_EQ(end.Ending, core::CommandEnding::Stopped);
    EXPECT_EQ(end.Text, "");
  }
  EXPECT_TRUE(run.Port.Sent.empty());
}

TEST(SendByte, WritesEveryValueRawInAWriteOfItsOwn) {
  ScriptedRun run;
  run.Port.Expect("00 0D 1B 80 FF");
  for (const std::uint8_t value : Hex("00 0D 1B 80 FF")) SendByte(run.Context, value);
  EXPECT_THAT(run.Port.Log,
              ElementsAre("Output 00", "Output 0D", "Output 1B", "Output 80", "Output FF"));
}

TEST(SendByte, KeepsTheByteInTheOneElementBuffer) {
  ScriptedRun run;
  run.Port.Expect("A7");
  SendByte(run.Context, 0xA7);
  EXPECT_THAT(run.State.TxByte, ElementsAre(0xA7));
}

TEST(SendByte, StillCompletesAStartedExchangeAfterAStopRequest) {
  ScriptedRun run;
  run.Port.Expect("A7");
  run.State.StopRequested = true;
  EXPECT_NO_THROW(SendByte(run.Context, 0xA7));
  EXPECT_EQ(run.Port.Sent, Hex("A7"));
}

TEST(WaitForBytes, EndsWithoutATurnWhenTheBytesAreThere) {
  ScriptedRun run;
  run.Port.Expect("'s'", "1E 91 03", 0);
  SendText(run.Context, 's');
  EXPECT_TRUE(WaitForBytes(run.Context, 3, 1));
  EXPECT_EQ(run.Events.Turns, 0);
  EXPECT_EQ(run.Clock.Elapsed(), 0);
}

TEST(WaitForBytes, RunsWindowEventsOnEveryTurn) {
  ScriptedRun run;
  EXPECT_FALSE(WaitForBytes(run.Context, 1, 1));
  // A window that waited longer than a few milliseconds for its turn would feel dead.
  EXPECT_GE(run.Events.Turns, 100);
}

TEST(WaitForBytes, SeesAReplyTheMomentItIsThere) {
  ScriptedRun run;
  run.Port.Expect("'P'", "0D", 0.0123);
  SendText(run.Context, 'P');
  EXPECT_TRUE(WaitForBytes(run.Context, 1, 1));
  EXPECT_NEAR(run.Clock.Elapsed(), 0.0123, 1e-4);
}

TEST(WaitForBytes, KeepsTheTimeOfItsStart) {
  ScriptedRun run;
  run.Clock.Set(4321.25);
  run.Port.Expect("'P'", "0D", 0.5);
  SendText(run.Context, 'P');
  EXPECT_TRUE(WaitForBytes(run.Context, 1, 1));
  EXPECT_EQ(run.State.WaitStart, 4321.25);
}

TEST(WaitForBytes, TimesOutOnlyWhenStrictlyMoreThanTheTimeOutHasPassed) {
  ScriptedRun run;
  StandingClock clock;
  clock.Value = 1000;
  core::RunContext context = WithClock(run, clock);
  run.Events.OnTurn = [&] {
    clock.Value = run.Events.Turns == 1
                      ? 1005.0
                      : std::nextafter(1005.0, std::numeric_limits<double>::infinity());
  };
  EXPECT_FALSE(WaitForBytes(context, 1, 5));
  EXPECT_EQ(run.Events.Turns, 2) << "at exactly five seconds the wait goes on";
}

TEST(WaitForBytes, OnASilentLineLastsTheWholeTimeOut) {
  for (const double seconds : {1.0, 2.0, 5.0}) {
    ScriptedRun run;
    EXPECT_FALSE(WaitForBytes(run.Context, 1, seconds));
    EXPECT_GT(run.Clock.Elapsed(), seconds - 1e-6);
    EXPECT_LT(run.Clock.Elapsed(), seconds + kOneTurn);
  }
}

TEST(WaitForBytes, TimesOutWhenOneByteIsMissing) {
  ScriptedRun run;
  run.Port.Expect("'s'", "1E 91");
  SendText(run.Context, 's');
  EXPECT_FALSE(WaitForBytes(run.Context, 3, 1));
  EXPECT_GT(run.Clock.Elapsed(), 1 - 1e-6);
}

TEST(WaitForBytes, EndsAsSoonAsTheLastPieceOfASplitReplyHasArrived) {
  ScriptedRun run;
  run.Port.ExpectParts("'o'", {{.Delay = 0.4, .Data = Hex("01")},
                               {.Delay = 0.4, .Data = Hex("02 03")},
                               {.Delay = 0.4, .Data = Hex("04")},
                               {.Delay = 0.4, .Data = Hex("05")}});
  SendText(run.Context, 'o');
  EXPECT_TRUE(WaitForBytes(run.Context, 4, 2));
  EXPECT_NEAR(run.Clock.Elapsed(), 1.2, 1e-3);
  EXPECT_EQ(run.Port.InBufferCount(), 4);
}

TEST(WaitForBytes, ThePiecesDoNotRestartTheTimeOut) {
  ScriptedRun run;
  run.Port.ExpectParts("'R'",
                       {{.Delay = 0.9, .Data = Hex("01")}, {.Delay = 0.9, .Data = Hex("02")}});
  SendText(run.Context, 'R');
  EXPECT_FALSE(WaitForBytes(run.Context, 2, 1));
  EXPECT_LT(run.Clock.Elapsed(), 1 + kOneTurn);
}

TEST(WaitForBytes, StartedBeforeMidnightLastsUntilTheBytesArrive) {
  ScriptedRun run;
  run.Clock.Set(86399.5);
  run.Port.Expect("'d'", "5A", 20);
  SendText(run.Context, 'd');
  EXPECT_TRUE(WaitForBytes(run.Context, 1, 5));
  EXPECT_NEAR(run.Clock.Elapsed(), 20, 1e-3);
}

TEST(WaitForBytes, StartedEarlyEnoughStillTimesOutBeforeMidnight) {
  ScriptedRun run;
  run.Clock.Set(86398.5);
  EXPECT_FALSE(WaitForBytes(run.Context, 1, 1));
  EXPECT_LT(run.Clock.Elapsed(), 1 + kOneTurn);
}

TEST(WaitForBytes, StartedAtMidnightTimesOutAsAtAnyOtherTime) {
  ScriptedRun run;
  run.Clock.Set(0);
  EXPECT_FALSE(WaitForBytes(run.Context, 1, 1));
  EXPECT_GT(run.Clock.Elapsed(), 1 - 1e-6);
}

TEST(WaitForBytes, OnAGoneLineEndsAtOnce) {
  ScriptedRun run;
  run.Port.ThenHangUp();
  run.Port.Open();
  EXPECT_FALSE(WaitForBytes(run.Context, 1, 5));
  EXPECT_LT(run.Clock.Elapsed(), 2 * kOneTurn);
}

TEST(WaitForBytes, OnAGoneLineEndsAtOnceAcrossMidnightToo) {
  ScriptedRun run;
  run.Clock.Set(86399.999);
  run.Port.ThenHangUp();
  run.Port.Open();
  EXPECT_FALSE(WaitForBytes(run.Context, 1, 5));
  EXPECT_LT(run.Clock.Elapsed(), 2 * kOneTurn);
}

TEST(WaitForBytes, OnAPortThatIsNotOpenEndsAtOnce) {
  ScriptedRun run;
  run.Port.Close();
  EXPECT_FALSE(WaitForBytes(run.Context, 1, 5));
  EXPECT_LT(run.Clock.Elapsed(), 2 * kOneTurn);
}

TEST(WaitForBytes, EndsAtOnceWhenTheLineGoesInTheMiddleOfTheWait) {
  ScriptedRun run;
  run.Events.OnTurn = [&] {
    if (run.Clock.Elapsed() > 0.5) run.Port.Close();
  };
  EXPECT_FALSE(WaitForBytes(run.Context, 1, 5));
  EXPECT_LT(run.Clock.Elapsed(), 0.5 + 3 * kOneTurn);
}

TEST(WaitForBytes, CountsTheBytesThatHadArrivedBeforeTheLineWent) {
  ScriptedRun run;
  run.Port.Expect("'s'", "1E 91 03", 0).ThenHangUp();
  SendText(run.Context, 's');
  EXPECT_TRUE(WaitForBytes(run.Context, 3, 1));
  ReadReply(run.Context);
  EXPECT_EQ(run.State.RxBuf, Hex("1E 91 03"));
}

TEST(WaitForBytes, CountsTheBytesThatArriveInTheTurnInWhichTheLineGoes) {
  ScriptedRun run;
  run.Port.Expect("'s'", "1E 91 03", 0.001);
  run.Events.OnTurn = [&] {
    run.Clock.Advance(0.002);
    run.Port.Close();
  };
  SendText(run.Context, 's');
  EXPECT_TRUE(WaitForBytes(run.Context, 3, 1));
}

TEST(WaitForBytes, OnAGoneLineIsNotContentWithTooFewBytes) {
  ScriptedRun run;
  run.Port.Expect("'s'", "1E 91", 0).ThenHangUp();
  SendText(run.Context, 's');
  EXPECT_FALSE(WaitForBytes(run.Context, 3, 1));
  EXPECT_LT(run.Clock.Elapsed(), 2 * kOneTurn);
}

TEST(WaitForBytes, LeavesFlagAndTextsToItsCaller) {
  ScriptedRun run;
  EXPECT_FALSE(WaitForBytes(run.Context, 1, 1));
  EXPECT_EQ(run.State.LinkError, 0);
  EXPECT_TRUE(run.NewTrace().empty());
  EXPECT_FALSE(run.Dialog.Loaded);
}

TEST(ReadReply, TakesEverythingThatHasArrived) {
  ScriptedRun run;
  run.Port.Expect("'d'", "01 02 03 04 05 06 07 08 09 0A 0B 0C 0D", 0);
  SendText(run.Context, 'd');
  ReadReply(run.Context);
  EXPECT_EQ(run.State.RxBuf, Hex("01 02 03 04 05 06 07 08 09 0A 0B 0C 0D"));
  EXPECT_EQ(run.Port.InBufferCount(), 0);
}

TEST(ReadReply, ReplacesTheReplyBefore) {
  ScriptedRun run;
  run.Port.Expect("'R'", "01 02", 0).Expect("'d'", "03", 0);
  SendText(run.Context, 'R');
  ReadReply(run.Context);
  SendText(run.Context, 'd');
  ReadReply(run.Context);
  EXPECT_EQ(run.State.RxBuf, Hex("03"));
}

TEST(Pause, LastsItsTimeWithWindowEventsRunning) {
  ScriptedRun run;
  run.Clock.Set(7200.5);
  Pause(run.Context, 0.1);
  EXPECT_GE(run.Clock.Elapsed(), 0.1 - 1e-6);
  EXPECT_LT(run.Clock.Elapsed(), 0.1 + 1e-3);
  EXPECT_GE(run.Events.Turns, 10);
  EXPECT_EQ(run.State.WaitStart, 7200.5);
}

TEST(Pause, IsNotCutShortByBytesThatArrive) {
  ScriptedRun run;
  run.Port.Expect("'L'", "0D 0D", 0.01);
  SendText(run.Context, 'L');
  Pause(run.Context, 0.1);
  EXPECT_GE(run.Clock.Elapsed(), 0.1 - 1e-6);
}

TEST(Pause, EndsAtMidnightAtTheLatest) {
  ScriptedRun run;
  run.Clock.Set(86399.95);
  Pause(run.Context, 0.1);
  EXPECT_GE(run.Clock.Elapsed(), 0.05 - 1e-6);
  EXPECT_LE(run.Clock.Elapsed(), 0.1 + kOneTurn);
}

TEST(Pause, OfNoTimeTakesNoTurn) {
  ScriptedRun run;
  Pause(run.Context, 0);
  EXPECT_EQ(run.Events.Turns, 0);
}

TEST(Rest, LastsItsTimeAndLeavesTheStartOfTheWaitAlone) {
  ScriptedRun run;
  run.State.WaitStart = 17;
  Rest(run.Context, 0.1);
  EXPECT_NEAR(run.Clock.Elapsed(), 0.1, 1e-3);
  EXPECT_EQ(run.State.WaitStart, 17);
}

TEST(Rest, EndsAtMidnightAtTheLatest) {
  ScriptedRun run;
  run.Clock.Set(86399.99);
  Rest(run.Context, 0.1);
  EXPECT_LE(run.Clock.Elapsed(), 0.1 + kOneTurn);
}

/// Waits on a line on which bytes arrive that nobody takes; gives the number of turns.
int TurnsWhileBytesArrive(void (*wait)(core::RunContext&, double)) {
  testing::BoardRun run("AT90S2343");
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

TEST(Rest, GoesOnRestingWhenBytesArriveThatNobodyTakes) {
  EXPECT_LE(TurnsWhileBytesArrive(Rest), kTurnsOfATenth + kVersionLineBytes + 2);
}

TEST(Pause, GoesOnRestingWhenBytesArriveThatNobodyTakes) {
  EXPECT_LE(TurnsWhileBytesArrive(Pause), kTurnsOfATenth + kVersionLineBytes + 2);
}

TEST(RestForBytes, EndsWhenTheBytesAreThere) {
  ScriptedRun run;
  run.Port.Expect("'A'", "0D", 0.02);
  SendText(run.Context, 'A');
  EXPECT_TRUE(RestForBytes(run.Context, 1, 0.1));
  EXPECT_NEAR(run.Clock.Elapsed(), 0.02, 1e-3);
}

TEST(RestForBytes, GivesUpAfterItsTime) {
  ScriptedRun run;
  EXPECT_FALSE(RestForBytes(run.Context, 1, 0.1));
  EXPECT_NEAR(run.Clock.Elapsed(), 0.1, 1e-3);
}

TEST(RestForBytes, EndsAtMidnightAtTheLatest) {
  ScriptedRun run;
  run.Clock.Set(86399.99);
  EXPECT_FALSE(RestForBytes(run.Context, 1, 0.1));
  EXPECT_LE(run.Clock.Elapsed(), 0.1 + kOneTurn);
}

TEST(RestForBytes, OnAGoneLineEndsAtOnce) {
  ScriptedRun run;
  run.Port.Close();
  EXPECT_FALSE(RestForBytes(run.Context, 1, 0.1));
  EXPECT_LT(run.Clock.Elapsed(), 2 * kOneTurn);
}

TEST(SendEscape, SendsTheEscapeByteInTextModeAndGoesBackToBinary) {
  ScriptedRun run;
  run.Port.Expect("1B");
  SendEscape(run.Context);
  EXPECT_THAT(run.Port.Log,
              ElementsAre("InputMode=text", "DiscardInput", "Output 1B", "InputMode=binary"));
}

TEST(SendEscape, DiscardsWhatHadArrived) {
  ScriptedRun run;
  run.Port.Expect("'d'", "5A", 0).Expect("1B");
  SendText(run.Context, 'd');
  SendEscape(run.Context);
  EXPECT_EQ(run.Port.InBufferCount(), 0);
}

TEST(SendEscape, IsSentAfterAStopRequestToo) {
  ScriptedRun run;
  run.Port.Expect("1B");
  run.State.StopRequested = true;
  EXPECT_NO_THROW(SendEscape(run.Context));
  EXPECT_EQ(run.Port.Sent, Hex("1B"));
}

TEST(SendEscape, OnAClosedPortDoesNothingHarmful) {
  ScriptedRun run;
  run.Port.Close();
  EXPECT_NO_THROW(SendEscape(run.Context));
  EXPECT_TRUE(run.Port.Sent.empty());
  EXPECT_EQ(run.Port.CurrentInputMode(), platform::InputMode::Binary);
}

TEST(ShowCommError, ShowsItsTextWithoutTheProgressBar) {
  ScriptedRun run;
  run.Dialog.Show("busy", screen::MessageMode::Busy);
  ASSERT_TRUE(run.Dialog.BarVisible);
  ShowCommError(run.Context);
  EXPECT_TRUE(run.Dialog.Loaded);
  EXPECT_EQ(run.Dialog.Text, "通信エラーが発生しました。");
  EXPECT_FALSE(run.Dialog.BarVisible);
  EXPECT_FALSE(run.Dialog.IsBusy());
  EXPECT_EQ(run.State.MessageText, "通信エラーが発生しました。");
  EXPECT_THAT(run.NewTrace(), ElementsAre("通信エラーが発生しました。"));
}

}  // namespace
}  // namespace fenwright::link
