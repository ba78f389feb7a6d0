// Start, device picks and opening files, as the front ends call them.

#include <algorithm>

#include <gtest/gtest.h>

#include "core/settings_keys.h"
#include "ops/command.h"
#include "ops/commands.h"
#include "ops/start_procedure.h"
#include "support/test_run.h"

namespace fenwright::testing {
namespace {

using core::CommandEnding;

struct StartRun : ScriptedRun {
  CommandEnding Start(const std::string& argument = "") {
    State.AppFolder.clear();
    return ops::RunCommand(Context, [&](core::RunContext& context) {
      ops::Start(context, {.AppFolder = "/app/", .CommandArgument = argument});
    });
  }
};

TEST(Start, WithAnEmptyStoreSelectsTheFirstDevice) {
  StartRun run;
  EXPECT_EQ(run.Start(), CommandEnding::Finished);
  EXPECT_EQ(run.Form.DeviceText(), "ATtiny12L");
  EXPECT_EQ(run.Form.Names.size(), 13U);
  EXPECT_EQ(run.State.FlashWords, 512);
  EXPECT_EQ(run.Settings.Read("Settings", "device"), "0");
}

TEST(Start, RestoresTheStoredDevice) {
  StartRun run;
  run.Settings.Write("Settings", "device", "12");
  run.Start();
  EXPECT_EQ(run.Form.DeviceText(), "AT90S8535");
  EXPECT_EQ(run.State.DeviceCode, 0x68);
}

TEST(Start, BlanksBothBuffersAndShowsTheirDumps) {
  StartRun run;
  run.Start();
  EXPECT_TRUE(std::ranges::all_of(run.State.FlashBuffer, [](auto byte) { return byte == 0xFF; }));
  EXPECT_TRUE(std::ranges::all_of(run.State.EepromBuffer, [](auto byte) { return byte == 0xFF; }));
  EXPECT_EQ(run.Files.Files["/app/avreep.txt"].substr(0, 57),
            "0000: FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF \xA5\xA5\xA5");
  EXPECT_EQ(run.Views.Paths[screen::View::Flash], "/app/avrhex.txt");
}

TEST(Start, BlanksTheMemoriesBeforeTheDeviceIsPicked) {
  StartRun run;
  run.FillBuffers();
  bool looked = false;
  run.Events.OnTurn = [&] {
    looked = true;
    EXPECT_TRUE(run.BuffersAreBlank());
  };
  run.Start();
  EXPECT_TRUE(looked);
}

TEST(Start, WithNoStoredSelectionForgetsTheSizesOfAnEarlierDevice) {
  StartRun run;
  run.State.FlashWords = 512;
  run.State.EepromBytes = 64;
  run.Store("device", "-1");
  run.Start();
  EXPECT_EQ(run.State.FlashWords, 0);
  EXPECT_EQ(run.State.EepromBytes, 0);
}

TEST(Start, RestoringTheDeviceIsAPickAndItsInformationIsShownOnceMore) {
  StartRun run;
  run.Start();
  EXPECT_THAT(run.Guide.Highlighted, ElementsAre(GuidePosition::A));
  EXPECT_EQ(std::ranges::count(run.Recorded, "show device frame"), 2);
}

TEST(Start, AStoredDeviceThatIsInNoRowIsToldWithTheNumbersThatAre) {
  StartRun run;
  run.Store("device", "13");
  run.Start();
  EXPECT_THAT(run.Boxes.Boxes.at(0).Text,
              EndsWith("\r\nこの値を削除するか、-1 から 12 の数字に直してから起動してください。"));
}

TEST(Start, DeletesTheTraceOfTheWorkingFolderAndKeepsThatOfAnother) {
  // The program's folder is not known yet when the old trace is deleted.
  StartRun run;
  run.Files.Files["_debug_avr.txt"] = "old";
  run.Files.Files["/app/_debug_avr.txt"] = "old\r\n";
  run.Start();
  EXPECT_FALSE(run.Files.Files.contains("_debug_avr.txt"));
  EXPECT_TRUE(run.Files.Files["/app/_debug_avr.txt"].starts_with("old\r\n"));
}

TEST(Start, WithNoStoredSelectionLeavesTheTextEmpty) {
  StartRun run;
  run.Settings.Write("Settings", "device", "-1");
  EXPECT_EQ(run.Start(), CommandEnding::Finished);
  EXPECT_EQ(run.Form.DeviceText(), "");
  EXPECT_EQ(run.State.FlashWords, 0);
  EXPECT_EQ(run.State.DeviceCode, 0);
  EXPECT_EQ(run.Settings.Read("Settings", "device"), "-1");
}

TEST(Start, AStoredDeviceThatMakesNoSenseEndsItWithACriticalBox) {
  for (const char* value : {"x", "", "1.5", "13", "-2", "99999999999999999999"}) {
    SCOPED_TRACE(value);
    StartRun run;
    run.Settings.Write("Settings", "device", value);
    EXPECT_EQ(run.Start(), CommandEnding::BadSetting);
    ASSERT_EQ(run.Boxes.Boxes.size(), 1U);
    EXPECT_EQ(run.Boxes.Boxes[0].Icon, screen::MessageIcon::Critical);
    for (const std::string part : {"Settings", "device", value}) {
      EXPECT_NE(run.Boxes.Boxes[0].Text.find(part), std::string::npos);
    }
  }
}

TEST(Start, KeepsTheFileOfTheCommandLineForTheFrontEndToOpen) {
  StartRun run;
  run.Start("/p/a.hex");
  EXPECT_EQ(run.State.CommandArgument, "/p/a.hex");
  EXPECT_EQ(run.State.CodeFileName, "");
}

TEST(Open, AFileByItsPathStoresItsWordsHighByteFirst) {
  StartRun run;
  run.Start();
  run.Files.Files["/p/a.hex"] = ":020000000C9460\r\n:00000001FF\r\n";
  ops::RunCommand(run.Context,
                  [](core::RunContext& context) { ops::OpenPair(context, "/p/a.hex"); });
  EXPECT_EQ(run.State.FlashBuffer[0], 0x94);
  EXPECT_EQ(run.State.FlashBuffer[1], 0x0C);
  EXPECT_EQ(run.PanelText(screen::Panel::Status), "ファイルをオープンしました。");
}

TEST(Pick, DiscardsTheLoadedImageAndStoresTheSelection) {
  StartRun run;
  run.Start();
  run.State.FlashBuffer[0] = 1;
  run.State.EepromBuffer[2048] = 2;
  run.Form.SetDeviceIndex(2);
  ops::RunCommand(run.Context, ops::Combo_device_Click);
  EXPECT_EQ(run.State.FlashBuffer[0], 0xFF);
  EXPECT_EQ(run.State.EepromBuffer[2048], 0xFF);
  EXPECT_EQ(run.Settings.Read("Settings", "device"), "2");
  EXPECT_EQ(run.State.DeviceCode, 0x59);
  EXPECT_EQ(run.Form.FlashLabel, "ﾌﾟﾛｸﾞﾗﾑﾒﾓﾘ   : 1024 word");
}

TEST(Open, ACancelledDialogChangesNothing) {
  StartRun run;
  run.Start();
  run.NewTrace();
  EXPECT_EQ(ops::RunCommand(run.Context, ops::mnuFileOpen_Click), CommandEnding::Finished);
  EXPECT_EQ(run.FileDialogs.Requests.size(), 1U);
  EXPECT_EQ(run.State.CodeFileName, "");
  EXPECT_TRUE(run.NewTrace().empty());
}

TEST(Open, TheChosenFileBringsItsPartner) {
  StartRun run;
  run.Start();
  run.Settings.Write("Settings", "OPEN_DIR", "/last");
  run.Files.Files["/p/a.hex"] = ":020000000C9460\r\n";
  run.Files.Files["/p/a.eep"] = ":0100000042BD\r\n";
  run.FileDialogs.Choice = "/p/a.hex";
  ops::RunCommand(run.Context, ops::mnuFileOpen_Click);
  EXPECT_EQ(run.State.EepromBuffer[0], 0x42);
  EXPECT_EQ(run.FileDialogs.Requests.at(0).StartFolder, "/last");
  EXPECT_EQ(run.Settings.Read("Settings", "OPEN_DIR"), "/p");
}

TEST(Open, WithoutADataPathLeavesTheEepromBlank) {
  StartRun run;
  run.Start();
  run.Files.Files["/p/a.hex"] = ":020000000C9460\r\n";
  run.Files.Files["/p/a.eep"] = ":0100000042BD\r\n";
  ops::RunCommand(run.Context,
                  [](core::RunContext& context) { ops::OpenFiles(context, "/p/a.hex", ""); });
  EXPECT_EQ(run.State.EepromBuffer[0], 0xFF);
}

/// A pair was opened; then a file of another kind is chosen.
struct RefusedFile : BoardRun {
  RefusedFile() : BoardRun("ATtiny12L") {
    Files.Files["/p/a.hex"] = ":020000000C945E\r\n";
    Files.Files["/p/a.eep"] = ":0100000042BD\r\n";
    Files.Files["/p/b.txt"] = ":02000000FFFF00\r\n";
    FileDialogs.Choice = "/p/a.hex";
    ops::RunCommand(Context, ops::mnuFileOpen_Click);
    FileDialogs.Choice = "/p/b.txt";
  }
  void ExpectThePairFromBefore() {
    EXPECT_THAT(State.CodeInfo, HasSubstr("a.hex"));
    EXPECT_THAT(State.DataInfo, HasSubstr("a.eep"));
    EXPECT_EQ(State.CodeFileName, "/p/a.hex");
    EXPECT_EQ(State.DataFileName, "/p/a.eep");
    EXPECT_EQ(State.FlashBuffer[0], 0x94);
    ops::RunCommand(Context, ops::mnuFileSave_Click);
    EXPECT_EQ(Files.Files["/p/b.txt"], ":02000000FFFF00\r\n");
    EXPECT_TRUE(Files.Files["/p/a.hex"].ends_with(":00000001FF\r\n"));
  }
};

TEST(Open, AFileOfAnotherKindLeavesTheNamesThatWereSetBefore) {
  RefusedFile run;
  ops::RunCommand(run.Context, ops::mnuFileOpen_Click);
  EXPECT_TRUE(run.Dialog.Text.starts_with("再ロードするファイル名 ： /p/b.txt\r\n"))
      << run.Dialog.Text;
  run.ExpectThePairFromBefore();
}

TEST(Open, ACodeFileOfAnotherKindLeavesTheNameThatWasSetBefore) {
  RefusedFile run;
  ops::RunCommand(run.Context, ops::mnuFileOpenCode_Click);
  run.ExpectThePairFromBefore();
}

TEST(Reload, WithNothingOpenedKeepsTheBuffersAndWhatIsSaidAboutThem) {
  BoardRun run("ATtiny12L");
  run.State.FlashBuffer[0] = 0x41;
  run.State.CodeInfo = "read from the chip";
  ops::RunCommand(run.Context, ops::mnuReLoad_Click);
  EXPECT_EQ(run.State.FlashBuffer[0], 0x41);
  EXPECT_EQ(run.State.CodeInfo, "read from the chip");
  EXPECT_TRUE(run.Dialog.Text.starts_with("再ロードするファイル名 ： ?\r\n")) << run.Dialog.Text;
}

TEST(Reload, IsMarkedWhileItRunsAndNoOtherStartsMeanwhile) {
  BoardRun run("ATtiny12L");
  run.Files.Files["/files/prog.hex"] = ":020000000C945E\r\n";
  ops::RunCommand(run.Context,
                  [](core::RunContext& context) { ops::OpenPair(context, "/files/prog.hex"); });
  EXPECT_FALSE(run.State.ReloadInProgress);
  int reads = 0;
  run.Files.OnRead = [&] {
    ++reads;
    EXPECT_TRUE(run.State.ReloadInProgress);
    EXPECT_EQ(ops::RunCommand(run.Context, ops::Cmd_btn_reload_Click),
              core::CommandEnding::Refused);
    EXPECT_TRUE(run.State.ReloadInProgress) << "a refused one changes nothing";
  };
  EXPECT_EQ(ops::RunCommand(run.Context, ops::Cmd_btn_reload_Click), core::CommandEnding::Finished);
  EXPECT_EQ(reads, 1);
  EXPECT_FALSE(run.State.ReloadInProgress);
}

TEST(Reload, ThatADiscEndsIsMarkedNoLonger) {
  BoardRun run("ATtiny12L");
  run.Files.Files["/files/prog.hex"] = ":020000000C945E\r\n";
  ops::RunCommand(run.Context,
                  [](core::RunContext& context) { ops::OpenPair(context, "/files/prog.hex"); });
  run.Files.Refused = {"/app/_debug_avr.txt"};
  EXPECT_EQ(ops::RunCommand(run.Context, ops::Cmd_btn_reload_Click),
            core::CommandEnding::FileError);
  EXPECT_FALSE(run.State.ReloadInProgress);
}

}  // namespace
}  // namespace fenwright::testing
