#include "ops/device_change.h"

#include "core/command_end.h"
#include "core/device_catalogue.h"
#include "core/device_selection.h"
#include "image/dump_files.h"
#include "ops/command.h"
#include "support/test_run.h"

namespace fenwright::ops {
namespace {

struct DeviceChange : Test, RecordedRun {
  DeviceChange() { Start("ATtiny12L"); }
  [[nodiscard]] bool BuffersHold(std::uint8_t flash, std::uint8_t eeprom) {
    return std::ranges::all_of(State.FlashBuffer, [&](auto byte) { return byte == flash; }) &&
           std::ranges::all_of(State.EepromBuffer, [&](auto byte) { return byte == eeprom; });
  }
};

const Journal kApplied12 = {
    "store Settings/device 12", "labels",           "write /app/avrhex.txt", "load flash view",
    "write /app/avreep.txt",    "load EEPROM view", "show device frame"};

TEST_F(DeviceChange, ApplyingStoresShowsSizesRebuildsBothViewsAndShowsTheFrameInThisOrder) {
  Form.SetDeviceIndex(12);
  ShowDeviceInfo(Context);
  EXPECT_EQ(TakeJournal(), kApplied12);
  EXPECT_TRUE(Form.FrameShown);
}

TEST_F(DeviceChange, ApplyingLoadsTheSizesAndTheCode) {
  Form.SetDeviceIndex(12);
  ShowDeviceInfo(Context);
  EXPECT_EQ(State.FlashWords, 4096);
  EXPECT_EQ(State.EepromBytes, 512);
  EXPECT_EQ(State.DeviceCode, 0x68);
  EXPECT_EQ(Form.FlashLabel, "ﾌﾟﾛｸﾞﾗﾑﾒﾓﾘ   : 4096 word");
  EXPECT_EQ(Form.EepromLabel, "EEPROMﾃﾞｰﾀﾒﾓﾘ: 512 byte");
}

TEST_F(DeviceChange, ApplyingDoesNotTouchTheBuffers) {
  FillBuffers();
  Form.SetDeviceIndex(12);
  ShowDeviceInfo(Context);
  EXPECT_TRUE(BuffersHold(0x41, 0x42));
  EXPECT_EQ(FileText("avrhex.txt").substr(0, 62),
            "0000: 4141 4141 4141 4141 4141 4141 4141 4141 AAAAAAAAAAAAAAAA");
}

TEST_F(DeviceChange, ApplyingNothingStoresTheIndexAndLeavesTheDeviceAsItWas) {
  Form.SetDeviceIndex(12);
  ShowDeviceInfo(Context);
  FillBuffers();
  Form.SetDeviceIndex(-1);
  ShowDeviceInfo(Context);
  EXPECT_EQ(Stored("device"), "-1");
  EXPECT_EQ(State.FlashWords, 4096);
  EXPECT_EQ(State.EepromBytes, 512);
  EXPECT_EQ(State.DeviceCode, 0x68);
  EXPECT_EQ(Form.FlashLabel, "ﾌﾟﾛｸﾞﾗﾑﾒﾓﾘ   : 4096 word");
  EXPECT_TRUE(BuffersHold(0x41, 0x42));
}

TEST_F(DeviceChange, AnUnknownNameGivesSizesOfZeroAndEmptyDumps) {
  Form.ForcedText = "AT90S9999";
  ShowDeviceInfo(Context);
  EXPECT_EQ(State.FlashWords, 0);
  EXPECT_EQ(State.EepromBytes, 0);
  EXPECT_EQ(State.DeviceCode, 0);
  EXPECT_EQ(Form.FlashLabel, "ﾌﾟﾛｸﾞﾗﾑﾒﾓﾘ   : 0 word");
  EXPECT_EQ(Form.EepromLabel, "EEPROMﾃﾞｰﾀﾒﾓﾘ: 0 byte");
  EXPECT_EQ(Files.Files["/app/avrhex.txt"], "");
  EXPECT_EQ(Files.Files["/app/avreep.txt"], "");
}

TEST_F(DeviceChange, ApplyingTracesNothing) {
  Form.SetDeviceIndex(4);
  ShowDeviceInfo(Context);
  PickDevice(Context);
  EXPECT_TRUE(Trace().empty());
}

TEST_F(DeviceChange, APickAppliesTurnsBlanksWritesBothDumpsLoadsBothViewsTurnsAndMarksThePlace) {
  Form.SetDeviceIndex(12);
  PickDevice(Context);
  const Journal rest{"turn",
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
  EXPECT_EQ(TakeJournal(), Joined({kApplied12, rest}));
}

TEST_F(DeviceChange, APickDiscardsTheLoadedImage) {
  FillBuffers();
  Form.SetDeviceIndex(7);
  PickDevice(Context);
  EXPECT_TRUE(BuffersHold(0xFF, 0xFF));
  EXPECT_EQ(Files.Files["/app/avrhex.txt"], image::FlashDump(State));
  EXPECT_EQ(Files.Files["/app/avreep.txt"], image::EepromDump(State));
  EXPECT_THAT(FileText("avrhex.txt"), Not(HasSubstr("AAAA")));
}

TEST_F(DeviceChange, APickOfTheSameDeviceDiscardsTheLoadedImageToo) {
  FillBuffers();
  PickDevice(Context);
  EXPECT_TRUE(BuffersHold(0xFF, 0xFF));
}

TEST_F(DeviceChange, DuringTheFirstTurnOfAPickTheOldImageIsStillThere) {
  FillBuffers();
  std::vector<bool> old_image;
  Events.OnTurn = [&] { old_image.push_back(BuffersHold(0x41, 0x42)); };
  Form.SetDeviceIndex(7);
  PickDevice(Context);
  EXPECT_EQ(old_image, (std::vector<bool>{true, false}));
}

TEST_F(DeviceChange, EveryDeviceIsAppliedWithItsSizesAndDumps) {
  int index = 0;
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    Form.SetDeviceIndex(index);
    PickDevice(Context);
    EXPECT_EQ(State.FlashWords, device.FlashWords);
    EXPECT_EQ(State.EepromBytes, device.EepromBytes);
    EXPECT_EQ(State.DeviceCode, device.DeviceCode);
    EXPECT_EQ(Stored("device"), std::to_string(index));
    EXPECT_EQ(std::ranges::count(Files.Files["/app/avrhex.txt"], '\n'), device.FlashWords / 8);
    EXPECT_EQ(std::ranges::count(Files.Files["/app/avreep.txt"], '\n'), device.EepromBytes / 16);
    ++index;
  }
}

TEST_F(DeviceChange, ADumpThatTheDiscRefusesStopsNothing) {
  Files.Refused = {"/app/avrhex.txt"};
  Form.SetDeviceIndex(12);
  EXPECT_EQ(ops::RunCommand(Context, [&](core::RunContext&) { PickDevice(Context); }),
            CommandEnding::Finished);
  EXPECT_EQ(State.FlashWords, 4096);
  EXPECT_EQ(Stored("device"), "12");
  EXPECT_EQ(Views.Texts[screen::View::Flash], image::FlashDump(State));
}

}  // namespace
}  // namespace fenwright::ops
