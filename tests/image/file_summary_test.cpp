#include "image/file_summary.h"

#include "image/buffer_content.h"
#include "image/hex_writer.h"
#include "image/sample_files.h"
#include "support/test_run.h"

namespace fenwright::image {
namespace {

constexpr char kTexts[] = ":020000001234B8\r\n:00000001FF\r\n";

struct FileSummary : Test, ScriptedRun {
  FileSummary() { Select(Context, "AT90S2313"); }

  void Put(const std::string& path, const std::string& content) { Files.Files[path] = content; }
  /// As the window shows it.
  std::string Describe(const OpenReport& report) {
    const std::string code = DescribeCodeFile(State, report);
    const std::string data = DescribeDataFile(State, report);
    return code + (code.empty() || data.empty() ? "" : "\n") + data;
  }
  std::string OpenBoth() {
    SetCodeAndDataFile(Context, kCodePath);
    return Describe(LoadCodeAndDataFile(Context));
  }
};

TEST_F(FileSummary, NamesBothFilesAndHowMuchOfEachMemoryIsUsed) {
  Put(kCodePath, kCode);
  Put(kDataPath, kTexts);
  EXPECT_EQ(OpenBoth(), "prog.hex\n1 / 1024 word (1 %)\nprog.eep\n2 / 128 byte (2 %)");
}

TEST_F(FileSummary, WithoutADeviceNothingOfNothingIsUsed) {
  State.FlashWords = 0;
  State.EepromBytes = 0;
  EXPECT_EQ(FlashUsage(State), "0 / 0 word (0 %)");
  EXPECT_EQ(EepromUsage(State), "0 / 0 byte (0 %)");
}

TEST_F(FileSummary, APartOfAPercentCountsAsAWholeOne) {
  State.FlashWords = 99;
  State.EepromBytes = 1;
  State.FlashBuffer[0] = 0;
  State.EepromBuffer[0] = 0;
  EXPECT_EQ(FlashUsage(State), "1 / 99 word (2 %)");
  EXPECT_EQ(EepromUsage(State), "1 / 1 byte (100 %)");
}

TEST_F(FileSummary, SaysNothingAboutADataFileThatIsNotThere) {
  Put(kCodePath, kCode);
  EXPECT_EQ(OpenBoth(), "prog.hex\n1 / 1024 word (1 %)");
}

TEST_F(FileSummary, OfACodeFileAloneIsAboutTheCodeFile) {
  Put(kCodePath, kCode);
  Put(kDataPath, kTexts);
  State.CodeFileName = kCodePath;
  State.DataFileName = kDataPath;
  EXPECT_EQ(Describe(LoadCodeFile(Context)), "prog.hex\n1 / 1024 word (1 %)");
}

TEST_F(FileSummary, OfADataFileAloneIsAboutTheDataFile) {
  Put(kDataPath, kTexts);
  State.CodeFileName = kCodePath;
  State.DataFileName = kDataPath;
  EXPECT_EQ(Describe(LoadDataFile(Context)), "prog.eep\n2 / 128 byte (2 %)");
}

TEST_F(FileSummary, IsEmptyWhenThereWasNoFile) {
  EXPECT_EQ(OpenBoth(), "");
  EXPECT_EQ(Describe(LoadCodeFile(Context)), "");
  EXPECT_EQ(Describe(LoadDataFile(Context)), "");
}

TEST_F(FileSummary, IsEmptyForAnotherExtension) {
  Put("/home/prog.bin", kCode);
  SetCodeAndDataFile(Context, "/home/prog.bin");
  EXPECT_EQ(Describe(LoadCodeAndDataFile(Context)), "");
}

TEST_F(FileSummary, IsEmptyForACodeFileWhoseNameWasForgotten) {
  Put(kCodePath, ":0100g00012ED\r\n:02FFFF000102FD\r\n");
  State.CodeFileName = kCodePath;
  EXPECT_EQ(Describe(LoadCodeFile(Context)), "");
}

TEST_F(FileSummary, RoundsTheShareUpSoThatAUsedMemoryIsNeverZeroPercent) {
  Put(kCodePath, HexFile(Bytes(20, 0x12)));
  EXPECT_EQ(OpenBoth(), "prog.hex\n10 / 1024 word (1 %)");
  Put(kCodePath, HexFile(Bytes(22, 0x12)));
  EXPECT_EQ(OpenBoth(), "prog.hex\n11 / 1024 word (2 %)");
}

TEST_F(FileSummary, AFullMemoryIs100Percent) {
  Put(kCodePath, HexFile(Bytes(2048, 0x12)));
  EXPECT_EQ(OpenBoth(), "prog.hex\n1024 / 1024 word (100 %)");
}

TEST_F(FileSummary, AFileThatIsTooLargeHasNoPartOfTheMemory) {
  Put(kCodePath, HexFile(Bytes(8192, 0x12)));
  Put(kDataPath, HexFile(Bytes(129, 0x12)));
  const std::string text = OpenBoth();
  EXPECT_TRUE(text.starts_with("prog.hex\n4096 / 1024 word\n⚠ ")) << text;
  EXPECT_THAT(text, HasSubstr("\nprog.eep\n129 / 128 byte\n⚠ "));
}

TEST_F(FileSummary, ADataFileOfOursWithItsBlankUpperHalfIsTheEepromsSize) {
  Put(kCodePath, kCode);
  State.DataSaveFileName = kDataPath;
  std::ranges::fill_n(State.EepromBuffer.begin(), 128, std::uint8_t{0x12});
  ASSERT_TRUE(WriteDataHexFile(Context));
  EXPECT_EQ(OpenBoth(), "prog.hex\n1 / 1024 word (1 %)\nprog.eep\n128 / 128 byte (100 %)");
}

TEST_F(FileSummary, ABlankFileUsesNothing) {
  Put(kCodePath, HexFile(Bytes(16, 0xFF)));
  EXPECT_EQ(OpenBoth(), "prog.hex\n0 / 1024 word (0 %)");
  Put(kCodePath, ":00000001FF\r\n");
  EXPECT_EQ(OpenBoth(),
            "prog.hex\n0 / 1024 word (0 %)\n⚠ prog.hex : データがありません。"
            "デバイスを消去するときは、イレースを使ってください。");
}

TEST_F(FileSummary, WithoutADeviceNothingIsDividedByZero) {
  Put(kCodePath, kCode);
  State.FlashWords = 0;
  State.EepromBytes = 0;
  EXPECT_EQ(OpenBoth(), "prog.hex\n1 / 0 word (0 %)");
}

TEST_F(FileSummary, WarnsOfALineThatEndedTheReading) {
  Put(kCodePath, ":020000000C945E\r\nbad\r\n:00000001FF\r\n");
  EXPECT_EQ(OpenBoth(),
            "prog.hex\n1 / 1024 word (1 %)\n⚠ prog.hex : 2行目 : 「:」で始まっていないため、"
            "そこまでしか読み込んでいません。ファイルを直し、プログラムを再起動してください。");
}

TEST_F(FileSummary, WarnsOfABlankLastLineSinceNoOtherFileCanBeOpenedAfterIt) {
  Put(kCodePath, std::string(kCode) + "\r\n");
  EXPECT_EQ(OpenBoth(),
            "prog.hex\n1 / 1024 word (1 %)\n⚠ prog.hex : 3行目 : 空の行のため、そこで読み込みを"
            "終わりました。データはすべて読み込んでいます。空の行を削除し、プログラムを"
            "再起動してください。");
}

TEST_F(FileSummary, SaysNothingOfWhatChangesNothing) {
  Put(kCodePath, ":020000000C945E rest\r\n:020000000C945E\r\n:0000000100\r\n");
  EXPECT_EQ(OpenBoth(), "prog.hex\n1 / 1024 word (1 %)");
}

TEST_F(FileSummary, WarnsOfAnAddressBeyondTheBuffer) {
  Put(kCodePath, ":020000000C945E\r\n:02FFFF00FFFF02\r\n:00000001FF\r\n");
  EXPECT_EQ(OpenBoth(),
            "prog.hex\n1 / 1024 word (1 %)\n⚠ prog.hex : 2行目 : アドレス 0x10000 がバッファの"
            "範囲を超えているため、そこまでしか読み込んでいません。選択したデバイス用のファイルか"
            "確認してください。");
}

TEST_F(FileSummary, WarnsOfAFileThatCouldNotBeRead) {
  Put(kCodePath, "bad\r\n");
  Put(kDataPath, kTexts);
  const std::string text = OpenBoth();
  EXPECT_TRUE(text.ends_with("\n⚠ prog.eep : 読み込めませんでした。")) << text;
  OpenReport report;
  report.DataFileFound = true;
  report.Data.End = HexReadEnd::NotOpened;
  EXPECT_EQ(Describe(report), "prog.eep\n0 / 128 byte (0 %)\n⚠ prog.eep : 読み込めませんでした。");
}

TEST_F(FileSummary, WarnsOfWrongDigits) {
  Put(kCodePath, ":020000000C945E\r\n:020002000d945B\r\n:00000001FF\r\n");
  EXPECT_EQ(
      OpenBoth(),
      "prog.hex\n1 / 1024 word (1 %)\n⚠ prog.hex : 2行目 : 11文字目の d は16進数字(0-9、A-F)"
      "ではないため、0として読み込みました。大文字の16進数字でファイルを作り直してください。");
}

TEST_F(FileSummary, WarnsOfAWrongChecksum) {
  Put(kCodePath, kCode);
  Put(kDataPath, ":0200000012348F\r\n:00000001FF\r\n");
  EXPECT_EQ(OpenBoth(),
            "prog.hex\n1 / 1024 word (1 %)\nprog.eep\n2 / 128 byte (2 %)\n"
            "⚠ prog.eep : 1行目 : チェックサムが合いません。8F ですが、正しくは B8 です。"
            "ファイルが壊れているか、手で書き換えられています。作り直してください。");
}

TEST_F(FileSummary, WarnsOfCodeBeyondTheChip) {
  Put(kCodePath, ":0108000012E5\r\n");
  const std::string text = OpenBoth();
  EXPECT_THAT(text, HasSubstr("⚠ prog.hex : 1行目 : アドレス 0x0800 は AT90S2313 の容量(0x07FF "
                              "まで)を超えています。1 word のうち 1 word は書き込まれません。"));
}

TEST_F(FileSummary, WarnsOfDataBeyondTheChip) {
  Put(kCodePath, kCode);
  Put(kDataPath, ":01008000126D\r\n:00000001FF\r\n");
  const std::string text = OpenBoth();
  EXPECT_THAT(text, HasSubstr("⚠ prog.eep : 1行目 : アドレス 0x0080 は AT90S2313 の容量(0x007F "
                              "まで)を超えています。"));
  EXPECT_THAT(text, Not(HasSubstr("⚠ prog.hex")));
}

TEST_F(FileSummary, DoesNotWarnOfDataThatJustFits) {
  Put(kCodePath, kCode);
  Put(kDataPath, ":01007F00126E\r\n:00000001FF\r\n");
  EXPECT_EQ(OpenBoth(), "prog.hex\n1 / 1024 word (1 %)\nprog.eep\n1 / 128 byte (1 %)");
}

TEST_F(FileSummary, OfAChipThatWasReadNamesTheFilesThatASaveWouldOverwrite) {
  State.FlashBuffer[0] = 0;
  State.EepromBuffer[1] = 0;
  State.EepromBuffer[127] = 0;
  State.EepromBuffer[128] = 0;
  NoteRead(State, Memory::Flash, true);
  NoteRead(State, Memory::Eeprom, true);
  const std::string memory =
      "コード : チップから読み出し  1 / 1024 word (1 %)\n"
      "データ : チップから読み出し  2 / 128 byte (2 %)\n上書き保存の先 : ";
  EXPECT_EQ(DescribeContent(State), memory + "なし");
  State.CodeFileName = kCodePath;
  EXPECT_EQ(DescribeContent(State), memory + "prog.hex");
  State.DataFileName = kDataPath;
  EXPECT_EQ(DescribeContent(State), memory + "prog.hex、prog.eep");
}

TEST_F(FileSummary, GivesEachDoubtALine) {
  Put(kCodePath, ":020000000C9400\r\n:020002000d945B\r\nbad\r\n");
  const std::string text = OpenBoth();
  EXPECT_EQ(std::ranges::count(text, '\n'), 5) << text;
}

TEST_F(FileSummary, TheFirstDoubtThatSpeaksAgainstAFileIsALineOfItsOwn) {
  HexReadReport report;
  EXPECT_EQ(DescribeDoubt(kCodePath, report), "");
  report.Check = CheckImage(":020000000C945E\r\n:020000000C945E\r\n:020002000D9400\r\n", {});
  EXPECT_EQ(DescribeDoubt(kCodePath, report),
            "⚠ prog.hex : 3行目 : チェックサムが合いません。00 ですが、正しくは 5B です。"
            "ファイルが壊れているか、手で書き換えられています。作り直してください。");
  report.End = HexReadEnd::NotOpened;
  EXPECT_EQ(DescribeDoubt(kDataPath, report), "⚠ prog.eep : 読み込めませんでした。");
}

}  // namespace
}  // namespace fenwright::image
