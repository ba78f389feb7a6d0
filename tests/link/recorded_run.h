#pragma once

#include <string>
#include <string_view>

#include "support/test_run.h"

namespace fenwright::testing {

/// Notes every panel text in a port's log and passes it on.
class RecordingStatusBar final : public screen::StatusBar {
 public:
  RecordingStatusBar(ScriptedPort& port, screen::StatusBar& next) : port_(port), next_(next) {}
  void SetPanelText(screen::Panel panel, std::string_view text) override {
    port_.Log.push_back("panel " + std::to_string(static_cast<int>(panel)) + ": " +
                        std::string(text));
    next_.SetPanelText(panel, text);
  }

 private:
  ScriptedPort& port_;
  screen::StatusBar& next_;
};

/// Notes what happens to the message dialog in a port's log and passes it on. The detail line is
/// passed on alone.
class RecordingMessageDialog final : public screen::MessageDialog {
 public:
  RecordingMessageDialog(ScriptedPort& port, screen::MessageDialog& next)
      : port_(port), next_(next) {}
  void Show(std::string_view text, screen::MessageMode mode) override {
    port_.Log.push_back("dialog shown in mode " + std::to_string(static_cast<int>(mode)) + ": " +
                        std::string(text));
    next_.Show(text, mode);
  }
  void SetText(std::string_view text) override {
    port_.Log.push_back("dialog text: " + std::string(text));
    next_.SetText(text);
  }
  void SetDetail(std::string_view text) override { next_.SetDetail(text); }
  void ShowButton() override {
    port_.Log.emplace_back("dialog button");
    next_.ShowButton();
  }
  void FocusButton() override { next_.FocusButton(); }
  void SetProgressRange(int maximum) override { next_.SetProgressRange(maximum); }
  void SetProgress(int value) override { next_.SetProgress(value); }
  void Close() override {
    port_.Log.emplace_back("dialog closed");
    next_.Close();
  }
  [[nodiscard]] bool IsLoaded() const override { return next_.IsLoaded(); }
  [[nodiscard]] bool IsBusy() const override { return next_.IsBusy(); }

 private:
  ScriptedPort& port_;
  screen::MessageDialog& next_;
};

/// Notes every message box in a port's log and passes it on.
class RecordingMessageBoxes final : public screen::MessageBoxes {
 public:
  RecordingMessageBoxes(ScriptedPort& port, screen::MessageBoxes& next)
      : port_(port), next_(next) {}
  void Show(screen::MessageIcon icon, std::string_view title, std::string_view text) override {
    port_.Log.emplace_back("message box");
    next_.Show(icon, title, text);
  }
  bool Ask(std::string_view title, std::string_view text) override {
    port_.Log.emplace_back("question");
    return next_.Ask(title, text);
  }

 private:
  ScriptedPort& port_;
  screen::MessageBoxes& next_;
};

/// A scripted run whose port log also holds, in order, what the user is shown and when window
/// events run; several turns in a row are one "yield".
class RecordedRun : public TestPlatform {
 public:
  ScriptedPort Port{Clock};
  RecordingStatusBar RecordedStatusBar{Port, StatusBar};
  RecordingMessageDialog RecordedDialog{Port, Dialog};
  RecordingMessageBoxes RecordedBoxes{Port, Boxes};
  core::RunContext Context = ContextOn(Port, {.StatusBar = RecordedStatusBar,
                                              .MessageDialog = RecordedDialog,
                                              .MessageBoxes = RecordedBoxes});
  RecordedRun() {
    Events.OnTurn = [this] {
      if (Port.Log.empty() || Port.Log.back() != "yield") Port.Log.emplace_back("yield");
    };
  }
};

}  // namespace fenwright::testing
