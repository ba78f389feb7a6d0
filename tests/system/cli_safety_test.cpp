// What keeps a chip's content from being lost: the safety copy, its way back, and the EEPROM that
// stays. Whatever fails, nothing destructive has gone over the line before.

#include <unistd.h>

#include "system/cli_run.h"

namespace fenwright::testing {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

/// CRC-32 as ZIP files have it, in eight digits.
std::string SumOf(const std::string& text) {
  std::uint32_t sum = ~0U;
  for (const char character : text) {
    sum ^= static_cast<unsigned char>(character);
    for (int bit = 0; bit < 8; ++bit) sum = sum >> 1 ^ (sum % 2 == 0 ? 0 : 0xEDB88320);
  }
  char digits[9];
  std::snprintf(digits, sizeof digits, "%08x", ~sum);
  return digits;
}

constexpr const char* kChip = "ATtiny12L";
const Bytes kOldFlash{0x01, 0x02, 0x03, 0x04, 0x05, 0x06};
const Bytes kOldEeprom{0x11, 0x22, 0xFF, 0x31};

class CliSafety : public CliTest {
 protected:
  CliSafety() {
    PutCode({0x0C, 0x94, 0xFF, 0xCF});
    PutCode(kOldFlash, "old.hex");
    Put("old.eep", HexFile(kOldEeprom));
    MakeFolder("copies");
  }

  /// A board whose chip holds the old files, and whose log starts behind that.
  struct Filled {
    std::unique_ptr<BoardProgram> Board;
    std::size_t Start = 0;
    [[nodiscard]] std::string Sent() const {
      const Bytes wire = Board->Wire();
      return Destructive({wire.begin() + static_cast<std::ptrdiff_t>(Start), wire.end()});
    }
  };
  Filled Fill(const std::string& device = kChip) {
    Filled filled{.Board = std::make_unique<BoardProgram>(device)};
    EXPECT_THAT(On(*filled.Board, "program old.hex"), Ends(0));
    filled.Start = filled.Board->Wire().size();
    return filled;
  }

  /// A board whose chip is as a state file has it.
  std::unique_ptr<BoardProgram> WithState(const std::string& lines,
                                          std::vector<std::string> more = {}) {
    Put("state", std::string("fenwright-board-state 1\nchip ") + kChip + "\n" + lines);
    more.insert(more.end(), {"--state", Path("state")});
    return std::make_unique<BoardProgram>(kChip, more);
  }

  [[nodiscard]] std::vector<std::string> Copies(const std::string& extension) const {
    std::vector<std::string> paths;
    for (const auto& entry : std::filesystem::directory_iterator(Path("copies"))) {
      if (extension.empty() || entry.path().extension() == extension) {
        paths.push_back(entry.path().string());
      }
    }
    std::ranges::sort(paths);
    return paths;
  }

  [[nodiscard]] std::string OnlyCopy() const {
    const std::vector<std::string> copies = Copies(".json");
    EXPECT_THAT(copies, SizeIs(1));
    return copies.empty() ? "" : copies.front();
  }

  /// A call that can make no file of more bytes than that.
  CliResult WithRoomFor(int bytes, const BoardProgram& board, const std::string& call) {
    const std::string line = "prlimit --fsize=" + std::to_string(bytes) + " " +
                             FENWRIGHT_CLI_PROGRAM + " --port " + board.Link() + " --device " +
                             kChip + " " + call;
    // What it prints goes into files as well.
    return Run(Words{"-c", "set -o pipefail; " + line + " 2> >(cat >&2) | cat"}, {}, "bash");
  }

