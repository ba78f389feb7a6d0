#include <chrono>
#include <memory>
#include <optional>
#include <utility>

#include <fmt/format.h>

#include "link/detection.h"
#include "platform/system/terminal.h"
#include "update/update_check.h"
#include "update/update_protocol.h"
#include "update/update_report.h"
#include "verbs.h"

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
  void SetInstructionsBackground(std::optional<std::uint32_t> /*colour*/) override {}
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
  void StartUpdate(int words) { words_ = words; }

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

struct UpdateOptions {
  std::string File;
  bool Yes = false;  ///< it is not asked
  bool DryRun = false;
};

nlohmann::json NoVersion() { return {{"result", "failed"}, {"board_version", ""}}; }

class FirmwareCall {
 public:
  explicit FirmwareCall(Session& session)
      : session_(session), form_(session.Out(), state_, session.PortNumber()) {}

  /// Prints the version that the board gives.
  Outcome ReadVersionOnly() { return Finish(PrintVersion()); }

  /// Replaces the board's firmware. A file that can be no firmware image is refused before the
  /// board hears of it.
  Outcome Update(const UpdateOptions& options) { return Finish(RunSteps(options)); }

 private:
  Console& Out() { return session_.Out(); }
  update::UpdateContext Context() {
    return {.Run = session_.Context(),
            .State = state_,
            .UpdaterPort = session_.UpdaterPort(),
            .Form = form_,
            .MessageBoxes = boxes_,
            .CommonDialog100 = session_.Context().Screen.FileDialogs};
  }

  ExitCode Fail(ExitCode code, const std::string& message) {
    fields_["message"] = message;
    Out().EndProgress();
    return session_.Fail(code, message);
  }

  ExitCode FailToOpen() {
    return Fail(ExitCode::NoProgrammer, "the port cannot be opened: " + form_.Detail());
  }

  Outcome Finish(ExitCode code) {
    if (code == ExitCode::Success) fields_["result"] = Name(code);
    return {.Code = code, .Json = fields_};
  }

  /// A board that gives no version is no reason to stop here.
  ExitCode ReadVersion() {
    update::UpdateContext context = Context();
    const update::VersionOutcome outcome = update::ReadVersion(context);
    if (outcome == update::VersionOutcome::PortNotOpened) return FailToOpen();
    if (outcome == update::VersionOutcome::Read) {
      version_ = VersionLine(state_.ReceiveBuffer);
      fields_["board_version"] = *version_;
    }
    return ExitCode::Success;
  }

  ExitCode PrintVersion() {
    if (const ExitCode code = ReadVersion(); code != ExitCode::Success) return code;
    if (!version_) {
      return Fail(ExitCode::NoProgrammer,
                  "no board gives its version on this port; one whose last update was broken off "
                  "gives none until it is updated again");
    }
    fields_["message"] = *version_;
    Out().PrintResult(*version_);
    return ExitCode::Success;
  }

  ExitCode CheckFile(const std::string& path) {
    if (const auto read = session_.Context().Storage.Files.Read(path, content_); !read) {
      return Fail(ExitCode::FileError, fmt::format("{}: cannot be read: {}", path, read.Reason));
    }
    image_ = update::CheckImage(content_);
    if (image_.Fault != update::ImageFault::None) {
      const std::string fault = DescribeFault(image_, Language::English);
      Fail(ExitCode::FileError, fmt::format("{}: {}", path, fault));
      Out().PrintError("nothing was sent to the board");
      return ExitCode::FileError;
    }
    if (image_.FirstOddLine != 0) {
      Out().PrintError(
          fmt::format("warning: {}: {}", path, DescribeOddRecord(image_, Language::English)));
    }
    fields_.update({{"file", path},
                    {"file_bytes", content_.size()},
                    {"words_to_send", image_.WordsToSend},
                    {"words_to_skip", image_.WordsToSkip},
                    {"words_sent", 0},
                    {"updated", false},
                    {"seconds", 0.0},
                    {"stream_seconds", 0.0}});
    return ExitCode::Success;
  }

  /// The question may have been on the screen for long, and the update reads the file anew.
  ExitCode CheckSameFile(const std::string& path) {
    std::string content;
    if (session_.Context().Storage.Files.Read(path, content) && content == content_) {
      return ExitCode::Success;
    }
    Fail(ExitCode::FileError, path + ": has changed since it was checked");
    Out().PrintError("the board was not changed");
    return ExitCode::FileError;
  }

  void PrintPlan(const std::string& path) {
    Out().Print(fmt::format("file: {}\nsize: {} bytes\nwords to send: {}\nwords to skip: {}", path,
                            content_.size(), image_.WordsToSend, image_.WordsToSkip));
    if (!session_.HasPort()) return;
    Out().Print("current version: " +
                version_.value_or("none (a board whose last update was broken off gives none)"));
  }

