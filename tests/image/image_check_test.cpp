#include "image/image_check.h"

#include <map>
#include <optional>
#include <random>
#include <set>

#include "core/device_catalogue.h"
#include "image/buffers.h"
#include "image/findings.h"
#include "image/hex_writer.h"
#include "image/sample_files.h"

namespace fenwright::image {
namespace {

constexpr ImageTarget kCodeMemory{.Kind = ImageKind::Code, .Bytes = 0x400, .Chip = "ATtiny12"};
constexpr ImageTarget kDataMemory{.Kind = ImageKind::Data, .Bytes = 64, .Chip = "ATtiny12"};
constexpr ImageTarget kFirmware{.Kind = ImageKind::Firmware};
/// Two words at address 0.
constexpr char kWords[] = ":040000000C940D94BB\r\n";

std::string Repeated(const std::string& text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) all += text;
  return all;
}

/// A chip of so many words as a code file sees it.
ImageTarget Flash(std::int32_t words) {
  return {.Kind = ImageKind::Code, .Bytes = 2 * words, .Chip = "CHIP"};
}

/// The only finding of a file.
Finding Only(const std::string& content, const ImageTarget& target = kCodeMemory) {
  const ImageCheck check = CheckImage(content, target);
  EXPECT_EQ(check.Findings.size(), 1U) << ::testing::PrintToString(Codes(check));
  return check.Findings.empty() ? Finding{} : check.Findings.front();
}

struct Found {
  const char* Content;
  Texts CodesInOrder;
  ImageTarget Target = kCodeMemory;
};

class ImageCheckFinds : public TestWithParam<Found> {};

TEST_P(ImageCheckFinds, WhatIsWrongWithItsLineAndWeight) {
  const Found& param = GetParam();
  for (const char* line_end : {"\r\n", "\n", "\r"}) {
    std::string content = param.Content;
    for (std::size_t at = 0; (at = content.find('|', at)) != std::string::npos;) {
      content.replace(at, 1, line_end);
    }
    EXPECT_EQ(Codes(CheckImage(content, param.Target)), param.CodesInOrder) << content;
  }
}

/// "|" stands for a line end.
INSTANTIATE_TEST_SUITE_P(
    Harmless, ImageCheckFinds,
    ::testing::Values(
        Found{":020000000C945E|:00000001FF|", {}}, Found{":020000000C945E|:00000001FF", {}},
        // Blanks at a line's end, and the end mark of old text files.
        Found{":020000000C945E  |:00000001FF\t|", {}},
        // A checksum is not read, so neither is the case of its digits.
        Found{":020000000C945e|:00000001ff|", {}},
        // Extended addresses that move nothing, or nothing that there is; start addresses.
        Found{":020000040000FA|:020000020000FC|:020000000C945E|:00000001FF|", {}},
        Found{":020000000C945E|:02000004008179|:00000001FF|", {}},
        Found{":02000004008179|:020000040000FA|:020000000C945E|:00000001FF|", {}},
        Found{":02000004008179|:0000000000|:020000040000FA|:020000000C945E|:00000001FF|", {}},
        Found{":020000000C945E|:0400000300001234B3|:0400000500000100F6|:00000001FF|", {}},
        // Whatever stands behind the end record and is no data.
        Found{":020000000C945E|:00000001FF|:00000001FF|:0000000000|", {}},
        Found{":0104000011EA|:00000001FF|", {}, Flash(0)},
        Found{":01040000FFFC|:020000000C945E|:00000001FF|", {}},
        Found{":00000001FF|", {}, kDataMemory}));

INSTANTIATE_TEST_SUITE_P(
    Notes, ImageCheckFinds,
    ::testing::Values(Found{":020000000C945E|:00000001FF||", {"(blank-line@3)"}},
                      Found{":020000000C945E|:00000001FF|  | \x1A", {"(blank-line@3)"}},
                      Found{":020000000C945E rest|:00000001FF|", {"(long-record@1)"}},
                      Found{":020000000C945E|:0000000100|", {"(wrong-end-checksum@2)"}},
                      Found{":020000000C945E|:00000001|", {"(wrong-end-checksum@2)"}},
                      Found{":020000000C945E|:020000000C945E|:00000001FF|",
                            {"(overlapping-records@2)"}}));

INSTANTIATE_TEST_SUITE_P(
    Lines, ImageCheckFinds,
    ::testing::Values(
        Found{":020000000C945E|hello|:00000001FF|", {"not-a-record@2"}},
        Found{" :020000000C945E|:020002000D945B|:00000001FF|", {"not-a-record@1"}},
        Found{":020000000C945E|||:00000001FF|", {"not-a-record@2"}},
        Found{":020000000C945E||:00000001FF||", {"not-a-record@2", "(blank-line@4)"}},
        Found{":02000006ABCD80|:020000000C945E|:00000001FF|", {"unknown-type@1"}},
        Found{":020000000c945E|:020002000D945B|:00000001FF|", {"bad-digit@1"}},
        Found{":020000000C945E|:0A0002000D945B|:00000001FF|", {"short-record@2"}},
        Found{":0a0000000C945E|:020002000D945B|:00000001FF|", {"bad-digit@1"}},
        Found{":02000000 C945E|:020002000D945B|:00000001FF|", {"bad-digit@1"}},
        Found{":020000000C945E|:0002|:00000001FF|", {"short-record@2"}},
        Found{":020000000C945E|:|:00000001FF|", {"short-record@2"}},
        Found{":020000000C945E|:020002000D9|:00000001FF|", {"short-record@2"}},
        Found{":020000000C945F|:00000001FF|", {"wrong-checksum@1"}},
        Found{":020000000C94|:00000001FF|", {"wrong-checksum@1"}},
        Found{":020000000C945|:00000001FF|", {"wrong-checksum@1"}},
        Found{":020000000C94zz|:00000001FF|", {"wrong-checksum@1"}},
        Found{":020000000C940D945E|:00000001FF|", {"(long-record@1)", "wrong-checksum@1"}},
        // A record type that was damaged has hidden data, or an offset.
        Found{":020000010C945E|:020000000C945E|", {"wrong-checksum@1", "records-after-end@2"}},
        Found{":020000000C945E|:0200000400FFFA|:00000001FF|", {"wrong-checksum@2"}}));

INSTANTIATE_TEST_SUITE_P(
    Data, ImageCheckFinds,
    ::testing::Values(
        Found{":020000040081797|:020000000C945E|:00000001FF|",
              {"(long-record@1)", "extended-address@1"}},
        Found{":020000021000EC|:020000000C945E|:00000001FF|", {"extended-address@1"}},
        Found{":020000040001F9|:020000000C945E|:00000001FF|", {"extended-address@1"}, kDataMemory},
        // Digits of either case move the address alike.
        Found{":0200000400ffFB|:020000000C945E|:00000001FF|", {"extended-address@1"}},
        Found{":0104000011EA|:00000001FF|", {"data-beyond-chip@1"}},
        Found{":0103FF0011EC|:00000001FF|", {}},
        Found{":0203FF00FF11EC|:00000001FF|", {"data-beyond-chip@1"}},
        Found{":0100400011AE|:00000001FF|", {"data-beyond-chip@1"}, kDataMemory},
        Found{":01003F0011AF|:00000001FF|", {}, kDataMemory},
        Found{":02FFFF000102FD|:00000001FF|", {"data-beyond-buffer@1", "data-beyond-chip@1"}},
        Found{":01FFFF00FF02|:020000000C945E|:00000001FF|", {}},
        Found{":02FFFF00FFFF02|:020000000C945E|:00000001FF|", {"data-beyond-buffer@1"}},
        Found{":01080000FFF8|:00000001FF|", {}, kDataMemory},
        Found{":01080100FFF7|:00000001FF|", {"data-beyond-buffer@1"}, kDataMemory},
        Found{":00000001FF|:020000000C945E|", {"records-after-end@2"}},
        Found{":020000000C945E|:020000000D945D|:00000001FF|", {"contradicting-records@2"}},
        Found{":020000000C945E|:020001000D945C|:00000001FF|", {"contradicting-records@2"}},
        // One byte the same, one another.
        Found{":020000000C945E|:020000000C955D|:00000001FF|", {"contradicting-records@2"}},
        // Under an offset the same addresses mean another place.
        Found{":020000000C945E|:02000004008179|:020000000D945D|:00000001FF|",
              {"extended-address@2"}},
        Found{":00000001FF|", {"no-data@0"}}, Found{"", {"no-data@0"}},
        Found{":0000000000|:00000001FF|", {"no-data@0"}},
        Found{"", {"no-end-record@0"}, kDataMemory}, Found{":020000000C945E|", {"no-end-record@0"}},
        Found{"hello|", {"not-a-record@1", "no-data@0"}}));

INSTANTIATE_TEST_SUITE_P(
    OfTheBoard, ImageCheckFinds,
    ::testing::Values(
        Found{"|:020000000c945e||:00000001ff||", {}, kFirmware},
        Found{":0a0000000C945E|:00000001FF|", {"short-record@1", "no-data@0"}, kFirmware},
        Found{":02FFFF000102FD|:00000001FF|", {}, kFirmware},
        Found{"hello|:020000000C945E|:00000001FF|", {"not-a-record@1"}, kFirmware}));

TEST(ImageCheck, TheOneDigitChecksumOfTheWriterIsRight) {
  std::int16_t ignored = 0;
  // Sums around those whose checksum has one digit.
  for (int sum = 230; sum < 270; ++sum) {
    const int address = sum - 16;
    Bytes data(16, 0);
    std::string line = HexRecord(static_cast<unsigned>(address & 0xFF), data);
    line.resize(9 + 32);
    if (address > 0xFF) {
      data[0] = 1;
      line = HexRecord(0xFF, data).substr(0, 9 + 32);
    }
    const std::string own = RecordChecksum(line, ignored);
    EXPECT_EQ(Codes(CheckImage(own + "\r\n" + kEnd, kCodeMemory)), Texts{}) << own;
    EXPECT_EQ(Codes(CheckImage(own + "  \r\n" + kEnd, kCodeMemory)), Texts{}) << own;
    // Cut by one, it is not what the writer wrote.
    const std::string cut = own.substr(0, own.size() - 1);
    EXPECT_EQ(Codes(CheckImage(cut + "\r\n" + kEnd, kCodeMemory)), Texts{"wrong-checksum@1"})
        << cut;
  }
  EXPECT_EQ(RecordChecksum(":1000E20000000000000000000000000000000000", ignored).size(), 42U);
}

TEST(ImageCheck, NoOtherFileMayHaveAChecksumOfOneDigit) {
  // It adds up to 0E, and the writer writes no records of one byte.
  const Finding finding = Only(":0100F10000E\r\n:0100F2000D\r\n" + std::string(kEnd));
  EXPECT_EQ(Name(finding.Code), "wrong-checksum");
  EXPECT_EQ(finding.Count, 2);
  std::int16_t ignored = 0;
  const std::string own = RecordChecksum(":1000E20000000000000000000000000000000000", ignored);
  EXPECT_EQ(Codes(CheckImage(own + "\r\n" + kEnd, kFirmware)), Texts{"wrong-checksum@1"});
}

TEST(ImageCheck, EveryCodeHasAnAsciiNameOfItsOwn) {
  std::set<std::string_view> names;
  for (int code = 0; code <= static_cast<int>(FindingCode::NoEndRecord); ++code) {
    const std::string_view name = Name(static_cast<FindingCode>(code));
    EXPECT_EQ(name.find_first_not_of("abcdefghijklmnopqrstuvwxyz-"), std::string_view::npos);
    EXPECT_EQ(name.find("--"), std::string_view::npos) << name;
    EXPECT_FALSE(name.empty() || name.front() == '-' || name.back() == '-') << name;
    names.insert(name);
  }
  EXPECT_EQ(names.size(), 16U);
}

// The words.

TEST(ImageCheck, AnEepromThatAvrObjcopyPutIntoTheCodeFileIsCalledByItsName) {
  const Finding finding = Only(std::string(kWords) + ":020000040081" + "79\r\n" + kWords + kEnd);
  EXPECT_EQ(finding.Address, 0x810000U);
  EXPECT_EQ(finding.Cause.English,
            "the extended address 0x00810000 is not followed: the data from line 3 on are taken "
            "for address 0x0000 onwards");
  EXPECT_EQ(finding.Cause.Japanese,
            "拡張アドレス 0x00810000 は使われないため、3行目からのデータを 0x0000 番地から"
            "読み込みました。");
  for (const std::string& cure : {finding.Cure.English, finding.Cure.Japanese}) {
    EXPECT_THAT(cure, HasSubstr("-R .eeprom"));
    EXPECT_THAT(cure, HasSubstr("-j .eeprom --change-section-lma .eeprom=0"));
  }
}

TEST(ImageCheck, OtherExtendedAddressesHaveACureOfTheirOwn) {
  const auto cure = [](const std::string& record) {
    return Only(record + "\r\n" + kWords + kEnd).Cure.English;
  };
  EXPECT_THAT(cure(":02000004008278"), HasSubstr("-R .fuse -R .lock -R .signature"));
  EXPECT_THAT(cure(":02000004008575"), HasSubstr("-R .fuse -R .lock -R .signature"));
  EXPECT_EQ(cure(":02000004008674"), "make sure that the file is for this device");
  EXPECT_EQ(cure(":0200000400807A"), "make sure that the file is for this device");
  EXPECT_THAT(Only(":020000021000EC\r\n" + std::string(kWords) + kEnd).Cause.English,
              HasSubstr("the extended address 0x00010000 is"));
}

TEST(ImageCheck, DataBeyondTheChipNameItItsSizeAndTheTrueShare) {
  const Finding finding = Only(HexFile(FullImage(8192, 3)), Flash(512));
  EXPECT_EQ(finding.Cause.English,
            "address 0x0400 lies beyond the memory of CHIP, which ends at 0x03FF: 3584 of the "
            "file's 4096 words are not programmed");
  EXPECT_EQ(finding.Cause.Japanese,
            "アドレス 0x0400 は CHIP の容量(0x03FF まで)を超えています。4096 word のうち 3584 word "
            "は書き込まれません。");
  EXPECT_THAT(Only(":0100400011AE\r\n" + std::string(kEnd), kDataMemory).Cause.English,
              HasSubstr("1 of the file's 1 bytes"));
}

TEST(ImageCheck, AnAddressIsTheFilesNotTheOneInTheBuffer) {
  EXPECT_EQ(Only(":0104000011EA\r\n" + std::string(kEnd)).Address, 0x400U);
  EXPECT_EQ(Only(":0104010011E9\r\n" + std::string(kEnd)).Address, 0x401U);
}

TEST(ImageCheck, ChecksumsAreTold) {
  const Finding wrong = Only(":020000000C945F\r\n" + std::string(kEnd));
  EXPECT_EQ(wrong.Cause.English, "wrong checksum: it is 5F, the record adds up to 5E");
  EXPECT_EQ(wrong.Cause.Japanese, "チェックサムが合いません。5F ですが、正しくは 5E です。");
  EXPECT_EQ(wrong.Column, 14);
  EXPECT_EQ(Only(":020000000C945\r\n" + std::string(kEnd)).Cause.English,
            "there is no checksum of two digits; the record adds up to 5E");
}

TEST(ImageCheck, AWrongDigitIsToldWithItsPlace) {
  const Finding lower = Only(std::string(kWords) + ":020004000C9a54\r\n" + kEnd);
  EXPECT_EQ(lower.Line, 2);
  EXPECT_EQ(lower.Column, 13);
  EXPECT_EQ(lower.Cause.English,
            "character 13, \"a\", is no upper-case hexadecimal digit and is read as 0");
  EXPECT_EQ(lower.Cure.English, "make the file with upper-case digits");
  const Finding other = Only(std::string(kWords) +
                             ":020004\xFF"
                             "00\r\n" +
                             kEnd);
  EXPECT_EQ(other.Cure.English, "make the file again");
  EXPECT_THAT(Only(std::string(kWords) +
                   ":0200\x01"
                   "400\r\n" +
                   kEnd)
                  .Cause.English,
              HasSubstr("\"0x01\""));
}

TEST(ImageCheck, BothLinesOfAContradictionAreNamed) {
  const Finding finding = Only(std::string(kWords) + ":02000200FF94" + "69\r\n" + kEnd);
  EXPECT_EQ(finding.Line, 2);
  EXPECT_EQ(finding.OtherLine, 1);
  EXPECT_EQ(finding.Column, 10);
  EXPECT_EQ(finding.Cause.English,
            "address 0x0002 is FF here and 0D in line 1; the later line counts");
  EXPECT_EQ(finding.Cause.Japanese,
            "アドレス 0x0002 は FF ですが、1行目では 0D です。後の行の値を読み込みました。");
}

TEST(ImageCheck, EveryFindingHasACauseAndACureInBothLanguages) {
  std::set<FindingCode> seen;
  const auto look = [&](const std::string& content, const ImageTarget& target) {
    for (const Finding& finding : CheckImage(content, target).Findings) {
      seen.insert(finding.Code);
      for (const std::string& text : {finding.Cause.Japanese, finding.Cure.Japanese}) {
        EXPECT_TRUE(text.ends_with("。") || text.ends_with("行)")) << text;
      }
      for (const std::string& text : {finding.Cause.English, finding.Cure.English}) {
        ASSERT_FALSE(text.empty());
        EXPECT_FALSE(std::isupper(static_cast<unsigned char>(text[0]))) << text;
        EXPECT_FALSE(text.ends_with('.')) << text;
      }
    }
  };
  look("hello\r\n", kCodeMemory);
  look(std::string(kWords) + kWords + ":02000006ABCD80\r\n:0g\r\n:02\r\n:020000000C9400 0\r\n" +
           ":0104000011EA\r\n:02FFFF000102FD\r\n:020000000D945D\r\n:020000040001F9\r\n" + kWords +
           "\r\n",
       kCodeMemory);
  look(std::string(kWords) + ":0000000100\r\n" + kWords, kCodeMemory);
  EXPECT_EQ(seen.size(), 16U);
}

// How many.

TEST(ImageCheck, TheShareCountsWordsOrBytesThatAreNotBlankOnceEach) {
  const auto share = [](const std::string& content, const ImageTarget& target) {
    const ImageShare found = CheckImage(content, target).Share;
    return std::to_string(found.Inside) + " of " + std::to_string(found.Given);
  };
  EXPECT_EQ(share(HexFile(FullImage(8192, 3)), Flash(512)), "512 of 4096");
  EXPECT_EQ(share(std::string(kWords) + kWords + kEnd, Flash(512)), "2 of 2");
  EXPECT_EQ(share(std::string(kWords) + kEnd, kDataMemory), "4 of 4");
  EXPECT_EQ(share(std::string(kWords) + kEnd, Flash(1)), "1 of 2");
  EXPECT_EQ(share(std::string(kWords) + kEnd, Flash(0)), "2 of 2") << "no device";
  // One byte of a word.
  EXPECT_EQ(share(":0100110011DD\r\n" + std::string(kEnd), kCodeMemory), "1 of 1");
  EXPECT_EQ(share(":02000000FFFF00\r\n" + std::string(kEnd), kCodeMemory), "0 of 0");
  EXPECT_EQ(share(HexFile(Bytes(16, 0x12), 0x7E00), kCodeMemory), "0 of 8");
}

TEST(ImageCheck, FindingsOfOneKindAreCountedAndOnlyTheFirstIsTold) {
  const Finding finding = Only(kWords + Repeated(":020004000C9400\r\n", 1) +
                               ":020006000C9400\r\n:020008000C9400\r\n" + kEnd);
  EXPECT_EQ(finding.Line, 2);
  EXPECT_EQ(finding.Count, 3);
  EXPECT_TRUE(finding.Cause.English.ends_with(" (and 2 more lines)"));
  EXPECT_TRUE(finding.Cause.Japanese.ends_with("(ほかに2行)"));
  const Finding two = Only(kWords + std::string(":020004000C9400\r\n:020006000C9400\r\n") + kEnd);
  EXPECT_TRUE(two.Cause.English.ends_with(" (and 1 more line)"));
}

TEST(ImageCheck, AGarbageFileOfTenMegabytesGivesAShortListInLinearTime) {
  const std::size_t size = 10'000'000;
  const Bytes garbage = RandomBytes(size, 8);
  std::string text(garbage.begin(), garbage.end());
  EXPECT_LE(CheckImage(text, kCodeMemory).Findings.size(), 16U);
  // The same with records that overlap, contradict and lie everywhere, and of one long line.
  const Bytes data(16, 0x12);
  const std::string records = HexRecord(0x10, data) + HexRecord(0x12, data) +
                              HexRecord(0xFFF8, data) + ":020000040001F9\r\n" + HexRecord(1, data) +
                              ":020000040000FA\r\n:zz\r\nx\r\n\r\n";
  text = Repeated(records, static_cast<int>(size / records.size()));
  const auto start = std::chrono::steady_clock::now();
  const ImageCheck check = CheckImage(text, kCodeMemory);
  EXPECT_LE(check.Findings.size(), 16U);
  EXPECT_LE(CheckImage(":" + std::string(size, '0'), kCodeMemory).Findings.size(), 16U);
  // Seconds, not milliseconds, so that a slow build under a sanitizer passes; a square would take
  // hours.
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
}

// Good files.

struct OwnFiles : Test, RecordedRun {};

TEST_F(OwnFiles, OfEveryDeviceHaveNoFinding) {
  unsigned seed = 0;
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    SCOPED_TRACE(device.DisplayName);
    for (int kind = 0; kind < 4; ++kind) {
      Start(device.DisplayName);
      if (kind > 0) std::ranges::copy(RandomBytes(8192, ++seed), State.FlashBuffer.begin());
      const auto eeprom = static_cast<std::size_t>(device.EepromBytes);
      if (kind > 1) std::ranges::copy(RandomBytes(eeprom, ++seed), State.EepromBuffer.begin());
      if (kind == 3) std::ranges::fill(State.FlashBuffer, std::uint8_t{0});
      State.CodeSaveFileName = "/a.hex";
      State.DataSaveFileName = "/a.eep";
      ASSERT_TRUE(WriteCodeHexFile(Context));
      ASSERT_TRUE(WriteDataHexFile(Context));
      const ImageCheck code = CheckImage(Files.Files["/a.hex"], Flash(device.FlashWords));
      EXPECT_EQ(Codes(code), Texts{});
      EXPECT_EQ(code.Share.Inside, code.Share.Given);
      const ImageCheck data =
          CheckImage(Files.Files["/a.eep"], {.Kind = ImageKind::Data, .Bytes = device.EepromBytes});
      EXPECT_EQ(Codes(data), Texts{});
      EXPECT_LE(data.Share.Given, device.EepromBytes);
    }
  }
}

