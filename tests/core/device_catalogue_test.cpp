#include "core/device_catalogue.h"

#include "support/prelude.h"

namespace fenwright::core {
namespace {

struct Row {
  int Index;
  std::string Name;
  int FlashWords;
  int EepromBytes;
  int DeviceCode;
  int Family;
  int Part;
};

// Typed on their own, not copied from the source, so that a slip in either shows.
const std::vector<Row> kRows = {
    {0, "ATtiny12L", 512, 64, 0x55, 0x90, 0x05},
    {1, "ATtiny15L", 512, 64, 0x56, 0x90, 0x06},
    {2, "ATtiny26L", 1024, 128, 0x59, 0x91, 0x09},
    {3, "AT90S2323", 1024, 128, 0x48, 0x91, 0x02},
    {4, "AT90S2343", 1024, 128, 0x4C, 0x91, 0x03},
    {5, "AT90S1200 (外部ｸﾛｯｸ)", 512, 64, 0x13, 0x90, 0x01},
    {6, "AT90S1200A(内部RCｸﾛｯｸ1MHz)", 512, 64, 0x13, 0x90, 0x01},
    {7, "AT90S2313", 1024, 128, 0x20, 0x91, 0x01},
    {8, "AT90S4433", 2048, 256, 0x30, 0x92, 0x03},
    {9, "AT90S4414", 2048, 256, 0x28, 0x92, 0x01},
    {10, "AT90S4434", 2048, 256, 0x6C, 0x92, 0x02},
    {11, "AT90S8515", 4096, 512, 0x38, 0x93, 0x01},
    {12, "AT90S8535", 4096, 512, 0x68, 0x93, 0x03},
};

const std::map<std::pair<int, int>, std::string> kChipNames = {
    {{0x90, 0x01}, "AT90S1200"}, {{0x90, 0x02}, ""},          {{0x90, 0x03}, ""},
    {{0x90, 0x04}, "ATtiny11L"}, {{0x90, 0x05}, "ATtiny12L"}, {{0x90, 0x06}, "ATtiny15L"},
    {{0x91, 0x01}, "AT90S2313"}, {{0x91, 0x02}, "AT90S2323"}, {{0x91, 0x03}, "AT90S2343"},
    {{0x91, 0x04}, ""},          {{0x91, 0x05}, ""},          {{0x91, 0x06}, ""},
    {{0x91, 0x07}, ""},          {{0x91, 0x08}, ""},          {{0x91, 0x09}, "ATtiny26L"},
    {{0x92, 0x01}, "AT90S4414"}, {{0x92, 0x02}, "AT90S4434"}, {{0x92, 0x03}, "AT90S4433"},
    {{0x93, 0x01}, "AT90S8515"}, {{0x93, 0x02}, ""},          {{0x93, 0x03}, "AT90S8535"},
};

TEST(DeviceCatalogue, HasThirteenRows) { EXPECT_EQ(DeviceCatalogue().size(), kRows.size()); }

class CatalogueRow : public TestWithParam<Row> {};

TEST_P(CatalogueRow, HoldsTheChipsData) {
  const Row& row = GetParam();
  const DeviceEntry& entry = DeviceCatalogue()[static_cast<std::size_t>(row.Index)];
  EXPECT_EQ(entry.DisplayName, row.Name);
  EXPECT_EQ(entry.FlashWords, row.FlashWords);
  EXPECT_EQ(entry.EepromBytes, row.EepromBytes);
  EXPECT_EQ(entry.DeviceCode, row.DeviceCode);
  EXPECT_EQ(entry.Signature[0], row.Family);
  EXPECT_EQ(entry.Signature[1], row.Part);
}

TEST_P(CatalogueRow, IsFoundByItsDisplayName) {
  const Row& row = GetParam();
  EXPECT_EQ(FindDevice(row.Name), &DeviceCatalogue()[static_cast<std::size_t>(row.Index)]);
}

TEST_P(CatalogueRow, MatchesTheNameThatItsOwnSignatureStandsFor) {
  const Row& row = GetParam();
  const std::string_view found =
      LookUpSignature(static_cast<std::uint8_t>(row.Family), static_cast<std::uint8_t>(row.Part));
  EXPECT_FALSE(found.empty());
  EXPECT_TRUE(NamesSameChip(found, row.Name));
}

TEST_P(CatalogueRow, MatchesNoOtherChipsName) {
  const Row& row = GetParam();
  for (const auto& [pair, name] : kChipNames) {
    if (pair == std::pair(row.Family, row.Part)) continue;
    EXPECT_FALSE(NamesSameChip(name, row.Name)) << name;
  }
}

TEST_P(CatalogueRow, FitsTheBuffersAndFillsWholeDumpLines) {
  const Row& row = GetParam();
  const DeviceEntry& entry = *FindDevice(row.Name);
  EXPECT_LE(2 * entry.FlashWords, 8192);
  EXPECT_LE(entry.EepromBytes, 512);
  EXPECT_EQ(2 * entry.FlashWords % 16, 0);
  EXPECT_EQ(entry.EepromBytes % 16, 0);
}

INSTANTIATE_TEST_SUITE_P(All, CatalogueRow, ValuesIn(kRows),
                         [](const auto& row) { return "Index" + std::to_string(row.param.Index); });

TEST(DeviceCatalogue, ANameThatIsInNoRowFindsNothing) {
  EXPECT_EQ(FindDevice("AT90S9999"), nullptr);
  EXPECT_EQ(FindDevice(""), nullptr);
}

TEST(DeviceCatalogue, TheComparisonIsExactAndMindsTheCase) {
  EXPECT_EQ(FindDevice("at90s8535"), nullptr);
  EXPECT_EQ(FindDevice("AT90S8535 "), nullptr);
  EXPECT_EQ(FindDevice("AT90S853"), nullptr);
  EXPECT_EQ(FindDevice("AT90S1200"), nullptr);
}

TEST(DeviceCatalogue, DisplayNamesAreDistinct) {
  std::set<std::string_view> names;
  for (const DeviceEntry& entry : DeviceCatalogue()) names.insert(entry.DisplayName);
  EXPECT_EQ(names.size(), DeviceCatalogue().size());
}

TEST(DeviceCatalogue, TheTwoAt90s1200RowsDifferInNothingButTheName) {
  const DeviceEntry& external = DeviceCatalogue()[5];
  const DeviceEntry& internal = DeviceCatalogue()[6];
  EXPECT_NE(external.DisplayName, internal.DisplayName);
  EXPECT_EQ(external.FlashWords, internal.FlashWords);
  EXPECT_EQ(external.EepromBytes, internal.EepromBytes);
  EXPECT_EQ(external.DeviceCode, 0x13);
  EXPECT_EQ(internal.DeviceCode, 0x13);
  EXPECT_EQ(external.Signature, internal.Signature);
}

TEST(DeviceCatalogue, TheTiny26sRowIsTheOneThatTheWordCommandIsChosenBy) {
  ASSERT_NE(FindDevice("ATtiny26L"), nullptr);
  EXPECT_EQ(FindDevice("ATtiny26L")->DeviceCode, 0x59);
}

TEST(SignatureTable, NamesExactlyTheListedChipsOfAllPairs) {
  for (int family = 0; family < 256; ++family) {
    for (int part = 0; part < 256; ++part) {
      const auto row = kChipNames.find({family, part});
      const std::string expected = row == kChipNames.end() ? "" : row->second;
      EXPECT_EQ(LookUpSignature(static_cast<std::uint8_t>(family), static_cast<std::uint8_t>(part)),
                expected)
          << family << " " << part;
    }
  }
}

TEST(SignatureTable, TheTiny11IsRecognisedButMatchesNoSelectableChip) {
  EXPECT_EQ(LookUpSignature(0x90, 0x04), "ATtiny11L");
  EXPECT_EQ(FindDevice("ATtiny11L"), nullptr);
  for (const DeviceEntry& entry : DeviceCatalogue()) {
    EXPECT_FALSE(NamesSameChip("ATtiny11L", entry.DisplayName)) << entry.DisplayName;
  }
}

TEST(SignatureTable, BothAt90s1200RowsMatchTheOneNameByItsNineCharacters) {
  EXPECT_TRUE(NamesSameChip("AT90S1200", "AT90S1200 (外部ｸﾛｯｸ)"));
  EXPECT_TRUE(NamesSameChip("AT90S1200", "AT90S1200A(内部RCｸﾛｯｸ1MHz)"));
}

TEST(SignatureTable, APairWithoutANameMatchesNoChip) {
  for (const DeviceEntry& entry : DeviceCatalogue()) {
    EXPECT_FALSE(NamesSameChip(LookUpSignature(0x90, 0x02), entry.DisplayName));
  }
}

}  // namespace
}  // namespace fenwright::core
