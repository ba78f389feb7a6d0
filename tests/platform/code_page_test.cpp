#include "platform/system/code_page.h"

#include <string>

#include <gtest/gtest.h>

namespace fenwright::platform {
namespace {

class Cp932 : public ::testing::Test {
 protected:
  std::string From(std::string_view text) { return page_.FromUtf8(text); }
  std::string To(std::string_view bytes) { return page_.ToUtf8(bytes); }

 private:
  Cp932CodePage page_;
};

TEST_F(Cp932, AsciiPassesUnchangedBothWays) {
  std::string ascii;
  for (char letter = 0; letter < 0x7F; ++letter) ascii += letter;
  ascii += '\x7F';
  EXPECT_EQ(From(ascii), ascii);
  EXPECT_EQ(To(ascii), ascii);
}

TEST_F(Cp932, KanjiAndKanaTakeTwoBytes) {
  EXPECT_EQ(From("日本語"), "\x93\xFA\x96\x7B\x8C\xEA");
  EXPECT_EQ(From("ライタ"), "\x83\x89\x83\x43\x83\x5E");
  EXPECT_EQ(To("\x93\xFA\x96\x7B\x8C\xEA"), "日本語");
}

TEST_F(Cp932, ACharacterWhoseSecondByteIsABackslashIsNotTornApart) {
  EXPECT_EQ(From("表示"), "\x95\x5C\x8E\xA6");
  EXPECT_EQ(To("\x95\x5C\x8E\xA6"), "表示");
}

TEST_F(Cp932, HalfWidthKatakanaIsOneByte) {
  EXPECT_EQ(From("ｺﾏﾝﾄﾞ"), "\xBA\xCF\xDD\xC4\xDE");
  EXPECT_EQ(To("\xA1\xA5\xDF"), "\uFF61\uFF65\uFF9F");
  EXPECT_EQ(From("\uFF65"), "\xA5");
}

TEST_F(Cp932, VendorCharactersAreKnown) {
  EXPECT_EQ(From("①㈱"), "\x87\x40\x87\x8A");
  EXPECT_EQ(To("\x87\x40\x87\x8A"), "①㈱");
}

TEST_F(Cp932, WaveDashAndFullWidthTildeAreTheSameCharacter) {
  EXPECT_EQ(From("\u301C"), "\x81\x60");
  EXPECT_EQ(From("\uFF5E"), "\x81\x60");
  EXPECT_EQ(To("\x81\x60"), "\uFF5E");
}

TEST_F(Cp932, TheIdeographicSpaceSurvives) {
  EXPECT_EQ(From("　\r\n"), "\x81\x40\r\n");
  EXPECT_EQ(To("\x81\x40"), "　");
}

TEST_F(Cp932, AYenSignDoesNotBecomeABackslashNorAnOverlineATilde) {
  EXPECT_EQ(From("\u00A5"), "?");
  EXPECT_EQ(From("\u203E"), "?");
}

TEST_F(Cp932, EveryCharacterWithoutACounterpartBecomesOneQuestionMark) {
  EXPECT_EQ(From("aéb"), "a?b");
  EXPECT_EQ(From("한국"), "??");
  EXPECT_EQ(From("\U0001F600日"), "?\x93\xFA");
}

TEST_F(Cp932, EveryInvalidUtf8ByteBecomesOneQuestionMark) {
  EXPECT_EQ(From("a\x80\xFFz"), "a??z");
  EXPECT_EQ(From("\xC0\xAF"), "??");
  EXPECT_EQ(From("\xE0\x80\xAF"), "???");
  EXPECT_EQ(From("\xED\xA0\x80"), "???");
  EXPECT_EQ(From("\xF4\x90\x80\x80"), "????");
}

TEST_F(Cp932, AUtf8CharacterCutShortBecomesAQuestionMarkForEachByte) {
  EXPECT_EQ(From("日\xE6\x9C"), "\x93\xFA??");
  EXPECT_EQ(From("\xE6\x9Cz"), "??z");
}

TEST_F(Cp932, EveryInvalidCp932ByteBecomesOneQuestionMark) {
  EXPECT_EQ(To("a\x80\xA0\xFD\xFE\xFFz"), "a?????z");
}

TEST_F(Cp932, ALeadByteAtTheEndOrBeforeAWrongByteBecomesAQuestionMark) {
  EXPECT_EQ(To("\x93"), "?");
  EXPECT_EQ(To("\x93\r\n"), "?\r\n");
  EXPECT_EQ(To("\x93 \x93\xFA"), "? 日");
}

TEST_F(Cp932, ABadCharacterDoesNotSpoilTheNextOnes) {
  EXPECT_EQ(From("\U0001F600日本"), "?\x93\xFA\x96\x7B");
  EXPECT_EQ(To("\xFF\x93\xFA\x96\x7B"), "?日本");
}

TEST_F(Cp932, EveryCharacterOfTheCodePageComesBackAsItself) {
  int characters = 0;
  for (int lead = 0x81; lead <= 0xFC; ++lead) {
    if (lead >= 0xA0 && lead <= 0xDF) continue;
    for (int trail = 0x40; trail <= 0xFC; ++trail) {
      const std::string bytes{static_cast<char>(lead), static_cast<char>(trail)};
      const std::string text = To(bytes);
      if (text.find('?') != std::string::npos) continue;
      // Some characters stand twice in the code page; both readings must give the same text.
      ASSERT_EQ(To(From(text)), text) << lead << " " << trail;
      ++characters;
    }
  }
  EXPECT_GT(characters, 7000);
}

TEST_F(Cp932, EmptyTextStaysEmpty) {
  EXPECT_EQ(From(""), "");
  EXPECT_EQ(To(""), "");
}

}  // namespace
}  // namespace fenwright::platform
