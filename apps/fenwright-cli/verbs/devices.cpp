#include <fmt/format.h>

#include "core/device_catalogue.h"
#include "device_name.h"
#include "verbs.h"

namespace fenwright::cli {
namespace {

Outcome ListDevices(Session& session) {
  nlohmann::json list = nlohmann::json::array();
  std::string table;
  for (const auto& device : core::DeviceCatalogue()) {
    list.push_back(DeviceAsJson(device));
    table += fmt::format("flash {:5} word  EEPROM {:4} byte  signature 1E:{:02X}:{:02X}  {}\n",
                         device.FlashWords, device.EepromBytes, device.Signature[0],
                         device.Signature[1], device.DisplayName);
  }
  return {.Code = session.Out().PrintResult(table), .Json = {{"devices", list}}};
}

}  // namespace

const Verb kDevices{.Name = "devices",
                    .Description = "list the devices",
                    .Needed = {},
                    .Bind = [](CLI::App&) -> VerbRun { return ListDevices; },
                    .Examples = {{{"devices", "対応するデバイスを一覧にします", "list the devices"},
                                  {"--json devices", "同じものをスクリプトのために出します",
                                   "the same for a script"}}}};

}  // namespace fenwright::cli
