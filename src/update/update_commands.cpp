#include "update/update_commands.h"

#include <cstddef>
#include <filesystem>
#include <optional>

#include "core/file_reason.h"
#include "core/numbers.h"
#include "core/settings_keys.h"
#include "platform/port_info.h"
#include "update/update_check.h"
#include "update/update_report.h"

namespace fenwright::update {
namespace {

constexpr int kFirstPort = 1;
constexpr const char* kUnset = "?";
constexpr const char* kUsedSpeed = "57600";
constexpr std::string_view kUpdateLogFile = "LOG.txt";
constexpr std::string_view kInstructions =
    "１．通信ポートを指定してください。\r\n"
    "２．[Version Read]ボタンを押して、バージョンが表示されると通信確認完了です。\r\n"
    "３．[OPEN]ボタンを押して、アップデートファイルを指定してください。 [kvldxxx.hex]\r\n"
    "４．[UPDATE]ボタンを押してください。ファイルのアップデータが開始されます。";

/// Marks the dialog as busy for its own lifetime.
class BusyGuard {
 public:
  explicit BusyGuard(UpdateState& state) : state_(state) { state_.Now = Activity::Busy; }
  ~BusyGuard() { state_.Now = Activity::Idle; }
  BusyGuard(const BusyGuard&) = delete;
  BusyGuard& operator=(const BusyGuard&) = delete;

