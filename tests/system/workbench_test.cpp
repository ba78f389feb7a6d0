// The same job many times: serial numbers, job files, several boards, chip after chip.

#include <csignal>

#include "fenwright-cli/boards.h"
#include "platform/system/system_port_infos.h"
#include "system/cli_run.h"

namespace fenwright::testing {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

constexpr const char* kChip = "ATtiny12L";
const Bytes kFlash{0x0C, 0x94, 0xFF, 0xCF};

class Workbench : public CliTest {
 protected:
  Workbench() { PutCode(kFlash); }

  /// A job file with these keys besides those that it has to have.
  void PutJob(const std::string& more = "", const std::string& device = kChip) const {
    Put("job.json", R"({"fenwright_job": 1, "device": ")" + device + R"(", "code": "code.hex")" +
                        (more.empty() ? "" : ", " + more) + "}");
  }
  static CliResult Wait(Process& process) {
    const int code = process.Wait();
    return {.Code = code, .Out = process.Output(), .Err = process.Errors()};
  }
  CliResult OnPort(const BoardProgram& board, const Words& command) {
    return Run(Words{"--port", board.Link()} + command);
  }
  /// A call that goes on beside the test.
  std::unique_ptr<Process> Start(const Words& words,
                                 const Words& program = {FENWRIGHT_CLI_PROGRAM}) {
    return std::make_unique<Process>(program + words,
                                     Process::Setup{.Folder = folder_.Path().string()});
  }
  /// The program, in which no file can grow beyond that many bytes.
  static Words WithRoomFor(std::size_t bytes) {
    return Words{"prlimit", "--fsize=" + std::to_string(bytes), FENWRIGHT_CLI_PROGRAM};
  }
  /// A call that gets a line of input for each stroke of the Enter key.
  CliResult WithStrokes(int strokes, const Words& words,
                        const Words& program = {FENWRIGHT_CLI_PROGRAM}) {
    std::string line = "printf '";
    for (int i = 0; i < strokes; ++i) line += "\\n";
    line += "' | exec \"$0\" \"$@\"";
    Process process(Words{"sh", "-c", line} + program + words, {.Folder = folder_.Path().string()});
    return Wait(process);
  }
  /// A board at a port of the test's own, to be pulled and put back.
  std::unique_ptr<Process> Board(const std::string& port, const std::vector<std::string>& more = {},
                                 const std::string& chip = kChip) {
    std::vector<std::string> command{FENWRIGHT_BOARD_PROGRAM, "--device", chip, "--link",
                                     Path(port)};
    command.insert(command.end(), more.begin(), more.end());
    if (std::ranges::find(more, "--baud") == more.end()) {
      command.insert(command.end(), {"--baud", "0"});
    }
    auto board = std::make_unique<Process>(command);
    EXPECT_TRUE(WaitForFile(Path(port))) << board->Errors();
    return board;
  }
  /// Waits until a file has a text.
  [[nodiscard]] bool Comes(const std::string& file, const std::string& text, double seconds = 30) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (std::chrono::steady_clock::now() < end) {
      if (IsThere(file) && Get(file).find(text) != std::string::npos) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
  }
  [[nodiscard]] std::vector<std::string> Rows(const std::string& file = "shift.csv") const {
    std::istringstream lines(Get(file));
    std::vector<std::string> rows;
    for (std::string line; std::getline(lines, line);) rows.push_back(line);
    EXPECT_FALSE(rows.empty());
    EXPECT_EQ(rows.front(),
              "time,board,device,signature,serial,image_crc32,fuses,result,error,seconds");
    rows.erase(rows.begin());
    return rows;
  }
  /// A record of the job that is longer than a row by far: where no file can grow beyond it there
  /// is room for the rows that are open, and none in the record.
  [[nodiscard]] std::string LongRecord() {
    EXPECT_THAT(Run("--simulate run job.json"), Ends(0));
    std::string record = Get("shift.csv");
    const std::string row = Rows().at(0) + "\n";
    while (record.size() < 1000) record += row;
    Put("shift.csv", record);
    return record;
  }
  [[nodiscard]] std::vector<std::string> OpenRows() const {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.Path())) {
      if (entry.path().extension() == ".open") files.push_back(entry.path().string());
    }
    return files;
  }
};

// Numbers in the image.

TEST_F(Workbench, ASerialNumberGoesIntoTheChip) {
  const BoardProgram board(kChip);
  const Words call("program code.hex --serial flash:0x3FC=next:4:big --counter numbers.txt");
  const CliResult first = On(board, Words("--json") + call + Words("--counter-start 305419896"));
  EXPECT_THAT(first, Ends(0));
  EXPECT_EQ(first.Json()["serial"], 0x12345678);
  EXPECT_EQ(board.Dump().substr(0x3FC, 4), "\x12\x34\x56\x78");
  EXPECT_THAT(On(board, call), Ends(0));
  EXPECT_EQ(board.Dump().substr(0x3FC, 4), "\x12\x34\x56\x79");
  EXPECT_THAT(Get("numbers.txt"), EndsWith("\nused 305419897\n"));
}

TEST_F(Workbench, ACalibrationByteGoesIntoTheChip) {
  const BoardProgram board(kChip);
  const auto fuses = On(board, "--json read-fuses").Json();
  const CliResult result = On(board, "--json program code.hex --osccal eeprom:0x01");
  EXPECT_THAT(result, Ends(0));
  EXPECT_EQ(result.Json()["osccal"], fuses["calibration"][0]);
  EXPECT_EQ(static_cast<std::uint8_t>(board.Dump().at(1024 + 1)), fuses["calibration"][0]);
}

TEST_F(Workbench, TheNumberOfAChipThatFailsIsMarked) {
  const BoardProgram board(kChip, {"--fault", "stuck@flash:0:0=1"});
  EXPECT_THAT(On(board,
                 "program code.hex --serial flash:0x3FC=next --counter n.txt "
                 "--counter-start 1"),
              Ends(1));
  EXPECT_THAT(Get("n.txt"), EndsWith("\nfailed 1\n"));
}

