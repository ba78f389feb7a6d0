#include "core/status.h"

#include <gtest/gtest.h>

#include "core/command_end.h"
#include "core/recorded_run.h"

namespace fenwright::core {
namespace {

using screen::MessageMode;
using screen::Panel;
using testing::Journal;

class Status : public ::testing::Test {
 protected:
  testing::RecordedRun run_;
};

TEST_F(Status, ATextGoesToPanelOneByItselfAndIsTraced) {
  ShowStatus(run_.Context, "消去中");
  EXPECT_EQ(run_.PanelText(Panel::Status), "消去中");
  EXPECT_EQ(run_.State.StatusText, "消去中");
  EXPECT_EQ(run_.NewTrace(), std::vector<std::string>{"消去中"});
}

TEST_F(Status, EveryPanelsTextIsTraced) {
  ShowStatus(run_.Context, Panel::Status, "a");
  ShowStatus(run_.Context, Panel::Signature, "--:--:--");
  ShowStatus(run_.Context, Panel::BoardVersion, "b");
  ShowStatus(run_.Context, Panel::Port, "COM3");
  ShowStatus(run_.Context, Panel::Elapsed, "7秒");
  EXPECT_EQ(run_.NewTrace(), (std::vector<std::string>{"a", "--:--:--", "b", "COM3", "7秒"}));
  EXPECT_EQ(run_.TakeJournal(),
            (Journal{"panel 1 a", "append /app/_debug_avr.txt", "panel 2 --:--:--",
                     "append /app/_debug_avr.txt", "panel 3 b", "append /app/_debug_avr.txt",
                     "panel 4 COM3", "append /app/_debug_avr.txt", "panel 5 7秒",
                     "append /app/_debug_avr.txt"}));
}

TEST_F(Status, AnEmptyTextClearsThePanelAndIsTracedToo) {
  ShowStatus(run_.Context, Panel::Elapsed, "");
  EXPECT_EQ(run_.PanelText(Panel::Elapsed), "");
  EXPECT_EQ(run_.NewTrace(), std::vector<std::string>{""});
}

TEST_F(Status, TheOtherPanelsLeaveTheStatusTextAlone) {
  ShowStatus(run_.Context, "first");
  ShowStatus(run_.Context, Panel::Elapsed, "3秒");
  EXPECT_EQ(run_.State.StatusText, "first");
}

TEST_F(Status, AMessageIsShownFirstAndTracedAfterwards) {
  ShowMessage(run_.Context, "読み出し中", MessageMode::Busy);
  EXPECT_EQ(run_.TakeJournal(), (Journal{"dialog 読み出し中", "append /app/_debug_avr.txt"}));
  EXPECT_EQ(run_.NewTrace(), std::vector<std::string>{"読み出し中"});
  EXPECT_EQ(run_.State.MessageText, "読み出し中");
}

TEST_F(Status, AMessageKeepsTheModeItIsAskedFor) {
  ShowMessage(run_.Context, "a", MessageMode::Busy);
  EXPECT_EQ(run_.Dialog.Mode, MessageMode::Busy);
  ShowMessage(run_.Context, "b", MessageMode::Notice);
  EXPECT_EQ(run_.Dialog.Mode, MessageMode::Notice);
  ShowMessage(run_.Context, "c", MessageMode::Choice);
  EXPECT_EQ(run_.Dialog.Mode, MessageMode::Choice);
}

TEST_F(Status, AMessageDoesNotTouchTheStatusBar) {
  ShowMessage(run_.Context, "text", MessageMode::Notice);
  EXPECT_TRUE(run_.StatusBar.History.empty());
  EXPECT_EQ(run_.State.StatusText, "");
}

TEST_F(Status, AResultIsTracedAsStatusAndThenAsNotice) {
  ReportResult(run_.Context, "終了");
  EXPECT_EQ(run_.TakeJournal(), (Journal{"panel 1 終了", "append /app/_debug_avr.txt",
                                         "dialog 終了", "append /app/_debug_avr.txt"}));
  EXPECT_EQ(run_.Dialog.Mode, MessageMode::Notice);
  EXPECT_EQ(run_.NewTrace(), (std::vector<std::string>{"終了", "終了"}));
}

TEST_F(Status, ATextWhoseTraceIsRefusedHasBeenShownAllTheSame) {
  run_.Files.Refused = {"/app/_debug_avr.txt"};
  EXPECT_THROW(ShowStatus(run_.Context, "shown"), CommandEnd);
  EXPECT_EQ(run_.PanelText(Panel::Status), "shown");
  EXPECT_THROW(ShowMessage(run_.Context, "message", MessageMode::Busy), CommandEnd);
  EXPECT_EQ(run_.Dialog.Text, "message");
}

}  // namespace
}  // namespace fenwright::core
