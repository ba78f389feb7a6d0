#include "job/image_place.h"

#include "support/prelude.h"

namespace fenwright::job {
namespace {

using ::testing::ElementsAre;

core::AppState StateOf(std::int32_t words, std::int32_t bytes) {
  core::AppState state;
  state.FlashWords = words;
  state.EepromBytes = bytes;
  std::ranges::fill(state.FlashBuffer, core::kBlank);
  std::ranges::fill(state.EepromBuffer, core::kBlank);
  return state;
}

TEST(SerialNumberForm, HasPlaceNumberWidthOrderAndStep) {
  core::Sentence error;
  const auto serial = ParseSerialNumber("flash:0x1FFC=next:2:big:10", error);
  ASSERT_TRUE(serial) << error.English;
  EXPECT_EQ(*serial, (SerialNumber{.Place = {.InFlash = true, .Address = 0x1FFC},
                                   .Value = std::nullopt,
                                   .Width = 2,
                                   .BigEndian = true,
                                   .Step = 10}));
}

TEST(SerialNumberForm, IsOfFourBytesLowestFirstOneByOneUnlessItSaysMore) {
  core::Sentence error;
  EXPECT_EQ(*ParseSerialNumber("eeprom:16=next", error),
            (SerialNumber{.Place = {.InFlash = false, .Address = 16}}));
  EXPECT_EQ(*ParseSerialNumber("eeprom:0x10=4660:2", error),
            (SerialNumber{.Place = {.InFlash = false, .Address = 16}, .Value = 4660, .Width = 2}));
}

TEST(SerialNumberForm, SaysWhatIsWrongWithOne) {
  for (const auto& [text, part] :
       std::map<std::string, std::string>{{"", "the place"},
                                          {"0x10=next", "the place"},
                                          {"ram:0x10=next", "the place"},
                                          {"flash:-1=next", "the place"},
                                          {"flash:0x=next", "the place"},
                                          {"flash:0x80000000=next", "the place"},
                                          {"flash:0x10", "next"},
                                          {"flash:0x10=", "next"},
                                          {"flash:0x10=nxt", "next"},
                                          {"flash:0x10=next:", "last"},
                                          {"flash:0x10=next:4:", "last"},
                                          {"flash:0x10=next:0", "width"},
                                          {"flash:0x10=next:9", "width"},
                                          {"flash:0x10=next:4:middle", "order"},
                                          {"flash:0x10=next:4:big:0", "step"},
                                          {"flash:0x10=next:4:big:1:1", "step"},
                                          {"flash:0x10=256:1", "no room"}}) {
    core::Sentence error;
    EXPECT_FALSE(ParseSerialNumber(text, error)) << text;
    EXPECT_THAT(error.English, ::testing::HasSubstr(part)) << text;
    EXPECT_FALSE(error.Japanese.empty()) << text;
  }
}

TEST(SerialNumberForm, TheLargestNumberIsThatOfItsWidth) {
  EXPECT_EQ((SerialNumber{.Width = 1}).Largest(), 255U);
  EXPECT_EQ((SerialNumber{.Width = 4}).Largest(), 0xFFFFFFFFU);
  EXPECT_EQ((SerialNumber{.Width = 8}).Largest(), std::numeric_limits<std::uint64_t>::max());
}

TEST(CalibrationForm, IsAPlaceAndMaybeTheIndexOfTheByte) {
  core::Sentence error;
  EXPECT_EQ(*ParseCalibration("eeprom:0x00", error),
            (Calibration{.Place = {.InFlash = false, .Address = 0}}));
  EXPECT_EQ(*ParseCalibration("flash:0x7FF=3", error),
            (Calibration{.Place = {.InFlash = true, .Address = 0x7FF}, .Index = 3}));
  EXPECT_FALSE(ParseCalibration("flash:0x7FF=4", error));
  EXPECT_FALSE(ParseCalibration("0x7FF", error));
}

TEST(ImagePlace, TheLastByteOfAMemoryIsInside) {
  const core::AppState state = StateOf(512, 64);
  EXPECT_EQ(WhyNoRoom(state, {.InFlash = true, .Address = 1020}, 4).English, "");
  EXPECT_EQ(WhyNoRoom(state, {.InFlash = true, .Address = 1021}, 4).English,
            "flash:0x03FD: the device's memory has 1024 bytes");
  EXPECT_EQ(WhyNoRoom(state, {.InFlash = false, .Address = 62}, 2).English, "");
  EXPECT_EQ(WhyNoRoom(state, {.InFlash = false, .Address = 63}, 2).English,
            "eeprom:0x003F: the device's memory has 64 bytes");
}

TEST(ImagePlace, WhereTheImageHasDataThereIsNoRoom) {
  core::AppState state = StateOf(512, 64);
  state.FlashBuffer[2] = 0x12;  // the high byte of word 1, byte 3 of the file
  const ImagePlace before{.InFlash = true, .Address = 0};
  EXPECT_EQ(WhyNoRoom(state, before, 3).English, "");
  EXPECT_EQ(WhyNoRoom(state, before, 4).English,
            "flash:0x0000: the file has data of its own at 0x0003");
}

TEST(ImagePlace, ANumberStandsInTheBytesAsAFileWouldHaveThem) {
  core::AppState state = StateOf(512, 64);
  PutNumber(state, {.Place = {.InFlash = true, .Address = 2}, .Width = 4}, 0x11223344);
  // Words 1 and 2, each with its high byte first.
  EXPECT_THAT(std::span(state.FlashBuffer).subspan(0, 8),
              ElementsAre(0xFF, 0xFF, 0x33, 0x44, 0x11, 0x22, 0xFF, 0xFF));
  PutNumber(state, {.Place = {.InFlash = false, .Address = 1}, .Width = 3, .BigEndian = true},
            0x112233);
  EXPECT_THAT(std::span(state.EepromBuffer).subspan(0, 5),
              ElementsAre(0xFF, 0x11, 0x22, 0x33, 0xFF));
  PutByte(state, {.InFlash = true, .Address = 1}, 0x5A);
  EXPECT_EQ(state.FlashBuffer[0], 0x5A);
}

}  // namespace
}  // namespace fenwright::job
