#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include <fmt/format.h>

#include "code_files.h"
#include "device_run.h"
#include "ops/commands.h"
#include "verbs.h"

namespace fenwright::cli {
namespace {

/// Pairs of lines as diff has them: what the file says, what the device holds.
void PrintDifferences(Session& session, bool all) {
  constexpr std::size_t kMost = 32;
  const auto& differences = session.State().Command.Differences;
  const std::size_t shown = all ? differences.size() : std::min(kMost, differences.size());
  for (const core::Difference& difference : std::span(differences).first(shown)) {
    const int digits = difference.InFlash ? 4 : 2;
    const std::string place =
        fmt::format("{:6} 0x{:04X}  ", difference.InFlash ? "flash" : "EEPROM", difference.Address);
    const auto line = [&](char sign, std::uint16_t value) {
      return fmt::format("{}{}{:0{}X}", sign, place, value, digits);
    };
    session.Out().PrintResult(line('-', difference.Expected), Console::Side::Expected);
    session.Out().PrintResult(line('+', difference.Found), Console::Side::Found);
  }
  if (shown == differences.size()) return;
  session.Out().PrintResult(fmt::format(
      fmt::runtime(
          session.In({"ほかに {} か所 (--all ですべて)", "... and {} more (--all prints them)"})),
      differences.size() - shown));
}

VerbRun BindVerify(CLI::App& command) {
  const auto all = std::make_shared<bool>(false);
  command.add_flag("--all", *all, "print every difference, not the first 32 alone");
  return [all, files = AddCodeFiles(command)](Session& session) -> Outcome {
    const LoadedFiles loaded = LoadCodeFiles(session, *files);
    if (loaded.Code != ExitCode::Success) return {.Code = loaded.Code, .Json = loaded.Fields};
    const DeviceRun run = RunOnDevice(session, ops::Cmd_btn_verify_Click);
    const Outcome outcome = TellDeviceRun(session, run, loaded.Fields);
    if (session.State().Command.VerifyFinished) PrintDifferences(session, *all);
    for (const std::string& line : DescribeVerdict(session, run.Verdict)) {
      session.Out().PrintResult(line);
    }
    return outcome;
  };
}

}  // namespace

const Verb kVerify{
    .Name = "verify",
    .Description = "compare the device with files and print the differences",
    .Needed = kDeviceOnPort,
    .Bind = BindVerify,
    .SeveralBoards = true,
    .Examples = {{{"--port COM5 --device AT90S8515 verify blink.hex",
                   "デバイスをファイルと比べます", "compare the device with the files"},
                  {"--port COM5 --device AT90S8515 verify blink.hex --no-data",
                   "EEPROMは空のはずとして比べます", "the EEPROM has to be blank"}}}};

}  // namespace fenwright::cli
