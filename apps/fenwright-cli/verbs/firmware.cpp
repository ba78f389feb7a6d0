#include <chrono>
#include <memory>
#include <optional>
#include <utility>

#include <fmt/format.h>

#include "explanations.h"
#include "image/image_check.h"
#include "link/detection.h"
#include "ops/trouble.h"
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
  /// What the bar says.
  struct Words {
    std::string Label;
    std::string Unit;
  };

  PrintedUpdateForm(Console& console, const update::UpdateState& state, std::string port,
                    Words label)
      : console_(console), state_(state), port_(std::move(port)), label_(std::move(label)) {}

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
    if (words_ > 0) console_.PrintStatus(text);
  }
  void SetDetail(std::string_view text) override { detail_ = text; }
  void SetProgress(int /*value*/) override {}
  void ShowProgress(int /*minimum*/, int /*maximum*/, int /*value*/) override {
    // The board's second before the first word is no measure of the pace.
    if (!std::exchange(bar_started_, true)) {
      console_.StartPhase(label_.Label, label_.Unit, Console::PhaseEnd::Done);
      console_.StartProgress(words_);
    }
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
  Words label_;
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

/// The word for what is wrong with an image.
std::string_view WordOf(update::ImageFault fault) {
  using update::ImageFault;
  switch (fault) {
    case ImageFault::NoDataRecord:
      return image::Name(image::FindingCode::NoData);
    case ImageFault::WrongChecksum:
      return image::Name(image::FindingCode::WrongChecksum);
    case ImageFault::UnusedAddress:
      return image::Name(image::FindingCode::ExtendedAddress);
    case ImageFault::OddAddress:
      return problem::kOddAddress;
    case ImageFault::DataAfterEnd:
      return image::Name(image::FindingCode::RecordsAfterEnd);
    case ImageFault::Contradiction:
      return image::Name(image::FindingCode::ContradictingRecords);
    case ImageFault::NoEndRecord:
      return image::Name(image::FindingCode::NoEndRecord);
    case ImageFault::NoWordToSend:
      return problem::kNoWordToSend;
    case ImageFault::BrokenLine:
    case ImageFault::None:
      break;
  }
  return problem::kBrokenLine;
}

class FirmwareCall {
 public:
  explicit FirmwareCall(Session& session)
      : session_(session),
        form_(session.Out(), state_, session.PortNumber(),
              {session.In({"更新", "update"}), session.In({"ワード", "words"})}) {}

  /// Prints the version that the board gives.
  Outcome ReadVersionOnly() { return Finish(PrintVersion()); }

  /// Replaces the board's firmware. A file that can be no firmware image is refused before the
  /// board hears of it.
  Outcome Update(const UpdateOptions& options) { return Finish(RunSteps(options)); }

 private:
  Console& Out() { return session_.Out(); }
  [[nodiscard]] std::string NothingSent() const {
    return session_.In({"バージョンの問い合わせのほかは、何も送っていません",
                        "nothing was sent but the question for the version"});
  }
  update::UpdateContext Context() {
    return {.Run = session_.Context(),
            .State = state_,
            .UpdaterPort = session_.UpdaterPort(),
            .Form = form_,
            .MessageBoxes = boxes_,
            .CommonDialog100 = session_.Context().Screen.FileDialogs};
  }

  ExitCode Fail(ExitCode code, const Problem& problem) {
    Out().EndProgress(Console::PhaseEnd::Failed);
    return session_.Fail(code, problem);
  }

  ExitCode FailToOpen() {
    return Fail(ExitCode::NoProgrammer,
                {.Code = ops::TroubleOf(state_.LastPortOpen),
                 .Text = {"ポートを開けません: " + form_.Detail(),
                          "the port cannot be opened: " + EnglishOf(form_.Detail())}});
  }

  Outcome Finish(ExitCode code) { return {.Code = code, .Json = fields_}; }

  /// A board that gives no version is no reason to stop here.
  ExitCode ReadVersion() {
    update::UpdateContext context = Context();
    const update::VersionOutcome outcome = update::ReadVersion(context);
    if (outcome == update::VersionOutcome::PortNotOpened) return FailToOpen();
    if (outcome == update::VersionOutcome::Read) {
      version_ = VersionLine(state_.ReceiveBuffer);
      session_.NoteBoardVersion(*version_);
    }
    return ExitCode::Success;
  }

  ExitCode PrintVersion() {
    if (const ExitCode code = ReadVersion(); code != ExitCode::Success) return code;
    if (!version_) {
      return Fail(ExitCode::NoProgrammer,
                  {.Code = ops::trouble::kNoProgrammer,
                   .Text = {"このポートでバージョンを答えるボードがありません。更新が途中で終わった"
                            "ボードは、もう一度更新するまで答えません",
                            "no board gives its version on this port; one whose last update was "
                            "broken off gives none until it is updated again"}});
    }
    if (!link::IsSupportedModel(*version_)) return FailAsOtherDevice();
    return Out().PrintResult(*version_);
  }

  ExitCode FailAsOtherDevice() {
    Fail(ExitCode::NoProgrammer,
         {.Code = ops::trouble::kOtherDevice,
          .Text = {
              fmt::format("このポートでは「{}」が応答します。対応しているライターではありません",
                          *version_),
              fmt::format("\"{}\" answers on this port, which is no supported programmer: "
                          "name the programmer's port",
                          *version_)}});
    Out().PrintError(NothingSent());
    return ExitCode::NoProgrammer;
  }

  ExitCode CheckFile(const std::string& path) {
    if (const auto read = session_.Context().Storage.Files.Read(path, content_); !read) {
      const bool missing = read.Code == platform::FileResult::Status::NotFound;
      return Fail(ExitCode::FileError,
                  {.Code = missing ? problem::kFileMissing : problem::kFileUnreadable,
                   .Text = {fmt::format("{}: 読めません: {}", path, read.Reason),
                            fmt::format("{}: cannot be read: {}", path, read.Reason)}});
    }
    image_ = update::CheckImage(content_);
    if (image_.Fault != update::ImageFault::None) {
      const auto text = [&](Language language) {
        return fmt::format("{}: {}", path, DescribeFault(image_, language));
      };
      Fail(ExitCode::FileError, {.Code = WordOf(image_.Fault),
                                 .Text = {text(Language::Japanese), text(Language::English)}});
      Out().PrintError(
          session_.In({"ボードには何も送っていません", "nothing was sent to the board"}));
      return ExitCode::FileError;
    }
    if (image_.FirstOddLine != 0) {
      const auto text = [&](Language language) {
        return fmt::format("{}: {}", path, DescribeOddRecord(image_, language));
      };
      session_.Warn({.Code = problem::kOddRecord,
                     .Text = {text(Language::Japanese), text(Language::English)}});
    }
    fields_.update({{"file_bytes", content_.size()},
                    {"words_to_send", image_.WordsToSend},
                    {"words_to_skip", image_.WordsToSkip},
                    {"words_sent", 0},
                    {"updated", false},
                    {"update_seconds", 0.0},
                    {"stream_seconds", 0.0}});
    return ExitCode::Success;
  }

  /// The question may have been on the screen for long, and the update reads the file anew.
  ExitCode CheckSameFile(const std::string& path) {
    std::string content;
    if (session_.Context().Storage.Files.Read(path, content) && content == content_) {
      return ExitCode::Success;
    }
    Fail(ExitCode::FileError, {.Code = problem::kFileChanged,
                               .Text = {path + ": 確認の後で変わりました",
                                        path + ": has changed since it was checked"}});
    Out().PrintError(session_.In({"ボードは変わっていません", "the board was not changed"}));
    return ExitCode::FileError;
  }

  void PrintPlan(const std::string& path) {
    Out().Print(fmt::format(
        fmt::runtime(
            session_.In({"ファイル: {}\n大きさ: {} バイト\n送るワード: {}\n送らないワード: {}",
                         "file: {}\nsize: {} bytes\nwords to send: {}\n"
                         "words to skip: {}"})),
        path, content_.size(), image_.WordsToSend, image_.WordsToSkip));
    if (!session_.HasPort()) return;
    Out().Print(session_.In({"今のバージョン: ", "current version: "}) +
                version_.value_or(
                    session_.In({"なし (更新が途中で終わったボードは答えません)",
                                 "none (a board whose last update was broken off gives none)"})));
  }

  /// Reads the answer from standard input; Ctrl-C, or its end, is no.
  bool Confirmed() {
    Out().PrintError(session_.In(
        {"ボードのファームウエアを書き換えます。終わるまで電源を切らないでください。\n"
         "更新しますか? [y/N]",
         "The board's firmware will be replaced. Do not switch the board off until it is done.\n"
         "Update? [y/N]"}));
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
    Out().PrintProgress(session_.In({"ボードを更新しています。電源を切らないでください",
                                     "updating the board: do not switch it off"}));
    form_.StartUpdate(image_.WordsToSend);
    const auto start = std::chrono::steady_clock::now();
    const update::UpdateOutcome outcome = update::RunFirmwareUpdate(context, path);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    fields_.update({{"words_sent", state_.WordsSent},
                    {"updated", outcome == update::UpdateOutcome::Finished},
                    {"update_seconds", seconds.count()},
                    {"stream_seconds", state_.StreamSeconds}});
    Out().EndProgress(outcome == update::UpdateOutcome::Finished ? Console::PhaseEnd::Done
                                                                 : Console::PhaseEnd::Failed);
    const std::string board_state = DescribeBoardState(state_, session_.Language());
    fields_["board_state"] = outcome == update::UpdateOutcome::Finished
                                 ? session_.In({"更新しました。ボードの電源を入れ直してください",
                                                "firmware updated; switch the board off and on"})
                                 : board_state;
    if (outcome == update::UpdateOutcome::Finished) {
      Out().Print(fmt::format(
          fmt::runtime(
              session_.In({"完了: 更新しました、{} ワード ({:.1f} 秒)。ボードの電源を入れ直し"
                           "てください",
                           "ok: firmware updated, {} words in {:.1f} s; switch the board "
                           "off and on"})),
          state_.WordsSent, seconds.count()));
      return ExitCode::Success;
    }
    if (outcome == update::UpdateOutcome::Stopped) {
      const auto text = [this](Language language) { return DescribeBoardState(state_, language); };
      return Fail(ExitCode::Stopped, {.Code = problem::kStopped,
                                      .Text = {"止めました: " + text(Language::Japanese),
                                               "stopped: " + text(Language::English)},
                                      .Cure = FindExplanation(problem::kStopped)->Cure});
    }
    const bool nobody_there =
        !version_ && outcome == update::UpdateOutcome::TimedOut && state_.WordsSent <= 1;
    if (nobody_there) {
      return Fail(ExitCode::NoProgrammer,
                  {.Code = ops::trouble::kNoProgrammer,
                   .Text = {form_.Status() + "。このポートではどのボードも応答しません",
                            EnglishOf(form_.Status()) + ": no board answers on this port"}});
    }
    Fail(ExitCode::Failed, {.Code = problem::kUpdateFailed, .Text = OfEngine(form_.Status())});
    Out().PrintError(std::string(Name(ExitCode::Failed)) + ": " + board_state);
    return ExitCode::Failed;
  }

  ExitCode RunSteps(const UpdateOptions& options) {
    session_.NoteCodeFile(options.File);
    if (const ExitCode code = CheckFile(options.File); code != ExitCode::Success) return code;
    if (session_.HasPort()) {
      if (const ExitCode code = ReadVersion(); code != ExitCode::Success) return code;
    }
    if (version_ && !link::IsSupportedModel(*version_)) return FailAsOtherDevice();
    PrintPlan(options.File);
    if (options.DryRun) {
      fields_["board_state"] = session_.HasPort()
                                   ? NothingSent()
                                   : session_.In({"何も送っていません", "nothing was sent"});
      return ExitCode::Success;
    }
    if (!options.Yes && !Confirmed()) {
      const bool stopped = session_.State().StopRequested;
      if (stopped) return session_.FailStopped();
      return Fail(
          ExitCode::Failed,
          {.Code = problem::kNotConfirmed,
           .Text = {"確認されませんでした (--yes で確認を省きます)。ボードは変わっていません",
                    "not confirmed (--yes confirms); the board was not changed"}});
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
  nlohmann::json fields_ = nlohmann::json::object();
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

const Verb kBoardVersion{
    .Name = "board-version",
    .Description = "print the version of the board's own firmware",
    .Needed = {.Port = true},
    .Bind = BindVersion,
    .Examples = {{{"--port COM5 board-version", "ボードのファームウエアのバージョンを出します",
                   "print the version of the board's firmware"}}}};

const Verb kUpdateFirmware{.Name = "update-firmware",
                           .Description = "replace the board's own firmware",
                           .Needed = {.NamedPort = true},
                           .Bind = BindUpdate,
                           .Examples = {{{"--port COM5 update-firmware board.hex --dry-run",
                                          "ファイルを調べるだけで、何も送りません",
                                          "look at the file and send nothing of it"},
                                         {"--port COM5 update-firmware board.hex",
                                          "確認してから、ボードのファームウエアを書き換えます",
                                          "ask, then replace the board's firmware"}}}};

}  // namespace fenwright::cli
