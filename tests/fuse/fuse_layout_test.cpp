// What the frame shows for every device, and how it is rebuilt.

#include "fuse/fuse_layout.h"

#include "fuse/fuse_devices.h"

namespace fenwright::fuse {
namespace {

using Items = std::vector<std::string>;

const Items kFourBits{"0000", "0001", "0010", "0011", "0100", "0101", "0110", "0111",
                      "1000", "1001", "1010", "1011", "1100", "1101", "1110", "1111"};
const Items kThreeBits{"000", "001", "010", "011", "100", "101", "110", "111"};
const Items kTwoBits{"00", "01", "10", "11"};
const Items kEnable{"Enable", "Disable"};
const Items kOneBit{"0", "1"};
const Items kLock{"書込み & ベリファイ 禁止", "書込み禁止", "プロテクトなし"};

struct Shown {
  Items Texts;
  int Index;
};

/// The lists that a device has; every other one shows "-".
using Lists = std::map<FuseList, Shown>;

struct ShownLists {
  Lists Fields;
  std::string Calibration;
  bool Read;
  std::string ByteLine;
};

const std::map<std::string, ShownLists>& ListsOfDevices() {
  static const ShownLists lock_only{{}, "-", false, "Lock 0xFF"};
  static const ShownLists fstrt{{{Fstrt, {kEnable, 0}}}, "-", true, "Fuse 0xBE  Lock 0xFF"};
  static const std::map<std::string, ShownLists> rows{
      {"ATtiny12L",
       {{{Cksel, {kFourBits, 2}},
         {Boden, {kEnable, 1}},
         {Bodlevel, {{"2.7V", "1.8V"}, 1}},
         {Rstdisabl, {{"PB5:I/O", "PB5:Reset"}, 1}}},
        "?",
        true,
        "Fuse 0xD2  Lock 0xFF"}},
      {"ATtiny15L",
       {{{Cksel, {kTwoBits, 0}},
         {Boden, {kEnable, 1}},
         {Bodlevel, {{"4.0V", "2.7V"}, 1}},
         {Rstdisabl, {{"PB5:I/O", "PB5:Reset"}, 1}}},
        "?",
        true,
        "Fuse 0xD6  Lock 0xFF"}},
      {"ATtiny26L",
       {{{Cksel, {kFourBits, 1}},
         {Sut, {kTwoBits, 2}},
         {Ckopt, {kOneBit, 1}},
         {Pllck, {kOneBit, 1}},
         {Boden, {kEnable, 1}},
         {Bodlevel, {{"4.0V", "2.7V"}, 1}},
         {Eesave, {kEnable, 1}},
         {Rstdisabl, {{"PB7:I/O", "PB7:Reset"}, 1}}},
        "?",
        true,
        "Fuse 0xE1  High 0xF7  Lock 0xFF"}},
      {"AT90S2323", fstrt},
      {"AT90S2343", {{{Rcen, {kEnable, 0}}}, "-", true, "Fuse 0xBE  Lock 0xFF"}},
      {"AT90S1200 (外部ｸﾛｯｸ)", lock_only},
      {"AT90S1200A(内部RCｸﾛｯｸ1MHz)", lock_only},
      {"AT90S2313", lock_only},
      {"AT90S4433",
       {{{Cksel, {kThreeBits, 2}}, {Boden, {kEnable, 1}}, {Bodlevel, {{"4.0V", "2.7V"}, 1}}},
        "-",
        true,
        "Fuse 0xBA  Lock 0xFF"}},
      {"AT90S4414", lock_only},
      {"AT90S4434", fstrt},
      {"AT90S8515", lock_only},
      {"AT90S8535", fstrt}};
  return rows;
}

void ExpectShown(const FakeFuseForm& form, const ShownLists& row) {
  Lists lists = row.Fields;
  lists[Lock] = {kLock, 2};
  for (const FuseList list : kAllLists) {
    SCOPED_TRACE(static_cast<int>(list));
    const auto wanted = lists.find(list);
    const auto& shown = form.Lists.at(list);
    EXPECT_EQ(shown.Items, wanted == lists.end() ? Items{"-"} : wanted->second.Texts);
    EXPECT_EQ(shown.Index, wanted == lists.end() ? 0 : wanted->second.Index);
    EXPECT_EQ(shown.Enabled, wanted != lists.end());
  }
  EXPECT_EQ(form.Calibration, row.Calibration);
  EXPECT_TRUE(form.LockListVisible);
  EXPECT_EQ(form.ReadEnabled, row.Read);
  EXPECT_TRUE(form.WriteEnabled);
  EXPECT_EQ(form.ByteLine, row.ByteLine);
  EXPECT_TRUE(form.FrameVisible);
}

TEST_ON(ScriptedTest, FuseLayoutOf, EveryDeviceHasItsListsItemsDefaultsAndButtons) {
  for (const std::string& device : AllDevices()) {
    SCOPED_TRACE(device);
    ScriptedRun run;
    run.Select(run.Context, device);
    ExpectShown(run.Fuses, ListsOfDevices().at(device));
  }
}

TEST_ON(ScriptedTest, FuseLayoutOf, EveryChangeOfDeviceResetsAllFieldsWhateverWasChosenBefore) {
  for (const std::string& from : AllDevices()) {
    for (const std::string& to : AllDevices()) {
      SCOPED_TRACE(from + " to " + to);
      Select(Context, from);
      for (const FuseList list : kAllLists) Fuses.Select(list, 0);
      Fuses.SetCalibrationText("0x6B");
      Select(Context, to);
      ExpectShown(Fuses, ListsOfDevices().at(to));
    }
  }
}

TEST_ON(ScriptedTest, FuseLayoutOf, TheListsAreBuiltInTheirOrderWithTheFrameHidden) {
  Select(Context, "ATtiny26L");
  Fuses.Calls.clear();
  ApplyFuseLayout(Context);
  std::vector<std::string> steps;
  for (const auto& [name, list] : Fuses.Calls) {
    if (name == "items") steps.push_back(std::to_string(static_cast<int>(*list)));
    if (name != "items" && name != "select") steps.push_back(name);
  }
  const auto at = [](FuseList list) { return std::to_string(static_cast<int>(list)); };
  EXPECT_EQ(steps,
            (Texts{"hide", at(Fstrt), at(Rcen), at(Rstdisabl), at(Boden), at(Bodlevel), at(Cksel),
                   "calibration", at(Lock), at(Eesave), at(Pllck), at(Ckopt), at(Sut), "show"}));
}

TEST_ON(ScriptedTest, FuseLayoutOf, WithAnEmptySelectorNothingChanges) {
  Select(Context, "ATtiny12L");
  Fuses.Select(Cksel, 7);
  Form.ForcedText = "";
  Fuses.Calls.clear();
  ApplyFuseLayout(Context);
  EXPECT_TRUE(Fuses.Calls.empty());
  EXPECT_EQ(Fuses.Lists[Cksel].Index, 7);
  EXPECT_EQ(State.FlashWords, 512);
  EXPECT_EQ(State.DeviceCode, 0x55);
}

TEST_ON(ScriptedTest, FuseLayoutOf, ANameThatIsNoDeviceHasNoFieldNoLockListAndNoButton) {
  for (const char* name : {"ATtiny11L", "AT90S2333", "at90s8515", "ATtiny12L "}) {
    SCOPED_TRACE(name);
    ScriptedRun run;
    run.Select(run.Context, "ATtiny26L");
    run.Form.ForcedText = name;
    ApplyFuseLayout(run.Context);
    EXPECT_EQ(run.State.FlashWords, 0);
    EXPECT_EQ(run.State.EepromBytes, 0);
    EXPECT_EQ(run.State.DeviceCode, 0);
    for (const FuseList list : kAllLists) {
      EXPECT_EQ(run.Fuses.Lists.at(list).Items, Items{"-"});
      EXPECT_FALSE(run.Fuses.Lists.at(list).Enabled);
    }
    EXPECT_EQ(run.Fuses.Calibration, "-");
    EXPECT_FALSE(run.Fuses.LockListVisible);
    EXPECT_FALSE(run.Fuses.ReadEnabled);
    EXPECT_FALSE(run.Fuses.WriteEnabled);
    EXPECT_TRUE(run.Fuses.FrameVisible);
    EXPECT_EQ(run.Fuses.ByteLine, "");
  }
}

TEST_ON(ScriptedTest, FuseLayoutOf, TheListsKnowAChipThatTheSelectorNeverOffers) {
  Form.ForcedText = "AT90S2333";
  for (const FuseList list : {Boden, Bodlevel, Cksel}) {
    BuildFuseList(Context, list, true);
    EXPECT_TRUE(Fuses.Lists[list].Enabled);
  }
  EXPECT_EQ(Fuses.Lists[Boden].Items, kEnable);
  EXPECT_EQ(Fuses.Lists[Boden].Index, 1);
  EXPECT_EQ(Fuses.Lists[Bodlevel].Items, (Items{"4.0V", "2.7V"}));
  EXPECT_EQ(Fuses.Lists[Bodlevel].Index, 1);
  EXPECT_EQ(Fuses.Lists[Cksel].Items, kThreeBits);
  EXPECT_EQ(Fuses.Lists[Cksel].Index, 2);
}

TEST_ON(ScriptedTest, FuseLayoutOf, AListThatDependsOnTheDeviceShowsNoFieldForAnUnknownOne) {
  Form.ForcedText = "AT90S8515";
  for (const FuseList list : {Boden, Bodlevel, Cksel}) {
    BuildFuseList(Context, list, true);
    EXPECT_EQ(Fuses.Lists[list].Items, Items{"-"});
    EXPECT_FALSE(Fuses.Lists[list].Enabled);
  }
}

TEST_ON(ScriptedTest, FuseLayoutOf, ADeviceWithoutReadableFusesKeepsItsLockList) {
  Select(Context, "AT90S2313");
  EXPECT_EQ(Fuses.Lists[Lock].Text(), "プロテクトなし");
  EXPECT_TRUE(Fuses.Lists[Lock].Enabled);
  EXPECT_FALSE(Fuses.ReadEnabled);
  EXPECT_EQ(Fuses.Lists[Cksel].Text(), "-");
}

TEST_ON(ScriptedTest, FuseLayoutOf, FromATiny12ToATiny26TheResetPinChangesItsName) {
  Select(Context, "ATtiny12L");
  EXPECT_EQ(Fuses.Lists[Rstdisabl].Text(), "PB5:Reset");
  Select(Context, "ATtiny26L");
  EXPECT_EQ(Fuses.Lists[Rstdisabl].Items, (Items{"PB7:I/O", "PB7:Reset"}));
  EXPECT_EQ(Fuses.Lists[Rstdisabl].Text(), "PB7:Reset");
}

}  // namespace
}  // namespace fenwright::fuse
