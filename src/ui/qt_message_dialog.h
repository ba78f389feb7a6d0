#pragma once

#include <QDialog>
#include <QElapsedTimer>
#include <QTimer>

#include "core/app_state.h"
#include "screen/message_dialog.h"
#include "ui/progress_meter.h"

class QLabel;
class QProgressBar;
class QPushButton;

namespace fenwright::ui {

class MainWindow;
class WrappedLabel;

/// `frmMsg`: the small dialog of the running operation. Modeless, owned by the main window.
///
/// Its buttons record their meaning in `AppState::CancelRequested` and unload it; closing it by its
/// title bar or with Escape is the same as CANCEL. Unloading only hides it, so that it never
/// disappears under an operation that is using it. Phase, per cent and remaining time stand around
/// the bar. Once the user has closed it, they show in the main window's status bar until the next
/// message.
class QtMessageDialog final : public QDialog, public screen::MessageDialog {
  Q_OBJECT

 public:
  QtMessageDialog(MainWindow& owner, core::AppState& state);

  void Show(std::string_view text, screen::MessageMode mode) override;
  void SetText(std::string_view text) override;
  void SetDetail(std::string_view text) override;
  void SetCode(std::string_view word) override;
  void SetOutcome(screen::Outcome outcome) override;
  void SetPhase(std::string_view text) override;
  void ShowButton() override;
  void FocusButton() override;
  void SetProgressRange(int maximum) override;
  /// Called once per word: the bar is touched only when a pixel of it, or its percentage, changes.
  void SetProgress(int value) override;
  void Close() override;
  [[nodiscard]] bool IsLoaded() const override { return loaded_; }
  [[nodiscard]] bool IsBusy() const override;

  void reject() override;

 signals:
  /// The progress, in the dialog or in the status bar, is at another percentage.
  void Progressed(int);

  /// The dialog has been taken away, by the user or by an operation.
  void Unloaded();

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  void ShowDetail();
  void Build();
  QPushButton* BuildButton(const QString& name, const QString& caption, std::int16_t meaning);
  void Load();
  /// Loads it in its busy mode, without what it said last.
  void LoadBusy();
  void ApplyRange();
  void StartMeter(int maximum);
  void ShowProgressText();
  void Unload();
  void ApplyMode();
  void ShowPicture(screen::Outcome outcome);
  void FitHeight();
  void EndWith(std::int16_t meaning);

  MainWindow& owner_;
  core::AppState& state_;
  screen::MessageMode mode_ = screen::MessageMode::Busy;
  bool loaded_ = false;
  bool left_over_ = false;       ///< what it shows is from before the running command
  bool closed_by_user_ = false;  ///< and no message has come since
  QPoint place_;                 ///< where it was loaded
  QElapsedTimer since_load_;
  QTimer settle_;  ///< puts it back to its place, see FitHeight()
  ProgressMeter meter_;
  QElapsedTimer meter_time_;
  int shown_pixels_ = -1;
  int shown_percent_ = -1;
  int told_percent_ = -1;

  QLabel* picture_ = nullptr;
  WrappedLabel* text_ = nullptr;
  WrappedLabel* detail_ = nullptr;
  QString detail_text_;
  QString code_;
  QLabel* phase_ = nullptr;
  QProgressBar* progress_ = nullptr;
  QLabel* progress_text_ = nullptr;
  QPushButton* ok_choice_ = nullptr;
  QPushButton* ok_notice_ = nullptr;
  QPushButton* cancel_ = nullptr;
};

}  // namespace fenwright::ui
