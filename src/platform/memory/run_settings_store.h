#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/settings_store.h"

namespace fenwright::platform {

/// The settings of one run, on top of the user's store: it may hold values that were given for this
/// run alone, and it remembers when the store below could not be written.
///
/// A value given for the run is read in place of the stored one, which stays as it is, until that
/// key is written: what the user chooses later is stored and holds.
class RunSettingsStore final : public SettingsStore {
 public:
  explicit RunSettingsStore(SettingsStore& stored) : stored_(stored) {}

  [[nodiscard]] std::optional<std::string> Read(std::string_view section,
                                                std::string_view key) const override;
  bool Write(std::string_view section, std::string_view key, std::string_view value) override;

  void GiveForThisRun(std::string_view section, std::string_view key, std::string_view value);

  /// From now on what is written is this run's alone.
  void KeepToThisRun() { kept_to_this_run_ = true; }

  /// True after the first value that the store below did not take.
  [[nodiscard]] bool WriteFailed() const { return write_failed_; }

 private:
  SettingsStore& stored_;
  std::map<std::pair<std::string, std::string>, std::string> given_;
  bool write_failed_ = false;
  bool kept_to_this_run_ = false;
};

}  // namespace fenwright::platform
