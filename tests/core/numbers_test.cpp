#include "core/numbers.h"

#include <limits>

#include <gtest/gtest.h>

namespace fenwright::core {
namespace {

TEST(Numbers, BlanksAroundANumberAreFine) {
  EXPECT_EQ(ParseNumber(" 6.38 "), 6.38);
  EXPECT_EQ(ParseWholeNumber("  3 ", 0, 20), 3);
}

TEST(Numbers, NothingElseMayStandBesideIt) {
  for (const char* text : {"", " ", "x", "3x", "3 4", "+-3", "0x3", "3,0", "inf", "nan", "1e39"}) {
    EXPECT_EQ(ParseNumber(text), std::nullopt) << text;
    EXPECT_EQ(ParseWholeNumber(text, 0, 20), std::nullopt) << text;
  }
}

TEST(Numbers, AWholeNumberHasNoFractionNoExponentAndNoPlus) {
  EXPECT_EQ(ParseNumber("+3.0"), 3);
  for (const char* text : {"3.0", "3.", "1e1", "+3"}) {
    EXPECT_EQ(ParseWholeNumber(text, 0, 20), std::nullopt) << text;
  }
}

TEST(Numbers, TheLargestNumberIsThatOfSinglePrecision) {
  EXPECT_EQ(ParseNumber("340282346638528859811704183484516925440"),
            static_cast<double>(std::numeric_limits<float>::max()));
  EXPECT_EQ(ParseNumber("340282346638528897590636046441678635008"), std::nullopt);
}

TEST(Numbers, AWholeNumberLiesWithinItsLimits) {
  EXPECT_EQ(ParseWholeNumber("-1", -1, 12), -1);
  EXPECT_EQ(ParseWholeNumber("12", -1, 12), 12);
  EXPECT_EQ(ParseWholeNumber("-2", -1, 12), std::nullopt);
  EXPECT_EQ(ParseWholeNumber("13", -1, 12), std::nullopt);
  EXPECT_EQ(ParseWholeNumber("99999999999", -1, 12), std::nullopt);
}

}  // namespace
}  // namespace fenwright::core
