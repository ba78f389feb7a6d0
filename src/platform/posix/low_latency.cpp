#include "platform/system/low_latency.h"

#include <filesystem>
#include <system_error>

namespace fenwright::platform {
namespace {

/// The file of a USB adapter that says how long it may hold a reply back, "" for other ports.
std::string LatencyFile(const std::string& path) {
  std::error_code error;
  const std::filesystem::path device = std::filesystem::canonical(path, error);
  const std::string name = error ? "" : device.filename().string();
  if (!name.starts_with("ttyUSB")) return "";
  return "/sys/bus/usb-serial/devices/" + name + "/latency_timer";
}

}  // namespace

std::string LowLatencyCure(const std::string& path) {
  const std::string file = LatencyFile(path);
  const std::string cure = "set its latency to 1 ms";
  return file.empty() ? cure : cure + ": echo 1 | sudo tee " + file;
}

}  // namespace fenwright::platform
