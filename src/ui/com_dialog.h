#pragma once

#include <functional>
#include <string>

#include <QDialog>
#include <QTimer>

#include "core/app_state.h"
#include "screen/com_form.h"

class QComboBox;
class QEventLoop;
class QPushButton;

namespace fenwright::ui {

class WrappedLabel;

/// `frmCom`: the dialog in which the user picks the COM port. Below the list a line of its own says
/// what the selected number is on this system; it is brought up to date about once a second, since
/// adapters come and go.
class ComDialog final : public QDialog, public screen::ComForm {
  Q_OBJECT

 public:
  /// Gives that line for a number of the list; may be empty.
  using Describer = std::function<std::string(int number)>;

  ComDialog(QWidget& owner, const core::AppState& state, Describer describe);

  void PlaceOverMainWindow() override;
  void SetItems(const std::vector<std::string>& items) override;
  void SetListIndex(int index) override;
  [[nodiscard]] int ListIndex() const override;
  void SetNote(std::string_view text) override;
  screen::ComFormButton WaitForButton() override;
  void Hide() override;
  void Unload() override;

  /// Escape.
  void reject() override;

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  void Build();
  QPushButton* BuildButton(const QString& name, const QString& caption,
                           screen::ComFormButton meaning);
  void Finish(screen::ComFormButton button);
  void Refresh();
  void ShowPortLine();
  [[nodiscard]] QString PortLine() const;
  void FitHeight();

  QWidget& owner_;
  const core::AppState& state_;
  Describer describe_;
  std::string note_;
  QTimer refresh_;
  QEventLoop* waiting_ = nullptr;  ///< while a button is awaited
  screen::ComFormButton button_ = screen::ComFormButton::Cancel;

  QComboBox* list_ = nullptr;
  WrappedLabel* port_line_ = nullptr;
};

}  // namespace fenwright::ui
