#include "image/hex_reader.h"

#include "image/buffers.h"
#include "image/findings.h"
#include "image/sample_files.h"

namespace fenwright::image {
namespace {

struct HexReader : Test, RecordedRun {
  HexReader() {
    Start("AT90S8515");
    State.CodeFileName = kCodePath;
    State.DataFileName = kDataPath;
  }

  std::uint8_t Flash(std::size_t index) { return State.FlashBuffer[index]; }
  std::uint8_t Eeprom(std::size_t index) { return State.EepromBuffer[index]; }

  HexReadReport ReadCode(const std::string& content) {
    Files.Files[kCodePath] = content;
    return ReadCodeHexFile(Context);
  }
  HexReadReport ReadData(const std::string& content) {
    Files.Files[kDataPath] = content;
    return ReadDataHexFile(Context);
  }
};

/// A data record with its checksum; `data` is hexadecimal text.
std::string Record(int address, const std::string& data) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  const auto hex = [&](std::size_t value, int digits) {
    std::string text;
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) text += kDigits[value >> shift & 15];
    return text;
  };
  std::int16_t link_error = 0;
  return RecordChecksum(":" + hex(data.size() / 2, 2) + hex(static_cast<std::size_t>(address), 4) +
                            "00" + data,
                        link_error) +
         "\r\n";
}

// The code file, bytes to the flash buffer.

TEST_F(HexReader, AWordIsStoredHighByteFirstThoughTheFileHasItsLowByteFirst) {
  const HexReadReport report = ReadCode(":020000000C945E\r\n");
  EXPECT_EQ(report.End, HexReadEnd::Complete);
  EXPECT_EQ(FlashBytes(0, 3), "94 0C FF");
}

TEST_F(HexReader, OneByteAtAddressOneGoesToIndexZero) {
  ReadCode(":01000100AB53\r\n");
  EXPECT_EQ(FlashBytes(0, 2), "AB FF");
}

TEST_F(HexReader, OneByteAtAddressZeroGoesToIndexOne) {
  ReadCode(":01000000AB54\r\n");
  EXPECT_EQ(FlashBytes(0, 2), "FF AB");
}

TEST_F(HexReader, ARecordAtAnOddAddressIsSwappedByteByByte) {
  ReadCode(":03000100010203F6\r\n");
  EXPECT_EQ(FlashBytes(0, 4), "01 FF 03 02");
}

TEST_F(HexReader, EveryByteValueIsRead) {
  std::string file;
  for (int value = 0; value < 256; ++value) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    file += Record(value, {kDigits[value / 16], kDigits[value % 16]});
  }
  EXPECT_EQ(ReadCode(file).End, HexReadEnd::Complete);
  for (std::size_t address = 0; address < 256; ++address) EXPECT_EQ(Flash(address ^ 1U), address);
  EXPECT_EQ(State.LinkError, 0);
}

TEST_F(HexReader, ARecordMayHold255Bytes) {
  std::string data;
  for (int i = 0; i < 255; ++i) data += "5A";
  const HexReadReport report = ReadCode(Record(0x100, data));
  EXPECT_FALSE(Has(report, FindingCode::WrongChecksum));
  EXPECT_EQ(report.Check.Share.Given, 128);
  EXPECT_EQ(Flash(0x1FE ^ 1), 0x5A);
  EXPECT_EQ(Flash(0x1FE), 0xFF);
}

TEST_F(HexReader, ARecordOfNoBytesStoresNothing) {
  const HexReadReport report = ReadCode(":0000100000\r\n");
  EXPECT_EQ(report.End, HexReadEnd::Complete);
  EXPECT_TRUE(FlashIs(0xFF));
  EXPECT_EQ(report.Check.Share.Given, 0);
}

TEST_F(HexReader, TheCodeReaderDoesNotClearTheBuffer) {
  State.FlashBuffer[500] = 0x12;
  ReadCode(":020000000C945E\r\n");
  EXPECT_EQ(Flash(500), 0x12);
}

TEST_F(HexReader, TheCodeReaderLeavesTheEepromBufferAlone) {
  ReadCode(":020000000C945E\r\n");
  EXPECT_TRUE(EepromIs(0xFF));
}

