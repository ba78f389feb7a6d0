#pragma once

#include <map>
#include <memory>

#include <QString>

#include "platform/settings_store.h"

class QSettings;

namespace fenwright::ui {

/// The per-user store of one application: the registry below HKEY_CURRENT_USER\Software on
/// Windows, an INI file in the user's configuration folder elsewhere.
class QtSettingsStore final : public platform::SettingsStore {
 public:
  /// The user's store of an application, for example "FenwrightV6".
  static QtSettingsStore ForApplication(const QString& application);

  /// A store in an INI file of its own.
  explicit QtSettingsStore(const QString& ini_path);

  ~QtSettingsStore() override;
  QtSettingsStore(QtSettingsStore&& other) noexcept;
  QtSettingsStore& operator=(QtSettingsStore&& other) noexcept;

  [[nodiscard]] std::optional<std::string> Read(std::string_view section,
                                                std::string_view key) const override;
  bool Write(std::string_view section, std::string_view key, std::string_view value) override;

  /// Where the store is: a file path or a registry key.
  [[nodiscard]] QString Location() const;

 private:
  explicit QtSettingsStore(std::unique_ptr<QSettings> settings);

  std::unique_ptr<QSettings> settings_;
  std::map<QString, std::string> refused_;  ///< what the store did not take, by section/key
};

}  // namespace fenwright::ui
