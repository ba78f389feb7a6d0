#include "platform/system/system_clock.h"

#include <chrono>
#include <optional>
#include <stdlib.h>
#include <string>
#include <time.h>

#include <gtest/gtest.h>

namespace fenwright::platform {
namespace {

/// Puts the process into a zone as long as it lives.
class InZone {
 public:
  explicit InZone(const char* zone) {
    if (const char* const before = getenv("TZ")) before_ = before;
    setenv("TZ", zone, 1);
    tzset();
  }
  ~InZone() {
    if (before_) {
      setenv("TZ", before_->c_str(), 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }
  InZone(const InZone&) = delete;
  InZone& operator=(const InZone&) = delete;

 private:
  std::optional<std::string> before_;
};

constexpr const char* kJapan = "JST-9";
constexpr const char* kCentralEurope = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr const char* kNepal = "NPT-5:45";

constexpr double Time(int hour, int minute, double second) {
  return hour * 3600.0 + minute * 60.0 + second;
}

TEST(TheLocalTimeOfDay, IsTheZonesTimeWithItsFraction) {
  const InZone zone(kJapan);
  LocalTimeOfDay time;
  EXPECT_DOUBLE_EQ(time.At(1110771296, 250'000'000), Time(12, 34, 56.25));  // 2005-03-14
}

TEST(TheLocalTimeOfDay, IsRightInAZoneOfOddMinutes) {
  const InZone zone(kNepal);
  LocalTimeOfDay time;
  EXPECT_DOUBLE_EQ(time.At(0, 0), Time(5, 45, 0));
}

TEST(TheLocalTimeOfDay, FallsBackToZeroAtLocalMidnight) {
  const InZone zone(kJapan);
  LocalTimeOfDay time;
  const std::int64_t midnight = 1110812400;  // 2005-03-15 00:00:00 in Japan
  EXPECT_DOUBLE_EQ(time.At(midnight - 1, 999'000'000), 86399.999);
  EXPECT_DOUBLE_EQ(time.At(midnight, 0), 0.0);
  EXPECT_DOUBLE_EQ(time.At(midnight + 1, 500'000'000), 1.5);
}

TEST(TheLocalTimeOfDay, JumpsWithTheStartOfSummerTime) {
  const InZone zone(kCentralEurope);
  LocalTimeOfDay time;
  const std::int64_t change = 1711846800;  // 2024-03-31 01:00:00 UTC
  EXPECT_DOUBLE_EQ(time.At(change - 1, 500'000'000), Time(1, 59, 59.5));
  EXPECT_DOUBLE_EQ(time.At(change, 0), Time(3, 0, 0));
}

TEST(TheLocalTimeOfDay, JumpsBackWithItsEnd) {
  const InZone zone(kCentralEurope);
  LocalTimeOfDay time;
  const std::int64_t change = 1729990800;  // 2024-10-27 01:00:00 UTC
  EXPECT_DOUBLE_EQ(time.At(change - 1, 0), Time(2, 59, 59));
  EXPECT_DOUBLE_EQ(time.At(change, 0), Time(2, 0, 0));
}

TEST(TheLocalTimeOfDay, FollowsAClockThatIsSetBack) {
  const InZone zone(kJapan);
  LocalTimeOfDay time;
  EXPECT_DOUBLE_EQ(time.At(1110771296, 0), Time(12, 34, 56));
  EXPECT_DOUBLE_EQ(time.At(1110771296 - 7200, 0), Time(10, 34, 56));
}

TEST(TheLocalTimeOfDay, IsRightBefore1970) {
  const InZone zone("UTC0");
  LocalTimeOfDay time;
  EXPECT_DOUBLE_EQ(time.At(-1, 0), Time(23, 59, 59));
}

TEST(TheSystemClock, AgreesWithItsOwnDateAndTime) {
  const InZone zone(kNepal);
  SystemClock clock;
  const auto now_and_time = [&] {
    const DateTime now = clock.Now();
    return clock.SecondsSinceMidnight() - Time(now.Hour, now.Minute, now.Second);
  };
  double difference = now_and_time();
  if (difference < 0) difference = now_and_time();  // midnight passed in between
  EXPECT_GE(difference, 0.0);
  EXPECT_LT(difference, 1.5);
}

TEST(TheSystemClock, GivesTheLocalDate) {
  const InZone zone(kJapan);
  SystemClock clock;
  const time_t before = time(nullptr);
  const DateTime now = clock.Now();
  tm fields{};
  fields.tm_year = now.Year - 1900;
  fields.tm_mon = now.Month - 1;
  fields.tm_mday = now.Day;
  fields.tm_hour = now.Hour;
  fields.tm_min = now.Minute;
  fields.tm_sec = now.Second;
  const time_t given = timegm(&fields) - 9 * 3600;
  EXPECT_GE(given, before);
  EXPECT_LE(given, before + 2);
}

TEST(TheSystemClock, MovesForwardInFractionsOfASecond) {
  SystemClock clock;
  const double start = clock.SecondsSinceMidnight();
  clock.Sleep(0.01);
  double passed = clock.SecondsSinceMidnight() - start;
  if (passed < 0) passed += 86400;
  EXPECT_GE(passed, 0.009);
  EXPECT_LT(passed, 0.9);
}

TEST(TheSystemClock, SleepsItsTimeAndNotAtAllForNone) {
  SystemClock clock;
  const auto start = std::chrono::steady_clock::now();
  clock.Sleep(0);
  clock.Sleep(-5);
  const auto middle = std::chrono::steady_clock::now();
  clock.Sleep(0.03);
  const auto end = std::chrono::steady_clock::now();
  EXPECT_LT(middle - start, std::chrono::seconds(1));
  EXPECT_GE(end - middle, std::chrono::milliseconds(30));
  EXPECT_LT(end - middle, std::chrono::seconds(1));
}

}  // namespace
}  // namespace fenwright::platform
