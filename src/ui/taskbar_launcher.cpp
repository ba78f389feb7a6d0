#include <QDBusConnection>
#include <QDBusMessage>
#include <QVariantMap>

#include "ui/taskbar.h"

namespace fenwright::ui {
namespace {

constexpr double kAll = 100;

/// The signal that docks and taskbars of several desktops listen to. Whoever does not leaves it
/// unheard. It names the program by its desktop file.
class LauncherEntry final : public Taskbar {
 public:
  void ShowProgress(int percent) override {
    Send({{"progress", percent / kAll}, {"progress-visible", true}, {"urgent", false}});
  }

  void ShowFailure() override { Send({{"progress-visible", false}, {"urgent", true}}); }

  void Clear() override {
    if (sent_) Send({{"progress-visible", false}, {"urgent", false}});
  }

 private:
  void Send(const QVariantMap& properties) {
    sent_ = true;
    QDBusMessage update = QDBusMessage::createSignal("/com/fenwright/LauncherEntry",
                                                     "com.canonical.Unity.LauncherEntry", "Update");
    update << QString("application://fenwright.desktop") << properties;
    QDBusConnection::sessionBus().send(update);
  }

  bool sent_ = false;
};

}  // namespace

std::unique_ptr<Taskbar> MakeTaskbar(QWidget& /*window*/) {
  // Without a session bus the first signal would start one.
  if (qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS")) return nullptr;
  return std::make_unique<LauncherEntry>();
}

}  // namespace fenwright::ui
