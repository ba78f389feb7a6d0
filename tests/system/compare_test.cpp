// Two code files, or a file and the chip, side by side.

#include "system/cli_run.h"

namespace fenwright::testing {
namespace {

class CliCompare : public CliTest {
 protected:
  CliCompare() {
    PutCode(first_, "a.hex");
    Bytes second = first_;
    second[4] = 'X';
    PutCode(second, "b.hex");
  }

  /// A device is needed for the sizes of the memories alone.
  CliResult Files(const Words& arguments) {
    return Run(Words{"--device", "ATtiny12L", "compare"} + arguments);
  }

  const Bytes first_{0x0C, 0x94, 'H', 'e', 'l', 'l', 'o', '!', 1, 2};
};

TEST_F(CliCompare, TwoFilesThatAgree) {
  Put("same.hex", Get("a.hex"));
  EXPECT_THAT(Files("a.hex same.hex"),
              AllOf(Ends(0), Warns(IsEmpty()),
                    Prints("flash: all 512 words agree\nok: a.hex and same.hex hold the same\n")));
}

TEST_F(CliCompare, TwoFilesThatDifferStandSideBySide) {
  EXPECT_THAT(Files("a.hex b.hex"),
              AllOf(Ends(1), Warns("failed: a.hex and b.hex differ\n"),
                    Prints("0x0000  940C 6548*6C6C 216F  ..Hello!  |  940C 6548*6C58 216F  "
                           "..HeXlo!\nflash: 1 of 512 words differ: 0x0002\n")));
  // The other way round the sides are exchanged.
  EXPECT_THAT(Files("b.hex a.hex"), Prints("..HeXlo!  |  940C"));
}

TEST_F(CliCompare, ALongerFileDiffersWhereTheOtherIsBlank) {
  PutCode({0x0C, 0x94}, "short.hex");
  EXPECT_THAT(Files("a.hex short.hex"),
              AllOf(Ends(1), Prints("flash: 4 of 512 words differ: 0x0001-0x0004\n"),
                    Prints("\n0x0004 *0201 FFFF FFFF FFFF  ........  | *FFFF FFFF")));
}

TEST_F(CliCompare, AFileAndTheChipEitherWay) {
  BoardProgram board("ATtiny12L");
  PutCode({0x22}, "a.eep");
  ASSERT_THAT(On(board, "program a.hex"), Ends(0));
  EXPECT_THAT(On(board, "compare a.hex chip"),
              AllOf(Ends(0), Prints("flash: all 512 words agree\nEEPROM: all 64 bytes agree\n"
                                    "ok: a.hex and chip hold the same\n")));
  EXPECT_THAT(On(board, "compare chip a.hex"), Ends(0));
  EXPECT_THAT(On(board, "compare chip chip"), Ends(0));
  EXPECT_THAT(On(board, "compare chip b.hex"),
              AllOf(Ends(1), Prints(" 940C 6548*6C6C 216F  ..Hello!  |  940C 6548*6C58 "),
                    Prints(Not(HasSubstr("EEPROM")))));
}

/// What is behind the end of the file counts, too: a verify does not look there.
TEST_F(CliCompare, FindsWhatTheChipHoldsBehindTheFile) {
  BoardProgram board("ATtiny12L");
  ASSERT_THAT(On(board, "program a.hex"), Ends(0));
  PutCode({0x0C, 0x94}, "short.hex");
  ASSERT_THAT(On(board, "verify short.hex"), Ends(0));
  EXPECT_THAT(On(board, "compare short.hex chip"), Ends(1));
}

TEST_F(CliCompare, TheDataFilesAreComparedWhereBothAreThere) {
  PutCode({0x11, 0x22}, "a.eep");
  EXPECT_THAT(Files("a.hex a.hex"), Prints("EEPROM: all 64 bytes agree\n"));
  EXPECT_THAT(Files("a.hex b.hex"), Prints(Not(HasSubstr("EEPROM"))));
  PutCode({0x11, 0x23}, "b.eep");
  EXPECT_THAT(Files("a.hex b.hex"),
              AllOf(Ends(1), Prints("0x0000  11*22 FF FF FF FF FF FF  .\"......  |  11*23 "),
                    Prints("EEPROM: 1 of 64 bytes differ: 0x0001\n")));
  EXPECT_THAT(Files("a.hex b.hex --no-data"), Prints(Not(HasSubstr("EEPROM"))));
}

TEST_F(CliCompare, PrintsTheFirstRowsUnlessAllAreAskedFor) {
  PutCode(Bytes(1024, 0x41), "a.hex");
  PutCode(Bytes(1024, 0x42), "b.hex");
  const CliResult first = Files("a.hex b.hex");
  EXPECT_EQ(std::ranges::count(first.Out, '|'), 32);
  EXPECT_THAT(first, Prints("\n... and 96 more lines (--all prints them)\n"
                            "flash: 512 of 512 words differ: 0x0000-0x01FF\n"));
  const CliResult all = Files("a.hex b.hex --all");
  EXPECT_EQ(std::ranges::count(all.Out, '|'), 128);
  EXPECT_THAT(all, Prints(Not(HasSubstr("more"))));
}

TEST_F(CliCompare, InJsonHasTheDifferencesTheSidesAndWhatWasCompared) {
  const CliResult result = Run("--json --device ATtiny12L compare a.hex b.hex");
  EXPECT_THAT(result, Ends(1));
  const json told = result.Json();
  EXPECT_EQ(told["error"]["code"], "differences");
  EXPECT_EQ(told["sides"], json({"a.hex", "b.hex"}));
  EXPECT_EQ(told["compared"], json::array({"flash"}));
  EXPECT_EQ(told["differences"],
            json::array(
                {{{"memory", "flash"}, {"address", 2}, {"expected", 0x6C6C}, {"found", 0x6C58}}}));
  EXPECT_EQ(Run("--json --device ATtiny12L compare a.hex a.hex").Json()["error"], nullptr);
}

TEST_F(CliCompare, RefusesAFileBeforeTheBoardIsUsed) {
  BoardProgram board("ATtiny12L");
  EXPECT_THAT(On(board, "compare chip none.hex"),
              AllOf(Ends(4), Warns("none.hex: there is no such file")));
  EXPECT_TRUE(board.Wire().empty());
  EXPECT_THAT(Files("a.hex none.hex"), Ends(4));
  EXPECT_THAT(Files("none.hex a.hex"), Ends(4));
  EXPECT_THAT(Files("- -"), AllOf(Ends(2), Warns("one file alone")));
  EXPECT_THAT(Files("a.hex chip"), AllOf(Ends(3), Warns("no port")));
}

TEST_F(CliCompare, AReadingThatFailsIsNoComparison) {
  EXPECT_THAT(Simulate("--simulate-fault drop@20 compare a.hex chip"),
              AllOf(Ends(1), Prints(IsEmpty()), Warns("error: communication failed")));
  const json told = Simulate("--json --simulate-fault drop@20 compare a.hex chip").Json();
  EXPECT_EQ(told["error"]["code"], "no-reply");
  EXPECT_TRUE(told["differences"].empty());
  EXPECT_THAT(Simulate("--simulate-fault silent compare chip a.hex"), Ends(3));
}

TEST_F(CliCompare, ReadsStandardInputAndOtherFormats) {
  Put("a.bin", {first_.begin(), first_.end()});
  const CliResult result = Finish(
      Process({"sh", "-c",
               std::string(FENWRIGHT_CLI_PROGRAM) + " --device ATtiny12L compare - a.hex <a.hex"},
              {.Folder = folder_.Path().string()}));
  EXPECT_THAT(result, Ends(0));
  EXPECT_THAT(Files("a.bin a.bin --format bin"), Ends(0));
}

TEST_F(CliCompare, IsInTheLanguageOfTheCall) {
  EXPECT_THAT(
      Run("--device ATtiny12L compare a.hex b.hex", {.Environment = {{"LC_ALL", "ja_JP.UTF-8"}}}),
      AllOf(Ends(1), Prints("flash: 1 / 512 ワードが違います: 0x0002\n"),
            Warns("失敗: a.hex と b.hex の内容が違います。\n")));
}

}  // namespace
}  // namespace fenwright::testing
