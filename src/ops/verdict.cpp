#include "ops/verdict.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>

#include "core/device_catalogue.h"
#include "core/hex_format.h"
#include "image/buffers.h"

namespace fenwright::ops {
namespace {

using core::AppState;
using core::Difference;
using core::Sentence;
using Cells = std::vector<std::uint16_t>;

/// Fewer cells than that may show a pattern by chance.
constexpr std::size_t kTelling = 8;
constexpr unsigned kByteBits = 8;
constexpr std::uint16_t kLowByte = 0xFF;

/// One memory as far as a verify has compared it.
struct Compared {
  bool InFlash = true;
  Cells Expected;
  Cells Found;
  std::vector<Difference> Differences;

  [[nodiscard]] std::uint16_t Blank() const { return InFlash ? 0xFFFF : kLowByte; }
  [[nodiscard]] Sentence Name() const {
    return InFlash ? Sentence{"フラッシュ", "the flash"} : Sentence{"EEPROM", "the EEPROM"};
  }
  [[nodiscard]] Sentence Cell() const {
    return InFlash ? Sentence{"ワード", "word"} : Sentence{"バイト", "byte"};
  }
};

std::uint16_t AsWord(std::uint8_t high, std::uint8_t low) {
  return static_cast<std::uint16_t>(high << kByteBits | low);
}

Compared ComparedMemory(const AppState& state, bool in_flash) {
  Compared memory{.InFlash = in_flash, .Expected = {}, .Found = {}, .Differences = {}};
  if (in_flash) {
    const auto words = static_cast<std::size_t>(image::UsedFlashWords(state));
    for (std::size_t word = 0; word < words; ++word) {
      memory.Expected.push_back(
          AsWord(state.FlashBuffer[2 * word], state.FlashBuffer[2 * word + 1]));
    }
  } else {
    const auto& buffer = state.EepromBuffer;
    memory.Expected.assign(buffer.begin(), buffer.begin() + image::UsedEepromBytes(state));
  }
  memory.Found = memory.Expected;
  for (const Difference& difference : state.Command.Differences) {
    const auto address = static_cast<std::size_t>(difference.Address);
    if (difference.InFlash != in_flash || address >= memory.Found.size()) continue;
    memory.Found[address] = difference.Found;
    memory.Differences.push_back(difference);
  }
  return memory;
}

std::string At(std::size_t address) {
  return "0x" + core::HexAddress(static_cast<std::int32_t>(address));
}

std::optional<Sentence> JudgeConstant(const Compared& memory, std::uint16_t value,
                                      const Sentence& end) {
  const bool constant =
      std::ranges::all_of(memory.Found, [value](std::uint16_t found) { return found == value; });
  if (!constant) return std::nullopt;
  const std::string text = core::HexByte(value & kLowByte);
  return Sentence{memory.Name().Japanese + "はすべて " + text + " と読めます。" + end.Japanese,
                  memory.Name().English + " reads " + text + " throughout: " + end.English};
}

std::optional<Sentence> JudgeBlank(const Compared& memory) {
  return JudgeConstant(memory, memory.Blank(),
                       {"書き込まれていないか、デバイスが応答していません。",
                        "it was not written, or no chip answers"});
}

std::optional<Sentence> JudgeZero(const Compared& memory) {
  return JudgeConstant(
      memory, 0,
      {"接触が悪いか、デバイスが応答していません。", "the contacts are bad, or no chip answers"});
}

std::optional<Sentence> JudgeAddresses(const Compared& memory) {
  if (memory.Differences.size() < kTelling) return std::nullopt;
  for (std::size_t address = 0; address < memory.Found.size(); ++address) {
    const auto low = static_cast<std::uint8_t>(address & kLowByte);
    if (memory.Found[address] != (memory.InFlash ? AsWord(low, low) : low)) return std::nullopt;
  }
  return Sentence{memory.Name().Japanese +
                      "の読み出した値がアドレスと同じなので、デバイスはプロテクトされている"
                      "可能性があります。",
                  "every " + memory.Cell().English + " of " + memory.Name().English +
                      " reads as its own address: the device is perhaps locked"};
}

std::uint16_t Swapped(std::uint16_t word) {
  return static_cast<std::uint16_t>(word << kByteBits | word >> kByteBits);
}

std::optional<Sentence> JudgeSwapped(const Compared& memory) {
  if (!memory.InFlash || memory.Differences.size() < kTelling) return std::nullopt;
  if (!std::ranges::equal(memory.Expected, memory.Found, {}, Swapped)) return std::nullopt;
  return Sentence{
      "フラッシュの各ワードは、上位と下位のバイトが入れ替わっています。"
      "ファイルのバイト順を確かめてください。",
      "the two bytes of every word of the flash are exchanged: check the byte order of the file"};
}

/// The cell at the edge has no neighbour to be compared with.
std::optional<Sentence> JudgeShifted(const Compared& memory) {
  if (memory.Differences.size() < kTelling) return std::nullopt;
  const auto& expected = memory.Expected;
  const auto& found = memory.Found;
  const bool up = std::equal(expected.begin(), std::prev(expected.end()), std::next(found.begin()));
  const bool down = std::equal(std::next(expected.begin()), expected.end(), found.begin(),
                               std::prev(found.end()));
  if (up == down) return std::nullopt;
  return Sentence{memory.Name().Japanese + "の内容は、アドレスが 1 " + memory.Cell().Japanese +
                      (up ? "後ろ" : "前") +
                      "にずれています。ファイルの先頭アドレスを"
                      "確かめて、もう一度プログラムしてください。",
                  memory.Name().English + " holds everything one " + memory.Cell().English +
                      (up ? " too high" : " too low") +
                      ": check where the file begins, and program again"};
}

/// A single cell tells nothing until it was read twice; many tell it at once.
std::optional<Sentence> JudgeStuck(const Compared& memory, bool read_twice) {
  const auto& differences = memory.Differences;
  if (differences.size() < kTelling && !read_twice) return std::nullopt;
  const auto mask = static_cast<std::uint16_t>(differences[0].Expected ^ differences[0].Found);
  if (!std::has_single_bit(mask)) return std::nullopt;
  const auto value = static_cast<std::uint16_t>(differences[0].Found & mask);
  const bool one_bit = std::ranges::all_of(differences, [=](const Difference& difference) {
    return (difference.Expected ^ difference.Found) == mask && (difference.Found & mask) == value;
  });
  if (!one_bit) return std::nullopt;
  const std::string bit = std::to_string(std::countr_zero(mask));
  const std::string reads = value == 0 ? "0" : "1";
  const bool everywhere =
      memory.Found.size() >= kTelling &&
      std::ranges::all_of(memory.Found, [=](std::uint16_t cell) { return (cell & mask) == value; });
  if (everywhere) {
    return Sentence{memory.Name().Japanese + "のデータビット " + bit + " は、どのアドレスでも " +
                        reads + " と読めます。デバイスか接触の不良です。",
                    "data bit " + bit + " of " + memory.Name().English + " reads " + reads +
                        " everywhere: the chip or its contacts are bad"};
  }
  const std::string first = At(static_cast<std::size_t>(differences[0].Address));
  return Sentence{memory.Name().Japanese + "の違いはすべてビット " + bit + " で、" + reads +
                      " と読めます (" + first + " から)。デバイスのセルの不良です。",
                  "all that is wrong in " + memory.Name().English + " is bit " + bit +
                      ", which reads " + reads + " (first at " + first +
                      "): the chip has bad cells"};
}

/// From `size` on everything is blank, or the memory begins anew.
bool EndsAt(const Compared& memory, std::size_t size, bool repeats) {
  for (std::size_t address = size; address < memory.Found.size(); ++address) {
    const std::uint16_t wanted = repeats ? memory.Found[address % size] : memory.Blank();
    if (memory.Found[address] != wanted) return false;
  }
  return true;
}

/// The largest memory of any chip that fits below the first difference.
struct SmallerMemory {
  std::size_t Size = 0;
  bool Repeats = false;
};

SmallerMemory FindSmallerMemory(const Compared& memory, std::size_t first) {
  SmallerMemory largest;
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    const auto size =
        static_cast<std::size_t>(memory.InFlash ? device.FlashWords : device.EepromBytes);
    if (size <= largest.Size || size > first) continue;
    const bool blank = EndsAt(memory, size, false);
    if (blank || EndsAt(memory, size, true)) largest = {.Size = size, .Repeats = !blank};
  }
  return largest;
}

std::optional<Sentence> JudgeBeyond(const Compared& memory) {
  if (memory.Differences.size() < kTelling) return std::nullopt;
  const auto first = static_cast<std::size_t>(memory.Differences[0].Address);
  if (first == 0) return std::nullopt;
  const SmallerMemory smaller = FindSmallerMemory(memory, first);
  if (smaller.Size == 0 && !EndsAt(memory, first, false)) return std::nullopt;
  const std::string from = At(smaller.Size == 0 ? first : smaller.Size);
  const Sentence what = smaller.Repeats
                            ? Sentence{"初めの内容の繰り返しです。", "is its beginning once more"}
                            : Sentence{"すべて FF です。", "reads FF"};
  const Sentence why =
      smaller.Size == 0
          ? Sentence{"そこから先は書き込まれていません。", "the rest was not written"}
          : Sentence{"デバイスのメモリーが、選択したデバイスより小さい可能性があります。",
                     "perhaps the chip has less memory than the selected device"};
  return Sentence{memory.Name().Japanese + "は " + from + " の手前まで一致し、その先は" +
                      what.Japanese + why.Japanese,
                  memory.Name().English + " is right below " + from + " and from there on " +
                      what.English + ": " + why.English};
}

Sentence DescribeNoPattern(const Compared& memory, bool read_twice) {
  const Sentence why =
      read_twice ? Sentence{"二回読んでも同じです。別の内容が書き込まれているか、セルの不良です。",
                            "read the same twice: the chip holds something else, or has bad cells"}
                 : Sentence{"接触の不良、別の内容、セルの不良が考えられます。",
                            "were read once: bad contacts, another content, or bad cells"};
  return {memory.Name().Japanese + "の違いに規則はありません。" + why.Japanese,
          "the differences of " + memory.Name().English + " have no pattern and " + why.English};
}

Verdict Judge(const Compared& memory, bool read_twice) {
  const auto is = [](VerdictKind kind, const std::optional<Sentence>& text) {
    return text ? Verdict{.Kind = kind, .Text = *text} : Verdict{};
  };
  for (const Verdict& verdict : {is(VerdictKind::ReadsBlank, JudgeBlank(memory)),
                                 is(VerdictKind::ReadsZero, JudgeZero(memory)),
                                 is(VerdictKind::ReadsAddresses, JudgeAddresses(memory)),
                                 is(VerdictKind::BytesSwapped, JudgeSwapped(memory)),
                                 is(VerdictKind::ShiftedByOne, JudgeShifted(memory)),
                                 is(VerdictKind::BitStuck, JudgeStuck(memory, read_twice)),
                                 is(VerdictKind::WrongBeyond, JudgeBeyond(memory))}) {
    if (verdict.Kind != VerdictKind::None) return verdict;
  }
  return {.Kind = VerdictKind::NoPattern,
          .Text = DescribeNoPattern(memory, read_twice),
          .NeedsSecondReading = !read_twice};
}

Verdict JudgeBoth(const AppState& state, bool read_twice) {
  Verdict both;
  if (!state.Command.VerifyFinished) return both;
  for (const bool in_flash : {true, false}) {
    const Compared memory = ComparedMemory(state, in_flash);
    if (memory.Differences.empty()) continue;
    const Verdict verdict = Judge(memory, read_twice);
    const bool first = both.Kind == VerdictKind::None;
    if (first || both.Kind == VerdictKind::NoPattern) both.Kind = verdict.Kind;
    both.Text.Japanese += verdict.Text.Japanese;
    both.Text.English += (first ? "" : "; ") + verdict.Text.English;
    both.NeedsSecondReading = both.NeedsSecondReading || verdict.NeedsSecondReading;
  }
  return both;
}

/// The places of the differences that gave another value the second time.
std::vector<std::string> UnstablePlaces(std::span<const Difference> once,
                                        std::span<const Difference> again) {
  std::vector<std::string> places;
  for (std::size_t i = 0; i < std::min(once.size(), again.size()); ++i) {
    if (once[i].Found == again[i].Found) continue;
    places.push_back((once[i].InFlash ? "flash " : "EEPROM ") +
                     At(static_cast<std::size_t>(once[i].Address)));
  }
  return places;
}

Verdict DescribeUnstable(const std::vector<std::string>& places, std::size_t differences) {
  constexpr std::size_t kMost = 8;
  std::string list;
  for (std::size_t i = 0; i < std::min(kMost, places.size()); ++i) {
    list += (i == 0 ? "" : ", ") + places[i];
  }
  if (places.size() > kMost) list += ", ...";
  const std::string count = std::to_string(places.size());
  const std::string all = std::to_string(differences);
  return {.Kind = VerdictKind::Unstable,
          .Text = {"一致しない " + all + " か所のうち " + count +
                       " か所は、二回目に違う値が読めました (" + list +
                       ")。接触とケーブルを確かめてください。",
                   count + " of " + all + " differing cells gave another value when read again (" +
                       list + "): check the contacts and the cable"}};
}

char SignOf(std::size_t wrong, std::size_t cells) {
  if (wrong == 0) return '.';
  return wrong == cells ? '#' : '+';
}

void DrawMemory(const Compared& memory, core::Language language, std::vector<std::string>& lines) {
  constexpr std::size_t kSignsPerLine = 64;
  constexpr std::size_t kMostSigns = 16 * kSignsPerLine;
  std::size_t cells_per_sign = 1;
  while (cells_per_sign * kMostSigns < memory.Found.size()) cells_per_sign *= 2;
  const std::string count = std::to_string(cells_per_sign);
  const Sentence heading{memory.Name().Japanese + " (1 文字が " + count + " " +
                             memory.Cell().Japanese + "): . 一致  + 一部が違う  # 違う",
                         std::string(memory.InFlash ? "flash" : "EEPROM") + ", a sign for " +
                             count + " " + memory.Cell().English +
                             (cells_per_sign == 1 ? "" : "s") + ": . right  + some wrong  # wrong"};
  lines.push_back(heading.In(language));
  for (std::size_t start = 0; start < memory.Found.size(); start += cells_per_sign) {
    const std::size_t end = std::min(start + cells_per_sign, memory.Found.size());
    std::size_t wrong = 0;
    for (std::size_t cell = start; cell < end; ++cell) {
      if (memory.Found[cell] != memory.Expected[cell]) ++wrong;
    }
    if (start % (cells_per_sign * kSignsPerLine) == 0) lines.push_back(At(start) + "  ");
    lines.back() += SignOf(wrong, end - start);
  }
}

}  // namespace

