#include <QApplication>
#include <QLayout>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextEdit>
#include <gtest/gtest.h>

#include "platform/system/code_page.h"
#include "support/fakes.h"
#include "ui/main_window.h"
#include "ui/view_window.h"
#include "ui/window_bench.h"

namespace fenwright::ui {
namespace {

using screen::View;

class ViewsTest : public ::testing::Test {
 protected:
  ViewsTest() {
    window_.show();
    QApplication::processEvents();
  }

  QTextEdit* TextOf(View view) { return window_.ViewOf(view)->TextControl(); }

  /// The first line in sight, counted from 0.
  int FirstLine(View view) {
    return TextOf(view)->cursorForPosition(QPoint(0, 0)).block().blockNumber();
  }

  void GivenLines(int count) {
    std::string content;
    for (int line = 0; line < count; ++line) content += "line " + std::to_string(line) + "\r\n";
    files_.Files["/app/avrhex.txt"] = content;
  }

  core::AppState state_;
  testing::FakeTextFiles files_;
  platform::Cp932CodePage code_page_;
  MainWindow window_{state_, files_, code_page_};
  ChildWindowArea& views_ = *window_.ChildArea();
};

TEST_F(ViewsTest, EachViewHasItsNamesAndAReadOnlyTextWithoutWrapping) {
  for (const char* name : {"frmProgram", "frmEEprom", "frmVerify"}) Find<ViewWindow>(window_, name);
  for (const char* name : {"txtPrg", "txtEEp", "rtVerify"}) {
    auto* text = Find<QTextEdit>(window_, name);
    EXPECT_TRUE(text->isReadOnly());
    EXPECT_EQ(text->lineWrapMode(), QTextEdit::NoWrap);
  }
}

TEST_F(ViewsTest, TheTwoMemoryViewsStandAtTheirPlacesAndTheVerifyViewIsHidden) {
  EXPECT_EQ(window_.ViewOf(View::Flash)->geometry(), QRect(3, 3, 360, 267));
  EXPECT_EQ(window_.ViewOf(View::Eeprom)->geometry(), QRect(3, 273, 360, 133));
  EXPECT_FALSE(window_.ViewOf(View::Verify)->isVisible());
}

TEST_F(ViewsTest, AWholeLineOfEachDumpIsSeenInTheViewsDefaultWidth) {
  std::string flash;
  std::string eeprom;
  for (int line = 0; line < 32; ++line) {
    flash += "0000: FFFF FFFF FFFF FFFF FFFF FFFF FFFF FFFF " + std::string(16, '\xA5') + "\r\n";
    eeprom +=
        "0000: FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF " + std::string(16, 'W') + "\r\n";
  }
  files_.Files["/app/avrhex.txt"] = flash;
  files_.Files["/app/avreep.txt"] = eeprom;
  views_.Load(View::Flash, "/app/avrhex.txt");
  views_.Load(View::Eeprom, "/app/avreep.txt");
  QApplication::processEvents();
  for (const View view : {View::Flash, View::Eeprom}) {
    EXPECT_GT(TextOf(view)->verticalScrollBar()->maximum(), 0);
    EXPECT_EQ(TextOf(view)->horizontalScrollBar()->maximum(), 0);
  }
}

/// The marked characters, "" = none.
QString Marked(QTextEdit* text) {
  const QList<QTextEdit::ExtraSelection> marks = text->extraSelections();
  EXPECT_LE(marks.size(), 1);
  return marks.isEmpty() ? QString() : marks.front().cursor.selectedText();
}

TEST_F(ViewsTest, AMarkedStretchIsSeenWhereverItIs) {
  GivenLines(300);
  views_.Load(View::Flash, "/app/avrhex.txt");
  QTextEdit* text = TextOf(View::Flash);
  for (const int line : {299, 0, 150, 151, 299}) {
    views_.Mark(View::Flash, {.Line = line, .Column = 5, .Length = 1});
    EXPECT_EQ(Marked(text), QString::number(line).left(1));
    EXPECT_EQ(text->textCursor().blockNumber(), line) << "for readers of the screen";
    const QRect place = text->cursorRect(text->extraSelections().front().cursor);
    EXPECT_TRUE(text->viewport()->rect().contains(place)) << line;
    // Not at the very edge, but for the ends of the text.
    if (line != 150) continue;
    EXPECT_GT(place.top(), 2 * place.height());
    EXPECT_LT(place.bottom(), text->viewport()->height() - 2 * place.height());
  }
}

TEST_F(ViewsTest, AMarkInSightDoesNotMoveTheView) {
  GivenLines(300);
  views_.Load(View::Flash, "/app/avrhex.txt");
  QScrollBar* bar = TextOf(View::Flash)->verticalScrollBar();
  bar->setValue(500);
  views_.Mark(View::Flash, {.Line = FirstLine(View::Flash) + 4, .Column = 0, .Length = 4});
  EXPECT_EQ(bar->value(), 500);
}

TEST_F(ViewsTest, ANewTextAndAClearedMarkAreUnmarked) {
  GivenLines(3);
  views_.Load(View::Flash, "/app/avrhex.txt");
  const screen::TextPlace place{.Line = 1, .Column = 0, .Length = 4};
  views_.Mark(View::Flash, place);
  EXPECT_EQ(Marked(TextOf(View::Flash)), "line");
  views_.Load(View::Flash, "/app/avrhex.txt");
  EXPECT_EQ(Marked(TextOf(View::Flash)), "");
  views_.Mark(View::Flash, place);
  views_.ClearMarks();
  EXPECT_EQ(Marked(TextOf(View::Flash)), "");
  views_.Mark(View::Flash, {.Line = 1, .Column = 4, .Length = 40});
  views_.Mark(View::Flash, {.Line = 40, .Column = 0, .Length = 1});
  EXPECT_EQ(Marked(TextOf(View::Flash)), "") << "the text has no such place";
}

TEST_F(ViewsTest, TheCp932Code165IsShownAsTheHalfWidthMiddleDot) {
  files_.Files["/app/avrhex.txt"] = "0000: FFFF \xA5\xA5\r\n";
  views_.Load(View::Flash, "/app/avrhex.txt");
  EXPECT_EQ(TextOf(View::Flash)->toPlainText(), "0000: FFFF ･･\n");
}

TEST_F(ViewsTest, AFileThatCannotBeReadLeavesTheViewEmpty) {
  GivenLines(3);
  views_.Load(View::Flash, "/app/avrhex.txt");
  views_.Load(View::Flash, "/app/missing.txt");
  EXPECT_EQ(TextOf(View::Flash)->toPlainText(), "");
}

TEST_F(ViewsTest, ClearingEmptiesOneView) {
  GivenLines(3);
  views_.Load(View::Flash, "/app/avrhex.txt");
  views_.Load(View::Eeprom, "/app/avrhex.txt");
  views_.Clear(View::Flash);
  EXPECT_EQ(TextOf(View::Flash)->toPlainText(), "");
  EXPECT_NE(TextOf(View::Eeprom)->toPlainText(), "");
}

TEST_F(ViewsTest, AReloadKeepsThePartInSight) {
  GivenLines(500);
  views_.Load(View::Flash, "/app/avrhex.txt");
  QApplication::processEvents();
  QScrollBar* bar = TextOf(View::Flash)->verticalScrollBar();
  for (const int place : {123, bar->maximum() - 1}) {
    bar->setValue(place);
    const int first = FirstLine(View::Flash);
    EXPECT_GT(first, 0);
    views_.Load(View::Flash, "/app/avrhex.txt");
    QApplication::processEvents();
    EXPECT_EQ(bar->value(), place);
    EXPECT_EQ(FirstLine(View::Flash), first);
  }
}

TEST_F(ViewsTest, AShorterTextIsShownToItsEnd) {
  GivenLines(500);
  views_.Load(View::Flash, "/app/avrhex.txt");
  QScrollBar* bar = TextOf(View::Flash)->verticalScrollBar();
  bar->setValue(bar->maximum());
  EXPECT_GT(FirstLine(View::Flash), 400);
  GivenLines(50);
  views_.Load(View::Flash, "/app/avrhex.txt");
  QApplication::processEvents();
  EXPECT_GT(bar->value(), 0);
  EXPECT_EQ(bar->value(), bar->maximum());
  EXPECT_LT(FirstLine(View::Flash), 51);
  EXPECT_GT(FirstLine(View::Flash), 0);
}

TEST_F(ViewsTest, LoadingTheVerifyViewShowsIt) {
  files_.Files["/app/avrvfy.txt"] = "report";
  views_.Load(View::Verify, "/app/avrvfy.txt");
  EXPECT_TRUE(window_.ViewOf(View::Verify)->isVisible());
  EXPECT_EQ(TextOf(View::Verify)->toPlainText(), "report");
}

TEST_F(ViewsTest, AClosedViewIsHiddenAndCanBeLoadedAndShownAgain) {
  files_.Files["/app/avrvfy.txt"] = "report";
  views_.Load(View::Verify, "/app/avrvfy.txt");
  window_.ViewOf(View::Verify)->close();
  EXPECT_FALSE(window_.ViewOf(View::Verify)->isVisible());
  views_.Load(View::Verify, "/app/avrvfy.txt");
  EXPECT_TRUE(window_.ViewOf(View::Verify)->isVisible());
  EXPECT_TRUE(TextOf(View::Verify)->isVisible());
}

TEST_F(ViewsTest, TheTextFillsTheClientAreaAtEverySize) {
  ViewWindow* view = window_.ViewOf(View::Flash);
  for (const QSize size : {QSize(360, 267), QSize(200, 120), QSize(500, 350)}) {
    view->resize(size);
    QApplication::processEvents();
    EXPECT_EQ(view->TextControl()->geometry(), view->contentsRect());
    EXPECT_EQ(view->TextControl()->width(), view->contentsRect().width());
  }
}

TEST_F(ViewsTest, AViewShrunkToNothingComesBack) {
  ViewWindow* view = window_.ViewOf(View::Flash);
  const QMargins frame = view->layout()->contentsMargins();
  EXPECT_EQ(view->layout()->minimumSize(),
            QSize(frame.left() + frame.right(), frame.top() + frame.bottom()));
  view->setMinimumSize(0, 0);
  view->resize(0, 0);
  QApplication::processEvents();
  EXPECT_EQ(view->TextControl()->size(), QSize(0, 0));
  view->resize(360, 267);
  QApplication::processEvents();
  EXPECT_EQ(view->TextControl()->geometry(), view->contentsRect());
}

}  // namespace
}  // namespace fenwright::ui
