#include "ui/screen_place.h"

#include "support/prelude.h"

namespace fenwright::ui {
namespace {

const QRect kScreen(0, 0, 1920, 1080);
const QRect kRightScreen(1920, 200, 1280, 1024);
constexpr int kTitle = 24;

QRect OnOne(const QRect& wanted) { return ReachablePlace(wanted, {kScreen}, kTitle); }

TEST(ReachablePlace, AWindowOnTheScreenStays) {
  const QRect wanted(7, 7, 753, 527);
  EXPECT_EQ(OnOne(wanted), wanted);
}

TEST(ReachablePlace, AWindowStaysAsLongAsAPixelOfItsTitleIsReachable) {
  for (const QRect& wanted : {QRect(1919, 500, 753, 527), QRect(-752, 500, 753, 527),
                              QRect(100, 1079, 753, 527), QRect(100, -23, 753, 527)}) {
    EXPECT_EQ(OnOne(wanted), wanted);
  }
}

TEST(ReachablePlace, AWindowWhoseTitleIsOutsideIsBroughtBack) {
  EXPECT_EQ(OnOne({1920, 500, 753, 527}), QRect(1167, 500, 753, 527));
  EXPECT_EQ(OnOne({-753, 500, 753, 527}), QRect(0, 500, 753, 527));
  EXPECT_EQ(OnOne({100, 1080, 753, 527}), QRect(100, 553, 753, 527));
  EXPECT_EQ(OnOne({100, -24, 753, 527}), QRect(100, 0, 753, 527));
}

TEST(ReachablePlace, TheNearestScreenGetsTheWindow) {
  const QList<QRect> screens{kScreen, kRightScreen};
  EXPECT_EQ(ReachablePlace({4000, 300, 700, 500}, screens, kTitle), QRect(2500, 300, 700, 500));
  EXPECT_EQ(ReachablePlace({-4000, 300, 700, 500}, screens, kTitle), QRect(0, 300, 700, 500));
  const QRect spanning(1800, 300, 700, 500);
  EXPECT_EQ(ReachablePlace(spanning, screens, kTitle), spanning);
}

TEST(ReachablePlace, HugeAndNegativeNumbersEndOnTheScreen) {
  EXPECT_EQ(OnOne({10'000'000, 10'000'000, 753, 527}), QRect(1167, 553, 753, 527));
  EXPECT_EQ(OnOne({-10'000'000, -10'000'000, 10'000'000, 10'000'000}), kScreen);
  EXPECT_EQ(OnOne({100, 100, 10'000'000, 10'000'000}), QRect(100, 100, 1920, 1080));
  EXPECT_EQ(OnOne({100, 100, -500, 0}), QRect(100, 100, 1, 1));
}

TEST(ReachablePlace, WithoutAScreenNothingIsChanged) {
  const QRect wanted(-5000, 100, 700, 500);
  EXPECT_EQ(ReachablePlace(wanted, {}, kTitle), wanted);
}

}  // namespace
}  // namespace fenwright::ui
