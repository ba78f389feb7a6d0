// The command line as a user calls it: the real program, a real serial device, real files.

#include <signal.h>
#include <sys/mount.h>
#include <unistd.h>

#include "ops/command.h"
#include "ops/commands.h"
#include "system/cli_run.h"

namespace fenwright::testing {
namespace {

namespace fs = std::filesystem;

class Cli : public CliTest {
 protected:
  /// Runs the program as a user whom the rights of files bind. The build may lie where nobody else
  /// comes to, in a home folder say, so a copy of the program is run.
  CliResult RunWithoutPrivileges(const Words& words) {
    constexpr unsigned kNobody = 65534;
    if (getuid() != 0) return Run(words);
    fs::permissions(folder_.Path(), fs::perms::all);
    fs::copy_file(FENWRIGHT_CLI_PROGRAM, Path("fenwright-cli"));
    fs::permissions(Path("fenwright-cli"), fs::perms(0755));
    return Run(words, {.UserId = kNobody}, Path("fenwright-cli"));
  }

  /// A line for the shell, in the test's folder; $CLI is the program.
  Process Shell(const std::string& line) const {
    return Process({"sh", "-c", line}, {.Folder = folder_.Path().string(),
                                        .Environment = {{"CLI", FENWRIGHT_CLI_PROGRAM}}});
  }

