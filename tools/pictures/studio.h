#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <QImage>
#include <QString>

#include "board/simulated_serial_control.h"
#include "pictures/memory_files.h"
#include "pictures/simulated_time.h"
#include "pictures/studio_user.h"
#include "platform/memory/memory_settings_store.h"
#include "platform/system/code_page.h"
#include "ui/window_run.h"

class QWidget;

namespace fenwright::pictures {

/// What a picture starts with.
struct StudioOptions {
  std::string Device = "AT90S8515";  ///< the chosen one
  std::string Chip = "AT90S8515";    ///< in the socket, "empty" = none
  std::string VersionLine = "KV-LOD350  V6.38\r\n";
  std::vector<board::Fault> Faults;
  PortsOfStudio Ports = PortsOfStudio::Simulated;
  bool FirstStart = false;  ///< no port was ever chosen: the dialog for it comes first
  std::string ChosenFile;   ///< what the user chooses in every file dialog, "" = they are shown
};

/// One run of the program's real window on a simulated board, in files and a time of its own, with
/// what it takes to bring it into a state and to take pictures of it.
class Studio {
 public:
  explicit Studio(const StudioOptions& options = {});

  /// The files of the examples, as the program finds them.
  static constexpr const char* kCounterFile = "/home/user/avr/counter-eeprom.hex";
  static constexpr const char* kBlinkFile = "/home/user/avr/blink.hex";

  /// The content of a file of the examples.
  static std::string Example(const char* path);

  /// Gives the window that size inside; an empty one leaves it alone.
  void Resize(const QSize& size);

  /// Picks a device in the selector, as the user does.
  void PickDevice(int index);

  /// Opens a file as dropping it on the window does.
  void Open(const std::string& path);

  /// Presses a button of the main window, or picks an item of its menus, by its object name.
  void Press(const char* name);

  /// The first control of that name in any window; null when there is none.
  static QWidget* Find(const char* name);

  /// Runs `action` and meanwhile, as soon as the message dialog's bar has reached that share,
  /// `then`, once.
  void WhenProgress(int percent, const std::function<void()>& action,
                    const std::function<void()>& then);

  /// One step of a user in a dialog; true when it is done, false to be asked again.
  using Step = std::function<bool(QWidget& dialog)>;

  /// Runs `action`, which shows a modal dialog; goes through the steps as soon as the dialog can be
  /// used; takes the dialog's picture with what has opened above it; and closes it.
  static QImage OfModal(const std::function<void()>& action, const std::vector<Step>& steps = {});

  /// The step that presses a button of the dialog, or of a box above it.
  static Step Pressing(const char* name);

  /// The main window's picture with every dialog and menu that is open above it.
  QImage Screen();

  /// A window's picture with a title bar and a frame; a control's as it is.
  static QImage Of(QWidget& widget);

  [[nodiscard]] ui::WindowRun& Run() { return run_; }
  [[nodiscard]] board::SimulatedSerialControl& Port() { return port_; }
  [[nodiscard]] MemoryFiles& Files() { return files_; }

 private:
  SimulatedTime time_;
  MemoryFiles files_;
  platform::Cp932CodePage code_page_;
  platform::MemorySettingsStore settings_;
  std::shared_ptr<board::SimulatedBoard> board_;
  board::SimulatedSerialControl port_;
  board::SimulatedSerialControl updater_port_;
  MemoryArchive archive_;
  StudioPorts ports_;
  StudioChoice choice_;
  ui::WindowRun run_;
};

}  // namespace fenwright::pictures
