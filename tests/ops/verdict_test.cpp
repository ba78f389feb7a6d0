// What the differences of a verify say about their cause, and the picture of the memory.

#include "ops/verdict.h"

#include "ops/command.h"
#include "ops/commands.h"
#include "ops/outcome.h"
#include "ops/second_reading.h"
#include "support/test_run.h"

namespace fenwright::testing {
namespace {

using core::Language;
using ops::VerdictKind;
using Words = std::vector<std::uint16_t>;

/// Words that no two neighbours of share, of two different bytes each, none of them an address.
Words Program(std::size_t count) {
  Words words;
  for (std::size_t i = 0; i < count; ++i) {
    words.push_back(static_cast<std::uint16_t>((0x90 + i % 23) << 8U | (0x21 + i % 29)));
  }
  return words;
}

/// A verify of a chip that holds something, as its run leaves the state.
class Verified {
 public:
  core::AppState State;

  Verified() {
    State.FlashWords = 4096;
    State.EepromBytes = 512;
    std::ranges::fill(State.FlashBuffer, core::kBlank);
    std::ranges::fill(State.EepromBuffer, core::kBlank);
    State.Command.Operation = core::DeviceOperation::Verify;
    State.Command.VerifyFinished = true;
  }
  Verified& Flash(const Words& expected, const Words& found) {
    for (std::size_t word = 0; word < expected.size(); ++word) {
      State.FlashBuffer[2 * word] = static_cast<std::uint8_t>(expected[word] >> 8U);
      State.FlashBuffer[2 * word + 1] = static_cast<std::uint8_t>(expected[word] & 0xFFU);
      if (expected[word] != found[word]) Differ(true, word, expected[word], found[word]);
    }
    State.FlashNG = !State.Command.Differences.empty();
    return *this;
  }
  Verified& Eeprom(const Bytes& expected, const Bytes& found) {
    std::ranges::copy(expected, State.EepromBuffer.begin());
    for (std::size_t byte = 0; byte < expected.size(); ++byte) {
      if (expected[byte] != found[byte]) Differ(false, byte, expected[byte], found[byte]);
    }
    return *this;
  }
  [[nodiscard]] VerdictKind Kind() const { return ops::Diagnose(State).Kind; }
  [[nodiscard]] std::string Text() const { return ops::Diagnose(State).Text.English; }
  /// With a second reading that gives the same.
  [[nodiscard]] ops::Verdict Twice() const {
    return ops::Diagnose(State, State.Command.Differences);
  }

