// program --watch: again each time the file has changed and is whole.

#include <signal.h>

#include "system/cli_run.h"

namespace fenwright::testing {
namespace {

class CliWatch : public CliTest {
 protected:
  CliWatch() { PutCode({0x0C, 0x94, 1, 1}); }

  /// A watching call on the simulated board.
  std::unique_ptr<Process> Start(const Words& more = {}, const Words& common = {}) {
    return std::make_unique<Process>(
        Words{FENWRIGHT_CLI_PROGRAM, "--simulate", "--device", "ATtiny12L"} + common +
            Words{"program", "code.hex", "--watch"} + more,
        Process::Setup{.Folder = folder_.Path().string()});
  }
  /// Waits until a text stands in the errors for the `count`-th time.
  static bool Says(Process& process, const std::string& text, int count = 1) {
    for (int i = 0; i < 3000 && process.Running(); ++i) {
      const std::string errors = process.Errors();
      int found = 0;
      for (std::size_t at = errors.find(text); at != std::string::npos;
           at = errors.find(text, at + 1)) {
        ++found;
      }
      if (found >= count) return true;
      std::this_thread::sleep_for(10ms);
    }
    ADD_FAILURE() << "not said: " << text << "\n" << process.Output() << process.Errors();
    return false;
  }
  static bool Waits(Process& process, int round = 1) {
    return Says(process, "watch: waiting for a change of code.hex; Ctrl-C ends it\n", round);
  }
  static CliResult Stop(Process& process, int signal = SIGINT) {
    process.Signal(signal);
    const int code = process.Wait();
    return {.Code = code, .Out = process.Output(), .Err = process.Errors()};
  }
};

TEST_F(CliWatch, ProgramsAtOnceAndAgainAfterEachChange) {
  BoardProgram board("ATtiny12L");
  Process watch({FENWRIGHT_CLI_PROGRAM, "--port", board.Link(), "--device", "ATtiny12L", "program",
                 "--watch", "code.hex"},
                {.Folder = folder_.Path().string()});
  ASSERT_TRUE(Waits(watch));
  EXPECT_EQ(board.Dump().substr(0, 5), "\x0C\x94\x01\x01\xFF");
  PutCode({0x0C, 0x94, 2, 2});
  ASSERT_TRUE(Waits(watch, 2));
  EXPECT_EQ(board.Dump().substr(0, 5), "\x0C\x94\x02\x02\xFF");
  const CliResult result = Stop(watch);
  EXPECT_THAT(result, AllOf(Ends(0), Prints("watch: rounds 2, ok 2, failed 0\n"),
                            Warns("watch: round 2\n"), Warns(Not(HasSubstr("error")))));
  EXPECT_THAT(result.Out, ::testing::ContainsRegex("ok: [^\n]*\nok: "));
}

TEST_F(CliWatch, IsStillWhileNothingChanges) {
  const auto watch = Start();
  ASSERT_TRUE(Waits(*watch));
  std::this_thread::sleep_for(1500ms);
  EXPECT_THAT(Stop(*watch), AllOf(Ends(0), Prints("rounds 1, ok 1, failed 0\n")));
  EXPECT_LT(watch->ProcessorSeconds(), 1.0);
}

TEST_F(CliWatch, AFileThatIsWrittenAnewIsProgrammedEvenWithTheSameContent) {
  const auto watch = Start();
  ASSERT_TRUE(Waits(*watch));
  PutCode({0x0C, 0x94, 1, 1});
  ASSERT_TRUE(Waits(*watch, 2));
  EXPECT_THAT(Stop(*watch), Ends(0));
}

TEST_F(CliWatch, WaitsForTheEndOfAFileThatIsBeingWritten) {
  const auto watch = Start();
  ASSERT_TRUE(Waits(*watch));
  PutCode({0x0C, 0x94, 2, 2});
  const std::string whole = Get("code.hex");
  // The end record itself is cut last.
  for (const std::size_t size : {std::size_t{0}, whole.size() / 2, whole.rfind(":00") + 5}) {
    Put("code.hex", whole.substr(0, size));
    std::this_thread::sleep_for(900ms);
  }
  ASSERT_TRUE(Says(*watch, "watch: waiting for the end of code.hex; Ctrl-C ends it\n"));
  EXPECT_THAT(watch->Errors(), Not(HasSubstr("round 2")));
  Put("code.hex", whole);
  ASSERT_TRUE(Waits(*watch, 2));
  EXPECT_THAT(Stop(*watch),
              AllOf(Ends(0), Prints("rounds 2, ok 2, failed 0\n"), Warns(Not(HasSubstr("error")))));
}

TEST_F(CliWatch, AFileThatChangesAllTheTimeIsLeftAloneUntilItIsStill) {
  const auto watch = Start();
  ASSERT_TRUE(Waits(*watch));
  for (std::uint8_t i = 0; i < 10; ++i) {
    PutCode({0x0C, 0x94, 2, i});
    std::this_thread::sleep_for(150ms);
  }
  EXPECT_THAT(watch->Errors(), Not(HasSubstr("round 2")));
  ASSERT_TRUE(Waits(*watch, 2));
  EXPECT_THAT(Stop(*watch), Prints("rounds 2, ok 2, failed 0\n"));
}

TEST_F(CliWatch, SurvivesABadFileAndAMissingOne) {
  const auto watch = Start();
  ASSERT_TRUE(Waits(*watch));
  const std::string good = Get("code.hex");
  std::string bad = good;
  bad[bad.find("0C94")] = '1';
  Put("code.hex", bad);
  ASSERT_TRUE(Says(*watch, "error: code.hex:1: "));
  ASSERT_TRUE(Waits(*watch, 2));
  std::filesystem::remove(Path("code.hex"));
  ASSERT_TRUE(Says(*watch, "watch: waiting for code.hex, which cannot be read; Ctrl-C ends it\n"));
  EXPECT_TRUE(watch->Running());
  Put("code.hex", good);
  ASSERT_TRUE(Waits(*watch, 3));
  EXPECT_THAT(Stop(*watch), AllOf(Ends(0), Prints("rounds 3, ok 2, failed 1\n")));
}

TEST_F(CliWatch, WaitsForAFileThatIsNotThereYet) {
  std::filesystem::remove(Path("code.hex"));
  const auto watch = Start();
  ASSERT_TRUE(Says(*watch, "waiting for code.hex, which cannot be read"));
  PutCode({0x0C, 0x94, 2, 2});
  ASSERT_TRUE(Waits(*watch));
  EXPECT_THAT(Stop(*watch), AllOf(Ends(0), Prints("rounds 1, ok 1, failed 0\n")));
}

TEST_F(CliWatch, TheDataFileIsWatchedToo) {
  const auto watch = Start();
  ASSERT_TRUE(Waits(*watch));
  PutCode({0x11, 0x22}, "code.eep");
  ASSERT_TRUE(Waits(*watch, 2));
  const auto named = Start("--data other.eep");
  ASSERT_TRUE(Says(*named, "waiting for other.eep, which cannot be read"));
  PutCode({0x33}, "other.eep");
  ASSERT_TRUE(Waits(*named));
  const auto alone = Start("--no-data");
  ASSERT_TRUE(Waits(*alone));
  PutCode({0x12, 0x22}, "code.eep");
  ASSERT_TRUE(Waits(*watch, 3));
  EXPECT_THAT(Stop(*watch),
              AllOf(Ends(0), Prints(" 2 of 64 bytes\nwatch: "), Prints("rounds 3, ok 3, ")));
  EXPECT_THAT(Stop(*named), Prints("rounds 1, ok 1, "));
  EXPECT_THAT(Stop(*alone), Prints("rounds 1, ok 1, "));
}

TEST_F(CliWatch, GoesOnWithABoardThatComesBack) {
  auto board = std::make_unique<BoardProgram>("ATtiny12L");
  std::filesystem::create_symlink(board->Link(), Path("port"));
  Process watch({FENWRIGHT_CLI_PROGRAM, "--port", Path("port"), "--device", "auto", "program",
                 "--watch", "code.hex"},
                {.Folder = folder_.Path().string()});
  ASSERT_TRUE(Waits(watch));
  board.reset();
  PutCode({0x0C, 0x94, 2, 2});
  ASSERT_TRUE(Waits(watch, 2));
  EXPECT_THAT(watch.Errors(), HasSubstr("error: "));
  board = std::make_unique<BoardProgram>("ATtiny12L");
  std::filesystem::remove(Path("port"));
  std::filesystem::create_symlink(board->Link(), Path("port"));
  PutCode({0x0C, 0x94, 3, 3});
  ASSERT_TRUE(Waits(watch, 3));
  EXPECT_EQ(board->Dump().substr(0, 5), "\x0C\x94\x03\x03\xFF");
  EXPECT_THAT(Stop(watch), AllOf(Ends(0), Prints("rounds 3, ok 2, failed 1\n")));
}

TEST_F(CliWatch, TheCodeIsThatOfTheLastRound) {
  const auto failed = Start({}, "--simulate-fault lie@3");
  ASSERT_TRUE(Waits(*failed));
  EXPECT_THAT(Stop(*failed), AllOf(Ends(1), Prints("rounds 1, ok 0, failed 1\n")));
  const auto good = Start();
  ASSERT_TRUE(Waits(*good));
  EXPECT_THAT(Stop(*good, SIGTERM), Ends(0));
  std::filesystem::remove(Path("code.hex"));
  const auto none = Start();
  ASSERT_TRUE(Says(*none, "cannot be read"));
  EXPECT_THAT(Stop(*none), AllOf(Ends(130), Prints("rounds 0, ok 0, failed 0\n")));
  // In the middle of a round it is that round that is stopped.
  PutCode(Bytes(1024, 0x41));
  const auto stopped = Start();
  ASSERT_TRUE(Says(*stopped, "erase "));
  EXPECT_THAT(Stop(*stopped), AllOf(Ends(130), Prints("rounds 1, ok 0, failed 1\n")));
}

TEST_F(CliWatch, IsRefusedWithJsonAndStandardInput) {
  const CliResult result = Run("--json --simulate --device ATtiny12L program code.hex --watch");
  EXPECT_THAT(result, Ends(2));
  EXPECT_EQ(result.Json()["error"]["code"], "usage");
  EXPECT_THAT(Simulate("program - --watch"), AllOf(Ends(2), Warns("standard input")));
  EXPECT_THAT(Simulate("program code.hex --data - --watch"), Ends(2));
  // What makes no sense in any round ends the call.
  EXPECT_THAT(Simulate("program code.hex --watch", "ATmega8"), Ends(2));
}

TEST_F(CliWatch, IsQuietAndInTheLanguageOfTheCall) {
  const auto quiet = Start({}, "--quiet");
  std::this_thread::sleep_for(4s);
  EXPECT_THAT(Stop(*quiet),
              AllOf(Ends(0), Prints(::testing::IsEmpty()), Warns(::testing::IsEmpty())));
  Process watch({FENWRIGHT_CLI_PROGRAM, "--simulate", "--device", "ATtiny12L", "program",
                 "code.hex", "--watch"},
                {.Folder = folder_.Path().string(), .Environment = {{"LC_ALL", "ja_JP.UTF-8"}}});
  ASSERT_TRUE(Says(watch, "監視: code.hex の変更を待ちます (Ctrl-C で終了)\n"));
  EXPECT_THAT(Stop(watch), AllOf(Ends(0), Prints("監視: 1 回、成功 1、失敗 0\n")));
}

}  // namespace
}  // namespace fenwright::testing
