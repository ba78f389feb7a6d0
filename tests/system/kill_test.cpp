// The command line is killed, with no chance to tidy up, at random moments of a program run and of
// a read: the files on the disc are whole, old or new; the next command works; what the chip is
// said to be is what it is. The tables that the tests print say what was tried.

#include <chrono>
#include <csignal>
#include <cstdio>
#include <future>
#include <random>
#include <thread>

#include "system/cli_run.h"

namespace fenwright::testing {
namespace {

constexpr int kKills = 200;
/// Most of a call is waiting, so some go on side by side, each on a board of its own.
constexpr int kBoards = 10;
const char* const kDevice = "ATtiny12L";

struct Tally {
  int Calls = 0;
  int Killed = 0;
  int New = 0;  ///< chips, or files, that hold what the killed call was to bring
  int Old = 0;  ///< those that do not
};

/// A board, and calls on it, with files of its own.
class Bench {
 public:
  explicit Bench(unsigned number) : random_(20261122 + number) {}

  [[nodiscard]] std::string Path(const char* name) const { return folder_.File(name); }
  [[nodiscard]] std::string Get(const char* name) const { return ReadFile(Path(name)); }
  void Put(const char* name, const std::string& content) const { WriteFile(Path(name), content); }
  [[nodiscard]] std::string Chip() const { return board_.Dump(); }

  Process Start(const Words& command) {
    return Process(
        Words{FENWRIGHT_CLI_PROGRAM, "--port", board_.Link(), "--device", kDevice} + command,
        {.Folder = folder_.Path().string()});
  }
  int Run(const Words& command) { return Start(command).Wait(); }

  /// How long a call takes that nobody disturbs.
  double SecondsOf(const Words& command) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Run(command), 0);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  }

  /// Kills a call at a moment of its time.
  void StartAndKill(const Words& command, double whole_seconds, Tally& tally) {
    std::uniform_real_distribution<double> moment(0, whole_seconds);
    Process process = Start(command);
    std::this_thread::sleep_for(std::chrono::duration<double>(moment(random_)));
    process.Signal(SIGKILL);
    ++tally.Calls;
    if (process.Wait() != 0) ++tally.Killed;
  }

 private:
  TemporaryFolder folder_;
  BoardProgram board_{kDevice};
  std::mt19937 random_;
};

/// Flash and EEPROM as the board's dump has them.
std::string ChipWith(const Bytes& flash) {
  std::string content(1024 + 64, '\xFF');
  std::ranges::copy(flash, content.begin());
  return content;
}

Tally KillPrograms(unsigned number) {
  Bench bench(number);
  const Bytes old_image = FullImage(128, 1);
  const Bytes new_image = FullImage(128, 2);
  bench.Put("old.hex", HexFile(old_image));
  bench.Put("new.hex", HexFile(new_image));
  const double whole = bench.SecondsOf("program old.hex");
  Tally tally;
  while (tally.Calls < kKills / kBoards && !::testing::Test::HasFailure()) {
    bench.StartAndKill("program new.hex", whole, tally);
    // A verify says that the chip holds the new image when it does, and only then.
    const int verified = bench.Run("verify new.hex");
    const bool holds = bench.Chip() == ChipWith(new_image);
    EXPECT_EQ(verified, holds ? 0 : 1);
    ++(holds ? tally.New : tally.Old);
    EXPECT_EQ(bench.Get("new.hex"), HexFile(new_image));
    EXPECT_EQ(bench.Run("program old.hex"), 0);
    EXPECT_EQ(bench.Chip(), ChipWith(old_image));
  }
  return tally;
}

Tally KillReads(unsigned number) {
  Bench bench(number);
  bench.Put("code.hex", HexFile(FullImage(1024, 3)));
  EXPECT_EQ(bench.Run("program code.hex"), 0);
  const Words read = "read --force --code out.hex --data out.eep";
  const double whole = bench.SecondsOf(read);
  const std::string new_code = bench.Get("out.hex");
  const std::string new_data = bench.Get("out.eep");
  const std::string old_content = ":00000001FF\r\n";
  Tally tally;
  while (tally.Calls < kKills / kBoards && !::testing::Test::HasFailure()) {
    bench.Put("out.hex", old_content);
    bench.Put("out.eep", old_content);
    bench.StartAndKill(read, whole, tally);
    for (const auto& [name, content] : {std::pair{"out.hex", new_code}, {"out.eep", new_data}}) {
      const std::string found = bench.Get(name);
      EXPECT_TRUE(found == old_content || found == content) << name << " is neither old nor new";
      ++(found == content ? tally.New : tally.Old);
    }
    EXPECT_EQ(bench.Run("verify code.hex"), 0);
  }
  return tally;
}

Tally OnAllBoards(Tally (*work)(unsigned number)) {
  std::vector<std::future<Tally>> benches;
  for (unsigned number = 0; number < kBoards; ++number) {
    benches.push_back(std::async(std::launch::async, work, number));
  }
  Tally sum;
  for (std::future<Tally>& bench : benches) {
    const Tally tally = bench.get();
    sum.Calls += tally.Calls;
    sum.Killed += tally.Killed;
    sum.New += tally.New;
    sum.Old += tally.Old;
  }
  EXPECT_EQ(sum.Calls, kKills);
  EXPECT_GT(sum.Killed, kKills / 2);
  return sum;
}

TEST(Kill, InTheMiddleOfAProgramRunTheNextOneWorksAndTheChipIsDescribedTruly) {
  const Tally tally = OnAllBoards(KillPrograms);
  std::printf("kill sweep: program  %d calls, %d killed: %d chips whole, %d not, each told truly\n",
              tally.Calls, tally.Killed, tally.New, tally.Old);
}

TEST(Kill, InTheMiddleOfAReadLeavesTheFilesWholeOldOrNew) {
  const Tally tally = OnAllBoards(KillReads);
  std::printf("kill sweep: read     %d calls, %d killed: %d files new, %d old, none cut\n",
              tally.Calls, tally.Killed, tally.New, tally.Old);
}

}  // namespace
}  // namespace fenwright::testing
