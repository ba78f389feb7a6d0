#include "ui/qt_main_form.h"

#include <utility>

#include <QGuiApplication>
#include <QScreen>
#include <QStyle>

#include "ui/about_dialog.h"
#include "ui/guide_window.h"
#include "ui/main_window.h"
#include "ui/screen_place.h"
#include "ui/text.h"
#include "ui/twips.h"
#include "ui/view_window.h"

namespace fenwright::ui {
namespace {

constexpr int kTimerMilliseconds = 2000;

QList<QRect> Screens() {
  QList<QRect> areas;
  for (const QScreen* screen : QGuiApplication::screens()) areas << screen->availableGeometry();
  return areas;
}

int TitleHeight(const QWidget& window) {
  return window.style()->pixelMetric(QStyle::PM_TitleBarHeight);
}

screen::TwipsPlace ToTwips(const QPoint& position, const QSize& size) {
  return {.Left = static_cast<double>(PixelsToTwips(position.x())),
          .Top = static_cast<double>(PixelsToTwips(position.y())),
          .Width = static_cast<double>(PixelsToTwips(size.width())),
          .Height = static_cast<double>(PixelsToTwips(size.height()))};
}

}  // namespace

QtMainForm::QtMainForm(MainWindow& window, Actions actions)
    : window_(window),
      actions_(std::move(actions)),
      flash_place_(*window.ViewOf(screen::View::Flash)),
      eeprom_place_(*window.ViewOf(screen::View::Eeprom)),
      verify_place_(*window.ViewOf(screen::View::Verify)),
      guide_place_(window.Guide()) {
  timer_.setInterval(kTimerMilliseconds);
  QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { actions_.WatchPort(); });
}

void QtMainForm::SetSupportPageLabel(std::string_view text) {
  window_.About().SetSupportPageLabel(ToQString(text));
}

void QtMainForm::SetCaption(std::string_view text) { window_.SetCaption(ToQString(text)); }

/// The position is that of the window's frame, the size that of what is inside: this is the pair
/// that brings a window back to the pixel where it was.
void QtMainForm::Place(const screen::TwipsPlace& place) {
  const int title = TitleHeight(window_);
  const QRect wanted = FromPlace(place).ToPixels().adjusted(0, 0, 0, title);
  const QRect reachable = ReachablePlace(wanted, Screens(), title);
  window_.resize(reachable.width(), reachable.height() - title);
  window_.move(reachable.topLeft());
}

void QtMainForm::PlaceView(screen::View view, const screen::TwipsPlace& place) {
  window_.ViewOf(view)->setGeometry(ReachableChildPlace(FromPlace(place).ToPixels()));
}

void QtMainForm::Show() { window_.show(); }

void QtMainForm::ShowGuide(const screen::TwipsPosition& position) {
  const QPoint wanted(TwipsToPixels(position.Left), TwipsToPixels(position.Top));
  GuideWindow& guide = window_.Guide();
  guide.move(ReachableChildPlace(QRect(wanted, guide.size())).topLeft());
  window_.ShowGuide();
}

screen::TwipsPosition QtMainForm::GuidePosition() const {
  const QPoint place = guide_place_.Get().topLeft();
  return {.Left = static_cast<double>(PixelsToTwips(place.x())),
          .Top = static_cast<double>(PixelsToTwips(place.y()))};
}

screen::TwipsPlace QtMainForm::CurrentPlace() const {
  return ToTwips(window_.pos(), window_.size());
}

screen::TwipsPlace QtMainForm::CurrentPlaceOf(screen::View view) const {
  const QRect place = PlaceOf(view).Get();
  return ToTwips(place.topLeft(), place.size());
}

bool QtMainForm::IsMinimised() const { return window_.isMinimized(); }

void QtMainForm::UnloadOtherForms() {
  timer_.stop();
  actions_.UnloadOthers();
}

const NormalPlace& QtMainForm::PlaceOf(screen::View view) const {
  switch (view) {
    case screen::View::Flash:
      return flash_place_;
    case screen::View::Eeprom:
      return eeprom_place_;
    case screen::View::Verify:
      break;
  }
  return verify_place_;
}

/// A child can be scrolled to, so the window's own size is a generous measure for what is lost.
QRect QtMainForm::ReachableChildPlace(const QRect& wanted) const {
  return ReachablePlace(wanted, {QRect(QPoint(0, 0), window_.size())}, TitleHeight(window_));
}

}  // namespace fenwright::ui
