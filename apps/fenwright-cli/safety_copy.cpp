#include "safety_copy.h"

#include <array>
#include <filesystem>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "check_sum.h"
#include "core/device_catalogue.h"
#include "fuse/lock_modes.h"
#include "image/hex_writer.h"
#include "ops/command.h"
#include "ops/commands.h"
#include "ops/outcome.h"
#include "platform/system/folders.h"
#include "platform/system/system_file.h"
#include "text.h"
#include "time_text.h"

namespace fenwright::cli {
namespace {

constexpr const char* kVersionKey = "fenwright_copy";
constexpr int kCopyVersion = 1;
constexpr const char* kSumKey = "crc32";

/// The buffers and what is known of them, as they are now, for as long as a copy passes through
/// them.
class KeptBuffers {
 public:
  explicit KeptBuffers(core::AppState& state)
      : state_(state),
        flash_(state.FlashBuffer),
        eeprom_(state.EepromBuffer),
        code_content_(state.CodeContent),
        data_content_(state.DataContent),
        infos_{state.CodeInfo, state.DataInfo, state.CodeDoubt, state.DataDoubt},
        left_open_(std::exchange(state.HexFileLeftOpen, false)) {}
  ~KeptBuffers() {
    state_.FlashBuffer = std::move(flash_);
    state_.EepromBuffer = std::move(eeprom_);
    state_.CodeContent = std::move(code_content_);
    state_.DataContent = std::move(data_content_);
    state_.CodeInfo = std::move(infos_[0]);
    state_.DataInfo = std::move(infos_[1]);
    state_.CodeDoubt = std::move(infos_[2]);
    state_.DataDoubt = std::move(infos_[3]);
    state_.HexFileLeftOpen = left_open_;
  }
  KeptBuffers(const KeptBuffers&) = delete;
  KeptBuffers& operator=(const KeptBuffers&) = delete;