TEST_F(OwnFiles, WhoseUpperHalfHoldsDataAreFoundOut) {
  Start("ATtiny12L");
  State.EepromBuffer[100] = 0x12;
  State.DataSaveFileName = "/a.eep";
  ASSERT_TRUE(WriteDataHexFile(Context));
  EXPECT_EQ(Codes(CheckImage(Files.Files["/a.eep"], kDataMemory)), Texts{"data-beyond-chip@7"});
}

TEST(ImageCheck, AThousandRandomGoodFilesHaveNoFinding) {
  std::mt19937 random(4711);
  const auto below = [&](std::size_t limit) { return random() % limit; };
  for (int round = 0; round < 1000; ++round) {
    const bool code = below(2) == 0;
    const std::size_t size = code ? 2 * (512U << below(4)) : 64U << below(4);
    std::string text;
    for (std::size_t address = below(40); address < size;) {
      const std::size_t count = std::min(1 + below(255), size - address);
      text += HexRecord(static_cast<unsigned>(address),
                        RandomBytes(count, static_cast<unsigned>(random())));
      address += count + (below(3) == 0 ? below(40) : 0);
      if (below(20) == 0) text += ":020000040000FA\r\n";
      if (below(20) == 0) text += ":0400000300001234B3\r\n";
    }
    if (text.empty()) text = kWords;
    text += kEnd;
    if (below(2) == 0) std::erase(text, '\r');
    const ImageTarget target{.Kind = code ? ImageKind::Code : ImageKind::Data,
                             .Bytes = static_cast<std::int32_t>(size)};
    EXPECT_EQ(Codes(CheckImage(text, target)), Texts{}) << text;
  }
}