TEST_F(HexReader, DataBeyondTheChipButInsideTheBufferIsStoredWithoutComplaint) {
  const HexReadReport report = ReadCode(Record(0xF000, "0102"));
  EXPECT_EQ(report.End, HexReadEnd::Complete);
  EXPECT_EQ(FlashBytes(0xF000, 2), "02 01");
  EXPECT_EQ(TakeJournal(), (Journal{"read /home/files/prog.hex"}));
}

// The data file, bytes to the EEPROM buffer.

TEST_F(HexReader, EepromBytesAreNotSwapped) {
  ReadData(Record(0x0010, "010203"));
  EXPECT_EQ(EepromBytes(0x0F, 5), "FF 01 02 03 FF");
}

TEST_F(HexReader, AnOddNumberOfEepromBytesStopsAtTheLastOne) {
  // Bytes travel in pairs; the checksum must not be taken for the second of one.
  ReadData(":01000000AB54\r\n");
  EXPECT_EQ(EepromBytes(0, 2), "AB FF");
}

TEST_F(HexReader, TheDataReaderDoesNotClearTheBufferAndLeavesTheFlashAlone) {
  State.EepromBuffer[100] = 0x12;
  ReadData(":020000000C945E\r\n");
  EXPECT_EQ(Eeprom(100), 0x12);
  EXPECT_TRUE(FlashIs(0xFF));
}

// File names and files.

TEST_F(HexReader, WithoutACodeFileNameNothingHappens) {
  State.CodeFileName = "";
  const HexReadReport report = ReadCodeHexFile(Context);
  EXPECT_EQ(report.End, HexReadEnd::NoName);
  EXPECT_TRUE(FlashIs(0xFF));
  EXPECT_TRUE(TakeJournal().empty());
}

TEST_F(HexReader, WithoutADataFileNameNothingHappens) {
  State.DataFileName = "";
  const HexReadReport report = ReadDataHexFile(Context);
  EXPECT_EQ(report.End, HexReadEnd::NoName);
  EXPECT_TRUE(EepromIs(0xFF));
  EXPECT_TRUE(TakeJournal().empty());
}

TEST_F(HexReader, AFileThatIsMissingIsNotOpened) {
  const HexReadReport report = ReadCodeHexFile(Context);
  EXPECT_EQ(report.End, HexReadEnd::NotOpened);
  EXPECT_EQ(report.Reason, "no such file");
  EXPECT_FALSE(State.HexFileLeftOpen);
}

TEST_F(HexReader, AFileThatCannotBeReadIsReportedInTheSystemsWords) {
  Files.Unreadable[kCodePath] = "Permission denied";
  const HexReadReport report = ReadCodeHexFile(Context);
  EXPECT_EQ(report.End, HexReadEnd::NotOpened);
  EXPECT_EQ(report.Reason, "Permission denied");
  EXPECT_TRUE(FlashIs(0xFF));
  EXPECT_TRUE(Trace().empty());
}

TEST_F(HexReader, AnEmptyFileIsReadToItsEnd) {
  const HexReadReport report = ReadCode("");
  EXPECT_EQ(report.End, HexReadEnd::Complete);
  EXPECT_TRUE(Has(report, FindingCode::NoData));
  EXPECT_FALSE(State.HexFileLeftOpen);
}

TEST_F(HexReader, TheLineReadLastIsKeptInTheScratchLine) {
  ReadCode(":020000000C945E\r\n:00000001FF\r\n");
  EXPECT_EQ(State.LineText, ":00000001FF");
}

// Line ends.

TEST_F(HexReader, LinesMayEndInCrLf) {
  ReadCode(":020000000C945E\r\n:020002000D945B\r\n");
  EXPECT_EQ(Flash(1), 0x0C);
  EXPECT_EQ(Flash(3), 0x0D);
}

TEST_F(HexReader, LinesMayEndInLfAlone) {
  const HexReadReport report = ReadCode(":020000000C945E\n:020002000D945B\n");
  EXPECT_EQ(report.End, HexReadEnd::Complete);
  EXPECT_EQ(Flash(1), 0x0C);
  EXPECT_EQ(Flash(3), 0x0D);
}

