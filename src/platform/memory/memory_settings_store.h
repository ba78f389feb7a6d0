#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "platform/settings_store.h"

namespace fenwright::platform {

/// Settings that last as long as the object. Writing never fails.
class MemorySettingsStore final : public SettingsStore {
 public:
  [[nodiscard]] std::optional<std::string> Read(std::string_view section,
                                                std::string_view key) const override;
  bool Write(std::string_view section, std::string_view key, std::string_view value) override;

 private:
  using Section = std::map<std::string, std::string, std::less<>>;
  std::map<std::string, Section, std::less<>> sections_;
};

}  // namespace fenwright::platform
