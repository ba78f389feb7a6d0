#include <algorithm>
#include <cmath>

#include <QApplication>
#include <QHelpEvent>
#include <QLayout>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>
#include <QTextEdit>
#include <QToolTip>
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

/// The texts that are marked as what the chip holds differently, and their grounds.
struct DifferenceMarks : ViewsTest {
  DifferenceMarks() {
    std::string content;
    for (int line = 0; line < 300; ++line) content += "0000: 1234 5678\r\n";
    files_.Files["/app/avrhex.txt"] = content;
    views_.Load(View::Flash, "/app/avrhex.txt");
    views_.Load(View::Eeprom, "/app/avrhex.txt");
  }

  static screen::DifferingPlace At(int line, int column, int length) {
    return {.Place = {.Line = line, .Column = column, .Length = length},
            .Note = "note " + std::to_string(line)};
  }
  void MarkInBoth() {
    views_.MarkDifferences(View::Flash, {At(150, 6, 4), At(299, 13, 2)});
    views_.MarkDifferences(View::Eeprom, {At(200, 11, 4)});
  }
  QStringList MarkedTexts(View view) {
    QStringList texts;
    for (const auto& mark : TextOf(view)->extraSelections()) texts << mark.cursor.selectedText();
    return texts;
  }
  bool IsSeen(View view, int line) {
    QTextEdit& text = *TextOf(view);
    const QRect place = text.cursorRect(QTextCursor(text.document()->findBlockByNumber(line)));
    return text.viewport()->rect().contains(place);
  }
  /// Where F3, or with Shift, leads: the line, and a hundred more in the EEPROM's view.
  int LineAfter(Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QTest::keyClick(&window_, Qt::Key_F3, modifiers);
    for (const View view : {View::Flash, View::Eeprom}) {
      const bool active = window_.ChildArea()->activeSubWindow() == window_.ViewOf(view);
      const QTextCursor cursor = TextOf(view)->textCursor();
      if (!active || !cursor.hasSelection()) continue;
      EXPECT_TRUE(IsSeen(view, cursor.blockNumber()));
      return cursor.blockNumber() + (view == View::Eeprom ? 100 : 0);
    }
    return -1;
  }
  /// The tip at the middle of a stretch of a line.
  std::string TipAt(View view, int line, int column) {
    // One that is taken away stays a moment longer.
    QToolTip::hideText();
    EXPECT_TRUE(QTest::qWaitFor([] { return !QToolTip::isVisible(); }));
    QTextEdit& text = *TextOf(view);
    QTextCursor cursor(text.document()->findBlockByNumber(line));
    cursor.setPosition(cursor.position() + column);
    const QPoint point = text.cursorRect(cursor).center();
    QHelpEvent help(QEvent::ToolTip, point, text.viewport()->mapToGlobal(point));
    QApplication::sendEvent(text.viewport(), &help);
    return QToolTip::isVisible() ? QToolTip::text().toStdString() : "";
  }
};

TEST_F(DifferenceMarks, AreSeenInBothMemoriesTheFirstOfEachInSight) {
  MarkInBoth();
  EXPECT_EQ(MarkedTexts(View::Flash), (QStringList{"1234", "78"}));
  EXPECT_EQ(MarkedTexts(View::Eeprom), QStringList{"5678"});
  EXPECT_TRUE(IsSeen(View::Flash, 150));
  EXPECT_TRUE(IsSeen(View::Eeprom, 200));
  EXPECT_TRUE(IsSeen(View::Flash, 152)) << "its neighbours too";
  EXPECT_EQ(TextOf(View::Flash)->textCursor().blockNumber(), 150) << "for readers of the screen";
}