TEST_F(Workbench, NumbersThatCannotBeHadAreSaidBeforeAnythingIsSent) {
  Put("used-up.txt", "fenwright-counter 1\nfirst 256\n");
  Put("damaged.txt", "numbers\n");
  const BoardProgram board(kChip);
  const std::string next = "--serial flash:0x3FC=next:1";
  for (const auto& [options, code] : std::map<std::string, std::pair<int, std::string>>{
           {next, {2, "usage"}},
           {"--serial flash:0x3FC=7 --counter n.txt", {2, "usage"}},
           {next + " --counter missing.txt", {4, "counter-missing"}},
           {next + " --counter used-up.txt", {4, "numbers-used-up"}},
           {next + " --counter damaged.txt", {4, "counter-damaged"}},
           {next + " --counter used-up.txt --counter-start 1", {4, "file-exists"}},
           {"--serial flash:0x3FD=7", {4, "no-room"}},
           {"--serial flash:0x0000=7", {4, "no-room"}},
           {"--serial eeprom:0x40=7:1", {4, "no-room"}},
           {"--osccal eeprom:0x40", {4, "no-room"}},
           {"--osccal eeprom:0x00=1", {2, "no-calibration"}},
           {"--keep-eeprom --serial eeprom:0x00=7", {2, "usage"}},
           {"--keep-eeprom --osccal eeprom:0x00", {2, "usage"}},
           {"--osccal flash:0x3FC --serial flash:0x3FC=7", {4, "no-room"}}}) {
    const CliResult result = On(board, Words("--json program code.hex") + Words(options));
    EXPECT_THAT(result, Ends(code.first)) << options;
    EXPECT_EQ(result.Json()["error"]["code"], code.second) << options;
  }
  EXPECT_THAT(board.Wire(), IsEmpty());
}

TEST_F(Workbench, ANumberThatCannotBeKeptIsNotUsed) {
  Put("n.txt", "fenwright-counter 1\nfirst 1\n");
  const BoardProgram board(kChip);
  // No file can grow: as on a full disc.
  Process process({"bash", "-c", "ulimit -f 0; exec \"$0\" \"$@\"", FENWRIGHT_CLI_PROGRAM, "--port",
                   board.Link(), "--device", kChip, "program", Path("code.hex"), "--serial",
                   "flash:0x3FC=next", "--counter", Path("n.txt")},
                  {.Folder = folder_.Path().string()});
  process.Wait();
  EXPECT_EQ(Get("n.txt"), "fenwright-counter 1\nfirst 1\n");
  EXPECT_EQ(Destructive(board.Wire()), "");
}

// Job files.

TEST_F(Workbench, AJobErasesProgramsThenWritesTheFusesThenTheLock) {
  PutJob(R"("fuses": {"BODEN": "Enable"}, "lock": "write-verify")");
  const BoardProgram board(kChip);
  const CliResult result = OnPort(board, "--json run job.json");
  EXPECT_THAT(result, Ends(0));
  EXPECT_EQ(result.Json()["steps_done"], json({"program", "fuses", "lock"}));
  EXPECT_EQ(result.Json()["job"]["verdict"], "pass");
  // Of both writes together.
  EXPECT_EQ(result.Json()["changes"],
            json({"BODEN: Disable -> Enable", "LOCK: none -> write-verify"}));
  EXPECT_NE(result.Json()["old_bytes"], result.Json()["new_bytes"]);
  EXPECT_EQ(result.Json()["old_bytes"]["Fuse"], 0xD2);
  const std::string sent = Destructive(board.Wire());
  EXPECT_EQ(sent.front(), 'e') << sent;
  EXPECT_EQ(sent.back(), 'l') << sent;
  EXPECT_GT(sent.find_first_of("fu"), sent.find_last_of("cCD")) << sent;
  EXPECT_EQ(board.Dump().substr(0, 4), std::string("\x0C\x94\xFF\xCF", 4));
}

TEST_F(Workbench, AChipThatDoesNotTakeItsLockFails) {
  PutJob(R"("fuses": {"BODLEVEL": "2.7V"}, "lock": "write-verify", "record": "shift.csv")");
  std::string writes;
  {
    const BoardProgram board(kChip);
    ASSERT_THAT(OnPort(board, "run job.json"), Ends(0));
    writes = Destructive(board.Wire());
  }
  // The lock bits are the last thing that is written; the erase is no write.
  const BoardProgram board(
      kChip, {"--fault", "lie@" + std::to_string(writes.size() - 1), "--state", Path("state")});
  std::filesystem::remove(Path("shift.csv"));
  const CliResult result = OnPort(board, "run job.json");
  EXPECT_THAT(result, AllOf(Ends(1), Warns("the device is not locked")));
  ASSERT_THAT(Rows(), SizeIs(1));
  EXPECT_THAT(Rows()[0], HasSubstr(",fail,fuses-differ,"));
  EXPECT_THAT(Get("state"), HasSubstr("\nlock 3\n"));
}

TEST_F(Workbench, WhatAJobSaysOfTheBitsAgreesWithItself) {
  PutJob(R"("fuses": {"BODLEVEL": "2.7V"}, "lock": "write-verify")");
  const BoardProgram board(kChip);
  const CliResult result = OnPort(board, "--verbose run job.json");
  EXPECT_THAT(result.Out + result.Err,
              AllOf(HasSubstr("the fuse bits written; fuse and lock bits written"),
                    Not(HasSubstr("as they were"))));
}

TEST_F(Workbench, AJobSaysInOneLineWhatItCameTo) {
  PutJob(R"("fuses": {"BODEN": "Enable"}, "lock": "write", "serial": "flash:0x3FC=9")");
  const CliResult result = Run("--simulate run job.json");
  EXPECT_THAT(result, Ends(0));
  EXPECT_THAT(result.Out, StartsWith("ok: job done: programmed, verified, fuses written, lock "
                                     "write, serial 9 in "));
  EXPECT_EQ(std::ranges::count(result.Out, '\n'), 1);
}

