#include "update_commands.h"

#include <chrono>
#include <optional>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "platform/system/terminal.h"
#include "session.h"
#include "update/update_check.h"
#include "update/update_protocol.h"
#include "update/update_report.h"

namespace fenwright::cli {
namespace {

using core::Language;

/// The dialog's controls at the command line: the port is the one of the call, texts are printed,
/// and the bar counts the words.
class PrintedUpdateForm final : public screen::UpdateForm {
 public:
  PrintedUpdateForm(Console& console, const update::UpdateState& state, std::string port)
      : console_(console), state_(state), port_(std::move(port)) {}

  void PlaceDivider() override {}
  void SetPortItems(const std::vector<std::string>& /*items*/) override {}
  void SetPortText(std::string_view text) override { port_ = text; }
  [[nodiscard]] std::string PortText() const override { return port_; }
  void SetSpeedItems(const std::vector<std::string>& /*items*/) override {}
  void SetSpeedText(std::string_view /*text*/) override {}
  [[nodiscard]] std::string SpeedText() const override { return "57600"; }
  void EnableSpeed(bool /*enable*/) override {}
  void EnableVersionButton(bool /*enable*/) override {}
  void EnableUpdateButton(bool /*enable*/) override {}
  void SetVersionText(std::string_view /*text*/) override {}
  void SetFileText(std::string_view /*path*/) override {}
  void SetInstructions(std::string_view text) override { console_.PrintError(text); }
  void SetInstructionsBackground(std::uint32_t /*colour*/) override {}
  void SetStatusText(std::string_view text) override {
    status_ = text;
    if (words_ > 0) console_.Print(text);
  }
  void SetDetail(std::string_view text) override { detail_ = text; }
  void SetProgress(int /*value*/) override {}
  void ShowProgress(int /*minimum*/, int /*maximum*/, int /*value*/) override {
    // The board's second before the first word is no measure of the pace.
    if (!std::exchange(bar_started_, true)) console_.StartProgress(words_);
    console_.ShowProgress(state_.WordsSent);
  }

  /// From here on the status texts are those of an update of so many words.
  void CmdUpdate_Click(int words) { words_ = words; }

  [[nodiscard]] const std::string& Status() const { return status_; }
  [[nodiscard]] const std::string& Detail() const { return detail_; }

 private:
  Console& console_;
  const update::UpdateState& state_;
  std::string port_;
  int words_ = 0;
  bool bar_started_ = false;
  std::string status_;
  std::string detail_;
};

/// The boxes of an update repeat what the result says.
class MutedMessageBoxes final : public screen::MessageBoxes {
 public:
  void Show(screen::MessageIcon /*icon*/, std::string_view /*title*/,
            std::string_view /*text*/) override {}
  bool Ask(std::string_view /*title*/, std::string_view /*text*/) override { return false; }
};

/// The board's answer to "?" up to its line end, with "?" for what cannot be printed.
std::string VersionLine(const std::vector<std::uint8_t>& reply) {
  std::string line;
  for (const std::uint8_t byte : reply) {
    if (byte == '\r' || byte == '\n') break;
    const bool printable = byte >= 0x20 && byte < 0x7F;
    line += printable ? static_cast<char>(byte) : '?';
  }
  return line;
}

/// What one call found out and did.
struct Call {
  std::string Command;
  ExitCode Code = ExitCode::Success;
  std::string Message;  ///< what failed, or the result
  std::optional<std::string> Version;
  std::string File;
  std::int64_t FileBytes = 0;
  std::optional<update::ImageReport> Image;
  std::int32_t WordsSent = 0;
  bool Updated = false;
  double Seconds = 0;
};

class UpdateCall {
 public:
  UpdateCall(const Options& options, std::string command) : options_(options), session_(options) {
    call_.Command = std::move(command);
  }

  ExitCode ReadVersionOnly();
  ExitCode Update();

 private:
  Console& Out() { return session_.Out(); }
  update::UpdateContext Context() {
    return {.Run = session_.Context(),
            .State = state_,
            .UpdaterPort = session_.UpdaterPort(),
            .Form = *form_,
            .MessageBoxes = boxes_,
            .CommonDialog100 = session_.Context().Screen.FileDialogs};
  }

