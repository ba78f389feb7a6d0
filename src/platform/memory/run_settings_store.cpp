#include "platform/memory/run_settings_store.h"

namespace fenwright::platform {

std::optional<std::string> RunSettingsStore::Read(std::string_view section,
                                                  std::string_view key) const {
  const auto given = given_.find({std::string(section), std::string(key)});
  return given != given_.end() ? given->second : stored_.Read(section, key);
}

bool RunSettingsStore::Write(std::string_view section, std::string_view key,
                             std::string_view value) {
  if (kept_to_this_run_) {
    GiveForThisRun(section, key, value);
    return true;
  }
  given_.erase({std::string(section), std::string(key)});
  const bool written = stored_.Write(section, key, value);
  if (!written) write_failed_ = true;
  return written;
}

void RunSettingsStore::GiveForThisRun(std::string_view section, std::string_view key,
                                      std::string_view value) {
  given_.insert_or_assign({std::string(section), std::string(key)}, std::string(value));
}

}  // namespace fenwright::platform
