// Start, device picks and opening files, as the front ends call them.

#include "core/device_catalogue.h"
#include "core/settings_keys.h"
#include "ops/commands.h"
#include "support/test_run.h"

namespace fenwright::testing {
namespace {

struct StartRun : ScriptedRun {
  CommandEnding Start(const std::string& argument = "") {
    State.AppFolder.clear();
    return ops::StartCommand(Context, {.AppFolder = "/app/", .CommandArgument = argument});
  }
};

struct StartTest : Test, StartRun {};

TEST_ON(StartTest, Start, WithAnEmptyStoreSelectsTheFirstDevice) {
  EXPECT_EQ(Start(), CommandEnding::Finished);
  EXPECT_EQ(Form.DeviceText(), "ATtiny12L");
  EXPECT_EQ(Form.Names.size(), core::DeviceCatalogue().size());
  EXPECT_EQ(State.FlashWords, 512);
  EXPECT_EQ(Stored("device"), "0");
}

TEST_ON(StartTest, Start, RestoresTheStoredDevice) {
  Store("device", "12");
  Start();
  EXPECT_EQ(Form.DeviceText(), "AT90S8535");
  EXPECT_EQ(State.DeviceCode, 0x68);
}

TEST_ON(StartTest, Start, BlanksBothBuffersAndShowsTheirDumps) {
  Start();
  EXPECT_TRUE(FlashIs(0xFF));
  EXPECT_TRUE(EepromIs(0xFF));
  EXPECT_EQ(Files.Files["/app/avreep.txt"].substr(0, 57),
            "0000: FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF \xA5\xA5\xA5");
  EXPECT_EQ(Views.Paths[View::Flash], "/app/avrhex.txt");
}

TEST_ON(StartTest, Start, DeletesTheTraceOfTheWorkingFolderAndKeepsThatOfAnother) {
  // The program's folder is not known yet when the old trace is deleted.
  Files.Files["_debug_avr.txt"] = "old";
  Files.Files["/app/_debug_avr.txt"] = "old\r\n";
  Start();
  EXPECT_FALSE(Files.Files.contains("_debug_avr.txt"));
  EXPECT_TRUE(Files.Files["/app/_debug_avr.txt"].starts_with("old\r\n"));
}

TEST_ON(StartTest, Start, WithNoStoredSelectionLeavesTheTextEmpty) {
  Store("device", "-1");
  EXPECT_EQ(Start(), CommandEnding::Finished);
  EXPECT_EQ(Form.DeviceText(), "");
  EXPECT_EQ(State.FlashWords, 0);
  EXPECT_EQ(State.DeviceCode, 0);
  EXPECT_EQ(Stored("device"), "-1");
}

TEST_ON(StartTest, Start, AStoredDeviceThatMakesNoSenseEndsItWithACriticalBox) {
  for (const char* value : {"x", "", "1.5", "13", "-2", "99999999999999999999"}) {
    SCOPED_TRACE(value);
    StartRun run;
    run.Store("device", value);
    EXPECT_EQ(run.Start(), CommandEnding::BadSetting);
    ASSERT_EQ(run.Boxes.Boxes.size(), 1U);
    EXPECT_EQ(run.Boxes.Boxes[0].Icon, MessageIcon::Critical);
    for (const std::string part : {"Settings", "device", value}) {
      EXPECT_THAT(run.Boxes.Boxes[0].Text, HasSubstr(part));
    }
  }
}

TEST_ON(StartTest, Start, KeepsTheFileOfTheCommandLineForTheFrontEndToOpen) {
  Start("/p/a.hex");
  EXPECT_EQ(State.CommandArgument, "/p/a.hex");
  EXPECT_EQ(State.CodeFileName, "");
}

TEST_ON(StartTest, Open, AFileByItsPathStoresItsWordsHighByteFirst) {
  Start();
  Files.Files["/p/a.hex"] = ":020000000C9460\r\n:00000001FF\r\n";
  ops::OpenBothCommand(Context, "/p/a.hex");
  EXPECT_EQ(FlashBytes(0, 2), "94 0C");
  EXPECT_EQ(PanelText(Panel::Status), "ファイルをオープンしました。");
}

TEST_ON(StartTest, Pick, DiscardsTheLoadedImageAndStoresTheSelection) {
  Start();
  State.FlashBuffer[0] = 1;
  State.EepromBuffer[2048] = 2;
  Form.SetDeviceIndex(2);
  ops::PickDeviceCommand(Context);
  EXPECT_EQ(State.FlashBuffer[0], 0xFF);
  EXPECT_EQ(State.EepromBuffer[2048], 0xFF);
  EXPECT_EQ(Stored("device"), "2");
  EXPECT_EQ(State.DeviceCode, 0x59);
  EXPECT_EQ(Form.FlashLabel, "ﾌﾟﾛｸﾞﾗﾑﾒﾓﾘ   : 1024 word");
}

TEST_ON(StartTest, Open, ACancelledDialogChangesNothing) {
  Start();
  NewTrace();
  const ops::OpenResult result = ops::OpenBothCommand(Context);
  EXPECT_FALSE(result.Chosen);
  EXPECT_EQ(State.CodeFileName, "");
  EXPECT_TRUE(NewTrace().empty());
}

TEST_ON(StartTest, Open, TheChosenFileBringsItsPartner) {
  Start();
  Store("OPEN_DIR", "/last");
  Files.Files["/p/a.hex"] = ":020000000C9460\r\n";
  Files.Files["/p/a.eep"] = ":0100000042BD\r\n";
  FileDialogs.Choice = "/p/a.hex";
  const ops::OpenResult result = ops::OpenBothCommand(Context);
  EXPECT_TRUE(result.Report.DataFileFound);
  EXPECT_EQ(State.EepromBuffer[0], 0x42);
  EXPECT_EQ(FileDialogs.Requests.at(0).StartFolder, "/last");
  EXPECT_EQ(Stored("OPEN_DIR"), "/p");
}

TEST_ON(StartTest, Open, WithoutADataPathLeavesTheEepromBlank) {
  Start();
  Files.Files["/p/a.hex"] = ":020000000C9460\r\n";
  Files.Files["/p/a.eep"] = ":0100000042BD\r\n";
  ops::OpenBothCommand(Context, "/p/a.hex", "");
  EXPECT_EQ(State.EepromBuffer[0], 0xFF);
}

TEST(Reload, IsMarkedWhileItRunsAndNoOtherStartsMeanwhile) {
  BoardRun run("ATtiny12L");
  run.Files.Files["/files/prog.hex"] = ":020000000C945E\r\n";
  ops::OpenBothCommand(run.Context, "/files/prog.hex");
  EXPECT_FALSE(run.State.ReloadInProgress);
  int reads = 0;
  run.Files.OnRead = [&] {
    ++reads;
    EXPECT_TRUE(run.State.ReloadInProgress);
    EXPECT_EQ(ops::ReloadCommand(run.Context).Ending, CommandEnding::Refused);
    EXPECT_TRUE(run.State.ReloadInProgress) << "a refused one changes nothing";
  };
  EXPECT_EQ(ops::ReloadCommand(run.Context).Ending, CommandEnding::Finished);
  EXPECT_EQ(reads, 1);
  EXPECT_FALSE(run.State.ReloadInProgress);
}

TEST(Reload, ThatADiscEndsIsMarkedNoLonger) {
  BoardRun run("ATtiny12L");
  run.Files.Files["/files/prog.hex"] = ":020000000C945E\r\n";
  ops::OpenBothCommand(run.Context, "/files/prog.hex");
  run.Files.Refused = {"/app/avrhex.txt"};
  EXPECT_EQ(ops::ReloadCommand(run.Context).Ending, CommandEnding::FileError);
  EXPECT_FALSE(run.State.ReloadInProgress);
}

}  // namespace
}  // namespace fenwright::testing
