#include <string>

#include <fmt/format.h>

#include "core/device_catalogue.h"
#include "device_name.h"
#include "socket.h"
#include "verbs.h"

namespace fenwright::cli {
namespace {

Outcome Identify(Session& session) {
  const SocketReading socket = ReadSocket(session);
  if (socket.Code != ExitCode::Success) return {.Code = socket.Code};
  nlohmann::json list = nlohmann::json::array();
  std::string lines;
  for (const int index : socket.Devices) {
    const core::DeviceEntry& device = core::DeviceCatalogue()[static_cast<std::size_t>(index)];
    list.push_back(DeviceAsJson(device));
    const std::string alias = core::DeviceAlias(device.DisplayName);
    lines += fmt::format("{}  {}", session.StatusBar().Signature(), alias);
    if (alias != device.DisplayName) lines += fmt::format("  {}", device.DisplayName);
    lines += "\n";
  }
  return {.Code = session.Out().PrintResult(lines), .Json = {{"devices", list}}};
}

}  // namespace

const Verb kIdentify{.Name = "identify",
                     .Description =
                         "read the signature of the chip in the socket and print the "
                         "devices that have it",
                     .Needed = {.Folder = true, .AnyDevice = true, .Port = true},
                     .Bind = [](CLI::App&) -> VerbRun { return Identify; },
                     .Examples = {{{"--port COM5 identify", "ソケットに何があるかを調べます",
                                    "see what is in the socket"}}}};

}  // namespace fenwright::cli
