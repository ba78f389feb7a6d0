#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "console.h"
#include "core/app_state.h"
#include "platform/event_loop.h"
#include "platform/text_files.h"
#include "screen/com_form.h"
#include "screen/device_form.h"
#include "screen/file_dialogs.h"
#include "screen/fuse_form.h"
#include "screen/guide_form.h"
#include "screen/hand_edit_form.h"
#include "screen/message_boxes.h"
#include "screen/message_dialog.h"
#include "screen/status_bar.h"
#include "screen/views.h"

namespace fenwright::cli {

// The window's interfaces at the command line: texts are printed, nothing is asked.

/// Turns Ctrl-C (and a request to terminate, and on Windows Ctrl-Break and the closing of the
/// console) into a stop request, which takes effect when the running exchange has returned. The
/// one after it ends the program at once. The signals are the process's: every run gets them.
class SignalEventLoop final : public platform::EventLoop {
 public:
  explicit SignalEventLoop(core::AppState& state);
  void ProcessPendingEvents() override;

 private:
  core::AppState& state_;
};

/// From now on the first Ctrl-C lets the running work come to its end, and the second one is the
/// stop request.
void FinishWorkFirst();

/// True when a Ctrl-C has come.
bool EndWasRequested();

/// What the process ends with: the code, or for a run that was stopped 128 plus the number of the
/// signal.
int ProcessCode(ExitCode code);

/// Prints panel 1; keeps the others for the result.
class PrintedStatusBar final : public screen::StatusBar {
 public:
  explicit PrintedStatusBar(Console& console) : console_(console) {}
  void SetPanelText(screen::Panel panel, std::string_view text) override;
  void SetOutcome(screen::Outcome /*outcome*/, std::string_view /*reason*/) override {}
  [[nodiscard]] const std::string& Signature() const { return signature_; }

 private:
  Console& console_;
  std::string signature_;
};

/// Prints the dialog's texts, and its phases with their progress.
class PrintedMessageDialog final : public screen::MessageDialog {
 public:
  PrintedMessageDialog(Console& console, const core::AppState& state, core::Language language)
      : console_(console), state_(state), language_(language) {}

  /// Called before the first phase of the call is shown.
  std::function<void()> OnFirstPhase;

  void Show(std::string_view text, screen::MessageMode mode) override;
  void SetText(std::string_view text) override;
  void SetDetail(std::string_view text) override { detail_ = text; }
  void SetCode(std::string_view /*word*/) override {}
  void SetOutcome(screen::Outcome /*outcome*/) override {}
  void SetPhase(std::string_view text) override;
  void ShowButton() override { busy_ = false; }
  void FocusButton() override {}
  void SetProgressRange(int maximum) override { console_.StartProgress(maximum); }
  void SetProgress(int value) override { console_.ShowProgress(value); }
  void Close() override;
  [[nodiscard]] bool IsLoaded() const override { return loaded_; }
  [[nodiscard]] bool IsBusy() const override { return loaded_ && busy_; }

  /// Cause and cure below the last text, "" when there were none.
  [[nodiscard]] const std::string& Detail() const { return detail_; }

 private:
  [[nodiscard]] Console::PhaseEnd EndOfPhase() const;

  Console& console_;
  const core::AppState& state_;
  core::Language language_;
  std::string detail_;
  bool loaded_ = false;
  bool busy_ = false;
};

/// Prints on standard error, so that an advice or a failure is seen with --quiet too.
class PrintedMessageBoxes final : public screen::MessageBoxes {
 public:
  PrintedMessageBoxes(Console& console, core::Language language)
      : console_(console), language_(language) {}
  void Show(screen::MessageIcon icon, std::string_view title, std::string_view text) override;
  /// Nobody is asked: the answer is always no.
  bool Ask(std::string_view title, std::string_view text) override;

  /// The text shown last, "" before the first.
  [[nodiscard]] const std::string& LastText() const { return last_text_; }

