// The command line and what is in the socket, standard input and output, and the differences.

#include <signal.h>

#include "system/cli_run.h"

namespace fenwright::testing {
namespace {

class CliChip : public CliTest {
 protected:
  CliChip() { PutCode({0x0C, 0x94, 0xFF, 0xCF}); }

  /// A line for the shell, in the test's folder; $CLI is the program on the simulated board.
  CliResult Shell(const std::string& line) const {
    return Finish(
        Process({"sh", "-c", line},
                {.Folder = folder_.Path().string(),
                 .Environment = {{"CLI", std::string(FENWRIGHT_CLI_PROGRAM) + " --simulate"}}}));
  }
};

TEST_F(CliChip, IdentifyPrintsTheDevicesThatHaveTheSignature) {
  EXPECT_THAT(Run("--simulate --simulate-chip ATtiny26L identify"),
              AllOf(Ends(0), Prints("1E:91:09  ATtiny26L\n")));
  EXPECT_THAT(
      Run("--simulate --simulate-chip AT90S1200 identify"),
      AllOf(Ends(0), Prints("1E:90:01  AT90S1200  AT90S1200 (外部ｸﾛｯｸ)\n1E:90:01  AT90S1200A")));
  const json told = Run("--json --simulate --simulate-chip AT90S1200 identify").Json();
  EXPECT_EQ(told["signature"], "1E:90:01");
  EXPECT_EQ(told["device"], nullptr);
  ASSERT_EQ(told["devices"].size(), 2U);
  EXPECT_EQ(told["devices"][1]["alias"], "AT90S1200A");
}

TEST_F(CliChip, IdentifyTellsWhatKeepsItFromAnAnswer) {
  const json empty = Run("--json --simulate --simulate-chip empty identify").Json();
  EXPECT_EQ(empty["error"]["code"], "no-signature");
  EXPECT_EQ(empty["exit_code"], 1);
  // One bit of the signature reads as another chip's.
  const json flipped = Run("--json --simulate --simulate-fault flip@7:2 identify").Json();
  EXPECT_EQ(flipped["error"]["code"], "readings-differ");
  EXPECT_THAT(flipped["error"]["text"], HasSubstr("1E:93:03, 1E:93:01"));
  const json other = Run("--json --simulate --simulate-fault flip@7:1 identify").Json();
  EXPECT_EQ(other["error"]["code"], "unsupported-chip");
  const json silent = Run("--json --simulate --simulate-fault silent identify").Json();
  EXPECT_EQ(silent["error"]["code"], "no-programmer");
  EXPECT_EQ(silent["exit_code"], 3);
}

TEST_F(CliChip, DeviceAutoWorksOnTheChipInTheSocket) {
  EXPECT_THAT(Run("--simulate --simulate-chip ATtiny26L --device auto program code.hex"),
              AllOf(Ends(0), Warns("ATtiny26L  1E:91:09  on "), Prints("2 of 1024 words")));
  const json told =
      Run("--json --simulate --simulate-chip ATtiny26L --device AUTO verify code.hex").Json();
  EXPECT_EQ(told["device"], "ATtiny26L");
  EXPECT_EQ(told["error"]["code"], "differences");
}

TEST_F(CliChip, DeviceAutoIsRefusedWhereTwoMatchAndWhereNoSocketIsAsked) {
  const CliResult two = Run("--json --simulate --simulate-chip AT90S1200 --device auto erase");
  EXPECT_THAT(two, AllOf(Ends(1), Warns("AT90S1200A(")));
  EXPECT_EQ(two.Json()["error"]["code"], "ambiguous-device");
  EXPECT_EQ(two.Json()["device"], nullptr);
  EXPECT_THAT(Run("--simulate --device auto lint code.hex"),
              AllOf(Ends(2), Warns("does not look into the socket")));
}

/// Nothing that changes a chip goes out before the socket was read.
TEST_F(CliChip, DeviceAutoReadsTheSignatureBeforeAnythingElse) {
  BoardProgram board("ATtiny26L");
  ASSERT_THAT(On(board, "program code.hex", "auto"), Ends(0));
  const Bytes wire = board.Wire();
  const auto signature = std::ranges::find(wire, std::uint8_t{'s'});
  const auto erase = std::ranges::find(wire, std::uint8_t{'e'});
  ASSERT_NE(signature, wire.end());
  ASSERT_NE(erase, wire.end());
  EXPECT_LT(signature - wire.begin(), erase - wire.begin());
}

TEST_F(CliChip, LooksAtTheLineWithoutADevice) {
  EXPECT_THAT(Run("--simulate detect"),
              AllOf(Ends(0), Prints("firmware: accepted\n"), Prints(Not(HasSubstr("device:")))));
  const json told = Run("--json --simulate check-link").Json();
  EXPECT_EQ(told["device"], nullptr);
  EXPECT_EQ(told["device_answer"], "not asked");
  EXPECT_EQ(told["forecast_write_seconds"], nullptr);
  EXPECT_GT(told["median_ms"], 0);
  EXPECT_THAT(Run("--simulate board-version"), Ends(0));
  EXPECT_THAT(Run("detect"), AllOf(Ends(3), Warns("error: no port")));
}

TEST_F(CliChip, EraseOfAnotherChipWarns) {
  const CliResult other =
      Run("--json --simulate --simulate-chip AT90S2313 --device AT90S8515 erase");
  EXPECT_THAT(other, AllOf(Ends(0), Warns("warning: AT90S2313 is in the socket")));
  ASSERT_EQ(other.Json()["warnings"].size(), 1U);
  EXPECT_EQ(other.Json()["warnings"][0]["code"], "wrong-chip");
  EXPECT_TRUE(Run("--json --simulate --device AT90S8515 erase").Json()["warnings"].empty());
}

TEST_F(CliChip, StrictErasesTheSelectedDeviceAlone) {
  EXPECT_THAT(
      Run("--simulate --simulate-chip AT90S2313 --device AT90S8515 erase --strict"),
      AllOf(Ends(1), Warns("the chip in the socket is an AT90S2313"), Warns("nothing was erased")));
  EXPECT_THAT(Run("--simulate --device AT90S8515 erase --strict"), Ends(0));
  BoardProgram board("AT90S2313");
  ASSERT_THAT(On(board, "erase --strict", "AT90S8515"), Ends(1));
  const Bytes wire = board.Wire();
  EXPECT_EQ(std::ranges::find(wire, std::uint8_t{'e'}), wire.end());
}

TEST_F(CliChip, ADashReadsStandardInput) {
  for (const std::string verb : {"program", "dump", "lint"}) {
    EXPECT_THAT(Shell("$CLI --device ATtiny12L " + verb + " - <code.hex"), Ends(0)) << verb;
  }
  EXPECT_THAT(Shell("$CLI --device ATtiny12L verify - <code.hex"),
              AllOf(Ends(1), Prints("-flash  0x0000  940C\n+flash  0x0000  FFFF\n")));
  Put("data.txt", HexFile({0x11, 0x22}));
  EXPECT_THAT(Shell("$CLI --device ATtiny12L program code.hex --data - <data.txt"),
              AllOf(Ends(0), Prints(", 2 of 64 bytes")));
  EXPECT_THAT(Shell("$CLI --device ATtiny12L program - --data -"), Ends(2));
  EXPECT_THAT(Shell("echo nonsense | $CLI --device ATtiny12L program -"),
              AllOf(Ends(4), Warns("<stdin>:1: ")));
  EXPECT_EQ(
      json::parse(Shell("$CLI --json --device ATtiny12L program - <code.hex").Out)["files"]["code"],
      nullptr);
}

TEST_F(CliChip, ADashWritesStandardOutputAndNothingElseThere) {
  BoardProgram board("ATtiny12L");
  ASSERT_THAT(On(board, "program code.hex"), Ends(0));
  ASSERT_THAT(On(board, "read --code file.hex"), Ends(0));
  std::string expected = Get("file.hex");
  std::erase(expected, '\r');
  EXPECT_THAT(On(board, "read --code -"),
              AllOf(Ends(0), Prints(::testing::Eq(expected)), Warns("ok: flash, EEPROM")));
  EXPECT_FALSE(IsThere("-"));
  EXPECT_THAT(On(board, "--json read --code -"), Ends(2));
  EXPECT_THAT(On(board, "read --code - --data -"), Ends(2));
}

TEST_F(CliChip, ADataFileInCapitalsIsFound) {
  Put("code.EEP", HexFile({0x11, 0x22}));
  EXPECT_THAT(Simulate("lint code.hex"), AllOf(Ends(0), Prints("EEPROM      2 of    64 bytes")));
  Put("code.eep", HexFile({0x11, 0x22, 0x33, 0x44}));
  EXPECT_THAT(Simulate("lint code.hex"), AllOf(Ends(0), Prints("EEPROM      4 of    64 bytes")));
}

TEST_F(CliChip, VerifyPrintsTheFirstDifferencesOrAll) {
  PutCode(FullImage(80, 1), "large.hex");
  const CliResult first = Simulate("verify large.hex");
  // Besides those of --all and of the diagnosis reads-blank.
  EXPECT_EQ(std::ranges::count(first.Out, '-'), 32 + 2 + 1);
  EXPECT_THAT(first, AllOf(Ends(1), Prints("... and 8 more (--all prints them)\n")));
  const CliResult all = Simulate("verify large.hex --all");
  EXPECT_THAT(all, AllOf(Ends(1), Prints("-flash  0x0027  "), Prints(Not(HasSubstr("more")))));
}

/// In colour on a terminal, unless NO_COLOR says otherwise.
TEST_F(CliChip, DifferencesHaveColoursOnATerminalAlone) {
  const std::string call = "\"$CLI --quiet --device ATtiny12L verify code.hex\" /dev/null";
  EXPECT_THAT(Shell("script -qec " + call),
              Prints("\x1B[31m-flash  0x0000  940C\x1B[0m\r\n\x1B[32m+flash  0x0000  FFFF\x1B[0m"));
  EXPECT_THAT(Shell("NO_COLOR=1 script -qec " + call), Prints("\n+flash  0x0000  FFFF\r\n"));
  EXPECT_THAT(Shell("$CLI --device ATtiny12L verify code.hex"), Prints(Not(HasSubstr("\x1B"))));
}

TEST_F(CliChip, ACodeFileIsKnownByItsContent) {
  const std::string blink = std::string(FENWRIGHT_EXAMPLES) + "/blink/blink.hex";
  const auto tool = [this](const std::string& line) { ASSERT_THAT(Shell(line), Ends(0)) << line; };
  tool("cp " + blink + " code.hex");
  tool("objcopy -I ihex -O srec code.hex code.srec");
  tool("objcopy -I ihex -O binary code.hex code.bin");
  tool("cp code.hex code.ihx");
  const std::string share = Simulate("lint code.hex", "AT90S8515").Out;
  ASSERT_THAT(share, StartsWith("flash "));
  EXPECT_EQ(Simulate("lint code.srec", "AT90S8515").Out, share);
  EXPECT_EQ(Simulate("lint code.ihx", "AT90S8515").Out, share);
  EXPECT_EQ(Simulate("lint --format bin code.bin", "AT90S8515").Out, share);
  const json told = Simulate("--json lint code.srec", "AT90S8515").Json();
  EXPECT_EQ(told["files"]["code"], "code.srec");
  EXPECT_THAT(Simulate("lint code.bin", "AT90S8515"), AllOf(Ends(4), Warns("--format bin")));
  EXPECT_THAT(Simulate("lint --format elf code.bin", "AT90S8515"),
              AllOf(Ends(4), Warns("code.bin: is no ELF file for AVR")));
  EXPECT_THAT(Simulate("lint --format tape code.bin", "AT90S8515"), AllOf(Ends(2), Warns("srec")));
}

TEST_F(CliChip, AnElfFileBringsTheFlashAndTheEeprom) {
  Put("elf.s",
      ".section .text\n.word 0x940c,0xcfff\n.section .eeprom,\"aw\"\n.byte 1,2,3\n"
      ".section .fuse,\"aw\"\n.byte 0xff\n");
  ASSERT_THAT(Shell("avr-as -mmcu=avr2 elf.s -o elf.o && avr-ld -m avr2 elf.o -o code.elf"),
              Ends(0));
  BoardProgram board("AT90S8515");
  EXPECT_THAT(On(board, "program code.elf"),
              AllOf(Ends(0), Prints("2 of 4096 words, 3 of 512 bytes")));
  EXPECT_THAT(board.Dump(), StartsWith("\x0C\x94\xFF\xCF\xFF"));
  EXPECT_EQ(board.Dump().substr(8192, 4), "\x01\x02\x03\xFF");
  EXPECT_THAT(On(board, "program code.elf --no-data"), AllOf(Ends(0), Prints(" 0 of 512 bytes")));
  Put("own.eep", HexFile({9, 8}));
  EXPECT_THAT(On(board, "program code.elf --data own.eep"),
              AllOf(Ends(0), Prints(" 2 of 512 bytes")));
  EXPECT_THAT(Shell("$CLI --device AT90S8515 lint - <code.elf"),
              AllOf(Ends(0), Prints("EEPROM      3 of   512 bytes")));
  EXPECT_THAT(On(board, "program elf.o"), AllOf(Ends(4), Warns("elf.o: is not linked")));
  ASSERT_THAT(Shell("as elf.s -o code.elf"), Ends(0));
  EXPECT_THAT(On(board, "program code.elf"), AllOf(Ends(4), Warns("is no ELF file for AVR")));
}

TEST_F(CliChip, AFileThatCannotBeConvertedIsRefusedWithTheReason) {
  Put("bad.srec", "S1050000010203FF\n");
  EXPECT_THAT(Simulate("program bad.srec"),
              AllOf(Ends(4), Warns("bad.srec: cannot be converted: "), Warns("hecksum"),
                    Warns(Not(HasSubstr("/tmp/")))));
  EXPECT_THAT(Finish(Process({FENWRIGHT_CLI_PROGRAM, "--simulate", "--device", "ATtiny12L",
                              "program", Path("bad.srec")},
                             {.Environment = {{"PATH", "/nowhere"}}})),
              AllOf(Ends(4), Warns("objcopy"), Warns("install binutils")));
}

TEST_F(CliChip, AFileThatIsNotThereIsMissingWhateverItsFormat) {
  for (const std::string format : {"hex", "srec", "elf", "bin"}) {
    const CliResult result = Simulate("--json program none.bin --format " + format);
    EXPECT_EQ(result.Json()["error"]["code"], "file-missing") << format;
    EXPECT_EQ(Simulate("--json program / --format " + format).Json()["error"]["text"],
              "/: is no regular file");
  }
}

TEST_F(CliChip, ARequestToEndEndsTheWaitForStandardInput) {
  // A writer keeps the pipe open, and says nothing.
  ASSERT_THAT(Shell("mkfifo input"), Ends(0));
  Process writer({"sh", "-c", "exec sleep 60 >" + Path("input")});
  Process call(
      {"sh", "-c",
       "exec " FENWRIGHT_CLI_PROGRAM " --simulate --device ATtiny12L program - <" + Path("input")});
  std::this_thread::sleep_for(1s);
  ASSERT_TRUE(call.Running());
  call.Signal(SIGTERM);
  EXPECT_EQ(call.Wait(5), 143);
  writer.Signal(SIGTERM);
}

TEST_F(CliChip, APhaseThatFailsDoesNotLookWhole) {
  PutCode(FullImage(200, 1), "large.hex");
  EXPECT_THAT(Simulate("--simulate-fault hangup@200 program large.hex"),
              AllOf(Ends(1), Warns("erase     done "), Warns("\nflash     failed "),
                    Warns(Not(HasSubstr("100 words")))));
}

TEST_F(CliChip, WithDeviceAutoABadFileIsSaidToHaveWrittenNothing) {
  EXPECT_THAT(Run("--simulate --device auto program none.hex"),
              AllOf(Ends(4), Warns("nothing was written to the device"),
                    Warns(Not(HasSubstr("nothing was sent")))));
}

TEST_F(CliChip, AnOutputThatTakesNothingIsToldOnStandardError) {
  for (const std::string call : {"devices", "--json devices", "ports", "help", "--version",
                                 "explain usage", "completion bash"}) {
    EXPECT_THAT(Shell("$CLI " + call + " >/dev/full"),
                AllOf(Ends(4), Warns("could not be written to standard output")))
        << call;
  }
}

}  // namespace
}  // namespace fenwright::testing