TEST_F(HexReader, LinesMayEndInCrAlone) {
  const HexReadReport report = ReadCode(":020000000C945E\r:020002000D945B\r");
  EXPECT_EQ(report.End, HexReadEnd::Complete);
  EXPECT_EQ(Flash(1), 0x0C);
  EXPECT_EQ(Flash(3), 0x0D);
}

TEST_F(HexReader, TheLastLineNeedNotEnd) {
  const HexReadReport report = ReadCode(":020000000C945E\r\n:020002000D945B");
  EXPECT_EQ(report.End, HexReadEnd::Complete);
  EXPECT_EQ(Flash(3), 0x0D);
}

// Record types.

TEST_F(HexReader, RecordsAfterTheEndRecordAreLoadedToo) {
  ReadCode(std::string(":020000000C945E\r\n") + kEnd + ":020002000D945B\r\n");
  EXPECT_EQ(Flash(1), 0x0C);
  EXPECT_EQ(Flash(3), 0x0D);
}

TEST_F(HexReader, AnEndRecordIsReportedWhereverItStands) {
  for (const HexReadReport& report : {ReadCode(std::string(":020000000C945E\r\n") + kEnd),
                                      ReadCode(std::string(kEnd) + ":020000000C945E\r\n")}) {
    EXPECT_FALSE(Has(report, FindingCode::NoEndRecord));
  }
}

TEST_F(HexReader, AMissingEndRecordIsReadWithoutNoticeButReported) {
  const HexReadReport report = ReadCode(":020000000C945E\r\n:020000021000EC\r\n");
  EXPECT_TRUE(Has(report, FindingCode::NoEndRecord));
  EXPECT_EQ(report.End, HexReadEnd::Complete);
  EXPECT_EQ(Flash(1), 0x0C);
  EXPECT_TRUE(Has(ReadData(""), FindingCode::NoEndRecord));
}

TEST_F(HexReader, EveryTypeButZeroIsReadPast) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  for (int type = 1; type < 256; ++type) {
    const std::string digits = {kDigits[type / 16], kDigits[type % 16]};
    const HexReadReport report = ReadCode(":020000" + digits + "1234\r\n");
    EXPECT_EQ(report.End, HexReadEnd::Complete) << type;
    EXPECT_EQ(report.Check.Share.Given, 0) << type;
  }
  EXPECT_TRUE(FlashIs(0xFF));
}

TEST_F(HexReader, TypesOneToFiveAreReadPastInADataFileToo) {
  ReadData(
      ":020000021000EC\r\n:0400000300003800C1\r\n:020000040001F9\r\n:04000005000000CD2A\r\n"
      ":00000001FF\r\n:0100050042B8\r\n");
  EXPECT_EQ(Eeprom(5), 0x42);
  State.EepromBuffer[5] = 0xFF;
  EXPECT_TRUE(EepromIs(0xFF));
}

TEST_F(HexReader, AnExtendedAddressIsIgnoredSoItsDataFoldOntoTheLowAddresses) {
  ReadCode(":020000000C945E\r\n:020000040001F9\r\n:020000000D945D\r\n");
  EXPECT_EQ(FlashBytes(0, 2), "94 0D");
}

TEST_F(HexReader, ATypeOtherThanZeroMayLieOutsideTheBuffer) {
  EXPECT_EQ(ReadData(":02FFFF051234B5\r\n").End, HexReadEnd::Complete);
}

// Lines that are no records.

TEST_F(HexReader, ABlankLineEndsTheReadAndKeepsTheLinesBeforeIt) {
  const HexReadReport report = ReadCode(":020000000C945E\r\n\r\n:020002000D945B\r\n");
  EXPECT_EQ(report.End, HexReadEnd::BadLine);
  EXPECT_EQ(report.StoppedAtLine, 2);
  EXPECT_EQ(LineOf(report, FindingCode::NotARecord), 2);
  EXPECT_EQ(Flash(1), 0x0C);
  EXPECT_EQ(Flash(3), 0xFF);
}