TEST_F(Workbench, TheLockIsWrittenWithTheFusesThatTheJobHas) {
  // The default is Enable; the chip comes with the other value than the job's.
  for (const auto& [item, old_bytes, new_bytes] :
       {std::tuple{"Enable", "DF", "DE"}, std::tuple{"Disable", "DE", "DF"}}) {
    SCOPED_TRACE(item);
    PutJob(std::string(R"("fuses": {"FSTRT": ")") + item + R"("}, "lock": "write")", "AT90S2323");
    Put("state",
        std::string("fenwright-board-state 1\nchip AT90S2323\nfuses ") + old_bytes + " FF\n");
    const BoardProgram board("AT90S2323", {"--state", Path("state")});
    const CliResult result = OnPort(board, "--json run job.json");
    EXPECT_THAT(result, Ends(0));
    EXPECT_EQ(result.Json()["steps_done"], json({"program", "fuses", "lock"}));
    EXPECT_THAT(Get("state"), HasSubstr(std::string("fuses ") + new_bytes + " FF\nlock 2\n"));
  }
}

TEST_F(Workbench, AChipThatGivesItsResetPinAwayGetsAllItsBitsInOnePass) {
  PutJob(R"("fuses": {"RSTDISABL": "PB5:I/O"}, "lock": "none", "allow_reset_disable": true)");
  const BoardProgram board(kChip, {"--state", Path("state")});
  const CliResult result = OnPort(board, "--json run job.json");
  EXPECT_THAT(result, Ends(0));
  EXPECT_EQ(result.Json()["steps_done"], json({"program", "lock"}));
  const std::string sent = Destructive(board.Wire());
  EXPECT_THAT(sent, EndsWith("ul"));
  EXPECT_EQ(std::ranges::count(sent, 'u'), 1) << sent;
  EXPECT_THAT(Get("state"), HasSubstr("fuses C2 FF\nlock 3\n"));
}

TEST_F(Workbench, AChipThatGivesItsResetPinAwayCannotBeLocked) {
  const BoardProgram board(kChip);
  const std::string reset = R"("fuses": {"RSTDISABL": "PB5:I/O"}, "allow_reset_disable": true)";
  for (const std::string mode : {"write", "write-verify"}) {
    PutJob(reset + R"(, "lock": ")" + mode + R"(")");
    for (const Words& call :
         {Words("run job.json"), Words("run job.json --plan"),
          Words("--device ATtiny12L write-fuses --allow-reset-disable RSTDISABL=0 LOCK=" + mode)}) {
      const CliResult result = OnPort(board, Words("--json") + call);
      EXPECT_THAT(result, AllOf(Ends(2), Warns("the lock bits cannot be written")));
      EXPECT_EQ(result.Json()["error"]["code"], "reset-pin");
    }
  }
  EXPECT_THAT(board.Wire(), IsEmpty());
}

TEST_F(Workbench, WhateverIsWrongWithAJobIsSaidBeforeAnythingIsSent) {
  const BoardProgram board(kChip);
  Put("other.csv", "a,b\n");
  for (const auto& [keys, code] : std::map<std::string, std::string>{
           {R"("data": "no.eep")", "file-missing"},
           {R"("fuses": {"CKSL": "00"})", "unknown-field"},
           {R"("fuses": {"BODEN": "Maybe"})", "unknown-item"},
           {R"("fuses": {"RSTDISABL": "PB5:I/O"})", "reset-pin"},
           {R"("fuses": {"LOCK": "write"})", "bad-job"},
           {R"("lock": "all")", "bad-job"},
           {R"("fuse": {})", "bad-job"},
           {R"("serial": "flash:0x0000=7")", "no-room"},
           {R"("serial": "flash:0x3FC=next", "counter": "no.txt")", "counter-missing"},
           {R"("osccal": "eeprom:0=3")", "no-calibration"},
           {R"("backup": "nowhere")", "file-missing"},
           {R"("record": "other.csv")", "file-type"},
           {R"("record": "code.hex")", "file-type"},
           {R"("record": "nowhere/shift.csv")", "file-missing"}}) {
    PutJob(keys);
    const CliResult result = OnPort(board, "--json run job.json");
    EXPECT_THAT(result, Not(Ends(0))) << keys;
    EXPECT_EQ(result.Json()["error"]["code"], code) << keys << result.Err;
  }
  EXPECT_THAT(OnPort(board, "run missing.json"), Ends(4));
  EXPECT_THAT(board.Wire(), IsEmpty());
}

TEST_F(Workbench, EveryFaultOfAJobFileIsInOneErrorWithOneCure) {
  Put("job.json", R"({"fenwright_job": 1, "device": "ATtiny", "cod": "code.hex"})");
  const CliResult result = Run("--json run job.json");
  EXPECT_THAT(result, Ends(4));
  const std::string text = result.Json()["error"]["text"];
  EXPECT_THAT(text, AllOf(HasSubstr("cod: there is no such key"), HasSubstr("device: no device"),
                          HasSubstr("code: is missing")));
  EXPECT_EQ(std::ranges::count(text, '\n'), 2);
  EXPECT_EQ(result.Err.find("cure: "), result.Err.rfind("cure: "));
}

TEST_F(Workbench, WithoutAPortNoRecordIsBegun) {
  PutJob(R"("record": "shift.csv")");
  const CliResult result = Run("run job.json");
  EXPECT_THAT(result, AllOf(Ends(3), Warns("no port")));
  EXPECT_EQ(result.Err.find("no port"), result.Err.rfind("no port"));
  EXPECT_FALSE(IsThere("shift.csv"));
}

TEST_F(Workbench, TheDeviceOfTheCallIsTheJobsInAnySpelling) {
  PutJob();
  EXPECT_THAT(Run("--device attiny12l run job.json --plan"), Ends(0));
  EXPECT_THAT(Run("--device AT90S8515 run job.json --plan"), Ends(2));
}

TEST_F(Workbench, APlanNamesTheFilesThatAreThere) {
  PutJob();
  EXPECT_THAT(Run("run job.json --plan"), Prints("check     code.hex, CRC-32"));
  Put("code.eep", ":0100000055AA\n:00000001FF\n");
  EXPECT_THAT(Run("run job.json --plan"), Prints("check     code.hex "));
  EXPECT_THAT(Run("run job.json --plan"), Prints("code.eep, CRC-32"));
}

TEST_F(Workbench, APlanSendsNothingAndNeedsNoPort) {
  MakeFolder("copies");
  PutJob(R"("fuses": {"BODEN": "Enable"}, "lock": "write", "backup": "copies",
            "serial": "flash:0x3FC=next", "counter": "n.txt", "osccal": "eeprom:0",
            "record": "shift.csv")");
  const CliResult result = Run("--json run job.json --plan --counter-start 1");
  EXPECT_THAT(result, Ends(0));
  const json told = result.Json();
  std::vector<std::string> steps;
  for (const json& step : told["plan"]) steps.push_back(step["step"]);
  EXPECT_THAT(steps, ElementsAre("check", "identify", "backup", "osccal", "serial", "erase",
                                 "write", "verify", "fuses", "lock", "record"));
  EXPECT_GT(told["plan"][6]["wire_seconds"], 0.1);
  EXPECT_FALSE(IsThere("n.txt"));
  EXPECT_FALSE(IsThere("shift.csv"));
  EXPECT_THAT(
      Run("run job.json --plan --counter-start 1"),
      Prints(AllOf(HasSubstr("512 words of flash, 1 bytes of EEPROM"),
                   HasSubstr("what the EEPROM holds is lost"), HasSubstr("; nothing was sent"))));
  PutJob(R"("keep_eeprom": true)");
  EXPECT_THAT(Run("run job.json --plan"), Prints("the EEPROM is written back"));
}

TEST_F(Workbench, ARehearsalThatFailsTouchesNeitherChipNorNumbers) {
  PutJob(R"("serial": "flash:0x3FC=next", "counter": "n.txt", "record": "shift.csv")");
  Put("n.txt", "fenwright-counter 1\nfirst 1\n");
  const CliResult result =
      Run("--json --simulate --simulate-fault stuck@flash:0:0=1 run job.json --rehearse");
  EXPECT_THAT(result, Ends(1));
  EXPECT_EQ(result.Json()["error"]["code"], "rehearsal-failed");
  EXPECT_EQ(Get("n.txt"), "fenwright-counter 1\nfirst 1\n");
  EXPECT_FALSE(IsThere("shift.csv"));
}

TEST_F(Workbench, AfterARehearsalTheJobIsRun) {
  PutJob(R"("serial": "flash:0x3FC=next", "counter": "n.txt")");
  const BoardProgram board(kChip);
  const CliResult result = OnPort(board, "run job.json --rehearse --counter-start 1");
  EXPECT_THAT(result, Ends(0));
  EXPECT_THAT(result, Warns("rehearsal: the job went well"));
  EXPECT_EQ(board.Dump().substr(0x3FC, 4), std::string("\x01\0\0\0", 4));
}

TEST_F(Workbench, AnotherChipThanTheJobsIsLeftAlone) {
  PutJob();
  const BoardProgram board("ATtiny15L");
  const CliResult result = OnPort(board, "--json run job.json");
  EXPECT_THAT(result, Ends(1));
  EXPECT_EQ(result.Json()["error"]["code"], "wrong-chip");
  EXPECT_EQ(Destructive(board.Wire()), "");
}

TEST_F(Workbench, AJobKeepsTheEeprom) {
  Put("code.eep", HexFile({0x11, 0x22}));
  const BoardProgram board(kChip);
  ASSERT_THAT(On(board, "program code.hex"), Ends(0));
  PutJob(R"("keep_eeprom": true)");
  EXPECT_THAT(OnPort(board, "run job.json"), Ends(0));
  EXPECT_EQ(board.Dump().substr(1024, 3), "\x11\x22\xFF");
}

TEST_F(Workbench, AJobsPathsStartAtItsOwnFolder) {
  MakeFolder("jobs");
  PutCode(kFlash, "jobs/code.hex");
  std::filesystem::remove(Path("code.hex"));
  Put("jobs/job.json", R"({"fenwright_job": 1, "device": "ATtiny12L", "code": "code.hex",
                           "record": "shift.csv"})");
  EXPECT_THAT(Run("--simulate run jobs/job.json"), Ends(0));
  EXPECT_THAT(Rows("jobs/shift.csv"), SizeIs(1));
}

