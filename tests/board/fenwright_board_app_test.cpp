#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include "board/talk.h"
#include "support/process.h"

namespace fenwright::board {
namespace {

namespace fs = std::filesystem;

/// fenwright-board with its options.
class Board : public Process {
 public:
  explicit Board(const std::vector<std::string>& options) : Process(Command(options)) {}

  /// The first line of its output, without its end.
  std::string ReadLine() {
    std::string output;
    for (int i = 0; i < 2000 && !output.ends_with('\n'); ++i) {
      output = Process::Output();
      if (!Running()) break;
      std::this_thread::sleep_for(5ms);
    }
    return output.substr(0, output.find('\n'));
  }
  /// What it has said when it has ended.
  std::string Output() { return Wait(), Process::Output(); }
  std::string Errors() { return Wait(), Process::Errors(); }

 private:
  static std::vector<std::string> Command(std::vector<std::string> options) {
    options.insert(options.begin(), FENWRIGHT_BOARD_PROGRAM);
    return options;
  }
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
      if (poll(&waiting, 1, milliseconds) != 1 || read(file_, &byte, 1) != 1) break;
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

struct FenwrightBoard : Test {
  [[nodiscard]] std::string File(const char* name) const { return folder_.File(name); }
  [[nodiscard]] std::string Content(const char* name) const { return ReadFile(File(name)); }