TEST_F(HexReader, ABadLineOfACodeFileIsShownInPanelOneAndTraced) {
  ReadCode("hello\r\n");
  EXPECT_EQ(PanelText(Panel::Status), "HEX ファイルのオープンエラー");
  EXPECT_EQ(NewTrace(), Texts{"HEX ファイルのオープンエラー"});
}

TEST_F(HexReader, ABadLineOfADataFileHasItsOwnTextWithTwoBlanks) {
  const HexReadReport report = ReadData("hello\r\n");
  EXPECT_EQ(report.End, HexReadEnd::BadLine);
  EXPECT_EQ(PanelText(Panel::Status), "EEP  ファイルのオープンエラー");
  EXPECT_EQ(NewTrace(), Texts{"EEP  ファイルのオープンエラー"});
}

TEST_F(HexReader, ABadLineIsShownInNoDialogAndRaisesNoError) {
  ReadCode("hello\r\n");
  EXPECT_TRUE(Dialog.Shown.empty());
  EXPECT_TRUE(Boxes.Boxes.empty());
  EXPECT_EQ(State.LinkError, 0);
}

TEST_F(HexReader, AColonThatIsNotTheFirstCharacterDoesNotCount) {
  EXPECT_EQ(ReadCode(" :00000001FF\r\n").End, HexReadEnd::BadLine);
  EXPECT_TRUE(State.HexFileLeftOpen);
}

TEST_F(HexReader, ABlankLineAfterTheLastRecordIsABadLineToo) {
  EXPECT_EQ(ReadCode(std::string(kEnd) + "\r\n").End, HexReadEnd::BadLine);
}

// The file that is left open.

TEST_F(HexReader, AGoodFileIsClosed) {
  ReadCode(kEnd);
  EXPECT_FALSE(State.HexFileLeftOpen);
  EXPECT_EQ(ReadCode(":020000000C945E\r\n").End, HexReadEnd::Complete);
}

TEST_F(HexReader, AfterABadCodeLineEveryLaterReadFailsAtItsOpen) {
  ReadCode("bad\r\n");
  EXPECT_TRUE(State.HexFileLeftOpen);
  TakeJournal();
  for (int attempt = 0; attempt < 3; ++attempt) {
    EXPECT_EQ(ReadCode(":020000000C945E\r\n").End, HexReadEnd::NotOpened);
    EXPECT_EQ(ReadData(":020000000C945E\r\n").End, HexReadEnd::NotOpened);
  }
  EXPECT_TRUE(FlashIs(0xFF));
  EXPECT_TRUE(EepromIs(0xFF));
  EXPECT_TRUE(TakeJournal().empty()) << "no file is read and nothing is shown";
}

TEST_F(HexReader, AfterABadDataLineEveryLaterReadFailsAtItsOpen) {
  ReadData("bad\r\n");
  EXPECT_TRUE(State.HexFileLeftOpen);
  EXPECT_EQ(ReadCode(":020000000C945E\r\n").End, HexReadEnd::NotOpened);
  EXPECT_EQ(ReadData(":020000000C945E\r\n").End, HexReadEnd::NotOpened);
}

TEST_F(HexReader, AReadThatFailsForTheFileLeftOpenGivesAReason) {
  ReadCode("bad\r\n");
  EXPECT_FALSE(ReadCode(kEnd).Reason.empty());
}

TEST_F(HexReader, TheReasonOfAFileLeftOpenNamesTheCure) {
  ReadCode("bad\r\n");
  EXPECT_EQ(ReadCode(kEnd).Reason,
            "前に開いたHEXファイルに不正な行があったため、HEXファイルを開けません。"
            "プログラムを再起動してください。");
}

TEST_F(HexReader, AShortLineIsNotFilledUpFromTheNext) {
  const HexReadReport report = ReadCode(":0100\r\n:1000000000\r\n");
  EXPECT_EQ(LineOf(report, FindingCode::ShortRecord), 1);
  EXPECT_EQ(report.Check.Findings.front().Count, 2) << "the next one is a record of its own";
}

TEST_F(HexReader, WithoutANameNothingHappensEvenWhenAFileWasLeftOpen) {
  ReadCode("bad\r\n");
  State.DataFileName = "";
  EXPECT_EQ(ReadDataHexFile(Context).End, HexReadEnd::NoName);
}

