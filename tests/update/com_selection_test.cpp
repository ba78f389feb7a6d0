#include "update/com_selection.h"

#include "support/form_fakes.h"
#include "support/test_run.h"

namespace fenwright::update {
namespace {

using platform::ComFormButton;

const std::string kFailed = "ポートオープン失敗";
const std::string kNoPortText = "COM? のオープンに失敗しました。\rポート番号を再設定してください。";
const std::string kCom7Text = "COM7 のオープンに失敗しました。\rポート番号を再設定してください。";

/// On a scripted port, closed unless said otherwise, with nothing stored.
struct Selection : ScriptedRun {
  FakeComForm Form_;

  Selection() {
    Port.Close();
    Port.Log.clear();
    Settings = {};
    State.LinkError = 9;
  }
  void Load() { LoadComSelection(Context, Form_); }
  bool Ok(int index) {
    Form_.Index = index;
    return CommandOk(Context, Form_);
  }
};

struct SelectionTest : Test, Selection {};

/// On a board that answers.
struct SelectionOnBoard : BoardRun {
  FakeComForm Form_;
  SelectionOnBoard() : BoardRun("AT90S8515") {}
};

TEST_ON(SelectionTest, ComSelectionLoad, TheListHasTheUnknownPortAndTwentyNumbersInOrder) {
  Load();
  EXPECT_THAT(Form_.Items,
              ElementsAre("????", "COM1", "COM2", "COM3", "COM4", "COM5", "COM6", "COM7", "COM8",
                          "COM9", "COM10", "COM11", "COM12", "COM13", "COM14", "COM15", "COM16",
                          "COM17", "COM18", "COM19", "COM20"));
  EXPECT_THAT(Form_.Calls, ElementsAre("place"));
}

TEST_ON(SelectionTest, ComSelectionLoad,
        WithNothingStoredTheUnknownPortIsSelectedAndThePortLeftAlone) {
  Load();
  EXPECT_EQ(Form_.Index, 0);
  EXPECT_THAT(Port.Log, IsEmpty());
  EXPECT_EQ(State.LinkError, 9);
}

TEST_ON(SelectionTest, ComSelectionLoad, AStoredThreeSelectsCom3AndSetsItsNumberWithoutOpening) {
  Store("ComNox", "3");
  Load();
  EXPECT_EQ(Form_.Index, 3);
  EXPECT_THAT(Port.Log, ElementsAre("CommPort=3"));
  EXPECT_FALSE(Port.PortOpen());
}

TEST_ON(SelectionTest, ComSelectionLoad, LeavesAnEmptyLineInTheTrace) {
  Load();
  EXPECT_THAT(Trace(), ElementsAre(""));
}

TEST_ON(SelectionTest, ComSelectionLoad, AStoredNumberThatIsNoneSelectsTheUnknownPortAndSaysSo) {
  for (const char* value : {"21", "-1", "three", "", "3.5", "99999"}) {
    SCOPED_TRACE(value);
    Selection run;
    run.Store("ComNox", value);
    run.Load();
    EXPECT_EQ(run.Form_.Index, 0);
    EXPECT_THAT(run.Form_.Note, HasSubstr("\"" + std::string(value) + "\""));
    EXPECT_THAT(run.Port.Log, IsEmpty());
  }
}

TEST_ON(SelectionTest, ComSelectionOk, WithTheUnknownPortFailsAndLeavesThePortClosed) {
  Port.StartOpen();
  EXPECT_FALSE(Ok(0));
  EXPECT_THAT(Boxes.Boxes, ElementsAre(Box{MessageIcon::Critical, kFailed, kNoPortText}));
  EXPECT_EQ(State.LinkError, 1);
  EXPECT_THAT(Port.Log, ElementsAre("Close"));
  EXPECT_EQ(Stored("ComNox"), "(missing)");
  EXPECT_THAT(Form_.Calls, IsEmpty());
}

TEST_ON(SelectionTest, ComSelectionOk, SetsEveryPropertyAndOpensInThisOrder) {
  Port.OpenResult = {PortOpenStatus::Missing, "/dev/ttyUSB2", "no such device"};
  Ok(7);
  EXPECT_THAT(Port.Log,
              ElementsAre("CommPort=7", "Settings=57600,n,8,1", "Handshaking=0", "InputLen=0",
                          "RTSEnable=true", "RThreshold=1", "DiscardInput", "Open"));
}

TEST_ON(SelectionTest, ComSelectionOk, APortThatCannotBeOpenedIsReportedAndNothingIsStored) {
  Store("ComNox", "4");
  Port.OpenResult = {PortOpenStatus::Missing, "/dev/ttyUSB2", "no such device"};
  EXPECT_FALSE(Ok(7));
  EXPECT_THAT(Boxes.Boxes, ElementsAre(Box{MessageIcon::Critical, kFailed, kCom7Text}));
  EXPECT_EQ(State.LinkError, 1);
  EXPECT_EQ(Stored("ComNox"), "4");
  EXPECT_THAT(Form_.Calls, IsEmpty());
}

TEST_ON(SelectionTest, ComSelectionOk, TheNumberIsInTheStatusBarEvenWhenThePortCannotBeOpened) {
  Port.OpenResult = {PortOpenStatus::Busy, "/dev/ttyUSB2", "in use"};
  Ok(7);
  EXPECT_EQ(PanelText(Panel::Port), "COM7");
}

TEST_ON(SelectionTest, ComSelectionOk, TheCauseStandsInTheDialogsOwnLine) {
  Port.OpenResult = {PortOpenStatus::NoPermission, "/dev/ttyUSB2", "グループ dialout に入り"};
  Ok(7);
  EXPECT_EQ(Form_.Note, "グループ dialout に入り");
}

TEST_ON(SelectionTest, ComSelectionOk, StoresTheChoiceHidesAndChecksTheLinkBeforeItUnloads) {
  SelectionOnBoard run;
  run.Store("ComNox", "3");
  run.State.LinkError = 9;
  run.Form_.Index = 12;
  run.NewTrace();
  bool hidden = false;
  bool unloaded = false;
  run.Form_.OnHide = [&] {
    hidden = true;
    EXPECT_EQ(run.Stored("ComNox"), "12");
    EXPECT_TRUE(run.Port.PortOpen());
    EXPECT_EQ(run.NewTrace(), Texts{"COM12"});
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
  EXPECT_EQ(run.Wire, BoardRun::LinkCheckBytes(0x38));
  EXPECT_EQ(run.PanelText(Panel::Port), "COM12");
  EXPECT_TRUE(run.Port.PortOpen());
  EXPECT_TRUE(run.Boxes.Boxes.empty());
}

TEST_ON(SelectionTest, ComSelectionOk, AFailedLinkCheckIsNoFailureOfTheSelection) {
  Select(Context, "AT90S8515");
  Port.Expect("1B").Expect("3F").Expect("3F");
  EXPECT_TRUE(Ok(5));
  EXPECT_EQ(Dialog.Text,
            "ライターを検出できませんでした。使用可能な通信ポートを設定してください。");
  EXPECT_EQ(State.LinkError, 0);
  EXPECT_EQ(Stored("ComNox"), "5");
  EXPECT_THAT(Form_.Calls, ElementsAre("hide", "unload"));
}

TEST_ON(SelectionTest, ComSelectionOk, AnOpenPortIsClosedFirst) {
  SelectionOnBoard run;
  run.Port.Open();
  run.Form_.Index = 2;
  EXPECT_TRUE(CommandOk(run.Context, run.Form_));
  EXPECT_EQ(run.Port.CommPort(), 2);
}

TEST_ON(SelectionTest, ComSelectionCancel, TracesThatTheCheckWasNotMadeAndLeavesThePort) {
  Port.StartOpen();
  Store("ComNox", "4");
  CommandCancel(Context, Form_);
  EXPECT_THAT(Trace(), ElementsAre("ライター接続確認が終了していません。"));
  EXPECT_EQ(State.LinkError, 1);
  EXPECT_TRUE(Port.PortOpen());
  EXPECT_THAT(Port.Log, IsEmpty());
  EXPECT_EQ(Stored("ComNox"), "4");
  EXPECT_THAT(Form_.Calls, ElementsAre("unload"));
}

TEST_ON(SelectionTest, ComSelection, StaysAfterAFailureSoThatAnotherPortCanBeChosen) {
  SelectionOnBoard run;
  run.Form_.Steps = {{.Choice = 0}, {.Choice = 6}};
  EXPECT_EQ(SelectComPortCommand(run.Context, run.Form_), CommandEnding::Finished);
  EXPECT_THAT(run.Form_.Calls, ElementsAre("place", "wait", "wait", "hide", "unload"));
  EXPECT_THAT(run.Boxes.Texts(), ElementsAre(kNoPortText));
  EXPECT_EQ(run.Stored("ComNox"), "6");
}

TEST_ON(SelectionTest, ComSelection, CancelAfterAFailureLeavesThePortClosed) {
  Port.StartOpen();
  Form_.Steps = {{.Choice = 0}, {.Button = ComFormButton::Cancel}};
  SelectComPort(Context, Form_);
  EXPECT_FALSE(Port.PortOpen());
  EXPECT_EQ(State.LinkError, 1);
  EXPECT_THAT(Form_.Calls, ElementsAre("place", "wait", "wait", "unload"));
}

TEST_ON(SelectionTest, ComSelection, NoOtherCommandStartsWhileTheDialogIsOpen) {
  bool looked = false;
  Form_.WhileWaiting = [&] {
    looked = true;
    EXPECT_TRUE(State.CommandRunning);
    FakeComForm second;
    EXPECT_EQ(SelectComPortCommand(Context, second), CommandEnding::Refused);
    EXPECT_THAT(second.Calls, IsEmpty());
  };
  SelectComPortCommand(Context, Form_);
  EXPECT_TRUE(looked);
  EXPECT_FALSE(State.CommandRunning);
}

TEST_ON(SelectionTest, ComSelection, ATraceThatCannotBeWrittenEndsItWithTheDialogUnloaded) {
  Files.Refused = {"/app/_debug_avr.txt"};
  EXPECT_EQ(SelectComPortCommand(Context, Form_), CommandEnding::FileError);
  EXPECT_THAT(Form_.Calls, ElementsAre("place", "unload"));
  EXPECT_EQ(Boxes.Boxes.size(), 1U);
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
