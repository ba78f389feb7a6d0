#pragma once

#include "ui/main_window.h"
#include "ui/window_bench.h"

namespace fenwright::ui {

/// A window that is on the screen and writes down the commands that its controls start.
class LoggedWindow : public Test {
 protected:
  LoggedWindow() {
    const auto logged = [this](const char* name) { return [this, name] { RunCommand(name); }; };
    window_.SetCommands(
        {.Open = logged("open"),
         .OpenCode = logged("open code"),
         .OpenData = logged("open data"),
         .OpenDropped = [this](const QString& path) { RunCommand("drop " + path.toStdString()); },
         .Reload = logged("reload"),
         .Save = logged("save"),
         .SaveAs = logged("save as"),
         .SaveCodeAs = logged("save code as"),
         .SaveDataAs = logged("save data as"),
         .ReadOneLocation = logged("read cell"),
         .WriteOneLocation = logged("write cell"),
         .Program = logged("program"),
         .Read = logged("read"),
         .Verify = logged("verify"),
         .Erase = logged("erase"),
         .PickDevice = logged("pick"),
         .ClearBuffers = logged("clear"),
         .TraceComPortMenu = logged("trace"),
         .SelectComPort = logged("select port"),
         .OpenGuide = logged("guide"),
         .UpdateFirmware = logged("update"),
         .OpenManual = logged("manual"),
         .ShowHelpContents = logged("contents"),
         .ShowAbout = logged("about"),
         .ReadFuses = logged("read fuses"),
         .WriteFuses = logged("write fuses"),
         .PickRstDisable = logged("pick reset pin")});
    window_.show();
    QApplication::processEvents();
  }

  /// Stands for a command of the engine: it holds the guard and lets events run.
  void RunCommand(const std::string& name) {
    log_.push_back(name);
    state_.CommandRunning = true;
    if (during_command_) during_command_();
    QApplication::processEvents();
    state_.CommandRunning = false;
    state_.StopRequested = false;
  }

  QPushButton* Button(const char* name) { return Find<QPushButton>(window_, name); }
  void Press(const char* name) { QTest::mouseClick(Button(name), Qt::LeftButton); }
  void Choose(const char* action) { Find<QAction>(window_, action)->trigger(); }
  ViewWindow* Flash() { return window_.ViewOf(View::Flash); }
  ViewWindow* Eeprom() { return window_.ViewOf(View::Eeprom); }
  ViewWindow* Verify() { return window_.ViewOf(View::Verify); }

  core::AppState state_;
  MainWindow window_{state_};
  Texts log_;
  std::function<void()> during_command_;
};

}  // namespace fenwright::ui
