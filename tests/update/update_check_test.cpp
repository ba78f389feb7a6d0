
#include "support/update_run.h"
#include "update/update_report.h"
#include "update/update_words.h"

namespace fenwright::testing {
namespace {

using core::Language;
using update::CheckImage;
using update::DescribeFault;
using update::ImageFault;
using update::ImageReport;

struct Refused {
  const char* Content;
  ImageFault Fault;
  int Line;
};

class UpdateCheckRefuses : public TestWithParam<Refused> {};

TEST_P(UpdateCheckRefuses, AndNamesTheLine) {
  const ImageReport report = CheckImage(GetParam().Content);
  EXPECT_EQ(report.Fault, GetParam().Fault) << GetParam().Content;
  EXPECT_EQ(report.FaultLine, GetParam().Line) << GetParam().Content;
}

INSTANTIATE_TEST_SUITE_P(
    Files, UpdateCheckRefuses,
    ::testing::Values(
        Refused{"", ImageFault::NoDataRecord, 0}, Refused{"\r\n\r\n", ImageFault::NoDataRecord, 0},
        Refused{":00000001FF\r\n", ImageFault::NoDataRecord, 0},
        Refused{":0000000000\r\n:00000001FF\r\n", ImageFault::NoDataRecord, 0},
        Refused{"hello\r\n", ImageFault::BrokenLine, 1},
        Refused{":020000000102FB\r\n 020000000102FB\r\n", ImageFault::BrokenLine, 2},
        Refused{":020000000102F\r\n", ImageFault::BrokenLine, 1},
        Refused{":0200000001G2FB\r\n", ImageFault::BrokenLine, 1},
        Refused{":02000000010203F8\r\n", ImageFault::BrokenLine, 1},
        Refused{":0200000001FD\r\n", ImageFault::BrokenLine, 1},
        Refused{":020000090102F2\r\n", ImageFault::BrokenLine, 1},
        Refused{"\r\n:020000000102FC\r\n", ImageFault::WrongChecksum, 2},
        Refused{":020000000102FB\r\n:00000001FE\r\n", ImageFault::WrongChecksum, 2},
        Refused{":020000040001F9\r\n:020000000102FB\r\n", ImageFault::UnusedAddress, 1},
        Refused{":020000021000EC\r\n:020000000102FB\r\n", ImageFault::UnusedAddress, 1},
        Refused{":020001000102FA\r\n:00000001FF\r\n", ImageFault::OddAddress, 1},
        Refused{":00000001FF\r\n:020000000102FB\r\n", ImageFault::DataAfterEnd, 2},
        Refused{":020000000102FB\r\n:020000000202FA\r\n:00000001FF\r\n", ImageFault::Contradiction,
                2},
        Refused{":020000000102FB\r\n:00000001\r\n", ImageFault::BrokenLine, 2},
        // The first line that has a fault, whichever rule it breaks.
        Refused{":020001000102FA\r\n:020000000102FC\r\n", ImageFault::OddAddress, 1},
        Refused{":020000000102FC\r\n:020001000102FA\r\n", ImageFault::WrongChecksum, 1},
        Refused{":020000000102FB\r\n", ImageFault::NoEndRecord, 0},
        Refused{":023E0000AABB5B\r\n:024000000102BB\r\n:00000001FF\r\n", ImageFault::NoWordToSend,
                0}));

INSTANTIATE_TEST_SUITE_P(MoreFiles, UpdateCheckRefuses,
                         ::testing::Values(Refused{":00000006FA\r\n", ImageFault::BrokenLine, 1},
                                           Refused{":\r\n", ImageFault::BrokenLine, 1},
                                           Refused{":02000000011GFB\r\n", ImageFault::BrokenLine,
                                                   1}));

TEST(UpdateCheck, LooksAtNothingBehindTheContent) {
  const std::string_view text = ":020000000102FB";
  EXPECT_EQ(CheckImage(text.substr(0, text.size() - 1)).Fault, ImageFault::BrokenLine);
}

TEST(UpdateCheck, ARecordWithoutDataIsNoFaultBehindTheEndOrAtAnOddAddress) {
  const ImageReport report =
      CheckImage(":020000000102FB\r\n:00000100FF\r\n:00000001FF\r\n:0000000000\r\n");
  EXPECT_EQ(report.Fault, ImageFault::None) << report.FaultLine;
  EXPECT_EQ(report.WordsToSend, 1);
}

TEST(UpdateCheck, ARecordOfOneByteHasAWord) {
  const ImageReport report = CheckImage(":0100000042BD\r\n:00000001FF\r\n");
  EXPECT_EQ(report.Fault, ImageFault::None);
  EXPECT_EQ(report.WordsToSend, 1);
  EXPECT_EQ(report.FirstOddLine, 1);
}

TEST(UpdateCheck, OnlyDataRecordsAreOdd) {
  const ImageReport report = CheckImage(":03000005000000F8\r\n:020000000102FB\r\n:00000001FF\r\n");
  EXPECT_EQ(report.Fault, ImageFault::None);
  EXPECT_EQ(report.FirstOddLine, 0);
}

TEST(UpdateCheck, AsManyWordsToSkipAsToSendAreNoFault) {
  const ImageReport report = CheckImage(":020000000102FB\r\n:023E0000AABB5B\r\n:00000001FF\r\n");
  EXPECT_EQ(report.WordsToSend, 1);
  EXPECT_EQ(report.WordsToSkip, 1);
  EXPECT_EQ(report.Fault, ImageFault::None);
}

TEST(UpdateWords, AWordBeginsAtEveryByteButOneBehindTheLast) {
  EXPECT_TRUE(update::HasWordAt({.Count = 1, .Address = 0}, 1));
  EXPECT_FALSE(update::HasWordAt({.Count = 1, .Address = 0}, 2));
  EXPECT_FALSE(update::HasWordAt({.Count = 0, .Address = 0}, 0));
}

TEST(UpdateWords, ARecordThatIsCutShortHasNoHead) {
  const std::string_view line = ":020000000102FB";
  EXPECT_TRUE(update::ReadRecordHead(line.substr(0, 7)));
  EXPECT_FALSE(update::ReadRecordHead(line.substr(0, 6)));
}

TEST(UpdateCheck, AGoodFileHasItsWordsCounted) {
  const ImageReport report = CheckImage(HexFile(Bytes(0x4000, 0x5A)));
  EXPECT_EQ(report.Fault, ImageFault::None);
  EXPECT_EQ(report.WordsToSend, 7967);
  EXPECT_EQ(report.WordsToSkip, 225);
  EXPECT_EQ(report.FirstOddLine, 0);
}

TEST(UpdateCheck, TheCountIsWhatAnUpdateSends) {
  const std::string file = HexFile(RandomBytes(0x45, 1), 0x3DD0);
  BoardUpdate run({.Baud = 0});
  run.Open();
  run.UpdateWith(file);
  EXPECT_EQ(CheckImage(file).WordsToSend, run.Update.WordsSent);
  EXPECT_EQ(CheckImage(file).FirstOddLine, 5);
}

TEST(UpdateCheck, ExtendedAddressesOfZeroAndStartAddressesAreNoFault) {
  const ImageReport report = CheckImage(
      ":020000040000FA\n:020000020000FC\n:0400000500000000F7\n:020000000102fb\n\n:00000001FF");
  EXPECT_EQ(report.Fault, ImageFault::None) << report.FaultLine;
  EXPECT_EQ(report.WordsToSend, 1);
}

TEST(UpdateCheck, WhatIsGivenTwiceAlikeIsNoFault) {
  const ImageReport report = CheckImage(":020000000102FB\r\n:020000000102FB\r\n:00000001FF\r\n");
  EXPECT_EQ(report.Fault, ImageFault::None);
  EXPECT_EQ(report.FaultLine, 0);
  EXPECT_EQ(report.WordsToSend, 2);
}

TEST(UpdateCheck, EveryFaultIsToldWholeInBothLanguages) {
  struct Row {
    ImageFault Fault;
    const char* Japanese;
    const char* English;
  };
  const std::vector<Row> rows{
      {ImageFault::None, "", ""},
      {ImageFault::NoDataRecord, "データレコードがありません",
       "has no data record, so there is nothing to send"},
      {ImageFault::BrokenLine, "Intel HEX の正しいレコードではありません",
       "is not a whole Intel HEX record"},
      {ImageFault::WrongChecksum, "チェックサムが違います", "has a wrong checksum"},
      {ImageFault::UnusedAddress, "拡張アドレスが 0 ではありません。アップデートでは使用されません",
       "has an extended address other than 0, which an update does not follow"},
      {ImageFault::OddAddress, "レコードが奇数アドレスから始まっています",
       "begins in the middle of a word"},
      {ImageFault::DataAfterEnd, "エンドレコードの後にデータがあります",
       "is a data record behind the end record"},
      {ImageFault::NoEndRecord,
       "エンドレコードがありません。ファイルが途中で切れている可能性があります",
       "has no end record; the file may have been cut short"},
      {ImageFault::NoWordToSend,
       "ボードに送るワードがありません。データはすべて、送られないアドレスにあります",
       "has no word to send: all its data lies at addresses that are skipped"}};
  for (const Row& row : rows) {
    EXPECT_EQ(DescribeFault({.Fault = row.Fault}, Language::Japanese), row.Japanese);
    EXPECT_EQ(DescribeFault({.Fault = row.Fault}, Language::English), row.English);
  }
}

TEST(UpdateCheck, AnOddRecordIsToldInBothLanguages) {
  EXPECT_EQ(update::DescribeOddRecord({}, Language::English), "");
  EXPECT_EQ(update::DescribeOddRecord({.FirstOddLine = 7}, Language::English),
            "line 7 has an odd number of bytes; its last one is sent together with the line's "
            "checksum");
  EXPECT_EQ(update::DescribeOddRecord({.FirstOddLine = 7}, Language::Japanese),
            "7行目のバイト数が奇数です。最後のバイトはチェックサムと組にして送られます。");
}

TEST(UpdateCheck, FaultsAreToldInBothLanguages) {
  EXPECT_EQ(DescribeFault({}, core::Language::English), "");
  EXPECT_EQ(
      DescribeFault({.Fault = ImageFault::WrongChecksum, .FaultLine = 3}, core::Language::English),
      "line 3 has a wrong checksum");
  EXPECT_EQ(
      DescribeFault({.Fault = ImageFault::BrokenLine, .FaultLine = 12}, core::Language::Japanese),
      "12行目：Intel HEX の正しいレコードではありません");
  EXPECT_EQ(DescribeFault({.Fault = ImageFault::NoDataRecord}, core::Language::English),
            "has no data record, so there is nothing to send");
  EXPECT_EQ(DescribeFault({.Fault = ImageFault::NoEndRecord}, core::Language::Japanese),
            "エンドレコードがありません。ファイルが途中で切れている可能性があります");
  EXPECT_EQ(DescribeFault({.Fault = ImageFault::NoWordToSend}, core::Language::English),
            "has no word to send: all its data lies at addresses that are skipped");
  const ImageReport contradiction{.Fault = ImageFault::Contradiction, .FaultLine = 7};
  EXPECT_EQ(DescribeFault(contradiction, core::Language::English),
            "line 7 gives an address another value than a record before");
  EXPECT_EQ(DescribeFault(contradiction, core::Language::Japanese),
            "7行目：前のレコードと同じアドレスに違うデータがあります");
}

}  // namespace
}  // namespace fenwright::testing