// The record.

TEST_F(Workbench, TheRecordHasARowForEachChip) {
  PutJob(R"("record": "shift.csv", "lock": "write", "serial": "flash:0x3FC=42")");
  const BoardProgram good(kChip);
  const BoardProgram bad(kChip, {"--fault", "stuck@flash:0:0=1"});
  EXPECT_THAT(OnPort(good, "run job.json"), Ends(0));
  EXPECT_THAT(OnPort(bad, "run job.json"), Ends(1));
  const auto rows = Rows();
  ASSERT_THAT(rows, SizeIs(2));
  EXPECT_THAT(rows[0], HasSubstr("," + good.Link() + ",ATtiny12L,1E:90:05,42,"));
  EXPECT_THAT(rows[0], HasSubstr(",Fuse=0xD2 Lock=0xFD,pass,,"));
  EXPECT_THAT(rows[1], HasSubstr(",,fail,differences,"));
  EXPECT_THAT(OpenRows(), IsEmpty());
}

TEST_F(Workbench, WithoutABoardThereIsNoChipToRecord) {
  PutJob(R"("record": "shift.csv")");
  EXPECT_THAT(Run({"--port", Path("nothing"), "run", "job.json"}), Ends(3));
  EXPECT_THAT(Rows(), IsEmpty());
}

TEST_F(Workbench, AChipWhoseProgramWasKilledIsInTheRecordOfTheNextRun) {
  PutJob(R"("record": "shift.csv", "serial": "flash:0x3FC=next", "counter": "n.txt")");
  Put("n.txt", "fenwright-counter 1\nfirst 7\n");
  const auto board = Board("port", {"--baud", "57600"});
  const auto run = Start({"--port", Path("port"), "run", "job.json"});
  ASSERT_TRUE(Comes("n.txt", "taken 7"));
  while (OpenRows().empty() && run->Running()) std::this_thread::yield();
  run->Signal(SIGKILL);
  run->Wait();
  EXPECT_THAT(Rows(), IsEmpty());
  EXPECT_THAT(OpenRows(), SizeIs(1));
  EXPECT_THAT(Run({"--port", Path("port"), "run", "job.json"}), Ends(0));
  const auto rows = Rows();
  ASSERT_THAT(rows, SizeIs(2));
  EXPECT_THAT(rows[0], AllOf(HasSubstr(",7,"), HasSubstr(",interrupted,")));
  EXPECT_THAT(rows[1], AllOf(HasSubstr(",8,"), HasSubstr(",pass,")));
  EXPECT_THAT(OpenRows(), IsEmpty());
  EXPECT_THAT(Get("n.txt"), Not(HasSubstr("used 7")));
}

