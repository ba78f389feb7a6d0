#include "image/hex_writer.h"

#include <iomanip>

#include "core/device_catalogue.h"
#include "image/buffers.h"
#include "image/findings.h"
#include "image/old_content.h"

namespace fenwright::image {
namespace {

constexpr char kWrittenCode[] = "/out/prog.hex";
constexpr char kWrittenData[] = "/out/prog.eep";
constexpr char kEndRecord[] = ":00000001FF";
constexpr char kReadOnlyText[] = "リードオンリーファイルにアクセスしました。";
constexpr char kNotSavedText[] = "ファイル保存できませんでした。";
constexpr std::size_t kBytesPerLine = 45;  // with two checksum characters and CR LF

/// `value` in upper-case hexadecimal, of `digits` digits at least.
std::string Hex(unsigned value, int digits) {
  std::ostringstream text;
  text << std::hex << std::uppercase << std::setfill('0') << std::setw(digits) << value;
  return text.str();
}

/// A whole file as it is described, from its bytes in file order.
std::string ExpectedFile(const std::vector<unsigned>& bytes) {
  std::string file;
  for (std::size_t start = 0; start + 16 <= bytes.size(); start += 16) {
    const auto address = static_cast<unsigned>(start);
    file += ":10" + Hex(address, 4) + "00";
    unsigned sum = 0x10 + address / 256 + address % 256;
    for (std::size_t i = start; i < start + 16; ++i) {
      file += Hex(bytes[i], 2);
      sum += bytes[i];
    }
    const std::string checksum = Hex((256 - sum) & 0xFFFF, 1);
    file += checksum.substr(checksum.size() - std::min<std::size_t>(checksum.size(), 2)) + "\r\n";
  }
  return file + kEndRecord + "\r\n";
}

std::vector<std::string> LinesOf(const std::string& file) {
  std::vector<std::string> lines;
  for (std::size_t start = 0; start < file.size();) {
    const std::size_t end = file.find("\r\n", start);
    if (end == std::string::npos) break;
    lines.push_back(file.substr(start, end - start));
    start = end + 2;
  }
  return lines;
}

struct HexWriter : Test, RecordedRun {
  HexWriter() { Start("AT90S2313"); }

