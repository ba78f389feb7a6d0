#include "ui/twips.h"

#include "support/prelude.h"

namespace fenwright::ui {
namespace {

TEST(Twips, FifteenTwipsAreOnePixel) {
  EXPECT_EQ(TwipsToPixels(15), 1);
  EXPECT_EQ(TwipsToPixels(5400), 360);
  EXPECT_EQ(PixelsToTwips(360), 5400);
}

TEST(Twips, APartOfAPixelIsRoundedToTheNearest) {
  EXPECT_EQ(TwipsToPixels(100), 7);
  EXPECT_EQ(TwipsToPixels(7900), 527);
  EXPECT_EQ(TwipsToPixels(-100), -7);
}

TEST(Twips, PixelsSurviveTheWayToTwipsAndBack) {
  for (int pixels = -50; pixels < 3000; ++pixels) {
    EXPECT_EQ(TwipsToPixels(PixelsToTwips(pixels)), pixels);
  }
}

TEST(Twips, APlaceIsConvertedAsAWhole) {
  EXPECT_EQ(ToPixels(kEepromViewPlace), QRect(3, 273, 360, 133));
}

}  // namespace
}  // namespace fenwright::ui
