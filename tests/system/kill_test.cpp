// The command line is killed, with no chance to tidy up, at random moments of a program run and of
// a read: the files on the disc are whole, old or new; the next command works; what the chip is
// said to be is what it is. The tables that the tests print say what was tried.

#include <chrono>
#include <csignal>
#include <cstdio>
#include <random>
#include <thread>

#include "system/cli_run.h"

namespace fenwright::testing {
namespace {

constexpr int kKills = 200;
const char* const kDevice = "ATtiny12L";

class Kill : public CliTest {
 protected:
  Process Start(const BoardProgram& board, const Words& command) {
    return Process(
        Words{FENWRIGHT_CLI_PROGRAM, "--port", board.Link(), "--device", kDevice} + command,
        {.Folder = folder_.Path().string()});
  }

  /// How long a call takes that nobody disturbs.
  double SecondsOf(const BoardProgram& board, const Words& command) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Start(board, command).Wait(), 0);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  }

  /// Kills a call at a moment of its time; false when it was over by then.
  bool StartAndKill(const BoardProgram& board, const Words& command, double whole_seconds) {
    std::uniform_real_distribution<double> moment(0, whole_seconds);
    Process process = Start(board, command);
    std::this_thread::sleep_for(std::chrono::duration<double>(moment(random_)));
    process.Signal(SIGKILL);
    return process.Wait() != 0;
  }

  std::mt19937 random_{20261122};
};

/// Flash and EEPROM as the board's dump has them.
std::string ChipWith(const Bytes& flash) {
  std::string content(1024 + 64, '\xFF');
  std::ranges::copy(flash, content.begin());
  return content;
}

TEST_F(Kill, InTheMiddleOfAProgramRunTheNextOneWorksAndTheChipIsDescribedTruly) {
  const BoardProgram board(kDevice);
  const Bytes old_image = FullImage(128, 1);
  const Bytes new_image = FullImage(128, 2);
  PutCode(old_image, "old.hex");
  PutCode(new_image, "new.hex");
  const double whole = SecondsOf(board, "program old.hex");
  int killed = 0;
  int verified = 0;
  int differed = 0;
  for (int number = 0; number < kKills; ++number) {
    if (StartAndKill(board, "program new.hex", whole)) ++killed;
    // A verify says that the chip holds the new image when it does, and only then.
    const CliResult result = On(board, "verify new.hex");
    const bool holds = board.Dump() == ChipWith(new_image);
    EXPECT_EQ(result.Code, holds ? 0 : 1) << ::testing::PrintToString(result);
    ++(holds ? verified : differed);
    EXPECT_EQ(Get("new.hex"), HexFile(new_image));
    ASSERT_THAT(On(board, "program old.hex"), Ends(0));
    ASSERT_EQ(board.Dump(), ChipWith(old_image));
    if (HasFailure()) return;
  }
  EXPECT_GT(killed, kKills / 2);
  std::printf("kill sweep: program  %d calls, %d killed: %d chips whole, %d not, each told truly\n",
              kKills, killed, verified, differed);
}

TEST_F(Kill, InTheMiddleOfAReadLeavesTheFilesWholeOldOrNew) {
  const BoardProgram board(kDevice);
  const Bytes image = FullImage(1024, 3);
  PutCode(image);
  ASSERT_THAT(On(board, "program code.hex"), Ends(0));
  const Words read = "read --force --code out.hex --data out.eep";
  const double whole = SecondsOf(board, read);
  const std::string new_code = Get("out.hex");
  const std::string new_data = Get("out.eep");
  const std::string old_content = ":00000001FF\r\n";
  int killed = 0;
  int old_files = 0;
  int new_files = 0;
  for (int number = 0; number < kKills; ++number) {
    Put("out.hex", old_content);
    Put("out.eep", old_content);
    if (StartAndKill(board, read, whole)) ++killed;
    for (const auto& [name, content] : {std::pair{"out.hex", new_code}, {"out.eep", new_data}}) {
      const std::string found = Get(name);
      EXPECT_TRUE(found == old_content || found == content) << name << " is neither old nor new";
      ++(found == content ? new_files : old_files);
    }
    EXPECT_THAT(On(board, "verify code.hex"), Ends(0));
    if (HasFailure()) return;
  }
  EXPECT_GT(killed, kKills / 2);
  std::printf("kill sweep: read     %d calls, %d killed: %d files new, %d old, none cut\n", kKills,
              killed, new_files, old_files);
}

}  // namespace
}  // namespace fenwright::testing
