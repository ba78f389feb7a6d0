// The command line for Windows, run under Wine on fenwright-board: COM3 of Wine is a link to the
// board's pseudo terminal. scripts/test-windows.sh runs this test and sets what it needs:
//
//   FENWRIGHT_WINE         the program that runs Windows programs
//   FENWRIGHT_WINEPREFIX   its prefix
//   FENWRIGHT_WINDOWS_CLI  fenwright-cli.exe

#include <cstdlib>
#include <filesystem>
#include <regex>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "ops/command.h"
#include "ops/commands.h"
#include "platform/system/code_page.h"
#include "support/test_run.h"
#include "system/board_program.h"

namespace fenwright::testing {
namespace {

using ::testing::HasSubstr;

std::string Variable(const char* name) {
  const char* const value = std::getenv(name);
  if (value == nullptr) throw std::runtime_error(std::string(name) + " is not set");
  return value;
}

/// A board behind COM3.
class BoardOnComPort {
 public:
  explicit BoardOnComPort(const std::string& device, std::vector<std::string> options = {})
      : Board(device, std::move(options)) {
    std::filesystem::remove(link_);
    std::filesystem::create_symlink(std::filesystem::read_symlink(Board.Link()), link_);
  }
  ~BoardOnComPort() { std::filesystem::remove(link_); }
  BoardOnComPort(const BoardOnComPort&) = delete;
  BoardOnComPort& operator=(const BoardOnComPort&) = delete;

  BoardProgram Board;

 private:
  std::filesystem::path link_ =
      std::filesystem::path(Variable("FENWRIGHT_WINEPREFIX")) / "dosdevices" / "com3";
};

class WindowsCli : public ::testing::Test {
 protected:
  struct Result {
    int Code = -1;
    std::string Out;
    std::string Err;
  };

  Result Run(const std::vector<std::string>& arguments) {
    return RunIn(folder_.Path().string(),
                 {Variable("FENWRIGHT_WINE"), Variable("FENWRIGHT_WINDOWS_CLI")}, arguments);
  }

  /// Runs a program, its outputs without the CR that Windows puts before each LF.
  static Result RunIn(const std::string& folder, std::vector<std::string> command,
                      const std::vector<std::string>& arguments) {
    command.insert(command.end(), arguments.begin(), arguments.end());
    Process process(command, {.Folder = folder});
    const int code = process.Wait(90);
    Result result{.Code = code, .Out = process.Output(), .Err = process.Errors()};
    std::erase(result.Out, '\r');
    std::erase(result.Err, '\r');
    return result;
  }

  void MakeCode(const Bytes& flash, const Bytes& eeprom = {}) {
    WriteFile(folder_.File("code.hex"), HexFile(flash));
    if (!eeprom.empty()) WriteFile(folder_.File("code.eep"), HexFile(eeprom));
  }

