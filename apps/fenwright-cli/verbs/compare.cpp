#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "code_files.h"
#include "device_run.h"
#include "fuse_check.h"
#include "ops/commands.h"
#include "ops/outcome.h"
#include "ops/trouble.h"
#include "safety_copy.h"
#include "text.h"
#include "verbs.h"

namespace fenwright::cli {
namespace {

/// As a side: what is in the socket. A file of that name is ./chip.
constexpr const char* kChipSide = "chip";

/// A name that ends so is the description of a safety copy.
constexpr const char* kCopyEnd = ".json";

struct CompareOptions {
  std::string First;
  std::string Second;
  std::string Format;
  bool NoData = false;
  bool Force = false;
  bool All = false;
};

/// What one side holds, in the order of the engine's buffers.
struct SideContent {
  std::string Name;
  std::vector<std::uint8_t> Flash;
  std::vector<std::uint8_t> Eeprom;
  bool HasEeprom = false;
  FuseBytes Fuses;  ///< none for a file
  std::vector<std::uint8_t> Calibration;
};

/// A memory of both sides, cell by cell.
struct MemoryPair {
  bool InFlash = true;
  std::vector<std::uint16_t> First;
  std::vector<std::uint16_t> Second;

  [[nodiscard]] std::size_t Size() const { return First.size(); }
  [[nodiscard]] bool Differs(std::size_t cell) const { return First[cell] != Second[cell]; }
  [[nodiscard]] const char* Name() const { return InFlash ? "flash" : "EEPROM"; }
};

SideContent TakeBuffers(const core::AppState& state, const std::string& name) {
  return {.Name = name, .Flash = state.FlashBuffer, .Eeprom = state.EepromBuffer};
}

/// Findings of both files stand in one list.
ExitCode LoadFileSide(Session& session, const CompareOptions& options, const std::string& name,
                      SideContent& side, nlohmann::json& fields) {
  const LoadedFiles loaded = LoadCodeFiles(session, {.Code = name,
                                                     .Data = "",
                                                     .Format = options.Format,
                                                     .NoData = options.NoData,
                                                     .Force = options.Force});
  for (const auto& finding : loaded.Fields.value("findings", nlohmann::json::array())) {
    fields["findings"].push_back(finding);
  }
  side = TakeBuffers(session.State(), name);
  side.HasEeprom =
      !options.NoData && session.Context().Storage.Files.Exists(session.State().DataFileName);
  return loaded.Code;
}

ExitCode LoadCopySide(Session& session, const CompareOptions& options, const std::string& name,
                      SideContent& side) {
  const LoadedCopy copy = LoadSafetyCopy(session, name);
  side = {.Name = name, .Flash = copy.Content.Flash};
  if (options.NoData) return copy.Code;
  side.HasEeprom = true;
  side.Eeprom = copy.Content.Eeprom;
  side.Fuses = copy.Content.Fuses;
  side.Calibration = copy.Content.Calibration;
  return copy.Code;
}

/// What a reading that failed came to; success otherwise.
Outcome ReadChipSide(Session& session, const CompareOptions& options, SideContent& side) {
  const DeviceRun run = RunOnDevice(session, ops::Cmd_btn_read_Click);
  if (run.Code != ExitCode::Success) return TellDeviceRun(session, run);
  const std::string protection = ops::DescribeProtection(session.State());
  if (!protection.empty()) {
    session.Warn({.Code = problem::kLockedDevice,
                  .Text = {protection,
                           "every cell reads as its own address: the device is perhaps locked, and "
                           "what was read is not what it holds"}});
  }
  side = TakeBuffers(session.State(), kChipSide);
  if (options.NoData) return {};
  const ChipReading reading = LastChipReading(session);
  side.HasEeprom = true;
  side.Fuses = reading.Fuses;
  side.Calibration = reading.Calibration;
  return {};
}

std::vector<std::uint16_t> WordsOf(const std::vector<std::uint8_t>& bytes, std::int32_t count) {
  constexpr unsigned kHighByte = 8;
  std::vector<std::uint16_t> words;
  for (std::size_t word = 0; word < static_cast<std::size_t>(count); ++word) {
    words.push_back(static_cast<std::uint16_t>(bytes[2 * word] << kHighByte | bytes[2 * word + 1]));
  }
  return words;
}

std::vector<MemoryPair> PairsOf(const core::AppState& state, const SideContent& first,
                                const SideContent& second) {
  std::vector<MemoryPair> pairs{{.InFlash = true,
                                 .First = WordsOf(first.Flash, state.FlashWords),
                                 .Second = WordsOf(second.Flash, state.FlashWords)}};
  if (!first.HasEeprom || !second.HasEeprom || state.EepromBytes == 0) return pairs;
  const auto bytes = [&state](const std::vector<std::uint8_t>& buffer) {
    return std::vector<std::uint16_t>(buffer.begin(), buffer.begin() + state.EepromBytes);
  };
  pairs.push_back({.InFlash = false, .First = bytes(first.Eeprom), .Second = bytes(second.Eeprom)});
  return pairs;
}

char AsCharacter(unsigned byte) {
  constexpr unsigned kFirstPrinted = 0x20;
  constexpr unsigned kLastPrinted = 0x7E;
  return byte >= kFirstPrinted && byte <= kLastPrinted ? static_cast<char>(byte) : '.';
}

/// One side of a row: the cells, an asterisk before those that differ, and their bytes in the order
/// of a file as characters.
std::string HalfRow(const MemoryPair& pair, const std::vector<std::uint16_t>& cells,
                    std::size_t start, std::size_t end) {
  constexpr unsigned kByte = 8;
  constexpr unsigned kByteMask = 0xFF;
  std::string hex;
  std::string text;
  for (std::size_t cell = start; cell < end; ++cell) {
    hex += pair.Differs(cell) ? '*' : ' ';
    hex += fmt::format("{:0{}X}", cells[cell], pair.InFlash ? 4 : 2);
    text += AsCharacter(cells[cell] & kByteMask);
    if (pair.InFlash) text += AsCharacter(static_cast<unsigned>(cells[cell]) >> kByte);
  }
  return hex + "  " + text;
}

/// The rows in which something differs.
std::vector<std::string> RowsOf(const MemoryPair& pair) {
  const std::size_t width = pair.InFlash ? 4 : 8;
  std::vector<std::string> rows;
  for (std::size_t start = 0; start < pair.Size(); start += width) {
    const std::size_t end = std::min(start + width, pair.Size());
    bool differs = false;
    for (std::size_t cell = start; cell < end; ++cell) differs = differs || pair.Differs(cell);
    if (!differs) continue;
    rows.push_back(fmt::format("0x{:04X} {}  | {}", start, HalfRow(pair, pair.First, start, end),
                               HalfRow(pair, pair.Second, start, end)));
  }
  return rows;
}

/// "0x0010-0x0013, 0x0020": cells that differ one behind the other.
std::string RangesOf(const MemoryPair& pair) {
  constexpr std::size_t kMostRanges = 16;
  std::string text;
  std::size_t ranges = 0;
  for (std::size_t cell = 0; cell < pair.Size(); ++cell) {
    if (!pair.Differs(cell)) continue;
    const std::size_t start = cell;
    while (cell + 1 < pair.Size() && pair.Differs(cell + 1)) ++cell;
    if (++ranges > kMostRanges) continue;
    text += fmt::format("{}0x{:04X}", ranges == 1 ? "" : ", ", start);
    if (cell != start) text += fmt::format("-0x{:04X}", cell);
  }
  if (ranges > kMostRanges) text += fmt::format(", ... ({})", ranges);
  return text;
}

/// "flash: 3 of 512 words differ: 0x0010-0x0012".
std::string SummaryOf(const Session& session, const MemoryPair& pair, std::size_t differing) {
  const std::string unit = session.In(pair.InFlash ? core::Sentence{"ワード", "words"}
                                                   : core::Sentence{"バイト", "bytes"});
  if (differing == 0) {
    return fmt::format(fmt::runtime(session.In({"{}: {} {}すべて一致", "{}: all {} {} agree"})),
                       pair.Name(), pair.Size(), unit);
  }
  return fmt::format(
      fmt::runtime(session.In({"{}: {} / {} {}が違います: {}", "{}: {} of {} {} differ: {}"})),
      pair.Name(), differing, pair.Size(), unit, RangesOf(pair));
}

/// Notes the differences and prints the rows, as many as `room` has left, and the summary.
void TellPair(Session& session, const MemoryPair& pair, std::size_t& room) {
  auto& differences = session.State().Command.Differences;
  const std::size_t before = differences.size();
  for (std::size_t cell = 0; cell < pair.Size(); ++cell) {
    if (!pair.Differs(cell)) continue;
    differences.push_back({.InFlash = pair.InFlash,
                           .Address = static_cast<std::int32_t>(cell),
                           .Expected = pair.First[cell],
                           .Found = pair.Second[cell]});
  }
  const std::vector<std::string> rows = RowsOf(pair);
  const std::size_t shown = std::min(room, rows.size());
  room -= shown;
  for (std::size_t row = 0; row < shown; ++row) session.Out().PrintResult(rows[row]);
  if (shown < rows.size()) {
    session.Out().PrintResult(
        fmt::format(fmt::runtime(session.In({"ほかに {} 行 (--all ですべて)",
                                             "... and {} more lines (--all prints them)"})),
                    rows.size() - shown));
  }
  session.Out().PrintResult(SummaryOf(session, pair, differences.size() - before));
}

/// A byte that both sides have beside the memories.
struct NamedPair {
  std::string Name;
  std::uint8_t First = 0;
  std::uint8_t Second = 0;
};

std::vector<NamedPair> FusePairs(const SideContent& first, const SideContent& second) {
  std::vector<NamedPair> pairs;
  for (const core::FuseTransfer& byte : first.Fuses) {
    const auto other = std::ranges::find(second.Fuses, byte.Name, &core::FuseTransfer::Name);
    if (other == second.Fuses.end()) continue;
    pairs.push_back({.Name = byte.Name, .First = byte.Value, .Second = other->Value});
  }
  std::ranges::sort(pairs, {}, &NamedPair::Name);
  return pairs;
}

std::vector<NamedPair> CalibrationPairs(const SideContent& first, const SideContent& second) {
  std::vector<NamedPair> pairs;
  const std::size_t count = std::min(first.Calibration.size(), second.Calibration.size());
  for (std::size_t i = 0; i < count; ++i) {
    pairs.push_back({.Name = fmt::format("calibration {}", i),
                     .First = first.Calibration[i],
                     .Second = second.Calibration[i]});
  }
  return pairs;
}

/// Prints those that differ and the summary, and adds them to the fields; how many they are.
std::size_t TellNamedPairs(Session& session, const char* name, const std::vector<NamedPair>& pairs,
                           nlohmann::json& fields) {
  if (pairs.empty()) return 0;
  fields["compared"].push_back(name);
  std::string differing;
  std::size_t count = 0;
  for (const NamedPair& pair : pairs) {
    if (pair.First == pair.Second) continue;
    ++count;
    differing += (differing.empty() ? "" : ", ") + pair.Name;
    fields["fuse_differences"].push_back(
        {{"name", pair.Name}, {"expected", pair.First}, {"found", pair.Second}});
    session.Out().PrintResult(
        fmt::format("{}  *0x{:02X}  | *0x{:02X}", pair.Name, pair.First, pair.Second));
  }
  session.Out().PrintResult(
      count == 0
          ? fmt::format(
                fmt::runtime(session.In({"{}: {} バイトすべて一致", "{}: all {} bytes agree"})),
                name, pairs.size())
          : fmt::format(fmt::runtime(session.In(
                            {"{}: {} / {} バイトが違います: {}", "{}: {} of {} bytes differ: {}"})),
                        name, count, pairs.size(), differing));
  return count;
}

Outcome TellComparison(Session& session, const CompareOptions& options, const SideContent& first,
                       const SideContent& second, nlohmann::json fields) {
  constexpr std::size_t kMostRows = 32;
  session.State().Command = {};
  fields["sides"] = {first.Name, second.Name};
  fields["compared"] = nlohmann::json::array();
  std::size_t room = options.All ? std::numeric_limits<std::size_t>::max() : kMostRows;
  for (const MemoryPair& pair : PairsOf(session.State(), first, second)) {
    TellPair(session, pair, room);
    fields["compared"].push_back(pair.InFlash ? "flash" : "eeprom");
  }
  fields["fuse_differences"] = nlohmann::json::array();
  const std::size_t others =
      TellNamedPairs(session, "fuses", FusePairs(first, second), fields) +
      TellNamedPairs(session, "calibration", CalibrationPairs(first, second), fields);
  const bool same = session.State().Command.Differences.empty() && others == 0;
  const bool all_compared = first.HasEeprom == second.HasEeprom;
  core::Sentence verdict{"{} と {} の内容が違います。", "{} and {} differ"};
  if (same && all_compared) verdict = {"{} と {} の内容は同じです。", "{} and {} hold the same"};
  if (same && !all_compared) {
    verdict = {"{} と {} のフラッシュの内容は同じです。EEPROMは比べていません。",
               "{} and {} hold the same in the flash; the EEPROM was not compared"};
  }
  const auto in = [&](const std::string& form) {
    return fmt::format(fmt::runtime(form), first.Name, second.Name);
  };
  const ExitCode code = same ? ExitCode::Success : ExitCode::Failed;
  const std::string line = session.In(Heading(code)) + ": " + in(session.In(verdict));
  if (same) {
    session.Out().Print(line);
  } else {
    session.NoteError({.Code = ops::trouble::kDifferences,
                       .Text = {in(verdict.Japanese), in(verdict.English)},
                       .Cure = {"違う場所を確かめます。", "look at where they differ"}});
    session.Out().PrintError(line);
  }
  return {.Code = code, .Json = fields};
}

/// Files come first, so that one that is refused is refused before the board is used.
Outcome Compare(Session& session, const CompareOptions& options) {
  const std::array<const std::string*, 2> names{&options.First, &options.Second};
  std::array<SideContent, 2> sides;
  nlohmann::json fields{{"findings", nlohmann::json::array()}};
  const auto is_chip = [](const std::string* name) { return *name == kChipSide; };
  if (options.First == kStream && options.Second == kStream) {
    return {.Code = session.Fail(ExitCode::Usage,
                                 {.Code = problem::kUsage,
                                  .Text = {"標準入力から読めるファイルは一つだけです",
                                           "standard input can stand for one file alone"}})};
  }
  if (std::ranges::any_of(names, is_chip)) {
    const ExitCode code = session.RequirePort();
    if (code != ExitCode::Success) return {.Code = code};
  }
  for (std::size_t i = 0; i < sides.size(); ++i) {
    if (is_chip(names[i])) continue;
    const bool is_copy = LowerCase(*names[i]).ends_with(kCopyEnd);
    const ExitCode code = is_copy ? LoadCopySide(session, options, *names[i], sides[i])
                                  : LoadFileSide(session, options, *names[i], sides[i], fields);
    if (code != ExitCode::Success) return {.Code = code, .Json = fields};
  }
  for (std::size_t i = 0; i < sides.size(); ++i) {
    if (!is_chip(names[i])) continue;
    const Outcome read = ReadChipSide(session, options, sides[i]);
    if (read.Code != ExitCode::Success) return read;
  }
  return TellComparison(session, options, sides[0], sides[1], fields);
}

VerbRun BindCompare(CLI::App& command) {
  const auto options = std::make_shared<CompareOptions>();
  constexpr const char* kSideText =
      "code file, safety copy (.json), or \"chip\" for what is in the socket; \"-\" reads "
      "standard input";
  command.add_option("A.hex", options->First, kSideText)->required();
  command.add_option("B.hex", options->Second, kSideText)->required();
  AddInputFormat(command, options->Format);
  command.add_flag("--no-data", options->NoData,
                   "compare the flash alone, not the EEPROM, the data files and the fuses");
  AddForceImage(command, options->Force);
  command.add_flag("--all", options->All, "print every line that differs, not the first 32 alone");
  return [options](Session& session) { return Compare(session, *options); };
}

}  // namespace

const Verb kCompare{.Name = "compare",
                    .Description =
                        "compare code files, safety copies and the device, any two of "
                        "them, side by side",
                    .Needed = {.Folder = true, .Device = true, .NamedPort = true},
                    .Bind = BindCompare,
                    .Examples = {{{"--device AT90S8515 compare old.hex new.hex",
                                   "二つのファイルを比べます", "compare two files"},
                                  {"--port COM5 --device AT90S8515 compare blink.hex chip",
                                   "ファイルをソケットのチップと比べます",
                                   "compare a file with the chip in the socket"},
                                  {"--port COM5 --device AT90S8515 compare "
                                   "copies/AT90S8515-1E9301-20260401-093000.json chip",
                                   "コピーを、ヒューズまで、ソケットのチップと比べます",
                                   "compare a safety copy, its fuses too, with the chip"}}}};

}  // namespace fenwright::cli