/// What the records of a file mean, read by the letter of the format; nothing for one that is
/// broken. What stands behind the end record, or behind a checksum, means nothing.
std::optional<std::map<unsigned, unsigned>> Meaning(const std::string& text) {
  std::map<unsigned, unsigned> image;
  std::string with_line_feeds;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\n' && i > 0 && text[i - 1] == '\r') continue;
    with_line_feeds += text[i] == '\r' ? '\n' : text[i];
  }
  std::istringstream lines(with_line_feeds);
  unsigned offset = 0;
  for (std::string line; std::getline(lines, line);) {
    const bool begins = line.size() > 2 && line[0] == ':' && std::isxdigit(line[1]) != 0 &&
                        std::isxdigit(line[2]) != 0;
    if (!begins) return std::nullopt;
    std::vector<unsigned> bytes;
    for (std::size_t i = 1; i + 1 < line.size() && std::isxdigit(line[i]) != 0; i += 2) {
      bytes.push_back(static_cast<unsigned>(std::stoul(line.substr(i, 2), nullptr, 16)));
    }
    if (bytes.size() < 4 || bytes.size() < bytes[0] + 4) return std::nullopt;
    if (bytes[0] == 0 && bytes[3] == 1) return image;
    if (bytes.size() < bytes[0] + 5) return std::nullopt;
    unsigned sum = 0;
    for (unsigned i = 0; i < bytes[0] + 5; ++i) sum += bytes[i];
    if (sum % 256 != 0) return std::nullopt;
    if (bytes[3] == 4) offset = (256 * bytes[4] + bytes[5]) << 16;
    if (bytes[3] == 2) offset = (256 * bytes[4] + bytes[5]) << 4;
    for (unsigned i = 0; bytes[3] == 0 && i < bytes[0]; ++i) {
      const unsigned address = offset + 256 * bytes[1] + bytes[2] + i;
      const auto [place, first] = image.emplace(address, bytes[4 + i]);
      if (!first && place->second != bytes[4 + i]) return std::nullopt;
    }
  }
  return std::nullopt;
}