TEST_F(Workbench, ABoardThatIsPulledJustBeforeTheEraseLosesNeitherRowNorNumber) {
  PutJob(R"("record": "shift.csv", "serial": "flash:0x3FC=next", "counter": "n.txt")");
  Put("n.txt", "fenwright-counter 1\nfirst 1\n");
  std::size_t erase = 0;
  {
    const BoardProgram board(kChip);
    ASSERT_THAT(OnPort(board, "run job.json"), Ends(0));
    const Bytes wire = board.Wire();
    erase = static_cast<std::size_t>(std::ranges::find(wire, 'e') - wire.begin());
    ASSERT_LT(erase, wire.size());
  }
  for (const std::size_t before : {1U, 4U, 8U, 12U, 20U}) {
    std::filesystem::remove(Path("shift.csv"));
    Put("n.txt", "fenwright-counter 1\nfirst 1\n");
    const BoardProgram board(kChip, {"--fault", "hangup@" + std::to_string(erase - before)});
    EXPECT_THAT(OnPort(board, "run job.json"), Not(Ends(0)));
    EXPECT_THAT(OpenRows(), IsEmpty());
    const bool taken = Get("n.txt").find("taken 1") != std::string::npos;
    const auto rows = Rows();
    EXPECT_LE(rows.size(), 1U) << before;
    EXPECT_EQ(!rows.empty() && rows[0].find(",1E:90:05,1,") != std::string::npos, taken) << before;
  }
}

TEST_F(Workbench, AChipThatWasProgrammedIsSaidToBeWhenItsFusesFail) {
  PutJob(R"("record": "shift.csv", "serial": "flash:0x3FC=next", "counter": "n.txt",
            "fuses": {"BODEN": "Enable"}, "lock": "write")");
  // Each command asks the board for its version first: where those that follow the verify do.
  std::vector<std::size_t> questions;
  {
    const BoardProgram board(kChip);
    ASSERT_THAT(OnPort(board, "run job.json --counter-start 1"), Ends(0));
    const Bytes wire = board.Wire();
    const auto last_read = std::ranges::find(wire.rbegin(), wire.rend(), std::uint8_t{'R'}).base();
    for (auto byte = last_read; byte != wire.end(); ++byte) {
      if (*byte == '?') questions.push_back(static_cast<std::size_t>(byte - wire.begin()) + 1);
    }
  }
  ASSERT_GE(questions.size(), 5U);
  int not_asked = 0;
  for (const std::size_t byte : {questions[0], questions[2], questions.back()}) {
    std::filesystem::remove(Path("shift.csv"));
    Put("n.txt", "fenwright-counter 1\nfirst 1\n");
    const BoardProgram board(kChip, {"--fault", "hangup@" + std::to_string(byte)});
    const CliResult result = OnPort(board, "--json run job.json");
    if (result.Code == 0) continue;
    const json told = result.Json();
    // Still in the verify.
    if (told["verified"].is_null()) continue;
    if (told["exit_code"] == 3) ++not_asked;
    EXPECT_EQ(told["erased"], true) << byte;
    EXPECT_EQ(told["verified"]["flash"], true) << byte;
    EXPECT_THAT(told["chip_state"], StartsWith("programmed and verified")) << byte;
    // The erase has opened the lock.
    EXPECT_THAT(told["chip_state"], Not(HasSubstr("lock bits are as they were"))) << byte;
    EXPECT_THAT(result.Err, Not(HasSubstr("was not changed"))) << byte;
    const auto rows = Rows();
    ASSERT_THAT(rows, SizeIs(1)) << byte;
    EXPECT_THAT(rows[0], AllOf(HasSubstr(",1,"), HasSubstr(",fail,"))) << byte;
    EXPECT_THAT(Get("n.txt"), EndsWith("\nfailed 1\n")) << byte;
    EXPECT_THAT(OpenRows(), IsEmpty()) << byte;
  }
  EXPECT_GT(not_asked, 0) << "no hang-up between two parts of the job";
}

TEST_F(Workbench, TheEepromsOfSeveralBoardsAreKeptApart) {
  Put("code.eep", HexFile({0x11, 0x22}));
  std::vector<std::unique_ptr<BoardProgram>> boards;
  Words ports;
  for (int i = 0; i < 4; ++i) {
    // The erase is done, the first write is a lie: each EEPROM is in a file of its own then.
    boards.push_back(
        std::make_unique<BoardProgram>(kChip, std::vector<std::string>{"--fault", "lie@2"}));
    ports = ports + Words{"--port", boards.back()->Link()};
  }
  const CliResult result =
      Run(ports + Words{"--json", "--device", kChip} + Words("program code.hex --keep-eeprom"));
  EXPECT_THAT(result, Ends(1));
  std::set<std::string> files;
  const json told = result.Json();
  for (const json& board : told["boards"]) files.insert(board["eeprom_file"]);
  EXPECT_THAT(files, SizeIs(4));
  for (const std::string& file : files) EXPECT_TRUE(IsThere(file)) << file;
}

TEST_F(Workbench, ARowThatTheRecordHasAlreadyIsNotTakenTwice) {
  PutJob(R"("record": "shift.csv")");
  ASSERT_THAT(Run("--simulate run job.json"), Ends(0));
  std::string row = Rows().front();
  const std::size_t place = row.find(",pass,");
  ASSERT_NE(place, std::string::npos);
  Put("shift.csv.12345678.open", row.substr(0, place) + ",interrupted,,0.0\n");
  EXPECT_THAT(Run("--simulate run job.json"), Ends(0));
  EXPECT_THAT(Get("shift.csv"), Not(HasSubstr("interrupted")));
}

TEST_F(Workbench, ARowThatWasCutShortIsNoRowOfItsChip) {
  PutJob(R"("record": "shift.csv")");
  ASSERT_THAT(Run("--simulate run job.json"), Ends(0));
  const std::string whole = Get("shift.csv");
  const std::string row = Rows().front();
  const std::size_t place = row.find(",pass,");
  ASSERT_NE(place, std::string::npos);
  const std::string open = row.substr(0, place) + ",interrupted,,0.0\n";
  const std::string before = whole.substr(0, whole.size() - row.size() - 1);
  for (const std::size_t length :
       {std::size_t{1}, std::size_t{25}, place - 1, place, place + 3, place + 6}) {
    SCOPED_TRACE(row.substr(0, length));
    Put("shift.csv", before + row.substr(0, length));
    Put("shift.csv.12345678.open", open);
    const CliResult result = Run("--simulate run job.json");
    EXPECT_THAT(result, AllOf(Ends(0), Warns("an interrupted chip is in the record now")));
    EXPECT_THAT(Get("shift.csv"), StartsWith(before + open));
    EXPECT_THAT(Rows(), SizeIs(2));
  }
  // A row that somebody else has left without its end is whole.
  Put("shift.csv", before + row);
  Put("shift.csv.12345678.open", open);
  EXPECT_THAT(Run("--simulate run job.json"), AllOf(Ends(0), Warns(Not(HasSubstr("interrupted")))));
  EXPECT_THAT(Get("shift.csv"), StartsWith(whole));
  EXPECT_THAT(Rows(), SizeIs(2));
}

