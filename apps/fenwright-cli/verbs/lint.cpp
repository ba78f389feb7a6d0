#include <algorithm>
#include <memory>
#include <string>

#include <fmt/format.h>

#include "code_files.h"
#include "image/file_names.h"
#include "verbs.h"

namespace fenwright::cli {
namespace {

/// "code   37 of 512 words  #.........................   7 %"
std::string ShareBar(const char* memory, std::int32_t used, std::int32_t size, const char* unit) {
  constexpr std::int32_t kWidth = 32;
  constexpr std::int32_t kAll = 100;
  const std::int32_t filled =
      used == 0 ? 0 : std::clamp<std::int32_t>(kWidth * used / size, 1, kWidth);
  return fmt::format("{:7} {:5} of {:5} {:6} {:#<{}}{:.<{}} {:3} %", memory, used, size, unit, "",
                     filled, "", kWidth - filled, kAll * used / size);
}

/// A chip starts at the word at address 0; blank, it runs through its whole memory first.
void WarnOfEmptyResetVector(Session& session, const std::string& path) {
  const std::vector<std::uint8_t>& flash = session.State().FlashBuffer;
  if (flash[0] != core::kBlank || flash[1] != core::kBlank) return;
  session.Warn({.Code = problem::kEmptyResetVector,
                .Text = {path + ": アドレス0 (リセットベクター) が空です",
                         path + ": address 0, the reset vector, is blank"}});
}

Outcome LintCode(Session& session, const CodeFiles& files) {
  const LoadedFiles loaded = LoadCodeFiles(session, files);
  if (!loaded.Fields.contains("code_words")) return {.Code = loaded.Code};
  if (loaded.Code == ExitCode::Success) WarnOfEmptyResetVector(session, files.Code);
  const core::AppState& state = session.State();
  std::string text =
      ShareBar("flash", loaded.Fields["code_words_inside"], state.FlashWords, "words") + "\n";
  if (loaded.Fields["data_bytes"] != 0) {
    text +=
        ShareBar("EEPROM", loaded.Fields["data_bytes_inside"], state.EepromBytes, "bytes") + "\n";
  }
  const ExitCode printed = session.Out().PrintResult(text);
  return {.Code = loaded.Code == ExitCode::Success ? printed : loaded.Code, .Json = loaded.Fields};
}

VerbRun BindLint(CLI::App& command) {
  return [files = AddCodeFiles(command)](Session& session) { return LintCode(session, *files); };
}

}  // namespace

const Verb kLint{
    .Name = "lint",
    .Description =
        "check a code file, and the data file with it, for the device; "
        "needs no programmer",
    .Needed = {.Folder = true, .Device = true},
    .Bind = BindLint,
    .ResultOnly = true,
    .Examples = {{{"--device AT90S8515 lint blink.hex", "書き込む前に、ファイルを調べます",
                   "check a file before it is programmed"},
                  {"--json --device AT90S8515 lint blink.hex",
                   "見つかったものを、行と桁を付けてスクリプトに渡します",
                   "what was found, with line and column, for a script"}}}};

}  // namespace fenwright::cli
