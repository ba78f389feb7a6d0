#include "image/buffers.h"

#include "core/device_catalogue.h"
#include "support/prelude.h"

namespace fenwright::image {
namespace {

using core::AppState;

bool AllBlank(const std::vector<std::uint8_t>& buffer) {
  return std::ranges::all_of(buffer, [](std::uint8_t byte) { return byte == 0xFF; });
}

/// The checksum characters that are appended to `line`.
std::string ChecksumOf(const std::string& line) {
  std::int16_t link_error = 0;
  const std::string whole = RecordChecksum(line, link_error);
  EXPECT_EQ(link_error, 0) << line;
  EXPECT_TRUE(whole.starts_with(line));
  return whole.substr(line.size());
}

/// A record line whose pairs add up to `sum`.
std::string LineWithSum(int sum) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string line = ":";
  do {
    const auto pair = static_cast<std::size_t>(std::min(sum, 255));
    line += kDigits[pair / 16];
    line += kDigits[pair % 16];
    sum -= static_cast<int>(pair);
  } while (sum > 0);
  return line;
}

AppState StateFor(std::int32_t flash_words, std::int32_t eeprom_bytes) {
  AppState state;
  state.FlashWords = flash_words;
  state.EepromBytes = eeprom_bytes;
  ClearFlashBuffer(state);
  ClearEepromBuffer(state);
  return state;
}

TEST(Buffers, ClearingTheFlashBufferBlanksItToTheLastElementAndNothingElse) {
  AppState state;
  std::ranges::fill(state.FlashBuffer, std::uint8_t{0x12});
  std::ranges::fill(state.EepromBuffer, std::uint8_t{0x34});
  ClearFlashBuffer(state);
  EXPECT_EQ(state.FlashBuffer.size(), 65537U);
  EXPECT_TRUE(AllBlank(state.FlashBuffer));
  EXPECT_TRUE(
      std::ranges::all_of(state.EepromBuffer, [](std::uint8_t byte) { return byte == 0x34; }));
}

TEST(Buffers, ClearingTheEepromBufferBlanksItToTheLastElementAndNothingElse) {
  AppState state;
  std::ranges::fill(state.FlashBuffer, std::uint8_t{0x12});
  std::ranges::fill(state.EepromBuffer, std::uint8_t{0x34});
  ClearEepromBuffer(state);
  EXPECT_EQ(state.EepromBuffer.size(), 2049U);
  EXPECT_TRUE(AllBlank(state.EepromBuffer));
  EXPECT_TRUE(
      std::ranges::all_of(state.FlashBuffer, [](std::uint8_t byte) { return byte == 0x12; }));
}

TEST(HexDigit, OnlyTheSixteenUpperCaseDigitsCount) {
  const std::string digits = "0123456789ABCDEF";
  for (int code = 0; code < 256; ++code) {
    const char character = static_cast<char>(code);
    const std::size_t place = digits.find(character);
    std::int16_t link_error = 0;
    const std::int32_t value = HexDigitValue(character, link_error);
    if (place == std::string::npos) {
      EXPECT_EQ(value, 0) << code;
      EXPECT_EQ(link_error, 1) << code;
    } else {
      EXPECT_EQ(value, static_cast<std::int32_t>(place)) << code;
      EXPECT_EQ(link_error, 0) << code;
    }
  }
}

TEST(HexDigit, ALowerCaseAReadsAsZeroAndRaisesTheError) {
  std::int16_t link_error = 0;
  EXPECT_EQ(HexDigitValue('a', link_error), 0);
  EXPECT_EQ(link_error, 1);
}

TEST(HexDigit, AGoodDigitLeavesTheErrorAsItWas) {
  for (const std::int16_t before : {std::int16_t{0}, std::int16_t{1}, std::int16_t{2}}) {
    std::int16_t link_error = before;
    EXPECT_EQ(HexDigitValue('0', link_error), 0);
    EXPECT_EQ(HexDigitValue('F', link_error), 15);
    EXPECT_EQ(link_error, before);
  }
}

TEST(HexWord, TheFirstDigitIsTheHighest) {
  std::int16_t link_error = 0;
  EXPECT_EQ(HexWord('1', '2', '3', '4', link_error), 0x1234);
  EXPECT_EQ(HexWord('F', 'F', 'F', 'F', link_error), 0xFFFF);
  EXPECT_EQ(HexWord('0', '0', 'A', '5', link_error), 0xA5);
  EXPECT_EQ(link_error, 0);
}

TEST(HexWord, AWrongDigitCountsAsZeroAndTheOthersStillCount) {
  for (int place = 0; place < 4; ++place) {
    std::string digits = "1111";
    digits[static_cast<std::size_t>(place)] = 'g';
    std::int16_t link_error = 0;
    EXPECT_EQ(HexWord(digits[0], digits[1], digits[2], digits[3], link_error),
              0x1111 & ~(0xF000 >> (4 * place)));
    EXPECT_EQ(link_error, 1) << place;
  }
}

TEST(RecordChecksum, TheEndRecordGetsFf) {
  std::int16_t link_error = 0;
  EXPECT_EQ(RecordChecksum(":00000001", link_error), ":00000001FF");
}

TEST(RecordChecksum, SixteenBytesFfAtAddressZeroGive00) {
  EXPECT_EQ(ChecksumOf(":10000000FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF"), "00");
}

TEST(RecordChecksum, SixteenZerosAtAddressE2GiveTheSingleCharacterE) {
  EXPECT_EQ(ChecksumOf(":1000E20000000000000000000000000000000000"), "E");
}

TEST(RecordChecksum, ASumOfZeroGives00) { EXPECT_EQ(ChecksumOf(":00000000"), "00"); }

TEST(RecordChecksum, ASumFrom241To256GivesASingleCharacter) {
  const std::string expected = "FEDCBA9876543210";
  for (int sum = 241; sum <= 256; ++sum) {
    EXPECT_EQ(ChecksumOf(LineWithSum(sum)),
              std::string(1, expected[static_cast<std::size_t>(sum - 241)]))
        << sum;
  }
}

TEST(RecordChecksum, TheNeighboursOfTheSingleCharacterRangeHaveTwo) {
  EXPECT_EQ(ChecksumOf(LineWithSum(1)), "FF");
  EXPECT_EQ(ChecksumOf(LineWithSum(240)), "10");
  EXPECT_EQ(ChecksumOf(LineWithSum(257)), "FF");
  EXPECT_EQ(ChecksumOf(LineWithSum(258)), "FE");
}

TEST(RecordChecksum, EverySumAbove256GivesTwoCharactersThatCompleteItToAFullByte) {
  for (int sum = 257; sum <= 300 * 255; sum += (sum < 1100 ? 1 : 251)) {
    const std::string checksum = ChecksumOf(LineWithSum(sum));
    ASSERT_EQ(checksum.size(), 2U) << sum;
    EXPECT_EQ((sum + std::stoi(checksum, nullptr, 16)) % 256, 0) << sum;
  }
}

TEST(RecordChecksum, AMissingLastDigitIsNotTakenFromBehindTheLine) {
  std::int16_t error = 0;
  RecordChecksum(std::string_view(":00123").substr(0, 4), error);
  EXPECT_EQ(error, 1);
}

TEST(RecordChecksum, AWrongDigitInTheLineRaisesTheErrorAndCountsAsZero) {
  std::int16_t link_error = 0;
  EXPECT_EQ(RecordChecksum(":0G", link_error), ":0G00");
  EXPECT_EQ(link_error, 1);
}

TEST(FlashLayout, AWordsHighByteStandsFirst) {
  AppState state = StateFor(512, 64);
  state.FlashBuffer[0] = 0x94;
  state.FlashBuffer[1] = 0x0C;
  EXPECT_EQ(UsedFlashWords(state), 1);
}

TEST(UsedFlashWords, IsZeroWhenAllAreBlank) {
  EXPECT_EQ(UsedFlashWords(StateFor(512, 64)), 0);
  EXPECT_EQ(UsedFlashWords(StateFor(0, 0)), 0);
}

TEST(UsedFlashWords, AWordWithOneBlankByteIsNotBlank) {
  AppState high = StateFor(512, 64);
  high.FlashBuffer[2 * 100] = 0x00;
  EXPECT_EQ(UsedFlashWords(high), 101);
  AppState low = StateFor(512, 64);
  low.FlashBuffer[2 * 100 + 1] = 0x00;
  EXPECT_EQ(UsedFlashWords(low), 101);
}

TEST(UsedFlashWords, BlankWordsBelowTheLastOneCount) {
  AppState state = StateFor(512, 64);
  state.FlashBuffer[0] = 1;
  state.FlashBuffer[2 * 511 + 1] = 1;
  EXPECT_EQ(UsedFlashWords(state), 512);
}

TEST(UsedFlashWords, DataBeyondTheSelectedChipIsNotProgrammed) {
  AppState state = StateFor(512, 64);
  state.FlashBuffer[2 * 512] = 0;
  EXPECT_EQ(UsedFlashWords(state), 0);
}

TEST(UsedEepromBytes, IsTheLastByteThatIsNotFfPlusOne) {
  AppState state = StateFor(512, 64);
  EXPECT_EQ(UsedEepromBytes(state), 0);
  state.EepromBuffer[0] = 0;
  EXPECT_EQ(UsedEepromBytes(state), 1);
  state.EepromBuffer[63] = 0xFE;
  EXPECT_EQ(UsedEepromBytes(state), 64);
}

TEST(UsedEepromBytes, DataBeyondTheSelectedChipIsNotProgrammed) {
  AppState state = StateFor(512, 64);
  state.EepromBuffer[64] = 0;
  EXPECT_EQ(UsedEepromBytes(state), 0);
}

TEST(UsedPart, EveryDevicesLastLocationCounts) {
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    AppState state = StateFor(device.FlashWords, device.EepromBytes);
    state.FlashBuffer[2 * static_cast<std::size_t>(device.FlashWords) - 1] = 0;
    state.EepromBuffer[static_cast<std::size_t>(device.EepromBytes) - 1] = 0;
    EXPECT_EQ(UsedFlashWords(state), device.FlashWords) << device.DisplayName;
    EXPECT_EQ(UsedEepromBytes(state), device.EepromBytes) << device.DisplayName;
  }
}

}  // namespace
}  // namespace fenwright::image
