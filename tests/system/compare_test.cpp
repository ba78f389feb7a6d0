// Code files, safety copies and the chip, two of them side by side.

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

  /// A copy of what the board's chip holds, which is this file.
  std::string Copy(const BoardProgram& board, const std::string& file = "a.hex") {
    const json told = On(board, "--json program " + file + " --backup .").Json();
    EXPECT_EQ(told["exit_code"], 0);
    return std::filesystem::path(told["backup"].get<std::string>()).filename().string();
  }
  /// A board whose chip holds a.hex and a.eep.
  std::unique_ptr<BoardProgram> Filled(std::vector<std::string> options = {}) {
    auto board = std::make_unique<BoardProgram>("ATtiny12L", std::move(options));
    PutCode({0x11, 0x22}, "a.eep");
    EXPECT_THAT(On(*board, "program a.hex"), Ends(0));
    return board;
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
  Put("bare.hex", Get("a.hex"));
  EXPECT_THAT(On(board, "compare chip bare.hex"),
              AllOf(Ends(0), Prints("ok: chip and bare.hex hold the same in the flash; the EEPROM "
                                    "was not compared\n")));
  EXPECT_THAT(On(board, "compare --no-data chip bare.hex"), Prints("hold the same\n"));
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

TEST_F(CliCompare, ASafetyCopyAndTheChipAgreeInAllThatBothHave) {
  const auto board = Filled();
  const std::string copy = Copy(*board);
  for (const std::string& sides : {copy + " chip", "chip ./" + copy}) {
    EXPECT_THAT(
        On(*board, "compare " + sides),
        AllOf(Ends(0), Prints("flash: all 512 words agree\nEEPROM: all 64 bytes agree\n"
                              "fuses: all 2 bytes agree\ncalibration: all 1 bytes agree\nok: ")))
        << sides;
  }
  const json told = On(*board, "--json compare " + copy + " chip").Json();
  EXPECT_EQ(told["compared"], json({"flash", "eeprom", "fuses", "calibration"}));
  EXPECT_EQ(told["fuse_differences"], json::array());
}

TEST_F(CliCompare, TheBitsThatDifferFromTheCopyAreNamed) {
  const auto board = Filled();
  const std::string copy = Copy(*board);
  ASSERT_THAT(On(*board, "write-fuses BODEN=Enable"), Ends(0));
  const CliResult result = On(*board, "compare " + copy + " chip");
  EXPECT_THAT(result, AllOf(Ends(1), Prints("EEPROM: all 64 bytes agree\n"),
                            Prints("fuses: 1 of 2 bytes differ: Fuse\n"),
                            Warns("failed: " + copy + " and chip differ\n")));
  const json told = On(*board, "--json compare " + copy + " chip").Json();
  EXPECT_EQ(told["error"]["code"], "differences");
  EXPECT_TRUE(told["differences"].empty());
  const json other = On(*board, "--json read-fuses").Json()["bytes"];
  const json kept = json::parse(Get(copy))["fuses"];
  ASSERT_NE(other["Fuse"], kept["Fuse"]);
  EXPECT_EQ(
      told["fuse_differences"],
      json::array({{{"name", "Fuse"}, {"expected", kept["Fuse"]}, {"found", other["Fuse"]}}}));
  EXPECT_THAT(result, Prints("Fuse  *0x"));
  // The flash alone is the same.
  EXPECT_THAT(On(*board, "compare " + copy + " chip --no-data"),
              AllOf(Ends(0), Prints(Not(HasSubstr("fuses")))));
}

TEST_F(CliCompare, AnotherChipHasAnotherCalibration) {
  const auto board = Filled();
  const std::string copy = Copy(*board);
  Put("state", "fenwright-board-state 1\nchip ATtiny12L\ncalibration 11 11 11 11\n");
  const auto other = Filled({"--state", Path("state")});
  EXPECT_THAT(On(*other, "compare " + copy + " chip"),
              AllOf(Ends(1), Prints("fuses: all 2 bytes agree\n"),
                    Prints("  | *0x11\ncalibration: 1 of 1 bytes differ: calibration 0\n")));
}

TEST_F(CliCompare, ASafetyCopyAndAFileAreComparedInTheirMemories) {
  const auto board = Filled();
  const std::string copy = Copy(*board);
  for (const std::string& sides : {copy + " a.hex", "a.hex " + copy}) {
    EXPECT_THAT(Files(sides), AllOf(Ends(0), Prints("flash: all 512 words agree\n"
                                                    "EEPROM: all 64 bytes agree\nok: ")));
  }
  EXPECT_THAT(Files(copy + " b.hex"),
              AllOf(Ends(1), Prints("..Hello!  |  940C"), Prints(Not(HasSubstr("EEPROM")))));
  EXPECT_THAT(Files("b.hex " + copy), AllOf(Ends(1), Prints("..HeXlo!  |  940C")));
}

TEST_F(CliCompare, TwoSafetyCopiesNeedNoProgrammer) {
  const auto board = Filled();
  const std::string old = Copy(*board);
  ASSERT_THAT(On(*board, "program b.hex"), Ends(0));
  const std::string later = Copy(*board, "b.hex");
  ASSERT_NE(old, later);
  EXPECT_THAT(Files(old + " " + old), AllOf(Ends(0), Prints("fuses: all 2 bytes agree")));
  EXPECT_THAT(Files(old + " " + later),
              AllOf(Ends(1), Prints("flash: 1 of 512 words differ: 0x0002\n"),
                    Prints("EEPROM: 2 of 64 bytes differ: 0x0000-0x0001\n"),
                    Prints("fuses: all 2 bytes agree\n")));
}

TEST_F(CliCompare, RefusesACopyThatIsDamagedOrOfAnotherDeviceBeforeTheBoardIsUsed) {
  const auto board = Filled();
  const std::string copy = Copy(*board);
  const std::size_t sent = board->Wire().size();
  const json foreign = On(*board, "--json compare chip " + copy, "AT90S8515").Json();
  EXPECT_EQ(foreign["error"]["code"], "foreign-copy");
  EXPECT_EQ(foreign["exit_code"], 4);
  const std::string flash = copy.substr(0, copy.size() - 5) + ".hex";
  Put(flash, Get("b.hex"));
  for (const std::string& sides : {"chip " + copy, copy + " a.hex", "a.hex " + copy}) {
    const json damaged = On(*board, "--json compare " + sides).Json();
    EXPECT_EQ(damaged["error"]["code"], "damaged-copy");
    EXPECT_EQ(damaged["exit_code"], 4);
    EXPECT_EQ(damaged.count("compared"), 0U);
  }
  Put(copy, "{}");
  EXPECT_THAT(On(*board, "compare chip " + copy), AllOf(Ends(4), Warns("cut short")));
  EXPECT_THAT(On(*board, "compare chip none.json"), AllOf(Ends(4), Warns("there is no such file")));
  EXPECT_EQ(board->Wire().size(), sent);
}

TEST_F(CliCompare, IsInTheLanguageOfTheCall) {
  EXPECT_THAT(
      Run("--device ATtiny12L compare a.hex b.hex", {.Environment = {{"LC_ALL", "ja_JP.UTF-8"}}}),
      AllOf(Ends(1), Prints("flash: 1 / 512 ワードが違います: 0x0002\n"),
            Warns("失敗: a.hex と b.hex の内容が違います。\n")));
}

}  // namespace
}  // namespace fenwright::testing