  TemporaryFolder folder_;
};

TEST_F(FenwrightBoard, AnswersOnTheTerminalWhosePathItPrints) {
  Board board({"--device", "AT90S8515"});
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
  Board board({"--device", "AT90S8515", "--baud", "0"});
  const Line line(board.ReadLine());
  ASSERT_TRUE(line.Ready(0x38));
  for (int value = 0; value < 256; ++value) {
    ASSERT_EQ(line.Ask(Say('D', {value}), 1), kAck);
    ASSERT_EQ(line.Ask(Say('d'), 1), Bytes{static_cast<std::uint8_t>(value)});
  }
}

TEST_F(FenwrightBoard, WritesTheDumpWhenProgrammingModeIsLeft) {
  Board board({"--device", "ATtiny12L", "--baud", "0", "--dump", File("dump")});
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
  EXPECT_EQ(Content("dump"), expected);
}

TEST_F(FenwrightBoard, KeepsItsStateFromOneRunToTheNext) {
  for (const bool first : {true, false}) {
    Board board({"--device", "2343", "--baud", "0", "--state", File("state")});
    const Line line(board.ReadLine());
    ASSERT_TRUE(line.Ready(0x4C));
    EXPECT_EQ(line.Ask(Say('R'), 2), first ? (Bytes{0xFF, 0xFF}) : (Bytes{0x12, 0x34}));
    line.Ask(Say('a', {0, 0}), 1);
    line.Ask(Say('c', {0x34}), 1);
    line.Ask(Say('C', {0x12}), 1);
    board.Signal(SIGINT);
    EXPECT_EQ(board.Wait(), 0) << "saved at the end, in the middle of a session";
    EXPECT_THAT(Content("state"), HasSubstr("flash 0000 1234 FFFF"));
  }
}

TEST_F(FenwrightBoard, RefusesAStateFileItCannotUnderstand) {
  WriteFile(File("state"), "something else\n");
  Board board({"--device", "AT90S8515", "--state", File("state")});
  EXPECT_THAT(board.Errors(), HasSubstr("something else"));
  EXPECT_EQ(board.Wait(), 1);
  EXPECT_EQ(Content("state"), "something else\n");
}

TEST_F(FenwrightBoard, MakesReplacesAndRemovesItsLink) {
  fs::create_symlink("/nowhere", File("port"));
  Board board({"--device", "AT90S8515", "--link", File("port")});
  const std::string path = board.ReadLine();
  EXPECT_EQ(fs::read_symlink(File("port")), path);
  board.Signal(SIGTERM);
  EXPECT_EQ(board.Wait(), 0);
  EXPECT_FALSE(fs::is_symlink(File("port")));
}

TEST_F(FenwrightBoard, LeavesAFileInPlaceOfItsLinkAlone) {
  WriteFile(File("port"), "precious");
  Board board({"--device", "AT90S8515", "--link", File("port")});
  EXPECT_THAT(board.Errors(), HasSubstr("not a symbolic link"));
  EXPECT_EQ(board.Wait(), 1);
  EXPECT_EQ(Content("port"), "precious");
}

TEST_F(FenwrightBoard, LogsTheBytesOfBothDirections) {
  Board board({"--device", "AT90S8515", "--baud", "0", "--log", File("log")});
  const Line line(board.ReadLine());
  ASSERT_TRUE(line.Ready(0x38));
  line.Ask(Say('s'), 3);
  EXPECT_EQ(Content("log"), "> 41\n< 0D\n> 54 38\n< 0D\n> 50\n< 0D\n> 73\n< 01 93 1E\n");
}

TEST_F(FenwrightBoard, LogsAPauseOfTheBoardAndThatTheLineHasHungUp) {
  Board board({"--device", "AT90S8515", "--baud", "0", "--log", File("log"), "--fault", "late@1:60",
               "--fault", "hangup@2"});
  const Line line(board.ReadLine());
  ASSERT_EQ(line.Ask(Say('A'), 1), kAck);
  ASSERT_TRUE(line.Send(Say('A')));
  EXPECT_TRUE(line.HangsUp());
  EXPECT_EQ(board.Wait(), 0);
  EXPECT_EQ(Content("log"), "> 41\n= 60 ms\n< 0D\n> 41\n! hung up\n");
}

TEST_F(FenwrightBoard, ReplaysARecordAndEndsWhenTheLineIsClosed) {
  WriteFile(File("record"), "# by hand\n> 41\n< 0D\n> 73\n= 60 ms\n< 01 93 1E\n> 1B\n");
  Board board({"--replay", File("record")});
  const std::string path = board.ReadLine();
  {
    // The end of the record is what ends it, not that the line is closed before.
    const Line line(path);
    EXPECT_EQ(line.Ask(Say('A'), 1), kAck);
  }
  {
    const Line line(path);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(line.Ask(Say('s'), 3), (Bytes{0x01, 0x93, 0x1E}));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 60ms);
    ASSERT_TRUE(line.Send({0x1B}));
    std::this_thread::sleep_for(50ms);
    EXPECT_TRUE(board.Running());
  }
  EXPECT_EQ(board.Wait(), 0);
  EXPECT_EQ(board.Output(), path + "\nall 3 exchanges were played\n");
  EXPECT_EQ(board.Errors(), "");
}

TEST_F(FenwrightBoard, AReplayThatIsAskedForSomethingElseHangsUpAndSaysWhat) {
  WriteFile(File("record"), "> 41\n< 0D\n> 54 38\n< 0D\n");
  Board board({"--replay", File("record")});
  const Line line(board.ReadLine());
  EXPECT_EQ(line.Ask(Say('A'), 1), kAck);
  ASSERT_TRUE(line.Send(Say('T', {0x4C})));
  EXPECT_TRUE(line.HangsUp());
  EXPECT_EQ(board.Wait(), 1);
  EXPECT_THAT(board.Errors(), HasSubstr("record: exchange 2 of 2 (line 3) is another one: 54 38 "
                                        "was expected, 54 4C came\n"));
  EXPECT_THAT(board.Output(), Not(HasSubstr("played")));
}

TEST_F(FenwrightBoard, AReplayThatIsEndedBeforeTheRecordFails) {
  WriteFile(File("record"), "> 41\n< 0D\n> 54 38\n< 0D\n");
  Board board({"--replay", File("record")});
  const Line line(board.ReadLine());
  EXPECT_EQ(line.Ask(Say('A'), 1), kAck);
  board.Signal(SIGTERM);
  EXPECT_EQ(board.Wait(), 1);
  EXPECT_THAT(board.Errors(), HasSubstr("2 of 2 (line 3) was not reached: 54 38 did not come\n"));
}

TEST_F(FenwrightBoard, RefusesARecordThatCannotBePlayed) {
  WriteFile(File("record"), "> 41\n< 0");
  WriteFile(File("trace"), ">>>>> START <<<<<\t2005/03/14 12:34:56\r\n");
  for (const auto& [name, why] : {std::pair{"none", "cannot be read"},
                                  {"", "cannot be read"},
                                  {"record", "line 2 is cut off"},
                                  {"trace", "--log FILE"}}) {
    Board board({"--replay", File(name), "--link", File("port")});
    EXPECT_THAT(board.Errors(), HasSubstr(why));
    EXPECT_EQ(board.Wait(), 1);
    EXPECT_EQ(board.Output(), "");
  }
  EXPECT_FALSE(fs::is_symlink(File("port")));
}

TEST_F(FenwrightBoard, AReplayTakesNothingThatIsOfASimulatedChip) {
  WriteFile(File("record"), "> 41\n< 0D\n");
  for (const std::vector<std::string>& more :
       std::vector<std::vector<std::string>>{{"--device", "AT90S8515"},
                                             {"--fault", "lie@1"},
                                             {"--state", File("state")},
                                             {"--dump", File("dump")},
                                             {"--chip-times"},
                                             {"--ack-delay-ms", "1"},
                                             {"--version-line", "V1"},
                                             // It would be gone before it was played.
                                             {"--log", File("record")}}) {
    std::vector<std::string> options{"--replay", File("record")};
    options.insert(options.end(), more.begin(), more.end());
    Board board(options);
    EXPECT_THAT(board.Errors(), HasSubstr(more.front()));
    EXPECT_EQ(board.Wait(), 2);
  }
  EXPECT_EQ(Content("record"), "> 41\n< 0D\n");
}

TEST_F(FenwrightBoard, NamesTheDevicesWhenOneIsUnknownOrAmbiguous) {
  for (const char* name : {"ATmega8", "AT90S", ""}) {
    Board board({"--device", name});
    const std::string errors = board.Errors();
    EXPECT_THAT(errors, HasSubstr("AT90S1200A(内部RCｸﾛｯｸ1MHz)\n"));
    EXPECT_THAT(errors, HasSubstr("ATtiny12L\n"));
    EXPECT_EQ(board.Output(), "");
    EXPECT_EQ(board.Wait(), 2);
  }
}

TEST_F(FenwrightBoard, NamesAFaultItDoesNotKnowAndItsForms) {
  Board board({"--device", "AT90S8515", "--fault", "drop@2", "--fault", "loud@1"});
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
    Board board(arguments);
    EXPECT_NE(board.Errors(), "");
    EXPECT_EQ(board.Wait(), 2);
  }
}

TEST_F(FenwrightBoard, ControlCharactersReachATerminalEscaped) {
  const std::string evil = "a\n\x1b[2Jok";
  const std::string shown = R"(a\n\x1b[2Jok)";
  for (const std::vector<std::string>& arguments :
       std::vector<std::vector<std::string>>{{"--device", evil},
                                             {"--device", "AT90S8515", "--fault", evil},
                                             {"--device", "AT90S8515", "--dump", "/none/" + evil},
                                             {"--device", "AT90S8515", "--link", "/none/" + evil},
                                             {"--device", "AT90S8515", "--log=/none/" + evil},
                                             {"--device", "AT90S8515", evil}}) {
    SCOPED_TRACE(arguments.back());
    Board board(arguments);
    const std::string errors = board.Errors();
    EXPECT_THAT(errors, HasSubstr(shown));
    EXPECT_THAT(errors, Not(HasSubstr("\x1b")));
    EXPECT_THAT(errors, Not(HasSubstr("a\n")));
  }
}

TEST_F(FenwrightBoard, RefusesATimeThatIsNoTime) {
  for (const char* option : {"--latency-ms", "--ack-delay-ms"}) {
    for (const char* value : {"-1", "nan", "-nan", "inf", "-inf", "1000001", "soon", ""}) {
      SCOPED_TRACE(std::string(option) + " " + value);
      Board board({"--device", "AT90S8515", option, value});
      EXPECT_THAT(board.Errors(), HasSubstr(option));
      EXPECT_EQ(board.Wait(), 2);
    }
  }
}

TEST_F(FenwrightBoard, RefusesAPathItCouldNotWriteInTheEnd) {
  for (const char* option : {"--dump", "--state"}) {
    for (const std::string& path :
         {std::string("/nowhere/at/all"), folder_.Path().string(), std::string("/dev/null")}) {
      SCOPED_TRACE(option + (" " + path));
      Board board({"--device", "AT90S8515", option, path});
      EXPECT_THAT(board.Errors(), HasSubstr(path));
      EXPECT_EQ(board.Wait(), 2);
    }
  }
  EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST_F(FenwrightBoard, ItsHelpListsTheFaults) {
  Board board({"--help"});
  const std::string help = board.Output();
  EXPECT_THAT(help, HasSubstr("flip@N[:HEXMASK[:BYTE]]"));
  EXPECT_THAT(help, HasSubstr("--latency-ms"));
  EXPECT_EQ(board.Wait(), 0);
}

TEST_F(FenwrightBoard, CarriesOutTheFaultsItIsGiven) {
  Board board({"--device", "AT90S8515", "--baud", "0", "--fault", "flip@1", "--fault", "drop@2",
               "--version-line", "KV-LOD350A V6.30"});
  const Line line(board.ReadLine());
  EXPECT_EQ(line.Ask(Say('A'), 1), Bytes{0x0C});
  ASSERT_TRUE(line.Send(Say('A')));
  EXPECT_EQ(line.Read(1, 50), kNothing);
  const Bytes version = line.Ask(Say('?'), 18);
  EXPECT_EQ(std::string(version.begin(), version.end()), "KV-LOD350A V6.30\r\n");
}

TEST_F(FenwrightBoard, HangsUpSavesAndEnds) {
  Board board(
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
  Board board({"--device", "AT90S8515", "--baud", "0"});
  const std::string path = board.ReadLine();
  for (int i = 0; i < 3; ++i) {
    const Line line(path);
    EXPECT_EQ(line.Ask(Say('A'), 1), kAck);
  }
}

TEST_F(FenwrightBoard, KeepsTheSpeedOfTheLine) {
  Board board({"--device", "AT90S8515"});
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
  Board board(
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
  Board board({"--device", "AT90S8515"});
  const Line line(board.ReadLine());
  ASSERT_EQ(line.Ask(Say('A'), 1), kAck);
  std::this_thread::sleep_for(600ms);
  board.Signal(SIGTERM);
  EXPECT_EQ(board.Wait(), 0);
  EXPECT_LT(board.ProcessorSeconds(), 0.2) << "a busy loop would have used 600 ms";
}

}  // namespace
}  // namespace fenwright::board
