#include "code_files.h"

#include <filesystem>

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

std::string TextOf(const std::string& path, const Finding& finding) {
  return fmt::format("{}: {}", Place(path, finding.Line), finding.Cause.English);
}

void PrintFinding(Session& session, const std::string& path, const Finding& finding, bool force) {
  const std::string text = TextOf(path, finding);
  Console& out = session.Out();
  if (finding.Weight == Severity::Note) return out.PrintError("note: " + text);
  if (force) {
    out.PrintError("warning: " + text);
  } else {
    session.Fail(ExitCode::FileError, text);
  }
  out.PrintError("cure: " + finding.Cure.English);
}

nlohmann::json FieldsOf(const std::string& path, const Finding& finding) {
  return {{"file", path},
          {"line", finding.Line},
          {"column", finding.Column},
          {"code", image::Name(finding.Code)},
          {"severity", finding.Weight == Severity::Note ? "note" : "refuse"},
          {"count", finding.Count},
          {"text", finding.Cause.English},
          {"cure", finding.Cure.English}};
}

/// Prints what was found in a file and adds it to the fields. What first speaks against a file
/// becomes the message.
void TellFindings(Session& session, const ReadFile& file, bool force, nlohmann::json& fields) {
  for (const Finding& finding : file.Report.Check.Findings) {
    PrintFinding(session, file.Path, finding, force);
    fields["findings"].push_back(FieldsOf(file.Path, finding));
  }
  const Finding* const refusal = file.Report.Check.FirstRefusal();
  if (force || refusal == nullptr || fields.contains("message")) return;
  fields["message"] = "error: " + TextOf(file.Path, *refusal);
}

const char* WhyNoFile(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::exists(ToPath(path), ignored) ? "is no regular file"
                                                        : "there is no such file";
}

/// Why the code file was not read, in English; "" when it was.
std::string WhyNotRead(const CodeFiles& files, const image::OpenReport& report) {
  if (!report.CodeFileFound) return fmt::format("{}: {}", files.Code, WhyNoFile(files.Code));
  if (!report.KnownExtension) {
    return fmt::format("{}: a code file's name ends in .hex or .rom", files.Code);
  }
  if (report.Code.End != image::HexReadEnd::NotOpened) return "";
  return fmt::format("{}: cannot be read: {}", files.Code, report.Code.Reason);
}

/// The same for a data file that is there. A code file whose reading ended early keeps it from
/// being read.
std::string WhyDataNotRead(const CodeFiles& files, const std::string& data_path,
                           const image::OpenReport& report) {
  std::error_code ignored;
  if (files.NoData || !std::filesystem::exists(ToPath(data_path), ignored)) return "";
  if (report.Code.StoppedAtLine != 0) {
    return fmt::format("{}: is not read after a code file that ends at {}; --no-data leaves it out",
                       data_path, Place(files.Code, report.Code.StoppedAtLine));
  }
  if (report.Data.End != image::HexReadEnd::NotOpened) return "";
  return fmt::format("{}: cannot be read: {}", data_path, report.Data.Reason);
}

LoadedFiles Refuse(Session& session, const std::string& complaint) {
  session.Fail(ExitCode::FileError, complaint);
  session.Out().PrintError("nothing was sent to the programmer");
  return {.Code = ExitCode::FileError, .Fields = {{"message", "error: " + complaint}}};
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
  command.add_option("CODE.hex", files->Code, "code file, Intel HEX (.hex or .rom)")->required();
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

LoadedFiles LoadCodeFiles(Session& session, const CodeFiles& files) {
  std::error_code ignored;
  const bool data_given = !files.Data.empty();
  if (data_given && !std::filesystem::is_regular_file(ToPath(files.Data), ignored)) {
    const std::string complaint = fmt::format("{}: {}", files.Data, WhyNoFile(files.Data));
    return {.Code = session.Fail(ExitCode::FileError, complaint), .Fields = {}};
  }
  const std::string data_path = data_given ? files.Data : image::DataFileNameFor(files.Code);
  session.Out().NoteOutside(data_path);
  image::OpenReport opened;
  const core::CommandEnding ending =
      ops::RunCommand(session.Context(), [&](core::RunContext& context) {
        opened = ops::OpenFiles(context, files.Code, files.NoData ? "" : data_path);
      });
  if (ending != core::CommandEnding::Finished) return {.Code = ExitCode::FileError, .Fields = {}};
  if (const auto complaint = WhyNotRead(files, opened); !complaint.empty()) {
    return Refuse(session, complaint);
  }
  LoadedFiles loaded{.Code = ExitCode::Success, .Fields = SharesOf(opened)};
  loaded.Fields["findings"] = nlohmann::json::array();
  TellFindings(session, {files.Code, opened.Code}, files.Force, loaded.Fields);
  TellFindings(session, {data_path, opened.Data}, files.Force, loaded.Fields);
  if (loaded.Fields.contains("message")) {
    session.Out().PrintError(
        "nothing was sent to the programmer; --force-image takes the file as it is");
    loaded.Code = ExitCode::FileError;
    return loaded;
  }
  if (const auto complaint = WhyDataNotRead(files, data_path, opened); !complaint.empty()) {
    return Refuse(session, complaint);
  }
  return loaded;
}

}  // namespace fenwright::cli
