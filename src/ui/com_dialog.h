#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <QDialog>
#include <QString>
#include <QTimer>

#include "core/app_state.h"
#include "screen/com_form.h"

class QComboBox;
class QEventLoop;
class QPushButton;

namespace fenwright::ui {

class WrappedLabel;

/// What a number of the list is on this system, in a few words.
struct PortSummary {
  bool Present = false;  ///< there is a device
  bool Usable = false;   ///< it can be opened, as far as is known
  QString Text;

  bool operator==(const PortSummary&) const = default;
};

/// `frmCom`: the dialog in which the user picks the COM port. Each item of the list says beside its
/// own text what it is, and those without a device are grey; below the list a line says more about
/// the selected one. All of it is brought up to date about once a second, since adapters come and
/// go. A button looks for the board on all ports that can be used and selects its port.
///
/// Where no port can be used, the list can offer the simulated board behind its own items.
class ComDialog final : public QDialog, public screen::ComForm {
  Q_OBJECT

 public:
  /// Gives that line for a number of the list; may be empty.
  using Describer = std::function<std::string(int number)>;

  ComDialog(QWidget& owner, const core::AppState& state, Describer describe);

  /// Gives what stands beside an item; without it nothing does.
  void SetSummaries(std::function<PortSummary(int number)> summarise);

  /// Looks for the board on these items of the list and gives the one that it found, 0 for none. It
  /// runs where WaitForButton() was called, below no handler, and may end the command. Without it
  /// there is no button.
  void SetSearch(std::function<int(const std::vector<int>& numbers)> search);

  /// What leads the run to the simulated board; without it that is not offered.
  void SetSimulation(std::function<void()> simulate) { simulate_ = std::move(simulate); }

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
  void ShowSummaries();
  void OfferSimulation();
  [[nodiscard]] bool SimulationChosen() const;
  [[nodiscard]] std::vector<int> PresentItems() const;
  void Search();
  void Simulate();
  void FitHeight();

  QWidget& owner_;
  const core::AppState& state_;
  Describer describe_;
  std::function<PortSummary(int number)> summarise_;
  std::function<int(const std::vector<int>& numbers)> search_;
  std::function<void()> simulate_;
  std::string note_;
  bool search_asked_ = false;
  bool simulation_offered_ = false;
  int port_items_ = 0;  ///< items of the list that are not our own
  QTimer refresh_;
  QEventLoop* waiting_ = nullptr;  ///< while a button is awaited
  screen::ComFormButton button_ = screen::ComFormButton::Cancel;

  QComboBox* list_ = nullptr;
  QPushButton* search_button_ = nullptr;
  WrappedLabel* port_line_ = nullptr;
};

}  // namespace fenwright::ui