 private:
  core::AppState& state_;
  std::vector<std::uint8_t> flash_;
  std::vector<std::uint8_t> eeprom_;
  core::BufferContent code_content_;
  core::BufferContent data_content_;
  std::array<std::string, 4> infos_;
  bool left_open_;
};

/// True when what a locked device gives away stands in the place of what it holds: its cells, its
/// signature or its lock bits say so.
bool IsReadLocked(Session& session, const DeviceRun& run) {
  constexpr std::string_view kAddressesAsSignature = "00:01:02";
  const core::AppState& state = session.State();
  if (run.Code != ExitCode::Success) {
    return state.Command.Failure == core::FailureKind::NoSignature &&
           session.StatusBar().Signature() == kAddressesAsSignature;
  }
  if (!ops::DescribeProtection(state).empty()) return true;
  const FuseChoices choices = DecodeFuses(session, state.Command.FuseBytes);
  const auto lock = choices.find(screen::FuseList::Lock);
  return lock != choices.end() && lock->second == fuse::kReadLocked;
}

struct CopyFiles {
  std::string Flash;
  std::string Eeprom;
  std::string Description;
};

std::string CopyName(Session& session) {
  const platform::DateTime now = session.Context().Line.Clock.Now();
  return fmt::format("{}{:04}{:02}{:02}-{:02}{:02}{:02}", CopyNameStart(session), now.Year,
                     now.Month, now.Day, now.Hour, now.Minute, now.Second);
}

/// The first of `name`, `name`-2 and so on that a test takes, "" when it takes none.
std::string FirstFree(const std::string& folder, const std::string& name, const auto& takes) {
  constexpr int kMost = 1000;
  for (int i = 1; i < kMost; ++i) {
    const std::string each = i == 1 ? name : fmt::format("{}-{}", name, i);
    const std::string path = ToUtf8(ToPath(folder) / ToPath(each));
    if (takes(path)) return path;
  }
  return "";
}

bool IsFree(const std::string& path) {
  std::error_code error;
  return !std::filesystem::exists(std::filesystem::symlink_status(ToPath(path), error));
}

/// Makes the empty description, so that no other run takes the same name.
platform::FileResult Reserve(Session& session, const std::string& folder, CopyFiles& files) {
  platform::FileResult result{.Code = platform::FileResult::Status::Failed,
                              .Reason = "every name is taken"};
  const std::string stem = FirstFree(folder, CopyName(session), [&](const std::string& path) {
    if (!IsFree(path + ".hex") || !IsFree(path + ".eep")) return false;
    using platform::system_file::Links;
    using platform::system_file::Way;
    platform::system_file::Handle handle{};
    result = platform::system_file::Open(path + ".json", Way::New, Links::Refuse, handle);
    if (result) platform::system_file::Close(handle);
    return result.Cause != platform::FailureCause::Exists;
  });
  files = {.Flash = stem + ".hex", .Eeprom = stem + ".eep", .Description = stem + ".json"};
  return result;
}

Problem Unwritable(const std::string& path, const platform::FileResult& result) {
  return *WhyNotWritten(path, {.End = image::HexWriteEnd::NotOpened, .Reason = result.Reason});
}

platform::FileResult WriteWhole(Session& session, const std::string& path,
                                const std::string& content) {
  platform::FileResult result;
  const auto file = session.Context().Storage.Files.OpenForWriting(path, result);
  if (!file) return result;
  file->Write(content);
  file->Close();
  return file->Result();
}

/// The sum of a file as it is on the disc.
platform::FileResult SumOf(Session& session, const std::string& path, std::string& sum) {
  std::string content;
  platform::FileResult result = session.Context().Storage.Files.Read(path, content);
  if (result) sum = CheckSum(content);
  return result;
}

nlohmann::json Describe(Session& session, const CopyFiles& files, const ChipReading& reading) {
  const auto name = [](const std::string& path) { return ToUtf8(ToPath(path).filename()); };
  return {{kVersionKey, kCopyVersion},
          {"device", core::DeviceAlias(session.Device())},
          {"signature", session.StatusBar().Signature()},
          {"taken", TimeText(session.Context().Line.Clock.Now())},
          {"flash", {{"file", name(files.Flash)}}},
          {"eeprom", {{"file", name(files.Eeprom)}}},
          {"fuses", BytesAsJson(reading.Fuses)},
          {"calibration", reading.Calibration}};
}

std::string SumOfDescription(nlohmann::json description) {
  description.erase(kSumKey);
  return CheckSum(description.dump());
}

/// What keeps the copy of the buffers from being written, if anything does.
std::optional<Problem> WriteCopy(Session& session, const CopyFiles& files,
                                 const ChipReading& reading) {
  core::AppState& state = session.State();
  state.CodeSaveFileName = files.Flash;
  state.DataSaveFileName = files.Eeprom;
  if (auto problem = WhyNotWritten(files.Flash, image::WriteCodeHexFile(session.Context()))) {
    return problem;
  }
  if (auto problem = WhyNotWritten(files.Eeprom, image::WriteDataHexFile(session.Context()))) {
    return problem;
  }
  nlohmann::json description = Describe(session, files, reading);
  for (const auto& [memory, path] :
       {std::pair{"flash", &files.Flash}, std::pair{"eeprom", &files.Eeprom}}) {
    std::string sum;
    if (const auto result = SumOf(session, *path, sum); !result) return Unwritable(*path, result);
    description[memory][kSumKey] = sum;
  }
  description[kSumKey] = SumOfDescription(description);
  const auto result = WriteWhole(session, files.Description, description.dump(2) + "\n");
  if (!result) return Unwritable(files.Description, result);
  return std::nullopt;
}

ExitCode SaveCopy(Session& session, const std::string& folder, CopyFiles& files) {
  if (const auto result = Reserve(session, folder, files); !result) {
    return session.Fail(ExitCode::FileError, Unwritable(files.Description, result));
  }
  session.Out().NoteOutside(files.Description);
  const auto problem = WriteCopy(session, files, LastChipReading(session));
  for (const std::string& path : {files.Flash, files.Eeprom, files.Description}) {
    if (problem) {
      session.Context().Storage.Files.Delete(path);
    } else {
      session.NoteWrittenFile(path);
    }
  }
  return problem ? session.Fail(ExitCode::FileError, *problem) : ExitCode::Success;
}

}  // namespace

ExitCode CheckBackupFolder(Session& session, const std::string& folder) {
  const auto fail = [&](std::string_view code, const char* japanese, const char* english) {
    return session.Fail(ExitCode::FileError,
                        {.Code = code,
                         .Text = {fmt::format("--backup {}: {}", folder, japanese),
                                  fmt::format("--backup {}: {}", folder, english)}});
  };
  std::error_code error;
  if (!std::filesystem::is_directory(ToPath(folder), error)) {
    return fail(problem::kFileMissing, "そのフォルダーはありません", "there is no such folder");
  }
  if (platform::MayWriteInto(folder)) return ExitCode::Success;
  return fail(problem::kFileUnwritable, "フォルダーに書けません", "the folder cannot be written");
}

std::shared_ptr<BackupOptions> AddBackup(CLI::App& command) {
  auto options = std::make_shared<BackupOptions>();
  command
      .add_option("--backup", options->Folder,
                  "folder for a safety copy of the device, taken and checked before anything is "
                  "erased or written; \"restore\" puts it back")
      ->type_name("DIR");
  command.add_flag("--force-locked", options->ForceLocked,
                   "go on without what a locked device does not give away");
  return options;
}

ExitCode FailLocked(Session& session) {
  return session.Fail(
      ExitCode::Failed,
      {.Code = problem::kLockedDevice,
       .Text = {"デバイスはプロテクトされています。読み出した値はデバイスの内容ではないため、"
                "コピーには意味がありません",
                "the device is locked: what it gives away is not what it holds, and a copy of that "
                "would be worthless"},
       .Cure = {"内容が失われてもよいときは --force-locked を付けます。",
                "--force-locked goes on without it, where its content may be lost"}});
}

Outcome RefuseUntouched(Session& session, const DeviceRun& run, nlohmann::json fields) {
  const core::Sentence untouched{"何も消去せず、何も書き込んでいません",
                                 "nothing was erased or written"};
  fields["chip_state"] = session.In(untouched);
  Outcome outcome{.Code = run.Code};
  if (session.Json() || !session.HasError()) outcome = TellDeviceRun(session, run, fields);
  session.Out().PrintError(session.In(untouched));
  return outcome;
}

std::string CopyNameStart(Session& session) {
  std::string signature = session.StatusBar().Signature();
  std::erase(signature, ':');
  return fmt::format("{}-{}-", core::DeviceAlias(session.Device()), signature);
}

std::string NewCopyPath(Session& session, const std::string& folder, const std::string& extension) {
  // Made at once: another board may look for a name in the same second.
  const auto take = [&](const std::string& path) {
    using platform::system_file::Links;
    using platform::system_file::Way;
    platform::system_file::Handle handle{};
    const auto result =
        platform::system_file::Open(path + extension, Way::New, Links::Refuse, handle);
    if (result) platform::system_file::Close(handle);
    return result.Cause != platform::FailureCause::Exists;
  };
  return FirstFree(folder, CopyName(session), take) + extension;
}

SafetyCopy TakeSafetyCopy(Session& session, const BackupOptions& options,
                          const nlohmann::json& more) {
  SafetyCopy copy{.Fields = {{"backup", nullptr}}};
  if (options.Folder.empty()) return copy;
  const auto refuse = [&](const DeviceRun& run) {
    nlohmann::json fields = more;
    fields.update(copy.Fields);
    copy.Refusal = RefuseUntouched(session, run, fields);
    return copy;
  };
  if (const ExitCode code = CheckBackupFolder(session, options.Folder); code != ExitCode::Success) {
    copy.Refusal = {.Code = code, .Json = more};
    return copy;
  }
  const KeptBuffers kept(session.State());
  DeviceRun run = RunOnDevice(session, ops::Cmd_btn_read_Click);
  if (IsReadLocked(session, run)) {
    if (!options.ForceLocked) {
      run.Code = FailLocked(session);
      return refuse(run);
    }
    session.Warn({.Code = problem::kLockedDevice,
                  .Text = {"デバイスはプロテクトされています。コピーを作らずに進みます",
                           "the device is locked: no safety copy is made"}});
    return copy;
  }
  if (run.Code == ExitCode::Success) {
    ReadsAgainTheSame(session, run, {"。コピーを作っていません", "; no copy was made"});
  }
  if (run.Code != ExitCode::Success) return refuse(run);
  CopyFiles files;
  run.Code = SaveCopy(session, options.Folder, files);
  if (run.Code != ExitCode::Success) return refuse(run);
  session.Out().Print(session.In({"コピー: ", "safety copy: "}) + files.Description);
  copy.Fields["backup"] = files.Description;
  copy.Eeprom = LastChipReading(session).Eeprom;
  return copy;
}

namespace {

Problem Damaged(const std::string& path, const core::Sentence& how) {
  return {.Code = problem::kDamagedCopy,
          .Text = {path + ": " + how.Japanese, path + ": " + how.English}};
}

std::optional<Problem> ReadCopyFile(Session& session, const std::string& path,
                                    std::string& content) {
  const platform::FileResult result = session.Context().Storage.Files.Read(path, content);
  if (result) return std::nullopt;
  if (result.Code == platform::FileResult::Status::NotFound) {
    return Problem{.Code = problem::kFileMissing,
                   .Text = {path + ": そのファイルはありません", path + ": there is no such file"}};
  }
  return Problem{.Code = problem::kFileUnreadable,
                 .Text = {fmt::format("{}: 読めません: {}", path, result.Reason),
                          fmt::format("{}: cannot be read: {}", path, result.Reason)}};
}

/// Reads the description; it has every key once it adds up.
std::optional<Problem> ReadDescription(Session& session, const std::string& path,
                                       nlohmann::json& description) {
  std::string content;
  if (auto problem = ReadCopyFile(session, path, content)) return problem;
  description = nlohmann::json::parse(content, nullptr, false);
  if (!description.is_object() || !description.contains(kVersionKey)) {
    return Damaged(path, {"コピーの説明ファイル (.json) ではないか、途中で切れています",
                          "is not the description (.json) of a safety copy, or was cut short"});
  }
  if (description[kVersionKey] != kCopyVersion) {
    return Damaged(path, {"ほかのバージョンのコピーです", "is a copy of another version"});
  }
  if (description.value(kSumKey, "") == SumOfDescription(description)) return std::nullopt;
  return Damaged(path, {"作られた後で変わっています", "has changed since it was made"});
}

/// The path of a memory's file beside the description, whose content adds up.
std::optional<Problem> CheckMemoryFile(Session& session, const std::string& path,
                                       const nlohmann::json& memory, std::string& file) {
  file =
      ToUtf8(ToPath(path).parent_path() / ToPath(memory.at("file").get<std::string>()).filename());
  std::string content;
  if (auto problem = ReadCopyFile(session, file, content)) return problem;
  if (memory.at(kSumKey) == CheckSum(content)) return std::nullopt;
  return Damaged(file, {"作られた後で変わっています", "has changed since it was made"});
}

std::optional<Problem> CheckDevice(Session& session, const std::string& path,
                                   const std::string& device) {
  const std::string selected = core::DeviceAlias(session.Device());
  if (device == selected) return std::nullopt;
  return Problem{
      .Code = problem::kForeignCopy,
      .Text = {
          fmt::format("{}: {} のコピーで、{} のものではありません", path, device, selected),
          fmt::format("{}: is a copy of an {}, and the device is an {}", path, device, selected)}};
}

bool IsWhole(const image::HexReadReport& report) {
  return report.End == image::HexReadEnd::Complete && report.Check.FirstRefusal() == nullptr;
}

std::optional<Problem> CheckCopy(Session& session, const std::string& path, CopyFiles& files,
                                 ChipReading& content) {
  nlohmann::json description;
  try {
    if (auto problem = ReadDescription(session, path, description)) return problem;
    if (auto problem = CheckDevice(session, path, description.at("device"))) return problem;
    if (auto problem = CheckMemoryFile(session, path, description.at("flash"), files.Flash)) {
      return problem;
    }
    if (auto problem = CheckMemoryFile(session, path, description.at("eeprom"), files.Eeprom)) {
      return problem;
    }
    for (const auto& [name, value] : description.at("fuses").items()) {
      content.Fuses.push_back({.Name = name, .Value = value});
    }
    description.at("calibration").get_to(content.Calibration);
  } catch (const nlohmann::json::exception&) {
    return Damaged(path, {"コピーの説明として読めません", "cannot be read as a description"});
  }
  return std::nullopt;
}

}  // namespace

LoadedCopy LoadSafetyCopy(Session& session, const std::string& path) {
  LoadedCopy copy;
  CopyFiles files;
  if (const auto problem = CheckCopy(session, path, files, copy.Content)) {
    copy.Code = session.Fail(ExitCode::FileError, *problem);
    return copy;
  }
  session.Out().NoteOutside(files.Flash);
  session.Out().NoteOutside(files.Eeprom);
  image::OpenReport report;
  const core::CommandEnding ending =
      ops::RunCommand(session.Context(), [&](core::RunContext& context) {
        report = ops::OpenFiles(context, files.Flash, files.Eeprom);
      });
  if (ending == core::CommandEnding::Stopped) {
    copy.Code = session.FailStopped();
  } else if (ending != core::CommandEnding::Finished) {
    copy.Code = session.FailByFile();
  } else if (!report.CodeFileFound || !report.DataFileFound || !IsWhole(report.Code) ||
             !IsWhole(report.Data)) {
    copy.Code = session.Fail(ExitCode::FileError,
                             Damaged(path, {"メモリーのファイルを読めません",
                                            "the files of its memories cannot be loaded"}));
  }
  const ChipReading loaded = LastChipReading(session);
  copy.Content.Flash = loaded.Flash;
  copy.Content.Eeprom = loaded.Eeprom;
  return copy;
}

}  // namespace fenwright::cli
