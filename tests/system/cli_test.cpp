// The command line as a user calls it: the real program, a real serial device, real files.

#include <chrono>
#include <signal.h>
#include <sstream>
#include <sys/mount.h>
#include <thread>
#include <tuple>
#include <unistd.h>

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
using ::testing::Not;
using namespace std::chrono_literals;

class Cli : public ::testing::Test {
 protected:
  struct Result {
    int Code = -1;
    std::string Out;
    std::string Err;
  };

  Result Run(std::vector<std::string> arguments, Process::Setup setup = {},
             const std::string& program = FENWRIGHT_CLI_PROGRAM) {
    arguments.insert(arguments.begin(), program);
    setup.Folder = folder_.Path().string();
    Process process(arguments, setup);
    const int code = process.Wait();
    return {.Code = code, .Out = process.Output(), .Err = process.Errors()};
  }

  /// Runs the program as a user whom the rights of files bind. The build may lie where nobody else
  /// comes to, in a home folder say, so a copy of the program is run.
  Result RunWithoutPrivileges(const std::vector<std::string>& arguments) {
    constexpr unsigned kNobody = 65534;
    if (getuid() != 0) return Run(arguments);
    std::filesystem::permissions(folder_.Path(), std::filesystem::perms::all);
    const std::string copy = folder_.File("fenwright-cli");
    std::filesystem::copy_file(FENWRIGHT_CLI_PROGRAM, copy);
    std::filesystem::permissions(copy, std::filesystem::perms(0755));
    return Run(arguments, {.UserId = kNobody}, copy);
  }

  /// Programs a file on a board's port.
  Result Program(const BoardProgram& board, const std::string& device, const std::string& file,
                 std::vector<std::string> more = {}) {
    std::vector<std::string> arguments{"--port", board.Link(), "--device", device, "program", file};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Run(arguments);
  }

  std::string MakeCode(const Bytes& data, const std::string& name = "code.hex") {
    WriteFile(folder_.File(name), HexFile(data));
    return name;
  }

  [[nodiscard]] std::string Text(const std::string& name) const {
    return platform::Cp932CodePage().ToUtf8(ReadFile(folder_.File(name)));
  }

  TemporaryFolder folder_;
};

Bytes FullImage(std::size_t count, unsigned seed) {
  Bytes bytes = RandomBytes(count, seed);
  bytes.back() = 0x5A;
  return bytes;
}

TEST_F(Cli, ProgramsAWholeImageAndTheChipHoldsIt) {
  BoardProgram board("AT90S8515");
  const Bytes flash = FullImage(8192, 1);
  const Bytes eeprom = FullImage(512, 2);
  MakeCode(flash);
  WriteFile(folder_.File("code.eep"), HexFile(eeprom));

  const Result result = Program(board, "AT90S8515", "code.hex");

  EXPECT_EQ(result.Code, 0) << result.Out << result.Err;
  EXPECT_EQ(result.Err, "");
  EXPECT_THAT(result.Out, HasSubstr("ライターを COM1に検出しました。\n"));
  EXPECT_THAT(result.Out, HasSubstr("ベリファイ　FLASH : OK / EEPROM : OK\nok: programmed and "
                                    "verified ("));
  std::string image(flash.begin(), flash.end());
  image.append(eeprom.begin(), eeprom.end());
  EXPECT_EQ(board.Dump(), image);
}

TEST_F(Cli, SendsTheSameBytesAsTheEngineOnEveryLine) {
  BoardProgram board("ATtiny26L");
  const Bytes flash = FullImage(2048, 3);
  MakeCode(flash);
  ASSERT_EQ(Program(board, "ATtiny26L", "code.hex").Code, 0);

  BoardRun run("ATtiny26L");
  run.LoadImage(flash, {});
  ops::RunCommand(run.Context, ops::Cmd_btn_program_Click);
  EXPECT_EQ(board.Wire(), run.Wire);
}

TEST_F(Cli, LeavesTraceDumpsAndReportInTheFolder) {
  BoardProgram board("ATtiny12L");
  std::filesystem::create_directory(folder_.File("出力 folder"));
  MakeCode({0x0C, 0x94});
  const Result result = Run({"--folder", "出力 folder", "--port", board.Link(), "--device",
                             "ATtiny12L", "program", "code.hex"});
  EXPECT_EQ(result.Code, 0) << result.Err;
  EXPECT_THAT(Text("出力 folder/_debug_avr.txt"), HasSubstr("\r\n>>>>> START <<<<<\t20"));
  EXPECT_THAT(Text("出力 folder/avrhex.txt"), ::testing::StartsWith("0000: 940C FFFF "));
  EXPECT_EQ(Text("出力 folder/avreep.txt").size(), 0x40U / 16 * (6 + 48 + 16 * 3 + 2));
  EXPECT_EQ(Text("出力 folder/avrvfy.txt"),
            "Flash Program memory address verify\r\n\r\n"
            "\r\nEEPROM data memory address verify\r\n\r\n");
}

TEST_F(Cli, ListsTheThirteenDevices) {
  const Result result = Run({"devices"});
  EXPECT_EQ(result.Code, 0);
  EXPECT_EQ(std::count(result.Out.begin(), result.Out.end(), '\n'), 13);
  EXPECT_THAT(result.Out, HasSubstr("flash   512 word  EEPROM   64 byte  signature 1E:90:01  "
                                    "AT90S1200A(内部RCｸﾛｯｸ1MHz)\n"));
}

TEST_F(Cli, ListsTheDevicesAsJson) {
  const auto list = nlohmann::json::parse(Run({"--json", "devices"}).Out);
  ASSERT_EQ(list.size(), 13U);
  EXPECT_EQ(list[2]["name"], "ATtiny26L");
  EXPECT_EQ(list[2]["device_code"], 0x59);
  EXPECT_EQ(list[2]["signature"], nlohmann::json({0x1E, 0x91, 0x09}));
}

TEST_F(Cli, TellsItsVersionAndItsHelp) {
  EXPECT_EQ(Run({"--version"}).Out, "fenwright-cli 6.5.5\n");
  const Result help = Run({"--help"});
  EXPECT_EQ(help.Code, 0);
  for (const char* text : {"--port", "--simulate", "--device", "--folder", "--json", "--quiet",
                           "devices", "program", "Exit codes"}) {
    EXPECT_THAT(help.Out, HasSubstr(text));
  }
  EXPECT_THAT(Run({"program", "--help"}).Out, HasSubstr("--no-data"));
}

TEST_F(Cli, RefusesACommandLineThatMakesNoSense) {
  MakeCode({1, 2});
  const std::vector<std::vector<std::string>> lines{
      {},
      {"--nonsense"},
      {"frobnicate"},
      {"program"},
      {"--simulate", "program", "code.hex"},
      {"--simulate", "--device", "AT90S9999", "program", "code.hex"},
      {"--simulate", "--device", "AT90S1200", "program", "code.hex"},
      {"--simulate", "--device", "AT90S", "program", "code.hex"},
      {"--simulate", "--device", "ATtiny12L", "program", "code.hex", "--data", "d.eep",
       "--no-data"},
      {"--port", "COM21", "--device", "ATtiny12L", "program", "code.hex"},
      {"--simulate", "--simulate-fault", "frob", "--device", "ATtiny12L", "program", "code.hex"},
  };
  for (const auto& line : lines) {
    SCOPED_TRACE(::testing::PrintToString(line));
    const Result result = Run(line);
    EXPECT_EQ(result.Code, 2);
    EXPECT_NE(result.Err, "");
  }
}

TEST_F(Cli, AnAmbiguousDeviceNameListsTheChoices) {
  const Result result = Run({"--simulate", "--device", "AT90S1200", "program", "x.hex"});
  EXPECT_THAT(result.Err, HasSubstr("AT90S1200 (外部ｸﾛｯｸ)"));
  EXPECT_THAT(result.Err, HasSubstr("AT90S1200A(内部RCｸﾛｯｸ1MHz)"));
  EXPECT_THAT(result.Err, Not(HasSubstr("AT90S8515")));
}

