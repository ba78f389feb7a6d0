#pragma once

#include <nlohmann/json.hpp>

#include "support/json_schema.h"
#include "system/board_program.h"

namespace fenwright::testing {

using nlohmann::json;

/// The words of a command line: a text is split at its blanks, a list is taken as it is.
struct Words : std::vector<std::string> {
  using std::vector<std::string>::vector;
  Words(const char* line) : Words(std::string(line)) {}
  Words(const std::string& line) {
    std::istringstream stream(line);
    for (std::string word; stream >> word;) push_back(word);
  }
};

/// Words one after the other.
inline Words operator+(Words words, const Words& more) {
  words.insert(words.end(), more.begin(), more.end());
  return words;
}

/// What a call of the command line came to.
struct CliResult {
  int Code = -1;
  std::string Out;
  std::string Err;

  /// The object of a call with --json. It has to be as docs/fenwright-cli.schema.json says.
  [[nodiscard]] json Json() const {
    const json told = json::parse(Out);
    EXPECT_EQ(SchemaFault(told), "") << Out;
    return told;
  }
  friend void PrintTo(const CliResult& result, std::ostream* stream) {
    *stream << "exit code " << result.Code << "\n" << result.Out << "----\n" << result.Err;
  }
};

inline auto Ends(int code) { return ::testing::Field("exit code", &CliResult::Code, code); }
/// Its standard output contains a text, or is as a matcher has it.
inline auto Prints(const std::string& text) {
  return ::testing::Field("output", &CliResult::Out, HasSubstr(text));
}
template <typename Matcher>
auto Prints(Matcher matcher) {
  return ::testing::Field("output", &CliResult::Out, matcher);
}
inline auto Prints(const char* text) { return Prints(std::string(text)); }
/// The same for its standard error.
inline auto Warns(const std::string& text) {
  return ::testing::Field("errors", &CliResult::Err, HasSubstr(text));
}
template <typename Matcher>
auto Warns(Matcher matcher) {
  return ::testing::Field("errors", &CliResult::Err, matcher);
}
inline auto Warns(const char* text) { return Warns(std::string(text)); }

/// Calls of the command line in a folder of the test's own.
class CliTest : public Test {
 protected:
  CliResult Run(const Words& words, Process::Setup setup = {},
                const std::string& program = FENWRIGHT_CLI_PROGRAM) {
    setup.Folder = folder_.Path().string();
    return Finish(Process(Words{program} + words, setup));
  }
  /// On the simulated board.
  CliResult Simulate(const Words& command, const std::string& device = "ATtiny12L") {
    return Run(Words{"--simulate", "--device", device} + command);
  }
  /// On a board's port, with its device selected or another one.
  CliResult On(const BoardProgram& board, const Words& command, const std::string& device = {}) {
    return Run(Words{"--port", board.Link(), "--device", device.empty() ? board.Device() : device} +
               command);
  }
  static CliResult Finish(Process process) {
    const int code = process.Wait();
    return {.Code = code, .Out = process.Output(), .Err = process.Errors()};
  }

  [[nodiscard]] std::string Path(const std::string& name) const { return folder_.File(name); }
  void Put(const std::string& name, const std::string& content) const {
    WriteFile(Path(name), content);
  }
  [[nodiscard]] std::string Get(const std::string& name) const { return ReadFile(Path(name)); }
  [[nodiscard]] bool IsThere(const std::string& name) const {
    return std::filesystem::exists(Path(name));
  }
  void MakeFolder(const std::string& name) const { std::filesystem::create_directory(Path(name)); }
  void PutCode(const Bytes& flash, const std::string& name = "code.hex") const {
    Put(name, HexFile(flash));
  }

  TemporaryFolder folder_;
};

}  // namespace fenwright::testing