 private:
  void Differ(bool in_flash, std::size_t address, std::uint16_t expected, std::uint16_t found) {
    State.Command.Differences.push_back({.InFlash = in_flash,
                                         .Address = static_cast<std::int32_t>(address),
                                         .Expected = expected,
                                         .Found = found});
  }
};

Verified OfFlash(const Words& expected, const Words& found) {
  return Verified().Flash(expected, found);
}

Words Changed(Words words, const std::function<std::uint16_t(std::size_t, std::uint16_t)>& change) {
  for (std::size_t i = 0; i < words.size(); ++i) words[i] = change(i, words[i]);
  return words;
}

TEST(Verdict, IsNoneWithoutADifferenceAndForAVerifyThatBrokeOff) {
  const Words program = Program(32);
  EXPECT_EQ(OfFlash(program, program).Kind(), VerdictKind::None);
  Verified broken = OfFlash(program, Words(32, 0xFFFF));
  broken.State.Command.VerifyFinished = false;
  EXPECT_EQ(broken.Kind(), VerdictKind::None);
}

TEST(Verdict, OfAMemoryThatReadsBlank) {
  EXPECT_EQ(OfFlash(Program(32), Words(32, 0xFFFF)).Kind(), VerdictKind::ReadsBlank);
  EXPECT_EQ(Verified().Eeprom({1, 0xFF, 2}, Bytes(3, 0xFF)).Text(),
            "the EEPROM reads FF throughout: it was not written, or no chip answers");
  Words nearly(32, 0xFFFF);
  nearly[9] = 0x9099;
  EXPECT_NE(OfFlash(Program(32), nearly).Kind(), VerdictKind::ReadsBlank);
}

TEST(Verdict, OfAMemoryThatReadsZero) {
  EXPECT_EQ(OfFlash(Program(32), Words(32, 0)).Kind(), VerdictKind::ReadsZero);
  EXPECT_EQ(Verified().Eeprom({1, 2}, {0, 0}).Kind(), VerdictKind::ReadsZero);
  EXPECT_EQ(Verified().Eeprom({1, 2}, {0, 1}).Kind(), VerdictKind::NoPattern);
}

TEST(Verdict, OfAMemoryThatReadsAddresses) {
  const auto echo = [](std::size_t address, std::uint16_t /*word*/) {
    return static_cast<std::uint16_t>((address & 0xFFU) << 8U | (address & 0xFFU));
  };
  const Words program = Program(300);
  EXPECT_EQ(OfFlash(program, Changed(program, echo)).Kind(), VerdictKind::ReadsAddresses);
  Bytes addresses(64);
  std::ranges::generate(addresses,
                        [byte = 0]() mutable { return static_cast<std::uint8_t>(byte++); });
  EXPECT_EQ(Verified().Eeprom(Bytes(64, 0xA5), addresses).Kind(), VerdictKind::ReadsAddresses);
  Words one_is_right = Changed(program, echo);
  one_is_right[5] = program[5];
  EXPECT_EQ(OfFlash(program, one_is_right).Kind(), VerdictKind::NoPattern);
  // Seven may be chance.
  const Words few = Program(7);
  EXPECT_EQ(OfFlash(few, Changed(few, echo)).Kind(), VerdictKind::NoPattern);
}

TEST(Verdict, OfWordsWithTheirBytesSwapped) {
  const auto swap = [](std::size_t /*address*/, std::uint16_t word) {
    return static_cast<std::uint16_t>(word << 8U | word >> 8U);
  };
  Words program = Program(32);
  program[3] = 0x5555;  // the same either way
  Words swapped = Changed(program, swap);
  EXPECT_EQ(OfFlash(program, swapped).Kind(), VerdictKind::BytesSwapped);
  swapped[20] = program[20];
  EXPECT_EQ(OfFlash(program, swapped).Kind(), VerdictKind::NoPattern);
}

TEST(Verdict, OfAContentThatIsShiftedByOneCell) {
  const Words program = Program(32);
  Words up = program;
  std::shift_right(up.begin(), up.end(), 1);
  up[0] = 0xFFFF;
  EXPECT_EQ(OfFlash(program, up).Text(),
            "the flash holds everything one word too high: check where the file begins, and "
            "program again");
  Words down = program;
  std::shift_left(down.begin(), down.end(), 1);
  down[31] = 0xFFFF;
  EXPECT_EQ(OfFlash(program, down).Kind(), VerdictKind::ShiftedByOne);
  EXPECT_THAT(OfFlash(program, down).Text(), HasSubstr("one word too low"));
  down[7] ^= 1U;
  EXPECT_EQ(OfFlash(program, down).Kind(), VerdictKind::NoPattern);
  const Bytes data{1, 2, 3, 4, 5, 6, 7, 8, 9};
  EXPECT_EQ(Verified().Eeprom(data, {0xFF, 1, 2, 3, 4, 5, 6, 7, 8}).Kind(),
            VerdictKind::ShiftedByOne);
}

TEST(Verdict, OfADataBitThatIsStuckAtZeroOrAtOne) {
  const Words program = Program(32);
  const auto cleared = [](std::size_t /*address*/, std::uint16_t word) {
    return static_cast<std::uint16_t>(word & ~0x0020U);
  };
  const auto set = [](std::size_t /*address*/, std::uint16_t word) {
    return static_cast<std::uint16_t>(word | 0x0800U);
  };
  EXPECT_EQ(OfFlash(program, Changed(program, cleared)).Text(),
            "data bit 5 of the flash reads 0 everywhere: the chip or its contacts are bad");
  EXPECT_EQ(OfFlash(program, Changed(program, set)).Text(),
            "data bit 11 of the flash reads 1 everywhere: the chip or its contacts are bad");
  // The other way round in one of them: no bit is stuck.
  Words both_ways = Changed(program, cleared);
  both_ways.back() = static_cast<std::uint16_t>(program.back() ^ 0x0040U);
  EXPECT_EQ(OfFlash(program, both_ways).Kind(), VerdictKind::NoPattern);
  const auto flipped = [](std::size_t /*address*/, std::uint16_t word) {
    return static_cast<std::uint16_t>(word ^ 0x0004U);
  };
  EXPECT_EQ(OfFlash(program, Changed(program, flipped)).Kind(), VerdictKind::NoPattern);
}

TEST(Verdict, OfASingleBitTakesTwoReadings) {
  const Words program = Program(32);
  Words found = program;
  found[16] ^= 0x0100U;
  const Verified once = OfFlash(program, found);
  EXPECT_EQ(once.Kind(), VerdictKind::NoPattern);
  EXPECT_TRUE(ops::Diagnose(once.State).NeedsSecondReading);
  EXPECT_EQ(once.Twice().Kind, VerdictKind::BitStuck);
  EXPECT_FALSE(once.Twice().NeedsSecondReading);
  EXPECT_EQ(once.Twice().Text.English,
            "all that is wrong in the flash is bit 8, which reads 1 (first at 0x0010): the chip "
            "has bad cells");
}

TEST(Verdict, OfAMemoryThatIsWrongOnlyBeyondAnAddress) {
  const Words program = Program(1500);
  const auto blank_from = [](std::size_t first) {
    return [first](std::size_t address, std::uint16_t word) {
      return address < first ? word : std::uint16_t{0xFFFF};
    };
  };
  EXPECT_EQ(OfFlash(program, Changed(program, blank_from(1024))).Text(),
            "the flash is right below 0x0400 and from there on reads FF: perhaps the chip has less "
            "memory than the selected device");
  EXPECT_EQ(OfFlash(program, Changed(program, blank_from(1000))).Text(),
            "the flash is right below 0x03E8 and from there on reads FF: the rest was not written");
  const auto again = [&program](std::size_t address, std::uint16_t /*word*/) {
    return program[address % 1024];
  };
  EXPECT_EQ(OfFlash(program, Changed(program, again)).Text(),
            "the flash is right below 0x0400 and from there on is its beginning once more: perhaps "
            "the chip has less memory than the selected device");
  Words one_more = Changed(program, blank_from(1024));
  one_more[1200] = 0x1234;
  EXPECT_EQ(OfFlash(program, one_more).Kind(), VerdictKind::NoPattern);
  EXPECT_EQ(ops::WordOf(OfFlash(program, Changed(program, blank_from(1024))).Kind()),
            "wrong-beyond");
}

TEST(Verdict, OfCellsThatReadDifferentlyTheSecondTimeNamesThem) {
  const Words program = Program(32);
  Words found = program;
  found[3] = 0x1111;
  found[9] = 0x2222;
  Verified verified = OfFlash(program, found).Eeprom({0x11, 0x22}, {0x11, 0x44});
  std::vector<core::Difference> again = verified.State.Command.Differences;
  EXPECT_EQ(ops::Diagnose(verified.State, again).Kind, VerdictKind::NoPattern);
  again[1].Found = again[1].Expected;
  again[2].Found = 0x66;
  const ops::Verdict verdict = ops::Diagnose(verified.State, again);
  EXPECT_EQ(verdict.Kind, VerdictKind::Unstable);
  EXPECT_EQ(verdict.Text.English,
            "2 of 3 differing cells gave another value when read again (flash 0x0009, EEPROM "
            "0x0001): check the contacts and the cable");
}

TEST(Verdict, OfBothMemoriesIsThatOfTheFirstWithAPattern) {
  const Words program = Program(32);
  Words found = program;
  found[3] = 0x1111;
  const Verified both = OfFlash(program, found).Eeprom({0x11, 0x22}, {0xFF, 0xFF});
  EXPECT_EQ(both.Kind(), VerdictKind::ReadsBlank);
  EXPECT_THAT(both.Text(), AllOf(StartsWith("the differences of the flash have no pattern"),
                                 HasSubstr("; the EEPROM reads FF throughout")));
  EXPECT_TRUE(ops::Diagnose(both.State).NeedsSecondReading);
}

TEST(Verdict, StandsInTheSecondLineOfTheWindowsResult) {
  const Words program = Program(32);
  const Verified blank = OfFlash(program, Words(32, 0xFFFF));
  EXPECT_EQ(ops::DescribeCause(blank.State),
            "一致しない箇所 : フラッシュ 32 ワード。フラッシュはすべて FF と読めます。"
            "書き込まれていないか、デバイスが応答していません。");
}

TEST(MemoryMap, ShowsWhichCellsAreRight) {
  const Words program = Program(70);
  Words found = program;
  found[2] = 0x1111;
  found[69] = 0x1111;
  EXPECT_THAT(ops::DrawMemoryMap(OfFlash(program, found).State, Language::English),
              ElementsAre("flash, a sign for 1 word: . right  + some wrong  # wrong",
                          "0x0000  ..#" + std::string(61, '.'), "0x0040  .....#"));
}

TEST(MemoryMap, OfALargeMemoryHasAtMostSixteenLines) {
  const Words program = Program(4096);
  Words found = program;
  found[0] = 0x1111;
  std::fill(found.begin() + 256, found.begin() + 512, std::uint16_t{0});
  const Texts lines = ops::DrawMemoryMap(OfFlash(program, found).State, Language::Japanese);
  ASSERT_THAT(lines, SizeIs(17));
  EXPECT_EQ(lines[0], "フラッシュ (1 文字が 4 ワード): . 一致  + 一部が違う  # 違う");
  EXPECT_EQ(lines[1], "0x0000  +" + std::string(63, '.'));
  EXPECT_EQ(lines[2], "0x0100  " + std::string(64, '#'));
  EXPECT_EQ(lines[16], "0x0F00  " + std::string(64, '.'));
}

TEST(MemoryMap, LeavesAMemoryOutThatDoesNotDiffer) {
  const Verified eeprom = OfFlash(Program(4), Program(4)).Eeprom({1, 2}, {1, 3});
  EXPECT_THAT(ops::DrawMemoryMap(eeprom.State, Language::English),
              ElementsAre(StartsWith("EEPROM, a sign for 1 byte:"), "0x0000  .#"));
}

TEST(SecondReading, ReadsTheCellsThatDifferAndKeepsWhatIsKnownOfTheVerify) {
  BoardRun run("ATtiny12L", WithFaults("stuck@flash:0x1:15=0 stuck@eeprom:1:0=1"));
  const Bytes code{0x0C, 0x94, 0x2A, 0xC0, 0x11, 0x90};
  run.LoadImage(code, {0x11, 0x22});
  ops::RunCommand(run.Context, ops::Cmd_btn_program_Click);
  ASSERT_THAT(run.State.Command.Differences, SizeIs(2));
  run.Chip().SetFlashWord(1, 0x1234);
  run.Wire.clear();
  const auto again = ops::ReadDifferencesAgain(run.Context);
  ASSERT_THAT(again, SizeIs(2));
  EXPECT_EQ(again[0].Found, 0x1234);
  EXPECT_EQ(again[1].Found, 0x23);
  EXPECT_EQ(std::ranges::count(run.Wire, 'R'), 1);
  EXPECT_TRUE(run.State.Command.VerifyFinished);
  ASSERT_THAT(run.State.Command.Differences, SizeIs(2));
  EXPECT_EQ(run.State.Command.Differences[0].Found, 0x402A);
  EXPECT_FALSE(ops::Succeeded(run.State));
}

TEST(SecondReading, ThatFailsGivesNothing) {
  BoardRun run("ATtiny12L", WithFaults("stuck@flash:0x1:15=0"));
  run.LoadImage({0x0C, 0x94, 0x2A, 0xC0}, {});
  ops::RunCommand(run.Context, ops::Cmd_btn_program_Click);
  ASSERT_THAT(run.State.Command.Differences, SizeIs(1));
  run.Events.OnTurn = [&run] { run.State.StopRequested = true; };
  EXPECT_THAT(ops::ReadDifferencesAgain(run.Context), IsEmpty());
  EXPECT_THAT(run.State.Command.Differences, SizeIs(1));
}

}  // namespace
}  // namespace fenwright::testing
