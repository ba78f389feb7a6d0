#include "platform/system/printable.h"

#include <gtest/gtest.h>

namespace fenwright::platform {
namespace {

using namespace std::string_literals;

TEST(PrintableText, ShowsControlCharactersByTheirNames) {
  EXPECT_EQ(Escaped("a\x1b[31mb\x07\x7f\0c\td\r\n"s), R"(a\x1b[31mb\x07\x7f\x00c\td\r\n)");
}

TEST(PrintableText, ShowsTheSecondSetOfControlCharactersToo) {
  EXPECT_EQ(Escaped("\u0080\u009b31m\u009f\u00a0"), "\\u0080\\u009b31m\\u009f\u00a0");
}

TEST(PrintableText, ShowsBytesThatAreNoUtf8) {
  EXPECT_EQ(Escaped("\x9b"
                    "31m \xe7\x82 \xff \xc0\x9b \xed\xa0\x80 \xf4\x90\x80\x80 \xe0\x82\x9b"),
            R"(\x9b31m \xe7\x82 \xff \xc0\x9b \xed\xa0\x80 \xf4\x90\x80\x80 \xe0\x82\x9b)");
}

TEST(PrintableText, LeavesAllElseAsItIs) {
  for (const char* text : {"", "plain text", "C:\\new\\file.hex", "点滅 ﾗｲﾀｰ ①", "naïve ÿ", "😀"}) {
    EXPECT_EQ(Escaped(text), text);
    EXPECT_EQ(Printable(text), text);
  }
}

TEST(PrintableText, LinesOfOurOwnEndInALineFeed) {
  EXPECT_EQ(Printable("one\r\ntwo\nthree\r"), "one\ntwo\nthree\\r");
  EXPECT_EQ(Printable("\x1b[2Jone\n\ttwo"), "\\x1b[2Jone\n\\ttwo");
}

TEST(PrintableText, WhatComesFromOutsideEndsNoLine) {
  const std::vector<std::string> outside{"a\r\nok: b.hex", "x\ny"};
  EXPECT_EQ(Printable("Program : a\r\nok: b.hex\r\nx\ny: missing\n", outside),
            "Program : a\\r\\nok: b.hex\nx\\ny: missing\n");
}

TEST(PrintableText, TheLongestTextFromOutsideCounts) {
  const std::vector<std::string> outside{"a\n", "a\nb\n"};
  EXPECT_EQ(Printable("a\nb\nc\na\n", outside), "a\\nb\\nc\na\\n");
}

TEST(PrintableText, OfACommandLineTheWordsAndTheValuesCount) {
  const std::vector<std::string> words{"--code=a\nb", "plain=word", "c\rd", "e\nf=1", "\n", ""};
  EXPECT_EQ(OutsideOf(words),
            (std::vector<std::string>{"--code=a\nb", "c\rd", "e\nf=1", "a\nb", "e\nf"}));
}

}  // namespace
}  // namespace fenwright::platform
