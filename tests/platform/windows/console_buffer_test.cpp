#include "platform/windows/console_buffer.h"

#include <ostream>
#include <vector>

#include <gtest/gtest.h>

namespace fenwright::platform {
namespace {

/// A stream to a console that keeps what it is to show.
class TheConsolesBuffer : public ::testing::Test {
 protected:
  std::vector<std::wstring> Shown;
  bool Works = true;

 private:
  ConsoleBuffer buffer_{[this](std::wstring_view text) {
    if (Works) Shown.emplace_back(text);
    return Works;
  }};

 protected:
  std::ostream Stream{&buffer_};
};

using Texts = std::vector<std::wstring>;

TEST_F(TheConsolesBuffer, ShowsUtf8AsUtf16) {
  Stream << "書込み：½ ✓ ｶﾅ 𠮷" << std::flush;
  EXPECT_EQ(Shown, Texts{L"書込み：½ ✓ ｶﾅ \xD842\xDFB7"});
}

TEST_F(TheConsolesBuffer, EndsLinesAsTheConsoleWantsIt) {
  Stream << "one\n\ntwo\n" << std::flush;
  EXPECT_EQ(Shown, Texts{L"one\r\n\r\ntwo\r\n"});
}

TEST_F(TheConsolesBuffer, LeavesReturnsAndEscapeSequencesAsTheyAre) {
  Stream << "\r[###...]  50 %  3 s left \x1B[K" << std::flush;
  EXPECT_EQ(Shown, Texts{L"\r[###...]  50 %  3 s left \x1B[K"});
}

TEST_F(TheConsolesBuffer, ShowsWhatHasComeWithEveryFlushAndNotTwice) {
  Stream << "\r 1 %" << std::flush;
  EXPECT_EQ(Shown, Texts{L"\r 1 %"});
  Stream << "\r 2 %" << std::flush << std::flush;
  EXPECT_EQ(Shown, (Texts{L"\r 1 %", L"\r 2 %"}));
}

TEST_F(TheConsolesBuffer, WaitsForTheFlush) {
  Stream << "a" << 'b' << 12;
  EXPECT_EQ(Shown, Texts{});
  Stream.flush();
  EXPECT_EQ(Shown, Texts{L"ab12"});
}

TEST_F(TheConsolesBuffer, KeepsTheStartOfACharacterUntilItsEndComes) {
  for (const std::string character : {"é", "書", "𠮷"}) {
    for (std::size_t length = 1; length < character.size(); ++length) {
      Shown.clear();
      Stream << "x" << character.substr(0, length) << std::flush;
      EXPECT_EQ(Shown, Texts{L"x"}) << character << length;
      Stream << std::flush << character.substr(length) << "y" << std::flush;
      ASSERT_EQ(Shown.size(), 2U) << character << length;
      EXPECT_EQ(Shown[1], character == "é" ? L"éy" : character == "書" ? L"書y" : L"\xD842\xDFB7y");
    }
  }
}

TEST_F(TheConsolesBuffer, TakesACharacterByteByByteFromAStreamThatFlushesByItself) {
  Stream << std::unitbuf;
  for (const char byte : std::string("書込")) Stream << byte;
  EXPECT_EQ(Shown, (Texts{L"書", L"込"}));
}

TEST_F(TheConsolesBuffer, ShowsAMarkForWhatIsNotUtf8) {
  Stream << "a\xFF"
            "b\x83"
         << std::flush;
  EXPECT_EQ(Shown, Texts{L"a\xFFFD"
                         L"b\xFFFD"});
  Shown.clear();
  Stream << "\xE6" << std::flush << "xyz" << std::flush;
  EXPECT_EQ(Shown, Texts{L"\xFFFDxyz"});
}

TEST_F(TheConsolesBuffer, HandsOnALongTextInPiecesThatCutNoCharacter) {
  std::string text = "x";
  std::wstring expected = L"x";
  for (int i = 0; i < 5000; ++i) {
    text += "書𠮷";
    expected += L"書\xD842\xDFB7";
  }
  Stream << text;
  EXPECT_GT(Shown.size(), 5U);
  Stream.flush();
  std::wstring shown;
  for (const std::wstring& piece : Shown) {
    EXPECT_LE(piece.size(), 4096U);
    EXPECT_NE(piece.back(), L'\xD842');
    shown += piece;
  }
  EXPECT_EQ(shown, expected);
}

TEST_F(TheConsolesBuffer, TellsTheStreamWhenTheConsoleFails) {
  Works = false;
  Stream << "lost" << std::flush;
  EXPECT_TRUE(Stream.bad());
  Works = true;
  Stream.clear();
  Stream << "shown" << std::flush;
  EXPECT_TRUE(Stream.good());
  EXPECT_EQ(Shown, Texts{L"shown"});
}

}  // namespace
}  // namespace fenwright::platform
