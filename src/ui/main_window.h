#pragma once

#include <array>
#include <functional>

#include <QMainWindow>

#include "core/app_state.h"
#include "platform/message_boxes.h"
#include "platform/status_bar.h"
#include "platform/views.h"

class QAction;
class QComboBox;
class QFrame;
class QLabel;
class QMdiArea;
class QPushButton;
class QSessionManager;

namespace fenwright::ui {

class ElidedLabel;
class ViewWindow;
class WrappedLabel;

/// What the window's controls start. Each function runs one command to its end.
struct MainWindowCommands {
  std::function<void()> Open;
  std::function<void()> Program;
  std::function<void()> PickDevice;
  /// Runs after each command, with the controls enabled again; may be empty.
  std::function<void()> AfterCommand;
};

/// `frmMain`: menus, command buttons, device selector, child windows and status bar. It holds no
/// logic of its own: a handler runs a command, and everything that can be shown is shown through
/// the adapters of the platform interfaces, which are given the controls below.
///
/// While a command runs, every control that would start another is disabled, and closing the
/// window, in whatever way, is asked about and carried out once the command has returned.
class MainWindow : public QMainWindow {
  Q_OBJECT

 public:
  explicit MainWindow(core::AppState& state, QWidget* parent = nullptr);

  /// To be called before the window is shown.
  void SetCommands(MainWindowCommands commands);

  /// Who asks whether to end a running command. Without one the window closes without asking.
  void SetMessageBoxes(platform::MessageBoxes& boxes) { boxes_ = &boxes; }

  /// Runs a command with the controls disabled; does nothing when a command runs already. Closes
  /// the window afterwards when that was asked for meanwhile.
  void Run(const std::function<void()>& command);

  /// Asks like closing the window does, and is false when the session has to wait.
  bool MayEndSession();

  /// Text about the loaded file, beside the views; may have several lines.
  void SetFileInfo(const QString& text);

  /// Says in the caption that the board is a simulated one.
  void MarkSimulated();

  // The controls, for the adapters and tests.
  [[nodiscard]] QComboBox* DeviceSelector() const { return device_selector_; }
  [[nodiscard]] QFrame* DeviceFrame() const { return device_frame_; }
  [[nodiscard]] QLabel* FlashSizeLabel() const { return flash_size_; }
  [[nodiscard]] QLabel* EepromSizeLabel() const { return eeprom_size_; }
  [[nodiscard]] ElidedLabel* StatusPanel(platform::Panel panel) const;
  [[nodiscard]] ViewWindow* ViewOf(platform::View view) const;
  [[nodiscard]] QMdiArea* ChildArea() const { return children_; }

 signals:
  /// The window is about to close: nothing runs any more.
  void Closing();

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  void BuildMenus();
  void BuildContent();
  void BuildViews();
  void BuildStatusBar();
  QWidget* BuildCommandBar();
  QWidget* BuildSettingsPanel();
  QWidget* BuildDeviceBox();
  QWidget* BuildFileBox();
  void EnableControls(bool enable);
  void AskAndRequestStop();
  void OnCommitData(QSessionManager& manager);
  void OpenView(ViewWindow* view, const QRect& place);
  void CascadeViews();
  void TileViews(Qt::Orientation direction);
  void PlaceViews(const std::function<std::vector<QRect>(const QSize&, int)>& places);

  core::AppState& state_;
  MainWindowCommands commands_;
  platform::MessageBoxes* boxes_ = nullptr;
  bool asking_ = false;         ///< the question about closing is on the screen
  bool close_pending_ = false;  ///< close as soon as the command has returned

  QAction* open_action_ = nullptr;
  QPushButton* open_button_ = nullptr;
  QPushButton* program_button_ = nullptr;
  QComboBox* device_selector_ = nullptr;
  QFrame* device_frame_ = nullptr;
  QLabel* flash_size_ = nullptr;
  QLabel* eeprom_size_ = nullptr;
  WrappedLabel* file_info_ = nullptr;
  QMdiArea* children_ = nullptr;
  ViewWindow* flash_view_ = nullptr;
  ViewWindow* eeprom_view_ = nullptr;
  ViewWindow* verify_view_ = nullptr;
  std::array<ElidedLabel*, 5> panels_{};
};

}  // namespace fenwright::ui
