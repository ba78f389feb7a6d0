#include "ui/qt_settings_store.h"

#include <utility>

#include <QSettings>
#include <QStandardPaths>

#include "ui/text.h"

namespace fenwright::ui {
namespace {

QString KeyOf(std::string_view section, std::string_view key) {
  return ToQString(section) + '/' + ToQString(key);
}

std::unique_ptr<QSettings> UserSettings(const QString& application) {
#ifdef Q_OS_WIN
  return std::make_unique<QSettings>("HKEY_CURRENT_USER\\Software\\" + application,
                                     QSettings::NativeFormat);
#else
  const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
  return std::make_unique<QSettings>(folder + '/' + application + ".ini", QSettings::IniFormat);
#endif
}

}  // namespace

QtSettingsStore QtSettingsStore::ForApplication(const QString& application) {
  return QtSettingsStore(UserSettings(application));
}

QtSettingsStore::QtSettingsStore(const QString& ini_path)
    : QtSettingsStore(std::make_unique<QSettings>(ini_path, QSettings::IniFormat)) {}

QtSettingsStore::QtSettingsStore(std::unique_ptr<QSettings> settings)
    : settings_(std::move(settings)) {}

QtSettingsStore::~QtSettingsStore() = default;
QtSettingsStore::QtSettingsStore(QtSettingsStore&& other) noexcept = default;
QtSettingsStore& QtSettingsStore::operator=(QtSettingsStore&& other) noexcept = default;

std::optional<std::string> QtSettingsStore::Read(std::string_view section,
                                                 std::string_view key) const {
  const QString name = KeyOf(section, key);
  if (const auto refused = refused_.find(name); refused != refused_.end()) return refused->second;
  const QVariant value = settings_->value(name);
  if (!value.isValid()) return std::nullopt;
  // A text with a comma that was typed into the INI file by hand is read as a list; one of variants
  // where Qt has written it with the type of its items, as it does around a NUL.
  const int type = value.metaType().id();
  if (type == QMetaType::QStringList || type == QMetaType::QVariantList) {
    return ToUtf8(value.toStringList().join(", "));
  }
  return ToUtf8(value.toString());
}

bool QtSettingsStore::Write(std::string_view section, std::string_view key,
                            std::string_view value) {
  const QString name = KeyOf(section, key);
  settings_->setValue(name, ToQString(value));
  settings_->sync();
  const bool written = settings_->status() == QSettings::NoError;
  refused_.erase(name);
  // Only of a file does QSettings itself keep what could not be written.
  if (!written) refused_.emplace(name, value);
  return written;
}

QString QtSettingsStore::Location() const { return settings_->fileName(); }

}  // namespace fenwright::ui
