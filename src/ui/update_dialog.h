#pragma once

#include <QDialog>

#include "screen/update_form.h"
#include "ui/qt_file_dialogs.h"
#include "ui/qt_message_boxes.h"
#include "update/update_commands.h"

class QComboBox;
class QFrame;
class QLineEdit;
class QProgressBar;
class QPushButton;

namespace fenwright::ui {

class ElidedLabel;
class WrappedLabel;

/// `Dialog_Update`: the dialog of the firmware update. It holds no logic: its handlers run the
/// procedures of update/update_commands, which show what they do through the form below.
///
/// While words are on their way to the board, closing it, in whatever way, is asked about and
/// carried out once the running exchange has returned. Closing it during any other exchange is not
/// asked about, but has to wait for the exchange too.
class UpdateDialog final : public QDialog, public screen::UpdateForm {
  Q_OBJECT

 public:
  /// In place of the dialog's own; null = the dialog's own.
  struct Substitutes {
    screen::MessageBoxes* MessageBoxes = nullptr;
    screen::FileDialogs* FileDialogs = nullptr;
  };

  /// `run` and `updater_port` must outlive the dialog. Nothing is touched before Run().
  UpdateDialog(QWidget* owner, core::RunContext& run, platform::SerialControl& updater_port,
               const Substitutes& substitutes);

  /// Loads the dialog, shows it modally until it is closed, and unloads it: the COM port is given
  /// back on every way out.
  void Run();

  /// Asks where something must be asked, and closes the dialog, at once or as soon as the running
  /// exchange has returned. False when the user wants the update to go on. Nothing is asked once a
  /// stop is requested.
  bool RequestClose();

  [[nodiscard]] const update::UpdateState& State() const { return state_; }

  void reject() override;

  void PlaceDivider() override;
  void SetPortItems(const std::vector<std::string>& items) override;
  void SetPortText(std::string_view text) override;
  [[nodiscard]] std::string PortText() const override;
  void SetSpeedItems(const std::vector<std::string>& items) override;
  void SetSpeedText(std::string_view text) override;
  [[nodiscard]] std::string SpeedText() const override;
  void EnableSpeed(bool enable) override;
  void EnableVersionButton(bool enable) override;
  void EnableUpdateButton(bool enable) override;
  void SetVersionText(std::string_view text) override;
  void SetFileText(std::string_view path) override;
  void SetInstructions(std::string_view text) override;
  void SetInstructionsBackground(std::optional<std::uint32_t> colour) override;
  void SetStatusText(std::string_view text) override;
  void SetDetail(std::string_view text) override;
  void SetProgress(int value) override;
  void ShowProgress(int minimum, int maximum, int value) override;

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  void BuildInstructions();
  void BuildControls();
  void BuildLayout();
  void Connect();
  /// Grows with its texts, and does not shrink again.
  void FitHeight();
  /// Runs a procedure, then closes the dialog if that was asked for meanwhile.
  template <typename Procedure>
  void Do(Procedure procedure);

  QtMessageBoxes own_boxes_;
  QtFileDialogs own_chooser_;
  update::UpdateState state_;
  update::UpdateContext context_;
  bool asking_ = false;         ///< the question about closing is on the screen
  bool close_pending_ = false;  ///< close as soon as the running procedure has returned

  WrappedLabel* instructions_ = nullptr;
  QFrame* divider_ = nullptr;
  QComboBox* port_ = nullptr;
  QComboBox* speed_ = nullptr;
  QPushButton* version_button_ = nullptr;
  QLineEdit* version_ = nullptr;
  QPushButton* open_button_ = nullptr;
  QLineEdit* file_ = nullptr;
  QPushButton* update_button_ = nullptr;
  QProgressBar* progress_ = nullptr;
  WrappedLabel* detail_ = nullptr;
  QPushButton* close_button_ = nullptr;
  ElidedLabel* status_ = nullptr;
};

}  // namespace fenwright::ui
