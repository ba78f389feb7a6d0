#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include <fmt/format.h>

#include "chip_reading.h"
#include "image/hex_writer.h"
#include "ops/commands.h"
#include "ops/outcome.h"
#include "text.h"
#include "verbs.h"

namespace fenwright::cli {
namespace {

struct ReadOptions {
  std::string Code;  ///< file that the flash is saved to, "" = none
  std::string Data;  ///< file that the EEPROM is saved to, "" = none
  bool Force = false;
  bool Verify = false;  ///< a second reading must give the same
};

/// A file that a read is to save to must be writable, and new unless overwriting is allowed.
std::optional<Problem> WhyNot(const std::string& path, bool force) {
  if (path == kStream) return std::nullopt;
  std::error_code ignored;
  const std::filesystem::path folder =
      std::filesystem::absolute(ToPath(path), ignored).parent_path();
  const auto unwritable = [&path](const char* japanese, const char* english) {
    return Problem{
        .Code = problem::kFileUnwritable,
        .Text = {fmt::format("{}: {}", path, japanese), fmt::format("{}: {}", path, english)}};
  };
  if (std::filesystem::is_directory(ToPath(path), ignored)) {
    return unwritable("フォルダーです", "is a folder");
  }
  if (!std::filesystem::is_directory(folder, ignored)) {
    return unwritable("フォルダーがありません", "its folder does not exist");
  }
  if (force || !std::filesystem::exists(ToPath(path), ignored)) return std::nullopt;
  return Problem{.Code = problem::kFileExists,
                 .Text = {path + ": すでにあります。--force で上書きします",
                          path + ": exists; --force overwrites it"}};
}

/// True when both outputs would go to one file, however it is named.
bool IsOneFile(const ReadOptions& options) {
  if (options.Code.empty() || options.Data.empty()) return false;
  const auto real_path = [](const std::string& path) {
    std::error_code ignored;
    return std::filesystem::weakly_canonical(std::filesystem::absolute(ToPath(path), ignored),
                                             ignored);
  };
  return real_path(options.Code) == real_path(options.Data);
}

ExitCode CheckOutputs(Session& session, const ReadOptions& options) {
  if (IsOneFile(options)) {
    return session.Fail(ExitCode::Usage, {.Code = problem::kUsage,
                                          .Text = {"--code と --data が同じファイルです",
                                                   "--code and --data name the same file"}});
  }
  const bool to_output = options.Code == kStream || options.Data == kStream;
  if (to_output && session.Json()) {
    return session.Fail(ExitCode::Usage, {.Code = problem::kUsage,
                                          .Text = {"\"-\" と --json は、どちらも標準出力を使います",
                                                   "\"-\" and --json both want standard output"}});
  }
  if (to_output) session.Out().KeepOutputForResult();
  for (const std::string& path : {options.Code, options.Data}) {
    if (path.empty()) continue;
    const auto problem = WhyNot(path, options.Force);
    if (problem) return session.Fail(ExitCode::FileError, *problem);
  }
  return ExitCode::Success;
}

/// Saves what was read, as much of it as can be; false when something went wrong.
bool Save(Session& session, const ReadOptions& options) {
  const auto note = [&session](const std::string& path, const image::HexWriteReport& report) {
    if (const auto problem = WhyNotWritten(path, report)) {
      session.Fail(ExitCode::FileError, *problem);
    } else if (path == kStream) {
      session.Out().PrintResult(session.Streams().Written());
    } else {
      session.NoteWrittenFile(path);
    }
  };
  if (!options.Code.empty()) {
    session.State().CodeSaveFileName = options.Code;
    note(options.Code, image::WriteCodeHexFile(session.Context()));
  }
  if (!options.Data.empty()) {
    session.State().DataSaveFileName = options.Data;
    note(options.Data, image::WriteDataHexFile(session.Context()));
  }
  return !session.HasError();
}

Outcome Read(Session& session, const ReadOptions& options) {
  const ExitCode code = CheckOutputs(session, options);
  if (code != ExitCode::Success) return {.Code = code};
  DeviceRun run = RunOnDevice(session, ops::Cmd_btn_read_Click);
  const bool read_once = run.Code == ExitCode::Success;
  const bool agreed =
      !read_once || !options.Verify ||
      ReadsAgainTheSame(session, run, {"。何も保存していません", "; nothing was saved"});
  if (read_once && !ops::DescribeProtection(session.State()).empty()) {
    session.Warn({.Code = problem::kLockedDevice,
                  .Text = {ops::DescribeProtection(session.State()),
                           "every cell reads as its own address: the device is perhaps locked, and "
                           "what was read is not what it holds"}});
  }
  if (agreed && run.Code == ExitCode::Success && !Save(session, options)) {
    run.Code = ExitCode::FileError;
  }
  return TellDeviceRun(session, run);
}

VerbRun BindRead(CLI::App& command) {
  const auto options = std::make_shared<ReadOptions>();
  command
      .add_option("--code", options->Code,
                  "file to save the flash to, Intel HEX; \"-\" writes standard output")
      ->type_name("OUT.hex");
  command
      .add_option("--data", options->Data,
                  "file to save the EEPROM to, Intel HEX; \"-\" writes standard output")
      ->type_name("OUT.eep");
  command.add_flag("--force", options->Force, "overwrite files that exist");
  command.add_flag("--verify", options->Verify,
                   "read everything twice and compare: takes twice the time");
  return [options](Session& session) { return Read(session, *options); };
}

}  // namespace

const Verb kRead{
    .Name = "read",
    .Description = "read the device's memories and save them",
    .Needed = kDeviceOnPort,
    .Bind = BindRead,
    .Examples = {{{"--port COM5 --device AT90S8515 read --code out.hex --data out.eep",
                   "両方のメモリーをファイルに保存します", "save both memories"},
                  {"--port COM5 --device AT90S8515 read --code out.hex --verify --force",
                   "二回読んで比べ、前のファイルに上書きします",
                   "read twice, compare, and overwrite the last file"}}}};

}  // namespace fenwright::cli