  void Start(std::string_view device) {
    RecordedRun::Start(device);
    State.CodeSaveFileName = kWrittenCode;
    State.DataSaveFileName = kWrittenData;
  }
  std::string WriteCode() {
    EXPECT_EQ(WriteCodeHexFile(Context).End, HexWriteEnd::Complete);
    return Files.Files[kWrittenCode];
  }
  std::string WriteData() {
    EXPECT_EQ(WriteDataHexFile(Context).End, HexWriteEnd::Complete);
    return Files.Files[kWrittenData];
  }
  /// Random bytes for the chip's flash and for the two EEPROM sizes that a data file holds.
  void FillRandomly(const core::DeviceEntry& device, unsigned seed) {
    const auto flash = RandomBytes(2 * static_cast<std::size_t>(device.FlashWords), seed);
    const auto eeprom = RandomBytes(2 * static_cast<std::size_t>(device.EepromBytes), seed + 1);
    std::ranges::copy(flash, State.FlashBuffer.begin());
    std::ranges::copy(eeprom, State.EepromBuffer.begin());
  }
  void ExpectBox(const std::string& text) {
    EXPECT_THAT(Boxes.Boxes, ElementsAre(Box{MessageIcon::Critical, "ファイル保存", text}));
  }
};

// The code file.

TEST_F(HexWriter, ABlankFlashOf512WordsIs64FullRecordsAndTheEndRecord) {
  Start("ATtiny12L");
  const std::vector<std::string> lines = LinesOf(WriteCode());
  ASSERT_EQ(lines.size(), 65U);
  const std::string blank(32, 'F');
  EXPECT_EQ(lines[0], ":10000000" + blank + "00");
  EXPECT_EQ(lines[1], ":10001000" + blank + "F0");
  EXPECT_EQ(lines[16], ":10010000" + blank + "FF");
  EXPECT_EQ(lines[63], ":1003F000" + blank + "0D");
  EXPECT_EQ(lines[64], kEndRecord);
}

TEST_F(HexWriter, AWordIsWrittenLowByteFirst) {
  State.FlashBuffer[0] = 0x94;
  State.FlashBuffer[1] = 0x0C;
  State.FlashBuffer[16] = 0x12;
  State.FlashBuffer[17] = 0x34;
  const std::vector<std::string> lines = LinesOf(WriteCode());
  EXPECT_EQ(lines[0], ":100000000C94FFFFFFFFFFFFFFFFFFFFFFFFFFFF5E");
  EXPECT_EQ(lines[1], ":100010003412FFFFFFFFFFFFFFFFFFFFFFFFFFFFA8");
}

TEST_F(HexWriter, OnEveryDeviceTheCodeFileHoldsTheWholeFlashAndNoMore) {
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    SCOPED_TRACE(device.DisplayName);
    Start(device.DisplayName);
    FillRandomly(device, 1);
    std::vector<unsigned> bytes;
    for (std::size_t i = 0; i < 2 * static_cast<std::size_t>(device.FlashWords); ++i) {
      bytes.push_back(State.FlashBuffer[i ^ 1U]);
    }
    const std::string file = WriteCode();
    EXPECT_EQ(LinesOf(file).size(), static_cast<std::size_t>(device.FlashWords) / 8 + 1);
    EXPECT_EQ(file, ExpectedFile(bytes));
  }
}

TEST_F(HexWriter, FlashBeyondTheChipIsNotWritten) {
  const std::string before = WriteCode();
  State.FlashBuffer[2048] = 0x12;
  State.FlashBuffer[65536] = 0x34;
  EXPECT_EQ(WriteCode(), before);
}

TEST_F(HexWriter, OneLetterOfAChecksumIsWrittenForSumsOf241To256) {
  // The record at 00E0 adds up to 240 with its data blanked to zeros.
  const char* const expected[] = {"10", "F", "E", "D", "C", "B", "A", "9", "8",
                                  "7",  "6", "5", "4", "3", "2", "1", "0", "FF"};
  std::fill_n(State.FlashBuffer.begin() + 0xE0, 16, std::uint8_t{0});
  for (std::uint8_t value = 0; value < 18; ++value) {
    State.FlashBuffer[0xE1] = value;
    EXPECT_EQ(LinesOf(WriteCode())[14],
              ":1000E000" + Hex(value, 2) + std::string(30, '0') + expected[value]);
  }
}

// The data file.

TEST_F(HexWriter, ADataFileOf64BytesHasEightRecordsUpToAddress0070) {
  Start("AT90S1200 (外部ｸﾛｯｸ)");
  const std::vector<std::string> lines = LinesOf(WriteData());
  ASSERT_EQ(lines.size(), 9U);
  EXPECT_TRUE(lines[0].starts_with(":10000000"));
  EXPECT_TRUE(lines[7].starts_with(":10007000"));
  EXPECT_EQ(lines[8], kEndRecord);
}

TEST_F(HexWriter, DataBytesAreWrittenInTheirOrder) {
  State.EepromBuffer[0] = 0x12;
  State.EepromBuffer[1] = 0x34;
  State.EepromBuffer[15] = 0x56;
  EXPECT_EQ(LinesOf(WriteData())[0], ":100000001234FFFFFFFFFFFFFFFFFFFFFFFFFF5661");
}

TEST_F(HexWriter, OnEveryDeviceTheDataFileHoldsTwiceTheEepromAndNoMore) {
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    SCOPED_TRACE(device.DisplayName);
    Start(device.DisplayName);
    FillRandomly(device, 2);
    const auto size = 2 * static_cast<std::size_t>(device.EepromBytes);
    // The elements that fill no record any more.
    State.EepromBuffer[size] = 0x11;
    State.EepromBuffer[size + 3] = 0x22;
    const std::vector<unsigned> bytes(State.EepromBuffer.begin(),
                                      State.EepromBuffer.begin() + static_cast<int>(size));
    const std::string file = WriteData();
    EXPECT_EQ(LinesOf(file).size(), static_cast<std::size_t>(device.EepromBytes) / 8 + 1);
    EXPECT_EQ(file, ExpectedFile(bytes));
  }
}

