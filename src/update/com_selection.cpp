#include "update/com_selection.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

#include "core/numbers.h"
#include "core/settings_keys.h"
#include "core/status.h"
#include "core/stored_number.h"
#include "core/trace_log.h"
#include "link/detection.h"
#include "link/serial_link.h"

namespace fenwright::update {
namespace {

using screen::Panel;

constexpr std::string_view kNoPortItem = "????";

/// The stored number when the list does not have it, 0 otherwise.
int AppendedPort(const core::RunContext& context) {
  const int stored = core::StoredPortNumber(context).value_or(0);
  return stored > platform::kLastListedComNumber ? stored : 0;
}

std::vector<std::string> ListItems(const core::RunContext& context) {
  std::vector<std::string> items{std::string(kNoPortItem)};
  for (int number = 1; number <= platform::kLastListedComNumber; ++number)
    items.push_back(platform::ComName(number));
  if (const int number = AppendedPort(context); number != 0) {
    items.push_back(platform::ComName(number));
  }
  return items;
}

void SelectStoredPort(core::RunContext& context) {
  screen::ComForm& form = context.Screen.ComForm;
  const std::string text =
      context.Storage.Settings.Read(core::kSettingsSection, core::kPortNumberKey).value_or("0");
  const std::optional<int> number = core::ParseWholeNumber(text, 0, platform::kLastComNumber);
  form.SetListIndex(std::min(number.value_or(0), platform::kLastListedComNumber + 1));
  if (number) return;
  form.SetNote("保存されているポート番号 \"" + text + "\" は使用できません。選び直してください。");
}

/// The line break is a lone CR.
void ReportOpenFailed(core::RunContext& context, std::string_view what_failed) {
  context.Screen.MessageBoxes.Show(
      screen::MessageIcon::Critical, "ポートオープン失敗",
      std::string(what_failed) + "のオープンに失敗しました。\rポート番号を再設定してください。");
  context.State.LinkError = 1;
}

bool OpenPort(core::RunContext& context, int number) {
  platform::SerialControl& port = context.Line.ProgrammerPort;
  port.SetCommPort(number);
  link::SetUpPort(port);
  context.State.LastPortOpen = port.Open();
  return context.State.LastPortOpen.Status == platform::PortOpenStatus::Ok;
}

}  // namespace

void LoadComSelection(core::RunContext& context) {
  screen::ComForm& form = context.Screen.ComForm;
  form.PlaceOverMainWindow();
  form.SetItems(ListItems(context));
  SelectStoredPort(context);
  if (const int number = PortOfItem(context, form.ListIndex()); number != 0) {
    context.Line.ProgrammerPort.SetCommPort(number);
  }
  core::TraceLog(context).AppendMessage("");
}

bool Command_ok_Click(core::RunContext& context) {
  screen::ComForm& form = context.Screen.ComForm;
  platform::SerialControl& port = context.Line.ProgrammerPort;
  if (port.PortOpen()) port.Close();
  const int number = PortOfItem(context, form.ListIndex());
  if (number == 0) {
    ReportOpenFailed(context, "COM? ");
    return false;
  }
  const bool opened = OpenPort(context, number);
  core::ShowStatus(context, Panel::Port, platform::ComName(port.CommPort()));
  if (!opened) {
    form.SetNote(context.State.LastPortOpen.Reason);
    ReportOpenFailed(context, platform::ComName(number) + " ");
    return false;
  }
  context.Storage.Settings.Write(core::kSettingsSection, core::kPortNumberKey,
                                 std::to_string(port.CommPort()));
  form.Hide();
  link::CheckProgrammerLink(context);
  context.State.LinkError = 0;
  form.Unload();
  return true;
}

void Command_cancel_Click(core::RunContext& context) {
  core::TraceLog(context).AppendMessage("ライター接続確認が終了していません。");
  context.State.LinkError = 1;
  context.Screen.ComForm.Unload();
}

void Cmd_btn_comselect_Click(core::RunContext& context) {
  LoadComSelection(context);
  while (context.Screen.ComForm.WaitForButton() == screen::ComFormButton::Ok) {
    if (Command_ok_Click(context)) return;
  }
  Command_cancel_Click(context);
}

void mmuCominucation_Click(core::RunContext& context) {
  core::TraceLog(context).AppendMessage("COMポート選択");
  Cmd_btn_comselect_Click(context);
}

int PortOfItem(const core::RunContext& context, int index) {
  if (index < 0) return 0;
  return index <= platform::kLastListedComNumber ? index : AppendedPort(context);
}

std::string DescribePort(const platform::PortInfo& port) {
  constexpr std::string_view kBetween = " : ";
  std::string line;
  if (port.State == platform::PortState::Usable) {
    if (!port.Path.empty()) line.append(port.Path).append(kBetween);
    if (!port.Description.empty()) line.append(port.Description).append("、");
    return line + "使用できます。";
  }
  // The reason names the device itself.
  if (!port.Description.empty()) line.append(port.Description).append(kBetween);
  return line + (port.Reason.empty() ? "このポートのデバイスはありません。" : port.Reason);
}

}  // namespace fenwright::update
