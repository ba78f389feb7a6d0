#pragma once

#include <functional>
#include <utility>
#include <vector>

#include <QMainWindow>
#include <QPointer>

#include "core/app_state.h"
#include "ops/command.h"
#include "screen/message_boxes.h"
#include "ui/child_window_area.h"
#include "ui/device_box.h"
#include "ui/panel_bar.h"

class QAction;
class QDragMoveEvent;
class QSplitter;

namespace fenwright::ui {

class AboutDialog;
class FuseFrame;
class HandEditBox;
class TextPane;
class WrappedLabel;

/// What the window's controls start beside the entries of the engine.
struct WindowActions {
  /// Opens the code file, or the job, that was dropped on the window.
  std::function<void(const QString& path)> OpenDropped;
  std::function<void()> UpdateFirmware;
  std::function<void()> OpenManual;
  std::function<void()> ShowHelpContents;
  std::function<void()> ShowAbout;
};

/// `frmMain`: menus, command buttons, child windows, settings and status bar. It holds no logic of
/// its own: a control starts an entry, and everything that can be shown is shown through its parts,
/// which are the screen's interfaces.
///
/// While a command runs, every control that would start another is disabled, a dropped file is
/// refused, and closing the window, in whatever way, is asked about and carried out once the
/// command has returned. CloseUnasked() alone leaves the question out.
class MainWindow : public QMainWindow {
  Q_OBJECT

 public:
  /// All must outlive the window.
  MainWindow(core::AppState& state, platform::TextFiles& files, platform::CodePage& code_page);
  ~MainWindow() override;
  MainWindow(const MainWindow&) = delete;
  MainWindow& operator=(const MainWindow&) = delete;

  /// Who runs an entry of the engine under its guard.
  using Runner = std::function<core::CommandEnding(const ops::Entry& entry)>;

  /// To be called before the window is shown.
  void Serve(Runner runner, WindowActions actions);

  /// Who asks whether to end a running command. Without one the window closes without asking.
  void SetMessageBoxes(screen::MessageBoxes& boxes) { boxes_ = &boxes; }

  /// Who decides, in place of the usual question, whether the running command may be ended, and
  /// closes what it has on the screen; empty = the usual question.
  void SetCloseRequest(std::function<bool()> request) { close_request_ = std::move(request); }

  /// Runs an entry with the controls disabled; does nothing when a command runs already. Closes the
  /// window afterwards when that was asked for meanwhile.
  core::CommandEnding Run(const ops::Entry& entry);

  /// The same for an action of the window's own.
  void Run(const std::function<void()>& action);

  /// Closes the window without asking: at once, or as soon as the running command, which is
  /// stopped, has returned. No further command starts.
  void CloseUnasked();

  /// Shows where the content of the buffers comes from and where a save would write it, or that no
  /// file is open; marks the window when a buffer holds what no file holds.
  void ShowFileInfo();

  void SetCaption(const QString& caption);

  /// Says behind the caption, from now on, that the board is a simulated one.
  void MarkSimulated();
  [[nodiscard]] bool IsSimulated() const { return !caption_mark_.isEmpty(); }

  // The parts.
  [[nodiscard]] DeviceBox& Device() const { return *device_; }
  [[nodiscard]] FuseFrame& Fuses() const { return *fuses_; }
  [[nodiscard]] HandEditBox& HandEdit() const { return *hand_edit_; }
  [[nodiscard]] ChildWindowArea* ChildArea() const { return children_; }
  [[nodiscard]] PanelBar& Panels() const { return *panels_; }
  [[nodiscard]] AboutDialog& About() const { return *about_; }

  // What is in them.
  [[nodiscard]] QComboBox* DeviceSelector() const { return device_->Selector(); }
  [[nodiscard]] ViewWindow* ViewOf(screen::View view) const { return children_->ViewOf(view); }
  [[nodiscard]] GuideWindow& Guide() const { return children_->Guide(); }
  [[nodiscard]] ElidedLabel* StatusPanel(screen::Panel panel) const {
    return panels_->PanelOf(panel);
  }

 signals:
  /// A command, or an action of the window's own, is about to run.
  void Starting();

  /// It has returned.
  void Finished();

  /// The window is about to close: nothing runs any more.
  void Closing();

 protected:
  void closeEvent(QCloseEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dragMoveEvent(QDragMoveEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  using Action = std::function<void()> WindowActions::*;
  using EntryFunction = void (*)(core::RunContext&);
  struct MenuDesign;

  static const MenuDesign kMenuTree[];

  void BuildMenus();
  void AddMenuItem(QWidget& menu, const MenuDesign& design);
  void BuildContent();
  void ConnectParts();
  void BuildHelpKey();
  void BuildDifferenceKeys();
  QWidget* BuildCommandBar();
  QWidget* BuildSettingsPanel();
  QWidget* BuildFileBox();
  [[nodiscard]] bool MayStart() const;
  void AcceptDroppedFile(QDropEvent* event) const;
  /// The control that has the window's focus and is disabled while a command runs, if any.
  [[nodiscard]] QWidget* FocusedCommandControl() const;
  void EnableControls(bool enable);
  QPointer<QWidget> DisableControls();
  void EndRun(const QPointer<QWidget>& focus);
  void ShowWhatMatters(bool buffers_changed);
  void MarkModified(bool modified);
  [[nodiscard]] bool MayStop();
  void AskAndRequestStop();
  void OfferSocketDevices();

  // What the window menu does.
  void CloseFromMenu() { close(); }
  void RearrangeWindows();
  void OpenSettingsArea();

  core::AppState& state_;
  Runner runner_;
  WindowActions actions_;
  screen::MessageBoxes* boxes_ = nullptr;
  QString caption_;
  QString caption_mark_;   ///< what stands behind the caption
  bool modified_ = false;  ///< a buffer holds what no file holds
  std::function<bool()> close_request_;
  bool asking_ = false;         ///< the question about closing is on the screen
  bool close_pending_ = false;  ///< close as soon as the command has returned

  // Everything that starts a command, or would change what a running one works with.
  std::vector<QAction*> command_items_;
  std::vector<QWidget*> command_controls_;

  DeviceBox* const device_;
  FuseFrame* const fuses_;
  HandEditBox* const hand_edit_;
  ChildWindowArea* const children_;
  PanelBar* const panels_;
  WrappedLabel* file_info_ = nullptr;
  TextPane* file_pane_ = nullptr;
  QSplitter* columns_ = nullptr;
  AboutDialog* about_ = nullptr;
};

}  // namespace fenwright::ui