TEST_F(HexWriter, TheUpperHalfOfADataFileIsBlankUnlessMoreWasLoaded) {
  const std::vector<std::string> blank = LinesOf(WriteData());
  EXPECT_EQ(blank[8].substr(0, 41), ":10008000" + std::string(32, 'F'));
  State.EepromBuffer[0x80] = 0x42;
  EXPECT_EQ(LinesOf(WriteData())[8].substr(0, 11), ":1000800042");
}

// Both.

TEST_F(HexWriter, WithoutADeviceAFileIsTheEndRecordAlone) {
  State.FlashWords = 0;
  State.EepromBytes = 0;
  EXPECT_EQ(WriteCode(), ":00000001FF\r\n");
  EXPECT_EQ(WriteData(), ":00000001FF\r\n");
}

TEST_F(HexWriter, AnExistingLongerFileIsReplacedWhole) {
  const std::string expected = WriteCode();
  Files.Files[kWrittenCode] = std::string(100000, 'x');
  EXPECT_EQ(WriteCode(), expected);
}

TEST_F(HexWriter, AWriteTouchesItsOwnFileAndNothingElse) {
  WriteCode();
  EXPECT_EQ(TakeJournal(), Journal{"open /out/prog.hex"});
  WriteData();
  EXPECT_EQ(TakeJournal(), Journal{"open /out/prog.eep"});
  EXPECT_EQ(Files.OpenWriters, 0);
  EXPECT_EQ(State.LinkError, 0);
}

TEST_F(HexWriter, OnEveryDeviceTheReaderRestoresWhatTheWriterWrote) {
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    SCOPED_TRACE(device.DisplayName);
    Start(device.DisplayName);
    FillRandomly(device, 3);
    const auto flash = State.FlashBuffer;
    const auto eeprom = State.EepromBuffer;
    WriteCode();
    WriteData();
    ClearFlashBuffer(State);
    ClearEepromBuffer(State);
    State.CodeFileName = kWrittenCode;
    State.DataFileName = kWrittenData;
    const HexReadReport code = ReadCodeHexFile(Context);
    const HexReadReport data = ReadDataHexFile(Context);
    EXPECT_EQ(Codes(code.Check), Texts{});
    for (const HexReadReport& report : {code, data}) {
      EXPECT_EQ(report.End, HexReadEnd::Complete);
      EXPECT_FALSE(Has(report, FindingCode::WrongChecksum));
      EXPECT_FALSE(Has(report, FindingCode::BadDigit));
    }
    EXPECT_EQ(State.FlashBuffer, flash);
    EXPECT_EQ(State.EepromBuffer, eeprom);
  }
}

TEST_F(HexWriter, AnImageOfEveryByteValueSurvivesTheRoundTrip) {
  for (std::size_t i = 0; i < 2048; ++i) State.FlashBuffer[i] = static_cast<std::uint8_t>(i * 7);
  const auto flash = State.FlashBuffer;
  WriteCode();
  ClearFlashBuffer(State);
  State.CodeFileName = kWrittenCode;
  ReadCodeHexFile(Context);
  EXPECT_EQ(State.FlashBuffer, flash);
}

// Failures.

TEST_F(HexWriter, ARefusedCodeFileIsReportedAsReadOnly) {
  Files.Unopenable[kWrittenCode] = {FileResult::Status::AccessRefused, "Is a directory"};
  const HexWriteReport report = WriteCodeHexFile(Context);
  EXPECT_EQ(report.End, HexWriteEnd::AccessRefused);
  EXPECT_EQ(report.Reason, "Is a directory");
  EXPECT_FALSE(report);
  ExpectBox(kReadOnlyText);
}

