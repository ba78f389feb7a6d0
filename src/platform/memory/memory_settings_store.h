#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/settings_store.h"

namespace fenwright::platform {

/// Settings that last as long as the object. Writing never fails.
class MemorySettingsStore final : public SettingsStore {
 public:
  [[nodiscard]] std::optional<std::string> Read(std::string_view section,
                                                std::string_view key) const override;
  bool Write(std::string_view section, std::string_view key, std::string_view value) override;

 private:
  std::map<std::pair<std::string, std::string>, std::string> values_;
};

}  // namespace fenwright::platform
