#include "image/hand_edit.h"

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "core/device_catalogue.h"
#include "core/hex_format.h"
#include "core/recorded_run.h"

namespace fenwright::image {
namespace {

using testing::Journal;

constexpr char kBadInput[] = "入力データに誤りがあります．";
constexpr char kBadFlashAddress[] = "Flash アドレスが範囲を超えています．";
constexpr char kBadEepromAddress[] = "EEPROM アドレスが範囲を超えています．";
constexpr char kTrace[] = "append /app/_debug_avr.txt";

class HandEdit : public ::testing::Test {
 protected:
  HandEdit() { run_.Start("AT90S2313"); }

  core::AppState& State() { return run_.State; }
  void Enter(bool flash, const std::string& address, const std::string& data = "") {
    run_.HandEdit.Flash = flash;
    run_.HandEdit.Address = address;
    run_.HandEdit.Data = data;
  }
  void WriteFlash(const std::string& address, const std::string& data) {
    Enter(true, address, data);
    WriteOneLocation(run_.Context);
  }
  void WriteEeprom(const std::string& address, const std::string& data) {
    Enter(false, address, data);
    WriteOneLocation(run_.Context);
  }
  std::string ReadFlash(const std::string& address) {
    Enter(true, address, "before");
    ReadOneLocation(run_.Context);
    return run_.HandEdit.Data;
  }
  std::string ReadEeprom(const std::string& address) {
    Enter(false, address, "before");
    ReadOneLocation(run_.Context);
    return run_.HandEdit.Data;
  }
  [[nodiscard]] bool BuffersAreBlank() {
    const auto blank = [](auto byte) { return byte == 0xFF; };
    return std::ranges::all_of(State().FlashBuffer, blank) &&
           std::ranges::all_of(State().EepromBuffer, blank);
  }
  /// Only the notice was shown and traced; nothing was stored or rewritten.
  void ExpectOnlyNotice(const std::string& text) {
    EXPECT_EQ(run_.TakeJournal(), (Journal{"dialog " + text, kTrace}));
    EXPECT_EQ(run_.Dialog.Mode, screen::MessageMode::Notice);
    EXPECT_EQ(run_.NewTrace(), std::vector<std::string>{text});
    EXPECT_TRUE(BuffersAreBlank());
  }

