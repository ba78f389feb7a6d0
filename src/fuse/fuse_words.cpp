#include "fuse/fuse_words.h"

#include <algorithm>
#include <cstddef>
#include <span>

namespace fenwright::fuse {
namespace {

using screen::FuseList;

constexpr std::string_view kTiny12Sheet =
    "ATtiny11/12 data sheet (doc1006), device clocking options";
constexpr std::string_view kTiny26Sheet = "ATtiny26 data sheet (doc1477), device clocking options";
constexpr std::string_view k4433Sheet = "AT90S4433 data sheet (doc1042), reset delay selections";
constexpr std::string_view k2323Sheet = "AT90S2323/2343 data sheet (doc1004), fuse bits";
constexpr std::string_view k8535Sheet = "AT90S8535 data sheet (doc1041), fuse bits";
constexpr std::string_view kTiny12Fuses = "ATtiny11/12 data sheet (doc1006), fuse bits";
constexpr std::string_view kTiny15Fuses = "ATtiny15L data sheet (doc1187), fuse bits";
constexpr std::string_view kTiny26Fuses = "ATtiny26 data sheet (doc1477), fuse bits";

/// What the items of a list from one position to another do, on one device. Without a device it is
/// a row for every device that has none of its own.
struct WordRow {
  FuseList List;
  std::string_view Device;
  int First;
  int Last;
  std::string_view Words;
  std::string_view Source;
};

// Only what the data sheets say beyond doubt. (The AT90S4433's table gives times, and names the
// clocks that it recommends them for: there the field selects no clock.) A start-up time depends on
// the clock and on the supply, so it is named as what it is and not in milliseconds.
constexpr auto kWords = std::to_array<WordRow>({
    {FuseList::Cksel, "ATtiny12L", 0, 1, "クロックは外部クロック入力", kTiny12Sheet},
    {FuseList::Cksel, "ATtiny12L", 2, 4, "クロックは内蔵RC発振器", kTiny12Sheet},
    {FuseList::Cksel, "ATtiny12L", 5, 7, "クロックは外部RC発振", kTiny12Sheet},
    {FuseList::Cksel, "ATtiny12L", 8, 9, "クロックは低周波の水晶", kTiny12Sheet},
    {FuseList::Cksel, "ATtiny12L", 10, 15, "クロックは水晶またはセラミック振動子", kTiny12Sheet},

    {FuseList::Cksel, "ATtiny15L", 0, 3,
     "リセット後の待ち時間が変わる。00 と 10、01 と 11 はそれぞれ同じ値を書く", ""},

    {FuseList::Cksel, "ATtiny26L", 0, 0, "クロックは外部クロック入力", kTiny26Sheet},
    {FuseList::Cksel, "ATtiny26L", 1, 1, "クロックは内蔵RC発振器 1 MHz", kTiny26Sheet},
    {FuseList::Cksel, "ATtiny26L", 2, 2, "クロックは内蔵RC発振器 2 MHz", kTiny26Sheet},
    {FuseList::Cksel, "ATtiny26L", 3, 3, "クロックは内蔵RC発振器 4 MHz", kTiny26Sheet},
    {FuseList::Cksel, "ATtiny26L", 4, 4, "クロックは内蔵RC発振器 8 MHz", kTiny26Sheet},
    {FuseList::Cksel, "ATtiny26L", 5, 8, "クロックは外部RC発振", kTiny26Sheet},
    {FuseList::Cksel, "ATtiny26L", 9, 9, "クロックは低周波の水晶", kTiny26Sheet},
    {FuseList::Cksel, "ATtiny26L", 10, 15, "クロックは水晶またはセラミック振動子", kTiny26Sheet},

    {FuseList::Cksel, "AT90S4433", 0, 1, "リセット後の待ち時間が外部クロック向けになる",
     k4433Sheet},
    {FuseList::Cksel, "AT90S4433", 2, 4, "リセット後の待ち時間が水晶振動子向けになる", k4433Sheet},
    {FuseList::Cksel, "AT90S4433", 5, 7, "リセット後の待ち時間がセラミック振動子向けになる",
     k4433Sheet},

    {FuseList::Sut, "", 0, 3, "リセット後の待ち時間が変わる", kTiny26Fuses},
    {FuseList::Boden, "", 0, 0, "電源電圧が下がるとリセットする (BOD 有効)", ""},
    {FuseList::Bodlevel, "", 0, 1, "BOD がリセットする電圧が変わる", ""},
    {FuseList::Ckopt, "", 0, 0, "発振回路の設定が変わる (CKOPT をプログラム)", kTiny26Fuses},
    {FuseList::Pllck, "", 0, 0, "クロックは内蔵PLL。CKSEL 0001 と組み合わせる", kTiny26Sheet},
    {FuseList::Eesave, "", 0, 0, "イレースしても EEPROM の内容が残る", kTiny26Fuses},
    {FuseList::Rstdisabl, "ATtiny12L", 0, 0,
     "リセット端子が入出力端子になり、このボードからは二度とアクセスできない", kTiny12Fuses},
    {FuseList::Rstdisabl, "ATtiny15L", 0, 0,
     "リセット端子が入出力端子になり、このボードからは二度とアクセスできない", kTiny15Fuses},
    {FuseList::Rstdisabl, "ATtiny26L", 0, 0,
     "リセット端子が入出力端子になり、このボードからは二度とアクセスできない", kTiny26Fuses},
    {FuseList::Fstrt, "AT90S2323", 1, 1, "リセット後の待ち時間が長くなる", k2323Sheet},
    {FuseList::Fstrt, "", 1, 1, "リセット後の待ち時間が長くなる", k8535Sheet},
    {FuseList::Rcen, "", 1, 1, "内蔵RC発振器が止まり、クロックは外部クロック入力", k2323Sheet},
    {FuseList::Lock, "", 0, 0, "以後、書き込みも読み出しもできない。イレースで元に戻る", ""},
    {FuseList::Lock, "", 1, 1, "以後、書き込みはできない。イレースで元に戻る", ""},
});

const WordRow* RowOf(FuseList list, std::string_view device, int index) {
  const auto find = [&](std::string_view name) -> const WordRow* {
    const auto* const row = std::ranges::find_if(kWords, [&](const WordRow& candidate) {
      return candidate.List == list && candidate.Device == name && candidate.First <= index &&
             index <= candidate.Last;
    });
    return row == kWords.end() ? nullptr : row;
  };
  const WordRow* const own = find(device);
  return own ? own : find("");
}

/// As the data sheets spell it; the program's own name of the reset pin's list is another.
std::string_view SheetName(FuseList list) {
  switch (list) {
    case FuseList::Rstdisabl:
      return "RSTDISBL";
    case FuseList::Lock:
      return "Lock";
    default:
      return FieldName(list);
  }
}

bool IsShown(const FuseLayout& layout, FuseList list) {
  return list == FuseList::Lock ? layout.LockListVisible : HasField(layout, list);
}

}  // namespace

std::vector<ChangedField> ChangedFields(std::string_view display_name, const Selection& selected) {
  const FuseLayout& layout = LayoutOf(display_name);
  std::vector<ChangedField> changed;
  for (const FuseList list : kFrameOrder) {
    const OptionList* const options = OptionsOf(list, display_name);
    if (!IsShown(layout, list) || options == nullptr) continue;
    const int index = selected(list);
    const bool listed = index >= 0 && static_cast<std::size_t>(index) < options->Items.size();
    if (!listed || index == options->DefaultIndex) continue;
    // With PLLCK programmed the table of the clock sources does not hold.
    const bool from_pll = list == FuseList::Cksel && HasField(layout, FuseList::Pllck) &&
                          selected(FuseList::Pllck) == 0;
    const WordRow* const row = from_pll ? nullptr : RowOf(list, display_name, index);
    const std::string item(options->Items[static_cast<std::size_t>(index)]);
    const std::string name = std::string(SheetName(list)) + " " + item;
    changed.push_back(
        {.List = list,
         .Default = std::string(options->Items[static_cast<std::size_t>(options->DefaultIndex)]),
         .Words = row ? name + " : " + std::string(row->Words) : name,
         .Source = row ? std::string(row->Source) : ""});
  }
  return changed;
}

}  // namespace fenwright::fuse
