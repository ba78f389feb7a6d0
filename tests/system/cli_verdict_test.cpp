// The diagnosis at the end of a failed verify, and the picture of the memory.

#include "system/cli_run.h"

namespace fenwright::testing {
namespace {

constexpr std::size_t kWords = 40;

/// Words as a HEX file has them, low byte first.
Bytes HexBytes(std::size_t words, const std::function<unsigned(std::size_t)>& word) {
  Bytes bytes;
  for (std::size_t i = 0; i < words; ++i) {
    bytes.push_back(static_cast<std::uint8_t>(word(i) & 0xFFU));
    bytes.push_back(static_cast<std::uint8_t>(word(i) >> 8U & 0xFFU));
  }
  return bytes;
}

unsigned WordOfCode(std::size_t address) {
  return static_cast<unsigned>((0x90 + address % 23) << 8U | (0x21 + address % 29));
}

unsigned SwappedWordOfCode(std::size_t address) {
  const unsigned word = WordOfCode(address);
  return (word & 0xFFU) << 8U | word >> 8U;
}

class CliVerdict : public CliTest {
 protected:
  CliVerdict() { PutCode(HexBytes(kWords, WordOfCode)); }

  /// A verify of a chip that holds something else than the file.
  CliResult VerifyOf(const Bytes& content) {
    PutCode(content, "chip.hex");
    EXPECT_THAT(On(board_, "program chip.hex"), Ends(0));
    ExpectJson();
    return On(board_, "verify code.hex");
  }
  CliResult VerifyOf(const std::function<unsigned(std::size_t)>& word) {
    return VerifyOf(HexBytes(kWords, word));
  }

  /// The word of the last verify in JSON.
  [[nodiscard]] const std::string& Word() const { return word_; }

 private:
  void ExpectJson() {
    const CliResult result = Run(
        Words{"--port", board_.Link(), "--device", "AT90S8515", "--json", "verify", "code.hex"});
    EXPECT_THAT(result, Ends(1));
    const json verdict = result.Json()["verdict"];
    word_ = verdict["code"];
    EXPECT_THAT(Run(Words{"explain", word_}), Ends(0));
  }

