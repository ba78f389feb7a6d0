#include "ui/unasked_end.h"

#include <utility>

#include <QApplication>
#include <QDialog>
#include <QEvent>

#include "ui/main_window.h"

namespace fenwright::ui {
namespace {

/// How soon a dialog is closed that an unwinding command has opened.
constexpr int kLookMilliseconds = 20;

/// Closes what is in front and waits for an answer.
void DismissFrontmost() {
  if (QWidget* const popup = QApplication::activePopupWidget()) popup->close();
  QWidget* const modal = QApplication::activeModalWidget();
  if (auto* const dialog = qobject_cast<QDialog*>(modal)) {
    dialog->reject();
  } else if (modal) {
    modal->close();
  }
}

}  // namespace

UnaskedEnd::UnaskedEnd(MainWindow& window, const core::AppState& state, std::function<void()> leave)
    : window_(window), state_(state), leave_(std::move(leave)), call_(QSocketNotifier::Read) {
  timer_.setInterval(kLookMilliseconds);
  connect(&timer_, &QTimer::timeout, this, &UnaskedEnd::GoOn);
  connect(&window_, &MainWindow::Closing, this, [this] { closed_ = true; });
  connect(&call_, &QSocketNotifier::activated, this, [this] {
    call_.setEnabled(false);
    Begin();
  });
  qApp->installEventFilter(this);
}

void UnaskedEnd::Begin() {
  if (timer_.isActive()) return;
  timer_.start();
  window_.CloseUnasked();
  GoOn();
}

void UnaskedEnd::BeginOn(int descriptor) {
  if (descriptor < 0) return;
  call_.setSocket(descriptor);
  call_.setEnabled(true);
}

bool UnaskedEnd::eventFilter(QObject* watched, QEvent* event) {
  if (watched != qApp || event->type() != QEvent::Quit || closed_) return false;
  Begin();
  return true;
}

void UnaskedEnd::GoOn() {
  DismissFrontmost();
  if (closed_ && !state_.CommandRunning) leave_();
}

}  // namespace fenwright::ui
