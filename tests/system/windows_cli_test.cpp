// The command line for Windows, run under Wine on fenwright-board: COM3 of Wine is a link to the
// board's pseudo terminal. scripts/test-windows.sh runs this test and sets what it needs:
//
//   FENWRIGHT_WINE         the program that runs Windows programs
//   FENWRIGHT_WINEPREFIX   its prefix
//   FENWRIGHT_WINDOWS_CLI  fenwright-cli.exe

#include <regex>

#include "ops/command.h"
#include "ops/commands.h"
#include "system/cli_run.h"

namespace fenwright::testing {
namespace {

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

class WindowsCli : public CliTest {
 protected:
  static Words WindowsProgram() {
    return {Variable("FENWRIGHT_WINE"), Variable("FENWRIGHT_WINDOWS_CLI")};
  }
  static Words LinuxProgram() { return {FENWRIGHT_CLI_PROGRAM}; }

  CliResult Run(const Words& words) { return RunProgram(WindowsProgram(), words); }
  /// On COM3, with a device selected.
  CliResult OnCom3(const std::string& device, const Words& command) {
    return Run(Words{"--port", "COM3", "--device", device} + command);
  }
  /// Runs a program, its outputs without the CR that Windows puts before each LF.
  CliResult RunProgram(const Words& program, const Words& words) {
    Process process(program + words, {.Folder = folder_.Path().string()});
    const int code = process.Wait(90);
    CliResult result{.Code = code, .Out = process.Output(), .Err = process.Errors()};
    std::erase(result.Out, '\r');
    std::erase(result.Err, '\r');
    return result;
  }