  [[nodiscard]] std::string Text(const std::string& name) const {
    return platform::Cp932CodePage().ToUtf8(Get(name));
  }
};

std::string AsText(const Bytes& bytes) { return {bytes.begin(), bytes.end()}; }

void WaitForWire(const BoardProgram& board, std::size_t bytes) {
  while (board.Wire().size() < bytes) std::this_thread::sleep_for(5ms);
}

TEST_F(Cli, ProgramsAWholeImageAndTheChipHoldsIt) {
  BoardProgram board("AT90S8515");
  const Bytes flash = FullImage(8192, 1);
  const Bytes eeprom = FullImage(512, 2);
  PutCode(flash);
  PutCode(eeprom, "code.eep");
  EXPECT_THAT(
      On(board, "program code.hex"),
      AllOf(Ends(0),
            Warns(StartsWith("AT90S8515  1E:93:01  on " + board.Link() +
                             " (KV-LOD350  V6.38)\nerase ")),
            Warns("\nflash     4096 words "), Warns("\nEEPROM    512 bytes "),
            Warns("\nverify    4096 words "), Prints(StartsWith("ok: programmed and verified in ")),
            Prints(" s, 4096 of 4096 words, 512 of 512 bytes\n")));
  EXPECT_THAT(On(board, "--verbose program code.hex"),
              AllOf(Ends(0), Warns("found the programmer on COM1\n"),
                    Warns("verify: flash OK, EEPROM OK; programming ended well\n")));
  EXPECT_EQ(board.Dump(), AsText(flash) + AsText(eeprom));
}

TEST_F(Cli, SendsTheSameBytesAsTheEngineOnEveryLine) {
  BoardProgram board("ATtiny26L");
  const Bytes flash = FullImage(2048, 3);
  PutCode(flash);
  ASSERT_THAT(On(board, "program code.hex"), Ends(0));
  BoardRun run("ATtiny26L");
  run.LoadImage(flash, {});
  ops::RunCommand(run.Context, ops::Cmd_btn_program_Click);
  EXPECT_EQ(board.Wire(), run.Wire);
}

TEST_F(Cli, LeavesTraceDumpsAndReportInTheFolder) {
  BoardProgram board("ATtiny12L");
  MakeFolder("出力 folder");
  PutCode({0x0C, 0x94});
  EXPECT_THAT(On(board, {"--folder", "出力 folder", "program", "code.hex"}), Ends(0));
  EXPECT_THAT(Text("出力 folder/_debug_avr.txt"), HasSubstr("\r\n>>>>> START <<<<<\t20"));
  EXPECT_THAT(Text("出力 folder/avrhex.txt"), StartsWith("0000: 940C FFFF "));
  EXPECT_EQ(Text("出力 folder/avreep.txt").size(), 0x40U / 16 * (6 + 48 + 16 * 3 + 2));
  EXPECT_EQ(Text("出力 folder/avrvfy.txt"),
            "Flash Program memory address verify\r\n\r\n"
            "\r\nEEPROM data memory address verify\r\n\r\n");
}

TEST_F(Cli, WithoutAFolderLeavesNoFileAndTouchesNone) {
  BoardProgram board("ATtiny12L", {"--fault", "lie@2"});
  PutCode({0x0C, 0x94});
  Put("_debug_avr.txt", "the trace of a window that runs here");
  Put("avrvfy.txt", "its report");
  EXPECT_THAT(On(board, "program code.hex"), Ends(1));
  EXPECT_THAT(On(board, "verify code.hex"), Ends(1));
  EXPECT_EQ(Get("_debug_avr.txt"), "the trace of a window that runs here");
  EXPECT_EQ(Get("avrvfy.txt"), "its report");
  EXPECT_FALSE(IsThere("avrhex.txt"));
  EXPECT_FALSE(IsThere("avreep.txt"));
}

TEST_F(Cli, TwoCallsAtOnceInOneFolderPrintTheirOwnDifferences) {
  PutCode({0x0C, 0x94});
  const BoardProgram first("ATtiny12L", {"--baud", "57600"});
  const BoardProgram second("ATtiny12L", {"--fault", "lie@2", "--baud", "57600"});
  constexpr int kRounds = 5;
  ASSERT_THAT(On(second, "program code.hex"), Ends(1));
  for (int round = 0; round < kRounds; ++round) {
    const auto verify = [](const BoardProgram& board) {
      return Words{FENWRIGHT_CLI_PROGRAM, "--port", board.Link(), "--device",
                   "ATtiny12L",           "verify", "code.hex"};
    };
    Process blank(verify(first), {.Folder = folder_.Path().string()});
    Process lied(verify(second), {.Folder = folder_.Path().string()});
    EXPECT_EQ(blank.Wait(), 1);
    EXPECT_EQ(lied.Wait(), 1);
    EXPECT_THAT(blank.Output(), HasSubstr("-flash  0x0000  940C\n+flash  0x0000  FFFF\n"));
    EXPECT_THAT(lied.Output(), HasSubstr("-flash  0x0000  940C\n+flash  0x0000  FF0C\n"));
  }
}

TEST_F(Cli, ListsTheThirteenDevices) {
  const CliResult result = Run("devices");
  EXPECT_THAT(result, AllOf(Ends(0), Prints("flash   512 word  EEPROM   64 byte  signature 1E:90:01"
                                            "  AT90S1200A(内部RCｸﾛｯｸ1MHz)\n")));
  EXPECT_EQ(std::ranges::count(result.Out, '\n'), 13);
}

TEST_F(Cli, ListsTheDevicesAsJson) {
  const json list = Run("--json devices").Json()["devices"];
  ASSERT_EQ(list.size(), 13U);
  EXPECT_EQ(list[2]["name"], "ATtiny26L");
  EXPECT_EQ(list[2]["device_code"], 0x59);
  EXPECT_EQ(list[2]["signature"], json({0x1E, 0x91, 0x09}));
}

TEST_F(Cli, TellsItsVersionAndItsHelp) {
  EXPECT_EQ(Run("--version").Out, "fenwright-cli 6.5.5\n");
  const CliResult help = Run("--help");
  EXPECT_THAT(help, Ends(0));
  for (const char* text : {"--port", "--simulate", "--device", "--folder", "--json", "--quiet",
                           "devices", "program", "Exit codes"}) {
    EXPECT_THAT(help, Prints(text));
  }
  EXPECT_THAT(Run("program --help"), Prints("--no-data"));
}

TEST_F(Cli, RefusesACommandLineThatMakesNoSense) {
  PutCode({1, 2});
  for (const char* line :
       {"", "--nonsense", "frobnicate", "program", "--simulate program code.hex",
        "--simulate --device AT90S9999 program code.hex",
        "--simulate --device AT90S12 program code.hex",
        "--simulate --device AT90S program code.hex",
        "--simulate --device ATtiny12L program code.hex --data d.eep --no-data",
        "--port COM257 --device ATtiny12L program code.hex",
        "--simulate --simulate-fault frob --device ATtiny12L program code.hex"}) {
    EXPECT_THAT(Run(line), AllOf(Ends(2), Warns(Not(IsEmpty())))) << line;
  }
}

TEST_F(Cli, AnAmbiguousDeviceNameListsTheChoices) {
  EXPECT_THAT(Simulate("program x.hex", "AT90S12"),
              AllOf(Ends(2), Warns("AT90S1200 (外部ｸﾛｯｸ)"), Warns("AT90S1200A(内部RCｸﾛｯｸ1MHz)"),
                    Warns(Not(HasSubstr("AT90S8515")))));
}

TEST_F(Cli, AnUnambiguousPartOfADeviceNameIsEnough) {
  PutCode({1, 2});
  for (const char* name : {"AT90S1200A", "at90s1200a", "AT90S1200", "AT90S1200 (外部ｸﾛｯｸ)"}) {
    EXPECT_THAT(Simulate("program code.hex", name), Ends(0)) << name;
  }
}

TEST_F(Cli, WithoutAPortSaysThatNoneWasChosen) {
  PutCode({1, 2});
  EXPECT_THAT(Run("--verbose --device ATtiny12L program code.hex"),
              AllOf(Ends(3), Warns("--port"), Warns("the programmer could not be reached")));
}

TEST_F(Cli, AMissingDeviceFileIsNamedWithItsCause) {
  PutCode({1, 2});
  EXPECT_THAT(Run("--port /dev/nothing-here --device ATtiny12L program code.hex"),
              AllOf(Ends(3), Warns("/dev/nothing-here"),
                    Warns("error: no programmer was found: name the port that it is on\n")));
}

TEST_F(Cli, APortThatAnotherProgramHoldsIsBusy) {
  BoardProgram board("ATtiny12L", {"--baud", "57600"});
  PutCode(FullImage(1024, 4));
  Process first =
      Shell("exec \"$CLI\" --port '" + board.Link() + "' --device ATtiny12L program code.hex");
  WaitForWire(board, 40);
  MakeFolder("second");
  EXPECT_THAT(On(board, "--folder second program code.hex"),
              AllOf(Ends(3), Warns("is in use by another program")));
  EXPECT_EQ(first.Wait(), 0) << first.Errors();
}

TEST_F(Cli, TheEnvironmentCanNameThePort) {
  BoardProgram board("ATtiny12L");
  PutCode({1, 2});
  EXPECT_THAT(Run("--device ATtiny12L program code.hex",
                  {.Environment = {{"FENWRIGHT_PORT", board.Link()}}}),
              Ends(0));
}

TEST_F(Cli, ABareFileNameCanBeThePort) {
  BoardProgram board("ATtiny12L");
  PutCode({1, 2});
  fs::create_symlink(board.Link(), Path("L"));
  EXPECT_THAT(Run("--port L --device ATtiny12L program code.hex"), Ends(0));
}

TEST_F(Cli, AComNumberWithAPathTakesThatNumber) {
  BoardProgram board("ATtiny12L");
  PutCode({1, 2});
  EXPECT_THAT(Run("--verbose --port COM7=" + board.Link() + " --device ATtiny12L program code.hex"),
              Warns("found the programmer on COM7"));
}

TEST_F(Cli, ASilentBoardIsNoProgrammer) {
  BoardProgram board("ATtiny12L", {"--fault", "silent"});
  PutCode({1, 2});
  EXPECT_THAT(On(board, "program code.hex"),
              AllOf(Ends(3), Warns("could be opened, but no programmer answers"),
                    Warns("the chip was not changed")));
}

TEST_F(Cli, AnotherDeviceOnThePortIsNoProgrammer) {
  BoardProgram board("ATtiny12L", {"--version-line", "SOME OTHER THING"});
  PutCode({1, 2});
  EXPECT_THAT(On(board, "program code.hex"),
              AllOf(Ends(3), Warns("the version of the board's firmware could not be read")));
}

TEST_F(Cli, AFirmwareThatIsTooOldIsRefused) {
  BoardProgram board("ATtiny12L", {"--version-line", "KV-LOD350  V6.29"});
  PutCode({1, 2});
  EXPECT_THAT(On(board, "program code.hex"),
              AllOf(Ends(3), Warns("error: this board cannot be used")));
}

TEST_F(Cli, AFirmwareThatIsNotTheNewestIsAdvisedAndUsed) {
  BoardProgram board("ATtiny12L", {"--version-line", "KV-LOD350A V6.30"});
  PutCode({1, 2});
  EXPECT_THAT(On(board, "program code.hex"), AllOf(Ends(0), Warns("KV-LOD350 V6.3 \n")));
}

TEST_F(Cli, AnotherChipInTheSocketFailsAndIsLeftAlone) {
  const std::string mismatch = "the device in the socket is not the selected one";
  BoardProgram board("AT90S2313");
  PutCode({1, 2});
  EXPECT_THAT(On(board, "program code.hex", "ATtiny12L"),
              AllOf(Ends(1), Warns(mismatch), Warns("\nAT90S2313 is in the socket\n"),
                    Warns("the chip was not changed")));
  EXPECT_THAT(On(board, "--quiet program code.hex", "ATtiny12L"), Warns("error: " + mismatch));
}

TEST_F(Cli, AnEraseThatWasNotConfirmedIsNoSuccess) {
  PutCode({0x0C, 0x94});
  EXPECT_THAT(Simulate("--simulate-fault flip@11 program code.hex"),
              AllOf(Ends(1), Warns("the erase was not confirmed")));
}

TEST_F(Cli, AReaderThatGoesAwayDoesNotStopTheRun) {
  BoardProgram board("ATtiny12L");
  PutCode(FullImage(1024, 31));
  Process shell = Shell("\"$CLI\" --port '" + board.Link() +
                        "' --device ATtiny12L program code.hex | head -n 1");
  EXPECT_EQ(shell.Wait(), 0);
  EXPECT_EQ(board.Wire().back(), 'L');
  EXPECT_EQ(board.Dump().substr(0, 1024), AsText(FullImage(1024, 31)));
}

TEST_F(Cli, AnOutputThatTakesNothingStopsNothing) {
  PutCode({1, 2});
  const std::string call = "--simulate --device ATtiny12L program code.hex >/dev/full";
  EXPECT_EQ(Shell("\"$CLI\" " + call + " 2>/dev/full").Wait(), 4);
  EXPECT_EQ(Shell("\"$CLI\" --json " + call).Wait(), 4);
  EXPECT_EQ(Shell("\"$CLI\" devices >/dev/full").Wait(), 4);
}

TEST_F(Cli, AnIgnoredHangUpStaysIgnored) {
  BoardProgram board("ATtiny12L", {"--baud", "57600"});
  PutCode(FullImage(1024, 32));
  Process run = Shell("trap '' HUP; exec \"$CLI\" --port '" + board.Link() +
                      "' --device ATtiny12L program code.hex");
  WaitForWire(board, 60);
  run.Signal(SIGHUP);
  EXPECT_EQ(run.Wait(), 0) << run.Errors();
}

TEST_F(Cli, ADeviceThatTheBoardRefusesFails) {
  PutCode({1, 2});
  EXPECT_THAT(Simulate("--simulate-fault flip@4 program code.hex"),
              AllOf(Ends(1), Warns("the programmer did not accept the selected device")));
}

TEST_F(Cli, AWriteThatLiesFailsTheVerifyAndNamesTheReport) {
  BoardProgram board("ATtiny12L", {"--fault", "lie@2"});
  PutCode({0x0C, 0x94});
  EXPECT_THAT(On(board, "--folder . program code.hex"),
              AllOf(Ends(1), Warns("avrvfy.txt"),
                    Warns("PROGRAM Addr(word) = 0000  Original = 940C   NG = FF0C\n")));
  EXPECT_THAT(Text("avrvfy.txt"),
              HasSubstr("PROGRAM Addr(word) = 0000  Original = 940C   NG = FF0C\r\n"));
}

TEST_F(Cli, APortThatGoesInTheMiddleEndsTheRunAtOnce) {
  BoardProgram board("ATtiny12L", {"--fault", "hangup@60"});
  PutCode(FullImage(1024, 5));
  const auto start = std::chrono::steady_clock::now();
  EXPECT_THAT(On(board, "program code.hex"),
              AllOf(Ends(1), Warns("not verified: erase and program again")));
  EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
}

TEST_F(Cli, OtherSignalsStopTheRunLikeCtrlCUnderTheirOwnCode) {
  for (const int number : {SIGTERM, SIGHUP}) {
    BoardProgram board("AT90S8515", {"--baud", "57600"});
    PutCode(FullImage(8192, 6));
    Process process({FENWRIGHT_CLI_PROGRAM, "--json", "--port", board.Link(), "--device",
                     "AT90S8515", "program", Path("code.hex")});
    WaitForWire(board, 400);
    process.Signal(number);
    EXPECT_EQ(process.Wait(10), 128 + number);
    EXPECT_EQ(board.Wire().back(), 'L');
    const json told = CliResult{.Code = 0, .Out = process.Output(), .Err = ""}.Json();
    EXPECT_EQ(told["exit_code"], 128 + number);
    EXPECT_EQ(told["error"]["code"], "stopped");
  }
}

TEST_F(Cli, CtrlCLeavesProgrammingModeAndSaysWhatStateTheChipIsIn) {
  BoardProgram board("AT90S8515", {"--baud", "57600"});
  PutCode(FullImage(8192, 6));
  Process process({FENWRIGHT_CLI_PROGRAM, "--port", board.Link(), "--device", "AT90S8515",
                   "--folder", folder_.Path().string(), "program", Path("code.hex")});
  WaitForWire(board, 400);
  process.Signal(SIGINT);
  EXPECT_EQ(process.Wait(10), 130);
  EXPECT_EQ(board.Wire().back(), 'L');
  EXPECT_THAT(
      process.Errors(),
      ContainsRegex("flash written up to word 0x[0-9A-F]{4}, more may have been written, not "
                    "verified: erase and program again"));
  // The board is ready for the next call at once.
  EXPECT_THAT(On(board, "program code.hex --no-data"), Ends(0));
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
    Put(name, content);
    EXPECT_THAT(On(board, "program " + name),
                AllOf(Ends(4), Warns(name), Warns("nothing was sent to the programmer")));
  }
  EXPECT_TRUE(board.Wire().empty());
}

TEST_F(Cli, AMissingFileAndAFolderInItsPlaceAreRefused) {
  MakeFolder("folder.hex");
  for (const char* line : {"program nothing.hex", "program folder.hex"}) {
    EXPECT_THAT(Simulate(line), AllOf(Ends(4), Warns("nothing was sent to the programmer")))
        << line;
  }
}

TEST_F(Cli, AFileWithoutDataIsRefusedAndSoIsOneCutShort) {
  Put("empty.hex", "");
  Put("end.hex", ":00000001FF\r\n");
  Put("cut.hex", ":020000000C945E\r\n");
  for (const char* line : {"--json program empty.hex", "--json program end.hex"}) {
    const CliResult result = Simulate(line);
    EXPECT_THAT(result, AllOf(Ends(4), Warns("cure: to blank a device, erase it"))) << line;
    EXPECT_EQ(result.Json()["exit_code"], 4);
  }
  EXPECT_THAT(Simulate("--json program cut.hex"),
              AllOf(Ends(4), Warns("error: cut.hex: has no end record (:00000001FF)")));
}

TEST_F(Cli, AWrongChecksumAndDataBeyondTheChipAreRefusedOrWarnedOf) {
  Bytes image(1040, 0xFF);
  image[0] = 0x11;
  image[1039] = 0x22;
  std::string text = HexFile(image);
  text.replace(text.find("\r\n") - 2, 2, "00");
  Put("code.hex", text);
  const std::string checksum = "code.hex:1: wrong checksum: it is 00, the record adds up to EE\n";
  const std::string beyond =
      "code.hex:65: address 0x040F lies beyond the memory of ATtiny12L, which ends at 0x03FF: 1 of "
      "the file's 2 words are not programmed\n";
  EXPECT_THAT(Simulate("program code.hex"),
              AllOf(Ends(4), Warns("error: " + checksum), Warns("error: " + beyond),
                    Warns("nothing was sent to the programmer; --force-image takes")));
  EXPECT_THAT(Simulate("program --force-image code.hex"),
              AllOf(Ends(0), Warns("warning: " + checksum), Warns("warning: " + beyond),
                    Warns(Not(HasSubstr("error:"))), Prints("ok: programmed and verified")));
}

TEST_F(Cli, AnImageThatCannotBeMeantIsRefusedByEveryVerbBeforeAnythingIsSent) {
  BoardProgram board("AT90S2313");
  // As avr-objcopy writes a program with a variable in the EEPROM.
  Put("eemem.hex",
      ":0400000012C018C00E\r\n:02000004008179\r\n:0400000000E1F5054D\r\n:00000001FF\r\n");
  const std::string cause =
      "eemem.hex:2: the extended address 0x00810000 is not followed: the data from line 3 on are "
      "taken for address 0x0000 onwards\n";
  for (const std::string verb : {"program", "verify", "dump"}) {
    EXPECT_THAT(On(board, verb + " eemem.hex"),
                AllOf(Ends(4), Warns("error: " + cause), Warns("cure: "), Warns("-R .eeprom"),
                      Warns("--change-section-lma .eeprom=0")))
        << verb;
  }
  EXPECT_TRUE(board.Wire().empty());
  EXPECT_THAT(On(board, "program --force-image eemem.hex"),
              AllOf(Ends(0), Warns("warning: " + cause)));
  EXPECT_EQ(board.Dump().substr(0, 4), std::string("\0\xE1\xF5\x05", 4));
  EXPECT_THAT(On(board, "verify --force-image eemem.hex"), Ends(0));
  EXPECT_THAT(On(board, "dump --force-image eemem.hex"), AllOf(Ends(0), Prints("E100 05F5")));
}

TEST_F(Cli, TheDataFileIsCheckedToo) {
  BoardProgram board("ATtiny12L");
  PutCode({1, 2});
  PutCode(FullImage(65, 1), "code.eep");
  EXPECT_THAT(On(board, "program code.hex"),
              AllOf(Ends(4), Warns("error: code.eep:5: address 0x0040 lies beyond")));
  EXPECT_THAT(On(board, "program --no-data code.hex"), Ends(0));
  // Twice the EEPROM, its upper half blank, as saved by this program.
  Bytes doubled = FullImage(64, 2);
  doubled.resize(128, 0xFF);
  PutCode(doubled, "code.eep");
  EXPECT_THAT(On(board, "program code.hex"), AllOf(Ends(0), Warns(Not(HasSubstr("error:")))));
}

TEST_F(Cli, AForcedFileThatEndsEarlyKeepsNoDataFileBackInSilence) {
  BoardProgram board("ATtiny12L");
  PutCode({0x77}, "code.eep");
  const std::string cause = "code.eep: is not read after a code file that ends at code.hex:2; ";
  for (const std::string line : {"hello", "", ":02FFFF000102FD"}) {
    Put("code.hex", ":020000000C945E\r\n" + line + "\r\n:00000001FF\r\n");
    EXPECT_THAT(On(board, "program code.hex"), Ends(4)) << line;
    EXPECT_THAT(On(board, "program --force-image code.hex"),
                AllOf(Ends(4), Warns("error: " + cause)));
    EXPECT_EQ(board.Wire().size(), 0U);
  }
  // A blank last line does no harm to the code.
  Put("code.hex", ":020000000C945E\r\n:00000001FF\r\n\r\n");
  EXPECT_THAT(On(board, "program code.hex"), AllOf(Ends(4), Warns("that ends at code.hex:3; ")));
  EXPECT_THAT(On(board, "program --no-data code.hex"),
              AllOf(Ends(0), Warns("note: code.hex:3: the line is blank")));
  Put("code.hex", ":020000000C945E\r\nhello\r\n");
  EXPECT_THAT(On(board, "program --force-image --no-data code.hex"), Ends(0));
  EXPECT_EQ(board.Dump().substr(0, 2), "\x0C\x94");
}

TEST_F(Cli, JsonListsWhatWasFoundInTheFiles) {
  Put("code.hex", HexFile(FullImage(8192, 4)));
  const CliResult refused = Simulate("--json program code.hex");
  EXPECT_THAT(refused, Ends(4));
  json told = refused.Json();
  EXPECT_EQ(told["result"], "file-error");
  EXPECT_EQ(told["exit_code"], 4);
  EXPECT_EQ(told["code_words"], 4096);
  EXPECT_EQ(told["code_words_inside"], 512);
  ASSERT_EQ(told["findings"].size(), 1U);
  const json finding = told["findings"][0];
  EXPECT_EQ(finding["file"], "code.hex");
  EXPECT_EQ(finding["line"], 65);
  EXPECT_EQ(finding["column"], 10);
  EXPECT_EQ(finding["code"], "data-beyond-chip");
  EXPECT_EQ(finding["severity"], "refuse");
  EXPECT_THAT(finding["text"].get<std::string>(), StartsWith("address 0x0400 lies beyond"));
  EXPECT_THAT(finding["cure"].get<std::string>(), StartsWith("check the selected device"));
  EXPECT_EQ(told["error"]["code"], "data-beyond-chip");
  EXPECT_THAT(told["error"]["text"].get<std::string>(), StartsWith("code.hex:65: address 0x0400"));

  told = Simulate("--json program --force-image code.hex").Json();
  EXPECT_EQ(told["result"], "ok");
  EXPECT_EQ(told["findings"].size(), 1U);
  PutCode({1, 2});
  EXPECT_EQ(Simulate("--json program code.hex").Json()["findings"], json::array());
}

TEST_F(Cli, AnUnwritableFolderIsRefusedBeforeAnythingIsSent) {
  PutCode({1, 2});
  EXPECT_THAT(Simulate("--folder none program code.hex"), Ends(4));
  MakeFolder("closed");
  fs::permissions(Path("closed"), fs::perms(0555));
  EXPECT_THAT(
      RunWithoutPrivileges("--folder closed --simulate --device ATtiny12L program code.hex"),
      AllOf(Ends(4), Warns("closed")));
}

TEST_F(Cli, TheDataFileGoesAlongByItsName) {
  BoardProgram board("ATtiny12L");
  PutCode({1, 2}, "prog.HEX");
  PutCode({0x77}, "prog.eep");
  PutCode({0x88}, "other.eep");
  const auto eeprom_byte_after = [&](const std::string& options) {
    EXPECT_THAT(On(board, "program prog.HEX" + options), Ends(0));
    return board.Dump().at(1024);
  };
  EXPECT_EQ(eeprom_byte_after(""), '\x77');
  EXPECT_EQ(eeprom_byte_after(" --data other.eep"), '\x88');
  EXPECT_EQ(eeprom_byte_after(" --no-data"), '\xFF');
  EXPECT_THAT(On(board, "program prog.HEX --data none.eep"), Ends(4));
}

TEST_F(Cli, JsonIsTheWholeOutputAndTellsTheResult) {
  BoardProgram board("ATtiny12L");
  PutCode({1, 2, 3, 4});
  const CliResult result = On(board, "--json program code.hex");
  EXPECT_THAT(result, Ends(0));
  const json told = result.Json();
  EXPECT_EQ(told["result"], "ok");
  EXPECT_EQ(told["exit_code"], 0);
  EXPECT_EQ(told["device"], "ATtiny12L");
  EXPECT_EQ(told["signature"], "1E:90:05");
  EXPECT_EQ(told["board_version"], "KV-LOD350  V6.38");
  EXPECT_EQ(told["flash_words_written"], 2);
  EXPECT_EQ(told["verified"], (json{{"flash", true}, {"eeprom", true}}));
  EXPECT_EQ(told["chip_state"], "programmed and verified");
}

TEST_F(Cli, JsonTellsAFailureTooWithTheSameExitCode) {
  const BoardProgram board("AT90S2313");
  PutCode({1, 2});
  const CliResult result = On(board, "--json program code.hex", "ATtiny12L");
  EXPECT_THAT(result, Ends(1));
  const json told = result.Json();
  EXPECT_EQ(told["result"], "failed");
  EXPECT_EQ(told["chip_state"], "the chip was not changed");
  EXPECT_EQ(told["verified"], nullptr);
  EXPECT_EQ(told["error"]["code"], "wrong-chip");
}

TEST_F(Cli, QuietPrintsErrorsOnly) {
  PutCode({1, 2});
  EXPECT_THAT(Simulate("--quiet program code.hex"),
              AllOf(Ends(0), Prints(IsEmpty()), Warns(IsEmpty())));
  EXPECT_THAT(Simulate("--quiet --simulate-chip empty program code.hex"),
              AllOf(Ends(1), Prints(IsEmpty()), Warns("the chip was not changed")));
}

TEST_F(Cli, ATerminalGetsABarWithPercentAndRemainingTime) {
  PutCode(FullImage(1024, 7));
  EXPECT_THAT(
      Run("--simulate --device ATtiny12L program code.hex", {.OnTerminal = true}),
      AllOf(Ends(0),
            Prints(ContainsRegex("\rflash     [0-9]+ / 512 words +#+\\.+ +[0-9]+ %  [0-9]+ s"))));
}

TEST_F(Cli, ASimulatedRunNeedsNoPortAndStartsWithABlankChip) {
  PutCode({1, 2});
  EXPECT_THAT(Simulate("program code.hex", "AT90S8535"), Ends(0));
}

TEST_F(Cli, AChipIsReadSavedAndProgrammedIntoAnother) {
  PutCode(FullImage(1024, 21));
  PutCode(FullImage(64, 22), "code.eep");
  std::string original;
  {
    BoardProgram board("ATtiny15L", {"--state", Path("chip")});
    ASSERT_THAT(On(board, "program code.hex"), Ends(0));
    original = board.Dump();
    board.Program().Signal(SIGTERM);
    board.Program().Wait();
  }
  {
    BoardProgram board("ATtiny15L", {"--state", Path("chip")});
    ASSERT_THAT(On(board, "read --code out.hex --data out.eep"),
                AllOf(Ends(0), Prints("ok: flash, EEPROM, fuse and lock bits read")));
  }
  BoardProgram other("ATtiny15L");
  EXPECT_THAT(On(other, "program out.hex"), Ends(0));
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
    Bytes eeprom = FullImage(eeprom_bytes, ++seed);
    PutCode(flash);
    PutCode(eeprom, "code.eep");
    BoardProgram board(name);
    ASSERT_THAT(On(board, "program code.hex"), Ends(0));
    ASSERT_THAT(On(board, "read --force --code out.hex --data out.eep"), Ends(0));
    EXPECT_EQ(Get("out.hex"), HexFile(flash));
    eeprom.resize(2 * eeprom_bytes, 0xFF);
    EXPECT_EQ(Get("out.eep"), HexFile(eeprom));
  }
}