  bool StartSession(bool port_required);
  bool ReadVersion();
  bool CheckFile();
  bool StillTheCheckedFile();
  void PrintPlan();
  bool Confirmed();
  void RunUpdate();
  ExitCode Fail(ExitCode code, const std::string& message);
  ExitCode End();

  const Options& options_;
  Session session_;
  update::UpdateState state_;
  MutedMessageBoxes boxes_;
  std::optional<PrintedUpdateForm> form_;
  std::string checked_content_;
  Call call_;
};

ExitCode UpdateCall::Fail(ExitCode code, const std::string& message) {
  call_.Code = code;
  call_.Message = message;
  Out().EndProgress();
  Out().PrintError("error: " + message);
  return code;
}

/// Prints the result as JSON, if that is asked for.
ExitCode UpdateCall::End() {
  if (!options_.Json) return call_.Code;
  nlohmann::json result{{"command", call_.Command},
                        {"exit_code", static_cast<int>(call_.Code)},
                        {"result", call_.Code == ExitCode::Success ? "ok" : "failed"},
                        {"board_version", call_.Version.value_or("")},
                        {"message", call_.Message}};
  if (call_.Image) {
    result["file"] = call_.File;
    result["file_bytes"] = call_.FileBytes;
    result["words_to_send"] = call_.Image->WordsToSend;
    result["words_to_skip"] = call_.Image->WordsToSkip;
    result["words_sent"] = call_.WordsSent;
    result["updated"] = call_.Updated;
    result["seconds"] = call_.Seconds;
    result["stream_seconds"] = state_.StreamSeconds;
  }
  const std::string text = result.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
  return Out().PrintAlways(text) ? call_.Code : ExitCode::FileError;
}

bool UpdateCall::StartSession(bool port_required) {
  const ExitCode code =
      session_.Start(port_required ? Session::Needs::PortAlone : Session::Needs::Nothing);
  if (code != ExitCode::Success) {
    call_.Code = code;
    call_.Message = Out().FirstError();
    return false;
  }
  form_.emplace(Out(), state_, session_.PortNumber());
  return true;
}

/// False when the port cannot be opened. A board that gives no version is no reason to stop here.
bool UpdateCall::ReadVersion() {
  update::UpdateContext context = Context();
  switch (update::ReadVersion(context)) {
    case update::VersionOutcome::Read:
      call_.Version = VersionLine(state_.ReceiveBuffer);
      return true;
    case update::VersionOutcome::NoReply:
      return true;
    case update::VersionOutcome::PortNotOpened:
      break;
  }
  Fail(ExitCode::NoProgrammer, "the port cannot be opened: " + form_->Detail());
  return false;
}

ExitCode UpdateCall::ReadVersionOnly() {
  if (!StartSession(true) || !ReadVersion()) return End();
  if (!call_.Version) {
    Fail(ExitCode::NoProgrammer,
         "no board gives its version on this port; one whose last update was broken off gives none "
         "until it is updated again");
  } else {
    call_.Message = *call_.Version;
    if (!options_.Json) Out().PrintAlways(*call_.Version);
  }
  return End();
}

bool UpdateCall::CheckFile() {
  call_.File = options_.CodeFile;
  std::string content;
  if (const auto read = session_.Context().Storage.Files.Read(call_.File, content); !read) {
    Fail(ExitCode::FileError, fmt::format("{}: cannot be read: {}", call_.File, read.Reason));
    return false;
  }
  call_.FileBytes = static_cast<std::int64_t>(content.size());
  const update::ImageReport report = update::CheckImage(content);
  if (report.Fault != update::ImageFault::None) {
    Fail(ExitCode::FileError,
         fmt::format("{}: {}", call_.File, DescribeFault(report, Language::English)));
    Out().PrintError("nothing was sent to the board");
    return false;
  }
  if (report.FirstOddLine != 0) {
    Out().PrintError(
        fmt::format("warning: {}: {}", call_.File, DescribeOddRecord(report, Language::English)));
  }
  call_.Image = report;
  checked_content_ = content;
  return true;
}

/// The question may have been on the screen for long, and the update reads the file anew.
bool UpdateCall::StillTheCheckedFile() {
  std::string content;
  if (session_.Context().Storage.Files.Read(call_.File, content) && content == checked_content_) {
    return true;
  }
  Fail(ExitCode::FileError, call_.File + ": has changed since it was checked");
  Out().PrintError("the board was not changed");
  return false;
}

void UpdateCall::PrintPlan() {
  Out().Print("file: " + call_.File);
  Out().Print(fmt::format("size: {} bytes", call_.FileBytes));
  Out().Print(fmt::format("words to send: {}", call_.Image->WordsToSend));
  Out().Print(fmt::format("words to skip: {}", call_.Image->WordsToSkip));
  if (session_.HasPort()) {
    Out().Print("current version: " +
                call_.Version.value_or("none (a board whose last update was broken off gives "
                                       "none)"));
  }
}

/// Reads the answer from standard input; Ctrl-C, or its end, is no.
bool UpdateCall::Confirmed() {
  if (options_.Yes) return true;
  Out().PrintError(
      "The board's firmware will be replaced. Do not switch the board off until it is done.\n"
      "Update? [y/N]");
  core::RunContext& run = session_.Context();
  std::string answer;
  for (;;) {
    run.Line.Events.ProcessPendingEvents();
    if (run.State.StopRequested) return false;
    constexpr double kSeconds = 0.05;
    const std::optional<std::string> input = platform::ReadInputWithin(kSeconds);
    if (!input) continue;
    if (input->empty()) break;
    answer += *input;
    if (answer.find('\n') != std::string::npos) break;
  }
  answer = answer.substr(0, answer.find_first_of("\r\n"));
  return answer == "y" || answer == "Y" || answer == "yes";
}

void UpdateCall::RunUpdate() {
  update::UpdateContext context = Context();
  // Opening anew costs little, and the port may have gone while the question was on the screen.
  if (!update::OpenPort(context)) {
    Fail(ExitCode::NoProgrammer, "the port cannot be opened: " + form_->Detail());
    return;
  }
  Out().Print("アップデート中です。電源は絶対に切らないでください。");
  form_->CmdUpdate_Click(call_.Image->WordsToSend);
  const auto start = std::chrono::steady_clock::now();
  const update::UpdateOutcome outcome = update::RunFirmwareUpdate(context, call_.File);
  call_.Seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  call_.WordsSent = state_.WordsSent;
  Out().EndProgress();
  const std::string board_state = DescribeBoardState(state_, Language::English);
  switch (outcome) {
    case update::UpdateOutcome::Finished:
      call_.Updated = true;
      call_.Message = "firmware updated; switch the board off and on";
      Out().Print(
          fmt::format("ok: firmware updated, {} words ({:.1f} s); switch the board off "
                      "and on",
                      state_.WordsSent, call_.Seconds));
      return;
    case update::UpdateOutcome::Stopped:
      Fail(ExitCode::Stopped, "stopped: " + board_state);
      return;
    case update::UpdateOutcome::TimedOut:
    case update::UpdateOutcome::Mismatch:
      break;
  }
  const bool nobody_there =
      !call_.Version && outcome == update::UpdateOutcome::TimedOut && state_.WordsSent <= 1;
  Fail(nobody_there ? ExitCode::NoProgrammer : ExitCode::Failed, form_->Status());
  Out().PrintError(nobody_there ? "no board answers on this port" : "failed: " + board_state);
}

ExitCode UpdateCall::Update() {
  if (!StartSession(!options_.DryRun) || !CheckFile()) return End();
  if (session_.HasPort() && !ReadVersion()) return End();
  PrintPlan();
  if (options_.DryRun) {
    call_.Message = "nothing was sent but the question for the version";
    return End();
  }
  if (!Confirmed()) {
    const bool stopped = session_.Context().State.StopRequested;
    Fail(stopped ? ExitCode::Stopped : ExitCode::Failed,
         "not confirmed (--yes confirms); the board was not changed");
    return End();
  }
  if (!StillTheCheckedFile()) return End();
  RunUpdate();
  return End();
}

}  // namespace

ExitCode RunBoardVersion(const Options& options) {
  return UpdateCall(options, "board-version").ReadVersionOnly();
}

ExitCode RunUpdateFirmware(const Options& options) {
  return UpdateCall(options, "update-firmware").Update();
}

}  // namespace fenwright::cli