TEST_F(HexWriter, ARefusedDataFileIsReportedAsReadOnly) {
  Files.Refused = {kWrittenData};
  Files.Files[kWrittenData] = "as it was";
  EXPECT_EQ(WriteDataHexFile(Context).End, HexWriteEnd::AccessRefused);
  ExpectBox(kReadOnlyText);
  EXPECT_EQ(Files.Files[kWrittenData], "as it was");
}

TEST_F(HexWriter, AFileThatCannotBeOpenedForAnotherReasonHasTheOtherText) {
  for (const FileResult::Status status :
       {FileResult::Status::NotFound, FileResult::Status::Failed}) {
    Boxes.Boxes.clear();
    Files.Unopenable[kWrittenCode] = {status, "No such file or directory"};
    const HexWriteReport report = WriteCodeHexFile(Context);
    EXPECT_EQ(report.End, HexWriteEnd::NotOpened);
    EXPECT_EQ(report.Reason, "No such file or directory");
    ExpectBox(kNotSavedText);
    Boxes.Boxes.clear();
    Files.Unopenable[kWrittenData] = {status, ""};
    EXPECT_EQ(WriteDataHexFile(Context).End, HexWriteEnd::NotOpened);
    ExpectBox(kNotSavedText);
  }
}

TEST_F(HexWriter, AFullDiscLeavesTheStartOfTheCodeFile) {
  const std::string whole = WriteCode();
  Files.Capacity = 10 * kBytesPerLine + 7;
  EXPECT_EQ(WriteCodeHexFile(Context).End, HexWriteEnd::CutShort);
  ExpectBox(kNotSavedText);
  EXPECT_EQ(Files.Files[kWrittenCode], whole.substr(0, 10 * kBytesPerLine));
  EXPECT_EQ(Files.OpenWriters, 0);
}

TEST_F(HexWriter, AFullDiscLeavesTheStartOfTheDataFile) {
  const std::string whole = WriteData();
  Files.Capacity = kBytesPerLine;
  EXPECT_EQ(WriteDataHexFile(Context).End, HexWriteEnd::CutShort);
  ExpectBox(kNotSavedText);
  EXPECT_EQ(Files.Files[kWrittenData], whole.substr(0, kBytesPerLine));
}

TEST_F(HexWriter, ADiscThatIsFullAtTheEndRecordIsReportedToo) {
  Files.Capacity = WriteCode().size() - 1;
  EXPECT_EQ(WriteCodeHexFile(Context).End, HexWriteEnd::CutShort);
  ExpectBox(kNotSavedText);
}

TEST_F(HexWriter, BytesThatAreLostAtTheCloseAreReported) {
  Files.LostAtClose = {kWrittenCode, kWrittenData};
  EXPECT_EQ(WriteCodeHexFile(Context).End, HexWriteEnd::CutShort);
  ExpectBox(kNotSavedText);
  Boxes.Boxes.clear();
  EXPECT_EQ(WriteDataHexFile(Context).End, HexWriteEnd::CutShort);
  ExpectBox(kNotSavedText);
}

TEST_F(HexWriter, AfterABadLineEveryWriteFailsAtItsOpenAndLeavesTheFileAlone) {
  Files.Files["/in/bad.hex"] = "bad\r\n";
  State.CodeFileName = "/in/bad.hex";
  ReadCodeHexFile(Context);
  TakeJournal();
  Files.Files[kWrittenCode] = "as it was";
  const HexWriteReport report = WriteCodeHexFile(Context);
  EXPECT_EQ(report.End, HexWriteEnd::NotOpened);
  EXPECT_THAT(report.Reason, HasSubstr("再起動")) << "the cure";
  ExpectBox(kNotSavedText);
  EXPECT_EQ(WriteDataHexFile(Context).End, HexWriteEnd::NotOpened);
  EXPECT_EQ(Files.Files[kWrittenCode], "as it was");
  EXPECT_FALSE(Files.Exists(kWrittenData));
  EXPECT_EQ(TakeJournal(), (Journal{"message box", "message box"})) << "no file is opened";
}