TEST_F(Cli, AReadOnlyTargetIsReportedAndStaysAsItWas) {
  for (const char* name : {"out.hex", "out.eep"}) {
    Put(name, "precious");
    fs::permissions(Path(name), fs::perms(0444));
  }
  const CliResult result = RunWithoutPrivileges(
      "--json --simulate --device ATtiny12L read --force --code out.hex "
      "--data out.eep");
  EXPECT_THAT(result, AllOf(Ends(4), Warns("saving a file\nthe file is read-only\n"),
                            Warns("error: out.hex: cannot be written: ")));
  EXPECT_EQ(Get("out.hex"), "precious");
  EXPECT_EQ(Get("out.eep"), "precious");
  const json told = result.Json();
  EXPECT_EQ(told["result"], "file-error");
  EXPECT_EQ(told["exit_code"], 4);
  EXPECT_EQ(told["chip_state"], "flash, EEPROM, fuse and lock bits read");
  EXPECT_THAT(told["error"]["text"], StartsWith("out.hex: cannot be written: "));
  EXPECT_EQ(told["files"]["written"], json::array());
}

/// A disc of 16 KiB, in the place of a folder for the object's lifetime.
class SmallDisc {
 public:
  explicit SmallDisc(const std::string& folder) : folder_(folder) {
    fs::create_directory(folder);
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

TEST_F(Cli, AFullDiscLeavesTheOldFileWholeAndNoneBesideIt) {
  const SmallDisc disc(Path("disc"));
  if (!disc.IsThere()) GTEST_SKIP() << "this process may not mount a disc";
  Put("disc/neighbour", "of somebody else");
  const auto told =
      AllOf(Ends(4), Prints(Not(HasSubstr("ok:"))), Warns("the file could not be saved"),
            Warns("error: disc/out.hex: cannot be written: No space left on device\n"
                  "cure: check the folder and the room on its disc, or name another file\n"),
            Warns("file-error: flash and EEPROM read\n"));
  EXPECT_THAT(Simulate("read --code disc/out.hex", "AT90S8515"), told);
  EXPECT_FALSE(IsThere("disc/out.hex"));
  Put("disc/out.hex", "precious");
  EXPECT_THAT(Simulate("read --force --code disc/out.hex", "AT90S8515"), told);
  EXPECT_EQ(Get("disc/out.hex"), "precious");
  EXPECT_EQ(Get("disc/neighbour"), "of somebody else");
  EXPECT_EQ(std::distance(fs::directory_iterator(Path("disc")), {}), 2);
}

TEST_F(Cli, AFullDiscLeavesTheReportAndTheDumpsOfTheLastRunWhole) {
  MakeFolder("kept");
  PutCode(Bytes(1024, 0x41));
  ASSERT_THAT(Simulate("--folder kept verify code.hex"), Ends(1));
  const std::string report = Get("kept/avrvfy.txt");
  const std::string dump = Get("kept/avrhex.txt");
  fs::remove(Path("kept/_debug_avr.txt"));
  PutCode(Bytes(1024, 0x42));
  EXPECT_THAT(
      Finish(Process({"prlimit", "--fsize=4000", FENWRIGHT_CLI_PROGRAM, "--simulate", "--device",
                      "ATtiny12L", "--folder", Path("kept"), "verify", Path("code.hex")})),
      AllOf(Ends(4), Warns(Path("kept/avrvfy.txt"))));
  EXPECT_EQ(Get("kept/avrvfy.txt"), report);
  EXPECT_EQ(Get("kept/avrhex.txt"), dump);
  EXPECT_EQ(std::distance(fs::directory_iterator(Path("kept")), {}), 4);
}

TEST_F(Cli, AnOutputThatIsALinkStaysOneAndKeepsItsRights) {
  MakeFolder("sub");
  Put("sub/real.hex", "old");
  fs::permissions(Path("sub/real.hex"), fs::perms(0640));
  fs::create_symlink("sub/real.hex", Path("out.hex"));
  EXPECT_THAT(Simulate("read --force --code out.hex"), Ends(0));
  EXPECT_TRUE(fs::is_symlink(Path("out.hex")));
  EXPECT_EQ(fs::status(Path("sub/real.hex")).permissions(), fs::perms(0640));
  EXPECT_THAT(Get("sub/real.hex"), StartsWith(":10000000FFFF"));
  EXPECT_EQ(std::distance(fs::directory_iterator(Path("sub")), {}), 1);
}

TEST_F(Cli, ADiscWithoutRoomForTheDumpEndsAReadAndNamesTheDump) {
  EXPECT_THAT(Finish(Process({"prlimit", "--fsize=4000", FENWRIGHT_CLI_PROGRAM, "--simulate",
                              "--device", "ATtiny12L", "--folder", folder_.Path().string(), "read",
                              "--code", Path("out.hex")})),
              AllOf(Ends(4), Warns(Path("avrhex.txt"))));
  EXPECT_FALSE(IsThere("out.hex"));
}

TEST_F(Cli, ATimeoutInMidReadSavesNothing) {
  Put("out.hex", "precious");
  EXPECT_THAT(
      Simulate("--simulate-fault drop@15 read --force --code out.hex --data out.eep"),
      AllOf(Ends(1), Warns("error: communication failed: Read Program Memory R\n"),
            Warns("flash read up to word 0x0002, the rest of the buffers is unchanged: read "
                  "again")));
  EXPECT_EQ(Get("out.hex"), "precious");
  EXPECT_FALSE(IsThere("out.eep"));
}

TEST_F(Cli, NamesMayHoldBlanksQuotesAndJapanese) {
  MakeFolder("my \"files\" 'と' 資料");
  const std::string base = "my \"files\" 'と' 資料/点滅 $HOME 表";
  BoardProgram board("ATtiny12L");
  PutCode({0x0C, 0x94}, base + ".hex");
  PutCode({0x77}, base + ".eep");
  ASSERT_THAT(On(board, {"program", base + ".hex"}), Ends(0));
  EXPECT_THAT(On(board, {"read", "--code", base + " 2.hex", "--data", base + " 2.eep"}), Ends(0));
  EXPECT_THAT(On(board, {"verify", base + " 2.hex"}), Ends(0));
}

/// Names that would clear the screen, colour it, and put lines of their own on it.
constexpr const char* kEvilNames[] = {"a\x1b[2J\nok: programmed and verified.hex",
                                      "a\r\nok: programmed\x07.hex", "a\u009b31m\x7f\tb.hex",
                                      "a\x9b"
                                      "31m.hex"};
constexpr const char* kShownNames[] = {R"(a\x1b[2J\nok: programmed and verified.hex)",
                                       R"(a\r\nok: programmed\x07.hex)", R"(a\u009b31m\x7f\tb.hex)",
                                       R"(a\x9b31m.hex)"};

bool IsHarmless(const std::string& text) {
  return std::ranges::none_of(text,
                              [](char character) {
                                const auto byte = static_cast<unsigned char>(character);
                                return (byte < 0x20 && byte != '\n') || byte == 0x7F;
                              }) &&
         text.find("\xC2\x9B") == std::string::npos;
}

TEST_F(Cli, ControlCharactersInNamesReachATerminalEscaped) {
  for (std::size_t i = 0; i < std::size(kEvilNames); ++i) {
    const std::string name = kEvilNames[i];
    const std::string shown = kShownNames[i];
    SCOPED_TRACE(shown);
    EXPECT_THAT(Simulate({"program", name}),
                AllOf(Ends(4), Warns("error: " + shown + ": there is no such file\n")));
    PutCode({0x0C, 0x94}, name);
    Put(name.substr(0, name.size() - 3) + "eep", "no record\n");
    const CliResult refused = Simulate({"--verbose", "program", name});
    EXPECT_THAT(refused, AllOf(Ends(4), Warns("Program : " + shown + "\n"),
                               Warns("\nEEPROM : " + shown.substr(0, shown.size() - 3) + "eep\n"),
                               Warns("error: " + shown.substr(0, shown.size() - 3) + "eep:1: ")));
    const CliResult read = Simulate({"read", "--code=" + name, "--data", "none/" + name});
    EXPECT_THAT(read, Warns("error: " + shown + ": exists; --force overwrites it\n"));
    const CliResult unknown = Simulate({"erase", name});
    EXPECT_THAT(unknown, AllOf(Ends(2), Warns(shown)));
    const CliResult device = Simulate({"erase"}, name);
    EXPECT_THAT(device, AllOf(Ends(2), Warns("no device is called \"" + shown + "\"")));
    for (const CliResult& result : {refused, read, unknown, device}) {
      EXPECT_TRUE(IsHarmless(result.Out) && IsHarmless(result.Err));
      EXPECT_THAT(result.Out + result.Err, Not(HasSubstr("\nok: programmed")));
    }
  }
}

TEST_F(Cli, ControlCharactersInAFolderAndAPortAreEscapedToo) {
  PutCode({0x0C, 0x94});
  MakeFolder("f\n\x1b[2J");
  const CliResult verify = Simulate({"--folder", "f\n\x1b[2J", "verify", "code.hex"});
  EXPECT_THAT(verify, AllOf(Ends(1), Warns(R"(/f\n\x1b[2J/avrvfy.txt)")));
  const CliResult ports = Run({"--port", "COM5=/dev/none\n\x1b[2J", "ports"});
  EXPECT_THAT(ports, AllOf(Ends(0), Prints(R"(/dev/none\n\x1b[2J)")));
  const CliResult missing =
      Run({"--port", "COM5=/dev/none\r\n\x1b[2J", "--device", "ATtiny12L", "detect"});
  EXPECT_THAT(missing, AllOf(Ends(3), Warns(R"(/dev/none\r\n\x1b[2J )")));
  for (const CliResult& result : {verify, ports, missing}) {
    EXPECT_TRUE(IsHarmless(result.Out) && IsHarmless(result.Err));
  }
}

TEST_F(Cli, JsonEscapesControlCharactersInItsOwnWay) {
  for (const std::string name : {kEvilNames[0], kEvilNames[1], kEvilNames[2]}) {
    PutCode({0x0C, 0x94}, name);
    const CliResult result =
        Run({"--json", "--simulate", "--device", "ATtiny12L", "program", name, "--no-data"});
    EXPECT_TRUE(IsHarmless(result.Out)) << result.Out;
    EXPECT_EQ(result.Json()["files"]["code"], name);
    const CliResult refused = Run({"--json", "--device", "ATtiny12L", "dump", "none" + name});
    EXPECT_TRUE(IsHarmless(refused.Out)) << refused.Out;
    EXPECT_EQ(refused.Json()["error"]["text"], "none" + name + ": there is no such file");
  }
}

TEST_F(Cli, AReadRefusesOneFileForBothMemories) {
  MakeFolder("sub");
  for (const std::string second : {"out.hex", "sub/../out.hex"}) {
    EXPECT_THAT(Simulate("read --code out.hex --data " + second),
                AllOf(Ends(2), Warns("--code and --data name the same file")));
    EXPECT_FALSE(IsThere("out.hex"));
  }
}

TEST_F(Cli, EachCallIsARunOfItsOwnWhateverTheLastFileHeld) {
  Put("bad.hex", "bad line\r\n");
  PutCode({0x0C, 0x94});
  EXPECT_THAT(Run("--device ATtiny12L dump bad.hex"), Ends(4));
  EXPECT_THAT(Run("--device ATtiny12L dump code.hex"), Ends(0));
}

TEST_F(Cli, AReadDoesNotOverwriteUnlessForced) {
  Put("out.hex", "precious");
  BoardProgram board("ATtiny12L");
  EXPECT_THAT(On(board, "read --code out.hex"),
              AllOf(Ends(4), Warns("out.hex: exists; --force overwrites it")));
  EXPECT_EQ(Get("out.hex"), "precious");
  EXPECT_TRUE(board.Wire().empty());
  EXPECT_THAT(On(board, "read --code out.hex --force"), Ends(0));
  EXPECT_THAT(Get("out.hex"), StartsWith(":10000000FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF00\r\n"));
}

TEST_F(Cli, AReadIntoAFolderOrAMissingFolderIsRefusedFirst) {
  MakeFolder("here.hex");
  EXPECT_THAT(Simulate("read --force --code here.hex"), Ends(4));
  EXPECT_THAT(Simulate("read --force --code nowhere/out.hex"), Ends(4));
}

TEST_F(Cli, AVerifyPrintsWhatTheFileSaysAndWhatTheChipHolds) {
  BoardProgram board("ATtiny12L");
  PutCode({0x0C, 0x94});
  PutCode({0x22}, "code.eep");
  EXPECT_THAT(On(board, "verify code.hex"),
              AllOf(Ends(1), Prints(StartsWith("-flash  0x0000  940C\n+flash  0x0000  FFFF\n")),
                    Prints("\n-EEPROM 0x0000  22\n+EEPROM 0x0000  FF\n")));
  ASSERT_THAT(On(board, "program code.hex"), Ends(0));
  EXPECT_THAT(On(board, "verify code.hex"),
              AllOf(Ends(0), Prints(Not(HasSubstr("+flash"))),
                    Prints("ok: the chip holds what the file holds in ")));
}

TEST_F(Cli, AnEraseBlanksTheChip) {
  BoardProgram board("ATtiny12L");
  PutCode({0x0C, 0x94});
  ASSERT_THAT(On(board, "program code.hex"), Ends(0));
  EXPECT_THAT(On(board, "erase"), AllOf(Ends(0), Prints(StartsWith("ok: chip erased in "))));
  EXPECT_EQ(board.Dump(), std::string(1024 + 64, '\xFF'));
}

TEST_F(Cli, ReadFusesPrintsEachFieldTheBytesAndTheCalibration) {
  EXPECT_THAT(Simulate("--quiet read-fuses", "ATtiny26L"),
              AllOf(Ends(0), Prints(::testing::Eq("CKSEL      0001  (1)\n"
                                                  "SUT        10  (2)\n"
                                                  "BODEN      Disable  (1)\n"
                                                  "BODLEVEL   2.7V  (1)\n"
                                                  "CKOPT      1  (1)\n"
                                                  "PLLCK      1  (1)\n"
                                                  "EESAVE     Disable  (1)\n"
                                                  "RSTDISABL  PB7:Reset  (1)\n"
                                                  "LOCK       none  (2)\n"
                                                  "bytes      Fuse 0xE1  High 0xF7  Lock 0xFF\n"
                                                  "calib      0xA4 0x9F 0x9B 0x97\n"))));
}

TEST_F(Cli, ReadFusesAsJsonTellsFieldsBytesAndCalibration) {
  const CliResult result = Simulate("--json read-fuses");
  EXPECT_THAT(result, Ends(0));
  const json told = result.Json();
  EXPECT_EQ(told["command"], "read-fuses");
  EXPECT_EQ(told["result"], "ok");
  EXPECT_EQ(told["fields"]["CKSEL"], (json{{"index", 2}, {"item", "0010"}, {"name", "0010"}}));
  EXPECT_EQ(told["fields"]["LOCK"],
            (json{{"index", 2}, {"item", "プロテクトなし"}, {"name", "none"}}));
  EXPECT_EQ(told["fields"].size(), 5U);
  EXPECT_EQ(told["bytes"], (json{{"Fuse", 0xD2}, {"Lock", 0xFF}}));
  EXPECT_EQ(told["calibration"], json({0x6B}));
}

TEST_F(Cli, ReadFusesTakesNoLockModeForBitsThatStandForNone) {
  Put("state", "fenwright-board-state 1\nchip ATtiny12L\nlock 1\n");
  BoardProgram board("ATtiny12L", {"--state", Path("state")});
  EXPECT_THAT(On(board, "read-fuses"), AllOf(Ends(0), Prints("LOCK       no item stands for these "
                                                             "bits\n"
                                                             "bytes      Fuse 0xD2  Lock 0xFB\n")));
  EXPECT_EQ(On(board, "--json read-fuses").Json()["fields"]["LOCK"],
            (json{{"index", -1}, {"item", ""}, {"name", ""}}));
}

TEST_F(Cli, ReadFusesOfADeviceThatGivesNoneAwaySendsNothing) {
  BoardProgram board("AT90S8515");
  EXPECT_THAT(On(board, "read-fuses"),
              AllOf(Ends(2), Warns("the fuse and lock bits of AT90S8515 cannot be read")));
  EXPECT_TRUE(board.Wire().empty());
}

TEST_F(Cli, WriteFusesReadsFirstChangesTheNamedFieldsAndWritesLikeTheButton) {
  BoardProgram board("ATtiny26L");
  EXPECT_THAT(On(board, "write-fuses cksel=0100 BODEN=enable SUT=3"),
              AllOf(Ends(0),
                    Prints("old: Fuse 0xE1  High 0xF7  Lock 0xFF\n"
                           "  BODEN: Disable -> Enable\n"
                           "  CKSEL: 0001 -> 0100\n"
                           "  SUT: 10 -> 11\n"
                           "new: Fuse 0xF4  High 0xF6  Lock 0xFF\n"),
                    Prints("ok: fuse and lock bits written and read back in ")));
  // Read twice, written as by the button, read back.
  BoardRun run("ATtiny26L");
  ops::RunCommand(run.Context, ops::cmdFuseRead_Click);
  ops::RunCommand(run.Context, ops::cmdFuseRead_Click);
  run.Fuses.Select(FuseList::Cksel, 4);
  run.Fuses.Select(FuseList::Boden, 0);
  run.Fuses.Select(FuseList::Sut, 3);
  ops::RunCommand(run.Context, ops::cmdFuseWrite_Click);
  ops::RunCommand(run.Context, ops::cmdFuseRead_Click);
  EXPECT_EQ(board.Wire(), run.Wire);

  EXPECT_THAT(On(board, "read-fuses"), Prints("bytes      Fuse 0xF4  High 0xF6  Lock 0xFF\n"));
  // What is not named now keeps what the chip has.
  EXPECT_THAT(On(board, "write-fuses CKOPT=0"), Prints("new: Fuse 0xB4  High 0xF6  Lock 0xFF\n"));
  EXPECT_THAT(On(board, "write-fuses --from-defaults PLLCK=0"),
              AllOf(Ends(0), Prints("new: Fuse 0x61  High 0xF7  Lock 0xFF\n")));
}

TEST_F(Cli, WriteFusesOfADeviceThatCannotBeReadStartsFromTheDefaults) {
  BoardProgram board("AT90S8515");
  EXPECT_THAT(
      On(board, "write-fuses LOCK=write"),
      AllOf(Ends(0), Prints("old: cannot be read on this device"), Prints("new: Lock 0xFD\n")));
  BoardRun run("AT90S8515");
  run.Fuses.Select(FuseList::Lock, 1);
  ops::RunCommand(run.Context, ops::cmdFuseWrite_Click);
  EXPECT_EQ(board.Wire(), run.Wire);
}

TEST_F(Cli, AnItemWithoutBitsOfItsOwnIsToldBeforeItIsWritten) {
  const std::string note = "  CKSEL: 00 is written as 10\n";
  const auto dry_run = [&](const std::string& device, const std::string& field) {
    return Simulate("write-fuses --dry-run " + field, device);
  };
  const auto says_nothing = Prints(Not(HasSubstr("is written as")));
  // The chip comes with "00", and writing any other field writes that field too.
  EXPECT_THAT(dry_run("ATtiny15L", "BODEN=Enable"),
              Prints("old: Fuse 0xDC  Lock 0xFF\n  BODEN: Disable -> Enable\n" + note +
                     "new: Fuse 0x96  Lock 0xFF\n"));
  EXPECT_THAT(dry_run("ATtiny15L", "CKSEL=01"), Prints("  CKSEL: 01 is written as 11\n"));
  EXPECT_THAT(dry_run("ATtiny15L", "CKSEL=10"), says_nothing);
  EXPECT_THAT(dry_run("ATtiny26L", "CKSEL=0011"), says_nothing);
  EXPECT_THAT(dry_run("AT90S4433", "LOCK=write"), says_nothing);
  EXPECT_THAT(dry_run("AT90S2323", "FSTRT=1"), says_nothing);
}

TEST_F(Cli, WriteFusesAsJsonTellsWhatElseComesOfIt) {
  const json dry = Simulate("--json write-fuses --dry-run BODEN=Enable", "ATtiny15L").Json();
  EXPECT_EQ(dry["changes"], json::array({"BODEN: Disable -> Enable"}));
  EXPECT_EQ(dry["notes"], json::array({"CKSEL: 00 is written as 10"}));
}

TEST_F(Cli, ALockedDeviceIsSaidToKeepItsFuseBits) {
  const std::string note = "  the device is locked: it keeps its fuse bits until it is erased\n";
  BoardProgram board("ATtiny12L");
  EXPECT_THAT(On(board, "write-fuses LOCK=write"), AllOf(Ends(0), Prints(Not(HasSubstr(note)))));
  EXPECT_THAT(On(board, "write-fuses CKSEL=4"),
              AllOf(Ends(1), Prints(note),
                    Warns("CKSEL: written 0100, read back 0010; a locked device keeps its bits")));
  EXPECT_THAT(On(board, "write-fuses LOCK=write"),
              AllOf(Ends(0), Prints("old: Fuse 0xD2"), Prints(Not(HasSubstr(note)))));
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
    EXPECT_THAT(Simulate({"write-fuses", "--dry-run", "LOCK=" + item}, "AT90S2313"),
                AllOf(Ends(0), Prints("new: Lock " + byte + "\n")))
        << item;
  }
}

TEST_F(Cli, ADryRunWritesNothing) {
  BoardProgram board("ATtiny12L");
  EXPECT_THAT(On(board, "write-fuses --dry-run CKSEL=15"),
              AllOf(Ends(0), Prints("new: Fuse 0xDF  Lock 0xFF\nok: nothing was written")));
  const Bytes wire = board.Wire();
  EXPECT_EQ(std::ranges::count(wire, 'u'), 0);
  EXPECT_EQ(std::ranges::count(wire, 'r'), 2);
}

TEST_F(Cli, AFuseByteThatTheLineChangedIsNotTrusted) {
  // The answer to the first "r" is the eleventh.
  EXPECT_THAT(Simulate("--simulate-fault flip@11:80 read-fuses"),
              AllOf(Ends(1), Warns("two readings of the device differ: Fuse 0x52, then 0xD2")));
  BoardProgram board("ATtiny12L", {"--fault", "flip@11:80"});
  EXPECT_THAT(On(board, "write-fuses CKSEL=4"),
              AllOf(Ends(1), Warns("Fuse 0x52, then 0xD2"), Warns("; nothing was written")));
  EXPECT_EQ(std::ranges::count(board.Wire(), 'u'), 0);
  const json told = Simulate("--json --simulate-fault flip@11:80 read-fuses").Json();
  EXPECT_EQ(told["exit_code"], 1);
  EXPECT_THAT(told["error"]["text"], HasSubstr("Fuse 0x52, then 0xD2"));
}

TEST_F(Cli, AFuseWriteThatIsAcknowledgedAndNotCarriedOutFails) {
  EXPECT_THAT(Simulate("--simulate-fault lie@1 write-fuses CKSEL=4"),
              AllOf(Ends(1), Warns("CKSEL: written 0100, read back 0010")));
  const json told = Simulate("--json --simulate-fault lie@1 write-fuses CKSEL=4").Json();
  EXPECT_EQ(told["exit_code"], 1);
  EXPECT_EQ(told["read_back"], (json{{"Fuse", 0xD2}, {"Lock", 0xFF}}));
}

TEST_F(Cli, ALockThatIsAcknowledgedAndNotTakenFails) {
  // Of a device that gives its bits away the fuse byte is written first.
  for (const auto& [device, write] : {std::pair{"ATtiny12L", "2"}, {"AT90S8515", "1"}}) {
    BoardProgram board(device, {"--fault", std::string("lie@") + write});
    const CliResult told = On(board, "--json write-fuses LOCK=write-verify", device);
    EXPECT_THAT(told, AllOf(Ends(1), Warns("written write-verify, and the device is not locked")));
    EXPECT_EQ(told.Json()["error"]["code"], "fuses-differ");
    EXPECT_EQ(told.Json()["read_back"], "failed");
    EXPECT_THAT(On(board, "write-fuses LOCK=write-verify", device), Ends(0));
    EXPECT_THAT(On(board, "read", device), Ends(1));
  }
}

TEST_F(Cli, ADeviceThatDoesNotAnswerAfterItsLockIsNotSaidToBeLocked) {
  // Where the last command is sent, which asks for the signature.
  std::size_t last = 0;
  {
    BoardProgram board("ATtiny12L");
    ASSERT_THAT(On(board, "write-fuses LOCK=write-verify"), Ends(0));
    last = board.Wire().size();
  }
  BoardProgram board("ATtiny12L", {"--fault", "hangup@" + std::to_string(last - 2)});
  const CliResult told = On(board, "--json write-fuses LOCK=write-verify");
  EXPECT_THAT(told, AllOf(Ends(1), Warns("does not tell whether it is locked")));
  EXPECT_EQ(told.Json()["error"]["code"], "not-read-back");
}

TEST_F(Cli, FuseBitsThatCanNoLongerBeReadAreNotReadBack) {
  EXPECT_THAT(Simulate("write-fuses LOCK=write-verify"),
              AllOf(Ends(0), Prints("not read back: the device is locked against reading")));
  EXPECT_THAT(Simulate("write-fuses --allow-reset-disable RSTDISABL=0"),
              AllOf(Ends(0), Prints("not read back: the device can no longer be reached")));
  EXPECT_THAT(Simulate("write-fuses LOCK=write", "AT90S8515"),
              AllOf(Ends(0), Prints("not read back: this device gives none of them away")));
  EXPECT_THAT(Simulate("write-fuses LOCK=write-verify", "AT90S8515"),
              AllOf(Ends(0), Prints("not read back: this device gives none of them away")));
}

TEST_F(Cli, AReadWithVerifyReadsTwiceAndSavesWhatBothGave) {
  EXPECT_THAT(Simulate("read --verify --code good.hex"), Ends(0));
  EXPECT_TRUE(IsThere("good.hex"));
  // The answer to the first "R" is the twelfth.
  EXPECT_THAT(Simulate("--simulate-fault flip@12:10 read --verify --code out.hex"),
              AllOf(Ends(1), Warns("two readings of the device differ: flash word 0x0000: EFFF, "
                                   "then FFFF")));
  EXPECT_FALSE(IsThere("out.hex"));
}

TEST_F(Cli, GivingTheResetPinAwayNeedsToBeAllowed) {
  const std::string warning = "with the reset pin as an I/O pin this programmer can never reach";
  for (const std::string device : {"ATtiny12L", "ATtiny15L", "ATtiny26L"}) {
    SCOPED_TRACE(device);
    BoardProgram board(device);
    for (const std::string item : {"0", device == "ATtiny26L" ? "PB7:I/O" : "PB5:I/O"}) {
      EXPECT_THAT(On(board, "write-fuses RSTDISABL=" + item), AllOf(Ends(2), Warns(warning)));
      EXPECT_TRUE(board.Wire().empty());
    }
    EXPECT_THAT(On(board, "write-fuses --allow-reset-disable RSTDISABL=0"), Ends(0));
    EXPECT_THAT(On(board, "read-fuses"), Ends(1));
  }
}

TEST_F(Cli, AFieldOrAnItemThatDoesNotExistIsRefusedBeforeAnythingIsSent) {
  BoardProgram board("ATtiny12L");
  const std::vector<std::pair<std::string, std::string>> rows{
      {"SUT=10", "its fields are CKSEL BODEN BODLEVEL RSTDISABL LOCK"},
      {"CKSEL=16", "its items are\n  0  0000\n"},
      {"CKSEL=-1", "no such item"},
      {"CKSEL=011", "no such item"},  // not the eleventh: it is meant as bits
      {"BODEN=00", "no such item"},
      {"BODEN=on", "  0  Enable\n  1  Disable\n"},
      {"CKSEL", "write it as FIELD=ITEM"},
      {"CKSEL=1 cksel=2", "given twice"},
      {"", "name what to write as FIELD=ITEM, or --from-defaults"}};
  for (const auto& [fields, complaint] : rows) {
    EXPECT_THAT(On(board, "write-fuses " + fields), AllOf(Ends(2), Warns(complaint)));
  }
  EXPECT_TRUE(board.Wire().empty());
}

TEST_F(Cli, WriteFusesAsJsonTellsOldAndNewBytes) {
  const CliResult result = Simulate("--json write-fuses FSTRT=Enable LOCK=write", "AT90S2323");
  EXPECT_THAT(result, Ends(0));
  const json told = result.Json();
  EXPECT_EQ(told["command"], "write-fuses");
  EXPECT_EQ(told["old_bytes"], (json{{"Lock/Fuse", 0xDF}}));
  EXPECT_EQ(told["new_bytes"], (json{{"Fuse", 0xBE}, {"Lock", 0xFD}}));
  EXPECT_EQ(told["changes"], (json{"FSTRT: Disable -> Enable", "LOCK: none -> write"}));
  EXPECT_EQ(told["notes"], json::array());
  EXPECT_EQ(told["written"], true);
  const json dry = Simulate("--json write-fuses --dry-run FSTRT=0", "AT90S2323").Json();
  EXPECT_EQ(dry["written"], false);
  EXPECT_EQ(dry["exit_code"], 0);
}

TEST_F(Cli, AFirstReadThatFailsEndsAFuseWrite) {
  // The answer to "r" is the eleventh.
  EXPECT_THAT(Simulate("--simulate-fault drop@11 write-fuses CKSEL=1"),
              AllOf(Ends(1), Warns("no fuse or lock bits read"), Prints(Not(HasSubstr("new: ")))));
}

TEST_F(Cli, TheOtherCommandsFailWithTheSameExitCodes) {
  PutCode({0x0C, 0x94});
  for (const std::string command :
       {"read", "erase", "verify code.hex", "read-fuses", "write-fuses CKSEL=1"}) {
    EXPECT_THAT(Simulate("--simulate-fault silent " + command), Ends(3)) << command;
    EXPECT_THAT(Simulate("--simulate-fault drop@8 " + command), Ends(1)) << command;
  }
}

TEST_F(Cli, ADumpNeedsNoProgrammerAndPrintsTheFlash) {
  PutCode({0x41, 0x42});
  const CliResult result = Run("--device ATtiny12L dump code.hex");
  EXPECT_THAT(result, AllOf(Ends(0), Warns(IsEmpty()),
                            Prints(StartsWith("0000: 4241 FFFF FFFF FFFF FFFF FFFF FFFF FFFF "
                                              "BA･･････････････\n0008: "))));
  EXPECT_EQ(std::ranges::count(result.Out, '\n'), 64);
}

TEST_F(Cli, ADumpIsJsonToo) {
  PutCode({0x41, 0x42});
  const CliResult result = Run("--json --device ATtiny12L dump code.hex");
  EXPECT_THAT(result, Ends(0));
  const json told = result.Json();
  EXPECT_EQ(told["result"], "ok");
  EXPECT_THAT(told["dump"], StartsWith("0000: 4241 FFFF "));
  const CliResult failed = Run("--json --device ATtiny99 dump code.hex");
  EXPECT_THAT(failed, Ends(2));
  EXPECT_EQ(failed.Json()["exit_code"], 2);
}

TEST_F(Cli, ADumpPrintsTheDataFileThatGoesWithTheCodeToo) {
  PutCode({0x41, 0x42});
  Put("code.eep", ":020000001234B8\r\n:00000001FF\r\n");
  EXPECT_THAT(Run("--device ATtiny12L dump code.hex"),
              AllOf(Ends(0), Prints(StartsWith("0000: 4241 FFFF ")),
                    Prints("\n\n0000: 12 34 FF FF FF FF FF FF FF FF FF FF FF FF FF FF ･4･")));
  EXPECT_THAT(Run("--device ATtiny12L dump code.hex --no-data"), Prints(Not(HasSubstr("12 34"))));
  const json told = Run("--json --device ATtiny12L dump code.hex").Json();
  EXPECT_EQ(told["files"]["data"], "code.eep");
  EXPECT_THAT(told["eeprom_dump"], StartsWith("0000: 12 34 FF "));
}

TEST_F(Cli, ADumpOfAFileThatCannotBeReadPrintsNoDump) {
  EXPECT_THAT(Run("--device ATtiny12L dump none.hex"),
              AllOf(Ends(4), Prints(IsEmpty()), Warns("none.hex: there is no such file")));
}

TEST_F(Cli, TheWireOfReadVerifyAndEraseIsThatOfTheEngine) {
  const std::vector<std::pair<const char*, ops::Entry>> rows{
      {"read", ops::Cmd_btn_read_Click},
      {"verify code.hex", ops::Cmd_btn_verify_Click},
      {"erase", ops::Cmd_btn_erase_Click}};
  PutCode({0x0C, 0x94, 0x2A, 0xC0});
  PutCode({0x11}, "code.eep");
  for (const auto& [line, command] : rows) {
    const BoardProgram board("ATtiny26L");
    On(board, line);
    BoardRun run("ATtiny26L");
    run.LoadImage({0x0C, 0x94, 0x2A, 0xC0}, {0x11});
    ops::RunCommand(run.Context, command);
    EXPECT_EQ(board.Wire(), run.Wire) << line;
  }
}

TEST_F(Cli, FilesOfOtherToolsLoadAndOtherToolsLoadOurs) {
  // A record of odd length, LF line ends, and the record types that are read past.
  Put("tool.hex",
      ":020000020000FC\n:0400000300000000F9\n:020000040000FA\n:0400000500000000F7\n"
      ":030000000C942A33\n:00000001FF\n");
  BoardProgram board("ATtiny12L");
  ASSERT_THAT(On(board, "program tool.hex"), Ends(0));
  EXPECT_EQ(board.Dump().substr(0, 4), "\x0C\x94\x2A\xFF");
  ASSERT_THAT(On(board, "read --code ours.hex"), Ends(0));
  ASSERT_THAT(Finish(Process({"srec_cat", Path("ours.hex"), "-intel", "-output", Path("ours.bin"),
                              "-binary"})),
              Ends(0));
  EXPECT_EQ(Get("ours.bin"), board.Dump().substr(0, 1024));
}

/// A small firmware: a few words, the lone word below the top one, the top word, which is not sent,
/// and the version that the board gives afterwards.
std::string Firmware(const std::string& version_line) {
  return HexRecord(0, {0x0C, 0x94, 0x2A, 0x00}) + HexRecord(0x3FFC, {1, 2, 3, 4}) +
         HexRecord(0x3FC0, {version_line.begin(), version_line.end()}) + kEndRecord;
}

constexpr const char* kNewVersion = "KV-LOD350  V6.40\r\n";
constexpr int kFirmwareWords = 2 + 1 + 9;

class CliUpdate : public Cli {
 protected:
  CliUpdate() { Put("fw.hex", Firmware(kNewVersion)); }