TEST_F(OwnFiles, AfterRandomDamageAreRefusedWheneverAnotherImageIsLoaded) {
  Start("ATtiny12L");
  State.CodeFileName = "/a.hex";
  std::mt19937 random(815);
  const std::string good = HexFile(FullImage(64, 5)).substr(0, 135) + ":020000040000FA\r\n" +
                           HexFile(FullImage(64, 6), 0x3C0);
  constexpr char kLikely[] = "0123456789ABCDEFabcdef:\r\n ";
  int taken = 0;
  for (int round = 0; round < 3000; ++round) {
    std::string text = good;
    const std::size_t at = random() % text.size();
    switch (random() % 6) {
      case 0:
        text[at] = kLikely[random() % (sizeof kLikely - 1)];
        break;
      case 1:
        text.erase(at, 1 + random() % 60);
        break;
      case 2:
        text.insert(at, good.substr(random() % good.size(), random() % 60));
        break;
      case 3:
        text.resize(at);
        break;
      case 4:
        text[at] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[at])));
        break;
      default: {
        // A whole line once more, at the start of another.
        const std::size_t from = good.rfind(':', at);
        const std::size_t to = good.rfind(':', random() % good.size());
        if (from == std::string::npos || to == std::string::npos) continue;
        text.insert(to, good.substr(from, good.find('\n', from) + 1 - from));
      }
    }
    Files.Files["/a.hex"] = text;
    State.HexFileLeftOpen = false;
    ClearFlashBuffer(State);
    if (ReadCodeHexFile(Context).Check.FirstRefusal() != nullptr) continue;
    ++taken;
    auto image = Meaning(text);
    ASSERT_TRUE(image) << text;
    for (unsigned address = 0; address < 0x10000; ++address) {
      const auto byte = image->find(address);
      const unsigned meant = byte == image->end() ? 0xFF : byte->second;
      ASSERT_EQ(State.FlashBuffer[address ^ 1U], meant) << text;
    }
  }
  EXPECT_GT(taken, 20);
  EXPECT_LT(taken, 1500);
}

}  // namespace
}  // namespace fenwright::image