  BoardProgram board_{"AT90S8515"};
  std::string word_;
};

TEST_F(CliVerdict, OfABlankChip) {
  EXPECT_THAT(
      Simulate("verify code.hex"),
      AllOf(Ends(1), Prints(EndsWith("\ndiagnosis (reads-blank): the flash reads FF throughout: it "
                                     "was not written, or no chip answers\n"
                                     "flash, a sign for 1 word: . right  + some wrong  # wrong\n"
                                     "0x0000  " +
                                     std::string(kWords, '#') + "\n"))));
  EXPECT_EQ(Simulate("--json verify code.hex").Json()["verdict"]["code"], "reads-blank");
}

TEST_F(CliVerdict, OfAChipThatReadsZero) {
  EXPECT_THAT(VerifyOf(Bytes(2 * kWords, 0)),
              AllOf(Ends(1), Prints("\ndiagnosis (reads-zero): the flash reads 00 throughout")));
  EXPECT_EQ(Word(), "reads-zero");
}

TEST_F(CliVerdict, OfAChipThatReadsAddresses) {
  const auto echo = [](std::size_t address) { return static_cast<unsigned>(address * 0x101U); };
  EXPECT_THAT(VerifyOf(echo),
              AllOf(Ends(1), Prints("\ndiagnosis (reads-addresses): every word of the flash")));
  EXPECT_EQ(Word(), "reads-addresses");
}

TEST_F(CliVerdict, OfSwappedBytes) {
  EXPECT_THAT(VerifyOf(SwappedWordOfCode),
              AllOf(Ends(1), Prints("\ndiagnosis (bytes-swapped): the two bytes of every word")));
  EXPECT_EQ(Word(), "bytes-swapped");
}

TEST_F(CliVerdict, OfAShiftByOneWord) {
  const auto shifted = [](std::size_t address) { return WordOfCode(address + 1); };
  EXPECT_THAT(VerifyOf(shifted),
              AllOf(Ends(1), Prints("(shifted-by-one): the flash holds everything one word too "
                                    "low")));
  EXPECT_EQ(Word(), "shifted-by-one");
}

TEST_F(CliVerdict, OfADataBitThatIsStuck) {
  for (const std::string value : {"0", "1"}) {
    Words faults{"--simulate", "--device", "ATtiny12L"};
    for (std::size_t word = 0; word < kWords; ++word) {
      faults =
          faults + Words{"--simulate-fault", "stuck@flash:" + std::to_string(word) + ":2=" + value};
    }
    EXPECT_THAT(Run(faults + "program code.hex"),
                AllOf(Ends(1),
                      Warns("\ndiagnosis (bit-stuck): data bit 2 of the flash reads " + value +
                            " everywhere"),
                      Warns(Not(HasSubstr("once more")))));
  }
}

/// One cell alone is read again before it is blamed.
TEST_F(CliVerdict, OfABadCell) {
  const std::string fault = "--simulate-fault stuck@flash:0x5:0=1 ";
  EXPECT_THAT(Simulate(fault + "program code.hex"),
              AllOf(Ends(1), Warns("\nreading the cells that differ once more\n"),
                    Warns("\ndiagnosis (bit-stuck): all that is wrong in the flash is bit 0, which "
                          "reads 1 (first at 0x0005)"),
                    Warns("\n0x0000  .....#..")));
  EXPECT_EQ(Simulate("--json " + fault + "program code.hex").Json()["verdict"]["code"],
            "bit-stuck");
}

TEST_F(CliVerdict, OfAChipThatIsWrongOnlyBeyondAnAddress) {
  constexpr std::size_t kSmallChip = 512;
  PutCode(HexBytes(kSmallChip + 100, WordOfCode));
  EXPECT_THAT(VerifyOf(HexBytes(kSmallChip, WordOfCode)),
              AllOf(Ends(1),
                    Prints("\ndiagnosis (wrong-beyond): the flash is right below 0x0200 "
                           "and from there on reads FF: perhaps the chip has less memory "
                           "than the selected device\n"),
                    Prints("\n0x01C0  " + std::string(64, '.') + "\n0x0200  " +
                           std::string(64, '#') + "\n")));
  EXPECT_EQ(Word(), "wrong-beyond");
}

/// A reply that was wrong once: the 130th is one of the verify's.
TEST_F(CliVerdict, OfAReadingThatIsNotTheSameTwice) {
  const std::string fault = "--simulate-fault flip@130:FF ";
  const CliResult result = Simulate(fault + "program code.hex");
  EXPECT_THAT(result, AllOf(Ends(1), Warns("\ndiagnosis (unstable-reading): 1 of 1 differing cells "
                                           "gave another value when read again (flash 0x")));
  const json told = Simulate("--json " + fault + "program code.hex").Json();
  EXPECT_EQ(told["verdict"]["code"], "unstable-reading");
  EXPECT_EQ(told["result"], "failed");
  EXPECT_EQ(told["differences"].size(), 1U);
}

TEST_F(CliVerdict, OfAnotherProgram) {
  const auto other = [](std::size_t address) { return WordOfCode(address * 7 + 5); };
  EXPECT_THAT(VerifyOf(other),
              AllOf(Ends(1), Prints("\ndiagnosis (no-pattern): the differences of the flash have "
                                    "no pattern and read the same twice")));
  EXPECT_EQ(Word(), "no-pattern");
}

TEST_F(CliVerdict, IsInTheLanguageOfTheCall) {
  EXPECT_THAT(Run("--simulate --device ATtiny12L verify code.hex",
                  {.Environment = {{"LC_ALL", "ja_JP.UTF-8"}}}),
              AllOf(Ends(1), Prints("\n診断 (reads-blank): フラッシュはすべて FF と読めます。"),
                    Prints("\nフラッシュ (1 文字が 1 ワード): . 一致  + 一部が違う  # 違う\n")));
}

TEST_F(CliVerdict, IsNoneOfASuccess) {
  EXPECT_THAT(Simulate("program code.hex"), AllOf(Ends(0), Warns(Not(HasSubstr("diagnosis")))));
  EXPECT_EQ(Simulate("--json program code.hex").Json()["verdict"], nullptr);
}

/// A line that is lost meanwhile takes nothing from what the verify has found.
TEST_F(CliVerdict, NeedsNoSecondReadingToFail) {
  const std::string faults =
      "--simulate-fault stuck@flash:0x5:0=1 --simulate-fault drop@157 --json program code.hex";
  const CliResult result = Simulate(faults);
  EXPECT_THAT(result, Ends(1));
  EXPECT_EQ(result.Json()["error"]["code"], "differences");
  EXPECT_EQ(result.Json()["differences"].size(), 1U);
  EXPECT_EQ(result.Json()["verdict"]["code"], "no-pattern");
}

}  // namespace
}  // namespace fenwright::testing
