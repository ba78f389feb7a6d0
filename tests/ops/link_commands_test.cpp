#include "ops/link_commands.h"

#include "ops/commands.h"
#include "support/test_run.h"

namespace fenwright::testing {
namespace {
using ops::BoardVerdict;
using ops::DeviceAnswer;

constexpr double kByte = 10.0 / 57600;

board::SimulatedBoardOptions WithVersion(const std::string& line) {
  return {.Board = {.VersionLine = line + "\r\n"}};
}

/// A board that was looked for.
struct DetectRun : BoardRun {
  explicit DetectRun(board::SimulatedBoardOptions options = {})
      : BoardRun("AT90S8515", std::move(options)) {
    EXPECT_EQ(ops::DetectCommand(Context), CommandEnding::Finished);
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
  const DetectRun run(WithFaults("silent"));
  EXPECT_EQ(run.Verdict(), BoardVerdict::None);
  EXPECT_EQ(run.Answer(), DeviceAnswer::NotAsked);
}

TEST(Detect, ADeviceThatIsNotAcknowledgedIsRefused) {
  const DetectRun run(WithFaults("flip@4"));
  EXPECT_EQ(run.Verdict(), BoardVerdict::Accepted);
  EXPECT_EQ(run.Answer(), DeviceAnswer::Refused);
}

TEST(Detect, WhatAnEarlierBoardSaidIsForgotten) {
  DetectRun run;
  run.Port.Board().Protocol().Restart();
  run.Store("ComNox", "0");
  ops::DetectCommand(run.Context);
  EXPECT_EQ(run.Verdict(), BoardVerdict::None);
  EXPECT_EQ(run.Answer(), DeviceAnswer::NotAsked);
}

TEST(RoundTrips, AreMeasuredOneByOneAndEndWithTheEscapeByte) {
  DetectRun run;
  run.Wire.clear();
  std::vector<double> times;
  EXPECT_EQ(ops::MeasureRoundTripsCommand(run.Context, 200, times), CommandEnding::Finished);
  ASSERT_EQ(times.size(), 200U);
  for (const double time : times) EXPECT_NEAR(time, 2 * kByte, 0.0002);
  Bytes expected(200, 'A');
  expected.push_back(0x1B);
  EXPECT_EQ(run.Wire, expected);
  EXPECT_FALSE(run.State.InProgrammingMode);
  EXPECT_EQ(run.Port.Board().Protocol().Set(), board::CommandSet::Normal);
}

TEST(RoundTrips, AnAdapterThatHoldsRepliesBackShows) {
  DetectRun run({.Latency = 16ms});
  std::vector<double> times;
  ops::MeasureRoundTripsCommand(run.Context, 20, times);
  ASSERT_EQ(times.size(), 20U);
  EXPECT_NEAR(ops::SpreadOf(times).Median, 0.016 + 2 * kByte, 0.001);
}

TEST(RoundTrips, StopAtTheFirstExchangeWithoutAnAnswer) {
  DetectRun run(WithFaults("silent@10"));
  std::vector<double> times;
  EXPECT_EQ(ops::MeasureRoundTripsCommand(run.Context, 200, times), CommandEnding::Finished);
  EXPECT_EQ(times.size(), 5U);
}

TEST(RoundTrips, AcrossMidnightAreMeasuredToo) {
  DetectRun run;
  run.Clock.Set(86399.9999);
  std::vector<double> times;
  ops::MeasureRoundTripsCommand(run.Context, 3, times);
  for (const double time : times) EXPECT_NEAR(time, 2 * kByte, 0.0002);
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

TEST(Forecast, IsWhatProgrammingAFullDeviceTakesOnTheSimulatedLine) {
  DetectRun run({.Latency = 4ms});
  run.LoadImage(RandomBytes(8192, 3), Bytes(512, 0x21));
  std::vector<double> times;
  ops::MeasureRoundTripsCommand(run.Context, 200, times);
  const double extra = ops::SpreadOf(times).Median - ops::RoundTripWireSeconds();
  const ops::ProgrammingForecast forecast = ops::Forecast(run.Context, extra);
  const double start = run.Clock.Elapsed();
  ops::ProgramCommand(run.Context);
  const double took = run.Clock.Elapsed() - start;
  const double expected = forecast.WriteSeconds + forecast.VerifySeconds;
  EXPECT_NEAR(took, expected, 0.05 * expected);
}

}  // namespace
}  // namespace fenwright::testing
