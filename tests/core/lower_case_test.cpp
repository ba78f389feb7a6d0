#include "core/lower_case.h"

#include <gtest/gtest.h>

namespace fenwright::core {
namespace {

TEST(LowerCase, ChangesTheLettersAToZAlone) {
  EXPECT_EQ(LowerCase("ATtiny12L @[`{ 0-9"), "attiny12l @[`{ 0-9");
  EXPECT_EQ(LowerCase("AZaz"), "azaz");
  EXPECT_EQ(LowerCase("リセット\xC4\x5A"), "リセット\xC4\x7A");
  EXPECT_EQ(LowerCase(""), "");
}

}  // namespace
}  // namespace fenwright::core