 private:
  Console& console_;
  core::Language language_;
  std::string last_text_;
};

/// Files are named on the command line; a dialog counts as cancelled.
class NoFileDialogs final : public screen::FileDialogs {
 public:
  using Request = screen::FileDialogRequest;
  std::optional<std::string> Open(const Request& /*request*/) override { return std::nullopt; }
  std::optional<std::string> Save(const Request& /*request*/) override { return std::nullopt; }
};

/// There is no hand-edit frame at the command line.
class NoHandEdit final : public screen::HandEditForm {
 public:
  [[nodiscard]] std::string AddressText() const override { return ""; }
  [[nodiscard]] std::string DataText() const override { return ""; }
  void SetDataText(std::string_view /*text*/) override {}
  [[nodiscard]] bool FlashChosen() const override { return true; }
};

/// The port is named on the command line; the dialog counts as cancelled.
class NoComForm final : public screen::ComForm {
 public:
  void PlaceOverMainWindow() override {}
  void SetItems(const std::vector<std::string>& /*items*/) override {}
  void SetListIndex(int /*index*/) override {}
  [[nodiscard]] int ListIndex() const override { return 0; }
  void SetNote(std::string_view /*text*/) override {}
  screen::ComFormButton WaitForButton() override { return screen::ComFormButton::Cancel; }
  void Hide() override {}
  void Unload() override {}
};

/// There is no drawing of the socket at the command line.
class NoGuide final : public screen::GuideForm {
 public:
  void SetIdle(screen::GuidePosition /*position*/) override {}
  void SetHighlighted(screen::GuidePosition /*position*/) override {}
};

/// The dump files themselves are the view.
class NoViews final : public screen::Views {
 public:
  void Clear(screen::View /*view*/) override {}
  bool Load(screen::View /*view*/, std::string_view /*path*/) override { return true; }
  void ShowText(screen::View /*view*/, std::string_view /*text*/) override {}
  void Mark(screen::View /*view*/, const screen::TextPlace& /*place*/) override {}
  void ClearMarks() override {}
  void MarkDifferences(screen::View /*view*/,
                       const std::vector<screen::DifferingPlace>& /*places*/) override {}
  void ClearDifferences() override {}
};

/// The files as a verb sees them that takes no folder: it may read. What the engine would write,
/// its trace first of all, has no place to go to and ends the command.
class ReadOnlyFiles final : public platform::TextFiles {
 public:
  explicit ReadOnlyFiles(platform::TextFiles& files) : files_(files) {}
  bool Exists(std::string_view path) override { return files_.Exists(path); }
  platform::FileResult Read(std::string_view path, std::string& content) override {
    return files_.Read(path, content);
  }
  platform::FileResult Write(std::string_view /*path*/, std::string_view /*content*/) override;
  platform::FileResult Append(std::string_view path, std::string_view content) override {
    return Write(path, content);
  }
  std::unique_ptr<platform::FileWriter> OpenForWriting(std::string_view path,
                                                       platform::FileResult& result) override;
  std::unique_ptr<platform::FileWriter> OpenOwnForWriting(std::string_view path,
                                                          platform::FileResult& result) override {
    return OpenForWriting(path, result);
  }
  void Delete(std::string_view /*path*/) override {}

 private:
  platform::TextFiles& files_;
};

/// The selector without a window.
class ChosenDevice final : public screen::DeviceForm {
 public:
  void SetDevices(const std::vector<std::string>& display_names) override;
  [[nodiscard]] std::string DeviceText() const override {
    return index_ < 0 ? "" : names_.at(static_cast<std::size_t>(index_));
  }
  [[nodiscard]] int DeviceIndex() const override { return index_; }
  void SetDeviceIndex(int index) override { index_ = index; }
  void SetMemoryLabels(std::string_view /*flash*/, std::string_view /*eeprom*/) override {}
  void ShowDeviceFrame() override {}

 private:
  std::vector<std::string> names_;
  int index_ = -1;
};

/// The fuse frame without a window: the lists with their items and what is chosen in each.
class ChosenFuses final : public screen::FuseForm {
 public:
  void SetItems(screen::FuseList list, std::span<const std::string_view> items) override;
  void Select(screen::FuseList list, int index) override { lists_[list].Index = index; }
  [[nodiscard]] int SelectedIndex(screen::FuseList list) const override;
  void EnableList(screen::FuseList list, bool enable) override { lists_[list].Enabled = enable; }
  void SetLockListVisible(bool /*visible*/) override {}
  void EnableButtons(bool /*read*/, bool /*write*/) override {}
  void SetCalibrationText(std::string_view /*text*/) override {}
  void SetByteLine(std::string_view /*text*/) override {}
  void SetFrameVisible(bool /*visible*/) override {}

  /// True when the device has that field.
  [[nodiscard]] bool Has(screen::FuseList list) const;
  [[nodiscard]] const std::vector<std::string>& Items(screen::FuseList list) const;
  /// Text of the chosen item, "" when none is chosen.
  [[nodiscard]] std::string ChosenText(screen::FuseList list) const;

 private:
  struct List {
    std::vector<std::string> Items;
    int Index = -1;
    bool Enabled = false;
  };

  std::map<screen::FuseList, List> lists_;
};

}  // namespace fenwright::cli
