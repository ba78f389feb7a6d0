#include "core/hex_format.h"

#include "support/prelude.h"

namespace fenwright::core {
namespace {

TEST(HexFormat, AByteHasTwoUpperCaseDigits) {
  EXPECT_EQ(HexByte(0), "00");
  EXPECT_EQ(HexByte(0x0A), "0A");
  EXPECT_EQ(HexByte(0xBC), "BC");
  EXPECT_EQ(HexByte(0xFF), "FF");
}

TEST(HexFormat, AByteShowsTheLastTwoDigitsOfALargerValue) {
  EXPECT_EQ(HexByte(0x100), "00");
  EXPECT_EQ(HexByte(0x3A7), "A7");
}

TEST(HexFormat, AnAddressHasFourUpperCaseDigits) {
  EXPECT_EQ(HexAddress(0), "0000");
  EXPECT_EQ(HexAddress(0xABC), "0ABC");
  EXPECT_EQ(HexAddress(0xFFFF), "FFFF");
}

TEST(HexFormat, AnAddressShowsTheLastFourDigitsOfALargerValue) {
  EXPECT_EQ(HexAddress(0x10000), "0000");
  EXPECT_EQ(HexAddress(0x1FFF8), "FFF8");
}

TEST(HexFormat, UnpaddedDigitsHaveNoLeadingZero) {
  EXPECT_EQ(HexUnpadded(0), "0");
  EXPECT_EQ(HexUnpadded(5), "5");
  EXPECT_EQ(HexUnpadded(0xF), "F");
  EXPECT_EQ(HexUnpadded(0x10), "10");
  EXPECT_EQ(HexUnpadded(0x100), "100");
  EXPECT_EQ(HexUnpadded(0xFFFFFFFFU), "FFFFFFFF");
}

TEST(HexFormat, EveryByteReadsBackAsItself) {
  for (int value = 0; value < 256; ++value) {
    EXPECT_EQ(std::stoi(HexByte(value), nullptr, 16), value);
    EXPECT_EQ(std::stoi(HexUnpadded(static_cast<std::uint32_t>(value)), nullptr, 16), value);
  }
}

}  // namespace
}  // namespace fenwright::core