TEST_F(DifferenceMarks, AreAGroundAndALineAndTheTextStaysReadable) {
  for (const bool dark : {false, true}) {
    QPalette palette;
    palette.setColor(QPalette::Base, dark ? QColor(0x20, 0x20, 0x20) : QColor(Qt::white));
    palette.setColor(QPalette::Text, dark ? Qt::white : Qt::black);
    window_.setPalette(palette);
    MarkInBoth();
    const QTextCharFormat mark = TextOf(View::Flash)->extraSelections().front().format;
    EXPECT_EQ(mark.underlineStyle(), QTextCharFormat::SingleUnderline);
    // As the web's guidelines count it: 7 and more is text that everybody reads.
    const auto light = [](const QColor& colour) {
      const auto part = [](double value) {
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
      };
      return 0.2126 * part(colour.redF()) + 0.7152 * part(colour.greenF()) +
             0.0722 * part(colour.blueF());
    };
    const auto contrast = [&](const QColor& one, const QColor& other) {
      const auto [low, high] = std::minmax({light(one), light(other)});
      return (high + 0.05) / (low + 0.05);
    };
    const QColor ground = mark.background().color();
    EXPECT_GE(contrast(ground, palette.color(QPalette::Text)), 7) << dark;
    EXPECT_GE(contrast(ground, palette.color(QPalette::Base)), 1.3) << dark;
  }
}

TEST_F(DifferenceMarks, StandBesideTheMarkOfTheCellThatIsLookedAt) {
  MarkInBoth();
  views_.Mark(View::Flash, {.Line = 2, .Column = 0, .Length = 4});
  EXPECT_EQ(MarkedTexts(View::Flash), (QStringList{"1234", "78", "0000"}));
  views_.ClearMarks();
  EXPECT_EQ(MarkedTexts(View::Flash), (QStringList{"1234", "78"}));
  views_.MarkDifferences(View::Flash, {At(1, 6, 4), At(1, 11, 40), At(400, 0, 1)});
  EXPECT_EQ(MarkedTexts(View::Flash), QStringList{"1234"}) << "the text has no other such place";
}

TEST_F(DifferenceMarks, GoFromBothMemoriesWithANewTextOfOne) {
  const auto expect_none = [this] {
    EXPECT_TRUE(MarkedTexts(View::Flash).isEmpty());
    EXPECT_TRUE(MarkedTexts(View::Eeprom).isEmpty());
    EXPECT_EQ(LineAfter(), -1);
  };
  MarkInBoth();
  views_.Load(View::Flash, "/app/avrhex.txt");
  expect_none();
  MarkInBoth();
  views_.ShowText(View::Eeprom, "text");
  expect_none();
  views_.Load(View::Eeprom, "/app/avrhex.txt");
  MarkInBoth();
  views_.ClearDifferences();
  expect_none();
  MarkInBoth();
  files_.Files["/app/avrvfy.txt"] = "report";
  views_.Load(View::Verify, "/app/avrvfy.txt");
  EXPECT_FALSE(MarkedTexts(View::Flash).isEmpty()) << "the report is no memory";
}

TEST_F(DifferenceMarks, AreGoneThroughByF3InBothDirections) {
  EXPECT_EQ(LineAfter(), -1) << "there is none";
  MarkInBoth();
  views_.ShowText(View::Verify, "report");
  views_.ShowReport();
  for (const int line : {150, 299, 300, 150}) EXPECT_EQ(LineAfter(), line);
  for (const int line : {300, 299, 150, 300}) EXPECT_EQ(LineAfter(Qt::ShiftModifier), line);
  window_.ViewOf(View::Flash)->close();
  EXPECT_EQ(LineAfter(), 150) << "a closed view comes back";
  MarkInBoth();
  EXPECT_EQ(LineAfter(Qt::ShiftModifier), 300) << "backwards the last comes first";
  MarkInBoth();
  EXPECT_EQ(LineAfter(), 150);
  EXPECT_EQ(TextOf(View::Flash)->accessibleDescription(), "note 150");
  views_.ClearDifferences();
  EXPECT_FALSE(TextOf(View::Flash)->textCursor().hasSelection());
  EXPECT_EQ(TextOf(View::Flash)->accessibleDescription(), "");
}

TEST_F(DifferenceMarks, SayWhatTheyAreAboutWhereTheMouseRests) {
  MarkInBoth();
  EXPECT_EQ(TipAt(View::Flash, 150, 8), "note 150\nF3 : 次の違い、Shift+F3 : 前の違い");
  EXPECT_EQ(TipAt(View::Eeprom, 200, 12), "note 200\nF3 : 次の違い、Shift+F3 : 前の違い");
  EXPECT_EQ(TipAt(View::Flash, 150, 14), "");
  views_.ClearDifferences();
  EXPECT_EQ(TipAt(View::Flash, 150, 8), "");
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
