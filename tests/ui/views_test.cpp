#include <QLayout>

#include "platform/system/code_page.h"
#include "ui/main_window.h"
#include "ui/qt_views.h"
#include "ui/window_bench.h"

namespace fenwright::ui {
namespace {

class ViewsTest : public Test {
 protected:
  ViewsTest() {
    window_.show();
    QApplication::processEvents();
  }

  QPlainTextEdit* TextOf(View view) { return window_.ViewOf(view)->TextControl(); }

  void ShowLines(int count) {
    std::string content;
    for (int line = 0; line < count; ++line) content += "line " + std::to_string(line) + "\r\n";
    Show(View::Flash, content);
  }
  void Show(View view, const std::string& content) {
    files_.Files["/app/dump.txt"] = content;
    views_.Load(view, "/app/dump.txt");
  }

  core::AppState state_;
  MainWindow window_{state_};
  FakeTextFiles files_;
  platform::Cp932CodePage code_page_;
  QtViews views_{window_, files_, code_page_};
};

TEST_F(ViewsTest, EachViewHasItsNamesAndAReadOnlyTextWithoutWrapping) {
  for (const char* name : {"frmProgram", "frmEEprom", "frmVerify"}) Find<ViewWindow>(window_, name);
  for (const char* name : {"txtPrg", "txtEEp", "rtVerify"}) {
    auto* text = Find<QPlainTextEdit>(window_, name);
    EXPECT_TRUE(text->isReadOnly());
    EXPECT_EQ(text->lineWrapMode(), QPlainTextEdit::NoWrap);
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
  Show(View::Flash, flash);
  Show(View::Eeprom, eeprom);
  QApplication::processEvents();
  for (const View view : {View::Flash, View::Eeprom}) {
    EXPECT_GT(TextOf(view)->verticalScrollBar()->maximum(), 0);
    EXPECT_EQ(TextOf(view)->horizontalScrollBar()->maximum(), 0);
  }
}

TEST_F(ViewsTest, TheCp932Code165IsShownAsTheHalfWidthMiddleDot) {
  Show(View::Flash, "0000: FFFF \xA5\xA5\r\n");
  EXPECT_EQ(TextOf(View::Flash)->toPlainText(), "0000: FFFF ･･\n");
}

TEST_F(ViewsTest, AFileThatCannotBeReadLeavesTheViewEmpty) {
  ShowLines(3);
  views_.Load(View::Flash, "/app/missing.txt");
  EXPECT_EQ(TextOf(View::Flash)->toPlainText(), "");
}

TEST_F(ViewsTest, ClearingEmptiesOneView) {
  ShowLines(3);
  Show(View::Eeprom, "line\r\n");
  views_.Clear(View::Flash);
  EXPECT_EQ(TextOf(View::Flash)->toPlainText(), "");
  EXPECT_NE(TextOf(View::Eeprom)->toPlainText(), "");
}

TEST_F(ViewsTest, AReloadKeepsThePartInSight) {
  ShowLines(500);
  QApplication::processEvents();
  TextOf(View::Flash)->verticalScrollBar()->setValue(123);
  views_.Load(View::Flash, "/app/dump.txt");
  QApplication::processEvents();
  EXPECT_EQ(TextOf(View::Flash)->verticalScrollBar()->value(), 123);
}

TEST_F(ViewsTest, AShorterTextIsShownToItsEnd) {
  ShowLines(500);
  QScrollBar* bar = TextOf(View::Flash)->verticalScrollBar();
  bar->setValue(400);
  ShowLines(50);
  QApplication::processEvents();
  EXPECT_EQ(bar->value(), bar->maximum());
  EXPECT_LT(bar->value(), 51);
}

TEST_F(ViewsTest, LoadingTheVerifyViewShowsIt) {
  Show(View::Verify, "report");
  EXPECT_TRUE(window_.ViewOf(View::Verify)->isVisible());
  EXPECT_EQ(TextOf(View::Verify)->toPlainText(), "report");
}

TEST_F(ViewsTest, AClosedViewIsHiddenAndCanBeLoadedAndShownAgain) {
  Show(View::Verify, "report");
  window_.ViewOf(View::Verify)->close();
  EXPECT_FALSE(window_.ViewOf(View::Verify)->isVisible());
  Show(View::Verify, "report");
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
  EXPECT_LE(view->TextControl()->height(), 1);
  view->resize(360, 267);
  QApplication::processEvents();
  EXPECT_EQ(view->TextControl()->geometry(), view->contentsRect());
}

}  // namespace
}  // namespace fenwright::ui