TEST_F(HexReader, AFileLeftOpenInOneRunDoesNotConcernAnother) {
  ReadCode("bad\r\n");
  RecordedRun other;
  other.State.CodeFileName = kCodePath;
  other.Files.Files[kCodePath] = kEnd;
  EXPECT_EQ(ReadCodeHexFile(other.Context).End, HexReadEnd::Complete);
}

// Addresses beyond the buffers.

TEST_F(HexReader, TheLastByteAddressOfARecordIsStored) {
  EXPECT_EQ(ReadCode(":01FFFF00AB56\r\n").End, HexReadEnd::Complete);
  EXPECT_EQ(Flash(65534), 0xAB);
}

TEST_F(HexReader, FlashIndex65537EndsTheReadAndKeepsWhatWasStored) {
  // Byte address 65536 belongs to index 65537, one more than the last.
  const HexReadReport report = ReadCode(":01000000AB54\r\n:02FFFF00010200\r\n:01000200CD30\r\n");
  EXPECT_EQ(report.End, HexReadEnd::OutsideBuffer);
  EXPECT_EQ(report.StoppedAtLine, 2);
  EXPECT_EQ(Flash(1), 0xAB);
  EXPECT_EQ(FlashBytes(65534, 3), "01 FF FF");
  EXPECT_EQ(Flash(3), 0xFF) << "the line after is not read";
}

TEST_F(HexReader, EepromIndex2048IsTheLastOne) {
  EXPECT_EQ(ReadData(Record(2048, "AB")).End, HexReadEnd::Complete);
  EXPECT_EQ(Eeprom(2048), 0xAB);
}

TEST_F(HexReader, EepromIndex2049EndsTheReadAndKeepsWhatWasStored) {
  const HexReadReport report = ReadData(Record(2047, "010203") + Record(0, "AB"));
  EXPECT_EQ(report.End, HexReadEnd::OutsideBuffer);
  EXPECT_EQ(report.StoppedAtLine, 1);
  EXPECT_EQ(EepromBytes(2047, 2), "01 02");
  EXPECT_EQ(Eeprom(0), 0xFF);
}

TEST_F(HexReader, ARecordThatStartsAtEepromIndex2049StoresNothing) {
  EXPECT_EQ(ReadData(Record(2049, "01")).End, HexReadEnd::OutsideBuffer);
  EXPECT_TRUE(EepromIs(0xFF));
}

TEST_F(HexReader, AnAddressOutsideLeavesNoFileOpenAndIsNotShownByTheReader) {
  ReadData(Record(2049, "01"));
  EXPECT_FALSE(State.HexFileLeftOpen);
  EXPECT_EQ(State.LinkError, 0);
  EXPECT_TRUE(Trace().empty());
  EXPECT_EQ(ReadData(Record(0, "AB")).End, HexReadEnd::Complete);
}

// Wrong and missing digits.

TEST_F(HexReader, ALowerCaseDigitReadsAsZeroRaisesTheErrorAndTheByteIsStored) {
  const HexReadReport report = ReadCode(":020000000c945E\r\n");
  EXPECT_EQ(report.End, HexReadEnd::Complete);
  EXPECT_EQ(Flash(1), 0x00);
  EXPECT_EQ(Flash(0), 0x94);
  EXPECT_EQ(State.LinkError, 1);
  EXPECT_EQ(LineOf(report, FindingCode::BadDigit), 1);
}

TEST_F(HexReader, AMissingDigitReadsAsZeroAndRaisesTheError) {
  const HexReadReport report = ReadCode(":020000000C9\r\n");
  EXPECT_EQ(Flash(1), 0x0C);
  EXPECT_EQ(Flash(0), 0x90);
  EXPECT_EQ(State.LinkError, 1);
  EXPECT_EQ(LineOf(report, FindingCode::ShortRecord), 1);
}

TEST_F(HexReader, MissingBytesAreStoredAsZeros) {
  ReadData(":0400000011\r\n");
  EXPECT_EQ(EepromBytes(0, 5), "11 00 00 00 FF");
  EXPECT_EQ(State.LinkError, 1);
}

