#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "console.h"
#include "core/device_catalogue.h"
#include "device_commands.h"
#include "fuse_commands.h"
#include "link_commands.h"
#include "options.h"
#include "platform/system/terminal.h"
#include "update_commands.h"

namespace {

using fenwright::cli::ExitCode;
using fenwright::cli::Options;

/// The catalogue as a table, or as JSON.
ExitCode ListDevices(const Options& options) {
  nlohmann::json list = nlohmann::json::array();
  std::string table;
  for (const auto& device : fenwright::core::DeviceCatalogue()) {
    list.push_back({{"name", device.DisplayName},
                    {"flash_words", device.FlashWords},
                    {"eeprom_bytes", device.EepromBytes},
                    {"device_code", device.DeviceCode},
                    {"signature", {0x1E, device.Signature[0], device.Signature[1]}}});
    table += fmt::format("flash {:5} word  EEPROM {:4} byte  signature 1E:{:02X}:{:02X}  {}\n",
                         device.FlashWords, device.EepromBytes, device.Signature[0],
                         device.Signature[1], device.DisplayName);
  }
  fenwright::cli::Console out(fenwright::cli::Console::Amount::Everything);
  return out.PrintAlways(options.Json ? list.dump(2) : table) ? ExitCode::Success
                                                              : ExitCode::FileError;
}

ExitCode Run(const Options& options) {
  using Command = Options::Command;
  switch (options.Chosen) {
    case Command::Program:
      return fenwright::cli::RunProgram(options);
    case Command::Read:
      return fenwright::cli::RunRead(options);
    case Command::Verify:
      return fenwright::cli::RunVerify(options);
    case Command::Erase:
      return fenwright::cli::RunErase(options);
    case Command::ReadFuses:
      return fenwright::cli::RunReadFuses(options);
    case Command::WriteFuses:
      return fenwright::cli::RunWriteFuses(options);
    case Command::Dump:
      return fenwright::cli::RunDump(options);
    case Command::Ports:
      return fenwright::cli::RunPorts(options);
    case Command::Detect:
      return fenwright::cli::RunDetect(options);
    case Command::CheckLink:
      return fenwright::cli::RunCheckLink(options);
    case Command::BoardVersion:
      return fenwright::cli::RunBoardVersion(options);
    case Command::UpdateFirmware:
      return fenwright::cli::RunUpdateFirmware(options);
    case Command::Devices:
      break;
  }
  return ListDevices(options);
}

int RunArguments(int argc, char** argv) {
  try {
    std::vector<std::string> arguments = fenwright::platform::Utf8Arguments(argc, argv);
    std::vector<char*> pointers;
    pointers.reserve(arguments.size());
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    const fenwright::cli::ParseResult parsed =
        fenwright::cli::ParseOptions(static_cast<int>(pointers.size()), pointers.data());
    return parsed.Ends ? parsed.EndCode : static_cast<int>(Run(parsed.Values));
  } catch (const std::exception& error) {
    // Out of memory, say; nothing of the program's own throws this far.
    std::cerr << "fenwright-cli: " << error.what() << std::endl;
    return static_cast<int>(ExitCode::Failed);
  }
}

}  // namespace

int main(int argc, char** argv) {
  const fenwright::platform::Utf8Terminal terminal;
  return RunArguments(argc, argv);
}