  void MakeCode(const Bytes& flash, const Bytes& eeprom = {}) {
    PutCode(flash);
    if (!eeprom.empty()) PutCode(eeprom, "code.eep");
  }
};

TEST_F(WindowsCli, ProgramsAWholeImageAndSendsTheSameBytesAsTheEngine) {
  BoardOnComPort port("AT90S8515");
  const Bytes flash = FullImage(2000, 1);
  const Bytes eeprom = FullImage(100, 2);
  MakeCode(flash, eeprom);

  EXPECT_THAT(OnCom3("AT90S8515", "program code.hex"),
              AllOf(Ends(0), Warns("  on COM3 (KV-LOD350  V6.38)"),
                    Prints("ok: programmed and verified in ")));
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
  ASSERT_THAT(OnCom3("ATtiny26L", "program code.hex"), Ends(0));
  BoardRun run("ATtiny26L");
  run.LoadImage(flash, {});
  ops::RunCommand(run.Context, ops::Cmd_btn_program_Click);
  EXPECT_EQ(port.Board.Wire(), run.Wire);
}

TEST_F(WindowsCli, LeavesTheSameTraceDumpsAndReportAsOnLinux) {
  MakeCode(FullImage(1000, 4), FullImage(60, 5));
  const auto leave_files = [&](const std::string& name, const Words& program,
                               const std::string& port) {
    MakeFolder(name);
    EXPECT_THAT(RunProgram(program, {"--port", port, "--device", "ATtiny12L", "--folder", name,
                                     "program", "code.hex"}),
                Ends(1));
  };
  // A write that lies gives the report something to say.
  const std::vector<std::string> fault{"--fault", "lie@2"};
  {
    BoardOnComPort port("ATtiny12L", fault);
    leave_files("出力 windows", WindowsProgram(), "COM3");
  }
  {
    const BoardProgram board("ATtiny12L", fault);
    leave_files("出力 linux", LinuxProgram(), "COM3=" + board.Link());
  }
  for (const std::string name : {"avrhex.txt", "avreep.txt", "avrvfy.txt"}) {
    EXPECT_NE(Get("出力 linux/" + name), "");
    EXPECT_EQ(Get("出力 windows/" + name), Get("出力 linux/" + name)) << name;
  }
  const auto trace_of = [&](const std::string& folder) {
    const std::regex time(R"(\t\d{4}/\d\d/\d\d \d\d:\d\d:\d\d\r\n)");
    const std::regex elapsed(R"((^|\n)\d+\x95\x62\t)");  // so many seconds
    const std::string text =
        std::regex_replace(Get(folder + "/_debug_avr.txt"), time, "\tTIME\r\n");
    EXPECT_THAT(text, HasSubstr("\tTIME\r\n"));
    return std::regex_replace(text, elapsed, "$1SECONDS\t");
  };
  EXPECT_EQ(trace_of("出力 windows"), trace_of("出力 linux"));
}

TEST_F(WindowsCli, ReadsWhatIsInTheChipAndSavesTheSameFilesAsOnLinux) {
  const Bytes flash = FullImage(600, 6);
  const Bytes eeprom = FullImage(256, 7);
  MakeCode(flash, eeprom);
  const Words read = "read --code 読み出し.hex --data 読み出し.eep --force";
  BoardOnComPort port("AT90S4434");
  ASSERT_THAT(OnCom3("AT90S4434", "program code.hex"), Ends(0));
  EXPECT_THAT(OnCom3("AT90S4434", read), Ends(0));
  const std::string code = Get("読み出し.hex");
  const std::string data = Get("読み出し.eep");
  EXPECT_THAT(code, StartsWith(":10"));
  for (const char* name : {"読み出し.hex", "読み出し.eep"}) {
    ASSERT_TRUE(std::filesystem::remove(Path(name))) << name;
  }
  ASSERT_THAT(
      RunProgram(LinuxProgram(),
                 Words{"--port", "COM3=" + port.Board.Link(), "--device", "AT90S4434"} + read),
      Ends(0));
  EXPECT_EQ(code, Get("読み出し.hex"));
  EXPECT_EQ(data, Get("読み出し.eep"));
}

TEST_F(WindowsCli, VerifiesAndTellsDifferences) {
  BoardOnComPort port("ATtiny15L");
  MakeCode(FullImage(1024, 8));
  ASSERT_THAT(OnCom3("ATtiny15L", "program code.hex"), Ends(0));
  EXPECT_THAT(OnCom3("ATtiny15L", "verify code.hex"), Ends(0));
  MakeCode(FullImage(1024, 9));
  EXPECT_THAT(OnCom3("ATtiny15L", "verify code.hex"),
              AllOf(Ends(1), Warns("what was read from the chip differs")));
}

TEST_F(WindowsCli, ReadsAndWritesFusesWithTheSameBytesAsTheEngine) {
  BoardOnComPort port("ATtiny26L");
  EXPECT_THAT(OnCom3("ATtiny26L", "write-fuses CKSEL=0100 BODEN=Enable SUT=3"),
              AllOf(Ends(0), Prints("old: Fuse 0xE1  High 0xF7  Lock 0xFF\n"),
                    Prints("new: Fuse 0xF4  High 0xF6  Lock 0xFF\n")));
  // Read twice, written as by the button, read back.
  BoardRun run("ATtiny26L");
  ops::RunCommand(run.Context, ops::cmdFuseRead_Click);
  ops::RunCommand(run.Context, ops::cmdFuseRead_Click);
  run.Fuses.Select(FuseList::Cksel, 4);
  run.Fuses.Select(FuseList::Boden, 0);
  run.Fuses.Select(FuseList::Sut, 3);
  ops::RunCommand(run.Context, ops::cmdFuseWrite_Click);
  ops::RunCommand(run.Context, ops::cmdFuseRead_Click);
  EXPECT_EQ(port.Board.Wire(), run.Wire);
  EXPECT_THAT(OnCom3("ATtiny26L", "read-fuses"),
              Prints("LOCK       none  (2)\n"
                     "bytes      Fuse 0xF4  High 0xF6  Lock 0xFF\n"));
}

TEST_F(WindowsCli, DetectsTheBoardAndMeasuresItsRoundTrip) {
  BoardOnComPort port("AT90S8515");
  EXPECT_THAT(OnCom3("AT90S8515", "detect"),
              AllOf(Ends(0), Prints("COM3"), Prints("KV-LOD350  V6.38")));
  EXPECT_THAT(OnCom3("AT90S8515", "check-link"), AllOf(Ends(0), Prints("median")));
}

TEST_F(WindowsCli, UpdatesTheBoardsFirmwareWithTheSameBytesAsOnLinux) {
  // A word at 0 and the version that the board gives from then on.
  Put("fw.hex",
      ":040000000C942A0032\r\n"
      ":123FC0004B562D4C4F44333530202056362E34300D0A35\r\n"
      ":00000001FF\r\n");
  const Words update = "update-firmware fw.hex --yes";
  BoardOnComPort port("AT90S8515");
  EXPECT_THAT(Run(Words{"--port", "COM3"} + update), Ends(0));
  const BoardProgram board("AT90S8515");
  EXPECT_THAT(RunProgram(LinuxProgram(), Words{"--port", board.Link()} + update), Ends(0));
  EXPECT_EQ(port.Board.Wire().size(), 1U + 1 + 4 * (2 + 9) + 4);
  EXPECT_EQ(port.Board.Wire(), board.Wire());
  EXPECT_EQ(Run("--port COM3 board-version").Out, "KV-LOD350  V6.40\n");
}

TEST_F(WindowsCli, AMissingPortIsNamedWithItsCause) {
  MakeCode({1, 2});
  EXPECT_THAT(Run("--port COM19 --device ATtiny12L program code.hex"),
              AllOf(Ends(3), Warns("COM19")));
}

TEST_F(WindowsCli, ListsTheDevicesAsJsonInUtf8) {
  const auto list = Run("--json devices").Json()["devices"];
  ASSERT_EQ(list.size(), 13U);
  EXPECT_EQ(list[6]["name"], "AT90S1200A(内部RCｸﾛｯｸ1MHz)");
}

TEST_F(WindowsCli, TellsItsVersion) { EXPECT_EQ(Run("--version").Out, "fenwright-cli 6.5.5\n"); }

}  // namespace
}  // namespace fenwright::testing