TEST_F(HexReader, AColonAloneIsARecordOfNoBytes) {
  const HexReadReport report = ReadCode(":\r\n");
  EXPECT_EQ(report.End, HexReadEnd::Complete);
  EXPECT_TRUE(FlashIs(0xFF));
  EXPECT_EQ(State.LinkError, 1);
}

TEST_F(HexReader, AWrongDigitInCountAddressOrTypeReadsAsZero) {
  ReadCode(":0100g000AB\r\n");
  EXPECT_EQ(Flash(1), 0xAB);
  ReadCode(":01000200CD30\r\n:0g000400EE\r\n");
  EXPECT_EQ(Flash(3), 0xCD);
  EXPECT_EQ(Flash(5), 0xFF);
  ReadCode(":0100060gEE\r\n");
  EXPECT_EQ(Flash(7), 0xEE);
  EXPECT_EQ(State.LinkError, 1);
}

TEST_F(HexReader, AWrongDigitInAnyFieldOfARecordRaisesTheErrorByItself) {
  const std::string record = ":0200100012345B";
  constexpr std::size_t kChecksum = 13;
  for (std::size_t digit = 1; digit < record.size(); ++digit) {
    std::string line = record;
    line[digit] = 'g';
    const std::int16_t raised = digit < kChecksum ? 1 : 0;
    SCOPED_TRACE(line);
    State.LinkError = 0;
    EXPECT_EQ(LineOf(ReadCode(line + "\r\n"), FindingCode::BadDigit), raised);
    EXPECT_EQ(State.LinkError, raised);
    State.LinkError = 0;
    EXPECT_EQ(LineOf(ReadData(line + "\r\n"), FindingCode::BadDigit), raised);
    EXPECT_EQ(State.LinkError, raised);
  }
}

TEST_F(HexReader, AWrongDigitInTheRecordThatGoesBeyondTheBufferRaisesTheErrorToo) {
  for (const char* record : {":g2FFFF000102", ":02FFFF0g0102", ":02FFFF000g02", ":02FFFF00010g"}) {
    SCOPED_TRACE(record);
    State.LinkError = 0;
    EXPECT_EQ(ReadCode(record).End, HexReadEnd::OutsideBuffer);
    EXPECT_EQ(State.LinkError, 1);
  }
  for (const char* record : {":g20800000102", ":02080000010g"}) {
    SCOPED_TRACE(record);
    State.LinkError = 0;
    EXPECT_EQ(ReadData(record).End, HexReadEnd::OutsideBuffer);
    EXPECT_EQ(State.LinkError, 1);
  }
}

TEST_F(HexReader, AWrongDigitInARecordThatIsReadPastRaisesTheErrorToo) {
  ReadCode(":0000g001FF\r\n");
  EXPECT_EQ(State.LinkError, 1);
}

TEST_F(HexReader, WrongDigitsBehindTheDataDoNotCount) {
  const HexReadReport report = ReadCode(":020000000C94zz rest\r\n");
  EXPECT_EQ(State.LinkError, 0);
  EXPECT_FALSE(Has(report, FindingCode::BadDigit));
}

TEST_F(HexReader, TheFirstDoubtfulLineIsReportedAndReadingGoesOn) {
  const HexReadReport report =
      ReadCode(":020000000C945E\r\n:02000200x0945B\r\n:02000400y094\r\n:020006000E9456\r\n");
  EXPECT_EQ(report.End, HexReadEnd::Complete);
  EXPECT_EQ(LineOf(report, FindingCode::BadDigit), 2);
  EXPECT_EQ(Flash(7), 0x0E);
}

TEST_F(HexReader, AGoodFileDoesNotClearAnEarlierError) {
  State.LinkError = 1;
  ReadCode(":020000000C945E\r\n");
  EXPECT_EQ(State.LinkError, 1);
}

// Checksums.

TEST_F(HexReader, AWrongChecksumIsReadWithoutNoticeButReported) {
  const HexReadReport report = ReadCode(":020000000C945E\r\n:020002000D9400\r\n");
  EXPECT_EQ(report.End, HexReadEnd::Complete);
  EXPECT_EQ(Flash(3), 0x0D);
  EXPECT_EQ(State.LinkError, 0);
  EXPECT_EQ(TakeJournal(), (Journal{"read /home/files/prog.hex"}));
  EXPECT_EQ(LineOf(report, FindingCode::WrongChecksum), 2);
}

