#include "manual/markdown.h"

#include <gtest/gtest.h>

namespace fenwright::manual {
namespace {

Block Only(const QString& text) {
  const Markdown markdown = ReadMarkdown(text);
  EXPECT_EQ(markdown.Error, "");
  EXPECT_EQ(markdown.Blocks.size(), 1);
  return markdown.Blocks.value(0);
}

TEST(MarkdownTest, HeadingsHaveTheirLevel) {
  const Markdown markdown = ReadMarkdown("# 一\n\n## 二\n### 三\n");
  ASSERT_EQ(markdown.Blocks.size(), 3);
  EXPECT_EQ(markdown.Blocks[0].Level, 1);
  EXPECT_EQ(markdown.Blocks[1].Level, 2);
  EXPECT_EQ(markdown.Blocks[2].Level, 3);
  EXPECT_EQ(markdown.Blocks[2].Text, "三");
  EXPECT_EQ(markdown.Blocks[2].Line, 4);
}

TEST(MarkdownTest, LinesOfAParagraphAreJoinedWithoutABlankBetweenJapaneseCharacters) {
  EXPECT_EQ(Only("日本語の\n文です。\n").Text, "日本語の文です。");
  EXPECT_EQ(Only("two\nwords\n").Text, "two words");
  EXPECT_EQ(Only("COM1\nから\n").Text, "COM1から");
}

TEST(MarkdownTest, ItemsKnowTheirMarkerAndDepth) {
  const Markdown markdown = ReadMarkdown("- 一\n  - 二\n12. 三\n   続き\n");
  ASSERT_EQ(markdown.Blocks.size(), 3);
  EXPECT_EQ(markdown.Blocks[0].Marker, "・");
  EXPECT_EQ(markdown.Blocks[0].Level, 0);
  EXPECT_EQ(markdown.Blocks[1].Level, 1);
  EXPECT_EQ(markdown.Blocks[2].Marker, "12.");
  EXPECT_EQ(markdown.Blocks[2].Text, "三続き");
}

TEST(MarkdownTest, ATableHasItsWidthsAndRows) {
  const Block table = Only("| a | b |\n|--|------|\n| 1 | 2<br>3 |\n| \\| |  |\n");
  EXPECT_EQ(table.Kind, BlockKind::Table);
  EXPECT_EQ(table.Widths, QList<int>({2, 6}));
  ASSERT_EQ(table.Rows.size(), 3);
  EXPECT_EQ(table.Rows[0], QStringList({"a", "b"}));
  EXPECT_EQ(table.Rows[1], QStringList({"1", "2<br>3"}));
  EXPECT_EQ(table.Rows[2], QStringList({"|", ""}));
}

TEST(MarkdownTest, ARowWithOtherCellsThanTheHeaderIsNamedWithItsLine) {
  EXPECT_EQ(ReadMarkdown("\n| a | b |\n|--|--|\n| 1 |\n").Error,
            "4: the row has 1 cells, the header 2");
  EXPECT_EQ(ReadMarkdown("| a | b |\n| 1 | 2 |\n").Error,
            "1: the table has no rule below its header");
  EXPECT_EQ(ReadMarkdown("| a | b |\n|--|\n").Error,
            "2: the table's rule and header have different columns");
}

TEST(MarkdownTest, CodeIsTakenAsItIs) {
  const Block code = Only("```\na **b**\n\n  <c>\n```\n");
  EXPECT_EQ(code.Kind, BlockKind::Code);
  EXPECT_EQ(code.Text, "a **b**\n\n  <c>");
  EXPECT_EQ(ReadMarkdown("\n```\na\n").Error, "2: the code block has no end");
}

TEST(MarkdownTest, APictureHasACaptionAPathAndAWidth) {
  const Block picture = Only("![説明](images/a.png){60%}\n");
  EXPECT_EQ(picture.Kind, BlockKind::Picture);
  EXPECT_EQ(picture.Text, "説明");
  EXPECT_EQ(picture.Path, "images/a.png");
  EXPECT_EQ(picture.Percent, 60);
  EXPECT_EQ(Only("![](a.png)").Percent, 0);
}

TEST(MarkdownTest, ANoteIsOneBlock) {
  const Block note = Only("> **注意** 一\n> 二\n");
  EXPECT_EQ(note.Kind, BlockKind::Note);
  EXPECT_EQ(note.Text, "<b>注意</b> 一二");
}

TEST(MarkdownTest, InlineMarksBecomeHtmlAndTheRestIsEscaped) {
  EXPECT_EQ(InlineHtml("a `<b> **c**` d"), "a <code>&lt;b&gt; **c**</code> d");
  EXPECT_EQ(InlineHtml("**a `b`**"), "<b>a <code>b</code></b>");
  EXPECT_EQ(InlineHtml("[x](https://a.example/)"), "<a href=\"https://a.example/\">x</a>");
  EXPECT_EQ(InlineHtml("a & b <c>"), "a &amp; b &lt;c&gt;");
  EXPECT_EQ(InlineHtml("\\*\\*a\\*\\* [イレース]"), "**a** [イレース]");
}

TEST(MarkdownTest, PlainTextUndoesTheHtml) {
  EXPECT_EQ(PlainText(InlineHtml("**a** `<\"&\">`")), "a <\"&\">");
}

}  // namespace
}  // namespace fenwright::manual
