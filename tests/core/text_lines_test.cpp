#include "core/text_lines.h"

#include "support/prelude.h"

namespace fenwright::core {
namespace {

Texts LinesOf(std::string_view text) {
  Texts lines;
  while (!text.empty()) lines.emplace_back(TakeLine(text));
  return lines;
}

TEST(TakeLine, EndsALineAtEveryKindOfLineEnd) {
  EXPECT_EQ(LinesOf("a\r\nb\nc\rd"), (Texts{"a", "b", "c", "d"}));
}

TEST(TakeLine, TakesOneLineEndAtATime) {
  EXPECT_EQ(LinesOf("a\n\nb"), (Texts{"a", "", "b"}));
  EXPECT_EQ(LinesOf("a\r\rb"), (Texts{"a", "", "b"}));
  EXPECT_EQ(LinesOf("a\n\rb"), (Texts{"a", "", "b"}));
  EXPECT_EQ(LinesOf("a\r\n\r\nb"), (Texts{"a", "", "b"}));
}

TEST(TakeLine, LooksAtNothingBehindTheText) {
  std::string_view rest = std::string_view("a\r\nb").substr(0, 2);
  EXPECT_EQ(TakeLine(rest), "a");
  EXPECT_EQ(rest, "");
}

}  // namespace
}  // namespace fenwright::core
