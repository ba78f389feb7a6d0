#include <array>
#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <poll.h>
#include <signal.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <termios.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "board/talk.h"

namespace fenwright::board {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::StartsWith;
namespace fs = std::filesystem;

/// A child process with its outputs on pipes.
class Process {
 public:
  explicit Process(std::vector<std::string> arguments) {
    std::array<int, 2> out{};
    std::array<int, 2> err{};
    if (pipe2(out.data(), O_CLOEXEC) != 0 || pipe2(err.data(), O_CLOEXEC) != 0) {
      return;
    }
    arguments.insert(arguments.begin(), FENWRIGHT_BOARD_PROGRAM);
    std::vector<char*> argv;
    for (std::string& argument : arguments) {
      argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    pid_ = fork();
    if (pid_ == 0) {
      dup2(out[1], STDOUT_FILENO);
      dup2(err[1], STDERR_FILENO);
      execv(argv[0], argv.data());
      _exit(127);
    }
    close(out[1]);
    close(err[1]);
    out_ = out[0];
    err_ = err[0];
  }
  ~Process() {
    if (pid_ > 0) {
      kill(pid_, SIGKILL);
      waitpid(pid_, nullptr, 0);
    }
    close(out_);
    close(err_);
  }
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  std::string ReadLine() const {
    std::string line;
    char character = 0;
    while (read(out_, &character, 1) == 1 && character != '\n') {
      line += character;
    }
    return line;
  }
  std::string Output() const { return ReadAll(out_); }
  std::string Errors() const { return ReadAll(err_); }

  void Signal(int number) const { kill(pid_, number); }

  /// Waits for the end; the exit code, or -1 when a signal ended it.
  int Wait() {
    int status = 0;
    wait4(pid_, &status, 0, &usage_);
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  /// Processor time used, known after Wait().
  [[nodiscard]] std::chrono::microseconds ProcessorTime() const {
    const auto of = [](const timeval& time) {
      return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec);
    };
    return of(usage_.ru_utime) + of(usage_.ru_stime);
  }

 private:
  static std::string ReadAll(int pipe) {
    std::string text;
    std::array<char, 4096> buffer{};
    for (ssize_t count = 0; (count = read(pipe, buffer.data(), buffer.size())) > 0;) {
      text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return text;
  }

  pid_t pid_ = -1;
  int out_ = -1;
  int err_ = -1;
  rusage usage_{};
};

/// The PC's end of the terminal.
class Line {
 public:
  explicit Line(const std::string& path) : file_(open(path.c_str(), O_RDWR | O_NOCTTY)) {}
  ~Line() { close(file_); }
  Line(const Line&) = delete;
  Line& operator=(const Line&) = delete;

  [[nodiscard]] bool IsOpen() const { return file_ >= 0; }

  bool Send(const Bytes& bytes) const {
    return write(file_, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
  }

  /// Waits for `count` bytes, 2 s at most for each.
  [[nodiscard]] Bytes Read(std::size_t count, int milliseconds = 2000) const {
    Bytes bytes;
    while (bytes.size() < count) {
      pollfd waiting{.fd = file_, .events = POLLIN, .revents = 0};
      std::uint8_t byte = 0;
      if (poll(&waiting, 1, milliseconds) != 1 || read(file_, &byte, 1) != 1) {
        break;
      }
      bytes.push_back(byte);
    }
    return bytes;
  }

  Bytes Ask(const Bytes& command, std::size_t count) const {
    return Send(command) ? Read(count) : Bytes{};
  }

  [[nodiscard]] bool HangsUp() const {
    pollfd waiting{.fd = file_, .events = 0, .revents = 0};
    return poll(&waiting, 1, 2000) == 1 && (waiting.revents & POLLHUP) != 0;
  }

  /// Extended set, device selected, programming mode entered.
  bool Ready(int code) const {
    return Ask(Say('A'), 1) == kAck && Ask(Say('T', {code}), 1) == kAck && Ask(Say('P'), 1) == kAck;
  }

 private:
  int file_;
};

std::string Content(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

class FenwrightBoard : public testing::Test {
 protected:
  FenwrightBoard() {
    std::string pattern = fs::temp_directory_path() / "fenwright_board_XXXXXX";
    folder_ = mkdtemp(pattern.data());
  }
  ~FenwrightBoard() override { fs::remove_all(folder_); }

  [[nodiscard]] std::string File(const char* name) const { return folder_ / name; }

  fs::path folder_;
};

TEST_F(FenwrightBoard, AnswersOnTheTerminalWhosePathItPrints) {
  Process board({"--device", "AT90S8515"});
  const std::string path = board.ReadLine();
  EXPECT_THAT(path, StartsWith("/dev/pts/"));
  const Line line(path);
  ASSERT_TRUE(line.IsOpen());
  const Bytes version = line.Ask(Say('?'), 18);
  EXPECT_EQ(std::string(version.begin(), version.end()), "KV-LOD350  V6.38\r\n");
  ASSERT_TRUE(line.Ready(0x38));
  EXPECT_EQ(line.Ask(Say('s'), 3), (Bytes{0x01, 0x93, 0x1E}));
  board.Signal(SIGTERM);
  EXPECT_EQ(board.Wait(), 0);
}

TEST_F(FenwrightBoard, PassesEveryByteValueUnchanged) {
  Process board({"--device", "AT90S8515", "--baud", "0"});
  const Line line(board.ReadLine());
  ASSERT_TRUE(line.Ready(0x38));
  for (int value = 0; value < 256; ++value) {
    ASSERT_EQ(line.Ask(Say('D', {value}), 1), kAck);
    ASSERT_EQ(line.Ask(Say('d'), 1), Bytes{static_cast<std::uint8_t>(value)});
  }
}

TEST_F(FenwrightBoard, WritesTheDumpWhenProgrammingModeIsLeft) {
  Process board({"--device", "ATtiny12L", "--baud", "0", "--dump", File("dump")});
  const Line line(board.ReadLine());
  ASSERT_TRUE(line.Ready(0x55));
  line.Ask(Say('c', {0x34}), 1);
  line.Ask(Say('C', {0x12}), 1);
  line.Ask(Say('D', {0x56}), 1);
  EXPECT_FALSE(fs::exists(File("dump")));
  ASSERT_EQ(line.Ask(Say('L'), 1), kAck);
  std::string expected(1024 + 64, '\xFF');
  expected[0] = 0x34;
  expected[1] = 0x12;
  expected[1024 + 1] = 0x56;  // the address had advanced
  EXPECT_EQ(Content(File("dump")), expected);
}

TEST_F(FenwrightBoard, KeepsItsStateFromOneRunToTheNext) {
  for (const bool first : {true, false}) {
    Process board({"--device", "2343", "--baud", "0", "--state", File("state")});
    const Line line(board.ReadLine());
    ASSERT_TRUE(line.Ready(0x4C));
    EXPECT_EQ(line.Ask(Say('R'), 2), first ? (Bytes{0xFF, 0xFF}) : (Bytes{0x12, 0x34}));
    line.Ask(Say('a', {0, 0}), 1);
    line.Ask(Say('c', {0x34}), 1);
    line.Ask(Say('C', {0x12}), 1);
    board.Signal(SIGINT);
    EXPECT_EQ(board.Wait(), 0) << "saved at the end, in the middle of a session";
    EXPECT_THAT(Content(File("state")), HasSubstr("flash 0000 1234 FFFF"));
  }
}

TEST_F(FenwrightBoard, RefusesAStateFileItCannotUnderstand) {
  std::ofstream(File("state")) << "something else\n";
  Process board({"--device", "AT90S8515", "--state", File("state")});
  EXPECT_THAT(board.Errors(), HasSubstr("something else"));
  EXPECT_EQ(board.Wait(), 1);
  EXPECT_EQ(Content(File("state")), "something else\n");
}

TEST_F(FenwrightBoard, MakesReplacesAndRemovesItsLink) {
  fs::create_symlink("/nowhere", File("port"));
  Process board({"--device", "AT90S8515", "--link", File("port")});
  const std::string path = board.ReadLine();
  EXPECT_EQ(fs::read_symlink(File("port")), path);
  board.Signal(SIGTERM);
  EXPECT_EQ(board.Wait(), 0);
  EXPECT_FALSE(fs::is_symlink(File("port")));
}

TEST_F(FenwrightBoard, LeavesAFileInPlaceOfItsLinkAlone) {
  std::ofstream(File("port")) << "precious";
  Process board({"--device", "AT90S8515", "--link", File("port")});
  EXPECT_THAT(board.Errors(), HasSubstr("not a symbolic link"));
  EXPECT_EQ(board.Wait(), 1);
  EXPECT_EQ(Content(File("port")), "precious");
}

TEST_F(FenwrightBoard, LogsTheBytesOfBothDirections) {
  Process board({"--device", "AT90S8515", "--baud", "0", "--log", File("log")});
  const Line line(board.ReadLine());
  ASSERT_TRUE(line.Ready(0x38));
  line.Ask(Say('s'), 3);
  EXPECT_EQ(Content(File("log")), "> 41\n< 0D\n> 54 38\n< 0D\n> 50\n< 0D\n> 73\n< 01 93 1E\n");
}

TEST_F(FenwrightBoard, NamesTheDevicesWhenOneIsUnknownOrAmbiguous) {
  for (const char* name : {"ATmega8", "AT90S", ""}) {
    Process board({"--device", name});
    const std::string errors = board.Errors();
    EXPECT_THAT(errors, HasSubstr("AT90S1200A(内部RCｸﾛｯｸ1MHz)\n"));
    EXPECT_THAT(errors, HasSubstr("ATtiny12L\n"));
    EXPECT_EQ(board.Output(), "");
    EXPECT_EQ(board.Wait(), 2);
  }
}

TEST_F(FenwrightBoard, NamesAFaultItDoesNotKnowAndItsForms) {
  Process board({"--device", "AT90S8515", "--fault", "drop@2", "--fault", "loud@1"});
  const std::string errors = board.Errors();
  EXPECT_THAT(errors, HasSubstr("\"loud@1\""));
  EXPECT_THAT(errors, HasSubstr("split@N:MS"));
  EXPECT_EQ(board.Wait(), 2);
}

TEST_F(FenwrightBoard, WrongCommandLinesEndWithExitCode2) {
  for (const std::vector<std::string>& arguments :
       std::vector<std::vector<std::string>>{{},
                                             {"--device", "AT90S8515", "--baud", "x"},
                                             {"--device", "AT90S8515", "--latency-ms", "-1"},
                                             {"--device", "AT90S8515", "--nonsense"}}) {
    Process board(arguments);
    EXPECT_NE(board.Errors(), "");
    EXPECT_EQ(board.Wait(), 2);
  }
}

TEST_F(FenwrightBoard, RefusesATimeThatIsNoTime) {
  for (const char* option : {"--latency-ms", "--ack-delay-ms"}) {
    for (const char* value : {"-1", "nan", "-nan", "inf", "-inf", "1000001", "soon", ""}) {
      SCOPED_TRACE(std::string(option) + " " + value);
      Process board({"--device", "AT90S8515", option, value});
      EXPECT_THAT(board.Errors(), HasSubstr(option));
      EXPECT_EQ(board.Wait(), 2);
    }
  }
}

TEST_F(FenwrightBoard, RefusesAPathItCouldNotWriteInTheEnd) {
  for (const char* option : {"--dump", "--state"}) {
    for (const std::string& path :
         {std::string("/nowhere/at/all"), folder_.string(), std::string("/dev/null")}) {
      SCOPED_TRACE(option + (" " + path));
      Process board({"--device", "AT90S8515", option, path});
      EXPECT_THAT(board.Errors(), HasSubstr(path));
      EXPECT_EQ(board.Wait(), 2);
    }
  }
  EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST_F(FenwrightBoard, ItsHelpListsTheFaults) {
  Process board({"--help"});
  const std::string help = board.Output();
  EXPECT_THAT(help, HasSubstr("flip@N[:HEXMASK]"));
  EXPECT_THAT(help, HasSubstr("--latency-ms"));
  EXPECT_EQ(board.Wait(), 0);
}

TEST_F(FenwrightBoard, CarriesOutTheFaultsItIsGiven) {
  Process board({"--device", "AT90S8515", "--baud", "0", "--fault", "flip@1", "--fault", "drop@2",
                 "--version-line", "KV-LOD350A V6.30"});
  const Line line(board.ReadLine());
  EXPECT_EQ(line.Ask(Say('A'), 1), Bytes{0x0C});
  ASSERT_TRUE(line.Send(Say('A')));
  EXPECT_EQ(line.Read(1, 50), kNothing);
  const Bytes version = line.Ask(Say('?'), 18);
  EXPECT_EQ(std::string(version.begin(), version.end()), "KV-LOD350A V6.30\r\n");
}

TEST_F(FenwrightBoard, HangsUpSavesAndEnds) {
  Process board(
      {"--device", "AT90S8515", "--baud", "0", "--fault", "hangup@5", "--dump", File("dump")});
  const Line line(board.ReadLine());
  ASSERT_TRUE(line.Ready(0x38));
  EXPECT_FALSE(fs::exists(File("dump")));
  ASSERT_TRUE(line.Send(Say('R')));
  EXPECT_TRUE(line.HangsUp());
  EXPECT_EQ(board.Wait(), 0);
  EXPECT_EQ(fs::file_size(File("dump")), 8192U + 512U);
}

TEST_F(FenwrightBoard, KeepsServingWhenTheOtherEndComesAndGoes) {
  Process board({"--device", "AT90S8515", "--baud", "0"});
  const std::string path = board.ReadLine();
  for (int i = 0; i < 3; ++i) {
    const Line line(path);
    EXPECT_EQ(line.Ask(Say('A'), 1), kAck);
  }
}

TEST_F(FenwrightBoard, KeepsTheSpeedOfTheLine) {
  Process board({"--device", "AT90S8515"});
  const Line line(board.ReadLine());
  ASSERT_TRUE(line.Ready(0x38));
  constexpr int kWords = 100;
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < kWords; ++i) {
    ASSERT_EQ(line.Ask(Say('R'), 2).size(), 2U);
  }
  const auto used = std::chrono::steady_clock::now() - start;
  // Never faster than the line. How much slower depends on what else the machine does.
  EXPECT_GE(used, kWords * 3 * 173'611ns);
  EXPECT_LE(used, kWords * 3 * 173'611ns * 20);
}

TEST_F(FenwrightBoard, HoldsRepliesBackForTheLatencyAndTheAcknowledgementOfAForItsDelay) {
  Process board(
      {"--device", "AT90S8515", "--baud", "0", "--latency-ms", "5", "--ack-delay-ms", "20"});
  const Line line(board.ReadLine());
  const auto start = std::chrono::steady_clock::now();
  ASSERT_EQ(line.Ask(Say('A'), 1), kAck);
  const auto acknowledged = std::chrono::steady_clock::now();
  EXPECT_GE(acknowledged - start, 25ms);
  ASSERT_EQ(line.Ask(Say('P'), 1), kAck);
  EXPECT_GE(std::chrono::steady_clock::now() - acknowledged, 5ms);
}

TEST_F(FenwrightBoard, UsesNoProcessorTimeWhileIdle) {
  Process board({"--device", "AT90S8515"});
  const Line line(board.ReadLine());
  ASSERT_EQ(line.Ask(Say('A'), 1), kAck);
  std::this_thread::sleep_for(600ms);
  board.Signal(SIGTERM);
  EXPECT_EQ(board.Wait(), 0);
  EXPECT_LT(board.ProcessorTime(), 200ms) << "a busy loop would have used 600 ms";
}

}  // namespace
}  // namespace fenwright::board
