#include "code_files.h"

#include <filesystem>
#include <iostream>
#include <iterator>
#include <optional>

#include <fmt/format.h>

#include "image/file_names.h"
#include "ops/command.h"
#include "ops/commands.h"
#include "text.h"

namespace fenwright::cli {
namespace {

using image::Finding;
using image::Severity;

/// A file that was read, under the name that the call gave it.
struct ReadFile {
  const std::string& Path;
  const image::HexReadReport& Report;
};

std::string Place(const std::string& path, std::int32_t line) {
  return line == 0 ? path : fmt::format("{}:{}", path, line);
}

Problem ProblemOf(const std::string& path, const Finding& finding) {
  const std::string place = Place(path, finding.Line) + ": ";
  return {.Code = image::Name(finding.Code),
          .Text = {place + finding.Cause.Japanese, place + finding.Cause.English},
          .Cure = finding.Cure};
}

/// False when it speaks against the file.
bool TellFinding(Session& session, const Problem& problem, const Finding& finding, bool force) {
  if (finding.Weight == Severity::Note) {
    session.NoteWarning(problem);
    session.Out().PrintError(session.In({"注意: ", "note: "}) + session.In(problem.Text));
    return true;
  }
  if (!force) {
    session.Fail(ExitCode::FileError, problem);
    return false;
  }
  session.Warn(problem);
  session.Out().PrintError(session.In({"対処: ", "cure: "}) + session.In(problem.Cure));
  return true;
}

nlohmann::json FieldsOf(Session& session, const std::string& path, const Finding& finding) {
  return {{"file", path},
          {"line", finding.Line},
          {"column", finding.Column},
          {"code", image::Name(finding.Code)},
          {"severity", finding.Weight == Severity::Note ? "note" : "refuse"},
          {"count", finding.Count},
          {"text", session.In(finding.Cause)},
          {"cure", session.In(finding.Cure)}};
}

/// Prints what was found in a file and adds it to the fields; false when the file is refused.
bool TellFindings(Session& session, const ReadFile& file, bool force, nlohmann::json& fields) {
  bool accepted = true;
  for (const Finding& finding : file.Report.Check.Findings) {
    accepted = TellFinding(session, ProblemOf(file.Path, finding), finding, force) && accepted;
    fields["findings"].push_back(FieldsOf(session, file.Path, finding));
  }
  return accepted;
}

Problem NoFile(const std::string& path) {
  std::error_code ignored;
  if (std::filesystem::exists(ToPath(path), ignored)) {
    return {.Code = problem::kFileUnreadable,
            .Text = {path + ": 通常のファイルではありません", path + ": is no regular file"}};
  }
  return {.Code = problem::kFileMissing,
          .Text = {path + ": そのファイルはありません", path + ": there is no such file"}};
}

Problem Unreadable(const std::string& path, const std::string& reason) {
  return {.Code = problem::kFileUnreadable,
          .Text = {fmt::format("{}: 読めません: {}", path, reason),
                   fmt::format("{}: cannot be read: {}", path, reason)}};
}

/// Why the code file was not read, if it was not.
std::optional<Problem> WhyNotRead(const CodeFiles& files, const image::OpenReport& report) {
  if (!report.CodeFileFound) return NoFile(files.Code);
  if (!report.KnownExtension) {
    return Problem{.Code = problem::kFileType,
                   .Text = {files.Code + ": コードファイルの名前は .hex か .rom で終わります",
                            files.Code + ": a code file's name ends in .hex or .rom"}};
  }
  if (report.Code.End != image::HexReadEnd::NotOpened) return std::nullopt;
  return Unreadable(files.Code, report.Code.Reason);
}

/// The same for a data file that is there. A code file whose reading ended early keeps it from
/// being read.
std::optional<Problem> WhyDataNotRead(Session& session, const CodeFiles& files,
                                      const std::string& data_path,
                                      const image::OpenReport& report) {
  std::error_code ignored;
  const bool is_there =
      session.Streams().Exists(data_path) || std::filesystem::exists(ToPath(data_path), ignored);
  if (files.NoData || !is_there) return std::nullopt;
  if (report.Code.StoppedAtLine != 0) {
    const std::string end = Place(files.Code, report.Code.StoppedAtLine);
    return Problem{
        .Code = problem::kDataNotRead,
        .Text = {fmt::format("{}: コードファイルが {} で終わるため、読んでいません。"
                             "--no-data で除けます",
                             data_path, end),
                 fmt::format("{}: is not read after a code file that ends at {}; --no-data leaves "
                             "it out",
                             data_path, end)}};
  }
  if (report.Data.End != image::HexReadEnd::NotOpened) return std::nullopt;
  return Unreadable(data_path, report.Data.Reason);
}

LoadedFiles Refuse(Session& session, const Problem& problem) {
  session.Fail(ExitCode::FileError, problem);
  session.Out().PrintError(
      session.In({"ライターには何も送っていません", "nothing was sent to the programmer"}));
  return {.Code = ExitCode::FileError};
}

/// What was read from standard input has these names; a code file's has to end like one.
constexpr const char* kCodeFromInput = "<stdin>.hex";
constexpr const char* kDataFromInput = "<stdin>.eep";

/// Takes standard input for the file that is named "-".
ExitCode TakeStandardInput(Session& session, CodeFiles& files) {
  const bool code = files.Code == kStream;
  const bool data = files.Data == kStream;
  if (code && data) {
    return session.Fail(ExitCode::Usage, {.Code = problem::kUsage,
                                          .Text = {"標準入力から読めるファイルは一つだけです",
                                                   "standard input can stand for one file alone"}});
  }
  if (!code && !data) return ExitCode::Success;
  std::string& name = code ? files.Code : files.Data;
  name = code ? kCodeFromInput : kDataFromInput;
  session.Streams().Provide(name, std::string(std::istreambuf_iterator<char>(std::cin), {}));
  // Beside standard input there is no data file.
  files.NoData = files.NoData || (code && files.Data.empty());
  return ExitCode::Success;
}

/// The data file that goes with a code file. Where the file system tells case, one whose name ends
/// in capitals does as well.
std::string DataFileBeside(const std::string& code) {
  const std::string usual = image::DataFileNameFor(code);
  std::error_code ignored;
  if (std::filesystem::exists(ToPath(usual), ignored)) return usual;
  constexpr std::string_view kCapitals = "EEP";
  const std::string capitals =
      usual.substr(0, usual.size() - kCapitals.size()) + std::string(kCapitals);
  return std::filesystem::exists(ToPath(capitals), ignored) ? capitals : usual;
}

nlohmann::json SharesOf(const image::OpenReport& report) {
  return {{"code_words", report.Code.Check.Share.Given},
          {"code_words_inside", report.Code.Check.Share.Inside},
          {"data_bytes", report.Data.Check.Share.Given},
          {"data_bytes_inside", report.Data.Check.Share.Inside}};
}

}  // namespace

std::shared_ptr<CodeFiles> AddCodeFiles(CLI::App& command) {
  auto files = std::make_shared<CodeFiles>();
  command
      .add_option("CODE.hex", files->Code,
                  "code file, Intel HEX (.hex or .rom); \"-\" reads standard input")
      ->required();
  CLI::Option* const data =
      command
          .add_option("--data", files->Data,
                      "data file for the EEPROM (default: the code file's name with its last "
                      "three characters replaced by \"eep\", when there is such a file)")
          ->type_name("FILE.eep");
  command.add_flag("--no-data", files->NoData, "treat the EEPROM image as blank")->excludes(data);
  command.add_flag("--force-image", files->Force,
                   "take files that cannot be meant as they are (data beyond the device, wrong "
                   "checksums, ...), with warnings");
  return files;
}

LoadedFiles LoadCodeFiles(Session& session, const CodeFiles& named) {
  CodeFiles files = named;
  const ExitCode taken = TakeStandardInput(session, files);
  if (taken != ExitCode::Success) return {.Code = taken};
  const std::string data_path = files.Data.empty() ? DataFileBeside(files.Code) : files.Data;
  if (!files.Data.empty() && !session.Streams().Exists(files.Data)) {
    return {.Code = session.Fail(ExitCode::FileError, NoFile(files.Data))};
  }
  session.Out().NoteOutside(data_path);
  image::OpenReport opened;
  const core::CommandEnding ending =
      ops::RunCommand(session.Context(), [&](core::RunContext& context) {
        opened = ops::OpenFiles(context, files.Code, files.NoData ? "" : data_path);
      });
  if (ending == core::CommandEnding::Stopped) return {.Code = session.FailStopped()};
  if (ending != core::CommandEnding::Finished) return {.Code = session.FailByFile()};
  if (const auto problem = WhyNotRead(files, opened)) return Refuse(session, *problem);
  LoadedFiles loaded{.Code = ExitCode::Success, .Fields = SharesOf(opened)};
  loaded.Fields["findings"] = nlohmann::json::array();
  const bool code_accepted =
      TellFindings(session, {files.Code, opened.Code}, files.Force, loaded.Fields);
  const bool data_accepted =
      TellFindings(session, {data_path, opened.Data}, files.Force, loaded.Fields);
  if (!code_accepted || !data_accepted) {
    session.Out().PrintError(
        session.In({"ライターには何も送っていません。--force-image でそのまま使います",
                    "nothing was sent to the programmer; --force-image takes the file as it is"}));
    loaded.Code = ExitCode::FileError;
    return loaded;
  }
  if (const auto problem = WhyDataNotRead(session, files, data_path, opened)) {
    return Refuse(session, *problem);
  }
  return loaded;
}

}  // namespace fenwright::cli
