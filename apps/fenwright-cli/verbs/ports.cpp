#include <array>
#include <filesystem>
#include <numeric>
#include <vector>

#include <fmt/format.h>

#include "core/numbers.h"
#include "verbs.h"

namespace fenwright::cli {
namespace {

using platform::PortInfo;
using platform::PortState;

/// By PortState.
constexpr std::array kStates{"usable", "missing", "no permission", "in use"};

const char* Word(PortState state) { return kStates.at(static_cast<std::size_t>(state)); }

/// The system's words about a port in the language of the call.
PortInfo InLanguage(const Session& session, PortInfo port) {
  port.Description = session.In(OfEngine(port.Description));
  port.Reason = session.In(OfEngine(port.Reason));
  return port;
}

nlohmann::json AsJson(const PortInfo& port) {
  return {{"number", port.Number},     {"name", fmt::format("COM{}", port.Number)},
          {"device_path", port.Path},  {"description", port.Description},
          {"state", Word(port.State)}, {"reason", port.Reason}};
}

/// The absence of a device needs no words; the other causes come with their cure.
bool NeedsReason(const PortInfo& port) {
  if (port.State == PortState::Usable || port.Reason.empty()) return false;
  std::error_code ignored;
  return port.State != PortState::Missing || std::filesystem::exists(port.Path, ignored);
}

std::string Line(const PortInfo& port) {
  std::string line = fmt::format("{:5}  {:13}  {:13}", fmt::format("COM{}", port.Number), port.Path,
                                 Word(port.State));
  if (!port.Description.empty()) line += "  " + port.Description;
  while (line.ends_with(' ')) line.pop_back();
  if (NeedsReason(port)) line += "\n       " + port.Reason;
  return line;
}

/// The numbers that the lists offer, and the one that the call names when it is none of them.
std::vector<int> ListedNumbers(const Session& session) {
  std::vector<int> numbers(platform::kLastListedComNumber);
  std::iota(numbers.begin(), numbers.end(), 1);
  const auto named = core::ParseWholeNumber(session.PortNumber(), 1, platform::kLastComNumber);
  if (named && *named > platform::kLastListedComNumber) numbers.push_back(*named);
  return numbers;
}

Outcome ListPorts(Session& session) {
  std::unique_ptr<platform::PortInfos> ports;
  const ExitCode code = session.FindPorts(ports);
  if (code != ExitCode::Success) return {.Code = code};
  nlohmann::json list = nlohmann::json::array();
  std::string lines;
  for (const int number : ListedNumbers(session)) {
    const PortInfo port = InLanguage(session, ports->Describe(number));
    session.Out().NoteOutside(port.Path);
    session.Out().NoteOutside(port.Description);
    list.push_back(AsJson(port));
    lines += Line(port) + "\n";
  }
  return {.Code = session.Out().PrintResult(lines), .Json = {{"ports", list}}};
}

}  // namespace

const Verb kPorts{.Name = "ports",
                  .Description = "list COM1 to COM20: device, adapter, and whether it can be used",
                  .Needed = {},
                  .Bind = [](CLI::App&) -> VerbRun { return ListPorts; },
                  .Examples = {{{"ports", "ポートと、使えるかどうかを一覧にします",
                                 "list the ports and whether they can be used"}}}};

}  // namespace fenwright::cli
