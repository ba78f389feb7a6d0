#include "platform/system/system_clock.h"

#include <chrono>
#include <windows.h>

#include <gtest/gtest.h>

#include "platform/system/system_time.h"

namespace fenwright::platform {
namespace {

double Time(const DateTime& time) { return time.Hour * 3600.0 + time.Minute * 60.0 + time.Second; }

TEST(TheSystemClock, CountsFrom1970) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(
      std::chrono::system_clock::now().time_since_epoch());
  EXPECT_NEAR(static_cast<double>(system_time::Now().Seconds), static_cast<double>(seconds.count()),
              2.0);
}

TEST(TheSystemClock, GivesTheLocalDateAndTime) {
  SystemClock clock;
  SYSTEMTIME before{};
  GetLocalTime(&before);
  const DateTime now = clock.Now();
  EXPECT_EQ(now.Year, before.wYear);
  EXPECT_EQ(now.Month, before.wMonth);
  EXPECT_EQ(now.Day, before.wDay);
  const double start = before.wHour * 3600.0 + before.wMinute * 60.0 + before.wSecond;
  EXPECT_NEAR(Time(now), start, 2.0);
}

TEST(TheSystemClock, AgreesWithItsOwnDateAndTime) {
  SystemClock clock;
  const auto difference = [&] { return clock.SecondsSinceMidnight() - Time(clock.Now()); };
  double found = difference();
  if (found < -1) found = difference();  // midnight passed in between
  EXPECT_GT(found, -1.5);
  EXPECT_LT(found, 1.5);
}

TEST(TheSystemClock, MovesInStepsThatAWaitDoesNotFeel) {
  SystemClock clock;
  const double start = clock.SecondsSinceMidnight();
  int steps = 0;
  double last = start;
  while (last - start < 0.2 && last >= start) {
    const double now = clock.SecondsSinceMidnight();
    if (now != last) ++steps;
    last = now;
  }
  EXPECT_GT(steps, 20);
}

TEST(TheSystemClock, AShortSleepIsNotRoundedUpToAStepOfTheSystemsClock) {
  SystemClock clock;
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < 20; ++i) clock.Sleep(0.002);
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
  EXPECT_GE(time.count(), 0.039);
  EXPECT_LT(time.count(), 0.25);
}

TEST(TheSystemClock, SleepingForNoTimeReturnsAtOnce) {
  SystemClock clock;
  const auto start = std::chrono::steady_clock::now();
  clock.Sleep(0);
  clock.Sleep(-5);
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
  EXPECT_LT(time.count(), 0.2);
}

}  // namespace
}  // namespace fenwright::platform
