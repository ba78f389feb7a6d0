#include "ops/device_change.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "core/command_end.h"
#include "core/device_catalogue.h"
#include "core/device_selection.h"
#include "core/recorded_run.h"
#include "image/dump_files.h"
#include "ops/command.h"

namespace fenwright::ops {
namespace {

using testing::Journal;

class DeviceChange : public ::testing::Test {
 protected:
  DeviceChange() { run_.Start("ATtiny12L"); }
  core::AppState& State() { return run_.State; }
  void FillBuffers() {
    std::ranges::fill(State().FlashBuffer, std::uint8_t{0x41});
    std::ranges::fill(State().EepromBuffer, std::uint8_t{0x42});
  }
  [[nodiscard]] bool BuffersHold(std::uint8_t flash, std::uint8_t eeprom) {
    return std::ranges::all_of(State().FlashBuffer, [&](auto byte) { return byte == flash; }) &&
           std::ranges::all_of(State().EepromBuffer, [&](auto byte) { return byte == eeprom; });
  }

  testing::RecordedRun run_;
};

const Journal kApplied12 = {
    "store Settings/device 12", "labels",           "write /app/avrhex.txt", "load flash view",
    "write /app/avreep.txt",    "load EEPROM view", "show device frame"};

TEST_F(DeviceChange, ApplyingStoresShowsSizesRebuildsBothViewsAndShowsTheFrameInThisOrder) {
  run_.Form.SetDeviceIndex(12);
  ShowDeviceInfo(run_.Context);
  EXPECT_EQ(run_.TakeJournal(), kApplied12);
  EXPECT_TRUE(run_.Form.FrameShown);
}

TEST_F(DeviceChange, ApplyingLoadsTheSizesAndTheCode) {
  run_.Form.SetDeviceIndex(12);
  ShowDeviceInfo(run_.Context);
  EXPECT_EQ(State().FlashWords, 4096);
  EXPECT_EQ(State().EepromBytes, 512);
  EXPECT_EQ(State().DeviceCode, 0x68);
  EXPECT_EQ(run_.Form.FlashLabel, "ﾌﾟﾛｸﾞﾗﾑﾒﾓﾘ   : 4096 word");
  EXPECT_EQ(run_.Form.EepromLabel, "EEPROMﾃﾞｰﾀﾒﾓﾘ: 512 byte");
}

TEST_F(DeviceChange, ApplyingDoesNotTouchTheBuffers) {
  FillBuffers();
  run_.Form.SetDeviceIndex(12);
  ShowDeviceInfo(run_.Context);
  EXPECT_TRUE(BuffersHold(0x41, 0x42));
  EXPECT_EQ(run_.FileText("avrhex.txt").substr(0, 62),
            "0000: 4141 4141 4141 4141 4141 4141 4141 4141 AAAAAAAAAAAAAAAA");
}

TEST_F(DeviceChange, ApplyingNothingStoresTheIndexAndLeavesTheDeviceAsItWas) {
  run_.Form.SetDeviceIndex(12);
  ShowDeviceInfo(run_.Context);
  FillBuffers();
  run_.Form.SetDeviceIndex(-1);
  ShowDeviceInfo(run_.Context);
  EXPECT_EQ(run_.Settings.Read("Settings", "device"), "-1");
  EXPECT_EQ(State().FlashWords, 4096);
  EXPECT_EQ(State().EepromBytes, 512);
  EXPECT_EQ(State().DeviceCode, 0x68);
  EXPECT_EQ(run_.Form.FlashLabel, "ﾌﾟﾛｸﾞﾗﾑﾒﾓﾘ   : 4096 word");
  EXPECT_TRUE(BuffersHold(0x41, 0x42));
}

TEST_F(DeviceChange, AnUnknownNameGivesSizesOfZeroAndEmptyDumps) {
  run_.Form.ForcedText = "AT90S9999";
  ShowDeviceInfo(run_.Context);
  EXPECT_EQ(State().FlashWords, 0);
  EXPECT_EQ(State().EepromBytes, 0);
  EXPECT_EQ(State().DeviceCode, 0);
  EXPECT_EQ(run_.Form.FlashLabel, "ﾌﾟﾛｸﾞﾗﾑﾒﾓﾘ   : 0 word");
  EXPECT_EQ(run_.Form.EepromLabel, "EEPROMﾃﾞｰﾀﾒﾓﾘ: 0 byte");
  EXPECT_EQ(run_.Files.Files["/app/avrhex.txt"], "");
  EXPECT_EQ(run_.Files.Files["/app/avreep.txt"], "");
}

TEST_F(DeviceChange, ApplyingTracesNothing) {
  run_.Form.SetDeviceIndex(4);
  ShowDeviceInfo(run_.Context);
  PickDevice(run_.Context);
  EXPECT_TRUE(run_.Trace().empty());
}

TEST_F(DeviceChange, APickAppliesTurnsBlanksWritesBothDumpsLoadsBothViewsTurnsAndMarksThePlace) {
  run_.Form.SetDeviceIndex(12);
  PickDevice(run_.Context);
  Journal expected = kApplied12;
  const Journal rest = {"turn",
                        "write /app/avrhex.txt",
                        "write /app/avreep.txt",
                        "load flash view",
                        "load EEPROM view",
                        "turn",
                        "idle A",
                        "idle B",
                        "idle C",
                        "idle D",
                        "idle E",
                        "highlight E"};
  expected.insert(expected.end(), rest.begin(), rest.end());
  EXPECT_EQ(run_.TakeJournal(), expected);
}

TEST_F(DeviceChange, APickDiscardsTheLoadedImage) {
  FillBuffers();
  run_.Form.SetDeviceIndex(7);
  PickDevice(run_.Context);
  EXPECT_TRUE(BuffersHold(0xFF, 0xFF));
  EXPECT_EQ(run_.Files.Files["/app/avrhex.txt"], image::FlashDump(State()));
  EXPECT_EQ(run_.Files.Files["/app/avreep.txt"], image::EepromDump(State()));
  EXPECT_EQ(run_.FileText("avrhex.txt").find("AAAA"), std::string::npos);
}

TEST_F(DeviceChange, APickOfTheSameDeviceDiscardsTheLoadedImageToo) {
  FillBuffers();
  PickDevice(run_.Context);
  EXPECT_TRUE(BuffersHold(0xFF, 0xFF));
}

TEST_F(DeviceChange, DuringTheFirstTurnOfAPickTheOldImageIsStillThere) {
  FillBuffers();
  std::vector<bool> old_image;
  run_.Events.OnTurn = [&] { old_image.push_back(BuffersHold(0x41, 0x42)); };
  run_.Form.SetDeviceIndex(7);
  PickDevice(run_.Context);
  EXPECT_EQ(old_image, (std::vector<bool>{true, false}));
}

TEST_F(DeviceChange, EveryDeviceIsAppliedWithItsSizesAndDumps) {
  for (int index = 0; index < 13; ++index) {
    run_.Form.SetDeviceIndex(index);
    PickDevice(run_.Context);
    const core::DeviceEntry& device = core::DeviceCatalogue()[static_cast<std::size_t>(index)];
    EXPECT_EQ(State().FlashWords, device.FlashWords);
    EXPECT_EQ(State().EepromBytes, device.EepromBytes);
    EXPECT_EQ(State().DeviceCode, device.DeviceCode);
    EXPECT_EQ(run_.Settings.Read("Settings", "device"), std::to_string(index));
    EXPECT_EQ(std::ranges::count(run_.Files.Files["/app/avrhex.txt"], '\n'), device.FlashWords / 8);
    EXPECT_EQ(std::ranges::count(run_.Files.Files["/app/avreep.txt"], '\n'),
              device.EepromBytes / 16);
  }
}

TEST_F(DeviceChange, ADumpThatTheDiscRefusesEndsThePickWithTheDeviceApplied) {
  run_.Files.Refused = {"/app/avrhex.txt"};
  run_.Form.SetDeviceIndex(12);
  EXPECT_EQ(ops::RunCommand(run_.Context, [&](core::RunContext&) { PickDevice(run_.Context); }),
            core::CommandEnding::FileError);
  EXPECT_EQ(State().FlashWords, 4096);
  EXPECT_EQ(run_.Settings.Read("Settings", "device"), "12");
  EXPECT_EQ(run_.Boxes.Boxes.size(), 1U);
}

}  // namespace
}  // namespace fenwright::ops
