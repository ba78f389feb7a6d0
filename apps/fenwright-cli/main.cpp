#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "core/device_catalogue.h"
#include "options.h"
#include "program.h"

namespace {

using fenwright::cli::ExitCode;
using fenwright::cli::Options;

/// The catalogue as a table, or as JSON.
ExitCode ListDevices(const Options& options) {
  nlohmann::json list = nlohmann::json::array();
  for (const auto& device : fenwright::core::DeviceCatalogue()) {
    list.push_back({{"name", device.DisplayName},
                    {"flash_words", device.FlashWords},
                    {"eeprom_bytes", device.EepromBytes},
                    {"device_code", device.DeviceCode},
                    {"signature", {0x1E, device.Signature[0], device.Signature[1]}}});
    if (options.Json || options.Quiet) continue;
    fmt::print("flash {:5} word  EEPROM {:4} byte  signature 1E:{:02X}:{:02X}  {}\n",
               device.FlashWords, device.EepromBytes, device.Signature[0], device.Signature[1],
               device.DisplayName);
  }
  if (options.Json) fmt::print("{}\n", list.dump(2));
  return ExitCode::Success;
}

}  // namespace

int main(int argc, char** argv) {
  const fenwright::cli::ParseResult parsed = fenwright::cli::ParseOptions(argc, argv);
  if (parsed.Ends) return parsed.EndCode;
  const Options& options = parsed.Values;
  const ExitCode code = options.Chosen == Options::Command::Devices
                            ? ListDevices(options)
                            : fenwright::cli::RunProgram(options);
  return static_cast<int>(code);
}
