// A run that went wrong for somebody is played again from its log.

#include "system/cli_run.h"

namespace fenwright::testing {
namespace {

/// fenwright-board with a record.
class ReplayedBoard {
 public:
  explicit ReplayedBoard(const std::string& record)
      : process_({FENWRIGHT_BOARD_PROGRAM, "--replay", record, "--baud", "0", "--link", Link()}) {
    if (!WaitForFile(Link())) throw std::runtime_error("no replay: " + process_.Errors());
  }

  [[nodiscard]] std::string Link() const { return folder_.File("port"); }
  [[nodiscard]] Process& Program() { return process_; }

 private:
  TemporaryFolder folder_;
  Process process_;
};

class Replay : public CliTest {
 protected:
  Replay() { PutCode({0x0C, 0x94, 'H', 'e', 'l', 'l', 'o', '!', 1, 2}); }

  /// A call on a board with a fault; the board's log or the call's own is in "record".
  json Record(const Words& command, const std::string& fault, bool by_board) {
    if (!by_board) {
      return Run(Words{"--json", "--simulate", "--device", "ATtiny12L", "--log", "record",
                       "--simulate-fault", fault} +
                 command)
          .Json();
    }
    const BoardProgram board("ATtiny12L", {"--fault", fault});
    const json told = On(board, Words{"--json"} + command).Json();
    // The last byte of a call is on its way while the call ends.
    for (int i = 0; i < 200; ++i) {
      Put("record", board.Log());
      if (Get("record").ends_with("> 1B\n") || Get("record").ends_with("! hung up\n")) break;
      std::this_thread::sleep_for(10ms);
    }
    return told;
  }
  CliResult Play(ReplayedBoard& board, const Words& command,
                 const std::string& device = "ATtiny12L") {
    return Run(Words{"--json", "--port", board.Link(), "--device", device} + command);
  }
};

/// What went wrong, without the time it took and where.
json WhatCameOf(const json& told) {
  json came;
  for (const char* key : {"result", "exit_code", "error", "differences", "signature",
                          "board_version", "chip_state", "flash_words_written", "verdict"}) {
    came[key] = told.value(key, json());
  }
  return came;
}

struct RecordedFault {
  const char* Fault;
  const char* Command;
  const char* Code;  ///< of the error; null: none
};

class ReplayOf : public Replay,
                 public ::testing::WithParamInterface<std::tuple<RecordedFault, bool>> {};

TEST_P(ReplayOf, ComesToTheSameResult) {
  const auto& [row, by_board] = GetParam();
  const json recorded = Record(row.Command, row.Fault, by_board);
  ASSERT_EQ(recorded["error"].is_null(), row.Code == nullptr);
  if (row.Code != nullptr) {
    ASSERT_EQ(recorded["error"]["code"], row.Code);
  }
  ReplayedBoard board(Path("record"));
  const json played = Play(board, row.Command).Json();
  EXPECT_EQ(WhatCameOf(played), WhatCameOf(recorded));
  EXPECT_EQ(board.Program().Wait(), 0) << board.Program().Errors();
  EXPECT_THAT(board.Program().Output(), HasSubstr(" exchanges were played\n"));
}

INSTANTIATE_TEST_SUITE_P(
    EachFault, ReplayOf,
    ::testing::Combine(
        ::testing::Values(RecordedFault{"lie@3", "program code.hex", "differences"},
                          RecordedFault{"drop@9", "program code.hex", "no-reply"},
                          // A reply that comes too late is another thing than a late one.
                          RecordedFault{"late@8:300", "program code.hex", nullptr},
                          RecordedFault{"hangup@30", "program code.hex", "port-gone"},
                          RecordedFault{"stuck@flash:2:3=0", "verify code.hex", "differences"},
                          RecordedFault{"flip@6", "identify", "no-signature"}),
        ::testing::Bool()));

TEST_F(Replay, ARunOfAnotherDeviceIsToldApart) {
  Record("program code.hex", "lie@3", true);
  ReplayedBoard board(Path("record"));
  EXPECT_THAT(Play(board, "program code.hex", "AT90S8515"), Ends(1));
  EXPECT_EQ(board.Program().Wait(), 1);
  EXPECT_THAT(board.Program().Errors(),
              AllOf(HasSubstr("is another one: 54 55 was expected, 54 38 came")));
}

TEST_F(Replay, ARunWithAnotherFileIsToldApart) {
  Record("program code.hex", "late@8:1", true);
  PutCode({0x0C, 0x94, 'h', 'e', 'l', 'l', 'o', '!', 1, 2});
  ReplayedBoard board(Path("record"));
  EXPECT_THAT(Play(board, "program code.hex"), Ends(1));
  EXPECT_EQ(board.Program().Wait(), 1);
  EXPECT_THAT(board.Program().Errors(), HasSubstr(": 63 48 was expected, 63 68 came"));
}

TEST_F(Replay, TheLogIsOfTheCallAndReplacesAnOlderOneAlone) {
  EXPECT_THAT(Simulate("--log record identify"), Ends(0));
  EXPECT_THAT(Get("record"), AllOf(StartsWith("# fenwright-cli "), HasSubstr("\n> 73\n< 0")));
  const std::string first = Get("record");
  const json told = Simulate("--json --log record identify").Json();
  EXPECT_EQ(std::ranges::count(Get("record"), '>'), std::ranges::count(first, '>'));
  EXPECT_EQ(told["files"]["written"], json::array({"record"}));
  Put("mine.txt", "# fenwright");
  for (const char* name : {"mine.txt", "code.hex"}) {
    const std::string before = Get(name);
    EXPECT_THAT(Simulate(std::string("--log ") + name + " identify"),
                AllOf(Ends(4), Warns(name + std::string(": exists"))));
    EXPECT_EQ(Get(name), before);
  }
  EXPECT_THAT(Simulate("--log none/record identify"), AllOf(Ends(4), Warns("cannot be written")));
  // Where no line is used there is nothing to log.
  EXPECT_THAT(Simulate("--log other lint code.hex"), Ends(0));
  EXPECT_FALSE(IsThere("other"));
}

TEST_F(Replay, ALogThatBecomesIncompleteIsSaidAndStopsNothing) {
  PutCode(Bytes(1024, 0x41));
  const CliResult result = Finish(Process(
      {"sh", "-c",
       "(ulimit -f 1; exec " + std::string(FENWRIGHT_CLI_PROGRAM) +
           " --json --simulate --device ATtiny12L --log record verify code.hex 2>/dev/null) | cat"},
      {.Folder = folder_.Path().string()}));
  const json told = result.Json();
  EXPECT_EQ(told["differences"].size(), 512U);
  ASSERT_FALSE(told["warnings"].empty());
  EXPECT_EQ(told["warnings"].back()["text"], "--log record: could not be written to its end");
  EXPECT_EQ(told["warnings"].back()["code"], "file-unwritable");
}

}  // namespace
}  // namespace fenwright::testing
