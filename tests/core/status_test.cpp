#include "core/status.h"

#include "core/command_end.h"
#include "support/test_run.h"

namespace fenwright::core {
namespace {

struct Status : Test, RecordedRun {};

TEST_F(Status, ATextGoesToPanelOneByItselfAndIsTraced) {
  ShowStatus(Context, "消去中");
  EXPECT_EQ(PanelText(Panel::Status), "消去中");
  EXPECT_EQ(State.StatusText, "消去中");
  EXPECT_EQ(NewTrace(), Texts{"消去中"});
}

TEST_F(Status, EveryPanelsTextIsTraced) {
  ShowStatus(Context, Panel::Status, "a");
  ShowStatus(Context, Panel::Signature, "--:--:--");
  ShowStatus(Context, Panel::BoardVersion, "b");
  ShowStatus(Context, Panel::Port, "COM3");
  ShowStatus(Context, Panel::Elapsed, "7秒");
  EXPECT_EQ(NewTrace(), (Texts{"a", "--:--:--", "b", "COM3", "7秒"}));
  EXPECT_EQ(TakeJournal(),
            (Journal{"panel 1 a", "append /app/_debug_avr.txt", "panel 2 --:--:--",
                     "append /app/_debug_avr.txt", "panel 3 b", "append /app/_debug_avr.txt",
                     "panel 4 COM3", "append /app/_debug_avr.txt", "panel 5 7秒",
                     "append /app/_debug_avr.txt"}));
}

TEST_F(Status, AnEmptyTextClearsThePanelAndIsTracedToo) {
  ShowStatus(Context, Panel::Elapsed, "");
  EXPECT_EQ(PanelText(Panel::Elapsed), "");
  EXPECT_EQ(NewTrace(), Texts{""});
}

TEST_F(Status, TheOtherPanelsLeaveTheStatusTextAlone) {
  ShowStatus(Context, "first");
  ShowStatus(Context, Panel::Elapsed, "3秒");
  EXPECT_EQ(State.StatusText, "first");
}

TEST_F(Status, AMessageIsShownFirstAndTracedAfterwards) {
  ShowMessage(Context, "読み出し中", MessageMode::Busy);
  EXPECT_EQ(TakeJournal(), (Journal{"busy 読み出し中", "append /app/_debug_avr.txt"}));
  EXPECT_EQ(NewTrace(), Texts{"読み出し中"});
  EXPECT_EQ(State.MessageText, "読み出し中");
}

TEST_F(Status, AMessageKeepsTheModeItIsAskedFor) {
  ShowMessage(Context, "a", MessageMode::Busy);
  EXPECT_EQ(Dialog.Mode, MessageMode::Busy);
  ShowMessage(Context, "b", MessageMode::Notice);
  EXPECT_EQ(Dialog.Mode, MessageMode::Notice);
  ShowMessage(Context, "c", MessageMode::Choice);
  EXPECT_EQ(Dialog.Mode, MessageMode::Choice);
}

TEST_F(Status, AMessageDoesNotTouchTheStatusBar) {
  ShowMessage(Context, "text", MessageMode::Notice);
  EXPECT_TRUE(StatusBar.History.empty());
  EXPECT_EQ(State.StatusText, "");
}

TEST_F(Status, AResultIsTracedAsStatusAndThenAsNotice) {
  ReportResult(Context, "終了");
  EXPECT_EQ(TakeJournal(), (Journal{"panel 1 終了", "append /app/_debug_avr.txt", "notice 終了",
                                    "append /app/_debug_avr.txt"}));
  EXPECT_EQ(Dialog.Mode, MessageMode::Notice);
  EXPECT_EQ(NewTrace(), (Texts{"終了", "終了"}));
}

TEST_F(Status, ATextWhoseTraceIsRefusedHasBeenShownAllTheSame) {
  Files.Refused = {"/app/_debug_avr.txt"};
  EXPECT_THROW(ShowStatus(Context, "shown"), CommandEnd);
  EXPECT_EQ(PanelText(Panel::Status), "shown");
  EXPECT_THROW(ShowMessage(Context, "message", MessageMode::Busy), CommandEnd);
  EXPECT_EQ(Dialog.Text, "message");
}

}  // namespace
}  // namespace fenwright::core
