#include "core/device_selection.h"

#include "core/device_catalogue.h"
#include "support/test_run.h"

namespace fenwright::core {
namespace {

struct DeviceSelection : Test, ScriptedRun {
  void SelectIndex(int index) {
    PopulateDeviceSelector(Context);
    Form.SetDeviceIndex(index);
  }
};

TEST_F(DeviceSelection, TheSelectorOffersTheThirteenNamesInCatalogueOrder) {
  PopulateDeviceSelector(Context);
  EXPECT_EQ(Form.Names, (Texts{"ATtiny12L", "ATtiny15L", "ATtiny26L", "AT90S2323", "AT90S2343",
                               "AT90S1200 (外部ｸﾛｯｸ)", "AT90S1200A(内部RCｸﾛｯｸ1MHz)", "AT90S2313",
                               "AT90S4433", "AT90S4414", "AT90S4434", "AT90S8515", "AT90S8535"}));
}

TEST_F(DeviceSelection, FillingTheSelectorAgainDoesNotAddTheNamesTwice) {
  PopulateDeviceSelector(Context);
  PopulateDeviceSelector(Context);
  EXPECT_EQ(Form.Names.size(), DeviceCatalogue().size());
}

TEST_F(DeviceSelection, TheAt90s8535Gives4096Words512BytesAndItsCode) {
  SelectIndex(12);
  LoadSelectedDevice(Context);
  EXPECT_EQ(State.FlashWords, 4096);
  EXPECT_EQ(State.EepromBytes, 512);
  EXPECT_EQ(State.DeviceCode, 0x68);
}

TEST_F(DeviceSelection, EveryEntryLoadsItsOwnRow) {
  PopulateDeviceSelector(Context);
  int index = 0;
  for (const DeviceEntry& row : DeviceCatalogue()) {
    SCOPED_TRACE(row.DisplayName);
    Form.SetDeviceIndex(index++);
    LoadSelectedDevice(Context);
    EXPECT_EQ(State.FlashWords, row.FlashWords);
    EXPECT_EQ(State.EepromBytes, row.EepromBytes);
    EXPECT_EQ(State.DeviceCode, row.DeviceCode);
  }
}

TEST_F(DeviceSelection, ATextThatIsInNoRowSetsAllThreeToZero) {
  SelectIndex(12);
  LoadSelectedDevice(Context);
  Form.ForcedText = "AT90S9999";
  LoadSelectedDevice(Context);
  EXPECT_EQ(State.FlashWords, 0);
  EXPECT_EQ(State.EepromBytes, 0);
  EXPECT_EQ(State.DeviceCode, 0);
}

TEST_F(DeviceSelection, TheTextIsComparedWithItsCase) {
  SelectIndex(12);
  Form.ForcedText = "at90s8535";
  LoadSelectedDevice(Context);
  EXPECT_EQ(State.FlashWords, 0);
}

TEST_F(DeviceSelection, AnEmptyTextChangesNothing) {
  SelectIndex(12);
  LoadSelectedDevice(Context);
  Form.SetDeviceIndex(-1);
  LoadSelectedDevice(Context);
  EXPECT_EQ(State.FlashWords, 4096);
  EXPECT_EQ(State.EepromBytes, 512);
  EXPECT_EQ(State.DeviceCode, 0x68);
}

TEST_F(DeviceSelection, TheSelectorsOwnIndexIsStoredAsDecimalText) {
  for (const int index : {0, 9, 12}) {
    SelectIndex(index);
    StoreSelectedDevice(Context);
    EXPECT_EQ(Stored("device"), std::to_string(index));
  }
}

TEST_F(DeviceSelection, NoSelectionIsStoredAsMinusOne) {
  SelectIndex(-1);
  StoreSelectedDevice(Context);
  EXPECT_EQ(Stored("device"), "-1");
}

TEST_F(DeviceSelection, TheLabelsCarryTheSizesWithTheBlankOfTheSign) {
  SelectIndex(12);
  LoadSelectedDevice(Context);
  ShowMemorySizes(Context);
  EXPECT_EQ(Form.FlashLabel, "ﾌﾟﾛｸﾞﾗﾑﾒﾓﾘ   : 4096 word");
  EXPECT_EQ(Form.EepromLabel, "EEPROMﾃﾞｰﾀﾒﾓﾘ: 512 byte");
}

TEST_F(DeviceSelection, TheSizesAreNotPadded) {
  SelectIndex(0);
  LoadSelectedDevice(Context);
  ShowMemorySizes(Context);
  EXPECT_EQ(Form.FlashLabel, "ﾌﾟﾛｸﾞﾗﾑﾒﾓﾘ   : 512 word");
  EXPECT_EQ(Form.EepromLabel, "EEPROMﾃﾞｰﾀﾒﾓﾘ: 64 byte");
}

TEST_F(DeviceSelection, TheLabelsOfAnUnknownNameShowTheNumberZero) {
  SelectIndex(3);
  LoadSelectedDevice(Context);
  Form.ForcedText = "something else";
  LoadSelectedDevice(Context);
  ShowMemorySizes(Context);
  EXPECT_EQ(Form.FlashLabel, "ﾌﾟﾛｸﾞﾗﾑﾒﾓﾘ   : 0 word");
  EXPECT_EQ(Form.EepromLabel, "EEPROMﾃﾞｰﾀﾒﾓﾘ: 0 byte");
}

}  // namespace
}  // namespace fenwright::core