TEST_F(HexReader, OnlyTheFirstWrongChecksumIsReported) {
  EXPECT_EQ(LineOf(ReadCode(":020000000C9400\r\n:020002000D9400\r\n"), FindingCode::WrongChecksum),
            1);
}

TEST_F(HexReader, AMissingChecksumIsAWrongOne) {
  EXPECT_EQ(LineOf(ReadCode(":020000000C94\r\n"), FindingCode::WrongChecksum), 1);
}

TEST_F(HexReader, AFileWithGoodChecksumsHasNothingReported) {
  const HexReadReport report = ReadCode(std::string(":020000000C945E\r\n") + kEnd);
  EXPECT_TRUE(report.Check.Findings.empty());
  EXPECT_EQ(report.StoppedAtLine, 0);
}

TEST_F(HexReader, TheChecksumOfOneCharacterIsAccepted) {
  const HexReadReport report = ReadCode(":1000E20000000000000000000000000000000000E\r\n");
  EXPECT_FALSE(Has(report, FindingCode::WrongChecksum));
  EXPECT_EQ(report.Check.Share.Given, 8);
}

TEST_F(HexReader, TheStandardFormOfTheSameChecksumIsAcceptedToo) {
  EXPECT_EQ(LineOf(ReadCode(":1000E200000000000000000000000000000000000E\r\n"),
                   FindingCode::WrongChecksum),
            0);
}

TEST_F(HexReader, AnotherSingleCharacterIsAWrongChecksum) {
  EXPECT_EQ(LineOf(ReadCode(":1000E20000000000000000000000000000000000D\r\n"),
                   FindingCode::WrongChecksum),
            1);
}

TEST_F(HexReader, WhatStandsBehindTheChecksumDoesNotCount) {
  EXPECT_FALSE(Has(ReadCode(":020000000C945E00\r\n"), FindingCode::WrongChecksum));
}

TEST_F(HexReader, ASingleCharacterIsNoWordForTwoOthers) {
  const std::string record = ":1000E20000000000000000000000000000000000";
  EXPECT_EQ(LineOf(ReadCode(record + "1E\r\n"), FindingCode::WrongChecksum), 1);
  EXPECT_EQ(LineOf(ReadCode(record + "0F\r\n"), FindingCode::WrongChecksum), 1);
  EXPECT_EQ(LineOf(ReadCode(":020000000C9405\r\n"), FindingCode::WrongChecksum), 1)
      << "5E is no single character";
}

TEST_F(HexReader, AHalfOfATwoCharacterChecksumIsAWrongOne) {
  EXPECT_EQ(LineOf(ReadCode(":020000000C945\r\n"), FindingCode::WrongChecksum), 1);
}

TEST_F(HexReader, TheChecksumReportIsAboutDataRecordsOnly) {
  EXPECT_EQ(LineOf(ReadCode(":020000000C945E\r\n:0000000100\r\n"), FindingCode::WrongChecksum), 0);
}

// What the report counts.

TEST_F(HexReader, TheReportCountsTheWordsThatTheFileGives) {
  const HexReadReport report = ReadCode(Record(0x20, "0102") + Record(0, "0304") + kEnd);
  EXPECT_EQ(report.Check.Share.Given, 2);
  EXPECT_EQ(report.Check.Share.Inside, 2);
}

TEST_F(HexReader, TheReportIsAboutTheSelectedDevice) {
  const std::string file = Record(0x400, "0102") + kEnd;
  EXPECT_TRUE(ReadCode(file).Check.Findings.empty());
  Start("ATtiny12L");
  State.CodeFileName = kCodePath;
  const HexReadReport report = ReadCode(file);
  EXPECT_EQ(Codes(report.Check), Texts{"data-beyond-chip@1"});
  EXPECT_THAT(report.Check.Findings[0].Cause.English, HasSubstr("ATtiny12"));
}

}  // namespace
}  // namespace fenwright::image
