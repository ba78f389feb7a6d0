#include "image/dump_files.h"

#include "core/device_catalogue.h"
#include "image/buffers.h"
#include "ops/command.h"
#include "support/test_run.h"

namespace fenwright::image {
namespace {

struct DumpFiles : Test, RecordedRun {
  DumpFiles() { Start("ATtiny12L"); }

  /// Line `number`, counted from 0, with its CR LF.
  static std::string Line(const std::string& dump, std::size_t number) {
    std::size_t start = 0;
    for (; number > 0; --number) start = dump.find('\n', start) + 1;
    return dump.substr(start, dump.find('\n', start) + 1 - start);
  }
  static std::ptrdiff_t LineCount(const std::string& dump) {
    return std::ranges::count(dump, '\n');
  }
};

const std::string kSixteenDots(16, '\xA5');

TEST_F(DumpFiles, ABlankFlashLineIsEightWordsAndSixteenDots) {
  EXPECT_EQ(Line(FlashDump(State), 0),
            "0000: FFFF FFFF FFFF FFFF FFFF FFFF FFFF FFFF " + kSixteenDots + "\r\n");
}

TEST_F(DumpFiles, AFlashLineShowsTheWordsHighByteFirstAndTheBytesInBufferOrder) {
  for (std::size_t i = 0; i < 16; ++i) {
    State.FlashBuffer[i] = static_cast<std::uint8_t>(0x40 + i);
  }
  EXPECT_EQ(Line(FlashDump(State), 0),
            "0000: 4041 4243 4445 4647 4849 4A4B 4C4D 4E4F @ABCDEFGHIJKLMNO\r\n");
}

TEST_F(DumpFiles, TheFirstBytesOfAProgramComeOutByteForByte) {
  State.FlashBuffer[0] = 0x94;
  State.FlashBuffer[1] = 0x0C;
  State.FlashBuffer[2] = 0x00;
  State.FlashBuffer[3] = 0x41;
  EXPECT_EQ(Line(FlashDump(State), 0),
            "0000: 940C 0041 FFFF FFFF FFFF FFFF FFFF FFFF "
            "\xA5\xA5\xA5"
            "A"
            "\xA5\xA5\xA5\xA5\xA5\xA5\xA5\xA5\xA5\xA5\xA5\xA5\r\n");
}

TEST_F(DumpFiles, TheCharacterColumnShowsCodes32To126AndADotForAllOthers) {
  for (int code = 0; code < 256; ++code) {
    State.EepromBuffer[0] = static_cast<std::uint8_t>(code);
    const std::string line = Line(EepromDump(State), 0);
    const char expected = code >= 32 && code <= 126 ? static_cast<char>(code) : '\xA5';
    EXPECT_EQ(line[6 + 16 * 3], expected) << code;
  }
}

TEST_F(DumpFiles, TheEdgesOfThePrintableRange) {
  const std::vector<std::uint8_t> bytes = {0x1F, 0x20, 0x41, 0x7E, 0x7F, 0x80, 0xA4, 0xA5,
                                           0xA6, 0xFF, 0x00, 0x09, 0x0D, 0x0A, 0x5C, 0x30};
  std::ranges::copy(bytes, State.EepromBuffer.begin());
  EXPECT_EQ(Line(EepromDump(State), 0),
            "0000: 1F 20 41 7E 7F 80 A4 A5 A6 FF 00 09 0D 0A 5C 30 "
            "\xA5 A~\xA5\xA5\xA5\xA5\xA5\xA5\xA5\xA5\xA5\xA5\\0\r\n");
}

TEST_F(DumpFiles, FlashLinesAreNumberedByWords) {
  const std::string dump = FlashDump(State);
  EXPECT_EQ(Line(dump, 1).substr(0, 6), "0008: ");
  EXPECT_EQ(Line(dump, 2).substr(0, 6), "0010: ");
  EXPECT_EQ(Line(dump, 63).substr(0, 6), "01F8: ");
}

TEST_F(DumpFiles, EepromLinesAreNumberedByBytes) {
  const std::string dump = EepromDump(State);
  EXPECT_EQ(Line(dump, 0),
            "0000: FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF " + kSixteenDots + "\r\n");
  EXPECT_EQ(Line(dump, 1).substr(0, 6), "0010: ");
  EXPECT_EQ(Line(dump, 3).substr(0, 6), "0030: ");
}

TEST_F(DumpFiles, EveryDevicesDumpsEndWithItsLastLocation) {
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    Select(Context, device.DisplayName);
    State.FlashBuffer[2 * static_cast<std::size_t>(device.FlashWords) - 1] = 'z';
    State.FlashBuffer[2 * static_cast<std::size_t>(device.FlashWords)] = 'X';
    State.EepromBuffer[static_cast<std::size_t>(device.EepromBytes) - 1] = 'z';
    State.EepromBuffer[static_cast<std::size_t>(device.EepromBytes)] = 'X';
    const std::string flash = FlashDump(State);
    const std::string eeprom = EepromDump(State);
    EXPECT_EQ(LineCount(flash), device.FlashWords / 8) << device.DisplayName;
    EXPECT_EQ(LineCount(eeprom), device.EepromBytes / 16) << device.DisplayName;
    EXPECT_TRUE(flash.ends_with("z\r\n")) << device.DisplayName;
    EXPECT_TRUE(eeprom.ends_with("z\r\n")) << device.DisplayName;
    EXPECT_EQ(flash.find('X'), std::string::npos);
    EXPECT_EQ(eeprom.find('X'), std::string::npos);
  }
}

TEST_F(DumpFiles, WithoutADeviceTheDumpsAreEmpty) {
  State.FlashWords = 0;
  State.EepromBytes = 0;
  EXPECT_EQ(FlashDump(State), "");
  EXPECT_EQ(EepromDump(State), "");
}

TEST_F(DumpFiles, TheFilesHaveTheirNamesInTheProgramsFolder) {
  Files.Files.clear();
  WriteFlashDump(Context);
  WriteEepromDump(Context);
  ASSERT_EQ(Files.Files.size(), 2U);
  EXPECT_EQ(Files.Files["/app/avrhex.txt"], FlashDump(State));
  EXPECT_EQ(Files.Files["/app/avreep.txt"], EepromDump(State));
}

TEST_F(DumpFiles, AFileIsRewrittenWhole) {
  Files.Files["/app/avrhex.txt"] = std::string(100000, 'x');
  WriteFlashDump(Context);
  EXPECT_EQ(Files.Files["/app/avrhex.txt"], FlashDump(State));
}

TEST_F(DumpFiles, TheViewsLoadTheFiles) {
  LoadFlashView(Context);
  LoadEepromView(Context);
  EXPECT_EQ(Views.Paths[View::Flash], "/app/avrhex.txt");
  EXPECT_EQ(Views.Paths[View::Eeprom], "/app/avreep.txt");
}

TEST_F(DumpFiles, ARefreshWritesTheFileBeforeTheViewLoadsIt) {
  RefreshFlashView(Context);
  EXPECT_EQ(TakeJournal(), (Journal{"write /app/avrhex.txt", "load flash view"}));
  RefreshEepromView(Context);
  EXPECT_EQ(TakeJournal(), (Journal{"write /app/avreep.txt", "load EEPROM view"}));
}

TEST_F(DumpFiles, ADumpThatTheDiscRefusesIsShownFromMemoryAndTheCommandGoesOn) {
  State.FlashBuffer[0] = 0x12;
  State.EepromBuffer[0] = 0x34;
  Files.Refused = {"/app/avrhex.txt", "/app/avreep.txt"};
  EXPECT_EQ(ops::RunCommand(Context,
                            [&](core::RunContext&) {
                              RefreshFlashView(Context);
                              RefreshEepromView(Context);
                            }),
            CommandEnding::Finished);
  EXPECT_EQ(TakeJournal(), (Journal{"write /app/avrhex.txt", "show text in flash view",
                                    "write /app/avreep.txt", "show text in EEPROM view"}));
  EXPECT_EQ(Views.Texts[View::Flash], FlashDump(State));
  EXPECT_EQ(Views.Texts[View::Eeprom], EepromDump(State));
  EXPECT_EQ(State.FlashDumpRefusal.Reason, "permission denied");
  EXPECT_EQ(State.EepromDumpRefusal.Reason, "permission denied");
  Files.Refused.clear();
  RefreshFlashView(Context);
  EXPECT_TRUE(State.FlashDumpRefusal);
}

TEST_F(DumpFiles, ADumpThatCannotBeReadIsShownFromMemory) {
  Views.Source = &Files;
  WriteFlashDump(Context);
  Files.Unreadable["/app/avrhex.txt"] = "input/output error";
  LoadFlashView(Context);
  EXPECT_EQ(Views.Texts[View::Flash], FlashDump(State));
}

}  // namespace
}  // namespace fenwright::image
