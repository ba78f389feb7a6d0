#include "fuse/fuse_words.h"

#include <map>
#include <set>

#include "core/device_catalogue.h"
#include "support/test_run.h"

namespace fenwright::fuse {
namespace {

using screen::FuseList;

/// The defaults of a device, but for what is given.
Selection With(const std::string& device, const std::map<FuseList, int>& chosen) {
  return [device, chosen](FuseList list) {
    if (const auto found = chosen.find(list); found != chosen.end()) return found->second;
    const OptionList* const options = OptionsOf(list, device);
    return options == nullptr ? -1 : options->DefaultIndex;
  };
}

std::vector<ChangedField> Changed(const std::string& device,
                                  const std::map<FuseList, int>& chosen) {
  return ChangedFields(device, With(device, chosen));
}

std::string Words(const std::string& device, FuseList list, int index) {
  const std::vector<ChangedField> changed = Changed(device, {{list, index}});
  return changed.size() == 1 ? changed.front().Words : "(" + std::to_string(changed.size()) + ")";
}

TEST(FuseWords, DefaultsNeedNoWords) {
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    EXPECT_TRUE(Changed(std::string(device.DisplayName), {}).empty()) << device.DisplayName;
  }
  EXPECT_TRUE(Changed("", {}).empty());
}

TEST(FuseWords, EveryOtherItemOfEveryDeviceHasAMeaning) {
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    const std::string name(device.DisplayName);
    for (const FuseList list : kFrameOrder) {
      const OptionList* const options = OptionsOf(list, name);
      const bool shown = list == FuseList::Lock || HasField(LayoutOf(name), list);
      if (!shown || options == nullptr) continue;
      for (int index = 0; index < std::ssize(options->Items); ++index) {
        if (index == options->DefaultIndex) continue;
        EXPECT_THAT(Words(name, list, index), HasSubstr(" : ")) << name << FieldName(list) << index;
      }
    }
  }
}

TEST(FuseWords, AFieldThatTheDeviceDoesNotHaveIsNone) {
  EXPECT_TRUE(Changed("AT90S8515", {{FuseList::Cksel, 3}, {FuseList::Rcen, 1}}).empty());
  EXPECT_TRUE(Changed("ATtiny12L", {{FuseList::Cksel, -1}}).empty());
  EXPECT_TRUE(Changed("ATtiny12L", {{FuseList::Cksel, 16}}).empty());
}

TEST(FuseWords, GivingTheResetPinAwaySaysThatTheBoardCannotReachTheChipAnyMore) {
  EXPECT_EQ(
      Words("ATtiny26L", FuseList::Rstdisabl, 0),
      "RSTDISBL PB7:I/O : リセット端子が入出力端子になり、このボードからは二度とアクセスできない");
  EXPECT_EQ(
      Words("ATtiny12L", FuseList::Rstdisabl, 0),
      "RSTDISBL PB5:I/O : リセット端子が入出力端子になり、このボードからは二度とアクセスできない");
}

TEST(FuseWords, CkoptAndPllckAreToldApart) {
  const std::vector<ChangedField> changed =
      Changed("ATtiny26L", {{FuseList::Ckopt, 0}, {FuseList::Pllck, 0}});
  ASSERT_EQ(changed.size(), 2U);
  EXPECT_THAT(changed[0].Words, StartsWith("CKOPT 0 : "));
  EXPECT_THAT(changed[1].Words, StartsWith("PLLCK 0 : "));
  EXPECT_EQ(changed[0].Default, "1");
}

TEST(FuseWords, WithThePllNoOtherClockSourceIsNamed) {
  const std::vector<ChangedField> changed =
      Changed("ATtiny26L", {{FuseList::Cksel, 15}, {FuseList::Pllck, 0}});
  ASSERT_EQ(changed.size(), 2U);
  EXPECT_EQ(changed[0].Words, "CKSEL 1111");
  EXPECT_EQ(changed[0].Source, "");
  EXPECT_THAT(changed[1].Words, HasSubstr("内蔵PLL"));
}

TEST(FuseWords, ClockSourcesAreThoseOfTheDataSheetsWhichAreNamed) {
  struct Row {
    const char* Device;
    int Index;
    const char* Words;
    const char* Sheet;
  };
  for (const Row& row :
       std::initializer_list<Row>{{"ATtiny12L", 0, "外部クロック入力", "doc1006"},
                                  {"ATtiny12L", 4, "内蔵RC発振器", "doc1006"},
                                  {"ATtiny12L", 7, "外部RC発振", "doc1006"},
                                  {"ATtiny12L", 9, "低周波の水晶", "doc1006"},
                                  {"ATtiny12L", 10, "水晶またはセラミック振動子", "doc1006"},
                                  {"ATtiny26L", 0, "外部クロック入力", "doc1477"},
                                  {"ATtiny26L", 4, "内蔵RC発振器 8 MHz", "doc1477"},
                                  {"ATtiny26L", 8, "外部RC発振", "doc1477"},
                                  {"ATtiny26L", 9, "低周波の水晶", "doc1477"},
                                  {"ATtiny26L", 15, "水晶またはセラミック振動子", "doc1477"}}) {
    const std::vector<ChangedField> changed = Changed(row.Device, {{FuseList::Cksel, row.Index}});
    ASSERT_EQ(changed.size(), 1U);
    EXPECT_THAT(changed.front().Words, EndsWith("クロックは" + std::string(row.Words)));
    EXPECT_THAT(changed.front().Source, HasSubstr(row.Sheet));
  }
}

TEST(FuseWords, WhereTheFieldSelectsTheResetDelayAloneNoClockSourceIsPromised) {
  for (const auto& [index, clock] :
       std::initializer_list<std::pair<int, std::string>>{{0, "外部クロック"},
                                                          {1, "外部クロック"},
                                                          {3, "水晶振動子"},
                                                          {4, "水晶振動子"},
                                                          {5, "セラミック振動子"},
                                                          {7, "セラミック振動子"}}) {
    const std::vector<ChangedField> changed = Changed("AT90S4433", {{FuseList::Cksel, index}});
    ASSERT_EQ(changed.size(), 1U);
    EXPECT_THAT(changed.front().Words, EndsWith("リセット後の待ち時間が" + clock + "向けになる"));
    EXPECT_THAT(changed.front().Source, HasSubstr("doc1042"));
  }
}

}  // namespace
}  // namespace fenwright::fuse
