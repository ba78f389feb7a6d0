#include "code_files.h"

#include <filesystem>

#include <fmt/format.h>

#include "image/file_names.h"
#include "ops/command.h"
#include "ops/commands.h"
#include "text.h"

namespace fenwright::cli {
namespace {

/// What is wrong with a file that was read, in English; "" when it may be programmed. The window
/// loads a doubtful file as far as it can and shows it; here nobody looks at what was loaded.
std::string Complaint(const std::string& path, const image::HexReadReport& report) {
  switch (report.End) {
    case image::HexReadEnd::NotOpened:
      return fmt::format("{}: cannot be read: {}", path, report.Reason);
    case image::HexReadEnd::BadLine:
      return fmt::format("{}: line {} does not start with \":\", so this is no Intel HEX file",
                         path, report.StoppedAtLine);
    case image::HexReadEnd::OutsideBuffer:
      return fmt::format("{}: line {} has an address beyond every device's memory", path,
                         report.StoppedAtLine);
    case image::HexReadEnd::NoName:
    case image::HexReadEnd::Complete:
      break;
  }
  if (report.FirstDoubtfulLine == 0) return "";
  return fmt::format(
      "{}: line {} has a character that is no upper-case hexadecimal digit, or is too short", path,
      report.FirstDoubtfulLine);
}

void WarnOf(Console& out, const std::string& path, const image::HexReadReport& report,
            std::int32_t memory_bytes) {
  if (report.FirstBadChecksumLine != 0) {
    out.PrintError(fmt::format("warning: {}: line {} has a wrong checksum", path,
                               report.FirstBadChecksumLine));
  }
  if (report.DataRecords > 0 && !report.EndRecordSeen) {
    out.PrintError(
        fmt::format("warning: {}: has no end record; the file may have been cut short", path));
  }
  if (report.HighestAddress >= memory_bytes) {
    out.PrintError(
        fmt::format("warning: {}: data up to address 0x{:04X} lies beyond the device's {} bytes "
                    "and is not programmed",
                    path, report.HighestAddress, memory_bytes));
  }
}

const char* WhyNoFile(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::exists(ToPath(path), ignored) ? "is no regular file"
                                                        : "there is no such file";
}

/// What is wrong with the files that were opened, or not; "" when they may be programmed.
std::string Complaint(const CodeFiles& files, const std::string& data_path,
                      const image::OpenReport& report) {
  if (!report.CodeFileFound) return fmt::format("{}: {}", files.Code, WhyNoFile(files.Code));
  if (!report.KnownExtension) {
    return fmt::format("{}: a code file's name ends in .hex or .rom", files.Code);
  }
  std::string complaint = Complaint(files.Code, report.Code);
  if (!complaint.empty()) return complaint;
  if (report.Code.DataRecords == 0) {
    return fmt::format("{}: has no data record; to blank a device, erase it", files.Code);
  }
  return Complaint(data_path, report.Data);
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
  return files;
}

ExitCode LoadCodeFiles(Session& session, const CodeFiles& files) {
  std::error_code ignored;
  const bool data_given = !files.Data.empty();
  if (data_given && !std::filesystem::is_regular_file(ToPath(files.Data), ignored)) {
    return session.Fail(ExitCode::FileError,
                        fmt::format("{}: {}", files.Data, WhyNoFile(files.Data)));
  }
  const std::string data_path = data_given ? files.Data : image::DataFileNameFor(files.Code);
  image::OpenReport opened;
  const core::CommandEnding ending =
      ops::RunCommand(session.Context(), [&](core::RunContext& context) {
        opened = ops::OpenFiles(context, files.Code, files.NoData ? "" : data_path);
      });
  if (ending != core::CommandEnding::Finished) return ExitCode::FileError;
  Console& out = session.Out();
  if (const auto complaint = Complaint(files, data_path, opened); !complaint.empty()) {
    session.Fail(ExitCode::FileError, complaint);
    out.PrintError("nothing was sent to the programmer");
    return ExitCode::FileError;
  }
  WarnOf(out, files.Code, opened.Code, 2 * session.State().FlashWords);
  WarnOf(out, data_path, opened.Data, session.State().EepromBytes);
  return ExitCode::Success;
}

}  // namespace fenwright::cli
