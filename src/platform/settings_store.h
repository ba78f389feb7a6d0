#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace fenwright::platform {

/// The per-user store of settings of one application: texts by section and key, UTF-8.
///
/// Read() gives nothing for a key that was never written. Write() returns false when the store
/// cannot be written; the value is then kept for this run only. Nothing throws.
class SettingsStore {
 public:
  virtual ~SettingsStore() = default;
  [[nodiscard]] virtual std::optional<std::string> Read(std::string_view section,
                                                        std::string_view key) const = 0;
  virtual bool Write(std::string_view section, std::string_view key, std::string_view value) = 0;
};

}  // namespace fenwright::platform
