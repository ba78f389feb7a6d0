#include "board/chip_models.h"

#include "support/prelude.h"

namespace fenwright::board {
namespace {

struct Row {
  const char* Name;
  int Code;
  std::array<std::uint8_t, 3> Signature;
  std::uint32_t FlashWords;
  std::uint32_t EepromBytes;
};

const std::vector<Row> kRows{
    {"ATtiny12L", 0x55, {0x1E, 0x90, 0x05}, 512, 64},
    {"ATtiny15L", 0x56, {0x1E, 0x90, 0x06}, 512, 64},
    {"ATtiny26L", 0x59, {0x1E, 0x91, 0x09}, 1024, 128},
    {"AT90S2323", 0x48, {0x1E, 0x91, 0x02}, 1024, 128},
    {"AT90S2343", 0x4C, {0x1E, 0x91, 0x03}, 1024, 128},
    {"AT90S1200 (外部ｸﾛｯｸ)", 0x13, {0x1E, 0x90, 0x01}, 512, 64},
    {"AT90S1200A(内部RCｸﾛｯｸ1MHz)", 0x13, {0x1E, 0x90, 0x01}, 512, 64},
    {"AT90S2313", 0x20, {0x1E, 0x91, 0x01}, 1024, 128},
    {"AT90S4433", 0x30, {0x1E, 0x92, 0x03}, 2048, 256},
    {"AT90S4414", 0x28, {0x1E, 0x92, 0x01}, 2048, 256},
    {"AT90S4434", 0x6C, {0x1E, 0x92, 0x02}, 2048, 256},
    {"AT90S8515", 0x38, {0x1E, 0x93, 0x01}, 4096, 512},
    {"AT90S8535", 0x68, {0x1E, 0x93, 0x03}, 4096, 512},
};

TEST(ChipModels, ThirteenProgrammableChipsStandInTheOrderOfTheSelector) {
  ASSERT_EQ(ChipModels().size(), kRows.size() + 2);
  for (std::size_t i = 0; i < kRows.size(); ++i) {
    const ChipModel& model = ChipModels()[i];
    SCOPED_TRACE(kRows[i].Name);
    EXPECT_EQ(model.Name, kRows[i].Name);
    EXPECT_EQ(model.DeviceCode, kRows[i].Code);
    EXPECT_EQ(model.Signature, kRows[i].Signature);
    EXPECT_EQ(model.FlashWords, kRows[i].FlashWords);
    EXPECT_EQ(model.EepromBytes, kRows[i].EepromBytes);
    EXPECT_TRUE(model.Present);
  }
}

TEST(ChipModels, TheTiny11AndTheEmptySocketHaveNoDeviceCode) {
  const ChipModel* tiny11 = FindChip("ATtiny11L");
  ASSERT_NE(tiny11, nullptr);
  EXPECT_FALSE(tiny11->DeviceCode.has_value());
  EXPECT_EQ(tiny11->Signature, (std::array<std::uint8_t, 3>{0x1E, 0x90, 0x04}));
  EXPECT_EQ(tiny11->FlashWords, 512U);
  EXPECT_EQ(tiny11->EepromBytes, 0U);
  const ChipModel* empty = FindChip("empty");
  ASSERT_NE(empty, nullptr);
  EXPECT_FALSE(empty->DeviceCode.has_value());
  EXPECT_FALSE(empty->Present);
}

TEST(ChipModels, ProtectedFuseBitsOfEveryRowLieOutsideTheChangeableOnes) {
  for (const ChipModel& model : ChipModels()) {
    SCOPED_TRACE(std::string(model.Name));
    EXPECT_EQ(model.Fuses == FuseAccess::None, model.FuseLowMask == 0);
    EXPECT_EQ(model.Fuses == FuseAccess::LowAndHigh, model.FuseHighMask != 0);
    EXPECT_EQ(model.ResetDisableLow & model.FuseLowMask, model.ResetDisableLow);
    EXPECT_EQ(model.ResetDisableHigh & model.FuseHighMask, model.ResetDisableHigh);
    EXPECT_EQ(model.EepromSaveHigh & model.FuseHighMask, model.EepromSaveHigh);
    EXPECT_TRUE(model.CalibrationCount == 0 || model.CalibrationCount == 1 ||
                model.CalibrationCount == 4);
  }
}

TEST(ChipModels, EveryExactNameIsFound) {
  for (const ChipModel& model : ChipModels()) {
    EXPECT_EQ(FindChip(model.Name), &model);
  }
}

TEST(ChipModels, TheTextBeforeABlankOrParenthesisNamesAChip) {
  ASSERT_NE(FindChip("AT90S1200"), nullptr);
  EXPECT_EQ(FindChip("AT90S1200")->Name, "AT90S1200 (外部ｸﾛｯｸ)");
  ASSERT_NE(FindChip("AT90S1200A"), nullptr);
  EXPECT_EQ(FindChip("AT90S1200A")->Name, "AT90S1200A(内部RCｸﾛｯｸ1MHz)");
}

TEST(ChipModels, APartOfOneNameNamesAChip) {
  ASSERT_NE(FindChip("8515"), nullptr);
  EXPECT_EQ(FindChip("8515")->Name, "AT90S8515");
  ASSERT_NE(FindChip("tiny26"), nullptr);
  EXPECT_EQ(FindChip("tiny26")->Name, "ATtiny26L");
}

TEST(ChipModels, UnknownAndAmbiguousNamesAreNotFound) {
  for (const char* name : {"AT90S", "12", "1200", "ATmega8", "", "at90s8515"}) {
    EXPECT_EQ(FindChip(name), nullptr) << name;
  }
}

TEST(ChipModels, EveryDeviceCodeFindsItsChip) {
  for (const Row& row : kRows) {
    const ChipModel* model = FindChipByCode(static_cast<std::uint8_t>(row.Code));
    ASSERT_NE(model, nullptr) << row.Name;
    EXPECT_EQ(model->Signature, row.Signature);
  }
  EXPECT_EQ(FindChipByCode(0x00), nullptr);
  EXPECT_EQ(FindChipByCode(0xFF), nullptr);
}

TEST(ChipModels, TheListOfNamesHasALineForEachChip) {
  const std::string names = ListChipNames();
  for (const ChipModel& model : ChipModels()) {
    EXPECT_THAT("\n" + names, HasSubstr("\n" + std::string(model.Name) + "\n"));
  }
}

}  // namespace
}  // namespace fenwright::board
