#include "pictures/studio.h"

#include <QAction>
#include <QApplication>
#include <QDropEvent>
#include <QFile>
#include <QMimeData>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
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

std::string Example(const QString& path) {
  QFile file(QString(FENWRIGHT_EXAMPLES) + "/" + path);
  if (!file.open(QIODevice::ReadOnly)) qFatal("no example %s", qPrintable(path));
  return file.readAll().toStdString();
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
  bar.text = window.windowTitle();
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

}  // namespace

Studio::Studio(const StudioOptions& options)
    : board_(std::make_shared<board::SimulatedBoard>(
          board::SimulatedBoardOptions{.Chip = options.Chip,
                                       .Board = {.VersionLine = options.VersionLine},
                                       .Faults = options.Faults})),
      port_(board_, time_.Source()),
      updater_port_(board_, time_.Source()),
      run_({.ProgrammerPort = port_,
            .Clock = time_,
            .Files = files_,
            .CodePage = code_page_,
            .Settings = settings_,
            .Ports = &ports_,
            .UpdaterPort = &updater_port_}) {
  settings_.Write("Settings", "ComNox", "5");
  settings_.Write("Settings", "device", IndexOf(options.Device));
  settings_.Write("Settings", "Index_Com_Flag", "1");
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

void Studio::Press(const char* name) {
  if (auto* button = run_.Window().findChild<QPushButton*>(name)) return button->click();
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

QImage Studio::OfModal(const std::function<void()>& action) {
  QImage picture;
  QTimer timer;
  QObject::connect(&timer, &QTimer::timeout, &timer, [&picture, &timer] {
    QWidget* dialog = QApplication::activeModalWidget();
    if (!dialog || !dialog->isVisible()) return;
    timer.stop();
    picture = Of(*dialog);
    dialog->close();
  });
  timer.start(0);
  action();
  // A dialog that the action has opened without waiting for its end.
  if (picture.isNull()) Settle();
  return picture;
}

QImage Studio::Of(QWidget& widget) { return widget.isWindow() ? Framed(widget) : Grab(widget); }

}  // namespace fenwright::pictures
