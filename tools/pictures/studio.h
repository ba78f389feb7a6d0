#pragma once

#include <functional>
#include <memory>
#include <string>

#include <QImage>
#include <QString>

#include "board/simulated_port_infos.h"
#include "board/simulated_serial_control.h"
#include "pictures/memory_files.h"
#include "pictures/simulated_time.h"
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
};

/// One run of the program's real window on a simulated board, in files and a time of its own, with
/// what it takes to bring it into a state and to take pictures of it.
class Studio {
 public:
  explicit Studio(const StudioOptions& options = {});

  /// The files of the examples, as the program finds them.
  static constexpr const char* kCounterFile = "/home/user/avr/counter-eeprom.hex";
  static constexpr const char* kBlinkFile = "/home/user/avr/blink.hex";

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

  /// Runs `action`, which shows a modal dialog, takes the dialog's picture, and closes it.
  static QImage OfModal(const std::function<void()>& action);

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
  board::SimulatedPortInfos ports_;
  ui::WindowRun run_;
};

}  // namespace fenwright::pictures
