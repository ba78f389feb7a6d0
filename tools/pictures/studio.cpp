#include "pictures/studio.h"

#include <algorithm>
#include <utility>
#include <vector>

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDropEvent>
#include <QFile>
#include <QMimeData>
#include <QPainter>
#include <QPointer>
#include <QProgressBar>
#include <QStyle>
#include <QStyleOptionTitleBar>
#include <QTimer>
#include <QUrl>

#include "core/device_catalogue.h"

namespace fenwright::pictures {
namespace {

constexpr int kTitleHeight = 26;
constexpr const char* kAppFolder = "/home/user/.local/share/FenwrightV6/";

/// The place of a device in the selector, as the settings keep it.
std::string IndexOf(const std::string& device) {
  const auto& catalogue = core::DeviceCatalogue();
  for (std::size_t index = 0; index < catalogue.size(); ++index) {
    if (catalogue[index].DisplayName == device) return std::to_string(index);
  }
  return "0";
}

/// Lets layouts settle that wait for each other.
void Settle() {
  constexpr int kRounds = 5;
  for (int round = 0; round < kRounds; ++round) {
    QApplication::sendPostedEvents();
    QApplication::processEvents();
  }
}

QImage Grab(QWidget& widget) {
  Settle();
  return widget.grab().toImage();
}

/// Draws the title bar that the window system gives a window elsewhere.
QImage Framed(QWidget& window) {
  const QImage content = Grab(window);
  const double ratio = content.devicePixelRatio();
  const QSize size(window.width() + 2, window.height() + kTitleHeight + 1);
  QImage image(size * ratio, QImage::Format_RGB32);
  image.setDevicePixelRatio(ratio);
  QPainter painter(&image);
  painter.fillRect(QRect(QPoint(), size), window.palette().color(QPalette::Dark));

  QStyleOptionTitleBar bar;
  bar.initFrom(&window);
  bar.rect = QRect(0, 0, size.width(), kTitleHeight);
  bar.text = window.windowTitle().replace("[*]", window.isWindowModified() ? "*" : "");
  bar.icon = window.windowIcon();
  bar.titleBarState = Qt::WindowActive;
  bar.titleBarFlags =
      Qt::Window | Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint;
  if (!window.inherits("QDialog")) bar.titleBarFlags |= Qt::WindowMinMaxButtonsHint;
  bar.subControls = QStyle::SC_All;
  bar.activeSubControls = QStyle::SC_None;
  bar.state |= QStyle::State_Active;
  window.style()->drawComplexControl(QStyle::CC_TitleBar, &bar, &painter, &window);
  painter.drawImage(QPoint(1, kTitleHeight), content);
  return image;
}

bool IsPopup(const QWidget& window) { return window.windowType() == Qt::Popup; }

/// Whether a window belongs to another, at whatever distance.
bool IsOwnedBy(const QWidget& window, const QWidget& owner) {
  for (const QObject* parent = window.parent(); parent; parent = parent->parent()) {
    if (parent == &owner) return true;
  }
  return false;
}

/// What is on the screen above a window: dialogs and boxes, then menus and open lists.
std::vector<QWidget*> Above(const QWidget& base) {
  std::vector<QWidget*> above;
  for (const bool popups : {false, true}) {
    for (QWidget* window : QApplication::topLevelWidgets()) {
      const bool shown = window->isVisible() && window->windowType() != Qt::ToolTip;
      if (shown && IsOwnedBy(*window, base) && IsPopup(*window) == popups) above.push_back(window);
    }
  }
  return above;
}

/// A window and all above it, each where it stands.
QImage Scene(QWidget& base) {
  struct Piece {
    QPoint Place;
    QImage Image;
  };
  Settle();
  std::vector<Piece> pieces;
  QRect all;
  const auto add = [&](QWidget& window) {
    const bool popup = IsPopup(window);
    const QPoint corner = popup ? QPoint(0, 0) : QPoint(1, kTitleHeight);
    Piece piece{.Place = window.mapToGlobal(QPoint(0, 0)) - corner,
                .Image = popup ? Grab(window) : Framed(window)};
    all = all.united(QRect(piece.Place, piece.Image.deviceIndependentSize().toSize()));
    pieces.push_back(std::move(piece));
  };
  add(base);
  for (QWidget* window : Above(base)) add(*window);
  const double ratio = pieces.front().Image.devicePixelRatio();
  QImage image(all.size() * ratio, QImage::Format_RGB32);
  image.setDevicePixelRatio(ratio);
  image.fill(Qt::darkGray);
  QPainter painter(&image);
  for (const Piece& piece : pieces) painter.drawImage(piece.Place - all.topLeft(), piece.Image);
  return image;
}

/// Closes the uppermost dialog or box; a question about closing is answered with yes.
void CloseTop() {
  QWidget* const popup = QApplication::activePopupWidget();
  QWidget* const top = popup ? popup : QApplication::activeModalWidget();
  if (!top) return;
  auto* const yes = top->findChild<QAbstractButton*>("msgBoxYes");
  if (yes) {
    yes->click();
  } else {
    top->close();
  }
}

}  // namespace

Studio::Studio(const StudioOptions& options)
    : board_(std::make_shared<board::SimulatedBoard>(
          board::SimulatedBoardOptions{.Chip = options.Chip,
                                       .Board = {.VersionLine = options.VersionLine},
                                       .Faults = options.Faults})),
      port_(board_, time_.Source()),
      updater_port_(board_, time_.Source()),
      ports_(options.Ports),
      choice_(options.ChosenFile),
      run_({.ProgrammerPort = port_,
            .Clock = time_,
            .Files = files_,
            .CodePage = code_page_,
            .Settings = settings_,
            .Archive = &archive_,
            .Ports = &ports_,
            .FileDialogs = options.ChosenFile.empty() ? nullptr : &choice_,
            .UpdaterPort = &updater_port_,
            .MakeSimulation = [](core::RunContext& /*context*/) { return ui::SimulatedLines{}; }}) {
  settings_.Write("Settings", "device", IndexOf(options.Device));
  settings_.Write("Settings6", "ComNo", "5");
  if (!options.FirstStart) {
    settings_.Write("Settings", "ComNox", "5");
    settings_.Write("Settings", "Index_Com_Flag", "1");
  }
  files_.Files[kCounterFile] = Example("counter-eeprom/counter-eeprom.hex");
  files_.Files["/home/user/avr/counter-eeprom.eep"] = Example("counter-eeprom/counter-eeprom.eep");
  files_.Files[kBlinkFile] = Example("blink/blink.hex");
  run_.Start({.AppFolder = kAppFolder, .CommandArgument = {}});
}

void Studio::Open(const std::string& path) {
  QMimeData dragged;
  dragged.setUrls({QUrl::fromLocalFile(QString::fromStdString(path))});
  const QPoint place(1, 1);
  QDragEnterEvent enter(place, Qt::CopyAction, &dragged, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(&run_.Window(), &enter);
  QDropEvent drop(place, Qt::CopyAction, &dragged, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(&run_.Window(), &drop);
  // The window opens it once the drop has ended.
  QApplication::processEvents();
}

std::string Studio::Example(const char* path) {
  QFile file(QString(FENWRIGHT_EXAMPLES) + "/" + path);
  if (!file.open(QIODevice::ReadOnly)) qFatal("no example %s", path);
  return file.readAll().toStdString();
}

void Studio::Resize(const QSize& size) {
  if (!size.isEmpty()) run_.Window().resize(size);
}

void Studio::PickDevice(int index) {
  run_.Window().DeviceSelector()->setCurrentIndex(index);
  emit run_.Window().DeviceSelector()->activated(index);
}

void Studio::Press(const char* name) {
  if (auto* button = run_.Window().findChild<QAbstractButton*>(name)) return button->click();
  if (auto* item = run_.Window().findChild<QAction*>(name)) return item->trigger();
  qFatal("no button or menu item %s", name);
}

QWidget* Studio::Find(const char* name) {
  for (QWidget* window : QApplication::topLevelWidgets()) {
    if (window->objectName() == name) return window;
    if (auto* control = window->findChild<QWidget*>(name)) return control;
  }
  return nullptr;
}

void Studio::WhenProgress(int percent, const std::function<void()>& action,
                          const std::function<void()>& then) {
  QTimer timer;
  QObject::connect(&timer, &QTimer::timeout, &timer, [this, percent, &timer, &then] {
    const auto* bar = run_.MessageDialog().findChild<QProgressBar*>("ProgBar");
    if (!bar || !bar->isVisible() || bar->value() * 100 < percent * bar->maximum()) return;
    timer.stop();
    then();
  });
  timer.start(0);
  action();
}

QImage Studio::OfModal(const std::function<void()>& action, const std::vector<Step>& steps) {
  QImage picture;
  QTimer timer;
  QPointer<QWidget> dialog;
  std::size_t done = 0;
  QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
    if (!picture.isNull()) {
      // Not from here: closing can ask, and this timer answers.
      QTimer::singleShot(0, qApp, CloseTop);
      return;
    }
    if (!dialog) dialog = QApplication::activeModalWidget();
    if (!dialog || !dialog->isVisible()) return;
    if (done < steps.size()) {
      if (dialog->isEnabled() && steps.at(done)(*dialog)) ++done;
      return;
    }
    if (dialog->isEnabled()) picture = Scene(*dialog);
  });
  timer.start(0);
  action();
  // A dialog that the action has opened without waiting for its end.
  if (picture.isNull()) Settle();
  timer.stop();
  Settle();
  return picture;
}

Studio::Step Studio::Pressing(const char* name) {
  return [name](QWidget& /*dialog*/) {
    for (const QWidget* window : QApplication::topLevelWidgets()) {
      auto* const button = window->findChild<QAbstractButton*>(name);
      if (!button || !button->isVisible() || !button->isEnabled()) continue;
      // The next step must not wait for what the button starts.
      QTimer::singleShot(0, button, &QAbstractButton::click);
      return true;
    }
    return false;
  };
}

QImage Studio::Screen() { return Scene(run_.Window()); }

QImage Studio::Of(QWidget& widget) { return widget.isWindow() ? Framed(widget) : Grab(widget); }

}  // namespace fenwright::pictures
