#include "ops/link_commands.h"

#include <chrono>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ops/command.h"
#include "ops/commands.h"
#include "support/test_run.h"

namespace fenwright::testing {
namespace {

core::CommandEnding Measure(BoardRun& run, int count, std::vector<double>& times) {
  return ops::RunCommand(run.Context, [&](core::RunContext& context) {
    ops::MeasureRoundTrips(context, count, times);
  });
}

using core::CommandEnding;
using ops::BoardVerdict;
using ops::DeviceAnswer;

constexpr double kByte = 10.0 / 57600;

board::SimulatedBoardOptions WithVersion(const std::string& line) {
  board::SimulatedBoardOptions options;
  options.Board.VersionLine = line + "\r\n";
  return options;
}

/// A board that was looked for.
struct DetectRun : BoardRun {
  explicit DetectRun(board::SimulatedBoardOptions options = {})
      : BoardRun("AT90S8515", std::move(options)) {
    EXPECT_EQ(ops::RunCommand(Context, ops::Detect), CommandEnding::Finished);
  }
  [[nodiscard]] BoardVerdict Verdict() const { return ops::VerdictOf(State); }
  [[nodiscard]] DeviceAnswer Answer() const { return ops::DeviceAnswerOf(State); }
};

TEST(Detect, ABoardThatAcceptsTheDeviceIsReady) {
  const DetectRun run;
  EXPECT_EQ(run.Verdict(), BoardVerdict::Accepted);
  EXPECT_EQ(run.Answer(), DeviceAnswer::Accepted);
  EXPECT_TRUE(run.Port.PortOpen());
  EXPECT_EQ(run.Wire, BoardRun::LinkCheckBytes(0x38));
}

TEST(Detect, AFirmwareBelowTheRecommendedOneIsAdvised) {
  const DetectRun run(WithVersion("KV-LOD350A V6.30"));
  EXPECT_EQ(run.Verdict(), BoardVerdict::Advised);
  EXPECT_EQ(run.Answer(), DeviceAnswer::Accepted);
}

TEST(Detect, AFirmwareBelowTheLowestOneIsRefusedAndNoDeviceOffered) {
  const DetectRun run(WithVersion("KV-LOD350  V6.29"));
  EXPECT_EQ(run.Verdict(), BoardVerdict::Refused);
  EXPECT_EQ(run.Answer(), DeviceAnswer::NotAsked);
  EXPECT_FALSE(run.Port.PortOpen());
}

TEST(Detect, AnotherDeviceAndASilentLineAreNoBoard) {
  EXPECT_EQ(DetectRun(WithVersion("SOMETHING QUITE 1")).Verdict(), BoardVerdict::None);
  board::SimulatedBoardOptions silent;
  silent.Faults.push_back(MakeFault("silent"));
  const DetectRun run(silent);
  EXPECT_EQ(run.Verdict(), BoardVerdict::None);
  EXPECT_EQ(run.Answer(), DeviceAnswer::NotAsked);
}

TEST(Detect, AVersionOfZeroIsTooOldAndOneThatIsNoNumberUnreadable) {
  EXPECT_EQ(DetectRun(WithVersion("KV-LOD350  V0.00")).Verdict(), BoardVerdict::Refused);
  const DetectRun run(WithVersion("KV-LOD350  Vx.yz"));
  EXPECT_EQ(run.Verdict(), BoardVerdict::Unreadable);
  EXPECT_EQ(run.Answer(), DeviceAnswer::NotAsked);
}

TEST(Detect, ADeviceThatIsNotAcknowledgedIsRefused) {
  board::SimulatedBoardOptions options;
  options.Faults.push_back(MakeFault("flip@4"));
  const DetectRun run(options);
  EXPECT_EQ(run.Verdict(), BoardVerdict::Accepted);
  EXPECT_EQ(run.Answer(), DeviceAnswer::Refused);
}

TEST(Detect, AnAdvisedBoardThatDoesNotAcknowledgeTheDeviceHasRefusedIt) {
  board::SimulatedBoardOptions options = WithVersion("KV-LOD350A V6.30");
  options.Faults.push_back(MakeFault("flip@4"));
  const DetectRun run(options);
  EXPECT_EQ(run.Verdict(), BoardVerdict::Advised);
  EXPECT_EQ(run.Answer(), DeviceAnswer::Refused);
}

TEST(Detect, WhatAnEarlierBoardSaidIsForgotten) {
  DetectRun run;
  run.Port.Board().Protocol().Restart();
  run.Settings.Write("Settings", "ComNox", "0");
  ops::RunCommand(run.Context, ops::Detect);
  EXPECT_EQ(run.Verdict(), BoardVerdict::None);
  EXPECT_EQ(run.Answer(), DeviceAnswer::NotAsked);
}

TEST(RoundTrips, AreMeasuredOneByOneAndEndWithTheEscapeByte) {
  DetectRun run;
  run.Wire.clear();
  std::vector<double> times;
  EXPECT_EQ(Measure(run, 200, times), CommandEnding::Finished);
  ASSERT_EQ(times.size(), 200U);
  for (const double time : times) EXPECT_NEAR(time, 2 * kByte, 0.0002);
  Bytes expected(200, 'A');
  expected.push_back(0x1B);
  EXPECT_EQ(run.Wire, expected);
  EXPECT_FALSE(run.State.Command.InProgrammingMode);
  EXPECT_EQ(run.Port.Board().Protocol().Set(), board::CommandSet::Normal);
}

TEST(RoundTrips, AnAdapterThatHoldsRepliesBackShows) {
  board::SimulatedBoardOptions options;
  options.Latency = std::chrono::milliseconds(16);
  DetectRun run(options);
  std::vector<double> times;
  Measure(run, 20, times);
  ASSERT_EQ(times.size(), 20U);
  EXPECT_NEAR(ops::SpreadOf(times).Median, 0.016 + 2 * kByte, 0.001);
}

TEST(RoundTrips, StopAtTheFirstExchangeWithoutAnAnswer) {
  board::SimulatedBoardOptions options;
  options.Faults.push_back(MakeFault("silent@10"));
  DetectRun run(options);
  std::vector<double> times;
  EXPECT_EQ(Measure(run, 200, times), CommandEnding::Finished);
  EXPECT_EQ(times.size(), 5U);
}

TEST(RoundTrips, AcrossMidnightAreMeasuredToo) {
  DetectRun run;
  run.Clock.Set(86399.9999);
  std::vector<double> times;
  Measure(run, 3, times);
  for (const double time : times) EXPECT_NEAR(time, 2 * kByte, 0.0002);
}

TEST(RoundTrips, BeginWithNoTimesOfAnEarlierMeasurement) {
  DetectRun run;
  std::vector<double> times{1, 2, 3};
  Measure(run, 2, times);
  EXPECT_EQ(times.size(), 2U);
}

TEST(RoundTrips, WaitASecondForAnAnswer) {
  board::SimulatedBoardOptions options;
  options.Faults.push_back(MakeFault("silent@10"));
  DetectRun run(options);
  std::vector<double> times;
  const double start = run.Clock.Elapsed();
  Measure(run, 200, times);
  EXPECT_NEAR(run.Clock.Elapsed() - start, 1, 0.05);
}

TEST(RoundTrips, TakeNoEarlierByteForAnAnswerAndLeaveTheirOwnInTheReplyBuffer) {
  ScriptedRun run;
  run.Port.Expect("'?'", "99", 0).Expect("'A'", "0D", 0.01).Expect("1B");
  run.Port.Output(Hex("'?'"));
  std::vector<double> times;
  ops::MeasureRoundTrips(run.Context, 1, times);
  ASSERT_EQ(times.size(), 1U);
  EXPECT_NEAR(times[0], 0.01, 1e-3);
  EXPECT_EQ(run.State.RxBuf, Hex("0D"));
}

TEST(RoundTrips, AnAnswerAtOnceTakesNoTime) {
  ScriptedRun run;
  run.Port.Expect("'A'", "0D", 0).Expect("1B");
  std::vector<double> times;
  ops::MeasureRoundTrips(run.Context, 1, times);
  EXPECT_EQ(times, std::vector<double>{0});
}

TEST(Spread, OfNoTimesIsZero) {
  const ops::TimeSpread none = ops::SpreadOf({});
  EXPECT_EQ(none.Minimum, 0);
  EXPECT_EQ(none.Median, 0);
  EXPECT_EQ(none.Maximum, 0);
}

TEST(Spread, IsTheShortestTheMiddleAndTheLongest) {
  const ops::TimeSpread odd = ops::SpreadOf({3, 1, 9});
  EXPECT_EQ(odd.Minimum, 1);
  EXPECT_EQ(odd.Median, 3);
  EXPECT_EQ(odd.Maximum, 9);
  EXPECT_EQ(ops::SpreadOf({4, 1, 2, 100}).Median, 3);
  EXPECT_EQ(ops::SpreadOf({}).Maximum, 0);
}

TEST(Forecast, IsTheWiresTimeOfEveryCellAndTheDelayOfEveryExchange) {
  DetectRun run;
  const ops::ProgrammingForecast at_once = ops::Forecast(run.Context, 0);
  // 4096 words of 6 bytes and 512 bytes of 7; back 3 and 6.
  EXPECT_NEAR(at_once.WriteSeconds, (4096 * 6 + 512 * 7) * kByte, 1e-9);
  EXPECT_NEAR(at_once.VerifySeconds, (4096 * 3 + 512 * 6) * kByte, 1e-9);
  const ops::ProgrammingForecast late = ops::Forecast(run.Context, 0.016);
  EXPECT_NEAR(late.WriteSeconds - at_once.WriteSeconds, (4096 * 2 + 512 * 2) * 0.016, 1e-6);
  EXPECT_NEAR(late.VerifySeconds - at_once.VerifySeconds, (4096 + 512 * 2) * 0.016, 1e-6);
}

TEST(Forecast, TheTiny26WritesAWordInOneExchange) {
  DetectRun run;
  run.Select(run.Context, "ATtiny26L");
  EXPECT_NEAR(ops::Forecast(run.Context, 0).WriteSeconds, (1024 * 4 + 128 * 7) * kByte, 1e-9);
}

TEST(Forecast, TheTiny26sWordCostsOneDelay) {
  DetectRun run;
  run.Select(run.Context, "ATtiny26L");
  EXPECT_NEAR(
      ops::Forecast(run.Context, 0.016).WriteSeconds - ops::Forecast(run.Context, 0).WriteSeconds,
      (1024 + 128 * 2) * 0.016, 1e-6);
}

TEST(Forecast, OfADeviceThatIsInNoRowCountsTwoExchangesAWord) {
  DetectRun run;
  run.Form.ForcedText = "none";
  EXPECT_NEAR(ops::Forecast(run.Context, 0).WriteSeconds, (4096 * 6 + 512 * 7) * kByte, 1e-9);
}

TEST(Forecast, IsWhatProgrammingAFullDeviceTakesOnTheSimulatedLine) {
  board::SimulatedBoardOptions options;
  options.Latency = std::chrono::milliseconds(4);
  DetectRun run(options);
  run.LoadImage(RandomBytes(8192, 3), Bytes(512, 0x21));
  std::vector<double> times;
  Measure(run, 200, times);
  const double extra = ops::SpreadOf(times).Median - ops::RoundTripWireSeconds();
  const ops::ProgrammingForecast forecast = ops::Forecast(run.Context, extra);
  const double start = run.Clock.Elapsed();
  ops::RunCommand(run.Context, ops::Cmd_btn_program_Click);
  const double took = run.Clock.Elapsed() - start;
  const double expected = forecast.WriteSeconds + forecast.VerifySeconds;
  EXPECT_NEAR(took, expected, 0.05 * expected);
}

}  // namespace
}  // namespace fenwright::testing
