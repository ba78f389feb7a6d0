#pragma once

#include <QDialog>

class QTextBrowser;

namespace fenwright::ui {

/// `frmLicense`: the program's licence and those of the libraries in it, whose texts are part of
/// the program. Modal; a link to a text shows it in place, and one into the web goes to the
/// browser.
class LicenseDialog : public QDialog {
  Q_OBJECT

 public:
  explicit LicenseDialog(QWidget* parent);

 protected:
  /// Begins with the overview each time.
  void showEvent(QShowEvent* event) override;

 private:
  QWidget* BuildButtons();

  QTextBrowser* text_ = nullptr;
};

}  // namespace fenwright::ui
