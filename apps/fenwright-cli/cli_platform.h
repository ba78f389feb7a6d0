#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "console.h"
#include "core/app_state.h"
#include "platform/device_form.h"
#include "platform/event_loop.h"
#include "platform/file_dialogs.h"
#include "platform/fuse_form.h"
#include "platform/guide_form.h"
#include "platform/hand_edit_form.h"
#include "platform/message_boxes.h"
#include "platform/message_dialog.h"
#include "platform/status_bar.h"
#include "platform/text_files.h"
#include "platform/views.h"

namespace fenwright::cli {

// The window's interfaces at the command line: texts are printed, nothing is asked.

/// Turns Ctrl-C (and a request to terminate, and on Windows Ctrl-Break and the closing of the
/// console) into a stop request, which takes effect when the running exchange has returned. A
/// second one ends the program at once. One object per process.
class SignalEventLoop final : public platform::EventLoop {
 public:
  explicit SignalEventLoop(core::AppState& state);
  void ProcessPendingEvents() override;

 private:
  core::AppState& state_;
};

/// Prints panel 1; keeps the others for the result.
class PrintedStatusBar final : public platform::StatusBar {
 public:
  explicit PrintedStatusBar(Console& console) : console_(console) {}
  void SetPanelText(platform::Panel panel, std::string_view text) override;
  [[nodiscard]] const std::string& Signature() const { return signature_; }

 private:
  Console& console_;
  std::string signature_;
};

/// Prints the dialog's texts, and its progress as a bar.
class PrintedMessageDialog final : public platform::MessageDialog {
 public:
  explicit PrintedMessageDialog(Console& console) : console_(console) {}
  void Show(std::string_view text, platform::MessageMode mode) override;
  void SetText(std::string_view text) override;
  void SetDetail(std::string_view text) override { detail_ = text; }
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
  Console& console_;
  std::string detail_;
  bool loaded_ = false;
  bool busy_ = false;
};

/// Prints on standard error, so that an advice or a failure is seen with --quiet too.
class PrintedMessageBoxes final : public platform::MessageBoxes {
 public:
  explicit PrintedMessageBoxes(Console& console) : console_(console) {}
  void Show(platform::MessageIcon icon, std::string_view title, std::string_view text) override;
  /// Nobody is asked: the answer is always no.
  bool Ask(std::string_view title, std::string_view text) override;

 private:
  Console& console_;
};

/// Files are named on the command line; a dialog counts as cancelled.
class NoFileDialogs final : public platform::FileDialogs {
 public:
  using Request = platform::FileDialogRequest;
  std::optional<std::string> Open(const Request& /*request*/) override { return std::nullopt; }
  std::optional<std::string> Save(const Request& /*request*/) override { return std::nullopt; }
};

/// There is no hand-edit frame at the command line.
class NoHandEdit final : public platform::HandEditForm {
 public:
  [[nodiscard]] std::string AddressText() const override { return ""; }
  [[nodiscard]] std::string DataText() const override { return ""; }
  void SetDataText(std::string_view /*text*/) override {}
  [[nodiscard]] bool FlashChosen() const override { return true; }
};

/// There is no drawing of the socket at the command line.
class NoGuide final : public platform::GuideForm {
 public:
  void SetIdle(platform::GuidePosition /*position*/) override {}
  void SetHighlighted(platform::GuidePosition /*position*/) override {}
};

/// The dump files themselves are the view.
class NoViews final : public platform::Views {
 public:
  void Clear(platform::View /*view*/) override {}
  void Load(platform::View /*view*/, std::string_view /*path*/) override {}
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
  void Delete(std::string_view /*path*/) override {}

 private:
  platform::TextFiles& files_;
};

/// The selector without a window.
class ChosenDevice final : public platform::DeviceForm {
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
class ChosenFuses final : public platform::FuseForm {
 public:
  void SetItems(platform::FuseList list, std::span<const std::string_view> items) override;
  void Select(platform::FuseList list, int index) override { lists_[list].Index = index; }
  [[nodiscard]] int SelectedIndex(platform::FuseList list) const override;
  void EnableList(platform::FuseList list, bool enable) override { lists_[list].Enabled = enable; }
  void SetLockListVisible(bool /*visible*/) override {}
  void EnableButtons(bool /*read*/, bool /*write*/) override {}
  void SetCalibrationText(std::string_view /*text*/) override {}
  void SetByteLine(std::string_view /*text*/) override {}
  void SetFrameVisible(bool /*visible*/) override {}

  /// True when the device has that field.
  [[nodiscard]] bool Has(platform::FuseList list) const;
  [[nodiscard]] const std::vector<std::string>& Items(platform::FuseList list) const;
  /// Text of the chosen item, "" when none is chosen.
  [[nodiscard]] std::string ChosenText(platform::FuseList list) const;

 private:
  struct List {
    std::vector<std::string> Items;
    int Index = -1;
    bool Enabled = false;
  };

  std::map<platform::FuseList, List> lists_;
};

}  // namespace fenwright::cli
