#include "image/hand_edit.h"

#include <sstream>

#include "core/device_catalogue.h"
#include "core/hex_format.h"
#include "core/status.h"
#include "image/sample_files.h"
#include "support/test_run.h"

namespace fenwright::image {
namespace {

constexpr char kBadInput[] = "入力データに誤りがあります．";
constexpr char kBadFlashAddress[] = "Flash アドレスが範囲を超えています．";
constexpr char kBadEepromAddress[] = "EEPROM アドレスが範囲を超えています．";

struct HandEditTest : Test, RecordedRun {
  HandEditTest() { Start("AT90S2313"); }

  void Enter(bool flash, const std::string& address, const std::string& data = "") {
    HandEdit.Flash = flash;
    HandEdit.Address = address;
    HandEdit.Data = data;
  }
  void Write(bool flash, const std::string& address, const std::string& data) {
    Enter(flash, address, data);
    WriteOneLocation(Context);
  }
  void WriteFlash(const std::string& address, const std::string& data) {
    Write(true, address, data);
  }
  void WriteEeprom(const std::string& address, const std::string& data) {
    Write(false, address, data);
  }
  std::string Read(bool flash, const std::string& address) {
    Enter(flash, address, "before");
    ReadOneLocation(Context);
    return HandEdit.Data;
  }
  std::string ReadFlash(const std::string& address) { return Read(true, address); }
  std::string ReadEeprom(const std::string& address) { return Read(false, address); }
  /// Only the notice was shown and traced; nothing was stored or rewritten.
  void ExpectOnlyNotice(const std::string& text) {
    EXPECT_EQ(TakeJournal(), (Journal{"notice " + text, kTrace}));
    EXPECT_EQ(Dialog.Mode, MessageMode::Notice);
    EXPECT_EQ(NewTrace(), Texts{text});
    EXPECT_TRUE(BuffersAreBlank());
  }
};

// The mark in the view.

using screen::TextPlace;
using Marks = std::map<View, TextPlace>;

TEST_ON(HandEditTest, HandEdit, MarksTheCellInItsView) {
  ReadFlash("0");
  EXPECT_EQ(Views.Marks, (Marks{{View::Flash, {.Line = 0, .Column = 6, .Length = 4}}}));
  ReadFlash("1B");
  EXPECT_EQ(Views.Marks, (Marks{{View::Flash, {.Line = 3, .Column = 6 + 3 * 5, .Length = 4}}}));
  ReadEeprom("2F");
  EXPECT_EQ(Views.Marks, (Marks{{View::Eeprom, {.Line = 2, .Column = 6 + 15 * 3, .Length = 2}}}));
  WriteFlash("9", "ABCD");
  EXPECT_EQ(Views.Marks, (Marks{{View::Flash, {.Line = 1, .Column = 6 + 5, .Length = 4}}}));
  WriteEeprom("0", "12");
  EXPECT_EQ(Views.Marks, (Marks{{View::Eeprom, {.Line = 0, .Column = 6, .Length = 2}}}));
}

TEST_ON(HandEditTest, HandEdit, TheMarkedCharactersOfTheDumpAreTheCell) {
  for (const std::int32_t word : {0, 7, 8, 1023}) {
    WriteFlash(core::HexAddress(word), "BEEF");
    const TextPlace place = Views.Marks.at(View::Flash);
    std::istringstream dump(FileText("avrhex.txt"));
    std::string line;
    for (int number = 0; number <= place.Line; ++number) std::getline(dump, line);
    EXPECT_EQ(line.substr(static_cast<std::size_t>(place.Column), 4), "BEEF") << word;
  }
}

TEST_ON(HandEditTest, HandEdit, NothingIsMarkedBeyondTheChipAndAfterAWrongInput) {
  for (const char* address : {"400", "7FF", "800", "x"}) {
    ReadFlash("0");
    ASSERT_FALSE(Views.Marks.empty());
    ReadFlash(address);
    EXPECT_TRUE(Views.Marks.empty()) << address;
  }
}

// The notice that is mended.

TEST_ON(HandEditTest, HandEdit, ItsNoticeGoesWhenTheInputIsMended) {
  const auto complain = [this] {
    ReadFlash("7f");
    ASSERT_TRUE(Dialog.Loaded);
    ASSERT_EQ(StatusBar.Outcome, screen::Outcome::Attention);
  };
  complain();
  ReadFlash("7");
  EXPECT_FALSE(Dialog.Loaded);
  EXPECT_EQ(StatusBar.Outcome, screen::Outcome::None);
  complain();
  ReadFlash("");
  EXPECT_FALSE(Dialog.Loaded) << "nothing is wrong with another beginning";
  complain();
  WriteFlash("0", "1234");
  EXPECT_FALSE(Dialog.Loaded);
  ReadFlash("FFF");
  EXPECT_EQ(Dialog.Text, kBadFlashAddress);
  ReadFlash("FF");
  EXPECT_FALSE(Dialog.Loaded);
}

TEST_ON(HandEditTest, HandEdit, AnotherNoticeStays) {
  ReadFlash("7f");
  core::ShowMessage(Context, "another", MessageMode::Notice);
  ReadFlash("7");
  EXPECT_TRUE(Dialog.Loaded);
  EXPECT_EQ(Dialog.Text, "another");
}

// Writing.

TEST_ON(HandEditTest, HandEdit, AFlashWordIsStoredHighByteFirstAtItsWordAddress) {
  WriteFlash("0012", "940C");
  EXPECT_EQ(FlashBytes(0x24, 2), "94 0C");
  State.FlashBuffer[0x24] = State.FlashBuffer[0x25] = 0xFF;
  EXPECT_TRUE(BuffersAreBlank()) << "no other cell was touched";
}

TEST_ON(HandEditTest, HandEdit, AFlashWriteRewritesTheFlashDumpAndLoadsItsView) {
  WriteFlash("0001", "4142");
  EXPECT_EQ(TakeJournal(), (Journal{"write /app/avrhex.txt", "load flash view"}));
  EXPECT_TRUE(FileText("avrhex.txt").starts_with("0000: FFFF 4142 FFFF "));
  EXPECT_TRUE(Dialog.Shown.empty());
}

TEST_ON(HandEditTest, HandEdit, AnEepromByteIsStoredAtItsAddress) {
  WriteEeprom("0013", "0041");
  EXPECT_EQ(State.EepromBuffer[0x13], 0x41);
  State.EepromBuffer[0x13] = 0xFF;
  EXPECT_TRUE(BuffersAreBlank()) << "no other cell was touched";
}

TEST_ON(HandEditTest, HandEdit, TheEepromTakesTheLowByteOfTheValue) {
  WriteEeprom("0", "ABCD");
  EXPECT_EQ(EepromBytes(0, 2), "CD FF");
}

TEST_ON(HandEditTest, HandEdit, AnEepromWriteRewritesTheEepromDumpAndLoadsItsView) {
  WriteEeprom("1", "5A");
  EXPECT_EQ(TakeJournal(), (Journal{"write /app/avreep.txt", "load EEPROM view"}));
  EXPECT_TRUE(FileText("avreep.txt").starts_with("0000: FF 5A FF "));
}

TEST_ON(HandEditTest, HandEdit, OneToFourDigitsArePaddedOnTheLeft) {
  const std::pair<const char*, std::size_t> rows[] = {
      {"7", 0x7}, {"7F", 0x7F}, {"37F", 0x37F}, {"037F", 0x37F}};
  for (const auto& [text, address] : rows) {
    WriteFlash(text, text);
    EXPECT_EQ(State.FlashBuffer[2 * address], address >> 8) << text;
    EXPECT_EQ(State.FlashBuffer[2 * address + 1], address & 0xFF) << text;
  }
}

TEST_ON(HandEditTest, HandEdit, EveryWordValueCanBeStored) {
  for (int value = 0; value <= 0xFFFF; value += 0x1111) {
    WriteFlash("0", core::HexAddress(value));
    EXPECT_EQ(State.FlashBuffer[0], value >> 8);
    EXPECT_EQ(State.FlashBuffer[1], value & 0xFF);
  }
}

TEST_ON(HandEditTest, HandEdit, AWrongAddressStoresNothingAndSaysSo) {
  for (const char* text :
       {"", "7f", "G", " 7", "7 ", "-1", "+1", "0x1", "00000", "12345", "１", "."}) {
    SCOPED_TRACE(text);
    WriteFlash(text, "1234");
    ExpectOnlyNotice(kBadInput);
    WriteEeprom(text, "12");
    ExpectOnlyNotice(kBadInput);
  }
}

TEST_ON(HandEditTest, HandEdit, AWrongValueStoresNothingAndSaysSo) {
  for (const char* text : {"", "ff", "GG", " 1", "1 ", "-1", "00000", "あ", "Ａ"}) {
    SCOPED_TRACE(text);
    WriteFlash("0", text);
    ExpectOnlyNotice(kBadInput);
    WriteEeprom("0", text);
    ExpectOnlyNotice(kBadInput);
  }
}

TEST_ON(HandEditTest, HandEdit, AWrongDigitRaisesTheErrorFlag) {
  WriteFlash("7f", "0");
  EXPECT_EQ(State.LinkError, 1);
}

TEST_ON(HandEditTest, HandEdit, AnErrorOfAnEarlierCommandDoesNotBlockAnEdit) {
  State.LinkError = 1;
  WriteFlash("0", "1234");
  EXPECT_EQ(State.FlashBuffer[0], 0x12);
  EXPECT_EQ(State.LinkError, 0);
  State.LinkError = 1;
  EXPECT_EQ(ReadFlash("0"), "1234");
  EXPECT_EQ(State.LinkError, 0);
}

TEST_ON(HandEditTest, HandEdit, ATypingErrorDoesNotBlockTheNextEdit) {
  WriteFlash("x", "1234");
  WriteFlash("0", "1234");
  EXPECT_EQ(State.FlashBuffer[0], 0x12);
}

TEST_ON(HandEditTest, HandEdit, WrongInputIsReportedBeforeAWrongAddress) {
  WriteFlash("FFFF", "xyz");
  ExpectOnlyNotice(kBadInput);
}

// Limits.

TEST_ON(HandEditTest, HandEdit, TheHighestFlashAddressOfAnAt90s2313Is07FF) {
  WriteFlash("07FF", "1234");
  EXPECT_EQ(State.FlashBuffer[2 * 0x7FF], 0x12);
  EXPECT_TRUE(Dialog.Shown.empty());
}

TEST_ON(HandEditTest, HandEdit, AFlashAddressAboveTheLimitIsRefused) {
  WriteFlash("0800", "1234");
  ExpectOnlyNotice(kBadFlashAddress);
  EXPECT_EQ(ReadFlash("0800"), "before");
  ExpectOnlyNotice(kBadFlashAddress);
}

TEST_ON(HandEditTest, HandEdit, AnEepromAddressAboveTheLimitIsRefused) {
  WriteEeprom("0080", "12");
  ExpectOnlyNotice(kBadEepromAddress);
  EXPECT_EQ(ReadEeprom("0080"), "before");
  ExpectOnlyNotice(kBadEepromAddress);
}

TEST_ON(HandEditTest, HandEdit, OnEveryDeviceTheLimitsFollowTheSizes) {
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    SCOPED_TRACE(device.DisplayName);
    Start(device.DisplayName);
    Dialog.Shown.clear();
    const std::int32_t flash_last = 2 * device.FlashWords - 1;
    const std::int32_t eeprom_last = device.EepromBytes - 1;
    WriteFlash(core::HexAddress(flash_last), "1234");
    WriteEeprom(core::HexAddress(eeprom_last), "56");
    EXPECT_TRUE(Dialog.Shown.empty());
    EXPECT_EQ(ReadFlash(core::HexAddress(flash_last)), "1234");
    EXPECT_EQ(ReadEeprom(core::HexAddress(eeprom_last)), "56");
    WriteFlash(core::HexAddress(flash_last + 1), "1234");
    EXPECT_EQ(Dialog.Text, kBadFlashAddress);
    WriteEeprom(core::HexAddress(eeprom_last + 1), "56");
    EXPECT_EQ(Dialog.Text, kBadEepromAddress);
  }
}

TEST_ON(HandEditTest, HandEdit, AWordBeyondTheChipIsKeptInTheBufferAndNotShown) {
  const std::string dump = FileText("avrhex.txt");
  WriteFlash("0400", "1234");
  EXPECT_EQ(FlashBytes(0x800, 2), "12 34");
  EXPECT_EQ(FileText("avrhex.txt"), dump);
}

TEST_ON(HandEditTest, HandEdit, WithoutADeviceEveryAddressIsOutOfRange) {
  State.FlashWords = 0;
  State.EepromBytes = 0;
  WriteFlash("0", "1234");
  ExpectOnlyNotice(kBadFlashAddress);
  WriteEeprom("0", "12");
  ExpectOnlyNotice(kBadEepromAddress);
}

// Reading.

TEST_ON(HandEditTest, HandEdit, AFlashWordIsShownInFourDigits) {
  State.FlashBuffer[0x24] = 0x0A;
  State.FlashBuffer[0x25] = 0x0C;
  EXPECT_EQ(ReadFlash("12"), "0A0C");
  EXPECT_EQ(ReadFlash("0"), "FFFF");
}

TEST_ON(HandEditTest, HandEdit, AnEepromByteIsShownInTwoDigits) {
  State.EepromBuffer[0x7F] = 0x0A;
  EXPECT_EQ(ReadEeprom("7F"), "0A");
  EXPECT_EQ(ReadEeprom("0"), "FF");
}

TEST_ON(HandEditTest, HandEdit, AReadShowsNoMessageAndWritesNoFile) {
  ReadFlash("7F");
  ReadEeprom("7F");
  EXPECT_TRUE(TakeJournal().empty());
}

TEST_ON(HandEditTest, HandEdit, AReadWithAnEmptyAddressDoesNothing) {
  State.LinkError = 1;
  EXPECT_EQ(ReadFlash(""), "before");
  EXPECT_EQ(ReadEeprom(""), "before");
  EXPECT_TRUE(TakeJournal().empty());
  EXPECT_EQ(State.LinkError, 1);
}

TEST_ON(HandEditTest, HandEdit, AReadOfAWrongAddressLeavesTheValueAndSaysSo) {
  for (const char* text : {"7f", "G", " ", "00000", "１"}) {
    SCOPED_TRACE(text);
    EXPECT_EQ(ReadFlash(text), "before");
    EXPECT_EQ(State.LinkError, 1);
    ExpectOnlyNotice(kBadInput);
    EXPECT_EQ(ReadEeprom(text), "before");
    ExpectOnlyNotice(kBadInput);
  }
}

TEST_ON(HandEditTest, HandEdit, AReadDoesNotLookAtTheValueField) {
  Enter(true, "0", "not a number");
  ReadOneLocation(Context);
  EXPECT_EQ(HandEdit.Data, "FFFF");
}

TEST_ON(HandEditTest, HandEdit, WhatIsWrittenIsReadBack) {
  WriteFlash("3FF", "BEEF");
  WriteEeprom("7F", "A5");
  EXPECT_EQ(ReadFlash("3FF"), "BEEF");
  EXPECT_EQ(ReadEeprom("7F"), "A5");
}

}  // namespace
}  // namespace fenwright::image
