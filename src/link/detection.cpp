#include "link/detection.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "core/build_info.h"
#include "core/numbers.h"
#include "core/status.h"
#include "core/stored_number.h"
#include "link/board_commands.h"
#include "link/identification.h"
#include "link/serial_link.h"
#include "platform/port_info.h"

namespace fenwright::link {
namespace {

using screen::MessageMode;
using screen::Panel;

constexpr char kExtend = 'A';
constexpr std::size_t kVersionLineLength = 16;
constexpr std::size_t kModelLength = 12;
constexpr std::array<std::string_view, 2> kModels{"KV-LOD350  V", "KV-LOD350A V"};
constexpr double kMinimumVersion = 6.3;
constexpr float kRecommendedVersion = 6.38F;
constexpr std::string_view kUnreadableVersionText =
    "ファームウエアバージョンを読み出せませんでした。";

std::string ReadTextInput(core::RunContext& context) {
  const std::vector<std::uint8_t> bytes = context.Line.ProgrammerPort.Input();
  return {bytes.begin(), bytes.end()};
}

std::string ShortestDecimal(double value) {
  std::array<char, 40> text{};
  const auto [end, code] = std::to_chars(text.data(), text.data() + text.size(), value);
  return {text.data(), end};
}

void ForgetVersion(core::RunContext& context, double& version) {
  context.State.FirmwareVersionText.clear();
  core::ShowStatus(context, Panel::BoardVersion, "");
  version = 0;
}

void ReportNoBoard(core::RunContext& context, double& version, std::int16_t& error) {
  constexpr std::string_view kText =
      "ライターを検出できませんでした。使用可能な通信ポートを設定してください。";
  core::ShowStatus(context, kText);
  context.Screen.MessageDialog.SetText(kText);
  core::ShowMessage(context, kText, MessageMode::Notice, screen::Outcome::Failure);
  ForgetVersion(context, version);
  context.Screen.MessageDialog.ShowButton();
  context.State.LastDetection = core::Detection::NoAnswer;
  error = 1;
}

void ReportUnreadableVersion(core::RunContext& context, core::Detection detection, double& version,
                             std::int16_t& error) {
  context.State.LastDetection = detection;
  core::ShowStatus(context, kUnreadableVersionText);
  context.Screen.MessageDialog.SetText(kUnreadableVersionText);
  core::ShowOutcome(context, screen::Outcome::Failure, "");
  context.Screen.MessageDialog.ShowButton();
  ForgetVersion(context, version);
  error = 1;
}

void ReportFirmwareTooOld(core::RunContext& context, std::int16_t& error) {
  constexpr std::string_view kText =
      "このソフトは使用できません。\r\n"
      "ファームウエアバージョン6.38以降にアップデートしてください。";
  core::ShowStatus(context, kText);
  context.Screen.MessageDialog.SetText(kText);
  core::ShowMessage(context, kText, MessageMode::Notice, screen::Outcome::Failure);
  context.Screen.MessageDialog.ShowButton();
  context.State.LastDetection = core::Detection::FirmwareTooOld;
  error = 2;
}

/// Judges a version line; the flag says what became of it.
void AcceptVersionLine(core::RunContext& context, const std::string& line, double& version,
                       std::int16_t& error) {
  if (!IsSupportedModel(line)) {
    ReportUnreadableVersion(context, core::Detection::OtherDevice, version, error);
    return;
  }
  const std::string found = "ライターを " +
                            platform::ComName(context.Line.ProgrammerPort.CommPort()) +
                            "に検出しました。";
  core::ShowStatus(context, found);
  context.Screen.MessageDialog.SetText(found);
  context.State.FirmwareVersionText = line;
  core::ShowStatus(context, Panel::BoardVersion, line);
  const std::string version_field = line.substr(kModelLength);
  const std::optional<double> number = core::ParseNumber(version_field);
  // Neither a plus sign nor an exponent is part of a version.
  if (!number || version_field.find_first_of("+eE") != std::string::npos) {
    ReportUnreadableVersion(context, core::Detection::VersionUnreadable, version, error);
    return;
  }
  version = *number;
  if (!(version >= kMinimumVersion)) {
    ReportFirmwareTooOld(context, error);
    return;
  }
  ClearInput(context);
  // Its acknowledgement is not awaited here: RestForExtendAcknowledgement() sees to it.
  SendText(context, kExtend);
  context.State.LastDetection = core::Detection::Accepted;
  error = 0;
}

/// The acknowledgement of the "A" that ended the detection must not be taken for the reply of the
/// next command: a board that is slow to answer would seem to accept any device.
void RestForExtendAcknowledgement(core::RunContext& context) {
  constexpr double kLongestRestSeconds = 0.1;
  RestForBytes(context, 1, kLongestRestSeconds);
}

void ReportNoPortChosen(core::RunContext& context) {
  core::ShowMessage(context,
                    "ライタと通信ができませんでした。\r\n"
                    "PCとライタの接続を確認後、メニューバーの\r\n"
                    "[通信チェック] [COMポート選択]を実行して下さい。\r\n",
                    MessageMode::Notice, screen::Outcome::Failure);
  core::ShowStatus(context, "ライタと通信ができませんでした。(レジストリリード)");
}

/// Why the board could not be found, and the cure; "" when the message says it all.
std::string CauseOfMissingBoard(const core::RunContext& context) {
  switch (context.State.LastDetection) {
    case core::Detection::OtherDevice:
      return " から返答はありましたが、対応しているライターではありません。"
             "ポート番号を確認してください。";
    case core::Detection::VersionUnreadable:
      return " のライターのバージョンが数字ではありません。ライターの電源を入れ直してください。"
             "それでも読み出せないときは、ファームウエアをアップデートしてください。";
    case core::Detection::FirmwareTooOld:
      return "";
    default:
      return " は開けましたが、ライターとしての返答がありません。"
             "ライターの電源、ケーブル、ポート番号を確認してください。";
  }
}

/// "COM3", with the device behind it where it is known.
std::string PortName(const core::RunContext& context) {
  const std::string& path = context.State.LastPortOpen.Path;
  const std::string name = platform::ComName(context.Line.ProgrammerPort.CommPort());
  return path.empty() ? name : name + " (" + path + ")";
}

void ExplainMissingBoard(core::RunContext& context) {
  const platform::PortOpenResult& opened = context.State.LastPortOpen;
  const std::string name = PortName(context);
  if (opened.Status != platform::PortOpenStatus::Ok) {
    core::ShowDetail(context, name + " : " + opened.Reason);
  } else if (const std::string gone = DescribeGonePort(context); !gone.empty()) {
    core::ShowDetail(context, gone);
  } else if (const std::string cause = CauseOfMissingBoard(context); !cause.empty()) {
    core::ShowDetail(context, name + cause);
  }
}

}  // namespace

void DetectProgrammer(core::RunContext& context, double& version, std::int16_t& error) {
  platform::SerialControl& port = context.Line.ProgrammerPort;
  core::ShowStatus(context, "ｺﾏﾝﾄﾞ送信 : Avr Extend command A");
  port.SetInputMode(platform::InputMode::Text);
  ClearInput(context);
  SendText(context, kEscape);
  Rest(context, kIdentifyRestSeconds);
  context.Line.Events.ProcessPendingEvents();
  // The first "?" wakes a board that was in the middle of something; its answer is thrown away.
  ClearInput(context);
  SendText(context, kIdentify);
  Rest(context, kIdentifyRestSeconds);
  context.Line.Events.ProcessPendingEvents();
  ClearInput(context);
  SendText(context, kIdentify);
  constexpr double kVersionTimeoutSeconds = 1;
  if (!WaitForBytes(context, kVersionReplyLength, kVersionTimeoutSeconds)) {
    // The port stays in text mode here; the escape byte that the link check sends ends that.
    ReportNoBoard(context, version, error);
    return;
  }
  const std::string line = ReadTextInput(context).substr(0, kVersionLineLength);
  AcceptVersionLine(context, line, version, error);
  port.SetInputMode(platform::InputMode::Binary);
}

bool IsSupportedModel(std::string_view version_line) {
  return std::ranges::find(kModels, version_line.substr(0, kModelLength)) != kModels.end();
}

bool UpdateIsAdvised(double version) { return static_cast<float>(version) < kRecommendedVersion; }

void AdviseFirmwareUpdate(core::RunContext& context) {
  if (!UpdateIsAdvised(context.State.FirmwareVersion)) return;
  const std::string url(core::kSupportUrl);
  const std::string text =
      "ファームウエアバージョンが古いのでアップデートを行なってください。　　　　\r\n"
      "　\r\n"
      "新しいファームウエアは、ご購入されたキットに添付されていたＣＤ－ＲＯＭ内、　　　　\r\n"
      "または、サポートページ " +
      url +
      " から入手できます。\r\n"
      "　\r\n"
      "アップデート方法は、サポートページ " +
      url +
      " をご覧ください。\r\n"
      "　\r\n"
      "現在のファームウエアバージョン　 ： KV-LOD350 V" +
      ShortestDecimal(context.State.FirmwareVersion) +
      " \r\n"
      "推奨するファームウエアバージョン ： KV-LOD350 V6.38 、または、それ以降。　\r\n"
      "　\r\n"
      "（現在使用中のファームウエアバージョンは、メイン画面の右下に表示されます。）\r\n";
  context.Screen.MessageBoxes.Show(screen::MessageIcon::Critical, "", text);
}

bool OpenChosenPort(core::RunContext& context) {
  core::AppState& state = context.State;
  platform::SerialControl& port = context.Line.ProgrammerPort;
  constexpr int kDefaultPort = 1;
  const std::optional<int> stored = core::StoredPortNumber(context);
  port.SetCommPort(stored.value_or(kDefaultPort));
  core::ShowStatus(context, Panel::Port, platform::ComName(port.CommPort()));
  SetUpPort(port);
  state.LinkError = 0;
  state.LastDetection = core::Detection::NotMade;
  if (stored.value_or(0) == 0) {
    port.Close();
    ReportNoPortChosen(context);
    return false;
  }
  // A port that cannot be opened is not reported here: nothing arrives on it, and the detection
  // finds no board.
  state.LastPortOpen = port.Open();
  return true;
}

bool FindBoard(core::RunContext& context) {
  DetectProgrammer(context, context.State.FirmwareVersion, context.State.LinkError);
  if (context.State.LinkError == 0) return true;
  ExplainMissingBoard(context);
  context.Line.ProgrammerPort.Close();
  return false;
}

bool SelectChosenDevice(core::RunContext& context) {
  core::AppState& state = context.State;
  AdviseFirmwareUpdate(context);
  RestForExtendAcknowledgement(context);
  SelectDevice(context, state.DeviceCode, state.LinkError);
  if (state.LinkError != 0) {
    core::ShowOutcome(context, screen::Outcome::Failure, "");
    core::ShowDetail(context,
                     "デバイスには何も書き込んでいません。デバイスの選択と、ライターの"
                     "ファームウエアバージョンを確認してください。");
    return false;
  }
  context.Screen.MessageDialog.Close();
  core::ShowStatus(context, "ライタの準備　ＯＫ ！！");
  core::ShowOutcome(context, screen::Outcome::Success, "");
  context.Line.Events.ProcessPendingEvents();
  return true;
}

std::string DescribeGonePort(const core::RunContext& context) {
  if (!context.Line.ProgrammerPort.IsGone()) return "";
  return PortName(context) + " : 通信ポートがなくなりました。USBケーブルと電源を確認してください。";
}

bool CheckProgrammerLink(core::RunContext& context) {
  core::ShowStatus(context, "ライタと通信中！");
  context.Line.Events.ProcessPendingEvents();
  context.Line.ProgrammerPort.Close();
  if (!OpenChosenPort(context)) return false;
  const bool ready = FindBoard(context) && SelectChosenDevice(context);
  SendEscape(context);
  if (!ready) context.Line.ProgrammerPort.Close();
  return ready;
}

}  // namespace fenwright::link