TEST_F(Cli, AnUnambiguousPartOfADeviceNameIsEnough) {
  MakeCode({1, 2});
  for (const char* name : {"AT90S1200A", "at90s1200a", "AT90S1200 (外部ｸﾛｯｸ)"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(Run({"--simulate", "--device", name, "program", "code.hex"}).Code, 0);
  }
}

TEST_F(Cli, WithoutAPortSaysThatNoneWasChosen) {
  MakeCode({1, 2});
  const Result result = Run({"--device", "ATtiny12L", "program", "code.hex"});
  EXPECT_EQ(result.Code, 3);
  EXPECT_THAT(result.Out,
              HasSubstr("ライタと通信ができませんでした。\nPCとライタの接続を確認後、"));
  EXPECT_THAT(result.Err, HasSubstr("--port"));
}

TEST_F(Cli, AMissingDeviceFileIsNamedWithItsCause) {
  MakeCode({1, 2});
  const Result result =
      Run({"--port", "/dev/nothing-here", "--device", "ATtiny12L", "program", "code.hex"});
  EXPECT_EQ(result.Code, 3);
  EXPECT_THAT(
      result.Out,
      HasSubstr("ライターを検出できませんでした。使用可能な通信ポートを設定してください。"));
  EXPECT_THAT(result.Err, HasSubstr("/dev/nothing-here"));
}

TEST_F(Cli, APortThatAnotherProgramHoldsIsBusy) {
  BoardProgram board("ATtiny12L", {"--baud", "57600"});
  MakeCode(FullImage(1024, 4));
  Process first({FENWRIGHT_CLI_PROGRAM, "--port", board.Link(), "--device", "ATtiny12L", "program",
                 folder_.File("code.hex"), "--folder", folder_.Path().string()});
  while (board.Wire().size() < 40) std::this_thread::sleep_for(5ms);
  std::filesystem::create_directory(folder_.File("second"));
  const Result second = Run({"--folder", "second", "--port", board.Link(), "--device", "ATtiny12L",
                             "program", "code.hex"});
  EXPECT_EQ(second.Code, 3);
  EXPECT_THAT(second.Err, HasSubstr("他のプログラム"));
  EXPECT_EQ(first.Wait(), 0) << first.Errors();
}

TEST_F(Cli, TheEnvironmentCanNameThePort) {
  BoardProgram board("ATtiny12L");
  MakeCode({1, 2});
  const Result result = Run({"--device", "ATtiny12L", "program", "code.hex"},
                            {.Environment = {{"FENWRIGHT_PORT", board.Link()}}});
  EXPECT_EQ(result.Code, 0) << result.Err;
}

TEST_F(Cli, ABareFileNameCanBeThePort) {
  BoardProgram board("ATtiny12L");
  MakeCode({1, 2});
  std::filesystem::create_symlink(board.Link(), folder_.File("L"));
  EXPECT_EQ(Run({"--port", "L", "--device", "ATtiny12L", "program", "code.hex"}).Code, 0);
}

TEST_F(Cli, AComNumberWithAPathTakesThatNumber) {
  BoardProgram board("ATtiny12L");
  MakeCode({1, 2});
  const Result result =
      Run({"--port", "COM7=" + board.Link(), "--device", "ATtiny12L", "program", "code.hex"});
  EXPECT_THAT(result.Out, HasSubstr("ライターを COM7に検出しました。"));
}

TEST_F(Cli, ASilentBoardIsNoProgrammer) {
  BoardProgram board("ATtiny12L", {"--fault", "silent"});
  MakeCode({1, 2});
  const Result result = Program(board, "ATtiny12L", "code.hex");
  EXPECT_EQ(result.Code, 3);
  EXPECT_THAT(result.Err, HasSubstr("ライターとしての返答がありません"));
  EXPECT_THAT(result.Err, HasSubstr("the chip was not changed"));
}

TEST_F(Cli, AnotherDeviceOnThePortIsNoProgrammer) {
  BoardProgram board("ATtiny12L", {"--version-line", "SOME OTHER THING"});
  MakeCode({1, 2});
  const Result result = Program(board, "ATtiny12L", "code.hex");
  EXPECT_EQ(result.Code, 3);
  EXPECT_THAT(result.Out, HasSubstr("ファームウエアバージョンを読み出せませんでした。"));
}

TEST_F(Cli, AFirmwareThatIsTooOldIsRefused) {
  BoardProgram board("ATtiny12L", {"--version-line", "KV-LOD350  V6.29"});
  MakeCode({1, 2});
  const Result result = Program(board, "ATtiny12L", "code.hex");
  EXPECT_EQ(result.Code, 3);
  EXPECT_THAT(result.Out, HasSubstr("このソフトは使用できません。\n"));
}

TEST_F(Cli, AFirmwareThatIsNotTheNewestIsAdvisedAndUsed) {
  BoardProgram board("ATtiny12L", {"--version-line", "KV-LOD350A V6.30"});
  MakeCode({1, 2});
  const Result result = Program(board, "ATtiny12L", "code.hex");
  EXPECT_EQ(result.Code, 0);
  EXPECT_THAT(result.Err, HasSubstr("KV-LOD350 V6.3 \n"));
}

TEST_F(Cli, AnotherChipInTheSocketFailsAndIsLeftAlone) {
  BoardProgram board("AT90S2313");
  MakeCode({1, 2});
  const Result result = Program(board, "ATtiny12L", "code.hex");
  EXPECT_EQ(result.Code, 1);
  EXPECT_THAT(result.Out, HasSubstr("デバイス選択と、ソケット上のデバイスが一致しません。"));
  EXPECT_THAT(result.Err, HasSubstr("the chip was not changed"));
  const Result quiet =
      Run({"--quiet", "--port", board.Link(), "--device", "ATtiny12L", "program", "code.hex"});
  EXPECT_THAT(quiet.Err, HasSubstr("error: デバイス選択と、ソケット上のデバイスが一致しません。"));
}

TEST_F(Cli, AnEraseThatWasNotConfirmedIsNoSuccess) {
  MakeCode({0x0C, 0x94});
  const Result result = Run({"--simulate", "--simulate-fault", "flip@11", "--device", "ATtiny12L",
                             "program", "code.hex"});
  EXPECT_EQ(result.Code, 1);
  EXPECT_THAT(result.Err, HasSubstr("the erase was not confirmed"));
}

TEST_F(Cli, AReaderThatGoesAwayDoesNotStopTheRun) {
  BoardProgram board("ATtiny12L");
  MakeCode(FullImage(1024, 31));
  Process shell({"sh", "-c",
                 std::string("\"$0\" --port \"$1\" --device ATtiny12L --folder \"$2\" program "
                             "\"$2/code.hex\" | head -n 1"),
                 FENWRIGHT_CLI_PROGRAM, board.Link(), folder_.Path().string()});
  EXPECT_EQ(shell.Wait(), 0);
  EXPECT_EQ(board.Wire().back(), 'L');
  EXPECT_EQ(board.Dump().substr(0, 1024), [] {
    const Bytes image = FullImage(1024, 31);
    return std::string(image.begin(), image.end());
  }());
}

TEST_F(Cli, AnOutputThatTakesNothingStopsNothing) {
  MakeCode({1, 2});
  Process full({"sh", "-c",
                std::string("\"$0\" --simulate --device ATtiny12L --folder \"$1\" program "
                            "\"$1/code.hex\" >/dev/full 2>/dev/full"),
                FENWRIGHT_CLI_PROGRAM, folder_.Path().string()});
  EXPECT_EQ(full.Wait(), 0);
  Process json({"sh", "-c",
                std::string("\"$0\" --json --simulate --device ATtiny12L --folder \"$1\" program "
                            "\"$1/code.hex\" >/dev/full"),
                FENWRIGHT_CLI_PROGRAM, folder_.Path().string()});
  EXPECT_EQ(json.Wait(), 4);
  Process list({"sh", "-c", "\"$0\" devices >/dev/full", FENWRIGHT_CLI_PROGRAM});
  EXPECT_EQ(list.Wait(), 4);
}

TEST_F(Cli, AnIgnoredHangUpStaysIgnored) {
  BoardProgram board("ATtiny12L", {"--baud", "57600"});
  MakeCode(FullImage(1024, 32));
  Process run({"sh", "-c",
               std::string("trap '' HUP; exec \"$0\" --port \"$1\" --device ATtiny12L --folder "
                           "\"$2\" program \"$2/code.hex\""),
               FENWRIGHT_CLI_PROGRAM, board.Link(), folder_.Path().string()});
  while (board.Wire().size() < 60) std::this_thread::sleep_for(5ms);
  run.Signal(SIGHUP);
  EXPECT_EQ(run.Wait(), 0) << run.Errors();
}

TEST_F(Cli, ADeviceThatTheBoardRefusesFails) {
  MakeCode({1, 2});
  const Result result = Run(
      {"--simulate", "--simulate-fault", "flip@4", "--device", "ATtiny12L", "program", "code.hex"});
  EXPECT_EQ(result.Code, 1);
  EXPECT_THAT(result.Out, HasSubstr("プログラマは、選択したマイコンを認識できませんでした。"));
}

TEST_F(Cli, AWriteThatLiesFailsTheVerifyAndNamesTheReport) {
  BoardProgram board("ATtiny12L", {"--fault", "lie@2"});
  MakeCode({0x0C, 0x94});
  const Result result = Program(board, "ATtiny12L", "code.hex");
  EXPECT_EQ(result.Code, 1);
  EXPECT_THAT(result.Out, HasSubstr("ベリファイ　FLASH : NG / EEPROM : OK"));
  EXPECT_THAT(result.Err, HasSubstr("avrvfy.txt"));
  EXPECT_THAT(Text("avrvfy.txt"),
              HasSubstr("PROGRAM Addr(word) = 0000  Original = 940C   NG = FF0C\r\n"));
}

TEST_F(Cli, APortThatGoesInTheMiddleEndsTheRunAtOnce) {
  BoardProgram board("ATtiny12L", {"--fault", "hangup@60"});
  MakeCode(FullImage(1024, 5));
  const auto start = std::chrono::steady_clock::now();
  const Result result = Program(board, "ATtiny12L", "code.hex");
  EXPECT_EQ(result.Code, 1);
  EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
  EXPECT_THAT(result.Err, HasSubstr("not verified: erase and program again"));
}

TEST_F(Cli, CtrlCLeavesProgrammingModeAndSaysWhatStateTheChipIsIn) {
  BoardProgram board("AT90S8515", {"--baud", "57600"});
  MakeCode(FullImage(8192, 6));
  Process process({FENWRIGHT_CLI_PROGRAM, "--port", board.Link(), "--device", "AT90S8515",
                   "--folder", folder_.Path().string(), "program", folder_.File("code.hex")});
  while (board.Wire().size() < 400) std::this_thread::sleep_for(5ms);
  process.Signal(SIGINT);
  EXPECT_EQ(process.Wait(10), 130);
  EXPECT_EQ(board.Wire().back(), 'L');
  EXPECT_THAT(process.Errors(), ::testing::ContainsRegex(
                                    "flash written up to word 0x[0-9A-F]{4}, not verified: erase "
                                    "and program again"));
  // The board is ready for the next call at once.
  EXPECT_EQ(Program(board, "AT90S8515", "code.hex", {"--no-data"}).Code, 0);
}

TEST_F(Cli, AMalformedFileIsRefusedBeforeAnythingIsSent) {
  BoardProgram board("ATtiny12L");
  const std::vector<std::pair<std::string, std::string>> files{
      {"bad-line.hex", ":0100000011EE\r\nhello\r\n"},
      {"empty-line.hex", ":0100000011EE\r\n\r\n:00000001FF\r\n"},
      {"lower-case.hex", ":01000000abcd\r\n:00000001FF\r\n"},
      {"short.hex", ":1000000011\r\n:00000001FF\r\n"},
      {"outside.hex", ":04FFFE0011223344FF\r\n"},
      {"name.txt", ":0100000011EE\r\n"},
  };
  for (const auto& [name, content] : files) {
    SCOPED_TRACE(name);
    WriteFile(folder_.File(name), content);
    const Result result = Program(board, "ATtiny12L", name);
    EXPECT_EQ(result.Code, 4);
    EXPECT_THAT(result.Err, HasSubstr(name));
    EXPECT_THAT(result.Err, HasSubstr("nothing was sent to the programmer"));
  }
  EXPECT_TRUE(board.Wire().empty());
}

TEST_F(Cli, AMissingFileAndAFolderInItsPlaceAreRefused) {
  std::filesystem::create_directory(folder_.File("folder.hex"));
  for (const char* name : {"nothing.hex", "folder.hex"}) {
    SCOPED_TRACE(name);
    const Result result = Run({"--simulate", "--device", "ATtiny12L", "program", name});
    EXPECT_EQ(result.Code, 4);
    EXPECT_THAT(result.Out, HasSubstr("Program : Not found HEX file"));
  }
}

TEST_F(Cli, AFileWithoutDataIsRefusedAndOneCutShortWarnedOf) {
  WriteFile(folder_.File("empty.hex"), "");
  WriteFile(folder_.File("end.hex"), ":00000001FF\r\n");
  WriteFile(folder_.File("cut.hex"), ":020000000C945E\r\n");
  const auto program = [this](const char* name) {
    return Run({"--json", "--simulate", "--device", "ATtiny12L", "program", name});
  };
  for (const char* name : {"empty.hex", "end.hex"}) {
    SCOPED_TRACE(name);
    const Result result = program(name);
    EXPECT_EQ(result.Code, 4);
    EXPECT_EQ(nlohmann::json::parse(result.Out)["exit_code"], 4);
  }
  const Result cut = program("cut.hex");
  EXPECT_EQ(cut.Code, 0);
  EXPECT_THAT(cut.Err, HasSubstr("has no end record"));
}

TEST_F(Cli, AWrongChecksumAndDataBeyondTheChipAreWarnedOf) {
  Bytes image(1040, 0xFF);
  image[0] = 0x11;
  image[1039] = 0x22;
  std::string text = HexFile(image);
  text.replace(text.find("\r\n") - 2, 2, "00");
  WriteFile(folder_.File("code.hex"), text);
  const Result result = Run({"--simulate", "--device", "ATtiny12L", "program", "code.hex"});
  EXPECT_EQ(result.Code, 0);
  EXPECT_THAT(result.Err, HasSubstr("warning: code.hex: line 1 has a wrong checksum"));
  EXPECT_THAT(result.Err, HasSubstr("data up to address 0x040F lies beyond the device's 1024"));
}

TEST_F(Cli, AnUnwritableFolderIsRefusedBeforeAnythingIsSent) {
  MakeCode({1, 2});
  EXPECT_EQ(
      Run({"--folder", "none", "--simulate", "--device", "ATtiny12L", "program", "code.hex"}).Code,
      4);
  std::filesystem::create_directory(folder_.File("closed"));
  std::filesystem::permissions(folder_.File("closed"), std::filesystem::perms(0555));
  const Result result = RunWithoutPrivileges(
      {"--folder", "closed", "--simulate", "--device", "ATtiny12L", "program", "code.hex"});
  EXPECT_EQ(result.Code, 4) << result.Out;
  EXPECT_THAT(result.Err, HasSubstr("closed"));
}

TEST_F(Cli, TheDataFileGoesAlongByItsName) {
  BoardProgram board("ATtiny12L");
  MakeCode({1, 2}, "prog.HEX");
  WriteFile(folder_.File("prog.eep"), HexFile({0x77}));
  WriteFile(folder_.File("other.eep"), HexFile({0x88}));
  const auto eeprom_byte = [&board] { return board.Dump().at(1024); };

  EXPECT_EQ(Program(board, "ATtiny12L", "prog.HEX").Code, 0);
  EXPECT_EQ(eeprom_byte(), '\x77');
  EXPECT_EQ(Program(board, "ATtiny12L", "prog.HEX", {"--data", "other.eep"}).Code, 0);
  EXPECT_EQ(eeprom_byte(), '\x88');
  EXPECT_EQ(Program(board, "ATtiny12L", "prog.HEX", {"--no-data"}).Code, 0);
  EXPECT_EQ(eeprom_byte(), '\xFF');
  EXPECT_EQ(Program(board, "ATtiny12L", "prog.HEX", {"--data", "none.eep"}).Code, 4);
}

TEST_F(Cli, JsonIsTheWholeOutputAndTellsTheResult) {
  BoardProgram board("ATtiny12L");
  MakeCode({1, 2, 3, 4});
  const Result result =
      Run({"--json", "--port", board.Link(), "--device", "ATtiny12L", "program", "code.hex"});
  EXPECT_EQ(result.Code, 0);
  const auto json = nlohmann::json::parse(result.Out);
  EXPECT_EQ(json["result"], "ok");
  EXPECT_EQ(json["exit_code"], 0);
  EXPECT_EQ(json["device"], "ATtiny12L");
  EXPECT_EQ(json["signature"], "1E:90:05");
  EXPECT_EQ(json["board_version"], "KV-LOD350  V6.38");
  EXPECT_EQ(json["flash_words_written"], 2);
  EXPECT_EQ(json["verify"]["flash"], "OK");
  EXPECT_EQ(json["chip_state"], "programmed and verified");
}

TEST_F(Cli, JsonTellsAFailureTooWithTheSameExitCode) {
  const BoardProgram board("AT90S2313");
  MakeCode({1, 2});
  const Result result =
      Run({"--json", "--port", board.Link(), "--device", "ATtiny12L", "program", "code.hex"});
  EXPECT_EQ(result.Code, 1);
  const auto json = nlohmann::json::parse(result.Out);
  EXPECT_EQ(json["result"], "failed");
  EXPECT_EQ(json["chip_state"], "the chip was not changed");
  EXPECT_FALSE(json.contains("verify"));
}

TEST_F(Cli, QuietPrintsErrorsOnly) {
  MakeCode({1, 2});
  const Result good =
      Run({"--quiet", "--simulate", "--device", "ATtiny12L", "program", "code.hex"});
  EXPECT_EQ(good.Code, 0);
  EXPECT_EQ(good.Out + good.Err, "");
  const Result bad = Run({"--quiet", "--simulate", "--simulate-chip", "empty", "--device",
                          "ATtiny12L", "program", "code.hex"});
  EXPECT_EQ(bad.Code, 1);
  EXPECT_EQ(bad.Out, "");
  EXPECT_THAT(bad.Err, HasSubstr("the chip was not changed"));
}

TEST_F(Cli, ATerminalGetsABarWithPercentAndRemainingTime) {
  MakeCode(FullImage(1024, 7));
  const Result result =
      Run({"--simulate", "--device", "ATtiny12L", "program", "code.hex"}, {.OnTerminal = true});
  EXPECT_EQ(result.Code, 0);
  EXPECT_THAT(result.Out, ::testing::ContainsRegex("\r\\[#+\\.+\\]  [0-9]+ %  [0-9]+ s left"));
}

TEST_F(Cli, ASimulatedRunNeedsNoPortAndStartsWithABlankChip) {
  MakeCode({1, 2});
  EXPECT_EQ(Run({"--simulate", "--device", "AT90S8535", "program", "code.hex"}).Code, 0);
}

TEST_F(Cli, AChipIsReadSavedAndProgrammedIntoAnother) {
  const Bytes flash = FullImage(1024, 21);
  const Bytes eeprom = FullImage(64, 22);
  MakeCode(flash);
  WriteFile(folder_.File("code.eep"), HexFile(eeprom));
  std::string original;
  {
    BoardProgram board("ATtiny15L", {"--state", folder_.File("chip")});
    ASSERT_EQ(Program(board, "ATtiny15L", "code.hex").Code, 0);
    original = board.Dump();
    board.Program().Signal(SIGTERM);
    board.Program().Wait();
  }
  {
    BoardProgram board("ATtiny15L", {"--state", folder_.File("chip")});
    const Result read = Run({"--port", board.Link(), "--device", "ATtiny15L", "read", "--code",
                             "out.hex", "--data", "out.eep"});
    ASSERT_EQ(read.Code, 0) << read.Err;
    EXPECT_THAT(read.Out, HasSubstr("ok: flash, EEPROM, fuse and lock bits read"));
  }
  BoardProgram other("ATtiny15L");
  EXPECT_EQ(Program(other, "ATtiny15L", "out.hex").Code, 0);
  EXPECT_EQ(other.Dump(), original);
}

TEST_F(Cli, AReadInAFreshRunSavesTheImageThatWasProgrammed) {
  unsigned seed = 100;
  // One of each pair of sizes; the engine's own tests go through every device.
  const std::vector<std::tuple<std::string, std::size_t, std::size_t>> devices{
      {"AT90S1200A", 1024, 64}, {"AT90S2313", 2048, 128}, {"AT90S8515", 8192, 512}};
  for (const auto& [name, flash_bytes, eeprom_bytes] : devices) {
    SCOPED_TRACE(name);
    const Bytes flash = FullImage(flash_bytes, ++seed);
    const Bytes eeprom = FullImage(eeprom_bytes, ++seed);
    MakeCode(flash);
    WriteFile(folder_.File("code.eep"), HexFile(eeprom));
    BoardProgram board(name);
    ASSERT_EQ(Program(board, name, "code.hex").Code, 0);
    ASSERT_EQ(Run({"--port", board.Link(), "--device", name, "read", "--force", "--code", "out.hex",
                   "--data", "out.eep"})
                  .Code,
              0);
    Bytes doubled = eeprom;
    doubled.resize(2 * eeprom.size(), 0xFF);
    EXPECT_EQ(ReadFile(folder_.File("out.hex")), HexFile(flash));
    EXPECT_EQ(ReadFile(folder_.File("out.eep")), HexFile(doubled));
  }
}

TEST_F(Cli, AReadOnlyTargetIsReportedAndStaysAsItWas) {
  for (const char* name : {"out.hex", "out.eep"}) {
    WriteFile(folder_.File(name), "precious");
    std::filesystem::permissions(folder_.File(name), std::filesystem::perms(0444));
  }
  const Result result =
      RunWithoutPrivileges({"--json", "--simulate", "--device", "ATtiny12L", "read", "--force",
                            "--code", "out.hex", "--data", "out.eep"});
  EXPECT_EQ(result.Code, 4);
  EXPECT_THAT(result.Err, HasSubstr("ファイル保存\nリードオンリーファイルにアクセスしました。\n"));
  EXPECT_THAT(result.Err, HasSubstr("error: out.hex: cannot be written: "));
  EXPECT_EQ(ReadFile(folder_.File("out.hex")), "precious");
  EXPECT_EQ(ReadFile(folder_.File("out.eep")), "precious");
  const auto json = nlohmann::json::parse(result.Out);
  EXPECT_EQ(json["result"], "file error");
  EXPECT_EQ(json["exit_code"], 4);
  EXPECT_EQ(json["chip_state"], "flash, EEPROM, fuse and lock bits read");
  EXPECT_THAT(json["message"], ::testing::StartsWith("out.hex: cannot be written: "));
}

/// A disc of 16 KiB, in the place of a folder for the object's lifetime.
class SmallDisc {
 public:
  explicit SmallDisc(const std::string& folder) : folder_(folder) {
    std::filesystem::create_directory(folder);
    mounted_ = mount("none", folder.c_str(), "tmpfs", 0, "size=16k") == 0;
  }
  ~SmallDisc() {
    if (mounted_) umount(folder_.c_str());
  }
  SmallDisc(const SmallDisc&) = delete;
  SmallDisc& operator=(const SmallDisc&) = delete;
  [[nodiscard]] bool IsThere() const { return mounted_; }

 private:
  std::string folder_;
  bool mounted_ = false;
};

TEST_F(Cli, AFullDiscLeavesTheStartOfTheFileAndSaysSo) {
  const SmallDisc disc(folder_.File("disc"));
  if (!disc.IsThere()) GTEST_SKIP() << "this process may not mount a disc";
  WriteFile(folder_.File("disc/neighbour"), "of somebody else");
  const Result result =
      Run({"--simulate", "--device", "AT90S8515", "read", "--code", "disc/out.hex"});
  EXPECT_EQ(result.Code, 4);
  EXPECT_THAT(result.Err, HasSubstr("ファイル保存できませんでした。"));
  EXPECT_THAT(result.Err, HasSubstr("error: disc/out.hex: is cut short; the disc may be full\n"
                                    "file error: flash and EEPROM read\n"));
  EXPECT_THAT(result.Out, Not(HasSubstr("ok:")));
  const std::string whole = HexFile(Bytes(8192, 0xFF));
  const std::string cut = ReadFile(folder_.File("disc/out.hex"));
  EXPECT_GT(cut.size(), 4096U);
  EXPECT_LT(cut.size(), whole.size());
  EXPECT_EQ(cut, whole.substr(0, cut.size()));
  EXPECT_EQ(ReadFile(folder_.File("disc/neighbour")), "of somebody else");
}

TEST_F(Cli, ADiscWithoutRoomForTheDumpEndsAReadAndNamesTheDump) {
  Process process({"prlimit", "--fsize=4000", FENWRIGHT_CLI_PROGRAM, "--simulate", "--device",
                   "ATtiny12L", "--folder", folder_.Path().string(), "read", "--code",
                   folder_.File("out.hex")});
  EXPECT_EQ(process.Wait(), 4);
  EXPECT_THAT(process.Errors(), HasSubstr(folder_.File("avrhex.txt")));
  EXPECT_FALSE(std::filesystem::exists(folder_.File("out.hex")));
}

TEST_F(Cli, ATimeoutInMidReadSavesNothing) {
  WriteFile(folder_.File("out.hex"), "precious");
  const Result result = Run({"--simulate", "--simulate-fault", "drop@15", "--device", "ATtiny12L",
                             "read", "--force", "--code", "out.hex", "--data", "out.eep"});
  EXPECT_EQ(result.Code, 1);
  EXPECT_THAT(result.Err, HasSubstr("error: ｺﾐﾆｭｹｰｼｮﾝ失敗 : Read Program Memory R\n"));
  EXPECT_THAT(result.Err, HasSubstr("flash read up to word 0x0002, the rest of the buffers is "
                                    "unchanged: read again"));
  EXPECT_EQ(ReadFile(folder_.File("out.hex")), "precious");
  EXPECT_FALSE(std::filesystem::exists(folder_.File("out.eep")));
}

TEST_F(Cli, NamesMayHoldBlanksQuotesAndJapanese) {
  std::filesystem::create_directory(folder_.File("my \"files\" 'と' 資料"));
  const std::string base = "my \"files\" 'と' 資料/点滅 $HOME 表";
  BoardProgram board("ATtiny12L");
  MakeCode({0x0C, 0x94}, base + ".hex");
  WriteFile(folder_.File(base + ".eep"), HexFile({0x77}));
  ASSERT_EQ(Program(board, "ATtiny12L", base + ".hex").Code, 0);
  const Result read = Run({"--port", board.Link(), "--device", "ATtiny12L", "read", "--code",
                           base + " 2.hex", "--data", base + " 2.eep"});
  EXPECT_EQ(read.Code, 0) << read.Err;
  const Result verify =
      Run({"--port", board.Link(), "--device", "ATtiny12L", "verify", base + " 2.hex"});
  EXPECT_EQ(verify.Code, 0) << verify.Err;
  EXPECT_THAT(verify.Out, HasSubstr("Program : " + base + " 2.hex\n"));
}

TEST_F(Cli, AReadRefusesOneFileForBothMemories) {
  std::filesystem::create_directory(folder_.File("sub"));
  for (const char* second : {"out.hex", "sub/../out.hex"}) {
    SCOPED_TRACE(second);
    const Result result =
        Run({"--simulate", "--device", "ATtiny12L", "read", "--code", "out.hex", "--data", second});
    EXPECT_EQ(result.Code, 2);
    EXPECT_THAT(result.Err, HasSubstr("--code and --data name the same file"));
    EXPECT_FALSE(std::filesystem::exists(folder_.File("out.hex")));
  }
}

TEST_F(Cli, EachCallIsARunOfItsOwnWhateverTheLastFileHeld) {
  WriteFile(folder_.File("bad.hex"), "bad line\r\n");
  MakeCode({0x0C, 0x94});
  EXPECT_EQ(Run({"--device", "ATtiny12L", "dump", "bad.hex"}).Code, 4);
  EXPECT_EQ(Run({"--device", "ATtiny12L", "dump", "code.hex"}).Code, 0);
}

TEST_F(Cli, AReadDoesNotOverwriteUnlessForced) {
  WriteFile(folder_.File("out.hex"), "precious");
  BoardProgram board("ATtiny12L");
  const std::vector<std::string> call{"--port", board.Link(), "--device", "ATtiny12L",
                                      "read",   "--code",     "out.hex"};
  const Result refused = Run(call);
  EXPECT_EQ(refused.Code, 4);
  EXPECT_THAT(refused.Err, HasSubstr("out.hex: exists; --force overwrites it"));
  EXPECT_EQ(ReadFile(folder_.File("out.hex")), "precious");
  EXPECT_TRUE(board.Wire().empty());

  auto forced = call;
  forced.push_back("--force");
  EXPECT_EQ(Run(forced).Code, 0);
  EXPECT_THAT(ReadFile(folder_.File("out.hex")),
              ::testing::StartsWith(":10000000FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF00\r\n"));
}

TEST_F(Cli, AReadIntoAFolderOrAMissingFolderIsRefusedFirst) {
  std::filesystem::create_directory(folder_.File("here.hex"));
  for (const char* target : {"here.hex", "nowhere/out.hex"}) {
    SCOPED_TRACE(target);
    EXPECT_EQ(
        Run({"--simulate", "--device", "ATtiny12L", "read", "--force", "--code", target}).Code, 4);
  }
}

TEST_F(Cli, AVerifyPrintsTheDifferencesAsTheReportHasThem) {
  BoardProgram board("ATtiny12L");
  MakeCode({0x0C, 0x94});
  WriteFile(folder_.File("code.eep"), HexFile({0x22}));
  const Result bad = Run({"--port", board.Link(), "--device", "ATtiny12L", "verify", "code.hex"});
  EXPECT_EQ(bad.Code, 1);
  EXPECT_THAT(bad.Out, HasSubstr("\nPROGRAM Addr(word) = 0000  Original = 940C   NG = FFFF\n"));
  EXPECT_THAT(bad.Out, HasSubstr("\nEEPROM  Addr(byte) = 0000  Original = 22   NG = FF\n"));
  ASSERT_EQ(Program(board, "ATtiny12L", "code.hex").Code, 0);
  const Result good = Run({"--port", board.Link(), "--device", "ATtiny12L", "verify", "code.hex"});
  EXPECT_EQ(good.Code, 0) << good.Err;
  EXPECT_THAT(good.Out, Not(HasSubstr("NG = ")));
  EXPECT_THAT(good.Out, HasSubstr("ベリファイ終了しました。"));
}

TEST_F(Cli, AnEraseBlanksTheChip) {
  BoardProgram board("ATtiny12L");
  MakeCode({0x0C, 0x94});
  ASSERT_EQ(Program(board, "ATtiny12L", "code.hex").Code, 0);
  const Result result = Run({"--port", board.Link(), "--device", "ATtiny12L", "erase"});
  EXPECT_EQ(result.Code, 0) << result.Err;
  EXPECT_THAT(result.Out, HasSubstr("チップ イレース完了。\nok: chip erased"));
  EXPECT_EQ(board.Dump(), std::string(1024 + 64, '\xFF'));
}

/// Whole lines of a text.
std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

TEST_F(Cli, ReadFusesPrintsEachFieldTheBytesAndTheCalibration) {
  const Result result = Run({"--simulate", "--quiet", "--device", "ATtiny26L", "read-fuses"});
  EXPECT_EQ(result.Code, 0) << result.Err;
  EXPECT_EQ(
      LinesOf(result.Out),
      (std::vector<std::string>{
          "CKSEL      0001  (1)", "SUT        10  (2)", "BODEN      Disable  (1)",
          "BODLEVEL   2.7V  (1)", "CKOPT      1  (1)", "PLLCK      1  (1)",
          "EESAVE     Disable  (1)", "RSTDISABL  PB7:Reset  (1)", "LOCK       プロテクトなし  (2)",
          "bytes      Fuse 0xE1  High 0xF7  Lock 0xFF", "calib      0xA4 0x9F 0x9B 0x97"}));
}

TEST_F(Cli, ReadFusesAsJsonTellsFieldsBytesAndCalibration) {
  const Result result = Run({"--simulate", "--json", "--device", "ATtiny12L", "read-fuses"});
  EXPECT_EQ(result.Code, 0);
  const auto json = nlohmann::json::parse(result.Out);
  EXPECT_EQ(json["command"], "read-fuses");
  EXPECT_EQ(json["result"], "ok");
  EXPECT_EQ(json["fields"]["CKSEL"], (nlohmann::json{{"index", 2}, {"item", "0010"}}));
  EXPECT_EQ(json["fields"]["LOCK"], (nlohmann::json{{"index", 2}, {"item", "プロテクトなし"}}));
  EXPECT_EQ(json["fields"].size(), 5U);
  EXPECT_EQ(json["bytes"], (nlohmann::json{{"Fuse", 0xD2}, {"Lock", 0xFF}}));
  EXPECT_EQ(json["calibration"], nlohmann::json({0x6B}));
}

TEST_F(Cli, ReadFusesTakesNoLockModeForBitsThatStandForNone) {
  TemporaryFolder folder;
  WriteFile(folder.File("state"), "fenwright-board-state 1\nchip ATtiny12L\nlock 1\n");
  BoardProgram board("ATtiny12L", {"--state", folder.File("state")});
  const Result result = Run({"--port", board.Link(), "--device", "ATtiny12L", "read-fuses"});
  EXPECT_EQ(result.Code, 0) << result.Err;
  EXPECT_THAT(result.Out, HasSubstr("LOCK       no item stands for these bits\n"
                                    "bytes      Fuse 0xD2  Lock 0xFB\n"));
  const auto json = nlohmann::json::parse(
      Run({"--port", board.Link(), "--json", "--device", "ATtiny12L", "read-fuses"}).Out);
  EXPECT_EQ(json["fields"]["LOCK"], (nlohmann::json{{"index", -1}, {"item", ""}}));
}

TEST_F(Cli, ReadFusesOfADeviceThatGivesNoneAwaySendsNothing) {
  BoardProgram board("AT90S8515");
  const Result result = Run({"--port", board.Link(), "--device", "AT90S8515", "read-fuses"});
  EXPECT_EQ(result.Code, 2);
  EXPECT_THAT(result.Err, HasSubstr("the fuse and lock bits of AT90S8515 cannot be read"));
  EXPECT_TRUE(board.Wire().empty());
}

TEST_F(Cli, WriteFusesReadsFirstChangesTheNamedFieldsAndWritesLikeTheButton) {
  BoardProgram board("ATtiny26L");
  const Result result = Run({"--port", board.Link(), "--device", "ATtiny26L", "write-fuses",
                             "cksel=0100", "BODEN=enable", "SUT=3"});
  EXPECT_EQ(result.Code, 0) << result.Err;
  EXPECT_THAT(result.Out, HasSubstr("old: Fuse 0xE1  High 0xF7  Lock 0xFF\n"
                                    "  BODEN: Disable -> Enable\n"
                                    "  CKSEL: 0001 -> 0100\n"
                                    "  SUT: 10 -> 11\n"
                                    "new: Fuse 0xF4  High 0xF6  Lock 0xFF\n"));
  EXPECT_THAT(result.Out, HasSubstr("ok: fuse and lock bits written ("));

  BoardRun run("ATtiny26L");
  ops::RunCommand(run.Context, ops::cmdFuseRead_Click);
  run.Fuses.Select(screen::FuseList::Cksel, 4);
  run.Fuses.Select(screen::FuseList::Boden, 0);
  run.Fuses.Select(screen::FuseList::Sut, 3);
  ops::RunCommand(run.Context, ops::cmdFuseWrite_Click);
  EXPECT_EQ(board.Wire(), run.Wire);

  const Result read = Run({"--port", board.Link(), "--device", "ATtiny26L", "read-fuses"});
  EXPECT_THAT(read.Out, HasSubstr("bytes      Fuse 0xF4  High 0xF6  Lock 0xFF\n"));
  // What is not named now keeps what the chip has.
  const Result again =
      Run({"--port", board.Link(), "--device", "ATtiny26L", "write-fuses", "CKOPT=0"});
  EXPECT_THAT(again.Out, HasSubstr("new: Fuse 0xB4  High 0xF6  Lock 0xFF\n"));
  const Result defaults = Run({"--port", board.Link(), "--device", "ATtiny26L", "write-fuses",
                               "--from-defaults", "PLLCK=0"});
  EXPECT_EQ(defaults.Code, 0);
  EXPECT_THAT(defaults.Out, HasSubstr("new: Fuse 0x61  High 0xF7  Lock 0xFF\n"));
}

TEST_F(Cli, WriteFusesOfADeviceThatCannotBeReadStartsFromTheDefaults) {
  BoardProgram board("AT90S8515");
  const Result result =
      Run({"--port", board.Link(), "--device", "AT90S8515", "write-fuses", "LOCK=write"});
  EXPECT_EQ(result.Code, 0) << result.Err;
  EXPECT_THAT(result.Out, HasSubstr("old: cannot be read on this device"));
  EXPECT_THAT(result.Out, HasSubstr("new: Lock 0xFD\n"));
  BoardRun run("AT90S8515");
  run.Fuses.Select(screen::FuseList::Lock, 1);
  ops::RunCommand(run.Context, ops::cmdFuseWrite_Click);
  EXPECT_EQ(board.Wire(), run.Wire);
}

TEST_F(Cli, AnItemWithoutBitsOfItsOwnIsToldBeforeItIsWritten) {
  const std::string note = "  CKSEL: 00 is written as 10\n";
  const auto dry_run = [&](const std::string& device, const std::string& field) {
    return Run({"--simulate", "--device", device, "write-fuses", "--dry-run", field}).Out;
  };
  // The chip comes with "00", and writing any other field writes that field too.
  EXPECT_THAT(dry_run("ATtiny15L", "BODEN=Enable"),
              HasSubstr("old: Fuse 0xDC  Lock 0xFF\n  BODEN: Disable -> Enable\n" + note +
                        "new: Fuse 0x96  Lock 0xFF\n"));
  EXPECT_THAT(dry_run("ATtiny15L", "CKSEL=01"), HasSubstr("  CKSEL: 01 is written as 11\n"));
  EXPECT_THAT(dry_run("ATtiny15L", "CKSEL=10"), Not(HasSubstr("is written as")));
  EXPECT_THAT(dry_run("ATtiny26L", "CKSEL=0011"), Not(HasSubstr("is written as")));
  EXPECT_THAT(dry_run("AT90S4433", "LOCK=write"), Not(HasSubstr("is written as")));
  EXPECT_THAT(dry_run("AT90S2323", "FSTRT=1"), Not(HasSubstr("is written as")));
}

TEST_F(Cli, WriteFusesAsJsonTellsWhatElseComesOfIt) {
  const auto dry = nlohmann::json::parse(Run({"--simulate", "--json", "--device", "ATtiny15L",
                                              "write-fuses", "--dry-run", "BODEN=Enable"})
                                             .Out);
  EXPECT_EQ(dry["changes"], nlohmann::json::array({"BODEN: Disable -> Enable"}));
  EXPECT_EQ(dry["notes"], nlohmann::json::array({"CKSEL: 00 is written as 10"}));
}

TEST_F(Cli, ALockedDeviceIsSaidToKeepItsFuseBits) {
  const char* const note = "  the device is locked: it keeps its fuse bits until it is erased\n";
  BoardProgram board("ATtiny12L");
  const auto write = [&](const std::string& field) {
    const Result result =
        Run({"--port", board.Link(), "--device", "ATtiny12L", "write-fuses", field});
    EXPECT_EQ(result.Code, 0) << result.Err;
    return result.Out;
  };
  EXPECT_THAT(write("LOCK=write"), Not(HasSubstr(note)));
  EXPECT_THAT(write("CKSEL=4"), HasSubstr(note));
  EXPECT_THAT(write("LOCK=write"),
              ::testing::AllOf(HasSubstr("old: Fuse 0xD2"), Not(HasSubstr(note))));
}

TEST_F(Cli, LockModesHaveEnglishNamesIndexesAndTheirTexts) {
  const std::vector<std::pair<std::string, std::string>> rows{{"none", "0xFF"},
                                                              {"write", "0xFD"},
                                                              {"write-verify", "0xF9"},
                                                              {"2", "0xFF"},
                                                              {"1", "0xFD"},
                                                              {"0", "0xF9"},
                                                              {"プロテクトなし", "0xFF"},
                                                              {"書込み禁止", "0xFD"},
                                                              {"書込み & ベリファイ 禁止", "0xF9"}};
  for (const auto& [item, byte] : rows) {
    SCOPED_TRACE(item);
    const Result result =
        Run({"--simulate", "--device", "AT90S2313", "write-fuses", "--dry-run", "LOCK=" + item});
    EXPECT_EQ(result.Code, 0) << result.Err;
    EXPECT_THAT(result.Out, HasSubstr("new: Lock " + byte + "\n"));
  }
}

TEST_F(Cli, ADryRunWritesNothing) {
  BoardProgram board("ATtiny12L");
  const Result result = Run(
      {"--port", board.Link(), "--device", "ATtiny12L", "write-fuses", "--dry-run", "CKSEL=15"});
  EXPECT_EQ(result.Code, 0) << result.Err;
  EXPECT_THAT(result.Out, HasSubstr("new: Fuse 0xDF  Lock 0xFF\nok: nothing was written"));
  const Bytes wire = board.Wire();
  EXPECT_EQ(std::count(wire.begin(), wire.end(), 'u'), 0);
  EXPECT_EQ(std::count(wire.begin(), wire.end(), 'r'), 1);
}

TEST_F(Cli, GivingTheResetPinAwayNeedsToBeAllowed) {
  const std::string warning =
      "ＰＢ５またはＰＢ７リセット機能の無効「PB5:I/O」または「PB7:I/O」を選択しライトした場合、";
  for (const std::string device : {"ATtiny12L", "ATtiny15L", "ATtiny26L"}) {
    SCOPED_TRACE(device);
    BoardProgram board(device);
    for (const std::string& item :
         {std::string("0"), std::string(device == "ATtiny26L" ? "PB7:I/O" : "PB5:I/O")}) {
      const Result refused =
          Run({"--port", board.Link(), "--device", device, "write-fuses", "RSTDISABL=" + item});
      EXPECT_EQ(refused.Code, 2);
      EXPECT_THAT(refused.Err, HasSubstr(warning));
      EXPECT_TRUE(board.Wire().empty());
    }
    const Result allowed = Run({"--port", board.Link(), "--device", device, "write-fuses",
                                "--allow-reset-disable", "RSTDISABL=0"});
    EXPECT_EQ(allowed.Code, 0) << allowed.Err;
    EXPECT_EQ(Run({"--port", board.Link(), "--device", device, "read-fuses"}).Code, 1);
  }
}

TEST_F(Cli, AFieldOrAnItemThatDoesNotExistIsRefusedBeforeAnythingIsSent) {
  BoardProgram board("ATtiny12L");
  const std::vector<std::pair<std::vector<std::string>, std::string>> rows{
      {{"SUT=10"}, "its fields are CKSEL BODEN BODLEVEL RSTDISABL LOCK"},
      {{"CKSEL=16"}, "its items are\n  0  0000\n"},
      {{"CKSEL=-1"}, "no such item"},
      {{"CKSEL=011"}, "no such item"},  // not the eleventh: it is meant as bits
      {{"BODEN=00"}, "no such item"},
      {{"BODEN=on"}, "  0  Enable\n  1  Disable\n"},
      {{"CKSEL"}, "write it as FIELD=ITEM"},
      {{"CKSEL=1", "cksel=2"}, "given twice"},
      {{}, "name what to write as FIELD=ITEM, or --from-defaults"}};
  for (const auto& [fields, complaint] : rows) {
    std::vector<std::string> arguments{"--port", board.Link(), "--device", "ATtiny12L",
                                       "write-fuses"};
    arguments.insert(arguments.end(), fields.begin(), fields.end());
    const Result result = Run(arguments);
    EXPECT_EQ(result.Code, 2);
    EXPECT_THAT(result.Err, HasSubstr(complaint));
  }
  EXPECT_TRUE(board.Wire().empty());
}

TEST_F(Cli, WriteFusesAsJsonTellsOldAndNewBytes) {
  const Result result = Run({"--simulate", "--json", "--device", "AT90S2323", "write-fuses",
                             "FSTRT=Enable", "LOCK=write"});
  EXPECT_EQ(result.Code, 0) << result.Err;
  const auto json = nlohmann::json::parse(result.Out);
  EXPECT_EQ(json["command"], "write-fuses");
  EXPECT_EQ(json["old_bytes"], (nlohmann::json{{"Lock/Fuse", 0xDF}}));
  EXPECT_EQ(json["new_bytes"], (nlohmann::json{{"Fuse", 0xBE}, {"Lock", 0xFD}}));
  EXPECT_EQ(json["changes"],
            (nlohmann::json{"FSTRT: Disable -> Enable", "LOCK: プロテクトなし -> 書込み禁止"}));
  EXPECT_EQ(json["notes"], nlohmann::json::array());
  EXPECT_EQ(json["written"], true);
  const auto dry = nlohmann::json::parse(
      Run({"--simulate", "--json", "--device", "AT90S2323", "write-fuses", "--dry-run", "FSTRT=0"})
          .Out);
  EXPECT_EQ(dry["written"], false);
  EXPECT_EQ(dry["exit_code"], 0);
}

TEST_F(Cli, AFirstReadThatFailsEndsAFuseWrite) {
  // The answer to "r" is the eleventh.
  const Result result = Run({"--simulate", "--simulate-fault", "drop@11", "--device", "ATtiny12L",
                             "write-fuses", "CKSEL=1"});
  EXPECT_EQ(result.Code, 1);
  EXPECT_THAT(result.Err, HasSubstr("no fuse or lock bits read"));
  EXPECT_THAT(result.Out, Not(HasSubstr("new: ")));
}

TEST_F(Cli, TheOtherCommandsFailWithTheSameExitCodes) {
  MakeCode({0x0C, 0x94});
  const std::vector<std::vector<std::string>> commands{
      {"read"}, {"erase"}, {"verify", "code.hex"}, {"read-fuses"}, {"write-fuses", "CKSEL=1"}};
  for (const auto& command : commands) {
    SCOPED_TRACE(command.front());
    std::vector<std::string> silent{"--simulate", "--simulate-fault", "silent", "--device",
                                    "ATtiny12L"};
    silent.insert(silent.end(), command.begin(), command.end());
    EXPECT_EQ(Run(silent).Code, 3);
    std::vector<std::string> broken{"--simulate", "--simulate-fault", "drop@8", "--device",
                                    "ATtiny12L"};
    broken.insert(broken.end(), command.begin(), command.end());
    EXPECT_EQ(Run(broken).Code, 1);
  }
}

TEST_F(Cli, ADumpNeedsNoProgrammerAndPrintsTheFlash) {
  MakeCode({0x41, 0x42});
  const Result result = Run({"--device", "ATtiny12L", "dump", "code.hex"});
  EXPECT_EQ(result.Code, 0) << result.Err;
  EXPECT_THAT(result.Out, ::testing::StartsWith(
                              "0000: 4241 FFFF FFFF FFFF FFFF FFFF FFFF FFFF BA･･････････････\n"
                              "0008: "));
  EXPECT_EQ(std::count(result.Out.begin(), result.Out.end(), '\n'), 64);
  EXPECT_EQ(result.Err, "");
}

TEST_F(Cli, ADumpIsJsonToo) {
  MakeCode({0x41, 0x42});
  const Result result = Run({"--json", "--device", "ATtiny12L", "dump", "code.hex"});
  EXPECT_EQ(result.Code, 0);
  const auto json = nlohmann::json::parse(result.Out);
  EXPECT_EQ(json["result"], "ok");
  EXPECT_THAT(json["dump"], ::testing::StartsWith("0000: 4241 FFFF "));
  const Result failed = Run({"--json", "--device", "ATtiny99", "dump", "code.hex"});
  EXPECT_EQ(failed.Code, 2);
  EXPECT_EQ(nlohmann::json::parse(failed.Out)["exit_code"], 2);
}

TEST_F(Cli, ADumpOfAFileThatCannotBeReadPrintsNoDump) {
  const Result result = Run({"--device", "ATtiny12L", "dump", "none.hex"});
  EXPECT_EQ(result.Code, 4);
  EXPECT_EQ(result.Out, "");
  EXPECT_THAT(result.Err, HasSubstr("none.hex: there is no such file"));
}

TEST_F(Cli, TheWireOfReadVerifyAndEraseIsThatOfTheEngine) {
  struct Row {
    std::vector<std::string> Arguments;
    void (*Command)(core::RunContext&);
  };
  MakeCode({0x0C, 0x94, 0x2A, 0xC0});
  WriteFile(folder_.File("code.eep"), HexFile({0x11}));
  for (const Row& row : {Row{{"read"}, ops::Cmd_btn_read_Click},
                         Row{{"verify", "code.hex"}, ops::Cmd_btn_verify_Click},
                         Row{{"erase"}, ops::Cmd_btn_erase_Click}}) {
    SCOPED_TRACE(row.Arguments.front());
    const BoardProgram board("ATtiny26L");
    std::vector<std::string> call{"--port", board.Link(), "--device", "ATtiny26L"};
    call.insert(call.end(), row.Arguments.begin(), row.Arguments.end());
    Run(call);
    BoardRun run("ATtiny26L");
    run.LoadImage({0x0C, 0x94, 0x2A, 0xC0}, {0x11});
    ops::RunCommand(run.Context, row.Command);
    EXPECT_EQ(board.Wire(), run.Wire);
  }
}

TEST_F(Cli, FilesOfOtherToolsLoadAndOtherToolsLoadOurs) {
  // A record of odd length, LF line ends, and the record types that are read past.
  WriteFile(folder_.File("tool.hex"),
            ":020000020000FC\n:0400000300000000F9\n:020000040000FA\n:0400000500000000F7\n"
            ":030000000C942A33\n:00000001FF\n");
  BoardProgram board("ATtiny12L");
  ASSERT_EQ(Program(board, "ATtiny12L", "tool.hex").Code, 0);
  EXPECT_EQ(board.Dump().substr(0, 4), "\x0C\x94\x2A\xFF");
  ASSERT_EQ(
      Run({"--port", board.Link(), "--device", "ATtiny12L", "read", "--code", "ours.hex"}).Code, 0);
  Process copy({"srec_cat", folder_.File("ours.hex"), "-intel", "-output", folder_.File("ours.bin"),
                "-binary"});
  ASSERT_EQ(copy.Wait(), 0) << copy.Errors();
  EXPECT_EQ(ReadFile(folder_.File("ours.bin")), board.Dump().substr(0, 1024));
}

/// A small firmware: a few words, the lone word below the top one, the top word, which is not sent,
/// and the version that the board gives afterwards.
std::string Firmware(const std::string& version_line) {
  const Bytes version(version_line.begin(), version_line.end());
  const auto record = [](unsigned address, const Bytes& data) {
    Bytes bytes{static_cast<std::uint8_t>(data.size()), static_cast<std::uint8_t>(address >> 8),
                static_cast<std::uint8_t>(address), 0};
    bytes.insert(bytes.end(), data.begin(), data.end());
    unsigned sum = 0;
    for (const std::uint8_t byte : bytes) sum += byte;
    bytes.push_back(static_cast<std::uint8_t>(0U - sum));
    std::string digits = ToHex(bytes);
    std::erase(digits, ' ');
    return ":" + digits + "\r\n";
  };
  return record(0, {0x0C, 0x94, 0x2A, 0x00}) + record(0x3FFC, {1, 2, 3, 4}) +
         record(0x3FC0, version) + ":00000001FF\r\n";
}

constexpr const char* kNewVersion = "KV-LOD350  V6.40\r\n";
constexpr int kFirmwareWords = 2 + 1 + 9;

class CliUpdate : public Cli {
 protected:
  CliUpdate() { WriteFile(folder_.File("fw.hex"), Firmware(kNewVersion)); }

  Result Update(const BoardProgram& board, std::vector<std::string> more = {"--yes"}) {
    std::vector<std::string> arguments{"--port", board.Link(), "update-firmware", "fw.hex"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Run(arguments);
  }
};

TEST_F(CliUpdate, BoardVersionPrintsTheWholeLineAndNothingElse) {
  BoardProgram board("AT90S8515");
  const Result result = Run({"--port", board.Link(), "board-version"});
  EXPECT_EQ(result.Code, 0) << result.Err;
  EXPECT_EQ(result.Out, "KV-LOD350  V6.38\n");
  EXPECT_EQ(result.Err, "");
  EXPECT_EQ(board.Wire(), Bytes{'?'});
}

TEST_F(CliUpdate, ReplacesTheFirmwareAndTheBoardGivesItsVersion) {
  BoardProgram board("AT90S8515");
  const Result result = Update(board);
  EXPECT_EQ(result.Code, 0) << result.Err;
  EXPECT_THAT(result.Out, ::testing::StartsWith("file: fw.hex\nsize: 104 bytes\nwords to send: 12\n"
                                                "words to skip: 1\n"
                                                "current version: KV-LOD350  V6.38\n"));
  EXPECT_THAT(result.Out, HasSubstr("アップデート完了。  1sec\nok: firmware updated, 12 words ("));
  EXPECT_EQ(result.Err, "");
  const Bytes wire = board.Wire();
  ASSERT_EQ(wire.size(), 1U + 1 + 4 * kFirmwareWords + 4);
  EXPECT_EQ(ToHex(Bytes(wire.begin(), wire.begin() + 14)),
            "3F 55 00 00 94 0C 00 01 00 2A 1F FE 02 01");
  EXPECT_EQ(ToHex(Bytes(wire.end() - 4, wire.end())), "FF FF FF FF");
  EXPECT_EQ(Run({"--port", board.Link(), "board-version"}).Out, "KV-LOD350  V6.40\n");
}

TEST_F(CliUpdate, AsksAndTakesOnlyYes) {
  BoardProgram board("AT90S8515");
  for (const auto& [answer, code] : {std::pair{"n", 1}, {"", 1}, {"yesterday", 1}, {"y", 0}}) {
    const std::string command = "echo '" + std::string(answer) + "' | '" +
                                std::string(FENWRIGHT_CLI_PROGRAM) + "' --port '" + board.Link() +
                                "' update-firmware fw.hex";
    Process process({"sh", "-c", command}, {.Folder = folder_.Path().string()});
    EXPECT_EQ(process.Wait(), code) << answer << process.Errors();
    EXPECT_THAT(process.Errors(), HasSubstr("Do not switch the board off until it is done.\n"));
    const Bytes wire = board.Wire();
    EXPECT_EQ(std::count(wire.begin(), wire.end(), 'U') > 0, code == 0) << answer;
  }
}

TEST_F(CliUpdate, RefusesAFileThatChangesWhileItAsks) {
  BoardProgram board("AT90S8515");
  const std::string command = "(sleep 2; echo broken > fw.hex; echo y) | '" +
                              std::string(FENWRIGHT_CLI_PROGRAM) + "' --port '" + board.Link() +
                              "' update-firmware fw.hex";
  Process process({"sh", "-c", command}, {.Folder = folder_.Path().string()});
  EXPECT_EQ(process.Wait(), 4) << process.Errors();
  EXPECT_THAT(process.Errors(), HasSubstr("error: fw.hex: has changed since it was checked\n"));
  EXPECT_EQ(board.Wire(), Bytes{'?'});
}

TEST_F(CliUpdate, ADryRunAsksForNoMoreThanTheVersion) {
  BoardProgram board("AT90S8515");
  const Result result = Update(board, {"--dry-run"});
  EXPECT_EQ(result.Code, 0) << result.Err;
  EXPECT_THAT(result.Out, HasSubstr("words to send: 12\n"));
  EXPECT_THAT(result.Out, HasSubstr("current version: KV-LOD350  V6.38\n"));
  EXPECT_EQ(board.Wire(), Bytes{'?'});
  const Result without_port = Run({"update-firmware", "fw.hex", "--dry-run"});
  EXPECT_EQ(without_port.Code, 0) << without_port.Err;
  EXPECT_THAT(without_port.Out, Not(HasSubstr("version")));
}

TEST_F(CliUpdate, RefusesWhatCanBeNoFirmwareBeforeTheBoardHearsOfIt) {
  BoardProgram board("AT90S8515");
  const std::vector<std::pair<const char*, const char*>> files{
      {":00000001FF\r\n", "fw.hex: has no data record"},
      {":020000000102FB\r\nGarbage\r\n", "fw.hex: line 2 is not a whole Intel HEX record"},
      {":020000000102FB\r\n:020002000304F6\r\n", "fw.hex: line 2 has a wrong checksum"},
      {":020000000102FB\r\n", "fw.hex: has no end record"}};
  for (const auto& [content, complaint] : files) {
    WriteFile(folder_.File("fw.hex"), content);
    const Result result = Update(board);
    EXPECT_EQ(result.Code, 4) << content;
    EXPECT_THAT(result.Err, ::testing::StartsWith("error: " + std::string(complaint)));
    EXPECT_THAT(result.Err, HasSubstr("\nnothing was sent to the board\n"));
  }
  std::filesystem::remove(folder_.File("fw.hex"));
  EXPECT_EQ(Update(board).Code, 4);
  EXPECT_EQ(board.Wire(), Bytes{});
}

TEST_F(CliUpdate, WarnsOfAnOddByteCountAndSendsItAllTheSame) {
  WriteFile(folder_.File("fw.hex"), ":0300000011223397\r\n:00000001FF\r\n");
  BoardProgram board("AT90S8515");
  const Result result = Update(board);
  EXPECT_EQ(result.Code, 0);
  EXPECT_THAT(result.Err, ::testing::StartsWith("warning: fw.hex: line 1 has an odd number of"));
}

TEST_F(CliUpdate, FailuresSayWhatFirmwareTheBoardIsLeftWith) {
  // Reply 1 is the version, the others are sums.
  for (const auto& [fault, text] :
       {std::pair{"drop@4", "error: ***　アップデート失敗　*** Address=0x1FFE Data=0x21\n"},
        {"flip@4", "error data = 0x"}}) {
    BoardProgram board("AT90S8515", {"--fault", fault});
    const Result result = Update(board);
    EXPECT_EQ(result.Code, 1) << result.Out;
    EXPECT_THAT(result.Err, HasSubstr(text));
    EXPECT_THAT(result.Err, HasSubstr("\nfailed: the board's firmware is incomplete: "));
    EXPECT_EQ(Update(board).Code, 0) << "again, without switching off";
  }
}

TEST_F(CliUpdate, AfterAPowerCutTheBoardGivesNoVersionAndIsUpdatedAllTheSame) {
  BoardProgram board("AT90S8515", {"--fault", "powercut@12"});
  EXPECT_EQ(Update(board).Code, 1);
  const Result version = Run({"--port", board.Link(), "board-version"});
  EXPECT_EQ(version.Code, 3);
  EXPECT_EQ(version.Out, "");
  EXPECT_THAT(version.Err, HasSubstr("no board gives its version"));
  const Result again = Update(board);
  EXPECT_EQ(again.Code, 0) << again.Err;
  EXPECT_THAT(again.Out, HasSubstr("current version: none"));
  EXPECT_EQ(Run({"--port", board.Link(), "board-version"}).Out, "KV-LOD350  V6.40\n");
}

TEST_F(CliUpdate, WithoutAPortOrABoardTheExitCodeIsThree) {
  for (const char* command : {"board-version", "update-firmware fw.hex --yes"}) {
    for (const char* port : {"", "--port /nowhere/tty", "--simulate --simulate-fault silent"}) {
      const std::string line =
          "'" + std::string(FENWRIGHT_CLI_PROGRAM) + "' " + port + " " + command;
      Process process({"sh", "-c", line}, {.Folder = folder_.Path().string()});
      EXPECT_EQ(process.Wait(), 3) << line << process.Output() << process.Errors();
      EXPECT_THAT(process.Errors(), HasSubstr("error: "));
    }
  }
}

TEST_F(CliUpdate, CtrlCEndsItAfterTheRunningExchange) {
  BoardProgram board("AT90S8515", {"--baud", "9600"});
  WriteFile(folder_.File("fw.hex"), HexFile(FullImage(4096, 4)));
  Process process(
      {FENWRIGHT_CLI_PROGRAM, "--port", board.Link(), "update-firmware", "fw.hex", "--yes"},
      {.Folder = folder_.Path().string()});
  for (int i = 0; i < 500 && board.Wire().size() < 100; ++i) std::this_thread::sleep_for(10ms);
  process.Signal(SIGINT);
  EXPECT_EQ(process.Wait(), 130) << process.Errors();
  EXPECT_THAT(process.Errors(), HasSubstr("error: stopped: the board's firmware is incomplete"));
  const Bytes wire = board.Wire();
  EXPECT_EQ(wire.size() % 4, 2U) << "? and U, and whole frames";
  EXPECT_NE(ToHex(Bytes(wire.end() - 4, wire.end())), "FF FF FF FF");
}

TEST_F(CliUpdate, TheResultIsThereAsJson) {
  BoardProgram board("AT90S8515");
  const auto result = nlohmann::json::parse(Update(board, {"--yes", "--json"}).Out);
  EXPECT_EQ(result["result"], "ok");
  EXPECT_EQ(result["exit_code"], 0);
  EXPECT_EQ(result["board_version"], "KV-LOD350  V6.38");
  EXPECT_EQ(result["words_sent"], 12);
  EXPECT_EQ(result["words_to_skip"], 1);
  const auto version =
      nlohmann::json::parse(Run({"--port", board.Link(), "--json", "board-version"}).Out);
  EXPECT_EQ(version["board_version"], "KV-LOD350  V6.40");
}

}  // namespace
}  // namespace fenwright::testing