  /// Reads the answer from standard input; Ctrl-C, or its end, is no.
  bool Confirmed() {
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

  ExitCode RunUpdate(const std::string& path) {
    update::UpdateContext context = Context();
    // Opening anew costs little, and the port may have gone while the question was on the screen.
    if (!update::OpenPort(context)) return FailToOpen();
    Out().Print("アップデート中です。電源は絶対に切らないでください。");
    form_.StartUpdate(image_.WordsToSend);
    const auto start = std::chrono::steady_clock::now();
    const update::UpdateOutcome outcome = update::RunFirmwareUpdate(context, path);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    fields_.update({{"words_sent", state_.WordsSent},
                    {"updated", outcome == update::UpdateOutcome::Finished},
                    {"seconds", seconds.count()},
                    {"stream_seconds", state_.StreamSeconds}});
    Out().EndProgress();
    const std::string board_state = DescribeBoardState(state_, Language::English);
    if (outcome == update::UpdateOutcome::Finished) {
      fields_["message"] = "firmware updated; switch the board off and on";
      Out().Print(
          fmt::format("ok: firmware updated, {} words ({:.1f} s); switch the board off and on",
                      state_.WordsSent, seconds.count()));
      return ExitCode::Success;
    }
    if (outcome == update::UpdateOutcome::Stopped) {
      return Fail(ExitCode::Stopped, "stopped: " + board_state);
    }
    const bool nobody_there =
        !version_ && outcome == update::UpdateOutcome::TimedOut && state_.WordsSent <= 1;
    Fail(nobody_there ? ExitCode::NoProgrammer : ExitCode::Failed, form_.Status());
    Out().PrintError(nobody_there ? "no board answers on this port" : "failed: " + board_state);
    return nobody_there ? ExitCode::NoProgrammer : ExitCode::Failed;
  }

  ExitCode RunSteps(const UpdateOptions& options) {
    if (const ExitCode code = CheckFile(options.File); code != ExitCode::Success) return code;
    if (session_.HasPort()) {
      if (const ExitCode code = ReadVersion(); code != ExitCode::Success) return code;
    }
    if (version_ && !link::IsSupportedModel(*version_)) {
      Fail(ExitCode::NoProgrammer,
           fmt::format("\"{}\" answers on this port, which is no supported programmer: name the "
                       "programmer's port",
                       *version_));
      Out().PrintError("nothing was sent but the question for the version");
      return ExitCode::NoProgrammer;
    }
    PrintPlan(options.File);
    if (options.DryRun) {
      fields_["message"] = "nothing was sent but the question for the version";
      return ExitCode::Success;
    }
    if (!options.Yes && !Confirmed()) {
      const bool stopped = session_.State().StopRequested;
      return Fail(stopped ? ExitCode::Stopped : ExitCode::Failed,
                  "not confirmed (--yes confirms); the board was not changed");
    }
    const ExitCode code = CheckSameFile(options.File);
    return code == ExitCode::Success ? RunUpdate(options.File) : code;
  }

  Session& session_;
  update::UpdateState state_;
  MutedMessageBoxes boxes_;
  PrintedUpdateForm form_;
  std::optional<std::string> version_;
  std::string content_;  ///< of the file that was checked
  update::ImageReport image_;
  nlohmann::json fields_ = NoVersion();
};

VerbRun BindVersion(CLI::App& /*command*/) {
  return [](Session& session) { return FirmwareCall(session).ReadVersionOnly(); };
}

VerbRun BindUpdate(CLI::App& command) {
  const auto options = std::make_shared<UpdateOptions>();
  command.add_option("FILE.hex", options->File, "firmware file, Intel HEX")->required();
  command.add_flag("--yes", options->Yes, "do not ask");
  command.add_flag("--dry-run", options->DryRun, "check the file and say what would be sent");
  return [options](Session& session) -> Outcome {
    const ExitCode code = options->DryRun ? ExitCode::Success : session.RequirePort();
    if (code != ExitCode::Success) return {.Code = code};
    return FirmwareCall(session).Update(*options);
  };
}

}  // namespace

const Verb kBoardVersion{.Name = "board-version",
                         .Description = "print the version of the board's own firmware",
                         .Needed = {.Port = true},
                         .Bind = BindVersion,
                         .RefusedFields = NoVersion};

const Verb kUpdateFirmware{.Name = "update-firmware",
                           .Description = "replace the board's own firmware",
                           .Needed = {.NamedPort = true},
                           .Bind = BindUpdate,
                           .RefusedFields = NoVersion};

}  // namespace fenwright::cli
