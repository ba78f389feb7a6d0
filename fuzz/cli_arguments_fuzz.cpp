// Command lines of every kind: each is read, or refused with a text; nothing is run. The texts that
// its options hold go through their own readers.

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "board/faults.h"
#include "fenwright-cli/command_line.h"
#include "fenwright-cli/device_name.h"
#include "fuzz/input.h"
#include "fuzz/require.h"
#include "platform/system/port_names.h"

namespace fenwright::fuzz {
namespace {

using cli::ExitCode;

/// The input's lines are the arguments.
std::vector<std::string> ArgumentsOf(const std::string& text) {
  std::vector<std::string> arguments{"fenwright-cli"};
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) arguments.push_back(line);
  return arguments;
}

void CheckFault(const std::string& form) {
  std::string error;
  const auto fault = board::ParseFault(form, error);
  Require(fault.has_value() == error.empty(), "a fault is read, or there is an error");
  if (!fault) return;
  Require(fault->Number >= 1 && fault->Byte >= 1, "replies and bytes count from 1");
  Require(fault->Delay >= std::chrono::nanoseconds::zero(), "no reply comes before its command");
}

void CheckDevice(const std::string& name) {
  core::Sentence error;
  const int index = cli::FindDeviceIndex(name, error);
  Require((index < 0) == !error.Japanese.empty() && error.Japanese.empty() == error.English.empty(),
          "a device is found, or there is an error in both languages");
}

void CheckPort(const std::string& text) {
  const auto port = platform::ParsePortOption(text);
  Require(!port || (port->Number >= 1 && port->Number <= 256), "a port has a number");
}

void CheckCall(const std::vector<std::string>& arguments) {
  cli::CommandLine line;
  std::ostringstream output;
  std::ostringstream errors;
  const auto ended = line.Read(arguments, output, errors);
  if (ended == ExitCode::Success) {
    Require(!output.str().empty() && errors.str().empty(), "help is printed to standard output");
    return;
  }
  if (ended) {
    Require(*ended == ExitCode::Usage, "a call that makes no sense is wrong usage");
    const bool json = std::ranges::find(arguments, "--json") != arguments.end();
    Require(output.str().empty() != json, "wrong usage has a result with --json alone");
    Require(!errors.str().empty(), "wrong usage is told");
    return;
  }
  Require(output.str().empty() && errors.str().empty(), "a good call prints nothing by itself");
  const cli::Options& options = line.Common();
  Require(options.Simulate || (options.SimulateChip.empty() && options.Faults.empty()),
          "what is simulated takes --simulate");
}

void Try(const std::string& text) {
  const std::vector<std::string> arguments = ArgumentsOf(text);
  CheckCall(arguments);
  for (const std::string& argument : arguments) {
    CheckFault(argument);
    CheckDevice(argument);
    CheckPort(argument);
  }
}

}  // namespace
}  // namespace fenwright::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fenwright::fuzz::Try(fenwright::fuzz::TextOf({data, size}));
  return 0;
}