 private:
  UpdateState& state_;
};

bool IsBusy(const UpdateContext& context) { return context.State.Now != Activity::Idle; }

std::string Stored(const UpdateContext& context, std::string_view key, std::string_view missing) {
  return context.Run.Storage.Settings.Read(core::kUpdateSection, key)
      .value_or(std::string(missing));
}

void Store(UpdateContext& context, std::string_view key, std::string_view value) {
  context.Run.Storage.Settings.Write(core::kUpdateSection, key, value);
}

/// Where the bare name of a path begins.
std::size_t NameStart(std::string_view path) {
  constexpr bool kBackslashSeparates = std::filesystem::path::preferred_separator == '\\';
  const std::size_t separator = path.find_last_of(kBackslashSeparates ? "/\\" : "/");
  return separator == std::string_view::npos ? 0 : separator + 1;
}

/// A port text of "?" is let through: it is told when the port is opened.
bool PortChosen(UpdateContext& context) {
  if (!context.Form.PortText().empty()) return true;
  context.MessageBoxes.Show(screen::MessageIcon::Information, "", "ポート番号を設定してください。");
  return false;
}

void FillSelectors(UpdateContext& context) {
  std::vector<std::string> ports;
  for (int number = kFirstPort; number <= platform::kLastListedComNumber; ++number)
    ports.push_back(std::to_string(number));
  const std::string stored = Stored(context, core::kUpdatePortReadKey, kUnset);
  // A number above the list's last one stands behind it.
  constexpr int kFirstAppended = platform::kLastListedComNumber + 1;
  if (core::ParseWholeNumber(stored, kFirstAppended, platform::kLastComNumber)) {
    ports.push_back(stored);
  }
  context.Form.SetPortItems(ports);
  context.Form.SetPortText(stored);
  context.Form.SetSpeedItems({" 9600", "19200", "57600"});
  context.Form.SetSpeedText(Stored(context, core::kUpdateSpeedKey, kUnset));
  context.Form.EnableSpeed(false);
}

constexpr std::string_view kDoNotUse = "警告：このファイルでアップデートしないでください。";

/// What there is to say about a file's content before it is sent, "" for nothing.
std::string ContentComplaint(UpdateContext& context, const std::string& path) {
  const std::string advice(kDoNotUse);
  std::string content;
  const platform::FileResult read = context.Run.Storage.Files.Read(path, content);
  if (!read) return advice + core::DescribeReason(read);
  const ImageReport report = CheckImage(content);
  if (report.Fault != ImageFault::None)
    return advice + DescribeFault(report, core::Language::Japanese);
  return DescribeOddRecord(report, core::Language::Japanese);
}

/// The same of the file as a whole: one of a good content can still be one for another board.
std::string Complaint(UpdateContext& context, const std::string& path) {
  const std::string content = ContentComplaint(context, path);
  if (content.starts_with(kDoNotUse)) return content;
  const std::string name = DescribeForeignName(path, core::Language::Japanese);
  return content + (content.empty() || name.empty() ? "" : "\n") + name;
}

/// A damaged file can still be chosen and sent, but not without a word.
void WarnOfFile(UpdateContext& context, const std::string& path) {
  context.Form.SetDetail(Complaint(context, path));
}

/// The label of a failed update would contradict the success of the next one.
void TakeFailureBack(UpdateContext& context) {
  if (!context.State.WrongAcknowledgement) return;
  context.Form.SetInstructionsBackground(std::nullopt);
  context.Form.SetInstructions(kInstructions);
}

}  // namespace

void Dialog_Update_Load(UpdateContext& context) {
  context.Form.PlaceDivider();
  // It is left empty, and a folder that refuses it is no reason to refuse the dialog.
  context.Run.Storage.Files.Write(context.Run.State.AppFolder + std::string(kUpdateLogFile), "");
  // With "?" in the selector the number that the port has is opened: it must not be the one of an
  // earlier opening of the dialog.
  context.UpdaterPort.SetCommPort(kFirstPort);
  FillSelectors(context);
  context.State.UpdateFilePath.clear();
  context.Form.SetSpeedText(kUsedSpeed);
  context.Form.EnableUpdateButton(false);
  context.Form.SetInstructions(kInstructions);
}

void Combo_ComPort_Click(UpdateContext& context) {
  Store(context, core::kUpdatePortWrittenKey, context.Form.PortText());
}

void Combo_speed_Click(UpdateContext& context) {
  Store(context, core::kUpdateSpeedKey, context.Form.SpeedText());
}

void CmdOpen_Click(UpdateContext& context) {
  if (IsBusy(context)) return;
  const BusyGuard guard(context.State);
  if (!PortChosen(context)) return;
  const std::optional<std::string> path =
      context.CommonDialog100.Open({.Title = "アップデータを開く",
                                    .Filter = "アップデータファイル|*.HEX|全てのファイル|*.*|",
                                    .DefaultExtension = "HEX",
                                    .StartFolder = Stored(context, core::kUpdateFolderKey, ""),
                                    .FileName = "*.HEX"});
  if (!path || path->empty()) return;
  context.State.UpdateFilePath = *path;
  context.Form.SetFileText(*path);
  const std::size_t name = NameStart(*path);
  Store(context, core::kUpdateFolderKey, path->substr(0, name));
  ShowStatus(context, "ファイル名：" + path->substr(name) + "を指定しました。");
  context.Form.EnableUpdateButton(true);
  WarnOfFile(context, *path);
}

void CmdVersion_Click(UpdateContext& context) {
  if (IsBusy(context)) return;
  const BusyGuard guard(context.State);
  ReadVersion(context);
}

StartOutcome CmdUpdate_Click(UpdateContext& context) {
  if (IsBusy(context)) return StartOutcome::Ignored;
  const BusyGuard guard(context.State);
  if (!PortChosen(context)) return StartOutcome::NoPort;
  ShowStatus(context, "");
  if (context.State.UpdateFilePath.empty()) {
    ShowStatus(context, "アップデートファイルがロードされていません。");
    return StartOutcome::NoFile;
  }
  if (!OpenPort(context)) return StartOutcome::PortNotOpened;
  TakeFailureBack(context);
  context.Form.EnableVersionButton(false);
  ShowStatus(context, "アップデート中です。電源は絶対に切らないでください。");
  RunFirmwareUpdate(context, context.State.UpdateFilePath);
  return StartOutcome::Ran;
}

void Dialog_Update_Unload(UpdateContext& context) {
  if (context.UpdaterPort.PortOpen()) context.UpdaterPort.Close();
  platform::SerialControl& port = context.Run.Line.ProgrammerPort;
  if (!port.PortOpen()) port.Open();
}

}  // namespace fenwright::update
