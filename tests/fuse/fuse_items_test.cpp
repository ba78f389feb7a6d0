#include "fuse/fuse_items.h"

#include <gtest/gtest.h>

namespace fenwright::fuse {
namespace {

using screen::FuseList;

TEST(FuseItems, AnItemIsFoundByItsTextInEitherCase) {
  EXPECT_EQ(FindItem(FuseList::Boden, "ATtiny12L", "Disable"), 1);
  EXPECT_EQ(FindItem(FuseList::Boden, "ATtiny12L", "dISABLE"), 1);
  EXPECT_EQ(FindItem(FuseList::Rstdisabl, "ATtiny26L", "pb7:reset"), 1);
  EXPECT_EQ(FindItem(FuseList::Rstdisabl, "ATtiny26L", "PB5:Reset"), std::nullopt);
  EXPECT_EQ(FindItem(FuseList::Boden, "ATtiny12L", ""), std::nullopt);
}

TEST(FuseItems, OneThatHasNoSuchTextIsFoundByItsPosition) {
  EXPECT_EQ(FindItem(FuseList::Boden, "ATtiny12L", "0"), 0);
  EXPECT_EQ(FindItem(FuseList::Boden, "ATtiny12L", "1"), 1);
  for (const char* text : {"2", "-1", "+1", "1x", " 1", "99999999999999999999"}) {
    EXPECT_EQ(FindItem(FuseList::Boden, "ATtiny12L", text), std::nullopt) << text;
  }
  // The text comes first.
  EXPECT_EQ(FindItem(FuseList::Cksel, "ATtiny15L", "10"), 2);
}

TEST(FuseItems, ANumberWithAZeroInFrontIsMeantAsBits) {
  EXPECT_EQ(FindItem(FuseList::Cksel, "AT90S4433", "010"), 2);
  EXPECT_EQ(FindItem(FuseList::Cksel, "ATtiny12L", "010"), std::nullopt);
  EXPECT_EQ(FindItem(FuseList::Cksel, "ATtiny12L", "10"), 10);
}

TEST(FuseItems, TheLockListKnowsItsModesInAscii) {
  EXPECT_EQ(FindItem(FuseList::Lock, "AT90S8515", "write-verify"), 0);
  EXPECT_EQ(FindItem(FuseList::Lock, "AT90S8515", "Write"), 1);
  EXPECT_EQ(FindItem(FuseList::Lock, "AT90S8515", "none"), 2);
  EXPECT_EQ(FindItem(FuseList::Boden, "ATtiny12L", "none"), std::nullopt);
}

TEST(FuseItems, AListThatTheDeviceDoesNotHaveHasNone) {
  EXPECT_EQ(FindItem(FuseList::Rstdisabl, "AT90S8515", "0"), std::nullopt);
}

}  // namespace
}  // namespace fenwright::fuse
