
#include "support/update_run.h"
#include "update/update_report.h"

namespace fenwright::testing {
namespace {

using update::StartOutcome;
using Calls = std::vector<std::string>;

constexpr const char* kSetPort = "ポート番号を設定してください。";
constexpr const char* kPortNotOpened = "通信ポートをオープンできませんでした。";

TEST_ON(UpdateTest, UpdateDialogLoad, GoesThroughItsStepsInOrder) {
  Dialog_Update.Port.clear();
  Update.UpdateFilePath = "left over";
  update::Dialog_Update_Load(Context);
  EXPECT_EQ(
      Dialog_Update.Calls,
      (Calls{"divider", "port items", "port \"?\"", "speed items", "speed \"?\"", "speed disabled",
             "speed \"57600\"", "CmdUpdate disabled",
             "label \"１．通信ポートを指定してください。\r\n"
             "２．[Version Read]ボタンを押して、バージョンが表示されると通信確認完了です。\r\n"
             "３．[OPEN]ボタンを押して、アップデートファイルを指定してください。 [kvldxxx.hex]\r\n"
             "４．[UPDATE]ボタンを押してください。ファイルのアップデータが開始されます。\""}));
  EXPECT_EQ(Dialog_Update.PortItems,
            (Calls{"1",  "2",  "3",  "4",  "5",  "6",  "7",  "8",  "9",  "10",
                   "11", "12", "13", "14", "15", "16", "17", "18", "19", "20"}));
  EXPECT_EQ(Dialog_Update.SpeedItems, (Calls{" 9600", "19200", "57600"}));
  EXPECT_EQ(Update.UpdateFilePath, "");
  EXPECT_TRUE(MainPort.PortOpen()) << "nothing has touched the main port yet";
}

TEST_ON(UpdateTest, UpdateDialogLoad, EmptiesTheLogFile) {
  Files.Files["/app/LOG.txt"] = "old text";
  update::Dialog_Update_Load(Context);
  EXPECT_EQ(Files.Files.at("/app/LOG.txt"), "");
}

TEST_ON(UpdateTest, UpdateDialogLoad, CreatesTheLogFileAndGoesOnWithoutOne) {
  update::Dialog_Update_Load(Context);
  EXPECT_TRUE(Files.Files.contains("/app/LOG.txt"));
  ScriptedUpdate refused;
  refused.Files.Refused.emplace_back("/app/LOG.txt");
  update::Dialog_Update_Load(refused.Context);
  EXPECT_EQ(refused.Dialog_Update.PortItems.size(), 20U);
  EXPECT_TRUE(refused.DialogBoxes.Boxes.empty());
}

TEST_ON(UpdateTest, UpdateDialogSettings, TheChosenPortGoesUnderOneKeyAndIsReadUnderAnother) {
  update::Dialog_Update_Load(Context);
  Dialog_Update.Port = "7";
  update::Combo_ComPort_Click(Context);
  EXPECT_EQ(Settings.Read("Settings6", "Com"), "7");
  EXPECT_EQ(Settings.Read("Settings6", "ComNo"), std::nullopt);

  update::Dialog_Update_Load(Context);
  EXPECT_EQ(Dialog_Update.Port, "?");
  Settings.Write("Settings6", "ComNo", "12");
  update::Dialog_Update_Load(Context);
  EXPECT_EQ(Dialog_Update.Port, "12");
  EXPECT_EQ(Dialog_Update.PortItems.size(), 20U);
  Settings.Write("Settings6", "ComNo", "25");
  update::Dialog_Update_Load(Context);
  EXPECT_EQ(Dialog_Update.Port, "25");
  ASSERT_EQ(Dialog_Update.PortItems.size(), 21U) << "it can be gone back to";
  EXPECT_EQ(Dialog_Update.PortItems.back(), "25");
}

TEST_ON(UpdateTest, UpdateDialogSettings, TheStoredSpeedIsReadAndReplaced) {
  Settings.Write("Settings6", "Speed", "19200");
  update::Dialog_Update_Load(Context);
  EXPECT_EQ(Dialog_Update.Calls.at(4), "speed \"19200\"");
  EXPECT_EQ(Dialog_Update.Speed, "57600");
  EXPECT_FALSE(Dialog_Update.SpeedEnabled);
  Dialog_Update.Speed = " 9600";
  update::Combo_speed_Click(Context);
  EXPECT_EQ(Settings.Read("Settings6", "Speed"), " 9600");
}

TEST_ON(UpdateTest, UpdateDialogOpen, AsksForTheFile) {
  Settings.Write("Settings6", "OPEN_DIR0", "/fw/");
  update::CmdOpen_Click(Context);
  ASSERT_EQ(Chooser.Requests.size(), 1U);
  const screen::FileDialogRequest& request = Chooser.Requests[0];
  EXPECT_EQ(request.Title, "アップデータを開く");
  EXPECT_EQ(request.Filter, "アップデータファイル|*.HEX|全てのファイル|*.*|");
  EXPECT_EQ(request.DefaultExtension, "HEX");
  EXPECT_EQ(request.StartFolder, "/fw/");
  EXPECT_EQ(request.FileName, "*.HEX");
}

TEST_ON(UpdateTest, UpdateDialogOpen, TakesTheChosenFile) {
  GivenFile(":020000000102FB\r\n:00000001FF\r\n");
  Chooser.Choice = kUpdateFile;
  update::CmdOpen_Click(Context);
  EXPECT_EQ(Update.UpdateFilePath, "/files/kvld640.hex");
  EXPECT_EQ(Dialog_Update.Calls,
            (Calls{"file \"/files/kvld640.hex\"",
                   "status \"ファイル名：kvld640.hexを指定しました。\"", "CmdUpdate enabled"}));
  EXPECT_EQ(Settings.Read("Settings6", "OPEN_DIR0"), "/files/");
  EXPECT_EQ(Dialog_Update.Detail, "");
}

TEST_ON(UpdateTest, UpdateDialogOpen, ChoosesItsFolderWhenNoneIsStored) {
  update::CmdOpen_Click(Context);
  EXPECT_EQ(Chooser.Requests.at(0).StartFolder, "");
}

TEST_ON(UpdateTest, UpdateDialogOpen, NamesAFileWithoutAFolderWhole) {
  Chooser.Choice = "kvld640.hex";
  update::CmdOpen_Click(Context);
  EXPECT_EQ(Dialog_Update.Status, "ファイル名：kvld640.hexを指定しました。");
  EXPECT_EQ(Settings.Read("Settings6", "OPEN_DIR0"), "");
}

#ifndef _WIN32
TEST_ON(UpdateTest, UpdateDialogOpen, ABackslashIsPartOfANameHere) {
  Chooser.Choice = "/fw/a\\b.hex";
  update::CmdOpen_Click(Context);
  EXPECT_EQ(Dialog_Update.Status, "ファイル名：a\\b.hexを指定しました。");
  EXPECT_EQ(Settings.Read("Settings6", "OPEN_DIR0"), "/fw/");
}
#endif

TEST_ON(UpdateTest, UpdateDialogOpen, SaysWhatIsWrongWithTheFileAndTakesItAllTheSame) {
  GivenFile(":020000000102FB\r\n:020002000304F6\r\n:00000001FF\r\n");
  Chooser.Choice = kUpdateFile;
  update::CmdOpen_Click(Context);
  EXPECT_EQ(Dialog_Update.Detail,
            "警告：このファイルでアップデートしないでください。2行目：チェックサムが違います");
  EXPECT_TRUE(Dialog_Update.UpdateEnabled);

  Chooser.Choice = "/files/none.hex";
  update::CmdOpen_Click(Context);
  EXPECT_EQ(Dialog_Update.Detail, "警告：このファイルでアップデートしないでください。no such file");

  Files.Unreadable["/files/secret.hex"] = "Permission denied";
  Files.Cause = platform::FailureCause::AccessDenied;
  Chooser.Choice = "/files/secret.hex";
  update::CmdOpen_Click(Context);
  EXPECT_EQ(Dialog_Update.Detail,
            "警告：このファイルでアップデートしないでください。アクセスする権限がありません。"
            "(Permission denied)");
}

TEST_ON(UpdateTest, UpdateDialogOpen, MentionsANameThatTheBoardsFilesDoNotHave) {
  const std::string good = ":020000000102FB\r\n:00000001FF\r\n";
  for (const char* path : {"/files/blink.hex", "/files/kvld.hex", "/files/kvld640.rom",
                           "/kvld640/other.hex", "/files/xkvld640.hex"}) {
    Files.Files[path] = good;
    Chooser.Choice = path;
    update::CmdOpen_Click(Context);
    EXPECT_THAT(Dialog_Update.Detail, HasSubstr("このボードのファームウエアの名前 (kvldxxx.hex) "
                                                "ではありません。"))
        << path;
    EXPECT_TRUE(Dialog_Update.UpdateEnabled) << "a file can have been renamed";
  }
  for (const char* path : {"/files/kvld638.hex", "/files/KVLD638.HEX"}) {
    Files.Files[path] = good;
    Chooser.Choice = path;
    update::CmdOpen_Click(Context);
    EXPECT_EQ(Dialog_Update.Detail, "") << path;
  }
}

TEST_ON(UpdateTest, UpdateDialogOpen, NamesTheFirstRecordWithAnOddByteCount) {
  GivenFile(":020000000102FB\r\n:0300020011223395\r\n:01000600AB4E\r\n:00000001FF\r\n");
  Chooser.Choice = kUpdateFile;
  update::CmdOpen_Click(Context);
  EXPECT_EQ(Dialog_Update.Detail,
            "2行目のバイト数が奇数です。最後のバイトはチェックサムと組にして送られます。");
  EXPECT_TRUE(Dialog_Update.UpdateEnabled);
}

TEST_ON(UpdateTest, UpdateDialogOpen, CancellingChangesNothing) {
  Update.UpdateFilePath = "/old/old.hex";
  Settings.Write("Settings6", "OPEN_DIR0", "/old/");
  for (const bool empty_name : {false, true}) {
    Chooser.Choice = empty_name ? std::optional<std::string>("") : std::nullopt;
    update::CmdOpen_Click(Context);
    EXPECT_EQ(Update.UpdateFilePath, "/old/old.hex");
    EXPECT_EQ(Settings.Read("Settings6", "OPEN_DIR0"), "/old/");
    EXPECT_EQ(Dialog_Update.Calls, Calls{});
  }
}

TEST_ON(UpdateTest, UpdateDialogOpen, AnEmptyPortTextIsToldAndAQuestionMarkPasses) {
  Dialog_Update.Port = "";
  update::CmdOpen_Click(Context);
  EXPECT_THAT(DialogBoxes.Boxes, ElementsAre(Box{MessageIcon::Information, "", kSetPort}));
  EXPECT_TRUE(Chooser.Requests.empty());
  Dialog_Update.Port = "?";
  update::CmdOpen_Click(Context);
  EXPECT_EQ(Chooser.Requests.size(), 1U);
}

TEST_ON(UpdateTest, UpdateDialogUpdate, AnEmptyPortTextIsTold) {
  Update.UpdateFilePath = kUpdateFile;
  Dialog_Update.Port = "";
  EXPECT_EQ(update::CmdUpdate_Click(Context), StartOutcome::NoPort);
  EXPECT_THAT(DialogBoxes.Boxes, ElementsAre(Box{MessageIcon::Information, "", kSetPort}));
  EXPECT_EQ(Dialog_Update.Calls, Calls{});
  EXPECT_TRUE(MainPort.PortOpen());
}

TEST_ON(UpdateTest, UpdateDialogUpdate, WithoutAFileTheStatusSaysSo) {
  EXPECT_EQ(update::CmdUpdate_Click(Context), StartOutcome::NoFile);
  EXPECT_EQ(Dialog_Update.Calls,
            (Calls{"status \"\"", "status \"アップデートファイルがロードされていません。\""}));
  EXPECT_TRUE(MainPort.PortOpen());
}

TEST_ON(UpdateTest, UpdateDialogUpdate, GoesThroughItsStepsInOrder) {
  GivenFile(":020000000102FB\r\n");
  Update.UpdateFilePath = kUpdateFile;
  UpdaterPort.Expect("'U'").Expect("00 00 02 01", "03", 0.5).Expect("FF FF FF FF");
  EXPECT_EQ(update::CmdUpdate_Click(Context), StartOutcome::Ran);
  EXPECT_EQ(Dialog_Update.Calls,
            (Calls{"status \"\"", "CmdVersion disabled",
                   "status \"アップデート中です。電源は絶対に切らないでください。\"",
                   "bar 0..7936 at 0", "status \"アップデート完了。  1sec\""}));
  EXPECT_FALSE(Dialog_Update.VersionEnabled) << "until the dialog is opened again";
}

TEST_ON(UpdateTest, UpdateDialogUpdate, APortThatCannotBeOpenedLeavesTheVersionButton) {
  Update.UpdateFilePath = kUpdateFile;
  UpdaterPort.OpenResult.Status = PortOpenStatus::Busy;
  EXPECT_EQ(update::CmdUpdate_Click(Context), StartOutcome::PortNotOpened);
  EXPECT_EQ(Dialog_Update.Status, kPortNotOpened);
  EXPECT_TRUE(Dialog_Update.VersionEnabled);
  EXPECT_EQ(Update.UpdateFailed, 0) << "only the version read sets it";
}

TEST_ON(UpdateTest, UpdateDialogUpdate, AnUnsetPortIsToldAndOpeningIsStillTried) {
  GivenFile(kEndRecord);
  Update.UpdateFilePath = kUpdateFile;
  Dialog_Update.Port = "?";
  UpdaterPort.Expect("'U'").Expect("FF FF FF FF");
  EXPECT_EQ(update::CmdUpdate_Click(Context), StartOutcome::Ran);
  ASSERT_EQ(DialogBoxes.Boxes.size(), 2U);
  EXPECT_EQ(DialogBoxes.Boxes[0].Text, kSetPort);
  EXPECT_EQ(Dialog_Update.Detail,
            "警告：ポート番号が選ばれていないので、COM1 を使います。ライターをつないだ番号を"
            "選んでください。");
}

TEST_ON(UpdateTest, UpdateDialogUpdate, APortThatDoesNotOpenIsExplainedInPlaceOfTheWarning) {
  Update.UpdateFilePath = kUpdateFile;
  Dialog_Update.Port = "?";
  UpdaterPort.OpenResult = {.Status = PortOpenStatus::Missing, .Path = "", .Reason = "no device"};
  EXPECT_EQ(update::CmdUpdate_Click(Context), StartOutcome::PortNotOpened);
  EXPECT_EQ(Dialog_Update.Detail, "no device");
}

TEST_ON(UpdateTest, UpdateDialogUpdate, AnOpenedPortThatWasChosenClearsTheReasonFromBefore) {
  GivenFile(kEndRecord);
  Update.UpdateFilePath = kUpdateFile;
  Dialog_Update.Detail = "no device";
  UpdaterPort.Expect("'U'").Expect("FF FF FF FF");
  EXPECT_EQ(update::CmdUpdate_Click(Context), StartOutcome::Ran);
  EXPECT_EQ(Dialog_Update.Detail, "");
}

TEST_ON(UpdateTest, UpdateDialogUpdate, AStopEndsTheRestBeforeTheFirstWord) {
  UpdaterPort.Expect("'U'");
  Events.OnTurn = [this] { State.StopRequested = true; };
  EXPECT_EQ(RunUpdate(":020000000102FB\r\n:00000001FF\r\n"), update::UpdateOutcome::Stopped);
  EXPECT_LT(Clock.Elapsed(), 0.1);
}

TEST_ON(UpdateTest, UpdateDialogUpdate, AStopEndsTheWaitForAWordThatIsNotAcknowledged) {
  UpdaterPort.Expect("'U'").Expect("00 00 02 01");
  Events.OnTurn = [this] { State.StopRequested = Update.WordsSent > 0; };
  EXPECT_EQ(RunUpdate(":020000000102FB\r\n:00000001FF\r\n"), update::UpdateOutcome::Stopped);
  EXPECT_LT(Clock.Elapsed(), 1.5) << "not the two seconds of a lost acknowledgement";
}

TEST(UpdateDialogGuard, NothingPressedDuringAnUpdateChangesTheWire) {
  BoardUpdate run({.Baud = 0});
  run.Open();
  const auto check_ports = run.Events.OnTurn;
  int pressed = 0;
  run.Events.OnTurn = [&] {
    check_ports();
    if (run.Update.Now == update::Activity::Idle) return;
    ++pressed;
    const std::size_t requests = run.Chooser.Requests.size();
    EXPECT_EQ(update::CmdUpdate_Click(run.Context), StartOutcome::Ignored);
    update::CmdVersion_Click(run.Context);
    update::CmdOpen_Click(run.Context);
    EXPECT_EQ(run.Chooser.Requests.size(), requests);
    run.Dialog_Update.Port = "9";
    update::Combo_ComPort_Click(run.Context);
  };
  const Bytes image = RandomBytes(64, 5);
  EXPECT_EQ(run.UpdateWith(HexFile(image)), StartOutcome::Ran);
  EXPECT_GT(pressed, 200);
  EXPECT_EQ(run.Wire.size(), 1U + 32 * 4 + 4);
  EXPECT_EQ(run.Board->Protocol().Firmware().size(), 32U);
  EXPECT_TRUE(run.Dialog_Update.Status.starts_with("アップデート完了。  "));
  EXPECT_FALSE(run.BothOpen);
}

TEST(UpdateDialogGuard, WordsAreOnTheirWayOnlyWhileTheyAre) {
  BoardUpdate run({.Baud = 0});
  run.Open();
  std::vector<update::Activity> seen;
  run.Events.OnTurn = [&] {
    if (seen.empty() || seen.back() != run.Update.Now) seen.push_back(run.Update.Now);
  };
  run.UpdateWith(HexFile({1, 2}));
  EXPECT_EQ(seen, (std::vector{update::Activity::Busy, update::Activity::Updating}));
  EXPECT_EQ(run.Update.Now, update::Activity::Idle);
}

TEST_ON(UpdateTest, UpdateDialogPorts, AreHandedOverAndGivenBackOnEveryWayOut) {
  using Action = void (*)(BoardUpdate&);
  const std::vector<std::pair<const char*, Action>> ways{
      {"nothing done", [](BoardUpdate&) {}},
      {"version read", [](BoardUpdate& run) { update::CmdVersion_Click(run.Context); }},
      {"update",
       [](BoardUpdate& run) {
         run.UpdateWith(HexFile({1, 2, 3, 4}));
       }},
      {"update without end",
       [](BoardUpdate& run) {
         run.State.StopRequested = true;
         run.UpdateWith(HexFile({1, 2, 3, 4}));
       }},
      {"version read twice, then two updates",
       [](BoardUpdate& run) {
         update::CmdVersion_Click(run.Context);
         update::CmdVersion_Click(run.Context);
         run.UpdateWith(HexFile({1, 2, 3, 4}));
         run.UpdateWith(HexFile({1, 2, 3, 4}));
       }},
      {"file that cannot be read", [](BoardUpdate& run) {
         run.Update.UpdateFilePath = "/none";
         update::CmdUpdate_Click(run.Context);
       }}};
  for (const auto& [name, action] : ways) {
    for (const bool main_open : {true, false}) {
      BoardUpdate run({.Baud = 0});
      run.MainPort.SetCommPort(5);
      if (main_open) run.MainPort.Open();
      run.Open();
      action(run);
      EXPECT_FALSE(run.MainPort.PortOpen() && run.UpdaterPort.PortOpen()) << name;
      update::Dialog_Update_Unload(run.Context);
      EXPECT_TRUE(run.MainPort.PortOpen()) << name;
      EXPECT_FALSE(run.UpdaterPort.PortOpen()) << name;
      EXPECT_EQ(run.MainPort.CommPort(), 5) << name;
      EXPECT_FALSE(run.BothOpen) << name;
    }
  }
}

TEST_ON(UpdateTest, UpdateDialogPorts, ThePortOfAVersionReadIsClosedBeforeAnotherIsSetUp) {
  update::Dialog_Update_Load(Context);
  Dialog_Update.Port = "3";
  UpdaterPort.Expect("'?'", "'KV-LOD350  V6.38' 0D 0A").Expect("'U'").Expect("FF FF FF FF");
  update::CmdVersion_Click(Context);
  GivenFile(kEndRecord);
  Chooser.Choice = kUpdateFile;
  update::CmdOpen_Click(Context);
  Dialog_Update.Port = "7";
  UpdaterPort.Log.clear();
  update::CmdUpdate_Click(Context);
  EXPECT_EQ(UpdaterPort.Log,
            (Calls{"Close", "InputMode=binary", "Handshaking=0", "InputLen=0", "RThreshold=0",
                   "DiscardInput", "Settings=57600,n,8,1", "CommPort=7", "Open", "DiscardInput",
                   "Output 55", "DiscardInput", "Output FF FF FF FF"}));
}

TEST_ON(UpdateTest, UpdateDialogPorts, APortOfAnEarlierOpeningIsNotOpenedAgain) {
  const char* const version = "'KV-LOD350  V6.38' 0D 0A";
  update::Dialog_Update_Load(Context);
  Dialog_Update.Port = "7";
  UpdaterPort.Expect("'?'", version);
  update::CmdVersion_Click(Context);
  EXPECT_EQ(UpdaterPort.CommPort(), 7);
  update::Dialog_Update_Unload(Context);

  update::Dialog_Update_Load(Context);
  EXPECT_EQ(Dialog_Update.Port, "?");
  UpdaterPort.Expect("'?'", version);
  update::CmdVersion_Click(Context);
  EXPECT_EQ(UpdaterPort.CommPort(), 1);
  EXPECT_THAT(DialogBoxes.Texts(), ElementsAre(kSetPort));
}

TEST_ON(UpdateTest, UpdateDialogPorts, UnloadTouchesOnlyWhatIsNotAsItShouldBe) {
  update::Dialog_Update_Unload(Context);
  EXPECT_TRUE(MainPort.Log.empty());
  EXPECT_TRUE(UpdaterPort.Log.empty());

  MainPort.Close();
  UpdaterPort.StartOpen();
  update::Dialog_Update_Unload(Context);
  EXPECT_EQ(MainPort.Log, (Calls{"Close", "Open"})) << "with the settings it already had";
  EXPECT_EQ(UpdaterPort.Log, Calls{"Close"});
}

TEST_ON(UpdateTest, UpdateDialogPorts, AMainPortThatCannotBeOpenedIsLeftToTheNextOperation) {
  MainPort.Close();
  MainPort.OpenResult.Status = PortOpenStatus::Missing;
  update::Dialog_Update_Unload(Context);
  EXPECT_EQ(MainPort.Log, (Calls{"Close", "Open"})) << "tried once";
  EXPECT_FALSE(MainPort.PortOpen());
  EXPECT_TRUE(DialogBoxes.Boxes.empty());
}

TEST_ON(UpdateTest, UpdateDialogPorts, AfterAnUpdateTheMainPortTalksToTheNewFirmware) {
  BoardUpdate run({.Baud = 0});
  run.Open();
  Bytes version = Hex("'KV-LOD350  V6.40' 0D 0A");
  run.UpdateWith(HexRecord(0, {1, 2}) + HexFile(version, 0x3FC0));
  update::Dialog_Update_Unload(run.Context);
  run.MainPort.Output(Bytes{'?'});
  run.Clock.Advance(1);
  EXPECT_EQ(run.MainPort.Input(), version);
}

TEST(UpdateReport, SaysWhatFirmwareTheBoardIsLeftWith) {
  update::UpdateState state;
  EXPECT_EQ(update::DescribeBoardState(state, core::Language::English),
            "the board's firmware was not changed: switch the board off and on");
  state.WordsSent = 1;
  EXPECT_EQ(
      update::DescribeBoardState(state, core::Language::Japanese),
      "ボードのファームウエアは途中までしか書き込まれていません。ボードの電源を再投入してから、"
      "もう一度アップデートを最後まで実行してください。");
  state.WrongAcknowledgement = true;
  EXPECT_EQ(update::DescribeBoardState(state, core::Language::English),
            "the board's firmware is incomplete: switch the board off and on, and run the update "
            "again from its start; if it cannot be resumed, the board's microcontroller has to be "
            "programmed in the ordinary way");
}

TEST(UpdateReport, SaysItInEnglishWhenWordsWereSent) {
  update::UpdateState state;
  state.WordsSent = 1;
  EXPECT_EQ(update::DescribeBoardState(state, core::Language::English),
            "the board's firmware is incomplete: switch the board off and on, and run the "
            "update again, to its end");
}

TEST(UpdateReport, TheStopQuestionSaysWhatHappensToTheBoard) {
  update::UpdateState state;
  EXPECT_EQ(
      update::StopQuestion(state),
      "ファームウエアのアップデートを実行しています。\n\n"
      "ここで閉じると、最初のワードを送る前にアップデートを中止します。ボードのファームウエアは"
      "変わりません。閉じた後で、ボードの電源を再投入してください。\n\n"
      "アップデートを中止して閉じますか？");
  state.WordsSent = 1;
  EXPECT_EQ(
      update::StopQuestion(state),
      "ファームウエアのアップデートを実行しています。\n\n"
      "ここで閉じると、実行中の通信が終わったところでアップデートを中止します。"
      "ボードのファームウエアは途中までしか書き込まれていない状態で残り、もう一度アップデートを"
      "最後まで実行するまで、ボードは使用できません。\n\n"
      "アップデートを中止して閉じますか？");
}

}  // namespace
}  // namespace fenwright::testing
