// What a verb of the command line gets from what it says it needs.

#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "core/trace_log.h"
#include "fenwright-cli/session.h"
#include "ops/command.h"
#include "support/process.h"

namespace fenwright::testing {
namespace {

using ::testing::HasSubstr;

class CliVerb : public ::testing::Test {
 protected:
  CliVerb() {
    std::filesystem::create_directory(folder_.File("empty"));
    std::filesystem::create_directory(folder_.File("chosen"));
  }

  /// Has the engine leave a line in the trace, from within an empty folder.
  core::CommandEnding Trace(const cli::Needs& needs) {
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(folder_.File("empty"));
    cli::Options options;
    options.Simulate = true;
    options.Folder = folder_.File("chosen");
    cli::Session session(options);
    EXPECT_EQ(session.Start(needs), cli::ExitCode::Success);
    const core::CommandEnding ending = ops::RunCommand(
        session.Context(),
        [](core::RunContext& context) { core::TraceLog(context).AppendMessage("a line"); });
    std::filesystem::current_path(before);
    return ending;
  }

  /// Runs the program in the empty folder; its standard output.
  std::string Run(std::vector<std::string> arguments, int code) {
    arguments.insert(arguments.begin(), FENWRIGHT_CLI_PROGRAM);
    Process process(arguments, {.Folder = folder_.File("empty")});
    EXPECT_EQ(process.Wait(), code) << process.Errors();
    return process.Output();
  }

  bool IsEmpty(const std::string& name) { return std::filesystem::is_empty(folder_.File(name)); }

  TemporaryFolder folder_;
};

TEST_F(CliVerb, TracesIntoItsFolder) {
  EXPECT_EQ(Trace({.Folder = true, .Port = true}), core::CommandEnding::Finished);
  EXPECT_THAT(ReadFile(folder_.File("chosen/_debug_avr.txt")), HasSubstr("a line\t"));
  EXPECT_TRUE(IsEmpty("empty"));
}

TEST_F(CliVerb, CannotTraceWithoutAFolder) {
  for (const cli::Needs& needs : {cli::Needs{.Port = true}, cli::Needs{.NamedPort = true}}) {
    EXPECT_EQ(Trace(needs), core::CommandEnding::FileError);
    EXPECT_TRUE(IsEmpty("empty"));
    EXPECT_TRUE(IsEmpty("chosen"));
  }
}

TEST_F(CliVerb, WithoutAFolderLeavesNoFile) {
  WriteFile(folder_.File("fw.hex"), ":020000000102FB\r\n:00000001FF\r\n");
  Run({"devices"}, 0);
  Run({"ports"}, 0);
  Run({"--simulate", "board-version"}, 0);
  Run({"--simulate", "update-firmware", folder_.File("fw.hex"), "--yes"}, 0);
  EXPECT_TRUE(IsEmpty("empty"));
}

TEST_F(CliVerb, AReadOfFusesThatFailsTellsItAsJson) {
  const std::vector<std::string> call{"--json",    "--simulate", "--device",
                                      "ATtiny12L", "read-fuses", "--simulate-fault"};
  for (const auto& [fault, code] : {std::pair{"silent", 3}, {"drop@11", 1}}) {
    std::vector<std::string> arguments = call;
    arguments.emplace_back(fault);
    const auto result = nlohmann::json::parse(Run(arguments, code));
    EXPECT_EQ(result["command"], "read-fuses");
    EXPECT_EQ(result["exit_code"], code);
    EXPECT_FALSE(result.contains("fields"));
  }
}

}  // namespace
}  // namespace fenwright::testing
