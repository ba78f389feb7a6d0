#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include <QApplication>
#include <QDropEvent>
#include <QMimeData>
#include <QObject>
#include <QString>
#include <QUrl>
#include <QWidget>
#include <gtest/gtest.h>

#include "board/simulated_serial_control.h"
#include "platform/memory/memory_settings_store.h"
#include "platform/system/code_page.h"
#include "platform/system/system_clock.h"
#include "support/fakes.h"
#include "ui/window_run.h"

namespace fenwright::ui {

/// The control of that type and name; a test failure and null when there is none.
template <typename Control>
Control* Find(QObject& window, const char* name) {
  Control* control = window.findChild<Control*>(name);
  if (!control) ADD_FAILURE() << "no control " << name;
  return control;
}

/// Drags something over a control and lets it go there, as the window system does: the events climb
/// to the first parent that takes them. False when nobody does.
inline bool Drop(QWidget& target, const QMimeData& dragged,
                 Qt::DropActions actions = Qt::CopyAction | Qt::MoveAction) {
  const QPoint place = target.rect().center();
  QDragEnterEvent enter(place, actions, &dragged, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(&target, &enter);
  if (!enter.isAccepted()) return false;
  EXPECT_EQ(enter.dropAction(), Qt::CopyAction);
  QDropEvent drop(place, actions, &dragged, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(&target, &drop);
  EXPECT_EQ(drop.dropAction(), Qt::CopyAction);
  return drop.isAccepted();
}

inline bool DropFiles(QWidget& target, const QStringList& paths) {
  QMimeData dragged;
  QList<QUrl> urls;
  for (const QString& path : paths) urls.append(QUrl::fromLocalFile(path));
  dragged.setUrls(urls);
  return Drop(target, dragged);
}

/// Message boxes that a test answers, with a look at the program while one is on the screen.
class AnsweredBoxes final : public screen::MessageBoxes {
 public:
  void Show(screen::MessageIcon /*icon*/, std::string_view /*title*/,
            std::string_view text) override {
    Shown.emplace_back(text);
  }
  bool Ask(std::string_view /*title*/, std::string_view text) override {
    Questions.emplace_back(text);
    if (WhileAsking) WhileAsking();
    return Answer;
  }

  bool Answer = false;
  std::function<void()> WhileAsking;
  std::vector<std::string> Shown;
  std::vector<std::string> Questions;
};

inline constexpr std::uint32_t kInstantly = 0;
inline constexpr std::uint32_t kAtBoardSpeed = 57600;

/// A run of the whole program: its real window, the real engine, a simulated board in whose socket
/// the selected chip sits.
class WindowBench {
 public:
  /// `ports` may be null; `settings` null stands for settings in memory.
  explicit WindowBench(std::uint32_t baud = kInstantly, platform::PortInfos* ports = nullptr,
                       platform::SettingsStore* settings = nullptr)
      : Board(std::make_shared<board::SimulatedBoard>(board::SimulatedBoardOptions{.Baud = baud})),
        Port(Board, board::SteadyTimeSource()),
        UpdaterPort(Board, board::SteadyTimeSource()),
        Run({.ProgrammerPort = Port,
             .Clock = Clock,
             .Files = Files,
             .CodePage = CodePage,
             .Settings = settings ? *settings : Settings,
             .Ports = ports,
             .MessageBoxes = &Boxes,
             .FileDialogs = &Dialogs,
             .UpdaterPort = &UpdaterPort,
             .Shell = &Shell,
             .ManualFolders = {"/opt/bin/", "/opt/share/"}}) {
    Port.ChipInSocket = [this] { return Run.Context().Screen.DeviceForm.DeviceText(); };
    Settings.Write("Settings", "ComNox", "1");
    Settings.Write("Settings", "Index_Com_Flag", "1");
  }

  core::CommandEnding Start(const std::string& file = {}) {
    return Run.Start({.AppFolder = "/app/", .CommandArgument = file});
  }

  /// A HEX file of `words` ascending words, in memory.
  std::string GivenHexFile(int words);

  std::shared_ptr<board::SimulatedBoard> Board;
  board::SimulatedSerialControl Port;
  board::SimulatedSerialControl UpdaterPort;
  platform::SystemClock Clock;
  testing::FakeTextFiles Files;
  platform::Cp932CodePage CodePage;
  platform::MemorySettingsStore Settings;
  AnsweredBoxes Boxes;
  testing::FakeFileDialogs Dialogs;
  testing::FakeShell Shell;
  WindowRun Run;
};

inline std::string WindowBench::GivenHexFile(int words) {
  std::string text;
  for (int word = 0; word < words; ++word) {
    const int address = word * 2;
    const int low = word % 251;
    const int high = (word * 7) % 253;
    const int sum = 2 + (address >> 8) + (address & 0xFF) + low + high;
    text += QString::asprintf(":02%04X00%02X%02X%02X\r\n", static_cast<unsigned>(address),
                              static_cast<unsigned>(low), static_cast<unsigned>(high),
                              static_cast<unsigned>(-sum & 0xFF))
                .toStdString();
  }
  text += ":00000001FF\r\n";
  const std::string path = "/files/prog.hex";
  Files.Files[path] = text;
  return path;
}

}  // namespace fenwright::ui
