#include "update/com_selection.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/form_fakes.h"
#include "support/test_run.h"

namespace fenwright::update {
namespace {

using platform::PortOpenStatus;
using screen::ComFormButton;
using screen::MessageIcon;
using screen::Panel;
using ::testing::ElementsAre;
using testing::FakeComForm;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const std::string kFailed = "ポートオープン失敗";
const std::string kNoPortText = "COM? のオープンに失敗しました。\rポート番号を再設定してください。";
const std::string kCom7Text = "COM7 のオープンに失敗しました。\rポート番号を再設定してください。";

/// On a scripted port, closed unless said otherwise, with nothing stored.
struct Selection : testing::ScriptedRun {
  FakeComForm Form_;
  platform::MemorySettingsStore Empty;

  Selection() {
    Port.Close();
    Port.Log.clear();
    Settings = Empty;
    State.LinkError = 9;
  }
  void StorePort(const char* value) { Settings.Write("Settings", "ComNox", value); }
  [[nodiscard]] std::string StoredPort() const {
    return Settings.Read("Settings", "ComNox").value_or("(missing)");
  }
  void Load() { LoadComSelection(Context, Form_); }
  bool Ok(int index) {
    Form_.Index = index;
    return CommandOk(Context, Form_);
  }
};

/// On a board that answers.
struct SelectionOnBoard : testing::BoardRun {
  FakeComForm Form_;
  SelectionOnBoard() : BoardRun("AT90S8515") {}
};

TEST(ComSelectionLoad, TheListHasTheUnknownPortAndTwentyNumbersInOrder) {
  Selection run;
  run.Load();
  EXPECT_THAT(run.Form_.Items,
              ElementsAre("????", "COM1", "COM2", "COM3", "COM4", "COM5", "COM6", "COM7", "COM8",
                          "COM9", "COM10", "COM11", "COM12", "COM13", "COM14", "COM15", "COM16",
                          "COM17", "COM18", "COM19", "COM20"));
  EXPECT_THAT(run.Form_.Calls, ElementsAre("place"));
}

TEST(ComSelectionLoad, WithNothingStoredTheUnknownPortIsSelectedAndThePortLeftAlone) {
  Selection run;
  run.Load();
  EXPECT_EQ(run.Form_.Index, 0);
  EXPECT_THAT(run.Port.Log, IsEmpty());
  EXPECT_EQ(run.State.LinkError, 9);
}

TEST(ComSelectionLoad, AStoredThreeSelectsCom3AndSetsItsNumberWithoutOpening) {
  Selection run;
  run.StorePort("3");
  run.Load();
  EXPECT_EQ(run.Form_.Index, 3);
  EXPECT_THAT(run.Port.Log, ElementsAre("CommPort=3"));
  EXPECT_FALSE(run.Port.PortOpen());
}

TEST(ComSelectionLoad, LeavesAnEmptyLineInTheTrace) {
  Selection run;
  run.Load();
  EXPECT_THAT(run.Trace(), ElementsAre(""));
}

TEST(ComSelectionLoad, AStoredNumberThatIsNoneSelectsTheUnknownPortAndSaysSo) {
  for (const char* value : {"21", "-1", "three", "", "3.5", "99999"}) {
    SCOPED_TRACE(value);
    Selection run;
    run.StorePort(value);
    run.Load();
    EXPECT_EQ(run.Form_.Index, 0);
    EXPECT_THAT(run.Form_.Note, HasSubstr("\"" + std::string(value) + "\""));
    EXPECT_THAT(run.Port.Log, IsEmpty());
  }
}

TEST(ComSelectionOk, WithTheUnknownPortFailsAndLeavesThePortClosed) {
  Selection run;
  run.Port.StartOpen();
  EXPECT_FALSE(run.Ok(0));
  ASSERT_EQ(run.Boxes.Boxes.size(), 1U);
  EXPECT_EQ(run.Boxes.Boxes[0].Icon, MessageIcon::Critical);
  EXPECT_EQ(run.Boxes.Boxes[0].Title, kFailed);
  EXPECT_EQ(run.Boxes.Boxes[0].Text, kNoPortText);
  EXPECT_EQ(run.State.LinkError, 1);
  EXPECT_THAT(run.Port.Log, ElementsAre("Close"));
  EXPECT_EQ(run.StoredPort(), "(missing)");
  EXPECT_THAT(run.Form_.Calls, IsEmpty());
}

TEST(ComSelectionOk, SetsEveryPropertyAndOpensInThisOrder) {
  Selection run;
  run.Port.OpenResult = {PortOpenStatus::Missing, "/dev/ttyUSB2", "no such device"};
  run.Ok(7);
  EXPECT_THAT(run.Port.Log,
              ElementsAre("CommPort=7", "Settings=57600,n,8,1", "Handshaking=0", "InputLen=0",
                          "RTSEnable=true", "RThreshold=1", "DiscardInput", "Open"));
}

TEST(ComSelectionOk, APortThatCannotBeOpenedIsReportedAndNothingIsStored) {
  Selection run;
  run.StorePort("4");
  run.Port.OpenResult = {PortOpenStatus::Missing, "/dev/ttyUSB2", "no such device"};
  EXPECT_FALSE(run.Ok(7));
  ASSERT_EQ(run.Boxes.Boxes.size(), 1U);
  EXPECT_EQ(run.Boxes.Boxes[0].Icon, MessageIcon::Critical);
  EXPECT_EQ(run.Boxes.Boxes[0].Title, kFailed);
  EXPECT_EQ(run.Boxes.Boxes[0].Text, kCom7Text);
  EXPECT_EQ(run.State.LinkError, 1);
  EXPECT_EQ(run.StoredPort(), "4");
  EXPECT_THAT(run.Form_.Calls, IsEmpty());
}

TEST(ComSelectionOk, TheNumberIsInTheStatusBarEvenWhenThePortCannotBeOpened) {
  Selection run;
  run.Port.OpenResult = {PortOpenStatus::Busy, "/dev/ttyUSB2", "in use"};
  run.Ok(7);
  EXPECT_EQ(run.PanelText(Panel::Port), "COM7");
}

TEST(ComSelectionOk, TheCauseStandsInTheDialogsOwnLine) {
  Selection run;
  run.Port.OpenResult = {PortOpenStatus::NoPermission, "/dev/ttyUSB2", "グループ dialout に入り"};
  run.Ok(7);
  EXPECT_EQ(run.Form_.Note, "グループ dialout に入り");
}

TEST(ComSelectionOk, StoresTheChoiceHidesAndChecksTheLinkBeforeItUnloads) {
  SelectionOnBoard run;
  run.Settings.Write("Settings", "ComNox", "3");
  run.State.LinkError = 9;
  run.Form_.Index = 12;
  run.NewTrace();
  bool hidden = false;
  bool unloaded = false;
  run.Form_.OnHide = [&] {
    hidden = true;
    EXPECT_EQ(run.Settings.Read("Settings", "ComNox"), "12");
    EXPECT_TRUE(run.Port.PortOpen());
    EXPECT_EQ(run.NewTrace(), std::vector<std::string>{"COM12"});
  };
  run.Form_.OnUnload = [&] {
    unloaded = true;
    EXPECT_EQ(run.State.LinkError, 0);
    EXPECT_EQ(run.PanelText(Panel::BoardVersion), "KV-LOD350  V6.38");
  };
  EXPECT_TRUE(CommandOk(run.Context, run.Form_));
  EXPECT_TRUE(hidden);
  EXPECT_TRUE(unloaded);
  EXPECT_THAT(run.Form_.Calls, ElementsAre("hide", "unload"));
  EXPECT_EQ(run.Wire, testing::BoardRun::LinkCheckBytes(0x38));
  EXPECT_EQ(run.PanelText(Panel::Port), "COM12");
  EXPECT_TRUE(run.Port.PortOpen());
  EXPECT_TRUE(run.Boxes.Boxes.empty());
}

TEST(ComSelectionOk, AFailedLinkCheckIsNoFailureOfTheSelection) {
  Selection run;
  run.Select(run.Context, "AT90S8515");
  run.Port.Expect("1B").Expect("3F").Expect("3F");
  EXPECT_TRUE(run.Ok(5));
  EXPECT_EQ(run.Dialog.Text,
            "ライターを検出できませんでした。使用可能な通信ポートを設定してください。");
  EXPECT_EQ(run.State.LinkError, 0);
  EXPECT_EQ(run.StoredPort(), "5");
  EXPECT_THAT(run.Form_.Calls, ElementsAre("hide", "unload"));
}

TEST(ComSelectionOk, AnOpenPortIsClosedFirst) {
  SelectionOnBoard run;
  run.Port.Open();
  run.Form_.Index = 2;
  EXPECT_TRUE(CommandOk(run.Context, run.Form_));
  EXPECT_EQ(run.Port.CommPort(), 2);
}

TEST(ComSelectionCancel, TracesThatTheCheckWasNotMadeAndLeavesThePort) {
  Selection run;
  run.Port.StartOpen();
  run.StorePort("4");
  CommandCancel(run.Context, run.Form_);
  EXPECT_THAT(run.Trace(), ElementsAre("ライター接続確認が終了していません。"));
  EXPECT_EQ(run.State.LinkError, 1);
  EXPECT_TRUE(run.Port.PortOpen());
  EXPECT_THAT(run.Port.Log, IsEmpty());
  EXPECT_EQ(run.StoredPort(), "4");
  EXPECT_THAT(run.Form_.Calls, ElementsAre("unload"));
}

TEST(ComSelection, StaysAfterAFailureSoThatAnotherPortCanBeChosen) {
  SelectionOnBoard run;
  run.Form_.Steps = {{.Choice = 0}, {.Choice = 6}};
  EXPECT_EQ(SelectComPortCommand(run.Context, run.Form_), core::CommandEnding::Finished);
  EXPECT_THAT(run.Form_.Calls, ElementsAre("place", "wait", "wait", "hide", "unload"));
  ASSERT_EQ(run.Boxes.Boxes.size(), 1U);
  EXPECT_EQ(run.Boxes.Boxes[0].Text, kNoPortText);
  EXPECT_EQ(run.Settings.Read("Settings", "ComNox"), "6");
}

TEST(ComSelection, CancelAfterAFailureLeavesThePortClosed) {
  Selection run;
  run.Port.StartOpen();
  run.Form_.Steps = {{.Choice = 0}, {.Button = ComFormButton::Cancel}};
  SelectComPort(run.Context, run.Form_);
  EXPECT_FALSE(run.Port.PortOpen());
  EXPECT_EQ(run.State.LinkError, 1);
  EXPECT_THAT(run.Form_.Calls, ElementsAre("place", "wait", "wait", "unload"));
}

TEST(ComSelection, NoOtherCommandStartsWhileTheDialogIsOpen) {
  Selection run;
  bool looked = false;
  run.Form_.WhileWaiting = [&] {
    looked = true;
    EXPECT_TRUE(run.State.CommandRunning);
    FakeComForm second;
    EXPECT_EQ(SelectComPortCommand(run.Context, second), core::CommandEnding::Refused);
    EXPECT_THAT(second.Calls, IsEmpty());
  };
  SelectComPortCommand(run.Context, run.Form_);
  EXPECT_TRUE(looked);
  EXPECT_FALSE(run.State.CommandRunning);
}

TEST(ComSelection, ATraceThatCannotBeWrittenEndsItWithTheDialogUnloaded) {
  Selection run;
  run.Files.Refused = {"/app/_debug_avr.txt"};
  EXPECT_EQ(SelectComPortCommand(run.Context, run.Form_), core::CommandEnding::FileError);
  EXPECT_THAT(run.Form_.Calls, ElementsAre("place", "unload"));
  EXPECT_EQ(run.Boxes.Boxes.size(), 1U);
}

TEST(DescribePort, NamesDeviceAndAdapter) {
  EXPECT_EQ(DescribePort({.Number = 5,
                          .Path = "/dev/ttyUSB0",
                          .Description = "FTDI FT232R",
                          .State = platform::PortState::Usable}),
            "/dev/ttyUSB0 : FTDI FT232R、使用できます。");
  EXPECT_EQ(DescribePort({.Number = 1, .Path = "/dev/ttyS0", .State = platform::PortState::Usable}),
            "/dev/ttyS0 : 使用できます。");
}

TEST(DescribePort, SaysWhyAPortCannotBeUsed) {
  EXPECT_EQ(DescribePort({.Number = 5,
                          .Path = "/dev/ttyUSB0",
                          .Description = "FTDI FT232R",
                          .State = platform::PortState::Busy,
                          .Reason = "使用中です。"}),
            "FTDI FT232R : 使用中です。");
  EXPECT_EQ(DescribePort({.Number = 6}), "このポートのデバイスはありません。");
}

}  // namespace
}  // namespace fenwright::update