TEST_F(HexWriter, TheReasonOfAFileLeftOpenNamesTheCure) {
  State.HexFileLeftOpen = true;
  EXPECT_EQ(WriteCodeHexFile(Context).Reason,
            "前に開いたHEXファイルに不正な行があったため、HEXファイルを保存できません。"
            "プログラムを再起動してください。");
}

TEST_F(HexWriter, AFailureChangesNoBufferAndRaisesNoError) {
  FillRandomly(core::DeviceCatalogue()[7], 4);
  const auto flash = State.FlashBuffer;
  Files.Refused = {kWrittenCode};
  WriteCodeHexFile(Context);
  EXPECT_EQ(State.FlashBuffer, flash);
  EXPECT_EQ(State.LinkError, 0);
  EXPECT_TRUE(Trace().empty()) << "message boxes are not traced";
}

TEST_F(HexWriter, AFileThatIsCutShortComesWithTheReason) {
  Files.Capacity = 10;
  EXPECT_EQ(WriteCodeHexFile(Context).Reason, "disc full");
}

// The old content.

class OldContent : public HexWriter {
 protected:
  static constexpr char kCopy[] = "/backups/1 prog.hex";
  static constexpr char kWhere[] =
      "保存する前の内容は次のファイルに残してあります。\r\n/backups/1 prog.hex";
  OldContent() {
    Context.Storage.Archive = &Archive;
    Files.Files[kWrittenCode] = "as it was";
    State.CodeSaveFileName = kWrittenCode;
    State.DataSaveFileName = kWrittenData;
    TakeJournal();
    NewTrace();
  }
  [[nodiscard]] std::string Detail() const {
    return Boxes.Boxes.empty() ? "(no box)" : Boxes.Boxes.back().Detail;
  }
};

TEST_F(OldContent, IsKeptBeforeTheFileIsOpened) {
  EXPECT_TRUE(WriteCodeHexFile(Context));
  EXPECT_EQ(TakeJournal(), (Journal{"keep /out/prog.hex", "open /out/prog.hex"}))
      << "a save that goes well says no more than ever";
  EXPECT_EQ(Files.Files[kCopy], "as it was");
  EXPECT_EQ(LastCopyOf(State, kWrittenCode), kCopy);
  EXPECT_EQ(DescribeMissingCopies(State), "");
}

TEST_F(OldContent, OfANewOrAnEmptyFileThereIsNone) {
  EXPECT_TRUE(WriteDataHexFile(Context));
  EXPECT_EQ(LastCopyOf(State, kWrittenData), "");
  Files.Files[kWrittenData] = "";
  Files.Refused = {kWrittenData};
  EXPECT_FALSE(WriteDataHexFile(Context));
  EXPECT_EQ(Detail(), "");
  EXPECT_EQ(Archive.Copies, 0);
}

TEST_F(OldContent, OfEachSaveIsACopyOfItsOwnAndTheLastIsNamed) {
  WriteCodeHexFile(Context);
  WriteCodeHexFile(Context);
  EXPECT_EQ(Files.Files[kCopy], "as it was");
  EXPECT_EQ(LastCopyOf(State, kWrittenCode), "/backups/2 prog.hex");
  Files.Files[kWrittenCode] = "";
  WriteCodeHexFile(Context);
  EXPECT_EQ(LastCopyOf(State, kWrittenCode), "") << "the last save has written over nothing";
}

