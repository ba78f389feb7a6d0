#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "support/test_run.h"

namespace fenwright::testing {

/// What happened on the platform, in order, whichever interface it went through.
using Journal = std::vector<std::string>;

/// Files that note every change of a file and every read. A path in `Unreadable` exists but cannot
/// be read, one in `Unopenable` cannot be opened for writing, and one in `LostAtClose` takes every
/// byte and loses some when it is closed.
class RecordingTextFiles final : public platform::TextFiles {
 public:
  RecordingTextFiles(FakeTextFiles& files, Journal& journal) : files_(files), journal_(journal) {}
  bool Exists(std::string_view path) override;
  platform::FileResult Read(std::string_view path, std::string& content) override;
  platform::FileResult Write(std::string_view path, std::string_view content) override;
  platform::FileResult Append(std::string_view path, std::string_view content) override;
  std::unique_ptr<platform::FileWriter> OpenForWriting(std::string_view path,
                                                       platform::FileResult& result) override;
  void Delete(std::string_view path) override;

  std::map<std::string, std::string, std::less<>> Unreadable;  ///< path and the system's words
  std::map<std::string, platform::FileResult, std::less<>> Unopenable;
  std::vector<std::string> LostAtClose;

 private:
  FakeTextFiles& files_;
  Journal& journal_;
};

class RecordingViews final : public screen::Views {
 public:
  RecordingViews(FakeViews& views, Journal& journal) : views_(views), journal_(journal) {}
  void Clear(screen::View view) override;
  void Load(screen::View view, std::string_view path) override;

 private:
  FakeViews& views_;
  Journal& journal_;
};

class RecordingStatusBar final : public screen::StatusBar {
 public:
  RecordingStatusBar(FakeStatusBar& bar, Journal& journal) : bar_(bar), journal_(journal) {}
  void SetPanelText(screen::Panel panel, std::string_view text) override;

 private:
  FakeStatusBar& bar_;
  Journal& journal_;
};

class RecordingMessageDialog final : public screen::MessageDialog {
 public:
  RecordingMessageDialog(FakeMessageDialog& dialog, Journal& journal)
      : dialog_(dialog), journal_(journal) {}
  void Show(std::string_view text, screen::MessageMode mode) override;
  void SetText(std::string_view text) override { dialog_.SetText(text); }
  void SetDetail(std::string_view text) override { dialog_.SetDetail(text); }
  void ShowButton() override { dialog_.ShowButton(); }
  void FocusButton() override { dialog_.FocusButton(); }
  void SetProgressRange(int maximum) override { dialog_.SetProgressRange(maximum); }
  void SetProgress(int value) override { dialog_.SetProgress(value); }
  void Close() override;
  [[nodiscard]] bool IsBusy() const override { return dialog_.IsBusy(); }
  [[nodiscard]] bool IsLoaded() const override { return dialog_.IsLoaded(); }

 private:
  FakeMessageDialog& dialog_;
  Journal& journal_;
};

class RecordingMessageBoxes final : public screen::MessageBoxes {
 public:
  RecordingMessageBoxes(FakeMessageBoxes& boxes, Journal& journal)
      : boxes_(boxes), journal_(journal) {}
  void Show(screen::MessageIcon icon, std::string_view title, std::string_view text) override;
  bool Ask(std::string_view title, std::string_view text) override;

 private:
  FakeMessageBoxes& boxes_;
  Journal& journal_;
};

class RecordingDeviceForm final : public screen::DeviceForm {
 public:
  RecordingDeviceForm(FakeDeviceForm& form, Journal& journal) : form_(form), journal_(journal) {}
  void SetDevices(const std::vector<std::string>& display_names) override;
  [[nodiscard]] std::string DeviceText() const override { return form_.DeviceText(); }
  [[nodiscard]] int DeviceIndex() const override { return form_.DeviceIndex(); }
  void SetDeviceIndex(int index) override { form_.SetDeviceIndex(index); }
  void SetMemoryLabels(std::string_view flash, std::string_view eeprom) override;
  void ShowDeviceFrame() override;

 private:
  FakeDeviceForm& form_;
  Journal& journal_;
};

class RecordingGuideForm final : public screen::GuideForm {
 public:
  RecordingGuideForm(FakeGuideForm& form, Journal& journal) : form_(form), journal_(journal) {}
  void SetIdle(screen::GuidePosition position) override;
  void SetHighlighted(screen::GuidePosition position) override;

 private:
  FakeGuideForm& form_;
  Journal& journal_;
};

class RecordingEventLoop final : public platform::EventLoop {
 public:
  RecordingEventLoop(FakeEventLoop& events, Journal& journal)
      : events_(events), journal_(journal) {}
  void ProcessPendingEvents() override;

 private:
  FakeEventLoop& events_;
  Journal& journal_;
};

class RecordingSettings final : public platform::SettingsStore {
 public:
  RecordingSettings(platform::SettingsStore& settings, Journal& journal)
      : settings_(settings), journal_(journal) {}
  [[nodiscard]] std::optional<std::string> Read(std::string_view section,
                                                std::string_view key) const override {
    return settings_.Read(section, key);
  }
  bool Write(std::string_view section, std::string_view key, std::string_view value) override;

 private:
  platform::SettingsStore& settings_;
  Journal& journal_;
};

/// A run without a board that writes down, over all interfaces, what is done in which order.
class RecordedRun : public TestPlatform {
 public:
  Journal Recorded;
  RecordingTextFiles RecordedFiles{Files, Recorded};
  RecordingViews RecordedViews{Views, Recorded};
  RecordingStatusBar RecordedStatusBar{StatusBar, Recorded};
  RecordingMessageDialog RecordedDialog{Dialog, Recorded};
  RecordingMessageBoxes RecordedBoxes{Boxes, Recorded};
  RecordingDeviceForm RecordedForm{Form, Recorded};
  RecordingGuideForm RecordedGuide{Guide, Recorded};
  RecordingEventLoop RecordedEvents{Events, Recorded};
  RecordingSettings RecordedSettings{Settings, Recorded};
  ScriptedPort Port{Clock};
  core::RunContext Context{
      .State = State,
      .Line = {.ProgrammerPort = Port, .Clock = Clock, .Events = RecordedEvents},
      .Storage = {.Files = RecordedFiles, .CodePage = CodePage, .Settings = RecordedSettings},
      .Screen = {.StatusBar = RecordedStatusBar,
                 .MessageDialog = RecordedDialog,
                 .MessageBoxes = RecordedBoxes,
                 .FileDialogs = FileDialogs,
                 .Views = RecordedViews,
                 .DeviceForm = RecordedForm,
                 .HandEdit = HandEdit,
                 .Guide = RecordedGuide,
                 .Fuses = Fuses,
                 .ComForm = ComForm}};

  /// Selects a device as a pick does, and forgets what that did.
  void Start(std::string_view display_name);

  /// What has been written down since the last call.
  Journal TakeJournal();
};

}  // namespace fenwright::testing
