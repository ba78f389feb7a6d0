#include "options.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <sstream>
#include <string_view>
#include <system_error>
#include <unistd.h>
#include <vector>

#include <CLI/CLI.hpp>

#include "board/chip_models.h"
#include "board/faults.h"
#include "platform/system/printable.h"

namespace fenwright::board_app {
namespace {

constexpr int kUsageError = 2;
constexpr const char* kDescription =
    "Serves a simulated programmer board, or the board's side of a recorded run, on a pseudo "
    "terminal, whose path is the first line of output.";
constexpr const char* kName = "fenwright-board";

/// The values as they stand on the command line.
struct Arguments {
  std::string Device;
  double LatencyMilliseconds = 0;
  double AckDelayMilliseconds = 0;
  std::string VersionLine = "KV-LOD350  V6.38";
  std::vector<std::string> Faults;
  bool ChipTimes = false;
};

std::chrono::nanoseconds FromMilliseconds(double milliseconds) {
  return std::chrono::nanoseconds(static_cast<std::int64_t>(milliseconds * 1e6));
}

/// A delay in milliseconds. What is no number compares as nothing, so it is asked for the good
/// case.
std::string CheckDelay(const std::string& text) {
  constexpr double kLongest = 1e6;
  double value = 0;
  if (CLI::detail::lexical_cast(text, value) && value >= 0 && value <= kLongest) return "";
  return "\"" + text + "\" is no time of 0 to 1000000 ms";
}

/// A file that is replaced as a whole, in a folder that takes new files.
std::string CheckOutputFile(const std::string& text) {
  std::error_code ignored;
  const std::filesystem::path path = std::filesystem::absolute(text, ignored);
  if (std::filesystem::exists(path, ignored) && !std::filesystem::is_regular_file(path, ignored)) {
    return "\"" + text + "\" is no regular file";
  }
  const std::filesystem::path folder = path.parent_path();
  if (!std::filesystem::is_directory(folder, ignored)) {
    return "\"" + text + "\": there is no such folder";
  }
  if (access(folder.c_str(), W_OK | X_OK) != 0) {
    return "\"" + text + "\": its folder cannot be written";
  }
  return "";
}

/// Lines for a terminal, which nothing of the command line does anything to.
std::string Shown(std::string_view text, const Options& options) {
  return platform::Printable(text, platform::OutsideOf(options.Words));
}

void Declare(CLI::App& app, Options& options, Arguments& arguments) {
  app.add_option("--device", arguments.Device, "chip in the socket, its name or a part of it")
      ->type_name("NAME");
  app.add_option("--replay", options.Replay,
                 "instead of a simulated board: file with the bytes of a run, of --log or of "
                 "fenwright-cli --log, whose board is played")
      ->type_name("FILE");
  app.add_option("--link", options.Link, "symbolic link to make to the terminal")
      ->type_name("PATH");
  app.add_option("--baud", options.Board.Baud, "speed of the line, 0 = no delay at all")
      ->capture_default_str()
      ->type_name("N");
  app.add_option("--latency-ms", arguments.LatencyMilliseconds,
                 "time for which the adapter holds back received bytes")
      ->check(CheckDelay)
      ->type_name("X");
  app.add_option("--ack-delay-ms", arguments.AckDelayMilliseconds,
                 "time that the board takes to acknowledge each A")
      ->check(CheckDelay)
      ->type_name("X");
  app.add_flag("--chip-times", arguments.ChipTimes,
               "erasing and writing take the time that the data sheets give");
  app.add_option("--version-line", arguments.VersionLine,
                 "the answer to ?, without its line end (CR LF)")
      ->capture_default_str()
      ->type_name("TEXT");
  app.add_option("--state", options.State,
                 "file that keeps the board's chips from one run to the next")
      ->check(CheckOutputFile)
      ->type_name("FILE");
  app.add_option("--dump", options.Dump,
                 "file for the chip's memories: flash in HEX-file byte order, then EEPROM")
      ->check(CheckOutputFile)
      ->type_name("FILE");
  app.add_option("--log", options.Log, "file for the bytes: \"> \" to the board, \"< \" from it")
      ->type_name("FILE");
  app.add_option("--fault", arguments.Faults, "something that goes wrong, see below; repeatable")
      ->allow_extra_args(false)
      ->type_name("SPEC");
  app.footer(
      "Faults, with N counting from 1:\n" + board::FaultForms() +
      "\nState and dump are written each time programming mode is left and at the end\n"
      "(SIGTERM, SIGINT, SIGHUP, or a hang-up).\n\n"
      "A replay ends with exit code 0 when the record was played to its end and the line was\n"
      "closed, and with 1 where something else came than the record has, or it was not played\n"
      "to its end.\n\nDevices:\n" +
      board::ListChipNames());
}

/// Refuses what has no meaning together. (The library's own way to say so would fill the help.)
void CheckTogether(const CLI::App& app) {
  constexpr std::array kOfChip{"--device", "--ack-delay-ms", "--chip-times", "--version-line",
                               "--state",  "--dump",         "--fault"};
  if (app.count("--replay") == 0) {
    if (app.count("--device") == 0) throw CLI::RequiredError("--device or --replay");
    return;
  }
  for (const char* const option : kOfChip) {
    if (app.count(option) != 0) throw CLI::ExcludesError("--replay", option);
  }
}

/// True when both paths lead to one file that is there.
bool IsSameFile(const std::string& first, const std::string& second) {
  std::error_code ignored;
  return std::filesystem::equivalent(first, second, ignored);
}

bool Complete(const Arguments& arguments, Options& options) {
  options.Board.Latency = FromMilliseconds(arguments.LatencyMilliseconds);
  if (!options.Replay.empty()) {
    if (!IsSameFile(options.Replay, options.Log)) return true;
    std::cerr << Shown("--log \"" + options.Log + "\" is the record that is to be played\n",
                       options);
    return false;
  }
  const board::ChipModel* model = board::FindChip(arguments.Device);
  if (model == nullptr) {
    std::cerr << Shown("--device \"" + arguments.Device +
                           "\" is unknown or ambiguous; the devices are\n" + board::ListChipNames(),
                       options);
    return false;
  }
  for (const std::string& form : arguments.Faults) {
    std::string error;
    const auto fault = board::ParseFault(form, error);
    if (!fault) {
      std::cerr << Shown(error, options);
      return false;
    }
    options.Board.Faults.push_back(*fault);
  }
  options.Board.Chip = model->Name;
  options.Board.Board.ExtendDelay = FromMilliseconds(arguments.AckDelayMilliseconds);
  options.Board.Board.VersionLine = arguments.VersionLine + "\r\n";
  options.Board.Board.Times = arguments.ChipTimes ? board::Timing::DataSheet : board::Timing::None;
  return true;
}

}  // namespace

std::optional<Options> ReadOptions(int argc, const char* const* argv, int& exit_code) {
  CLI::App app(kDescription, kName);
  Options options;
  options.Words.assign(argv, argv + argc);
  Arguments arguments;
  Declare(app, options, arguments);
  try {
    app.parse(argc, argv);
    CheckTogether(app);
  } catch (const CLI::ParseError& problem) {
    std::ostringstream out;
    std::ostringstream errors;
    exit_code = app.exit(problem, out, errors) == 0 ? 0 : kUsageError;
    std::cout << Shown(out.str(), options) << std::flush;
    std::cerr << Shown(errors.str(), options) << std::flush;
    return std::nullopt;
  }
  if (!Complete(arguments, options)) {
    exit_code = kUsageError;
    return std::nullopt;
  }
  return options;
}

void WithCommandLine(const std::function<void(const CLI::App&)>& use) {
  CLI::App app(kDescription, kName);
  Options options;
  Arguments arguments;
  Declare(app, options, arguments);
  use(app);
}

}  // namespace fenwright::board_app
