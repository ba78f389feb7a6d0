#pragma once

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDropEvent>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QObject>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QString>
#include <QTest>
#include <QTextEdit>
#include <QTimer>
#include <QUrl>
#include <QWidget>

#include "board/simulated_serial_control.h"
#include "platform/memory/memory_settings_store.h"
#include "platform/system/code_page.h"
#include "platform/system/system_clock.h"
#include "support/test_run.h"
#include "ui/elided_label.h"
#include "ui/view_window.h"
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
  void Show(MessageIcon /*icon*/, std::string_view /*title*/, std::string_view text) override {
    Shown.emplace_back(text);
  }
  void ShowWithDetail(MessageIcon icon, std::string_view title, std::string_view text,
                      std::string_view detail) override {
    Show(icon, title, text);
    Details.emplace_back(detail);
  }
  bool Ask(std::string_view /*title*/, std::string_view text) override {
    Questions.emplace_back(text);
    if (WhileAsking) WhileAsking();
    return Answer;
  }

  bool Answer = false;
  std::function<void()> WhileAsking;
  std::vector<std::string> Shown;
  std::vector<std::string> Details;
  std::vector<std::string> Questions;
};

inline constexpr std::uint32_t kInstantly = 0;
inline constexpr std::uint32_t kAtBoardSpeed = 57600;

/// Words of the HEX file that most tests work with.
inline constexpr int kProgramWords = 400;

/// What a bench has in another way than usual; null is the bench's own.
struct BenchOptions {
  std::uint32_t Baud = kInstantly;
  std::vector<board::Fault> Faults{};
  board::TimeSource Time = board::SteadyTimeSource();
  platform::Clock* Clock = nullptr;
  platform::TextFiles* Files = nullptr;
  screen::FileDialogs* Dialogs = nullptr;
  platform::SettingsStore* Settings = nullptr;
  platform::FileArchive* Archive = nullptr;
  platform::PortInfos* Ports = nullptr;
  platform::SingleInstance* Instance = nullptr;
  std::function<SimulatedLines(core::RunContext&)> MakeSimulation{};
  std::function<std::unique_ptr<Taskbar>(QWidget&)> MakeTaskbar{};
};

/// A run of the whole program: its real window, the real engine, a simulated board in whose socket
/// the selected chip sits.
class WindowBench {
 public:
  WindowBench() : WindowBench(BenchOptions{}) {}
  explicit WindowBench(const BenchOptions& options)
      : Board(std::make_shared<board::SimulatedBoard>(
            board::SimulatedBoardOptions{.Baud = options.Baud, .Faults = options.Faults})),
        Port(Board, options.Time),
        UpdaterPort(Board, options.Time),
        Run({.ProgrammerPort = Port,
             .Clock = options.Clock ? *options.Clock : Clock,
             .Files = options.Files ? *options.Files : Files,
             .CodePage = CodePage,
             .Settings = options.Settings ? *options.Settings : Settings,
             .Archive = options.Archive,
             .Ports = options.Ports,
             .Instance = options.Instance,
             .MessageBoxes = &Boxes,
             .FileDialogs = options.Dialogs ? options.Dialogs : &Dialogs,
             .UpdaterPort = &UpdaterPort,
             .MakeSimulation = options.MakeSimulation,
             .Shell = &Shell,
             .MakeTaskbar = options.MakeTaskbar,
             .ManualFolders = {"/opt/bin/", "/opt/share/"}}) {
    Port.ChipInSocket = [this] { return Run.Context().Screen.DeviceForm.DeviceText(); };
    Settings.Write("Settings", "ComNox", "1");
    Settings.Write("Settings", "Index_Com_Flag", "1");
  }

  CommandEnding Start(const std::string& file = {}) {
    return Run.Start({.AppFolder = "/app/", .CommandArgument = file});
  }
  /// Starts with a file of `kProgramWords` words.
  void StartWithFile() { Start(GivenHexFile(kProgramWords)); }

  /// A HEX file of `words` ascending words, in memory.
  std::string GivenHexFile(int words) {
    Bytes bytes;
    for (int word = 0; word < words; ++word) {
      bytes.push_back(static_cast<std::uint8_t>(word % 251));
      bytes.push_back(static_cast<std::uint8_t>(word * 7 % 253));
    }
    const std::string path = "/files/prog.hex";
    Files.Files[path] = HexFile(bytes);
    return path;
  }

  MainWindow& Window() { return Run.Window(); }
  core::AppState& State() { return Run.State(); }
  template <typename Control>
  Control* Named(const char* name) {
    return Find<Control>(Window(), name);
  }
  QPushButton* Button(const char* name) { return Named<QPushButton>(name); }
  void Press(const char* button) { QTest::mouseClick(Button(button), Qt::LeftButton); }
  void Choose(const char* item) { Named<QAction>(item)->trigger(); }
  /// Picks a device as a user does.
  void PickDevice(int index) {
    Window().DeviceSelector()->setCurrentIndex(index);
    emit Window().DeviceSelector()->activated(index);
    QApplication::processEvents();
  }

  QString ViewText(View view) { return Window().ViewOf(view)->TextControl()->toPlainText(); }
  std::string FileInfo() { return Named<QLabel>("lblFileInfo")->text().toStdString(); }
  std::string PanelText(Panel panel) { return Window().StatusPanel(panel)->text().toStdString(); }
  /// A text of the message dialog, "" when it is not on the screen.
  std::string MessageText(const char* label = "txtMsg") {
    const QtMessageDialog& dialog = Run.MessageDialog();
    return dialog.isVisible() ? Find<QLabel>(Run.MessageDialog(), label)->text().toStdString() : "";
  }

  std::shared_ptr<board::SimulatedBoard> Board;
  board::SimulatedSerialControl Port;
  board::SimulatedSerialControl UpdaterPort;
  platform::SystemClock Clock;
  FakeTextFiles Files;
  platform::Cp932CodePage CodePage;
  platform::MemorySettingsStore Settings;
  AnsweredBoxes Boxes;
  FakeFileDialogs Dialogs;
  FakeShell Shell;
  WindowRun Run;
};

/// The bench is the test's own.
struct WindowTest : Test, WindowBench {
  using WindowBench::Run;
  WindowTest() = default;
  explicit WindowTest(const BenchOptions& options) : WindowBench(options) {}
};

}  // namespace fenwright::ui
