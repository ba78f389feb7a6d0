#include "platform/memory/memory_settings_store.h"

namespace fenwright::platform {

std::optional<std::string> MemorySettingsStore::Read(std::string_view section,
                                                     std::string_view key) const {
  const auto entries = sections_.find(section);
  if (entries == sections_.end()) return std::nullopt;
  const auto entry = entries->second.find(key);
  if (entry == entries->second.end()) return std::nullopt;
  return entry->second;
}

bool MemorySettingsStore::Write(std::string_view section, std::string_view key,
                                std::string_view value) {
  sections_[std::string(section)][std::string(key)] = value;
  return true;
}

}  // namespace fenwright::platform
