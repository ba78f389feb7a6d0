#include "platform/memory/memory_settings_store.h"

namespace fenwright::platform {

std::optional<std::string> MemorySettingsStore::Read(std::string_view section,
                                                     std::string_view key) const {
  const auto entry = values_.find({std::string(section), std::string(key)});
  return entry != values_.end() ? std::optional(entry->second) : std::nullopt;
}

bool MemorySettingsStore::Write(std::string_view section, std::string_view key,
                                std::string_view value) {
  values_.insert_or_assign({std::string(section), std::string(key)}, std::string(value));
  return true;
}

}  // namespace fenwright::platform
