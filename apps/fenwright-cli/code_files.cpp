#include "code_files.h"

#include <filesystem>
#include <optional>

#include <fmt/format.h>

#include "core/file_reason.h"
#include "image/file_names.h"
#include "input_format.h"
#include "ops/command.h"
#include "ops/commands.h"
#include "platform/system/terminal.h"
#include "text.h"

namespace fenwright::cli {
namespace {

using image::Finding;
using image::Severity;

/// A file that was read, under the name that the call gave it.
struct ReadFile {
  const std::string& Path;
  const image::HexReadReport& Report;
  bool Converted;  ///< its lines are not those of a file that the user knows
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
  for (Finding finding : file.Report.Check.Findings) {
    if (file.Converted) finding.Line = finding.Column = 0;
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

Problem Unreadable(const std::string& path, const platform::FileResult& result) {
  return {.Code = problem::kFileUnreadable,
          .Text = {fmt::format("{}: 読めません: {}", path, core::DescribeReason(result)),
                   fmt::format("{}: cannot be read: {}", path, result.Reason)}};
}

platform::FileResult ReasonOf(const image::HexReadReport& report) {
  return {
      .Code = platform::FileResult::Status::Failed, .Reason = report.Reason, .Cause = report.Cause};
}

/// Why the code file was not read, if it was not.
std::optional<Problem> WhyNotRead(const CodeFiles& files, const image::OpenReport& report) {
  if (!report.CodeFileFound) return NoFile(files.Code);
  if (!report.KnownExtension) {
    return Problem{
        .Code = problem::kFileType,
        .Text = {files.Code + ": Intel HEX、ELF、S レコードのどれでもなく、名前も .hex か "
                              ".rom で終わりません",
                 files.Code + ": is neither Intel HEX nor ELF nor S-records, and its "
                              "name does not end in .hex or .rom"},
        .Cure = {"コードファイルを指定します。そのままのバイナリーは --format bin "
                 "で読みます。",
                 "name a code file; --format bin takes a plain binary image"}};
  }
  if (report.Code.End != image::HexReadEnd::NotOpened) return std::nullopt;
  return Unreadable(files.Code, ReasonOf(report.Code));
}

/// What can be said of a call that ends with its files: a device that is found in the socket was
/// looked for before.
core::Sentence NothingDone(const Session& session) {
  if (session.AsksSocket()) {
    return {"デバイスには何も書いていません", "nothing was written to the device"};
  }
  return {"ライターには何も送っていません", "nothing was sent to the programmer"};
}

LoadedFiles Refuse(Session& session, const Problem& problem) {
  session.Fail(ExitCode::FileError, problem);
  if (session.HasPort()) session.Out().PrintError(session.In(NothingDone(session)));
  return {.Code = ExitCode::FileError};
}

/// Standard input in what is said of it.
constexpr const char* kInputName = "<stdin>";

/// The files of a call as the engine finds them. What comes from elsewhere has a name of its own
/// there; a code file's has to end like one.
struct EngineFiles {
  CodeFiles Named;         ///< as they are named to the user
  std::string Code;        ///< the engine's name
  std::string Data;        ///< the same, "" = none
  bool Converted = false;  ///< its lines are not those of a file that the user knows
};

/// Reads standard input to its end. A stop request ends the wait for it.
ExitCode ReadInput(Session& session, std::string& content) {
  constexpr double kSeconds = 0.1;
  for (;;) {
    const std::optional<std::string> part = platform::ReadInputWithin(kSeconds);
    if (part && part->empty()) return ExitCode::Success;
    if (part) content += *part;
    session.Context().Line.Events.ProcessPendingEvents();
    if (session.State().StopRequested) return session.FailStopped();
  }
}

/// The content of the code file, wherever it comes from. A file that is not there is left for the
/// engine to find.
ExitCode ReadCode(Session& session, const std::string& named, std::string& content) {
  if (named == kStream) return ReadInput(session, content);
  if (!session.Streams().Exists(named)) return ExitCode::Success;
  const platform::FileResult result = session.Streams().Read(named, content);
  return result ? ExitCode::Success : session.Fail(ExitCode::FileError, Unreadable(named, result));
}

/// Gives the engine Intel HEX under a name that it takes.
ExitCode TakeCode(Session& session, EngineFiles& files) {
  const std::string named = files.Named.Code;
  const bool from_input = named == kStream;
  if (from_input) files.Named.Code = kInputName;
  std::string content;
  if (const ExitCode code = ReadCode(session, named, content); code != ExitCode::Success) {
    return code;
  }
  const std::optional<InputFormat> told = FormatOf(content);
  const InputFormat format =
      FormatNamed(files.Named.Format).value_or(told.value_or(InputFormat::Hex));
  const std::string origin = from_input ? "" : named;
  const bool is_hex = format == InputFormat::Hex;
  const bool named_by_content = told == InputFormat::Hex && !image::HasCodeFileExtension(named);
  files.Code = named;
  const bool is_there = from_input || session.Streams().Exists(named);
  if (!is_there || (is_hex && !from_input && !named_by_content)) return ExitCode::Success;
  const ConvertedInput made = Convert(files.Named.Code, content, format);
  if (made.Trouble) return session.Fail(ExitCode::FileError, *made.Trouble);
  files.Code = files.Named.Code + ".hex";
  files.Converted = !is_hex;
  session.Streams().Provide(files.Code, made.Code, origin);
  if (made.Data.empty() || files.Named.NoData || !files.Named.Data.empty())
    return ExitCode::Success;
  files.Data = files.Named.Code + ".eep";
  session.Streams().Provide(files.Data, made.Data, origin);
  return ExitCode::Success;
}

/// The data file: what the code file brought, or the one that is named, or the one beside it.
ExitCode TakeData(Session& session, const std::string& code, EngineFiles& files) {
  std::string& named = files.Named.Data;
  if (files.Named.NoData || !files.Data.empty()) return ExitCode::Success;
  if (named == kStream) {
    files.Data = std::string(kInputName) + ".eep";
    named = kInputName;
    std::string content;
    const ExitCode taken = ReadInput(session, content);
    session.Streams().Provide(files.Data, content, "");
    return taken;
  }
  // Beside standard input there is none.
  if (named.empty() && code != kStream) {
    named = DataFileBeside(code);
  } else if (!named.empty() && !session.Streams().Exists(named)) {
    return session.Fail(ExitCode::FileError, NoFile(named));
  }
  files.Data = named;
  return ExitCode::Success;
}

ExitCode TakeFiles(Session& session, const CodeFiles& named, EngineFiles& files) {
  if (named.Code == kStream && named.Data == kStream) {
    return session.Fail(ExitCode::Usage, {.Code = problem::kUsage,
                                          .Text = {"標準入力から読めるファイルは一つだけです",
                                                   "standard input can stand for one file alone"}});
  }
  files.Named = named;
  const ExitCode code = TakeCode(session, files);
  return code == ExitCode::Success ? TakeData(session, named.Code, files) : code;
}

/// Why a data file that is there was not read, if it was not. A code file whose reading ended early
/// keeps it from being read.
std::optional<Problem> WhyDataNotRead(Session& session, const EngineFiles& files,
                                      const image::OpenReport& report) {
  std::error_code ignored;
  const bool is_there =
      session.Streams().Exists(files.Data) || std::filesystem::exists(ToPath(files.Data), ignored);
  if (!is_there) return std::nullopt;
  const std::string& name = files.Named.Data;
  if (report.Code.StoppedAtLine != 0) {
    const std::string end = Place(files.Named.Code, report.Code.StoppedAtLine);
    return Problem{
        .Code = problem::kDataNotRead,
        .Text = {fmt::format("{}: コードファイルが {} で終わるため、読んでいません。"
                             "--no-data で除けます",
                             name, end),
                 fmt::format("{}: is not read after a code file that ends at {}; --no-data leaves "
                             "it out",
                             name, end)}};
  }
  if (report.Data.End != image::HexReadEnd::NotOpened) return std::nullopt;
  return Unreadable(name, ReasonOf(report.Data));
}

nlohmann::json SharesOf(const image::OpenReport& report) {
  return {{"code_words", report.Code.Check.Share.Given},
          {"code_words_inside", report.Code.Check.Share.Inside},
          {"data_bytes", report.Data.Check.Share.Given},
          {"data_bytes_inside", report.Data.Check.Share.Inside}};
}

}  // namespace

void AddInputFormat(CLI::App& command, std::string& format) {
  command
      .add_option("--format", format,
                  "format of the code file: hex, srec, elf or bin (default: as its content says)")
      ->type_name("hex|srec|elf|bin")
      ->check(CLI::IsMember(FormatNames()).description(""));
}

void AddForceImage(CLI::App& command, bool& force) {
  command.add_flag("--force-image", force,
                   "take files that cannot be meant as they are (data beyond the device, wrong "
                   "checksums, ...), with warnings");
}

std::shared_ptr<CodeFiles> AddCodeFiles(CLI::App& command) {
  auto files = std::make_shared<CodeFiles>();
  command
      .add_option("CODE.hex", files->Code,
                  "code file: Intel HEX, or by objcopy what an ELF file or S-records hold; \"-\" "
                  "reads standard input")
      ->required();
  CLI::Option* const data =
      command
          .add_option("--data", files->Data,
                      "data file for the EEPROM (default: the code file's name with its last "
                      "three characters replaced by \"eep\", when there is such a file)")
          ->type_name("FILE.eep");
  AddInputFormat(command, files->Format);
  command.add_flag("--no-data", files->NoData, "treat the EEPROM image as blank")->excludes(data);
  AddForceImage(command, files->Force);
  return files;
}

std::string DataFileBeside(const std::string& code) {
  const std::string usual = image::DataFileNameFor(code);
  std::error_code ignored;
  if (std::filesystem::exists(ToPath(usual), ignored)) return usual;
  constexpr std::string_view kCapitals = "EEP";
  const std::string capitals =
      usual.substr(0, usual.size() - kCapitals.size()) + std::string(kCapitals);
  return std::filesystem::exists(ToPath(capitals), ignored) ? capitals : usual;
}

LoadedFiles LoadCodeFiles(Session& session, const CodeFiles& named) {
  EngineFiles files;
  const ExitCode taken = TakeFiles(session, named, files);
  if (taken != ExitCode::Success) return {.Code = taken};
  const std::string& data_path = files.Named.Data.empty() ? files.Named.Code : files.Named.Data;
  session.Out().NoteOutside(data_path);
  image::OpenReport opened;
  const core::CommandEnding ending = ops::RunCommand(
      session.Context(),
      [&](core::RunContext& context) { opened = ops::OpenFiles(context, files.Code, files.Data); });
  if (ending == core::CommandEnding::Stopped) return {.Code = session.FailStopped()};
  if (ending != core::CommandEnding::Finished) return {.Code = session.FailByFile()};
  if (const auto problem = WhyNotRead(files.Named, opened)) return Refuse(session, *problem);
  LoadedFiles loaded{.Code = ExitCode::Success, .Fields = SharesOf(opened)};
  loaded.Fields["findings"] = nlohmann::json::array();
  const bool code_accepted = TellFindings(session, {files.Named.Code, opened.Code, files.Converted},
                                          files.Named.Force, loaded.Fields);
  const bool data_accepted =
      TellFindings(session, {data_path, opened.Data, files.Named.Data.empty()}, files.Named.Force,
                   loaded.Fields);
  if (!code_accepted || !data_accepted) {
    const core::Sentence nothing = NothingDone(session);
    session.Out().PrintError(
        session.In({nothing.Japanese + "。--force-image でそのまま使います",
                    nothing.English + "; --force-image takes the file as it is"}));
    loaded.Code = ExitCode::FileError;
    return loaded;
  }
  if (const auto problem = WhyDataNotRead(session, files, opened)) {
    return Refuse(session, *problem);
  }
  return loaded;
}

}  // namespace fenwright::cli