TEST_F(Workbench, ARecordWhoseFirstLineWasCutShortBeginsAnew) {
  PutJob(R"("record": "shift.csv")");
  Put("shift.csv", "time,board,dev");
  ASSERT_THAT(Run("--simulate run job.json"), Ends(0));
  EXPECT_THAT(Rows(), SizeIs(1));
}

TEST_F(Workbench, ADiscThatIsFullInTheMiddleOfARowLosesNoChip) {
  PutJob(R"("record": "shift.csv")");
  const std::string record = LongRecord();
  const BoardProgram board(kChip);
  const CliResult result =
      WithStrokes(1, Words{"--port", board.Link()} + Words("run job.json --repeat --enter"),
                  WithRoomFor(record.size() + 60));
  EXPECT_THAT(result, AllOf(Ends(4), Warns("shift.csv: cannot be written")));
  // Nobody takes that chip for a good one.
  EXPECT_THAT(result.Out, AllOf(HasSubstr("FAIL  #1  file-unwritable"), Not(HasSubstr("PASS")),
                                EndsWith("failed: 1\n")));
  EXPECT_EQ(Get("shift.csv"), record);
  ASSERT_THAT(OpenRows(), SizeIs(1));
  const std::string open = ReadFile(OpenRows().front());
  EXPECT_THAT(OnPort(board, "run job.json"),
              AllOf(Ends(0), Warns("an interrupted chip is in the record now")));
  EXPECT_THAT(Get("shift.csv"), StartsWith(record + open));
}

TEST_F(Workbench, ARecordThatIsLostEndsTheShiftOnEveryBoard) {
  PutJob(R"("record": "shift.csv", "serial": "flash:0x3FC=next", "counter": "n.txt")");
  Put("n.txt", "fenwright-counter 1\nfirst 1\n");
  const std::string record = LongRecord();
  const auto quick = Board("quick");
  // Waits for a chip of the job's all the time.
  const auto idle = Board("idle", {}, "ATtiny15L");
  const auto run =
      Start({"--port", Path("quick"), "--port", Path("idle"), "run", "job.json", "--repeat"},
            WithRoomFor(record.size()));
  const CliResult result = Wait(*run);
  EXPECT_THAT(result, Ends(4));
  EXPECT_THAT(result.Out + result.Err,
              HasSubstr("the record cannot be written, so this is the end"));
  EXPECT_EQ(Get("shift.csv"), record);
}

TEST_F(Workbench, AChipThatCannotBeRecordedIsNotTouched) {
  PutJob(R"("record": "shift.csv")");
  Put("shift.csv", "time,board,device,signature,serial,image_crc32,fuses,result,error,seconds\n");
  const BoardProgram board(kChip);
  // No file can grow: as on a full disc.
  Process process({"bash", "-c", "ulimit -f 0; exec \"$0\" \"$@\" >/dev/null 2>/dev/null",
                   FENWRIGHT_CLI_PROGRAM, "--port", board.Link(), "run", Path("job.json")},
                  {.Folder = folder_.Path().string()});
  EXPECT_EQ(process.Wait(), 4);
  EXPECT_EQ(Destructive(board.Wire()), "");
}

TEST_F(Workbench, ALockedChipIsSaidToBeOne) {
  PutJob();
  Put("state", std::string("fenwright-board-state 1\nchip ") + kChip + "\nlock 0\n");
  const BoardProgram board(kChip, {"--state", Path("state")});
  const CliResult result = OnPort(board, "--json run job.json");
  EXPECT_THAT(result, Ends(1));
  EXPECT_EQ(result.Json()["error"]["code"], "no-signature");
  EXPECT_THAT(result, Warns("erase"));
  EXPECT_EQ(Destructive(board.Wire()), "");
}

TEST_F(Workbench, TwoRunsDoNotShareARecord) {
  PutJob(R"("record": "shift.csv")");
  const auto board = Board("port", {"--baud", "57600"});
  const auto first = Start({"--port", Path("port"), "run", "job.json", "--repeat"});
  ASSERT_TRUE(Comes("shift.csv", "time,"));
  const BoardProgram other(kChip);
  const CliResult second = OnPort(other, "--json run job.json");
  EXPECT_THAT(second, Ends(4));
  EXPECT_EQ(second.Json()["error"]["code"], "file-in-use");
  EXPECT_THAT(other.Wire(), IsEmpty());
  first->Signal(SIGINT);
  EXPECT_NE(first->Wait(), -1);
}

// Several boards.

TEST_F(Workbench, SeveralBoardsWorkAtOnce) {
  const BoardProgram a(kChip);
  const BoardProgram b(kChip);
  const CliResult result = Run(Words{"--port", a.Link(), "--port", b.Link(), "--device", kChip} +
                               Words("program code.hex"));
  EXPECT_THAT(result, Ends(0));
  for (const BoardProgram* board : {&a, &b}) {
    EXPECT_THAT(result.Out, HasSubstr(board->Link() + "  ok: programmed and verified"));
    EXPECT_EQ(board->Dump().substr(0, 2), "\x0C\x94");
  }
  EXPECT_THAT(result.Out, EndsWith("\nboards: 2, ok: 2, failed: 0\n"));
}