std::string_view WordOf(VerdictKind kind) {
  switch (kind) {
    case VerdictKind::ReadsBlank:
      return "reads-blank";
    case VerdictKind::ReadsZero:
      return "reads-zero";
    case VerdictKind::ReadsAddresses:
      return "reads-addresses";
    case VerdictKind::BytesSwapped:
      return "bytes-swapped";
    case VerdictKind::ShiftedByOne:
      return "shifted-by-one";
    case VerdictKind::BitStuck:
      return "bit-stuck";
    case VerdictKind::WrongBeyond:
      return "wrong-beyond";
    case VerdictKind::Unstable:
      return "unstable-reading";
    case VerdictKind::NoPattern:
      return "no-pattern";
    case VerdictKind::None:
      break;
  }
  return "";
}

Verdict Diagnose(const AppState& state) { return JudgeBoth(state, false); }

Verdict Diagnose(const AppState& state, std::span<const Difference> again) {
  const auto& once = state.Command.Differences;
  const std::vector<std::string> places = UnstablePlaces(once, again);
  if (!places.empty()) return DescribeUnstable(places, once.size());
  return JudgeBoth(state, true);
}

std::vector<std::string> DrawMemoryMap(const AppState& state, core::Language language) {
  std::vector<std::string> lines;
  for (const bool in_flash : {true, false}) {
    const Compared memory = ComparedMemory(state, in_flash);
    if (!memory.Differences.empty()) DrawMemory(memory, language, lines);
  }
  return lines;
}

}  // namespace fenwright::ops
