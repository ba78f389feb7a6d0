#pragma once

#include <functional>
#include <string_view>

#include <QTimer>

#include "screen/main_form.h"
#include "ui/normal_place.h"

namespace fenwright::ui {

class MainWindow;

/// The windows of the program as its start and stop see them. Twips become logical pixels, so a
/// place means the same at every scale of the screen.
class QtMainForm final : public screen::MainForm {
 public:
  /// What it needs of the run that it belongs to.
  struct Actions {
    std::function<void()> SelectComPort;  ///< shows the COM port dialog; may throw CommandEnd
    std::function<void()> WatchPort;      ///< runs on every tick of the timer
    std::function<void()> UnloadOthers;   ///< takes every dialog off the screen
  };
  QtMainForm(MainWindow& window, Actions actions);

  void SetSupportPageLabel(std::string_view text) override;
  void SetCaption(std::string_view text) override;
  void Place(const screen::TwipsPlace& place) override;
  void PlaceView(screen::View view, const screen::TwipsPlace& place) override;
  void Show() override;
  void EnableTimer() override { timer_.start(); }
  void SelectComPort() override { actions_.SelectComPort(); }
  void ShowGuide(const screen::TwipsPosition& position) override;
  [[nodiscard]] screen::TwipsPlace CurrentPlace() const override;
  [[nodiscard]] screen::TwipsPlace CurrentPlaceOf(screen::View view) const override;
  [[nodiscard]] screen::TwipsPosition GuidePosition() const override;
  [[nodiscard]] bool IsMinimised() const override;
  void UnloadOtherForms() override;

 private:
  [[nodiscard]] const NormalPlace& PlaceOf(screen::View view) const;
  [[nodiscard]] QRect ReachableChildPlace(const QRect& wanted) const;

  MainWindow& window_;
  Actions actions_;
  NormalPlace flash_place_;
  NormalPlace eeprom_place_;
  NormalPlace verify_place_;
  NormalPlace guide_place_;
  QTimer timer_;
};

}  // namespace fenwright::ui