TEST_F(Workbench, OneBoardThatFailsFailsTheCallAndNotTheOthers) {
  const BoardProgram good(kChip);
  const BoardProgram bad(kChip, {"--fault", "stuck@flash:0:0=1"});
  const Words ports{"--port", good.Link(), "--port", bad.Link(), "--port", Path("nothing")};
  const CliResult result =
      Run(ports + Words{"--json", "--device", kChip} + Words("program code.hex"));
  EXPECT_THAT(result, Ends(1));
  const json told = result.Json();
  EXPECT_EQ(told["error"]["code"], "boards-failed");
  ASSERT_EQ(told["boards"].size(), 3U);
  EXPECT_EQ(told["boards"][0]["result"], "ok");
  EXPECT_EQ(told["boards"][1]["error"]["code"], "differences");
  EXPECT_EQ(told["boards"][2]["result"], "no-programmer");
  EXPECT_EQ(told["boards"][1]["port_given"], bad.Link());
}

TEST_F(Workbench, WhatEveryBoardSaysBeforeItBeginsIsSaidOnce) {
  const CliResult result =
      Run("--simulate --port COM1 --port COM2 --device ATtiny12L program missing.hex");
  EXPECT_THAT(result, Ends(4));
  EXPECT_THAT(result, Warns(StartsWith("COM1 COM2  error: missing.hex: there is no such file\n")));
  EXPECT_EQ(result.Err.find("no such file"), result.Err.rfind("no such file"));
}

TEST_F(Workbench, SeveralBoardsAreForSomeVerbsAndFilesAlone) {
  const Words two("--simulate --port COM1 --port COM2 --device ATtiny12L");
  EXPECT_THAT(Run(two + Words("read out.hex out.eep")), Ends(2));
  EXPECT_THAT(Run(two + Words("identify")), Warns("identify works on one board"));
  EXPECT_THAT(Run(two + Words("program -")), Warns("standard input is for one board alone"));
  EXPECT_THAT(Run(two + Words("--port COM2 erase")), Warns("--port COM2 is given twice"));
  EXPECT_THAT(Run(two + Words("--port all erase")), Warns("--port all goes with no other port"));
  EXPECT_THAT(Run("--simulate --port all --device ATtiny12L erase"), Ends(2));
}

TEST_F(Workbench, AllPortsAreThoseThatABoardAnswersOn) {
  const BoardProgram first(kChip);
  const BoardProgram silent(kChip, {"--fault", "silent"});
  const BoardProgram second("AT90S8515");
  const BoardProgram no_programmer(kChip, {"--version-line", "HELLO"});
  const std::map<int, std::string> paths{
      {3, Path("nothing")},      {5, second.Link()}, {6, silent.Link()},    {7, first.Link()},
      {8, no_programmer.Link()}, {9, second.Link()}, {10, Path("code.hex")}};
  const auto infos = platform::MakeSystemPortInfos([&paths](int number) {
    const auto path = paths.find(number);
    return path == paths.end() ? std::string() : path->second;
  });
  EXPECT_THAT(cli::FindBoards(*infos, {}), ElementsAre("COM5", "COM7"));
  // Looking is all that is done to their chips.
  for (const BoardProgram* board : {&first, &second}) {
    EXPECT_THAT(board->Wire(), Not(IsEmpty()));
    EXPECT_EQ(Destructive(board->Wire()), "");
  }
}

TEST_F(Workbench, EachBoardHasItsOwnFolder) {
  MakeFolder("kept");
  const Words two("--simulate --port COM1 --port COM2 --device ATtiny12L --folder kept");
  EXPECT_THAT(Run(two + Words("program code.hex")), Ends(0));
  EXPECT_TRUE(IsThere("kept/COM1/_debug_avr.txt"));
  EXPECT_TRUE(IsThere("kept/COM2/_debug_avr.txt"));
}

TEST_F(Workbench, PortsWithTheSameNameForAFolderDoNotShareIt) {
  MakeFolder("kept");
  MakeFolder("x");
  const auto first = Board("x/b");
  const auto second = Board("x_b");
  const CliResult result = Run(
      Words("--port x/b --port x_b --device ATtiny12L --folder kept --log line program code.hex"));
  EXPECT_THAT(result, Ends(0));
  for (const char* file :
       {"kept/x_b/_debug_avr.txt", "kept/x_b_2/_debug_avr.txt", "line.x_b", "line.x_b_2"}) {
    EXPECT_TRUE(IsThere(file)) << file;
  }
}

TEST_F(Workbench, BoardsOfOneCallNeverShareANumber) {
  const Words three("--simulate --port COM1 --port COM2 --port COM3 --device ATtiny12L");
  EXPECT_THAT(Run(three + Words("program code.hex --serial flash:0x3FC=next --counter n.txt "
                                "--counter-start 1")),
              Ends(0));
  for (const char* number : {"taken 1 ", "taken 2 ", "taken 3 "}) {
    EXPECT_THAT(Get("n.txt"), HasSubstr(number));
  }
  EXPECT_THAT(Get("n.txt"), Not(HasSubstr("taken 4")));
}

// Chip after chip.

TEST_F(Workbench, EachStrokeOfEnterIsAChip) {
  PutJob(R"("record": "shift.csv")");
  const BoardProgram board(kChip);
  const CliResult result =
      WithStrokes(2, Words{"--port", board.Link()} + Words("run job.json --repeat --enter"));
  EXPECT_THAT(result, Ends(0));
  EXPECT_THAT(result.Out, AllOf(HasSubstr("PASS  #1"), HasSubstr("PASS  #2"),
                                EndsWith("chips: 2, passed: 2, failed: 0\n")));
  EXPECT_THAT(Rows(), SizeIs(2));
}

TEST_F(Workbench, StrokesThatReachNoBoardAreNoSuccess) {
  PutJob();
  const Words call("run job.json --repeat --enter");
  const CliResult result = WithStrokes(2, Words{"--port", Path("nowhere")} + call);
  EXPECT_THAT(result, AllOf(Ends(3), Prints("chips: 0, passed: 0, failed: 0\n")));
  const json told = WithStrokes(1, Words{"--json", "--port", Path("nowhere")} + call).Json();
  EXPECT_EQ(told["error"]["code"], "no-programmer");
  // Nobody pressed Enter: nothing was wanted.
  EXPECT_THAT(WithStrokes(0, Words{"--port", Path("nowhere")} + call), Ends(0));
}

TEST_F(Workbench, AChipThatFailsDoesNotEndTheShift) {
  PutJob();
  const BoardProgram board(kChip, {"--fault", "stuck@flash:0:0=1"});
  const CliResult result = WithStrokes(
      2, Words{"--port", board.Link(), "--json"} + Words("run job.json --repeat --enter"));
  EXPECT_THAT(result, Ends(1));
  EXPECT_EQ(result.Json()["failed"], 2);
  EXPECT_EQ(result.Json()["error"]["code"], "chips-failed");
}

