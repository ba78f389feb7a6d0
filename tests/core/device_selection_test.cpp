#include "core/device_selection.h"

#include <gtest/gtest.h>

#include "core/device_catalogue.h"
#include "support/test_run.h"

namespace fenwright::core {
namespace {

class DeviceSelection : public ::testing::Test {
 protected:
  void SelectIndex(int index) {
    PopulateDeviceSelector(run_.Context);
    run_.Form.SetDeviceIndex(index);
  }
  AppState& State() { return run_.State; }

  testing::ScriptedRun run_;
};

TEST_F(DeviceSelection, TheSelectorOffersTheThirteenNamesInCatalogueOrder) {
  PopulateDeviceSelector(run_.Context);
  EXPECT_EQ(run_.Form.Names, (std::vector<std::string>{
                                 "ATtiny12L", "ATtiny15L", "ATtiny26L", "AT90S2323", "AT90S2343",
                                 "AT90S1200 (外部ｸﾛｯｸ)", "AT90S1200A(内部RCｸﾛｯｸ1MHz)", "AT90S2313",
                                 "AT90S4433", "AT90S4414", "AT90S4434", "AT90S8515", "AT90S8535"}));
}

TEST_F(DeviceSelection, FillingTheSelectorAgainDoesNotAddTheNamesTwice) {
  PopulateDeviceSelector(run_.Context);
  PopulateDeviceSelector(run_.Context);
  EXPECT_EQ(run_.Form.Names.size(), 13U);
}

TEST_F(DeviceSelection, TheAt90s8535Gives4096Words512BytesAndItsCode) {
  SelectIndex(12);
  LoadSelectedDevice(run_.Context);
  EXPECT_EQ(State().FlashWords, 4096);
  EXPECT_EQ(State().EepromBytes, 512);
  EXPECT_EQ(State().DeviceCode, 0x68);
}

TEST_F(DeviceSelection, EveryEntryLoadsItsOwnRow) {
  PopulateDeviceSelector(run_.Context);
  for (int index = 0; index < 13; ++index) {
    run_.Form.SetDeviceIndex(index);
    LoadSelectedDevice(run_.Context);
    const DeviceEntry& row = DeviceCatalogue()[static_cast<std::size_t>(index)];
    EXPECT_EQ(State().FlashWords, row.FlashWords) << index;
    EXPECT_EQ(State().EepromBytes, row.EepromBytes) << index;
    EXPECT_EQ(State().DeviceCode, row.DeviceCode) << index;
  }
}

TEST_F(DeviceSelection, ATextThatIsInNoRowSetsAllThreeToZero) {
  SelectIndex(12);
  LoadSelectedDevice(run_.Context);
  run_.Form.ForcedText = "AT90S9999";
  LoadSelectedDevice(run_.Context);
  EXPECT_EQ(State().FlashWords, 0);
  EXPECT_EQ(State().EepromBytes, 0);
  EXPECT_EQ(State().DeviceCode, 0);
}

TEST_F(DeviceSelection, TheTextIsComparedWithItsCase) {
  SelectIndex(12);
  run_.Form.ForcedText = "at90s8535";
  LoadSelectedDevice(run_.Context);
  EXPECT_EQ(State().FlashWords, 0);
}

TEST_F(DeviceSelection, AnEmptyTextChangesNothing) {
  SelectIndex(12);
  LoadSelectedDevice(run_.Context);
  run_.Form.SetDeviceIndex(-1);
  LoadSelectedDevice(run_.Context);
  EXPECT_EQ(State().FlashWords, 4096);
  EXPECT_EQ(State().EepromBytes, 512);
  EXPECT_EQ(State().DeviceCode, 0x68);
}

TEST_F(DeviceSelection, TheSelectorsOwnIndexIsStoredAsDecimalText) {
  for (const int index : {0, 9, 12}) {
    SelectIndex(index);
    StoreSelectedDevice(run_.Context);
    EXPECT_EQ(run_.Settings.Read("Settings", "device"), std::to_string(index));
  }
}

TEST_F(DeviceSelection, NoSelectionIsStoredAsMinusOne) {
  SelectIndex(-1);
  StoreSelectedDevice(run_.Context);
  EXPECT_EQ(run_.Settings.Read("Settings", "device"), "-1");
}

TEST_F(DeviceSelection, TheLabelsCarryTheSizesWithTheBlankOfTheSign) {
  SelectIndex(12);
  LoadSelectedDevice(run_.Context);
  ShowMemorySizes(run_.Context);
  EXPECT_EQ(run_.Form.FlashLabel, "ﾌﾟﾛｸﾞﾗﾑﾒﾓﾘ   : 4096 word");
  EXPECT_EQ(run_.Form.EepromLabel, "EEPROMﾃﾞｰﾀﾒﾓﾘ: 512 byte");
}

TEST_F(DeviceSelection, TheSizesAreNotPadded) {
  SelectIndex(0);
  LoadSelectedDevice(run_.Context);
  ShowMemorySizes(run_.Context);
  EXPECT_EQ(run_.Form.FlashLabel, "ﾌﾟﾛｸﾞﾗﾑﾒﾓﾘ   : 512 word");
  EXPECT_EQ(run_.Form.EepromLabel, "EEPROMﾃﾞｰﾀﾒﾓﾘ: 64 byte");
}

TEST_F(DeviceSelection, TheLabelsOfAnUnknownNameShowTheNumberZero) {
  SelectIndex(3);
  LoadSelectedDevice(run_.Context);
  run_.Form.ForcedText = "something else";
  LoadSelectedDevice(run_.Context);
  ShowMemorySizes(run_.Context);
  EXPECT_EQ(run_.Form.FlashLabel, "ﾌﾟﾛｸﾞﾗﾑﾒﾓﾘ   : 0 word");
  EXPECT_EQ(run_.Form.EepromLabel, "EEPROMﾃﾞｰﾀﾒﾓﾘ: 0 byte");
}

}  // namespace
}  // namespace fenwright::core
