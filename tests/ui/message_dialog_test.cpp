
#include "ui/main_window.h"
#include "ui/qt_message_dialog.h"
#include "ui/window_bench.h"
#include "ui/wrapped_label.h"

namespace fenwright::ui {
namespace {

class MessageDialogTest : public Test {
 protected:
  MessageDialogTest() { window_.show(); }

  QPushButton* Button(const char* name) { return Find<QPushButton>(dialog_, name); }
  QString Text() { return Find<QLabel>(dialog_, "txtMsg")->text(); }
  QProgressBar* Bar() { return Find<QProgressBar>(dialog_, "ProgBar"); }

  /// "sm-" style picture of what can be seen: oks, okm, cancels, bar.
  std::string Visible() {
    std::string picture;
    for (const char* name : {"Cmd_oks", "Cmd_okm", "Cmd_cancels"}) {
      if (Button(name)->isVisible()) picture += std::string(name) + " ";
    }
    if (Bar()->isVisible()) picture += "ProgBar ";
    return picture;
  }

  core::AppState state_;
  testing::FakeTextFiles files_;
  platform::Cp932CodePage code_page_;
  MainWindow window_{state_, files_, code_page_};
  QtMessageDialog dialog_{window_, state_};
};

TEST_F(MessageDialogTest, NothingIsShownBeforeTheFirstMessage) {
  EXPECT_FALSE(dialog_.isVisible());
  EXPECT_FALSE(dialog_.IsBusy());
  EXPECT_EQ(state_.CancelRequested, 0);
}

TEST_F(MessageDialogTest, ABusyMessageHasTheBarAndNoButton) {
  dialog_.Show("フラッシュメモリ ベリファイ中.....", MessageMode::Busy);
  EXPECT_TRUE(dialog_.isVisible());
  EXPECT_EQ(Text(), "フラッシュメモリ ベリファイ中.....");
  EXPECT_EQ(Visible(), "ProgBar ");
  EXPECT_TRUE(dialog_.IsBusy());
}

TEST_F(MessageDialogTest, ANoticeHasOneOkButtonWithTheFocusAndNoBar) {
  dialog_.Show("busy", MessageMode::Busy);
  dialog_.Show("ready", MessageMode::Notice);
  EXPECT_EQ(Visible(), "Cmd_okm ");
  EXPECT_EQ(dialog_.focusWidget(), Button("Cmd_okm"));
  EXPECT_FALSE(dialog_.IsBusy());
}

TEST_F(MessageDialogTest, AChoiceHasOkAndCancel) {
  dialog_.Show("?", MessageMode::Choice);
  EXPECT_EQ(Visible(), "Cmd_oks Cmd_cancels ");
  EXPECT_FALSE(dialog_.IsBusy());
}

TEST_F(MessageDialogTest, ABusyMessageAfterANoticeHidesTheButtonAgain) {
  dialog_.Show("ready", MessageMode::Notice);
  dialog_.Show("busy", MessageMode::Busy);
  EXPECT_EQ(Visible(), "ProgBar ");
}

TEST_F(MessageDialogTest, ButtonsAreCaptionedOkAndCancel) {
  EXPECT_EQ(Button("Cmd_oks")->text(), "OK");
  EXPECT_EQ(Button("Cmd_okm")->text(), "OK");
  EXPECT_EQ(Button("Cmd_cancels")->text(), "CANCEL");
}

TEST_F(MessageDialogTest, EachButtonRecordsItsMeaningAndUnloadsTheDialog) {
  const auto press = [this](const char* name, MessageMode mode) {
    dialog_.Show("text", mode);
    QTest::mouseClick(Button(name), Qt::LeftButton);
    EXPECT_FALSE(dialog_.isVisible()) << name;
    return state_.CancelRequested;
  };
  EXPECT_EQ(press("Cmd_oks", MessageMode::Choice), 1);
  EXPECT_EQ(press("Cmd_cancels", MessageMode::Choice), 2);
  EXPECT_EQ(press("Cmd_okm", MessageMode::Notice), 1);
}

TEST_F(MessageDialogTest, TheRecordedMeaningIsNeverReset) {
  dialog_.Show("?", MessageMode::Choice);
  QTest::mouseClick(Button("Cmd_cancels"), Qt::LeftButton);
  dialog_.Show("busy", MessageMode::Busy);
  dialog_.Close();
  EXPECT_EQ(state_.CancelRequested, 2);
}

TEST_F(MessageDialogTest, ClosingByTheTitleBarIsCancel) {
  dialog_.Show("busy", MessageMode::Busy);
  dialog_.close();
  EXPECT_FALSE(dialog_.isVisible());
  EXPECT_EQ(state_.CancelRequested, 2);
}

TEST_F(MessageDialogTest, EscapeIsCancel) {
  dialog_.Show("busy", MessageMode::Busy);
  QTest::keyClick(&dialog_, Qt::Key_Escape);
  EXPECT_FALSE(dialog_.isVisible());
  EXPECT_EQ(state_.CancelRequested, 2);
}

TEST_F(MessageDialogTest, TheReturnKeyPressesTheOkButtonOfANotice) {
  dialog_.Show("ready", MessageMode::Notice);
  QTest::keyClick(dialog_.focusWidget(), Qt::Key_Return);
  EXPECT_FALSE(dialog_.isVisible());
  EXPECT_EQ(state_.CancelRequested, 1);
}

TEST_F(MessageDialogTest, ClosingByAnOperationRecordsNothing) {
  dialog_.Show("busy", MessageMode::Busy);
  dialog_.Close();
  EXPECT_FALSE(dialog_.isVisible());
  EXPECT_EQ(state_.CancelRequested, 0);
  dialog_.Close();
  EXPECT_EQ(state_.CancelRequested, 0);
}

TEST_F(MessageDialogTest, ItLoads500TwipsBelowTheTopAndAQuarterOfTheWidthIntoTheMainWindow) {
  window_.move(120, 80);
  window_.resize(800, 600);
  dialog_.Show("busy", MessageMode::Busy);
  EXPECT_EQ(dialog_.pos(), QPoint(120 + 200, 80 + 33));
  EXPECT_EQ(dialog_.parentWidget(), &window_);
  EXPECT_FALSE(dialog_.isModal());
}

TEST_F(MessageDialogTest, ADialogOnTheScreenStaysWhereTheUserHasPutIt) {
  dialog_.Show("one", MessageMode::Busy);
  dialog_.move(5, 6);
  dialog_.Show("two", MessageMode::Notice);
  EXPECT_EQ(dialog_.pos(), QPoint(5, 6));
  dialog_.Close();
  dialog_.Show("three", MessageMode::Busy);
  EXPECT_NE(dialog_.pos(), QPoint(5, 6));
}

TEST_F(MessageDialogTest, ACodeStandsBelowTheDetailUntilTheNextMessage) {
  const auto* const detail = Find<WrappedLabel>(dialog_, "lblDetail");
  dialog_.Show("failed", MessageMode::Notice);
  dialog_.SetDetail("why");
  dialog_.SetCode("wrong-chip");
  EXPECT_EQ(detail->text(), "why\nコード: wrong-chip");
  dialog_.SetDetail("");
  EXPECT_EQ(detail->text(), "コード: wrong-chip");
  EXPECT_TRUE(detail->isVisible());
  dialog_.Show("next", MessageMode::Notice);
  EXPECT_FALSE(detail->isVisible());
  dialog_.SetDetail("why");
  EXPECT_EQ(detail->text(), "why");
}

TEST_F(MessageDialogTest, ADialogClosedByTheUserIgnoresProgressUntilTheNextMessage) {
  dialog_.Show("busy", MessageMode::Busy);
  dialog_.SetProgressRange(100);
  dialog_.SetProgress(40);
  dialog_.close();
  dialog_.SetProgressRange(200);
  dialog_.SetProgress(60);
  dialog_.SetDetail("detail");
  dialog_.ShowButton();
  dialog_.FocusButton();
  EXPECT_FALSE(dialog_.isVisible());
  EXPECT_EQ(Bar()->value(), 40);
  dialog_.Show("next", MessageMode::Busy);
  EXPECT_TRUE(dialog_.isVisible());
  EXPECT_EQ(Bar()->value(), 0);
  dialog_.SetProgress(60);
  EXPECT_EQ(Bar()->value(), 60);
}

TEST_F(MessageDialogTest, ANewTextLoadsTheDialogAndKeepsItsMode) {
  dialog_.Show("busy", MessageMode::Busy);
  dialog_.close();
  dialog_.SetText("next");
  EXPECT_TRUE(dialog_.isVisible());
  EXPECT_EQ(Text(), "next");
  EXPECT_EQ(Visible(), "ProgBar ");
}

TEST_F(MessageDialogTest, ANewTextKeepsTheButtons) {
  dialog_.Show("ready", MessageMode::Notice);
  dialog_.SetText("more");
  EXPECT_EQ(Visible(), "Cmd_okm ");
}

TEST_F(MessageDialogTest, ATextThatLoadsTheDialogShowsItBusyWhateverItWasLast) {
  for (const MessageMode last : {MessageMode::Notice, MessageMode::Choice}) {
    dialog_.Show("finished", last);
    dialog_.SetDetail("detail of what has finished");
    dialog_.close();
    dialog_.SetText("next");
    EXPECT_EQ(Text(), "next");
    EXPECT_EQ(Visible(), "ProgBar ");
    EXPECT_TRUE(dialog_.IsBusy());
    EXPECT_FALSE(Find<QLabel>(dialog_, "lblDetail")->isVisible());
  }
}

TEST_F(MessageDialogTest, ANoticeThatIsLeftOnTheScreenTurnsBusyWithTheNextCommandsText) {
  dialog_.Show("finished", MessageMode::Notice);
  dialog_.SetDetail("detail of what has finished");
  window_.Run([this] {
    EXPECT_EQ(Visible(), "Cmd_okm ") << "a command without a text leaves it alone";
    dialog_.SetText("next");
    EXPECT_EQ(Visible(), "ProgBar ");
    EXPECT_FALSE(Find<QLabel>(dialog_, "lblDetail")->isVisible());
    dialog_.Show("failed", MessageMode::Notice);
    dialog_.SetText("more");
    EXPECT_EQ(Visible(), "Cmd_okm ") << "the command's own notice";
  });
}

TEST_F(MessageDialogTest, ProgressLoadsTheDialogBusyAndWithoutTheLastText) {
  dialog_.Show("finished", MessageMode::Notice);
  dialog_.Close();
  dialog_.SetProgressRange(200);
  EXPECT_EQ(Text(), "");
  EXPECT_EQ(Visible(), "ProgBar ");
  EXPECT_EQ(Bar()->maximum(), 200);
  dialog_.Close();
  dialog_.SetProgress(30);
  EXPECT_EQ(Visible(), "ProgBar ");
  EXPECT_EQ(Bar()->value(), 30);
}

TEST_F(MessageDialogTest, TheProgressOfADialogClosedByTheUserShowsInTheStatusBarUntilTheNextOne) {
  const auto* bar = Find<QProgressBar>(window_, "sbProgress");
  const auto close_and_go_on = [&] {
    dialog_.Show("busy", MessageMode::Busy);
    dialog_.SetProgressRange(200);
    dialog_.SetProgress(20);
    EXPECT_FALSE(bar->isVisible());
    dialog_.close();
    EXPECT_FALSE(bar->isVisible()) << "nothing moves";
    dialog_.SetProgress(60);
    EXPECT_FALSE(dialog_.isVisible());
    EXPECT_TRUE(bar->isVisible());
    EXPECT_EQ(bar->value(), 30) << "in per cent";
    dialog_.SetProgressRange(400);
    dialog_.SetProgress(400);
    EXPECT_EQ(bar->value(), 100);
    EXPECT_EQ(bar->maximum(), 100);
  };
  close_and_go_on();
  dialog_.Show("next", MessageMode::Busy);
  EXPECT_FALSE(bar->isVisible());
  close_and_go_on();
  dialog_.SetText("next");
  EXPECT_FALSE(bar->isVisible());
  close_and_go_on();
  dialog_.Close();
  EXPECT_FALSE(bar->isVisible());
  window_.Run(close_and_go_on);
  EXPECT_FALSE(bar->isVisible()) << "the command is over";
}

TEST_F(MessageDialogTest, ARangeSetWhileTheUserHasTheDialogClosedCountsForTheNextMessage) {
  dialog_.Show("busy", MessageMode::Busy);
  dialog_.close();
  dialog_.SetProgressRange(4096);
  dialog_.Show("next", MessageMode::Busy);
  EXPECT_EQ(Bar()->maximum(), 4096);
  dialog_.Close();
  dialog_.Show("later", MessageMode::Busy);
  EXPECT_EQ(Bar()->maximum(), 100);
}

TEST_F(MessageDialogTest, AButtonCanBeGivenToABusyDialog) {
  dialog_.Show("busy", MessageMode::Busy);
  dialog_.ShowButton();
  dialog_.FocusButton();
  EXPECT_EQ(Visible(), "Cmd_okm ProgBar ");
  EXPECT_EQ(dialog_.focusWidget(), Button("Cmd_okm"));
  EXPECT_FALSE(dialog_.IsBusy());
}

TEST_F(MessageDialogTest, TheDetailGoesWithItsMessage) {
  auto* detail = Find<QLabel>(dialog_, "lblDetail");
  dialog_.Show("failed", MessageMode::Notice);
  EXPECT_FALSE(detail->isVisible());
  dialog_.SetDetail("消去してから、もう一度プログラムしてください。");
  EXPECT_TRUE(detail->isVisible());
  dialog_.Show("next", MessageMode::Busy);
  EXPECT_FALSE(detail->isVisible());
  EXPECT_EQ(detail->text(), "");
}

TEST_F(MessageDialogTest, TheBarIsTouchedOnlyWhenItLooksDifferent) {
  dialog_.Show("busy", MessageMode::Busy);
  dialog_.SetProgressRange(4095);
  int touched = 0;
  QObject::connect(Bar(), &QProgressBar::valueChanged, &dialog_, [&touched] { ++touched; });
  for (int value = 0; value <= 4095; ++value) dialog_.SetProgress(value);
  EXPECT_EQ(Bar()->value(), 4095);
  EXPECT_GT(touched, 50);
  EXPECT_LE(touched, Bar()->width() + 101);
}

TEST_F(MessageDialogTest, ValuesOutsideTheRangeAreHeldAtItsEnds) {
  dialog_.Show("busy", MessageMode::Busy);
  dialog_.SetProgressRange(10);
  dialog_.SetProgress(11);
  EXPECT_EQ(Bar()->value(), 10);
  dialog_.SetProgress(-1);
  EXPECT_EQ(Bar()->value(), 0);
}

TEST_F(MessageDialogTest, AnEmptyRangeDoesNotTurnTheBarIntoAnEndlessOne) {
  dialog_.Show("busy", MessageMode::Busy);
  dialog_.SetProgressRange(0);
  EXPECT_EQ(Bar()->maximum(), 1);
}

TEST_F(MessageDialogTest, PhaseAndPerCentStandAroundTheBarOfABusyDialogAlone) {
  const auto* phase = Find<QLabel>(dialog_, "lblPhase");
  const auto* text = Find<QLabel>(dialog_, "lblProgress");
  dialog_.Show("busy", MessageMode::Busy);
  dialog_.SetPhase("2 / 4 : フラッシュの書き込み");
  dialog_.SetProgressRange(200);
  dialog_.SetProgress(90);
  EXPECT_TRUE(phase->isVisible());
  EXPECT_EQ(phase->text(), "2 / 4 : フラッシュの書き込み");
  EXPECT_EQ(phase->accessibleDescription(), phase->text());
  EXPECT_EQ(text->text(), "45 %");
  EXPECT_EQ(text->accessibleDescription(), "45 %");
  const int height = dialog_.height();
  dialog_.Show("next", MessageMode::Busy);
  EXPECT_EQ(phase->text(), "") << "the next message is about something else";
  EXPECT_EQ(text->text(), "45 %") << "its range comes with it";
  dialog_.SetProgressRange(10);
  EXPECT_EQ(text->text(), "0 %");
  EXPECT_EQ(dialog_.height(), height) << "there is room for a phase";
  for (const MessageMode mode : {MessageMode::Notice, MessageMode::Choice}) {
    dialog_.Show("text", mode);
    EXPECT_FALSE(phase->isVisible());
    EXPECT_FALSE(text->isVisible());
  }
}

TEST_F(MessageDialogTest, TheLongestProgressTextsFit) {
  dialog_.Show("busy", MessageMode::Busy);
  dialog_.SetPhase("3 / 3 : ヒューズとロックビットの読み出し");
  QApplication::processEvents();
  for (const auto& [name, longest] :
       {std::pair{"lblPhase", QString("3 / 3 : ヒューズとロックビットの読み出し")},
        std::pair{"lblProgress", QString("100 %   残り 約 59 分 59 秒")}}) {
    const auto* label = Find<QLabel>(dialog_, name);
    EXPECT_LE(label->fontMetrics().horizontalAdvance(longest), label->contentsRect().width())
        << name;
    EXPECT_LE(label->fontMetrics().height(), label->height()) << name;
  }
}

TEST_F(MessageDialogTest, RemainingTimeAndPhaseGoOnInTheStatusBar) {
  const auto* text = Find<QLabel>(window_, "sbProgressText");
  dialog_.Show("busy", MessageMode::Busy);
  dialog_.SetPhase("2 / 4 : フラッシュの書き込み");
  dialog_.SetProgressRange(200);
  dialog_.SetProgress(20);
  dialog_.close();
  dialog_.SetProgress(60);
  EXPECT_TRUE(text->isVisible());
  EXPECT_EQ(text->text(), "30 %");
  EXPECT_EQ(text->toolTip(), "2 / 4 : フラッシュの書き込み");
  EXPECT_EQ(Find<QProgressBar>(window_, "sbProgress")->toolTip(), text->toolTip());
  QTest::qWait(1100);
  dialog_.SetProgress(62);
  EXPECT_TRUE(text->text().startsWith("31 %   残り 約 ")) << text->text().toStdString();
  EXPECT_EQ(text->accessibleDescription(), text->text());
  dialog_.Show("next", MessageMode::Busy);
  EXPECT_FALSE(text->isVisible());
}

TEST_F(MessageDialogTest, TheSignOfAnOutcomeLastsUntilTheNextMessage) {
  const auto* picture = Find<QLabel>(dialog_, "Picture1");
  dialog_.SetOutcome(screen::Outcome::Failure);
  EXPECT_EQ(picture->accessibleDescription(), "") << "nothing is on the screen";
  dialog_.Show("failed", MessageMode::Notice);
  const QImage plain = picture->pixmap().toImage();
  dialog_.SetOutcome(screen::Outcome::Failure);
  EXPECT_EQ(picture->accessibleDescription(), "失敗");
  EXPECT_NE(picture->pixmap().toImage(), plain);
  dialog_.SetDetail("detail");
  EXPECT_EQ(picture->accessibleDescription(), "失敗");
  dialog_.Show("ready", MessageMode::Notice);
  EXPECT_EQ(picture->accessibleDescription(), "");
  EXPECT_EQ(dialog_.accessibleDescription(), "");
  EXPECT_EQ(picture->pixmap().toImage(), plain);
}

TEST_F(MessageDialogTest, LongTextsAndPathsAreShownWhole) {
  const std::string path = "/home/user/" + std::string(300, 'x') + ".hex";
  dialog_.Show("再ロードするファイル名 ： " + path + "\r\n" + path, MessageMode::Notice);
  dialog_.SetDetail(path);
  QApplication::processEvents();
  auto* text = Find<WrappedLabel>(dialog_, "txtMsg");
  auto* detail = Find<WrappedLabel>(dialog_, "lblDetail");
  EXPECT_GE(text->height(), text->heightForWidth(text->width()));
  EXPECT_GE(detail->height(), detail->heightForWidth(detail->width()));
  EXPECT_GT(text->heightForWidth(text->width()), 8 * text->fontMetrics().height());
  for (const QWidget* child : {static_cast<QWidget*>(Button("Cmd_okm")),
                               static_cast<QWidget*>(text), static_cast<QWidget*>(detail)}) {
    EXPECT_TRUE(dialog_.rect().contains(child->geometry())) << child->objectName().toStdString();
  }
}

TEST_F(MessageDialogTest, ItGoesWithTheMainWindow) {
  dialog_.Show("ready", MessageMode::Notice);
  window_.close();
  EXPECT_FALSE(dialog_.isVisible());
  EXPECT_EQ(state_.CancelRequested, 0);
}

TEST_F(MessageDialogTest, EveryVisibleControlHasAnObjectNameAndAnAccessibleName) {
  dialog_.Show("text", MessageMode::Choice);
  dialog_.SetDetail("detail");
  for (const QWidget* child : dialog_.findChildren<QWidget*>()) {
    if (!child->isVisible()) continue;
    EXPECT_FALSE(child->objectName().isEmpty()) << child->metaObject()->className();
    EXPECT_FALSE(child->accessibleName().isEmpty()) << child->objectName().toStdString();
  }
}

}  // namespace
}  // namespace fenwright::ui