TEST_F(Workbench, ANewChipInTheSocketBeginsByItself) {
  PutJob(R"("record": "shift.csv")");
  auto board = Board("port");
  const auto run = Start({"--port", Path("port"), "run", "job.json", "--repeat"});
  ASSERT_TRUE(Comes("shift.csv", ",pass,"));
  // The board is pulled, and comes back with another chip. It takes the name of its port along: the
  // terminal's own number goes to the next board that another test starts.
  board->Signal(SIGTERM);
  board->Wait();
  ASSERT_FALSE(std::filesystem::is_symlink(Path("port")));
  std::this_thread::sleep_for(std::chrono::seconds(2));
  board = Board("port", {"--fault", "stuck@flash:0:0=1"});
  ASSERT_TRUE(Comes("shift.csv", ",fail,"));
  run->Signal(SIGINT);
  const CliResult result = Wait(*run);
  EXPECT_THAT(result, Ends(1));
  EXPECT_THAT(result, Prints("chips: 2, passed: 1, failed: 1\n"));
  EXPECT_THAT(result, Warns(AllOf(HasSubstr("take the chip out"),
                                  HasSubstr("the board does not answer; waiting"))));
}

TEST_F(Workbench, CtrlCLetsTheChipUnderWayComeToItsEnd) {
  PutJob(R"("record": "shift.csv")");
  const auto board = Board("port", {"--baud", "57600"});
  const auto run = Start({"--port", Path("port"), "run", "job.json", "--repeat"});
  for (int i = 0; i < 500 && OpenRows().empty(); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  run->Signal(SIGINT);
  const CliResult result = Wait(*run);
  EXPECT_THAT(result, Ends(0));
  EXPECT_THAT(result, Prints("chips: 1, passed: 1, failed: 0\n"));
  ASSERT_THAT(Rows(), SizeIs(1));
  EXPECT_THAT(Rows()[0], HasSubstr(",pass,"));
}

TEST_F(Workbench, TheSecondCtrlCStopsTheChipAndSaysSo) {
  PutJob(R"("record": "shift.csv", "serial": "flash:0x3FC=next", "counter": "n.txt")");
  Put("n.txt", "fenwright-counter 1\nfirst 1\n");
  const auto board = Board("port", {"--baud", "9600"});
  const auto run = Start({"--port", Path("port"), "run", "job.json", "--repeat"});
  for (int i = 0; i < 500 && OpenRows().empty(); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  run->Signal(SIGINT);
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  run->Signal(SIGINT);
  EXPECT_THAT(Wait(*run), Ends(130));
  ASSERT_THAT(Rows(), SizeIs(1));
  EXPECT_THAT(Rows()[0], HasSubstr(",stopped,"));
  EXPECT_THAT(Get("n.txt"), EndsWith("\nfailed 1\n"));
}

TEST_F(Workbench, AStoppedChipThatTheRecordCannotTakeIsSaid) {
  PutJob(R"("record": "shift.csv")");
  const std::string record = LongRecord();
  const auto board = Board("port", {"--baud", "9600"});
  const auto run = Start({"--port", Path("port"), "--json", "run", "job.json", "--repeat"},
                         WithRoomFor(record.size()));
  for (int i = 0; i < 500 && OpenRows().empty(); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  ASSERT_THAT(OpenRows(), SizeIs(1));
  run->Signal(SIGINT);
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  run->Signal(SIGINT);
  const CliResult result = Wait(*run);
  EXPECT_THAT(result, AllOf(Ends(130), Warns("shift.csv: cannot be written"),
                            Warns("has no row of the chip that was stopped")));
  const json told = result.Json();
  EXPECT_EQ(told["error"]["code"], "stopped");
  ASSERT_EQ(told["warnings"].size(), 1U);
  EXPECT_EQ(told["warnings"][0]["code"], "file-unwritable");
  EXPECT_EQ(Get("shift.csv"), record);
  // For the next run to find.
  EXPECT_THAT(OpenRows(), SizeIs(1));
}

TEST_F(Workbench, AShiftEndsWithTheFirstChipThatTheRecordCannotTake) {
  PutJob(R"("record": "shift.csv")");
  const std::string record = LongRecord();
  // One chip passes, the other one fails.
  for (const std::string fault : {"late@1:1", "stuck@flash:0:0=1"}) {
    SCOPED_TRACE(fault);
    const BoardProgram board(kChip, {"--fault", fault});
    const CliResult result = WithStrokes(
        2, Words{"--port", board.Link()} + Words("--json run job.json --repeat --enter"),
        WithRoomFor(record.size()));
    EXPECT_THAT(result, AllOf(Ends(4), Warns("shift.csv: cannot be written"),
                              Warns("the record cannot be written, so this is the end")));
    const json told = result.Json();
    EXPECT_EQ(told["error"]["code"], "file-unwritable");
    EXPECT_EQ(told["chips"], 1);
    EXPECT_EQ(Get("shift.csv"), record);
    // The next run would take it over first.
    for (const std::string& row : OpenRows()) std::filesystem::remove(row);
  }
}

TEST_F(Workbench, ALogThatEndsInAShiftIsSaid) {
  PutJob();
  Bytes flash = kFlash;
  flash.resize(400, 0x11);
  PutCode(flash);
  const BoardProgram board(kChip);
  const Words call = Words{"--port", board.Link()} + Words("--log line run job.json");
  const Words shift = call + Words("--repeat --enter");
  constexpr std::size_t kRoom = 4000;
  EXPECT_THAT(WithStrokes(1, shift), AllOf(Ends(0), Warns(Not(HasSubstr("--log line")))));
  ASSERT_GT(Get("line").size(), kRoom);
  const std::string text = "--log line: could not be written to its end";
  EXPECT_THAT(WithStrokes(1, shift, WithRoomFor(kRoom)), AllOf(Ends(0), Warns(text)));
  const json told = WithStrokes(1, Words("--json") + shift, WithRoomFor(kRoom)).Json();
  ASSERT_EQ(told["warnings"].size(), 1U);
  EXPECT_EQ(told["warnings"][0]["text"], text);
}

}  // namespace
}  // namespace fenwright::testing
