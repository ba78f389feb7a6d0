#include "ops/job_commands.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "core/device_catalogue.h"
#include "core/file_reason.h"
#include "core/lower_case.h"
#include "core/status.h"
#include "core/trace_log.h"
#include "fuse/fuse_bytes.h"
#include "fuse/fuse_items.h"
#include "fuse/fuse_model.h"
#include "fuse/lock_modes.h"
#include "fuse/reset_pin.h"
#include "image/buffer_content.h"
#include "image/buffers.h"
#include "image/file_names.h"
#include "image/old_content.h"
#include "ops/commands.h"

namespace fenwright::ops {
namespace {

using image::Memory;
using screen::FuseList;

constexpr std::string_view kFilter = "ジョブファイル|*.json|All Files|*.*|";
constexpr std::string_view kExtension = "json";

constexpr bool kOnWindows = std::filesystem::path::preferred_separator == '\\';
constexpr std::string_view kSeparators = kOnWindows ? "/\\" : "/";

bool IsAbsolute(std::string_view path) {
  const bool drive = kOnWindows && path.size() > 1 && path[1] == ':';
  return drive || (!path.empty() && kSeparators.find(path.front()) != std::string_view::npos);
}

/// With its last separator.
std::string FolderOf(std::string_view path) {
  return std::string(path.substr(0, path.find_last_of(kSeparators) + 1));
}

/// A path that a job file in that folder names.
std::string Resolved(std::string_view folder, const std::string& path) {
  if (path.empty() || IsAbsolute(path)) return path;
  std::string name = path;
  if (kOnWindows) std::ranges::replace(name, '/', '\\');
  return std::string(folder) + name;
}

/// How a job file in that folder names a path: on every system in the same way, so that the folder
/// can be carried to another.
std::string NamedFrom(std::string_view folder, const std::string& path) {
  if (folder.empty() || !path.starts_with(folder)) return path;
  std::string name = path.substr(folder.size());
  if (kOnWindows) std::ranges::replace(name, '\\', '/');
  return name;
}

using PathField = std::string job::Job::*;
constexpr std::array<PathField, 5> kPathFields{&job::Job::Code, &job::Job::Data, &job::Job::Counter,
                                               &job::Job::Backup, &job::Job::Record};

job::Job WithPaths(job::Job job, const auto& change) {
  for (const PathField field : kPathFields) job.*field = change(job.*field);
  return job;
}

std::string_view ItemOf(FuseList list, std::string_view device, int index) {
  const fuse::OptionList* const options = fuse::OptionsOf(list, device);
  if (options == nullptr || index < 0) return "";
  return options->Items[static_cast<std::size_t>(index)];
}

/// A list on which nothing is selected stays as the chip has it.
void TakeFuses(core::RunContext& context, job::Job& job) {
  const std::string device = context.Screen.DeviceForm.DeviceText();
  const fuse::FuseLayout& layout = fuse::LayoutOf(device);
  if (!layout.WriteEnabled) return;
  for (const FuseList list : fuse::kFrameOrder) {
    const int index = context.Screen.Fuses.SelectedIndex(list);
    if (list == FuseList::Lock || !fuse::HasField(layout, list) || index < 0) continue;
    job.Fuses[std::string(fuse::FieldName(list))] = ItemOf(list, device, index);
  }
  const int lock = context.Screen.Fuses.SelectedIndex(FuseList::Lock);
  if (!layout.LockListVisible || lock < 0) return;
  job.Lock = fuse::kLockModeNames.at(static_cast<std::size_t>(lock));
}

/// What the window shows of a job, its paths as the window has them.
job::Job Choice(core::RunContext& context, bool with_fuses) {
  const core::AppState& state = context.State;
  job::Job job;
  job.Device = core::DeviceAlias(context.Screen.DeviceForm.DeviceText());
  job.Code = state.CodeFileName;
  if (image::HoldsItsFile(state, Memory::Eeprom)) {
    job.Data = state.DataFileName;
  } else {
    job.NoData = true;
  }
  if (with_fuses) TakeFuses(context, job);
  return job;
}

/// The choice as a job, with all that only the job's file knows.
job::Job JobToSave(core::RunContext& context, const WindowJob& job) {
  const job::Job chosen = Choice(context, job.WithFuses);
  const std::string folder = FolderOf(job.Path);
  job::Job saved =
      WithPaths(job.InFile, [&folder](const std::string& path) { return Resolved(folder, path); });
  saved.Device = chosen.Device;
  saved.Code = chosen.Code;
  saved.Data = chosen.Data;
  // A kept EEPROM needs no image.
  saved.KeepEeprom = saved.KeepEeprom && chosen.NoData;
  saved.NoData = chosen.NoData && !saved.KeepEeprom;
  const bool untouched = !job.Path.empty() && chosen.Device == job.Choice.Device &&
                         chosen.Fuses == job.Choice.Fuses && chosen.Lock == job.Choice.Lock;
  if (untouched) return saved;
  saved.Fuses = chosen.Fuses;
  saved.FuseDefaults = saved.FuseDefaults && job.WithFuses;
  // The erase opens the lock anyway.
  const bool open = chosen.Lock == fuse::kLockModeNames[fuse::kNotLocked];
  saved.Lock = open ? "" : chosen.Lock;
  return saved;
}

bool IsPlain(char character) {
  const auto byte = static_cast<unsigned char>(character);
  constexpr std::string_view kSpecial = "\"$`\\!";
  return byte >= ' ' && kSpecial.find(character) == std::string_view::npos;
}

/// A word for the system's shell. Windows' own has no other quotes, and takes a backslash as it is
/// in the middle of a path.
std::string Quoted(const std::string& word) {
  if (kOnWindows || std::ranges::all_of(word, IsPlain)) return "\"" + word + "\"";
  std::string quoted = "'";
  for (const char character : word) {
    quoted += character == '\'' ? std::string("'\\''") : std::string(1, character);
  }
  return quoted + "'";
}

std::string ProgramCall(core::RunContext& context) {
  const job::Job chosen = Choice(context, false);
  return "--device " + chosen.Device + " program " + Quoted(chosen.Code) +
         (chosen.NoData ? std::string(" --no-data") : " --data " + Quoted(chosen.Data));
}

/// What the window's own program button does not do of a job.
std::string OthersOf(const job::Job& job) {
  const std::vector<std::pair<bool, std::string_view>> parts{
      {!job.Fuses.empty() || job.FuseDefaults || !job.Lock.empty(), "ヒューズ・ロックビット"},
      {job.KeepEeprom, "EEPROMの保持"},
      {job.Serial.has_value(), "シリアル番号"},
      {job.Osccal.has_value(), "発振校正値"},
      {!job.Backup.empty(), "元の内容のコピー"},
      {!job.Record.empty(), "記録"}};
  std::string names;
  for (const auto& [there, name] : parts) {
    if (there) names += (names.empty() ? "" : "、") + std::string(name);
  }
  return names;
}

void Refuse(core::RunContext& context, std::string_view path, const std::string& why) {
  core::ShowMessage(context, "ジョブを開くことができませんでした。", screen::MessageMode::Notice,
                    screen::Outcome::Failure);
  core::ShowDetail(context, std::string(path) + "\r\n" + why);
}

std::string ListFaults(const std::vector<job::Fault>& faults) {
  std::string text;
  for (const job::Fault& fault : faults) {
    text += (fault.Key.empty() ? "" : fault.Key + " : ") + fault.Text.Japanese + "\r\n";
  }
  return text + "ジョブファイルを直してから、もう一度開いてください。";
}

bool IsListOf(const fuse::FuseLayout& layout, FuseList list) {
  return list == FuseList::Lock ? layout.LockListVisible : fuse::HasField(layout, list);
}

/// What the lists are to show; a fault for what the device does not have.
std::map<FuseList, int> FusesOf(const job::Job& job, std::string_view device,
                                std::vector<job::Fault>& faults) {
  const fuse::FuseLayout& layout = fuse::LayoutOf(device);
  std::map<FuseList, int> items;
  std::map<std::string, std::string> wanted = job.Fuses;
  if (!job.Lock.empty()) wanted[std::string(fuse::FieldName(FuseList::Lock))] = job.Lock;
  for (const auto& row : wanted) {
    const std::string& field = row.first;
    const std::string& item = row.second;
    const auto list = std::ranges::find_if(fuse::kFrameOrder, [&](FuseList candidate) {
      return IsListOf(layout, candidate) &&
             core::LowerCase(fuse::FieldName(candidate)) == core::LowerCase(field);
    });
    const auto index =
        list == fuse::kFrameOrder.end() ? std::nullopt : fuse::FindItem(*list, device, item);
    if (index) {
      items[*list] = *index;
    } else {
      std::string key = field;
      key.append("=").append(item);
      faults.push_back({.Key = key, .Text = {"デバイスにその項目か値がありません", ""}});
    }
  }
  return items;
}

int IndexOfDevice(const std::string& alias) {
  const auto devices = core::DeviceCatalogue();
  const auto found = std::ranges::find_if(devices, [&alias](const core::DeviceEntry& device) {
    return core::DeviceAlias(device.DisplayName) == alias;
  });
  return static_cast<int>(found - devices.begin());
}

/// Why the files cannot be loaded; "" = they can, as far as one sees.
std::string WhyNoFiles(core::RunContext& context, const job::Job& job) {
  if (!image::HasCodeFileExtension(job.Code)) {
    return job.Code +
           "\r\nウインドウで開けるコードファイルは .hex と .rom です。ほかの形式のジョブは、"
           "コマンドラインで実行してください。";
  }
  for (const std::string& file : {job.Code, job.Data}) {
    if (file.empty() || context.Storage.Files.Exists(file)) continue;
    return file +
           "\r\nジョブのファイルがありません。元の場所に戻すか、ジョブファイルを直してください。";
  }
  return "";
}

/// The data file that a job without a word about it has: the one beside the code file, if any.
std::string DataFileOf(core::RunContext& context, const job::Job& job) {
  if (job.NoData || job.KeepEeprom) return "";
  if (!job.Data.empty()) return job.Data;
  std::string pair = image::DataFileNameFor(job.Code);
  return context.Storage.Files.Exists(pair) ? pair : "";
}

/// False when a file could not be loaded to its end, which has been said.
bool LoadFilesOf(core::RunContext& context, const job::Job& job) {
  const std::string data = DataFileOf(context, job);
  OpenFiles(context, job.Code, data);
  core::AppState& state = context.State;
  if (data.empty() && image::HoldsItsFile(state, Memory::Flash)) {
    state.DataInfo.clear();
    image::NoteBlanked(state, Memory::Eeprom, core::ContentSource::Cleared);
  }
  return WhyNoJob(context).empty();
}

void PickDeviceOf(core::RunContext& context, const job::Job& job) {
  context.Screen.DeviceForm.SetDeviceIndex(IndexOfDevice(job.Device));
  Combo_device_Click(context);
}

void SelectFuses(core::RunContext& context, const std::map<FuseList, int>& items) {
  for (const auto& [list, index] : items) context.Screen.Fuses.Select(list, index);
  fuse::ShowFuseBytes(context);
}

/// False when it was refused, which has been said.
bool WriteJobFile(core::RunContext& context, const std::string& path, const std::string& text) {
  image::OldContentKeeper old_content(context, path);
  platform::FileResult result;
  const std::unique_ptr<platform::FileWriter> file =
      context.Storage.Files.OpenForWriting(path, result);
  if (file == nullptr) {
    old_content.NoteUntouched();
  } else {
    old_content.NoteOverwritten();
    if (file->Write(text) && file->Close()) {
      old_content.TraceMissingCopy();
      return true;
    }
    result = file->Result();
  }
  std::string detail = path + "\r\n" + core::DescribeReason(result);
  if (const std::string kept = old_content.Describe(); !kept.empty()) detail += "\r\n" + kept;
  context.Screen.MessageBoxes.ShowWithDetail(screen::MessageIcon::Critical, "ファイル保存",
                                             "ファイル保存できませんでした。", detail);
  core::TraceLog(context).TryAppendMessage(detail);
  return false;
}

std::string NameToOffer(const WindowJob& job, const std::string& code) {
  if (!job.Path.empty()) return image::FileNameOf(job.Path);
  const std::string name = image::FileNameOf(code);
  return name.substr(0, name.find_last_of('.') + 1) + std::string(kExtension);
}

}  // namespace

std::string WhyNoJob(const core::RunContext& context) {
  const core::AppState& state = context.State;
  if (context.Screen.DeviceForm.DeviceIndex() < 0) return "デバイスを選んでください。";
  if (state.CodeFileName.empty()) return "コードファイルを開いてください。";
  const bool blank = image::UsedEepromBytes(state) == 0;
  if (image::HoldsItsFile(state, Memory::Flash) &&
      (blank || image::HoldsItsFile(state, Memory::Eeprom))) {
    return "";
  }
  // Not to save over the file: it can hold more than the device has room for.
  return "バッファーの内容がファイルと違います。ファイルの欄を確かめ、［リロード］で読み直すか、"
         "別名で保存してください。";
}

bool IsJobSaved(core::RunContext& context, const WindowJob& job) {
  return !job.Path.empty() && WhyNoJob(context).empty() &&
         Choice(context, job.WithFuses) == job.Choice;
}

std::string DescribeJob(core::RunContext& context, const WindowJob& job) {
  std::string text = job.Path.empty() ? "ジョブはまだ保存されていません。" : "ジョブ : " + job.Path;
  if (!job.Path.empty() && !IsJobSaved(context, job)) text += " (変更あり)";
  if (const std::string why = WhyNoJob(context); !why.empty()) return text + "\n" + why;
  const job::Job saved = JobToSave(context, job);
  if (const std::string others = OthersOf(saved); !others.empty()) {
    text += "\nウインドウの［プログラム］が行わず、ジョブのコマンドが行うこと : " + others;
  }
  if (job.WithFuses && fuse::DisablesReset(context) && !saved.AllowResetDisable) {
    text +=
        "\nリセット端子を無効にする選択です。実行するには、ジョブファイルに "
        "allow_reset_disable を書き足します。";
  }
  return text;
}

std::string JobCommandLine(core::RunContext& context, const WindowJob& job, bool simulated) {
  if (!WhyNoJob(context).empty()) return "";
  const std::string board =
      simulated ? "--simulate "
                : "--port COM" + std::to_string(context.Line.ProgrammerPort.CommPort()) + " ";
  return "fenwright-cli " + board +
         (IsJobSaved(context, job) ? "run " + Quoted(job.Path) : ProgramCall(context));
}

void cmdJobOpen_Click(core::RunContext& context, WindowJob& job) {
  const std::optional<std::string> chosen =
      context.Screen.FileDialogs.Open({.Title = "ジョブを開く",
                                       .Filter = std::string(kFilter),
                                       .DefaultExtension = std::string(kExtension),
                                       .StartFolder = FolderOf(job.Path)});
  if (chosen) OpenJob(context, job, *chosen);
}

void OpenJob(core::RunContext& context, WindowJob& job, const std::string& path) {
  std::string text;
  if (const platform::FileResult result = context.Storage.Files.Read(path, text); !result) {
    return Refuse(context, path, core::DescribeReason(result));
  }
  job::JobText read = job::ReadJob(text);
  if (!read.Faults.empty()) return Refuse(context, path, ListFaults(read.Faults));
  const std::string folder = FolderOf(path);
  const job::Job wanted =
      WithPaths(read.Job, [&folder](const std::string& name) { return Resolved(folder, name); });
  const auto& device =
      core::DeviceCatalogue()[static_cast<std::size_t>(IndexOfDevice(wanted.Device))];
  const std::map<FuseList, int> items = FusesOf(wanted, device.DisplayName, read.Faults);
  if (!read.Faults.empty()) return Refuse(context, path, ListFaults(read.Faults));
  if (const std::string why = WhyNoFiles(context, wanted); !why.empty()) {
    return Refuse(context, path, why);
  }
  job = {};
  PickDeviceOf(context, wanted);
  if (!LoadFilesOf(context, wanted)) {
    if (context.State.Command.NoticeShown) return;
    return Refuse(context, path,
                  "コードファイルかデータファイルを、すべては読み込めませんでした。ファイルの欄を"
                  "確かめてください。");
  }
  SelectFuses(context, items);
  const bool with_fuses = !items.empty() || wanted.FuseDefaults;
  job = {.Path = path,
         .InFile = read.Job,
         .Choice = Choice(context, with_fuses),
         .WithFuses = with_fuses};
  core::ShowStatus(context, "ジョブを開きました。");
  if (fuse::DisablesReset(context)) fuse::WarnOfResetDisable(context);
}

void cmdJobSave_Click(core::RunContext& context, WindowJob& job) {
  if (const std::string why = WhyNoJob(context); !why.empty()) {
    core::ShowMessage(context, "ジョブを保存できません。", screen::MessageMode::Notice,
                      screen::Outcome::Attention);
    return core::ShowDetail(context, why);
  }
  const std::string& code = context.State.CodeFileName;
  const std::optional<std::string> path =
      context.Screen.FileDialogs.Save({.Title = "ジョブの保存",
                                       .Filter = std::string(kFilter),
                                       .DefaultExtension = std::string(kExtension),
                                       .StartFolder = FolderOf(job.Path.empty() ? code : job.Path),
                                       .FileName = NameToOffer(job, code)});
  if (!path) return;
  const bool may_write =
      !context.Storage.Files.Exists(*path) ||
      context.Screen.MessageBoxes.Ask("ファイル保存", "ファイルが存在します。上書きしますか？");
  if (!may_write) return;
  const std::string folder = FolderOf(*path);
  const job::Job saved = WithPaths(JobToSave(context, job), [&folder](const std::string& name) {
    return NamedFrom(folder, name);
  });
  if (!WriteJobFile(context, *path, job::WriteJob(saved))) return;
  job.Path = *path;
  job.InFile = saved;
  job.Choice = Choice(context, job.WithFuses);
  core::ShowStatus(context, "ジョブを保存しました。");
}

}  // namespace fenwright::ops