  CliResult Update(const std::string& options = "--yes") {
    return OnPort("update-firmware fw.hex " + options);
  }
  CliResult Version() { return OnPort("board-version"); }
  CliResult OnPort(const std::string& line) { return Run("--port " + board_->Link() + " " + line); }

  /// Another board in the place of the one before.
  void GivenBoard(std::vector<std::string> options) {
    board_ = std::make_unique<BoardProgram>("AT90S8515", std::move(options));
  }

  std::unique_ptr<BoardProgram> board_ = std::make_unique<BoardProgram>("AT90S8515");
};

TEST_F(CliUpdate, BoardVersionPrintsTheWholeLineAndNothingElse) {
  EXPECT_THAT(Version(),
              AllOf(Ends(0), Prints(::testing::Eq("KV-LOD350  V6.38\n")), Warns(IsEmpty())));
  EXPECT_EQ(board_->Wire(), Bytes{'?'});
}

TEST_F(CliUpdate, ReplacesTheFirmwareAndTheBoardGivesItsVersion) {
  EXPECT_THAT(Update(),
              AllOf(Ends(0), Warns(StartsWith("updating the board: do not switch it off\n")),
                    Prints(StartsWith("file: fw.hex\nsize: 104 bytes\nwords to send: 12\n"
                                      "words to skip: 1\ncurrent version: KV-LOD350  V6.38\n")),
                    Prints("ok: firmware updated, 12 words in ")));
  const Bytes wire = board_->Wire();
  ASSERT_EQ(wire.size(), 1U + 1 + 4 * kFirmwareWords + 4);
  EXPECT_EQ(ToHex(Bytes(wire.begin(), wire.begin() + 14)),
            "3F 55 00 00 94 0C 00 01 00 2A 1F FE 02 01");
  EXPECT_EQ(ToHex(Bytes(wire.end() - 4, wire.end())), "FF FF FF FF");
  EXPECT_EQ(Version().Out, "KV-LOD350  V6.40\n");
}

TEST_F(CliUpdate, AsksAndTakesOnlyYes) {
  for (const auto& [answer, code] :
       {std::pair<std::string, int>{"n", 1}, {"", 1}, {"yesterday", 1}, {"y", 0}}) {
    EXPECT_THAT(Finish(Shell("echo '" + answer + "' | \"$CLI\" --port '" + board_->Link() +
                             "' update-firmware fw.hex")),
                AllOf(Ends(code), Warns("Do not switch the board off until it is done.\n")))
        << answer;
    EXPECT_EQ(std::ranges::count(board_->Wire(), 'U') > 0, code == 0) << answer;
  }
}

TEST_F(CliUpdate, RefusesAFileThatChangesWhileItAsks) {
  EXPECT_THAT(Finish(Shell("(sleep 2; echo broken > fw.hex; echo y) | \"$CLI\" --port '" +
                           board_->Link() + "' update-firmware fw.hex")),
              AllOf(Ends(4), Warns("error: fw.hex: has changed since it was checked\n")));
  EXPECT_EQ(board_->Wire(), Bytes{'?'});
}

TEST_F(CliUpdate, ADryRunAsksForNoMoreThanTheVersion) {
  EXPECT_THAT(Update("--dry-run"), AllOf(Ends(0), Prints("words to send: 12\n"),
                                         Prints("current version: KV-LOD350  V6.38\n")));
  EXPECT_EQ(board_->Wire(), Bytes{'?'});
  EXPECT_THAT(Run("update-firmware fw.hex --dry-run"),
              AllOf(Ends(0), Prints(Not(HasSubstr("version")))));
}

TEST_F(CliUpdate, RefusesWhatCanBeNoFirmwareBeforeTheBoardHearsOfIt) {
  const std::vector<std::pair<const char*, std::string>> files{
      {":00000001FF\r\n", "fw.hex: has no data record"},
      {":020000000102FB\r\nGarbage\r\n", "fw.hex: line 2 is not a whole Intel HEX record"},
      {":020000000102FB\r\n:020002000304F6\r\n", "fw.hex: line 2 has a wrong checksum"},
      {":020000000102FB\r\n", "fw.hex: has no end record"}};
  for (const auto& [content, complaint] : files) {
    Put("fw.hex", content);
    EXPECT_THAT(Update(), AllOf(Ends(4), Warns(StartsWith("error: " + complaint)),
                                Warns("\nnothing was sent to the board\n")));
  }
  fs::remove(Path("fw.hex"));
  EXPECT_THAT(Update(), Ends(4));
  EXPECT_EQ(board_->Wire(), Bytes{});
}

TEST_F(CliUpdate, WarnsOfAnOddByteCountAndSendsItAllTheSame) {
  Put("fw.hex", ":0300000011223397\r\n:00000001FF\r\n");
  EXPECT_THAT(Update(),
              AllOf(Ends(0), Warns(StartsWith("warning: fw.hex: line 1 has an odd number of"))));
}

TEST_F(CliUpdate, FailuresSayWhatFirmwareTheBoardIsLeftWith) {
  // Reply 1 is the version, the others are sums.
  for (const auto& [fault, text] :
       {std::pair{"drop@4", "error: the update failed at address 0x1FFE Data=0x21\n"},
        {"flip@4", "error data = 0x"}}) {
    GivenBoard({"--fault", fault});
    EXPECT_THAT(Update(), AllOf(Ends(1), Warns(text),
                                Warns("\nfailed: the board's firmware is incomplete: ")));
    EXPECT_THAT(Update(), Ends(0)) << "again, without switching off";
  }
}

TEST_F(CliUpdate, AfterAPowerCutTheBoardGivesNoVersionAndIsUpdatedAllTheSame) {
  GivenBoard({"--fault", "powercut@12"});
  EXPECT_THAT(Update(), Ends(1));
  EXPECT_THAT(Version(), AllOf(Ends(3), Prints(IsEmpty()), Warns("no board gives its version")));
  EXPECT_THAT(Update(), AllOf(Ends(0), Prints("current version: none")));
  EXPECT_EQ(Version().Out, "KV-LOD350  V6.40\n");
}

TEST_F(CliUpdate, AnotherDeviceOnThePortIsRefusedAndHearsNoMore) {
  GivenBoard({"--version-line", "$GPGGA,123519,4807.038,N"});
  EXPECT_THAT(Update(), AllOf(Ends(3), Warns("which is no supported programmer"),
                              Warns("nothing was sent but the question for the version")));
  EXPECT_EQ(board_->Wire(), Bytes{'?'});
}

TEST_F(CliUpdate, WithoutAPortOrABoardTheExitCodeIsThree) {
  for (const std::string command : {"board-version", "update-firmware fw.hex --yes"}) {
    for (const std::string port :
         {"", "--port /nowhere/tty ", "--simulate --simulate-fault silent "}) {
      EXPECT_THAT(Run(port + command), AllOf(Ends(3), Warns("error: "))) << port << command;
    }
  }
}

TEST_F(CliUpdate, CtrlCEndsItAfterTheRunningExchange) {
  GivenBoard({"--baud", "9600"});
  PutCode(FullImage(4096, 4), "fw.hex");
  Process process(
      {FENWRIGHT_CLI_PROGRAM, "--port", board_->Link(), "update-firmware", "fw.hex", "--yes"},
      {.Folder = folder_.Path().string()});
  for (int i = 0; i < 500 && board_->Wire().size() < 100; ++i) std::this_thread::sleep_for(10ms);
  process.Signal(SIGINT);
  EXPECT_EQ(process.Wait(), 130) << process.Errors();
  EXPECT_THAT(process.Errors(), HasSubstr("error: stopped: the board's firmware is incomplete"));
  const Bytes wire = board_->Wire();
  EXPECT_EQ(wire.size() % 4, 2U) << "? and U, and whole frames";
  EXPECT_NE(ToHex(Bytes(wire.end() - 4, wire.end())), "FF FF FF FF");
}

TEST_F(CliUpdate, TheResultIsThereAsJson) {
  const json told = Update("--yes --json").Json();
  EXPECT_EQ(told["result"], "ok");
  EXPECT_EQ(told["exit_code"], 0);
  EXPECT_EQ(told["board_version"], "KV-LOD350  V6.38");
  EXPECT_EQ(told["words_sent"], 12);
  EXPECT_EQ(told["words_to_skip"], 1);
  const CliResult version = OnPort("--json board-version");
  EXPECT_EQ(version.Json()["board_version"], "KV-LOD350  V6.40")
      << ::testing::PrintToString(version);
}

}  // namespace
}  // namespace fenwright::testing