  testing::RecordedRun run_;
};

// Writing.

TEST_F(HandEdit, AFlashWordIsStoredHighByteFirstAtItsWordAddress) {
  WriteFlash("0012", "940C");
  EXPECT_EQ(State().FlashBuffer[0x24], 0x94);
  EXPECT_EQ(State().FlashBuffer[0x25], 0x0C);
  State().FlashBuffer[0x24] = State().FlashBuffer[0x25] = 0xFF;
  EXPECT_TRUE(BuffersAreBlank()) << "no other cell was touched";
}

TEST_F(HandEdit, AFlashWriteRewritesTheFlashDumpAndLoadsItsView) {
  WriteFlash("0001", "4142");
  EXPECT_EQ(run_.TakeJournal(), (Journal{"write /app/avrhex.txt", "load flash view"}));
  EXPECT_TRUE(run_.FileText("avrhex.txt").starts_with("0000: FFFF 4142 FFFF "));
  EXPECT_TRUE(run_.Dialog.Shown.empty());
}

TEST_F(HandEdit, AnEepromByteIsStoredAtItsAddress) {
  WriteEeprom("0013", "0041");
  EXPECT_EQ(State().EepromBuffer[0x13], 0x41);
  State().EepromBuffer[0x13] = 0xFF;
  EXPECT_TRUE(BuffersAreBlank()) << "no other cell was touched";
}

TEST_F(HandEdit, TheEepromTakesTheLowByteOfTheValue) {
  WriteEeprom("0", "ABCD");
  EXPECT_EQ(State().EepromBuffer[0], 0xCD);
  EXPECT_EQ(State().EepromBuffer[1], 0xFF);
}

TEST_F(HandEdit, AnEepromWriteRewritesTheEepromDumpAndLoadsItsView) {
  WriteEeprom("1", "5A");
  EXPECT_EQ(run_.TakeJournal(), (Journal{"write /app/avreep.txt", "load EEPROM view"}));
  EXPECT_TRUE(run_.FileText("avreep.txt").starts_with("0000: FF 5A FF "));
}

TEST_F(HandEdit, OneToFourDigitsArePaddedOnTheLeft) {
  const std::pair<const char*, std::size_t> rows[] = {
      {"7", 0x7}, {"7F", 0x7F}, {"37F", 0x37F}, {"037F", 0x37F}};
  for (const auto& [text, address] : rows) {
    WriteFlash(text, text);
    EXPECT_EQ(State().FlashBuffer[2 * address], address >> 8) << text;
    EXPECT_EQ(State().FlashBuffer[2 * address + 1], address & 0xFF) << text;
  }
}

TEST_F(HandEdit, EveryWordValueCanBeStored) {
  for (int value = 0; value <= 0xFFFF; value += 0x1111) {
    WriteFlash("0", core::HexAddress(value));
    EXPECT_EQ(State().FlashBuffer[0], value >> 8);
    EXPECT_EQ(State().FlashBuffer[1], value & 0xFF);
  }
}

TEST_F(HandEdit, AWrongAddressStoresNothingAndSaysSo) {
  for (const char* text :
       {"", "7f", "G", " 7", "7 ", "-1", "+1", "0x1", "00000", "12345", "１", "."}) {
    SCOPED_TRACE(text);
    WriteFlash(text, "1234");
    ExpectOnlyNotice(kBadInput);
    WriteEeprom(text, "12");
    ExpectOnlyNotice(kBadInput);
  }
}

TEST_F(HandEdit, AWrongValueStoresNothingAndSaysSo) {
  for (const char* text : {"", "ff", "GG", " 1", "1 ", "-1", "00000", "あ", "Ａ"}) {
    SCOPED_TRACE(text);
    WriteFlash("0", text);
    ExpectOnlyNotice(kBadInput);
    WriteEeprom("0", text);
    ExpectOnlyNotice(kBadInput);
  }
}

TEST_F(HandEdit, AWrongDigitRaisesTheErrorFlag) {
  WriteFlash("7f", "0");
  EXPECT_EQ(State().LinkError, 1);
}

TEST_F(HandEdit, AnErrorOfAnEarlierCommandDoesNotBlockAnEdit) {
  State().LinkError = 1;
  WriteFlash("0", "1234");
  EXPECT_EQ(State().FlashBuffer[0], 0x12);
  EXPECT_EQ(State().LinkError, 0);
  State().LinkError = 1;
  EXPECT_EQ(ReadFlash("0"), "1234");
  EXPECT_EQ(State().LinkError, 0);
}

TEST_F(HandEdit, ATypingErrorDoesNotBlockTheNextEdit) {
  WriteFlash("x", "1234");
  WriteFlash("0", "1234");
  EXPECT_EQ(State().FlashBuffer[0], 0x12);
}

TEST_F(HandEdit, WrongInputIsReportedBeforeAWrongAddress) {
  WriteFlash("FFFF", "xyz");
  ExpectOnlyNotice(kBadInput);
}

// Limits.

TEST_F(HandEdit, TheHighestFlashAddressOfAnAt90s2313Is07FF) {
  WriteFlash("07FF", "1234");
  EXPECT_EQ(State().FlashBuffer[2 * 0x7FF], 0x12);
  EXPECT_TRUE(run_.Dialog.Shown.empty());
}

TEST_F(HandEdit, AFlashAddressAboveTheLimitIsRefused) {
  WriteFlash("0800", "1234");
  ExpectOnlyNotice(kBadFlashAddress);
  EXPECT_EQ(ReadFlash("0800"), "before");
  ExpectOnlyNotice(kBadFlashAddress);
}

TEST_F(HandEdit, AnEepromAddressAboveTheLimitIsRefused) {
  WriteEeprom("0080", "12");
  ExpectOnlyNotice(kBadEepromAddress);
  EXPECT_EQ(ReadEeprom("0080"), "before");
  ExpectOnlyNotice(kBadEepromAddress);
}

TEST_F(HandEdit, OnEveryDeviceTheLimitsFollowTheSizes) {
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    SCOPED_TRACE(device.DisplayName);
    run_.Start(device.DisplayName);
    run_.Dialog.Shown.clear();
    const std::int32_t flash_last = 2 * device.FlashWords - 1;
    const std::int32_t eeprom_last = device.EepromBytes - 1;
    WriteFlash(core::HexAddress(flash_last), "1234");
    WriteEeprom(core::HexAddress(eeprom_last), "56");
    EXPECT_TRUE(run_.Dialog.Shown.empty());
    EXPECT_EQ(ReadFlash(core::HexAddress(flash_last)), "1234");
    EXPECT_EQ(ReadEeprom(core::HexAddress(eeprom_last)), "56");
    WriteFlash(core::HexAddress(flash_last + 1), "1234");
    EXPECT_EQ(run_.Dialog.Text, kBadFlashAddress);
    WriteEeprom(core::HexAddress(eeprom_last + 1), "56");
    EXPECT_EQ(run_.Dialog.Text, kBadEepromAddress);
  }
}

TEST_F(HandEdit, AWordBeyondTheChipIsKeptInTheBufferAndNotShown) {
  const std::string dump = run_.FileText("avrhex.txt");
  WriteFlash("0400", "1234");
  EXPECT_EQ(State().FlashBuffer[0x800], 0x12);
  EXPECT_EQ(State().FlashBuffer[0x801], 0x34);
  EXPECT_EQ(run_.FileText("avrhex.txt"), dump);
}

TEST_F(HandEdit, WithoutADeviceEveryAddressIsOutOfRange) {
  State().FlashWords = 0;
  State().EepromBytes = 0;
  WriteFlash("0", "1234");
  ExpectOnlyNotice(kBadFlashAddress);
  WriteEeprom("0", "12");
  ExpectOnlyNotice(kBadEepromAddress);
}

// Reading.

TEST_F(HandEdit, AFlashWordIsShownInFourDigits) {
  State().FlashBuffer[0x24] = 0x0A;
  State().FlashBuffer[0x25] = 0x0C;
  EXPECT_EQ(ReadFlash("12"), "0A0C");
  EXPECT_EQ(ReadFlash("0"), "FFFF");
}

TEST_F(HandEdit, AnEepromByteIsShownInTwoDigits) {
  State().EepromBuffer[0x7F] = 0x0A;
  EXPECT_EQ(ReadEeprom("7F"), "0A");
  EXPECT_EQ(ReadEeprom("0"), "FF");
}

TEST_F(HandEdit, AReadShowsNoMessageAndWritesNoFile) {
  ReadFlash("7F");
  ReadEeprom("7F");
  EXPECT_TRUE(run_.TakeJournal().empty());
}

TEST_F(HandEdit, AReadWithAnEmptyAddressDoesNothing) {
  State().LinkError = 1;
  EXPECT_EQ(ReadFlash(""), "before");
  EXPECT_EQ(ReadEeprom(""), "before");
  EXPECT_TRUE(run_.TakeJournal().empty());
  EXPECT_EQ(State().LinkError, 1);
}

TEST_F(HandEdit, AReadOfAWrongAddressLeavesTheValueAndSaysSo) {
  for (const char* text : {"7f", "G", " ", "00000", "１"}) {
    SCOPED_TRACE(text);
    EXPECT_EQ(ReadFlash(text), "before");
    EXPECT_EQ(State().LinkError, 1);
    ExpectOnlyNotice(kBadInput);
    EXPECT_EQ(ReadEeprom(text), "before");
    ExpectOnlyNotice(kBadInput);
  }
}

TEST_F(HandEdit, AReadDoesNotLookAtTheValueField) {
  Enter(true, "0", "not a number");
  ReadOneLocation(run_.Context);
  EXPECT_EQ(run_.HandEdit.Data, "FFFF");
}

TEST_F(HandEdit, WhatIsWrittenIsReadBack) {
  WriteFlash("3FF", "BEEF");
  WriteEeprom("7F", "A5");
  EXPECT_EQ(ReadFlash("3FF"), "BEEF");
  EXPECT_EQ(ReadEeprom("7F"), "A5");
}

}  // namespace
}  // namespace fenwright::image