  /// A call that has to be refused with a code, in both languages, before anything destructive.
  void ExpectRefused(const Filled& filled, const std::string& call, int exit_code,
                     const std::string& code, const std::string& english) {
    const CliResult told = On(*filled.Board, "--json " + call);
    EXPECT_THAT(told, AllOf(Ends(exit_code), Warns(english))) << call;
    EXPECT_EQ(told.Json()["error"]["code"], code) << call;
    const CliResult japanese = Run(Words{"--port", filled.Board->Link(), "--device", kChip} + call,
                                   {.Environment = {{"LC_ALL", "ja_JP.UTF-8"}}});
    EXPECT_THAT(japanese, AllOf(Ends(exit_code), Warns("エラー: "), Warns(Not(HasSubstr(english)))))
        << call;
    EXPECT_EQ(filled.Sent(), "") << call;
  }
};

TEST_F(CliSafety, ACopyIsTakenBeforeAnythingDestructiveAndHasAllThatTheChipGives) {
  for (const std::string call :
       {"program code.hex --no-data", "erase", "write-fuses BODLEVEL=1.8V"}) {
    SCOPED_TRACE(call);
    const Filled filled = Fill();
    const CliResult told = On(*filled.Board, "--json " + call + " --backup copies");
    ASSERT_THAT(told, Ends(0));
    const std::string path = told.Json()["backup"];
    EXPECT_THAT(told.Json()["files"]["written"], ::testing::Contains(path));
    EXPECT_THAT(
        path, ::testing::ContainsRegex("^copies/ATtiny12L-1E9005-[0-9]{8}-[0-9]{6}(-2)?\\.json$"));
    const json copy = json::parse(Get(path));
    EXPECT_EQ(copy["signature"], "1E:90:05");
    EXPECT_THAT(copy["fuses"], SizeIs(2));
    EXPECT_THAT(copy["calibration"], SizeIs(1));
    const std::string stem = path.substr(0, path.size() - 5);
    EXPECT_THAT(Run("--device ATtiny12L lint " + stem + ".hex"),
                AllOf(Ends(0), Prints("flash       3 of   512 words"),
                      Prints("EEPROM      3 of    64 bytes")));
    // Everything was read twice before the first command that destroys.
    const Bytes wire = filled.Board->Wire();
    const auto first =
        std::ranges::find_if(wire.begin() + static_cast<std::ptrdiff_t>(filled.Start), wire.end(),
                             [](std::uint8_t byte) { return !Destructive({byte}).empty(); });
    const Bytes before(wire.begin() + static_cast<std::ptrdiff_t>(filled.Start), first);
    EXPECT_GE(std::ranges::count(before, 'R'), 2 * 512);
    EXPECT_GE(std::ranges::count(before, 'd'), 2 * 64);
    EXPECT_GE(std::ranges::count(before, 'o'), 2);
  }
  EXPECT_THAT(Copies(".hex"), SizeIs(3));
  EXPECT_THAT(Copies(""), SizeIs(9));
}

TEST_F(CliSafety, ARestoreBringsBackMemoriesFusesAndLockBitsAndLocksLast) {
  const auto board = WithState("fuses 52 FF\nlock 2\nflash 0 0201 0403\neeprom 0 11 22\n");
  ASSERT_THAT(On(*board, "read-fuses"), AllOf(Ends(0), Prints("LOCK       write  (1)")));
  ASSERT_THAT(On(*board, "program code.hex --no-data --backup copies"), Ends(0));
  ASSERT_THAT(On(*board, "write-fuses BODLEVEL=1.8V BODEN=Enable"), Ends(0));
  const std::size_t start = board->Wire().size();
  const json told = On(*board, "--json restore " + OnlyCopy()).Json();
  EXPECT_EQ(told["error"], nullptr);
  EXPECT_EQ(told["fuses_restored"], true);
  EXPECT_EQ(
      told["read_back"],
      json::parse(Get("copies/" + std::filesystem::path(OnlyCopy()).filename().string()))["fuses"]);
  EXPECT_THAT(On(*board, "read-fuses"),
              AllOf(Ends(0), Prints("LOCK       write  (1)"), Prints("BODLEVEL   2.7V"),
                    Prints("BODEN      Disable")));
  const Bytes wire = board->Wire();
  const std::string sent =
      Destructive({wire.begin() + static_cast<std::ptrdiff_t>(start), wire.end()});
  EXPECT_TRUE(sent.starts_with("e")) << sent;
  EXPECT_TRUE(sent.ends_with("l")) << sent;
  EXPECT_THAT(board->Dump(), ::testing::StartsWith("\x01\x02\x03\x04\xFF"));
  EXPECT_EQ(board->Dump().substr(1024, 3), "\x11\x22\xFF");
}

TEST_F(CliSafety, ARestoreWithoutFusesLeavesThemAndSaysSo) {
  const Filled filled = Fill();
  const std::string before = filled.Board->Dump();
  ASSERT_THAT(On(*filled.Board, "erase --backup copies"), Ends(0));
  ASSERT_THAT(On(*filled.Board, "write-fuses BODLEVEL=1.8V"), Ends(0));
  EXPECT_THAT(On(*filled.Board, "restore --no-fuses " + OnlyCopy()),
              AllOf(Ends(0), Prints("the fuse bits are as they were, the lock bits those of an "
                                    "erased device")));
  EXPECT_EQ(filled.Board->Dump(), before);
  EXPECT_THAT(On(*filled.Board, "read-fuses"), Prints("BODLEVEL   1.8V"));
}

TEST_F(CliSafety, ARestoreWithoutFusesOpensTheLock) {
  const auto board = WithState("fuses 52 FF\nlock 2\nflash 0 0201\n");
  ASSERT_THAT(On(*board, "program code.hex --no-data --backup copies"), Ends(0));
  ASSERT_THAT(On(*board, "write-fuses LOCK=write"), Ends(0));
  EXPECT_THAT(On(*board, "restore --no-fuses " + OnlyCopy()),
              AllOf(Ends(0), Prints("the lock bits those of an erased device")));
  EXPECT_THAT(On(*board, "read-fuses"), Prints("LOCK       none  (2)"));
}

TEST_F(CliSafety, AChipThatGivesNoFusesAwayIsRestoredAllTheSame) {
  const Filled filled = Fill("AT90S2313");
  const std::string before = filled.Board->Dump();
  ASSERT_THAT(On(*filled.Board, "erase --backup copies"), Ends(0));
  EXPECT_NE(filled.Board->Dump(), before);
  EXPECT_THAT(On(*filled.Board, "restore " + OnlyCopy()), Ends(0));
  EXPECT_EQ(filled.Board->Dump(), before);
}

TEST_F(CliSafety, ARestoreThatWouldGiveTheResetPinAwayAsksFirst) {
  const auto board = WithState("fuses 52 FF\nlock 3\nflash 0 0201\n");
  ASSERT_THAT(On(*board, "erase --backup copies"), Ends(0));
  const std::string path = OnlyCopy();
  // The copy of a chip whose reset pin was given away: the bit of the fuse byte, and a sum that
  // fits.
  json copy = json::parse(ReadFile(path));
  const json given_away =
      On(*board, "--json write-fuses RSTDISABL=PB5:I/O --dry-run --allow-reset-disable").Json();
  ASSERT_TRUE(given_away.contains("new_bytes"));
  copy["fuses"]["Fuse"] = given_away["new_bytes"]["Fuse"];
  copy.erase("crc32");
  copy["crc32"] = SumOf(copy.dump());
  WriteFile(path, copy.dump());
  const std::size_t start = board->Wire().size();
  const CliResult refused = On(*board, "--json restore " + path);
  EXPECT_THAT(refused, AllOf(Ends(2), Warns("--allow-reset-disable allows it")));
  EXPECT_EQ(refused.Json()["error"]["code"], "reset-pin");
  EXPECT_EQ(board->Wire().size(), start);
}

TEST_F(CliSafety, AFolderThatTakesNoCopyEndsTheCallBeforeTheChip) {
  const Filled filled = Fill();
  MakeFolder("closed");
  std::filesystem::permissions(Path("closed"), std::filesystem::perms::owner_read);
  for (const std::string call : {"program code.hex", "erase", "write-fuses BODLEVEL=1.8V"}) {
    ExpectRefused(filled, call + " --backup nowhere", 4, "file-missing", "there is no such folder");
    ExpectRefused(filled, call + " --backup code.hex", 4, "file-missing", "no such folder");
    // Root may write everywhere.
    if (geteuid() == 0) continue;
    ExpectRefused(filled, call + " --backup closed", 4, "file-unwritable", "cannot be written");
  }
  EXPECT_EQ(filled.Board->Wire().size(), filled.Start);
}

TEST_F(CliSafety, ADiscThatIsFullEndsTheCallAndLeavesNoPartOfACopy) {
  const Filled filled = Fill();
  for (const std::string call : {"erase --backup copies", "program code.hex --backup copies",
                                 "program code.hex --keep-eeprom"}) {
    const CliResult told = WithRoomFor(100, *filled.Board, "--json " + call);
    EXPECT_THAT(told, AllOf(Ends(4), Warns("nothing was erased or written"))) << call;
    EXPECT_EQ(told.Json()["error"]["code"], "file-unwritable") << call;
    EXPECT_EQ(told.Json()["backup"], nullptr) << call;
  }
  EXPECT_THAT(Copies(""), IsEmpty());
  EXPECT_EQ(filled.Sent(), "");
}

TEST_F(CliSafety, ABoardThatGoesWhileCopyingEndsTheCall) {
  for (const std::string fault : {"hangup@600", "drop@600", "silent@900"}) {
    BoardProgram board(kChip, {"--fault", fault});
    const CliResult told = On(board, "--json erase --backup copies");
    EXPECT_THAT(told, AllOf(Ends(1), Warns("nothing was erased or written"))) << fault;
    EXPECT_NE(told.Json()["error"], nullptr);
    EXPECT_EQ(Destructive(board.Wire()), "") << fault;
  }
  EXPECT_THAT(Copies(""), IsEmpty());
}

TEST_F(CliSafety, TwoReadingsThatDifferMakeNoCopy) {
  for (const std::string call : {"program code.hex", "erase", "write-fuses BODLEVEL=1.8V"}) {
    BoardProgram board(kChip, {"--fault", "flip@200"});
    const CliResult told = On(board, "--json " + call + " --backup copies");
    EXPECT_THAT(told, AllOf(Ends(1), Warns("two readings of the device differ: flash word"),
                            Warns("nothing was erased or written")));
    EXPECT_EQ(told.Json()["error"]["code"], "readings-differ");
    EXPECT_EQ(Destructive(board.Wire()), "") << call;
  }
  EXPECT_THAT(Copies(""), IsEmpty());
}

TEST_F(CliSafety, ALockedChipIsRefusedUnlessItsContentMayBeLost) {
  const auto board = WithState("lock 0\nflash 0 0201 0403\n");
  const CliResult told = On(*board, "--json erase --backup copies");
  EXPECT_THAT(told, AllOf(Ends(1), Warns("a copy of that would be worthless"),
                          Warns("nothing was erased or written")));
  EXPECT_EQ(told.Json()["error"]["code"], "locked-device");
  EXPECT_THAT(On(*board, "program code.hex --backup copies"), Ends(1));
  EXPECT_THAT(On(*board, "write-fuses LOCK=write --backup copies"), Ends(1));
  EXPECT_EQ(Destructive(board->Wire()), "");
  const CliResult forced = On(*board, "--json erase --backup copies --force-locked");
  EXPECT_THAT(forced, AllOf(Ends(0), Warns("no safety copy is made")));
  EXPECT_EQ(forced.Json()["backup"], nullptr);
  EXPECT_EQ(forced.Json()["warnings"][0]["code"], "locked-device");
  EXPECT_EQ(Destructive(board->Wire()), "e");
  EXPECT_THAT(Copies(""), IsEmpty());
}

/// Its signature can be read, and its cells or its lock bits say what it is.
TEST_F(CliSafety, AChipThatReadsAsItsAddressesOrWhoseLockBitsSaySoIsTakenForLocked) {
  std::string rows;
  for (unsigned row = 0; row < 512; row += 16) {
    char text[16];
    std::snprintf(text, sizeof text, "flash %X", row);
    rows += text;
    for (unsigned word = row; word < row + 16; ++word) {
      std::snprintf(text, sizeof text, " %04X", (word & 0xFF) * 0x101);
      rows += text;
    }
    rows += "\n";
  }
  const auto echo = WithState(rows);
  EXPECT_EQ(On(*echo, "--json erase --backup copies").Json()["error"]["code"], "locked-device");
  EXPECT_EQ(Destructive(echo->Wire()), "");
  // The reply to F of the first reading has the lock bits.
  BoardProgram board(kChip, {"--fault", "flip@666:06"});
  EXPECT_EQ(On(board, "--json erase --backup copies").Json()["error"]["code"], "locked-device");
  EXPECT_EQ(Destructive(board.Wire()), "");
}

TEST_F(CliSafety, ACopyOfAnotherChipIsRefused) {
  const Filled other = Fill("AT90S2313");
  ASSERT_THAT(On(*other.Board, "erase --backup copies"), Ends(0));
  const Filled filled = Fill();
  ExpectRefused(filled, "restore " + OnlyCopy(), 4, "foreign-copy",
                "is a copy of an AT90S2313, and the device is an ATtiny12L");
  EXPECT_EQ(filled.Board->Wire().size(), filled.Start);
  // The right copy, and another chip in the socket.
  EXPECT_EQ(On(*filled.Board, "--json restore " + OnlyCopy(), "AT90S2313").Json()["error"]["code"],
            "wrong-chip");
  EXPECT_EQ(filled.Sent(), "");
}

TEST_F(CliSafety, ACopyThatIsNotWholeIsRefused) {
  Filled filled = Fill();
  ASSERT_THAT(On(*filled.Board, "write-fuses BODLEVEL=1.8V --backup copies"), Ends(0));
  filled.Start = filled.Board->Wire().size();
  const std::string path = OnlyCopy();
  const std::string stem = path.substr(0, path.size() - 5);
  const std::string description = ReadFile(path);
  const std::string restore = "restore " + path;
  ExpectRefused(filled, "restore copies/none.json", 4, "file-missing", "there is no such file");
  ExpectRefused(filled, "restore copies", 4, "file-unreadable", "cannot be read");
  ExpectRefused(filled, "restore " + stem + ".hex", 4, "damaged-copy", "is not the description");
  for (const std::string extension : {".hex", ".eep"}) {
    const std::string whole = ReadFile(stem + extension);
    std::string changed = whole;
    changed[9] = changed[9] == '0' ? '1' : '0';
    WriteFile(stem + extension, changed);
    ExpectRefused(filled, restore, 4, "damaged-copy", "has changed since it was made");
    WriteFile(stem + extension, whole.substr(0, whole.size() / 2));
    ExpectRefused(filled, restore, 4, "damaged-copy", "has changed since it was made");
    std::filesystem::remove(stem + extension);
    ExpectRefused(filled, restore, 4, "file-missing", "there is no such file");
    WriteFile(stem + extension, whole);
  }
  WriteFile(path, "");
  ExpectRefused(filled, restore, 4, "damaged-copy", "was cut short");
  json edited = json::parse(description);
  edited["fuses"]["Fuse"] = 0;
  WriteFile(path, edited.dump());
  ExpectRefused(filled, restore, 4, "damaged-copy", "has changed since it was made");
  WriteFile(path, "{\"fenwright_copy\": 1, \"crc32\": []}");
  ExpectRefused(filled, restore, 4, "damaged-copy", "cannot be read as a description");
  EXPECT_EQ(filled.Board->Wire().size(), filled.Start);
  WriteFile(path, description);
  EXPECT_THAT(On(*filled.Board, restore), Ends(0));
}

TEST_F(CliSafety, ARestoreThatDoesNotTakeIsAFailure) {
  const Filled filled = Fill();
  ASSERT_THAT(On(*filled.Board, "write-fuses BODLEVEL=1.8V --backup copies"), Ends(0));
  const auto codes = [this](const std::string& fault) {
    const json told = Run("--json --simulate --device ATtiny12L --simulate-fault " + fault +
                          " restore " + OnlyCopy())
                          .Json();
    return told["error"].is_null() ? "ok" : told["error"]["code"].get<std::string>();
  };
  EXPECT_EQ(codes("silent@9999999"), "ok");
  EXPECT_EQ(codes("lie@2"), "differences");
  // A cell beyond what the files fill, which the verify does not look at.
  EXPECT_EQ(codes("stuck@flash:400:3=0"), "differences");
  EXPECT_EQ(codes("stuck@eeprom:60:3=0"), "differences");
}

TEST_F(CliSafety, KeepEepromBringsTheContentBackAndSaysWhatTheEraseDoes) {
  const Filled filled = Fill();
  EXPECT_THAT(On(*filled.Board, "program code.hex --no-data"),
              AllOf(Ends(0), Warns("the erase wipes the EEPROM as well (--keep-eeprom")));
  ASSERT_EQ(filled.Board->Dump().substr(1024, 2), "\xFF\xFF");
  ASSERT_THAT(On(*filled.Board, "program old.hex"), Ends(0));
  Put("code.eep", HexFile({0x77}));
  const CliResult told = On(*filled.Board, "--json program code.hex --keep-eeprom");
  EXPECT_THAT(told, Ends(0));
  EXPECT_EQ(told.Json()["eeprom_kept"], true);
  EXPECT_EQ(told.Json()["eeprom_file"], nullptr);
  EXPECT_EQ(told.Json()["verified"]["eeprom"], true);
  const std::string dump = filled.Board->Dump();
  EXPECT_THAT(dump, ::testing::StartsWith("\x0C\x94"));
  EXPECT_EQ(dump.substr(1024, 5), "\x11\x22\xFF\x31\xFF");
  EXPECT_THAT(On(*filled.Board, "program code.hex --keep-eeprom --backup copies"),
              AllOf(Ends(0), Prints("its content was written back and verified")));
  EXPECT_EQ(filled.Board->Dump().substr(1024, 5), "\x11\x22\xFF\x31\xFF");
  // The file that had it meanwhile is gone.
  for (const auto& entry : std::filesystem::directory_iterator(folder_.Path())) {
    EXPECT_FALSE(entry.path().filename().string().starts_with("ATtiny")) << entry.path();
  }
}

TEST_F(CliSafety, KeepEepromTakesNoDataFile) {
  const Filled filled = Fill();
  const std::string call = "program code.hex --keep-eeprom --data old.eep";
  EXPECT_THAT(On(*filled.Board, call), AllOf(Ends(2), Warns("excludes")));
  EXPECT_EQ(On(*filled.Board, "--json " + call).Json()["error"]["code"], "usage");
  EXPECT_THAT(Run(call, {.Environment = {{"LC_ALL", "ja_JP.UTF-8"}}}),
              AllOf(Ends(2), Warns("一緒に指定できません")));
  EXPECT_EQ(filled.Board->Wire().size(), filled.Start);
}

TEST_F(CliSafety, KeepEepromThatCannotBeReadEndsTheCall) {
  for (const auto& [fault, code] : {std::pair{"flip@40", "readings-differ"},
                                    {"drop@40", "no-reply"},
                                    {"hangup@60", "port-gone"}}) {
    BoardProgram board(kChip, {"--fault", fault});
    const CliResult told = On(board, "--json program code.hex --keep-eeprom");
    EXPECT_THAT(told, AllOf(Ends(1), Warns("nothing was erased or written"))) << fault;
    EXPECT_EQ(told.Json()["error"]["code"], code) << fault;
    EXPECT_EQ(Destructive(board.Wire()), "") << fault;
  }
  const auto locked = WithState("lock 0\n");
  EXPECT_THAT(On(*locked, "program code.hex --keep-eeprom"), Ends(1));
  EXPECT_EQ(Destructive(locked->Wire()), "");
}

TEST_F(CliSafety, AFailureBehindTheEraseLeavesTheEepromInAFile) {
  Put("state", std::string("fenwright-board-state 1\nchip ") + kChip + "\neeprom 0 11 22 33\n");
  // The first write is that of the flash.
  BoardProgram board(kChip, {"--state", Path("state"), "--fault", "lie@1"});
  const CliResult told = On(board, "--json program code.hex --keep-eeprom");
  EXPECT_THAT(told, AllOf(Ends(1), Warns("what the EEPROM held is in this file")));
  EXPECT_EQ(told.Json()["eeprom_kept"], false);
  const std::string file = told.Json()["eeprom_file"];
  EXPECT_THAT(file, ::testing::StartsWith("ATtiny12L-1E9005-"));
  EXPECT_THAT(Get(file), ::testing::StartsWith(":10000000112233FF"));
  EXPECT_THAT(On(board, "program code.hex --data " + file), Ends(0));
  EXPECT_EQ(board.Dump().substr(1024, 4), "\x11\x22\x33\xFF");
}

TEST_F(CliSafety, AnEepromThatWasNotBroughtBackIsNotKeptAsItIs) {
  Put("state", std::string("fenwright-board-state 1\nchip ") + kChip + "\neeprom 0 11 22 33\n");
  // The first write of the EEPROM, behind four of the flash.
  BoardProgram board(kChip, {"--state", Path("state"), "--fault", "lie@5"});
  const CliResult told = On(board, "--json program code.hex --keep-eeprom");
  EXPECT_THAT(told, AllOf(Ends(1), Warns("before you run the command again")));
  const std::string file = told.Json()["eeprom_file"];
  ASSERT_EQ(board.Dump().substr(1024, 3), "\xFF\x22\x33");
  const std::size_t start = board.Wire().size();
  const CliResult again = On(board, "--json program code.hex --keep-eeprom");
  EXPECT_THAT(again, AllOf(Ends(1), Warns(file), Warns("nothing was erased or written")));
  EXPECT_EQ(again.Json()["error"]["code"], "eeprom-left-over");
  const Bytes wire = board.Wire();
  EXPECT_EQ(Destructive({wire.begin() + static_cast<std::ptrdiff_t>(start), wire.end()}), "");
  EXPECT_THAT(On(board, "program code.hex --data " + file), Ends(0));
  EXPECT_EQ(board.Dump().substr(1024, 4), "\x11\x22\x33\xFF");
  EXPECT_THAT(On(board, "program code.hex --keep-eeprom"), Ends(0));
  EXPECT_EQ(board.Dump().substr(1024, 4), "\x11\x22\x33\xFF");
  EXPECT_TRUE(IsThere(file));
}

TEST_F(CliSafety, AFileThatIsLeftOverStopsOnlyTheDeviceThatItMayBeOf) {
  const std::string name = "ATtiny12L-1E9005-20260401-093000";
  Put(name + ".eep", HexFile({0x11, 0x22, 0x33}));
  const auto code_of = [this](const std::string& eeprom) {
    const auto board = WithState("eeprom 0 " + eeprom + "\n");
    const json told = On(*board, "--json program code.hex --keep-eeprom").Json();
    return told["error"].is_null() ? "ok" : told["error"]["code"].get<std::string>();
  };
  EXPECT_EQ(code_of("FF FF FF"), "eeprom-left-over");
  EXPECT_EQ(code_of("11 FF FF"), "eeprom-left-over");
  EXPECT_EQ(code_of("11 22 33"), "ok");
  EXPECT_EQ(code_of("11 22 34"), "ok");
  EXPECT_EQ(code_of("FF FF FF 44"), "ok");
  // Part of a safety copy, of another device, and empty.
  Put(name + ".json", "{}");
  EXPECT_EQ(code_of("FF FF FF"), "ok");
  std::filesystem::remove(Path(name + ".json"));
  std::filesystem::rename(Path(name + ".eep"), Path("ATtiny15L" + name.substr(9) + ".eep"));
  Put(name + ".eep", "");
  EXPECT_EQ(code_of("FF FF FF"), "ok");
}

TEST_F(CliSafety, WithASafetyCopyTheEepromIsInAFileOfItsOwnAsWell) {
  Put("state", std::string("fenwright-board-state 1\nchip ") + kChip + "\neeprom 0 11 22 33\n");
  BoardProgram board(kChip, {"--state", Path("state"), "--fault", "lie@5"});
  const CliResult told = On(board, "--json program code.hex --keep-eeprom --backup copies");
  EXPECT_THAT(told, AllOf(Ends(1), Warns("before you run the command again")));
  EXPECT_THAT(Get(told.Json()["eeprom_file"]), ::testing::StartsWith(":10000000112233FF"));
  EXPECT_EQ(On(board, "--json program code.hex --keep-eeprom").Json()["error"]["code"],
            "eeprom-left-over");
}

}  // namespace
}  // namespace fenwright::testing
