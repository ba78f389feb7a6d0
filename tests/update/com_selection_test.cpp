#include "update/com_selection.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ops/command.h"
#include "support/form_fakes.h"
#include "support/test_run.h"

namespace fenwright::update {
namespace {

using platform::PortOpenStatus;
using screen::ComFormButton;
using screen::MessageIcon;
using screen::Panel;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const std::string kFailed = "ポートオープン失敗";
const std::string kNoPortText = "COM? のオープンに失敗しました。\rポート番号を再設定してください。";
const std::string kCom7Text = "COM7 のオープンに失敗しました。\rポート番号を再設定してください。";

/// On a scripted port, closed unless said otherwise, with nothing stored.
struct Selection : testing::ScriptedRun {
  Selection() {
    Port.Close();
    Port.Log.clear();
    Settings = {};
    State.LinkError = 9;
  }
  void StorePort(const char* value) { Settings.Write("Settings", "ComNox", value); }
  [[nodiscard]] std::string StoredPort() const {
    return Settings.Read("Settings", "ComNox").value_or("(missing)");
  }
  void Load() { LoadComSelection(Context); }
  bool Ok(int index) {
    ComForm.Index = index;
    return Command_ok_Click(Context);
  }
};

/// On a board that answers.
struct SelectionOnBoard : testing::BoardRun {
  SelectionOnBoard() : BoardRun("AT90S8515") {}
};

TEST(ComSelectionLoad, TheListHasTheUnknownPortAndTwentyNumbersInOrder) {
  Selection run;
  run.Load();
  EXPECT_THAT(run.ComForm.Items,
              ElementsAre("????", "COM1", "COM2", "COM3", "COM4", "COM5", "COM6", "COM7", "COM8",
                          "COM9", "COM10", "COM11", "COM12", "COM13", "COM14", "COM15", "COM16",
                          "COM17", "COM18", "COM19", "COM20"));
  EXPECT_THAT(run.ComForm.Calls, ElementsAre("place"));
}

TEST(ComSelectionLoad, WithNothingStoredTheUnknownPortIsSelectedAndThePortLeftAlone) {
  Selection run;
  run.Load();
  EXPECT_EQ(run.ComForm.Index, 0);
  EXPECT_THAT(run.Port.Log, IsEmpty());
  EXPECT_EQ(run.State.LinkError, 9);
}

TEST(ComSelectionLoad, AStoredThreeSelectsCom3AndSetsItsNumberWithoutOpening) {
  Selection run;
  run.StorePort("3");
  run.Load();
  EXPECT_EQ(run.ComForm.Index, 3);
  EXPECT_THAT(run.Port.Log, ElementsAre("CommPort=3"));
  EXPECT_FALSE(run.Port.PortOpen());
}

TEST(ComSelectionLoad, AStoredNumberAboveTheListIsAppendedAndSelected) {
  Selection run;
  run.StorePort("25");
  run.Load();
  EXPECT_EQ(run.ComForm.Items.size(), 22U);
  EXPECT_EQ(run.ComForm.Items.at(20), "COM20");
  EXPECT_EQ(run.ComForm.Items.at(21), "COM25");
  EXPECT_EQ(run.ComForm.Index, 21);
  EXPECT_EQ(run.ComForm.Note, "");
  EXPECT_THAT(run.Port.Log, ElementsAre("CommPort=25"));
}

TEST(ComSelectionLoad, ANumberOfTheListIsNotAppended) {
  Selection run;
  run.StorePort("20");
  run.Load();
  EXPECT_EQ(run.ComForm.Items.size(), 21U);
  EXPECT_EQ(run.ComForm.Index, 20);
  EXPECT_EQ(PortOfItem(run.Context, 21), 0) << "there is no such item";
}

TEST(ComSelectionLoad, AnItemStandsForItsNumber) {
  Selection run;
  run.StorePort("256");
  EXPECT_EQ(PortOfItem(run.Context, -1), 0);
  EXPECT_EQ(PortOfItem(run.Context, 0), 0);
  EXPECT_EQ(PortOfItem(run.Context, 1), 1);
  EXPECT_EQ(PortOfItem(run.Context, 20), 20);
  EXPECT_EQ(PortOfItem(run.Context, 21), 256);
}

TEST(ComSelectionLoad, LeavesAnEmptyLineInTheTrace) {
  Selection run;
  run.Load();
  EXPECT_THAT(run.Trace(), ElementsAre(""));
}

TEST(ComSelectionLoad, AStoredNumberThatIsNoneSelectsTheUnknownPortAndSaysSo) {
  for (const char* value : {"257", "-1", "three", "", "3.5", "99999"}) {
    SCOPED_TRACE(value);
    Selection run;
    run.StorePort(value);
    run.Load();
    EXPECT_EQ(run.ComForm.Index, 0);
    EXPECT_THAT(run.ComForm.Note, HasSubstr("\"" + std::string(value) + "\""));
    EXPECT_THAT(run.Port.Log, IsEmpty());
  }
}

TEST(ComSelectionOk, OpensTheAppendedNumberAndKeepsIt) {
  SelectionOnBoard run;
  run.Settings.Write("Settings", "ComNox", "25");
  LoadComSelection(run.Context);
  EXPECT_EQ(run.ComForm.Index, 21);
  EXPECT_TRUE(Command_ok_Click(run.Context));
  EXPECT_EQ(run.Port.CommPort(), 25);
  EXPECT_TRUE(run.Port.PortOpen());
  EXPECT_EQ(run.Settings.Read("Settings", "ComNox"), "25");
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
  EXPECT_THAT(run.ComForm.Calls, IsEmpty());
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
  EXPECT_THAT(run.ComForm.Calls, IsEmpty());
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
  EXPECT_EQ(run.ComForm.Note, "グループ dialout に入り");
}

TEST(ComSelectionOk, StoresTheChoiceHidesAndChecksTheLinkBeforeItUnloads) {
  SelectionOnBoard run;
  run.Settings.Write("Settings", "ComNox", "3");
  run.State.LinkError = 9;
  run.ComForm.Index = 12;
  run.NewTrace();
  bool hidden = false;
  bool unloaded = false;
  run.ComForm.OnHide = [&] {
    hidden = true;
    EXPECT_EQ(run.Settings.Read("Settings", "ComNox"), "12");
    EXPECT_TRUE(run.Port.PortOpen());
    EXPECT_EQ(run.NewTrace(), std::vector<std::string>{"COM12"});
  };
  run.ComForm.OnUnload = [&] {
    unloaded = true;
    EXPECT_EQ(run.State.LinkError, 0);
    EXPECT_EQ(run.PanelText(Panel::BoardVersion), "KV-LOD350  V6.38");
  };
  EXPECT_TRUE(Command_ok_Click(run.Context));
  EXPECT_TRUE(hidden);
  EXPECT_TRUE(unloaded);
  EXPECT_THAT(run.ComForm.Calls, ElementsAre("hide", "unload"));
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
  EXPECT_THAT(run.ComForm.Calls, ElementsAre("hide", "unload"));
}

TEST(ComSelectionOk, AnOpenPortIsClosedFirst) {
  SelectionOnBoard run;
  run.Port.Open();
  run.ComForm.Index = 2;
  EXPECT_TRUE(Command_ok_Click(run.Context));
  EXPECT_EQ(run.Port.CommPort(), 2);
}

TEST(ComSelectionCancel, TracesThatTheCheckWasNotMadeAndLeavesThePort) {
  Selection run;
  run.Port.StartOpen();
  run.StorePort("4");
  Command_cancel_Click(run.Context);
  EXPECT_THAT(run.Trace(), ElementsAre("ライター接続確認が終了していません。"));
  EXPECT_EQ(run.State.LinkError, 1);
  EXPECT_TRUE(run.Port.PortOpen());
  EXPECT_THAT(run.Port.Log, IsEmpty());
  EXPECT_EQ(run.StoredPort(), "4");
  EXPECT_THAT(run.ComForm.Calls, ElementsAre("unload"));
}

TEST(ComSelection, StaysAfterAFailureSoThatAnotherPortCanBeChosen) {
  SelectionOnBoard run;
  run.ComForm.Steps = {{.Choice = 0}, {.Choice = 6}};
  EXPECT_EQ(ops::RunCommand(run.Context, Cmd_btn_comselect_Click), core::CommandEnding::Finished);
  EXPECT_THAT(run.ComForm.Calls, ElementsAre("place", "wait", "wait", "hide", "unload"));
  ASSERT_EQ(run.Boxes.Boxes.size(), 1U);
  EXPECT_EQ(run.Boxes.Boxes[0].Text, kNoPortText);
  EXPECT_EQ(run.Settings.Read("Settings", "ComNox"), "6");
}

TEST(ComSelection, CancelAfterAFailureLeavesThePortClosed) {
  Selection run;
  run.Port.StartOpen();
  run.ComForm.Steps = {{.Choice = 0}, {.Button = ComFormButton::Cancel}};
  Cmd_btn_comselect_Click(run.Context);
  EXPECT_FALSE(run.Port.PortOpen());
  EXPECT_EQ(run.State.LinkError, 1);
  EXPECT_THAT(run.ComForm.Calls, ElementsAre("place", "wait", "wait", "unload"));
}

TEST(ComSelection, NoOtherCommandStartsWhileTheDialogIsOpen) {
  Selection run;
  bool looked = false;
  run.ComForm.WhileWaiting = [&] {
    looked = true;
    EXPECT_TRUE(run.State.CommandRunning);
    const std::vector<std::string> calls = run.ComForm.Calls;
    EXPECT_EQ(ops::RunCommand(run.Context, Cmd_btn_comselect_Click), core::CommandEnding::Refused);
    EXPECT_EQ(run.ComForm.Calls, calls);
  };
  ops::RunCommand(run.Context, Cmd_btn_comselect_Click);
  EXPECT_TRUE(looked);
  EXPECT_FALSE(run.State.CommandRunning);
}

TEST(ComSelection, ATraceThatCannotBeWrittenEndsItWithTheDialogUnloaded) {
  Selection run;
  run.Files.Refused = {"/app/_debug_avr.txt"};
  EXPECT_EQ(ops::RunCommand(run.Context, Cmd_btn_comselect_Click), core::CommandEnding::FileError);
  EXPECT_THAT(run.ComForm.Calls, ElementsAre("place", "unload"));
  EXPECT_EQ(run.Boxes.Boxes.size(), 1U);
}

TEST(ComSelectionLoad, SaysNothingAboutANumberThatCanBeUsedOrIsMissing) {
  Selection missing;
  missing.Load();
  EXPECT_EQ(missing.ComForm.Note, "");
  for (const char* value : {"0", "3", "20"}) {
    Selection run;
    run.StorePort(value);
    run.Load();
    EXPECT_EQ(run.ComForm.Note, "") << value;
  }
}

TEST(ComSelectionLoad, SaysWhatIsWrongWithAStoredNumberAndTheCure) {
  Selection run;
  run.StorePort("three");
  run.Load();
  EXPECT_EQ(run.ComForm.Note,
            "保存されているポート番号 \"three\" は使用できません。選び直してください。");
}

TEST(PortMenu, LeavesOneLineInTheTraceBeforeTheDialog) {
  Selection run;
  EXPECT_EQ(ops::RunCommand(run.Context, mmuCominucation_Click), core::CommandEnding::Finished);
  EXPECT_THAT(run.Trace(),
              ElementsAre("COMポート選択", "", "ライター接続確認が終了していません。"));
  EXPECT_THAT(run.ComForm.Calls, ElementsAre("place", "wait", "unload"));
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

TEST(DescribePort, LeavesOutADeviceThatHasNoPath) {
  EXPECT_EQ(DescribePort(
                {.Number = 1, .Description = "FTDI FT232R", .State = platform::PortState::Usable}),
            "FTDI FT232R、使用できます。");
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
