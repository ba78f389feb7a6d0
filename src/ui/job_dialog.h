#pragma once

#include <QDialog>
#include <QString>

class QCheckBox;
class QLineEdit;
class QPushButton;

namespace fenwright::ui {

class WrappedLabel;

/// What the job box shows.
struct JobView {
  QString Description;   ///< about the job and its file
  QString CommandLine;   ///< "" = there is none
  bool MaySave = false;  ///< the window's choice is a job
  bool WithFuses = false;
};

/// `frmJob`, the job box: opens and saves a job file, and has the command line that does what the
/// window has chosen, to copy. It stays beside the main window and only shows and reports.
class JobDialog final : public QDialog {
  Q_OBJECT

 public:
  explicit JobDialog(QWidget* parent);

  void Show(const JobView& view);

  /// False while a command runs: no job can be opened or saved then.
  void EnableCommands(bool enable);

 signals:
  void OpenAsked();
  void SaveAsked();
  /// The user wants the fuse and lock lists in the job, or no longer.
  void FusesPicked(bool);

 private:
  QWidget* BuildCommandLine();
  void EnableButtons();
  void GrowToFit();

  WrappedLabel* description_;
  QCheckBox* fuses_;
  QPushButton* open_;
  QPushButton* save_;
  QLineEdit* command_line_;
  QPushButton* copy_;
  bool idle_ = true;
  bool may_save_ = false;
};

}  // namespace fenwright::ui