TEST_F(OldContent, OfAFileThatIsCutShortIsNamedBelowTheMessageAndInTheTrace) {
  Files.Capacity = 10;
  EXPECT_EQ(WriteCodeHexFile(Context).End, HexWriteEnd::CutShort);
  EXPECT_EQ(Boxes.Boxes,
            (std::vector<Box>{{MessageIcon::Critical, "ファイル保存", kNotSavedText, kWhere}}));
  EXPECT_EQ(NewTrace(), Texts{kWhere});
  EXPECT_EQ(LastCopyOf(State, kWrittenCode), kCopy);
}

TEST_F(OldContent, OfAFileThatFailsToOpenForAnotherReasonIsNamedToo) {
  Files.Unopenable[kWrittenCode] = {FileResult::Status::Failed, "I/O error"};
  WriteCodeHexFile(Context);
  EXPECT_EQ(Detail(), kWhere);
}

TEST_F(OldContent, OfAFileThatIsRefusedIsInItsPlaceAndNoCopyIsLeft) {
  Files.Refused = {kWrittenCode};
  State.OldContents[kWrittenCode].Copy = "/backups/0 prog.hex";
  EXPECT_EQ(WriteCodeHexFile(Context).End, HexWriteEnd::AccessRefused);
  EXPECT_EQ(Boxes.Boxes.at(0).Text, kReadOnlyText);
  EXPECT_EQ(Detail(), "元のファイルはそのままです。");
  EXPECT_EQ(Files.Files[kWrittenCode], "as it was");
  EXPECT_FALSE(Files.Exists(kCopy));
  EXPECT_EQ(LastCopyOf(State, kWrittenCode), "/backups/0 prog.hex") << "of the save before";
}

TEST_F(OldContent, AfterABadLineNothingIsTouchedAndNothingKept) {
  State.HexFileLeftOpen = true;
  EXPECT_FALSE(WriteCodeHexFile(Context));
  EXPECT_EQ(Detail(), "");
  EXPECT_EQ(TakeJournal(), Journal{"message box"});
}

TEST_F(OldContent, ThatCannotBeKeptStopsNoSaveAndIsTraced) {
  Archive.Refusal = {FileResult::Status::Failed, "no room", platform::FailureCause::DiscFull};
  constexpr char kLost[] =
      "保存する前の内容を残せませんでした。ディスクの空き容量がありません。(no room)";
  EXPECT_TRUE(WriteCodeHexFile(Context));
  EXPECT_THAT(Files.Files[kWrittenCode], EndsWith(":00000001FF\r\n"));
  EXPECT_TRUE(Boxes.Boxes.empty());
  EXPECT_EQ(NewTrace(), Texts{std::string(kWrittenCode) + "\r\n" + kLost});
  EXPECT_EQ(LastCopyOf(State, kWrittenCode), "");
  EXPECT_EQ(DescribeMissingCopies(State), std::string("⚠ prog.hex : ") + kLost);
  Archive.Refusal = {};
  EXPECT_TRUE(WriteCodeHexFile(Context));
  EXPECT_EQ(DescribeMissingCopies(State), "") << "the next save has kept it";
}

TEST_F(OldContent, ThatCannotBeKeptIsSaidBelowTheMessageOfAFailedSave) {
  Archive.Refusal = {FileResult::Status::Failed, "strange"};
  Files.Capacity = 10;
  EXPECT_FALSE(WriteCodeHexFile(Context));
  EXPECT_EQ(Detail(), "保存する前の内容を残せませんでした。strange");
  EXPECT_EQ(NewTrace(), Texts{Detail()});
}

TEST_F(OldContent, OfAFullDiscWithItsTraceIsStillNamedAndTheSaveStillEnds) {
  State.AppFolder = "/full/";
  Files.Refused = {"/full/_debug_avr.txt"};
  Files.Capacity = 10;
  EXPECT_EQ(WriteCodeHexFile(Context).End, HexWriteEnd::CutShort);
  EXPECT_EQ(Detail(), kWhere);
  Archive.Refusal = {FileResult::Status::Failed, "strange"};
  Files.Capacity = 1U << 24U;
  EXPECT_TRUE(WriteCodeHexFile(Context));
}

}  // namespace
}  // namespace fenwright::image
