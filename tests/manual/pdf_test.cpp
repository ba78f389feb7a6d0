#include <QBuffer>
#include <QPainter>
#include <QPdfWriter>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "manual/chapters.h"
#include "manual/layout.h"
#include "manual/manual_pdf.h"
#include "manual/pdf_bookmarks.h"
#include "support/process.h"

namespace fenwright::manual {
namespace {

using ::fenwright::testing::Process;
using ::fenwright::testing::TemporaryFolder;
using ::fenwright::testing::WriteFile;
using ::testing::HasSubstr;

QByteArray TwoPages() {
  QBuffer buffer;
  buffer.open(QIODevice::WriteOnly);
  QPdfWriter writer(&buffer);
  QPainter painter(&writer);
  painter.drawLine(0, 0, 100, 100);
  writer.newPage();
  painter.drawLine(0, 0, 100, 100);
  painter.end();
  return buffer.data();
}

/// What an independent reader makes of a PDF: its pages, texts and bookmarks as XML.
std::string ReadPdf(const QByteArray& pdf) {
  const TemporaryFolder folder;
  WriteFile(folder.File("a.pdf"), pdf.toStdString());
  Process reader({"pdftohtml", "-xml", "-i", "-stdout", folder.File("a.pdf")});
  EXPECT_EQ(reader.Wait(), 0);
  EXPECT_EQ(reader.Errors(), "");
  return reader.Output();
}

Chapter OneChapter(const QString& text) {
  return {.File = "a.md", .Title = "題", .Blocks = ReadMarkdown(text).Blocks};
}

QByteArray Made(const QString& text) {
  return MakePdf({OneChapter(text)}, {.Version = "1.2.3", .Picture = {}}, FindFonts());
}

TEST(PdfBookmarksTest, AReaderFindsTheTreeOfBookmarks) {
  const QByteArray pdf = WithBookmarks(
      TwoPages(),
      {{.Level = 1, .Title = "第一章", .Target = {.Page = 0, .Y = 700}},
       {.Level = 2, .Title = "節", .Target = {.Page = 1, .Y = 300}},
       {.Level = 1, .Title = "第二章", .Target = {.Page = 1, .Y = 200}}},
      {{.Page = 0, .Area = QRectF(10, 10, 100, 20), .Target = {.Page = 1, .Y = 300}}});
  const std::string read = ReadPdf(pdf);
  EXPECT_THAT(read, HasSubstr("<outline>\n<item page=\"1\">第一章</item>\n<outline>\n"
                              "<item page=\"2\">節</item>\n</outline>\n"
                              "<item page=\"2\">第二章</item>\n</outline>"));
}

TEST(PdfBookmarksTest, TheTimeOfMakingIsTakenOut) {
  ASSERT_TRUE(TwoPages().contains("/CreationDate"));
  EXPECT_FALSE(WithBookmarks(TwoPages(), {}, {}).contains("/CreationDate"));
}

TEST(PdfBookmarksTest, SomethingElseThanAPdfIsRefused) {
  EXPECT_TRUE(WithBookmarks("no PDF", {}, {}).isEmpty());
  EXPECT_TRUE(WithBookmarks("", {}, {}).isEmpty());
}

TEST(ManualPdfTest, TheTextCanBeSearchedWithTheCharactersThatWereWritten) {
  // Characters whose glyph a radical shares, half-width letters, and digits after letters.
  const std::string read =
      ReadPdf(Made("# 題\n\n用紙の長さと日本語の文字、ｺﾐﾆｭｹｰｼｮﾝ、AT90S8515と一行目・入力。\n"));
  EXPECT_THAT(read, HasSubstr("用紙の長さと日本語の文字、ｺﾐﾆｭｹｰｼｮﾝ、AT90S8515と一行目・入力。"));
}

TEST(ManualPdfTest, TheContentsNameThePagesOfTheHeadings) {
  QString text = "# 題\n\n## 前の節\n\n";
  for (int line = 0; line < 80; ++line) text += "文です。\n\n";
  text += "## 後の節\n\n文です。\n";
  const std::string read = ReadPdf(Made(text));
  // Title page, contents, and the chapter on two pages.
  EXPECT_THAT(read, HasSubstr("<item page=\"3\">1　題</item>"));
  EXPECT_THAT(read, HasSubstr("<item page=\"3\">1.1　前の節</item>"));
  EXPECT_THAT(read, HasSubstr("<item page=\"5\">1.2　後の節</item>"));
  EXPECT_THAT(read, HasSubstr("バージョン 1.2.3"));
}

}  // namespace
}  // namespace fenwright::manual