  TemporaryFolder folder_;
};

Bytes FullImage(std::size_t count, unsigned seed) {
  Bytes bytes = RandomBytes(count, seed);
  bytes.back() = 0x5A;
  return bytes;
}

TEST_F(WindowsCli, ProgramsAWholeImageAndSendsTheSameBytesAsTheEngine) {
  BoardOnComPort port("AT90S8515");
  const Bytes flash = FullImage(2000, 1);
  const Bytes eeprom = FullImage(100, 2);
  MakeCode(flash, eeprom);

  const Result result = Run({"--port", "COM3", "--device", "AT90S8515", "program", "code.hex"});

  EXPECT_EQ(result.Code, 0) << result.Out << result.Err;
  EXPECT_THAT(result.Out, HasSubstr("ライターを COM3に検出しました。\n"));
  EXPECT_THAT(result.Out, HasSubstr("ベリファイ　FLASH : OK / EEPROM : OK\nok: programmed and "
                                    "verified ("));
  std::string image(flash.begin(), flash.end());
  image.resize(8192, '\xFF');
  image.append(eeprom.begin(), eeprom.end());
  image.resize(8192 + 512, '\xFF');
  EXPECT_EQ(port.Board.Dump(), image);
  BoardRun run("AT90S8515");
  run.LoadImage(flash, eeprom);
  ops::RunCommand(run.Context, ops::Cmd_btn_program_Click);
  EXPECT_EQ(port.Board.Wire(), run.Wire);
}

TEST_F(WindowsCli, SendsTheSameBytesToAChipWithItsOwnWayOfWriting) {
  BoardOnComPort port("ATtiny26L");
  const Bytes flash = FullImage(500, 3);
  MakeCode(flash);
  ASSERT_EQ(Run({"--port", "COM3", "--device", "ATtiny26L", "program", "code.hex"}).Code, 0);
  BoardRun run("ATtiny26L");
  run.LoadImage(flash, {});
  ops::RunCommand(run.Context, ops::Cmd_btn_program_Click);
  EXPECT_EQ(port.Board.Wire(), run.Wire);
}

TEST_F(WindowsCli, LeavesTheSameTraceDumpsAndReportAsOnLinux) {
  MakeCode(FullImage(1000, 4), FullImage(60, 5));
  const auto leave_files = [&](const std::string& name, std::vector<std::string> program,
                               const std::string& port) {
    std::filesystem::create_directory(folder_.File(name));
    const Result result =
        RunIn(folder_.Path().string(), std::move(program),
              {"--port", port, "--device", "ATtiny12L", "--folder", name, "program", "code.hex"});
    EXPECT_EQ(result.Code, 1) << result.Out << result.Err;
  };
  // A write that lies gives the report something to say.
  const std::vector<std::string> fault{"--fault", "lie@2"};
  {
    BoardOnComPort port("ATtiny12L", fault);
    leave_files("出力 windows", {Variable("FENWRIGHT_WINE"), Variable("FENWRIGHT_WINDOWS_CLI")},
                "COM3");
  }
  {
    const BoardProgram board("ATtiny12L", fault);
    leave_files("出力 linux", {FENWRIGHT_CLI_PROGRAM}, "COM3=" + board.Link());
  }
  const auto file = [&](const std::string& name) { return ReadFile(folder_.File(name)); };
  for (const char* name : {"avrhex.txt", "avreep.txt", "avrvfy.txt"}) {
    EXPECT_NE(file(std::string("出力 linux/") + name), "");
    EXPECT_EQ(file(std::string("出力 windows/") + name), file(std::string("出力 linux/") + name))
        << name;
  }
  const auto trace_of = [&](const std::string& folder) {
    const std::regex time(R"(\t\d{4}/\d\d/\d\d \d\d:\d\d:\d\d\r\n)");
    const std::regex elapsed(R"((^|\n)\d+\x95\x62\t)");  // so many seconds
    const std::string text =
        std::regex_replace(file(folder + "/_debug_avr.txt"), time, "\tTIME\r\n");
    EXPECT_THAT(text, HasSubstr("\tTIME\r\n"));
    return std::regex_replace(text, elapsed, "$1SECONDS\t");
  };
  EXPECT_EQ(trace_of("出力 windows"), trace_of("出力 linux"));
}

TEST_F(WindowsCli, ReadsWhatIsInTheChipAndSavesTheSameFilesAsOnLinux) {
  const Bytes flash = FullImage(600, 6);
  const Bytes eeprom = FullImage(256, 7);
  MakeCode(flash, eeprom);
  const std::vector<std::string> read{"read",   "--code",       "読み出し.hex",
                                      "--data", "読み出し.eep", "--force"};
  BoardOnComPort port("AT90S4434");
  const auto with_port = [&](const std::string& name, std::vector<std::string> command) {
    command.insert(command.begin(), {"--port", name, "--device", "AT90S4434"});
    return command;
  };
  ASSERT_EQ(Run(with_port("COM3", {"program", "code.hex"})).Code, 0);
  const Result result = Run(with_port("COM3", read));
  EXPECT_EQ(result.Code, 0) << result.Out << result.Err;
  const std::string code = ReadFile(folder_.File("読み出し.hex"));
  const std::string data = ReadFile(folder_.File("読み出し.eep"));
  EXPECT_THAT(code, ::testing::StartsWith(":10"));
  for (const char* name : {"読み出し.hex", "読み出し.eep"}) {
    ASSERT_TRUE(std::filesystem::remove(folder_.File(name))) << name;
  }
  ASSERT_EQ(RunIn(folder_.Path().string(), {FENWRIGHT_CLI_PROGRAM},
                  with_port("COM3=" + port.Board.Link(), read))
                .Code,
            0);
  EXPECT_EQ(code, ReadFile(folder_.File("読み出し.hex")));
  EXPECT_EQ(data, ReadFile(folder_.File("読み出し.eep")));
}

TEST_F(WindowsCli, VerifiesAndTellsDifferences) {
  BoardOnComPort port("ATtiny15L");
  MakeCode(FullImage(1024, 8));
  ASSERT_EQ(Run({"--port", "COM3", "--device", "ATtiny15L", "program", "code.hex"}).Code, 0);
  EXPECT_EQ(Run({"--port", "COM3", "--device", "ATtiny15L", "verify", "code.hex"}).Code, 0);
  MakeCode(FullImage(1024, 9));
  const Result result = Run({"--port", "COM3", "--device", "ATtiny15L", "verify", "code.hex"});
  EXPECT_EQ(result.Code, 1);
  EXPECT_THAT(result.Out, HasSubstr("ベリファイ　FLASH : NG / EEPROM : OK"));
}

TEST_F(WindowsCli, ReadsAndWritesFusesWithTheSameBytesAsTheEngine) {
  BoardOnComPort port("ATtiny26L");
  const Result result = Run({"--port", "COM3", "--device", "ATtiny26L", "write-fuses", "CKSEL=0100",
                             "BODEN=Enable", "SUT=3"});
  EXPECT_EQ(result.Code, 0) << result.Out << result.Err;
  EXPECT_THAT(result.Out, HasSubstr("old: Fuse 0xE1  High 0xF7  Lock 0xFF\n"));
  EXPECT_THAT(result.Out, HasSubstr("new: Fuse 0xF4  High 0xF6  Lock 0xFF\n"));
  BoardRun run("ATtiny26L");
  ops::RunCommand(run.Context, ops::cmdFuseRead_Click);
  run.Fuses.Select(screen::FuseList::Cksel, 4);
  run.Fuses.Select(screen::FuseList::Boden, 0);
  run.Fuses.Select(screen::FuseList::Sut, 3);
  ops::RunCommand(run.Context, ops::cmdFuseWrite_Click);
  EXPECT_EQ(port.Board.Wire(), run.Wire);
  const Result read = Run({"--port", "COM3", "--device", "ATtiny26L", "read-fuses"});
  EXPECT_THAT(read.Out, HasSubstr("LOCK       プロテクトなし  (2)\n"
                                  "bytes      Fuse 0xF4  High 0xF6  Lock 0xFF\n"));
}

TEST_F(WindowsCli, DetectsTheBoardAndMeasuresItsRoundTrip) {
  BoardOnComPort port("AT90S8515");
  const Result detected = Run({"--port", "COM3", "--device", "AT90S8515", "detect"});
  EXPECT_EQ(detected.Code, 0) << detected.Out << detected.Err;
  EXPECT_THAT(detected.Out, HasSubstr("COM3"));
  EXPECT_THAT(detected.Out, HasSubstr("KV-LOD350  V6.38"));
  const Result checked = Run({"--port", "COM3", "--device", "AT90S8515", "check-link"});
  EXPECT_EQ(checked.Code, 0) << checked.Out << checked.Err;
  EXPECT_THAT(checked.Out, ::testing::ContainsRegex("median"));
}

TEST_F(WindowsCli, UpdatesTheBoardsFirmwareWithTheSameBytesAsOnLinux) {
  // A word at 0 and the version that the board gives from then on.
  WriteFile(folder_.File("fw.hex"),
            ":040000000C942A0032\r\n"
            ":123FC0004B562D4C4F44333530202056362E34300D0A35\r\n"
            ":00000001FF\r\n");
  const auto update = [&](const std::string& port, std::vector<std::string> program) {
    const Result result = RunIn(folder_.Path().string(), std::move(program),
                                {"--port", port, "update-firmware", "fw.hex", "--yes"});
    EXPECT_EQ(result.Code, 0) << result.Out << result.Err;
  };
  BoardOnComPort port("AT90S8515");
  update("COM3", {Variable("FENWRIGHT_WINE"), Variable("FENWRIGHT_WINDOWS_CLI")});
  const BoardProgram board("AT90S8515");
  update(board.Link(), {FENWRIGHT_CLI_PROGRAM});
  EXPECT_EQ(port.Board.Wire().size(), 1U + 1 + 4 * (2 + 9) + 4);
  EXPECT_EQ(port.Board.Wire(), board.Wire());
  EXPECT_EQ(Run({"--port", "COM3", "board-version"}).Out, "KV-LOD350  V6.40\n");
}

TEST_F(WindowsCli, AMissingPortIsNamedWithItsCause) {
  MakeCode({1, 2});
  const Result result = Run({"--port", "COM19", "--device", "ATtiny12L", "program", "code.hex"});
  EXPECT_EQ(result.Code, 3);
  EXPECT_THAT(result.Err, HasSubstr("COM19 がありません。"));
}

TEST_F(WindowsCli, ListsTheDevicesAsJsonInUtf8) {
  const auto list = nlohmann::json::parse(Run({"--json", "devices"}).Out);
  ASSERT_EQ(list.size(), 13U);
  EXPECT_EQ(list[6]["name"], "AT90S1200A(内部RCｸﾛｯｸ1MHz)");
}

TEST_F(WindowsCli, TellsItsVersion) { EXPECT_EQ(Run({"--version"}).Out, "fenwright-cli 6.5.5\n"); }

}  // namespace
}  // namespace fenwright::testing
