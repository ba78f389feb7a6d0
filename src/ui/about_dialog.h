#pragma once

#include <QDialog>

class QLabel;
class QPushButton;
class QVBoxLayout;

namespace fenwright::ui {

class LicenseDialog;

/// `frmAbout`: the program's icon, title and version record, and the ways to its support page and
/// to the licences.
/// Modal; its owner keeps it for the whole run, and shows it with open(), which returns at once.
class AboutDialog : public QDialog {
  Q_OBJECT

 public:
  explicit AboutDialog(QWidget* parent);

  /// The line that names the support page.
  void SetSupportPageLabel(const QString& text);

  /// What the button for the licences shows.
  [[nodiscard]] LicenseDialog& Licenses() const { return *licenses_; }

 signals:
  /// The user wants to see the support page.
  void SupportPageRequested();

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  void BuildTexts(QVBoxLayout& column);
  QWidget* BuildButtons();

  LicenseDialog* licenses_;
  QLabel* support_page_ = nullptr;
  QPushButton* close_ = nullptr;
};

}  // namespace fenwright::ui
