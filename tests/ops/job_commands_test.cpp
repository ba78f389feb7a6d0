// The window's job: what is saved of the window's choice, what opening one does, and the command
// line that does the same.

#include "ops/job_commands.h"

#include "fuse/fuse_bytes.h"
#include "fuse/fuse_model.h"
#include "image/buffer_content.h"
#include "ops/command.h"
#include "ops/commands.h"
#include "support/test_run.h"

namespace fenwright::testing {
namespace {

constexpr const char* kTiny26 = "ATtiny26L";
constexpr int kTiny26Index = 2;

/// A run that has opened two files of the device.
struct JobCommands : Test, BoardRun {
  JobCommands() : BoardRun(kTiny26) {
    Files.Files["/jobs/blink.hex"] = HexFile({0x0C, 0x94, 0x2A, 0x00});
    Files.Files["/jobs/blink.eep"] = HexFile({0x11, 0x22});
    Files.Files["/other/texts.eep"] = HexFile({0x33});
    Boxes.Answer = true;
    OpenCode();
  }
  void OpenCode() {
    Do([](core::RunContext& context) { ops::OpenPair(context, "/jobs/blink.hex"); });
  }
  void Do(const ops::Entry& command) {
    EXPECT_EQ(ops::RunCommand(Context, command), CommandEnding::Finished);
  }
  void Open(const std::string& path) {
    Do([&](core::RunContext& context) { ops::OpenJob(context, Job, path); });
  }
  void OpenText(const std::string& text) {
    Files.Files["/jobs/a.json"] = text;
    Open("/jobs/a.json");
  }
  void Save(const std::string& path) {
    FileDialogs.Choice = path;
    Do([this](core::RunContext& context) { ops::cmdJobSave_Click(context, Job); });
  }
  job::Job Saved(const std::string& path) {
    const job::JobText read = job::ReadJob(Files.Files.at(path));
    EXPECT_THAT(read.Faults, ::testing::IsEmpty());
    return read.Job;
  }
  std::string CommandLine() { return ops::JobCommandLine(Context, Job, false); }
  std::string Description() { return ops::DescribeJob(Context, Job); }
  void Choose(FuseList list, int index) { Fuses.Select(list, index); }

  ops::WindowJob Job;
};

TEST_F(JobCommands, TheChoiceIsSavedWithPathsFromTheJobsFolder) {
  Save("/jobs/a.json");
  const job::Job saved = Saved("/jobs/a.json");
  EXPECT_EQ(saved, (job::Job{.Device = kTiny26, .Code = "blink.hex", .Data = "blink.eep"}));
  EXPECT_EQ(Job.Path, "/jobs/a.json");
  EXPECT_EQ(PanelText(Panel::Status), "ジョブを保存しました。");
  Save("/elsewhere/b.json");
  EXPECT_EQ(Saved("/elsewhere/b.json").Code, "/jobs/blink.hex");
  Save("/b.json");
  EXPECT_EQ(Saved("/b.json").Code, "jobs/blink.hex");
}

TEST_F(JobCommands, ABlankEepromIsSavedAsThat) {
  Files.Files.erase("/jobs/blink.eep");
  OpenCode();
  Save("/jobs/a.json");
  EXPECT_TRUE(Saved("/jobs/a.json").NoData);
}

TEST_F(JobCommands, TheFuseListsAreSavedWhenTheyBelongToIt) {
  Choose(FuseList::Cksel, 3);
  Choose(FuseList::Lock, 1);
  Save("/jobs/a.json");
  EXPECT_TRUE(Saved("/jobs/a.json").Fuses.empty());
  EXPECT_EQ(Saved("/jobs/a.json").Lock, "");
  Job.WithFuses = true;
  Save("/jobs/a.json");
  const job::Job saved = Saved("/jobs/a.json");
  EXPECT_EQ(saved.Lock, "write");
  EXPECT_EQ(saved.Fuses.at("CKSEL"), Fuses.Lists[FuseList::Cksel].Text());
  const auto& fields = fuse::LayoutOf(kTiny26).Fields;
  EXPECT_EQ(saved.Fuses.size(), fields.size());
  EXPECT_FALSE(saved.Fuses.contains("LOCK"));
}

TEST_F(JobCommands, WhatIsSavedIsOpenedAgain) {
  Choose(FuseList::Cksel, 3);
  Choose(FuseList::Lock, 0);
  Job.WithFuses = true;
  Save("/jobs/a.json");
  Form.SetDeviceIndex(0);
  Do(ops::Combo_device_Click);
  Job = {};
  Open("/jobs/a.json");
  EXPECT_EQ(Form.DeviceIndex(), kTiny26Index);
  EXPECT_EQ(State.CodeFileName, "/jobs/blink.hex");
  EXPECT_EQ(State.DataFileName, "/jobs/blink.eep");
  EXPECT_EQ(State.FlashBuffer[0], 0x94);
  EXPECT_EQ(State.EepromBuffer[1], 0x22);
  EXPECT_EQ(Fuses.SelectedIndex(FuseList::Cksel), 3);
  EXPECT_EQ(Fuses.SelectedIndex(FuseList::Lock), 0);
  EXPECT_EQ(Fuses.ByteLine, fuse::DescribeFuseBytes(fuse::ComposeFuseBytes(Context)));
  EXPECT_EQ(PanelText(Panel::Status), "ジョブを開きました。");
  EXPECT_TRUE(ops::IsJobSaved(Context, Job));
}

TEST_F(JobCommands, WithoutAWordAboutDataThePairIsOpenedWhereItIs) {
  OpenText(R"({"fenwright_job": 1, "device": "ATtiny26L", "code": "blink.hex"})");
  EXPECT_EQ(State.EepromBuffer[1], 0x22);
  OpenText(R"({"fenwright_job": 1, "device": "ATtiny26L", "code": "blink.hex", "data": null})");
  EXPECT_EQ(State.EepromBuffer[1], 0xFF);
  EXPECT_THAT(image::DescribeContent(State), Not(HasSubstr("はありません")));
  OpenText(
      R"({"fenwright_job": 1, "device": "ATtiny26L", "code": "blink.hex", "data": "/other/texts.eep"})");
  EXPECT_EQ(State.EepromBuffer[0], 0x33);
}

TEST_F(JobCommands, WhatTheWindowHasNoControlForStaysWhenItIsSavedAgain) {
  const std::string text =
      R"({"fenwright_job": 1, "device": "ATtiny26L", "code": "blink.hex",
          "fuses": {"CKSEL": "0001"}, "serial": "flash:0x700=next", "counter": "count.txt",
          "backup": "copies", "record": "/shift.csv", "osccal": "eeprom:0x10=1"})";
  OpenText(text);
  const job::Job before = Saved("/jobs/a.json");
  Save("/jobs/b.json");
  job::Job expected = before;
  expected.Data = "blink.eep";
  EXPECT_EQ(Saved("/jobs/b.json"), expected);
  Save("/c.json");
  EXPECT_EQ(Saved("/c.json").Counter, "jobs/count.txt");
  EXPECT_EQ(Saved("/c.json").Backup, "jobs/copies");
  EXPECT_EQ(Saved("/c.json").Record, "shift.csv");
  EXPECT_EQ(Saved("/c.json").Fuses, before.Fuses);
}

TEST_F(JobCommands, AKeptEepromStaysSoUntilADataFileIsOpened) {
  OpenText(
      R"({"fenwright_job": 1, "device": "ATtiny26L", "code": "blink.hex", "keep_eeprom": true})");
  EXPECT_EQ(State.EepromBuffer[1], 0xFF);
  Save("/jobs/b.json");
  EXPECT_TRUE(Saved("/jobs/b.json").KeepEeprom);
  EXPECT_FALSE(Saved("/jobs/b.json").NoData);
  FileDialogs.Choice = "/other/texts.eep";
  Do(ops::mnuFileOpenData_Click);
  Save("/jobs/b.json");
  EXPECT_FALSE(Saved("/jobs/b.json").KeepEeprom);
  EXPECT_EQ(Saved("/jobs/b.json").Data, "/other/texts.eep");
}

TEST_F(JobCommands, AJobThatIsRefusedChangesNothing) {
  const std::vector<std::pair<std::string, std::string>> rows{
      {"oops", "JSON として読めません"},
      {R"({"fenwright_job": 1, "device": "ATtiny26L"})", "code : 必要です"},
      {R"({"fenwright_job": 1, "device": "ATtiny12L", "code": "none.hex"})",
       "/jobs/none.hex\r\nジョブのファイルがありません。"},
      {R"({"fenwright_job": 1, "device": "ATtiny12L", "code": "blink.hex", "data": "no.eep"})",
       "/jobs/no.eep\r\nジョブのファイルがありません。"},
      {R"({"fenwright_job": 1, "device": "ATtiny12L", "code": "blink.elf"})",
       "ウインドウで開けるコードファイルは .hex と .rom です。"},
      {R"({"fenwright_job": 1, "device": "ATtiny12L", "code": "blink.hex",
           "fuses": {"PLLCK": "Enable"}})",
       "PLLCK=Enable : デバイスにその項目か値がありません"},
      {R"({"fenwright_job": 1, "device": "ATtiny12L", "code": "blink.hex",
           "fuses": {"CKSEL": "99999"}})",
       "CKSEL=99999 : デバイスにその項目か値がありません"}};
  Save("/jobs/good.json");
  for (const auto& [text, why] : rows) {
    OpenText(text);
    EXPECT_EQ(Dialog.Text, "ジョブを開くことができませんでした。");
    EXPECT_EQ(Dialog.Mode, screen::MessageMode::Notice);
    EXPECT_THAT(Dialog.Detail, StartsWith("/jobs/a.json\r\n"));
    EXPECT_THAT(Dialog.Detail, HasSubstr(why));
    EXPECT_EQ(StatusBar.Outcome, screen::Outcome::Failure);
    EXPECT_EQ(Form.DeviceIndex(), kTiny26Index);
    EXPECT_EQ(State.FlashBuffer[0], 0x94);
    EXPECT_EQ(Job.Path, "/jobs/good.json");
    EXPECT_TRUE(ops::IsJobSaved(Context, Job));
  }
  Open("/jobs/missing.json");
  EXPECT_THAT(Dialog.Detail, StartsWith("/jobs/missing.json\r\n"));
}

TEST_F(JobCommands, AFileThatIsNotTakenWholeMakesNoJob) {
  Files.Files["/jobs/bad.hex"] = ":020000000C94\r\noops\r\n";
  OpenText(R"({"fenwright_job": 1, "device": "ATtiny26L", "code": "bad.hex"})");
  EXPECT_EQ(Dialog.Text, "ジョブを開くことができませんでした。");
  EXPECT_EQ(Job.Path, "");
  EXPECT_NE(PanelText(Panel::Status), "ジョブを開きました。");
}

TEST_F(JobCommands, TheResetPinIsWarnedOfWhenAJobGivesItAway) {
  const std::string_view item =
      fuse::OptionsOf(FuseList::Rstdisabl, kTiny26)
          ->Items[fuse::OptionsOf(FuseList::Rstdisabl, kTiny26)->DefaultIndex == 0 ? 1 : 0];
  OpenText(R"({"fenwright_job": 1, "device": "ATtiny26L", "code": "blink.hex",
               "fuses": {"RSTDISABL": ")" +
           std::string(item) + R"("}})");
  EXPECT_EQ(Job.Path, "/jobs/a.json") << Dialog.Detail;
  EXPECT_EQ(StatusBar.Outcome, screen::Outcome::Danger);
  EXPECT_THAT(Description(), HasSubstr("allow_reset_disable"));
}

TEST_F(JobCommands, TheCommandLineProgramsTheFilesUntilTheJobIsSaved) {
  Port.SetCommPort(5);
  EXPECT_EQ(CommandLine(),
            "fenwright-cli --port COM5 --device ATtiny26L program \"/jobs/blink.hex\" --data "
            "\"/jobs/blink.eep\"");
  EXPECT_EQ(Description(), "ジョブはまだ保存されていません。");
  Save("/jobs/my job.json");
  EXPECT_EQ(CommandLine(), "fenwright-cli --port COM5 run \"/jobs/my job.json\"");
  EXPECT_EQ(Description(), "ジョブ : /jobs/my job.json");
  EXPECT_EQ(ops::JobCommandLine(Context, Job, true),
            "fenwright-cli --simulate run \"/jobs/my job.json\"");
  Files.Files.erase("/jobs/blink.eep");
  OpenCode();
  EXPECT_EQ(CommandLine(),
            "fenwright-cli --port COM5 --device ATtiny26L program \"/jobs/blink.hex\" --no-data");
  EXPECT_EQ(Description(), "ジョブ : /jobs/my job.json (変更あり)");
}

TEST_F(JobCommands, AChangedFuseListIsAChangeOfAJobThatHasThem) {
  Save("/jobs/a.json");
  Choose(FuseList::Cksel, 3);
  EXPECT_TRUE(ops::IsJobSaved(Context, Job));
  Job.WithFuses = true;
  EXPECT_FALSE(ops::IsJobSaved(Context, Job));
  Save("/jobs/a.json");
  EXPECT_TRUE(ops::IsJobSaved(Context, Job));
  EXPECT_THAT(Description(), HasSubstr("ジョブのコマンドが行うこと : ヒューズ・ロックビット"));
  Choose(FuseList::Cksel, 4);
  EXPECT_FALSE(ops::IsJobSaved(Context, Job));
}

#ifndef _WIN32
TEST_F(JobCommands, APathIsQuotedForTheShell) {
  Save("/jobs/a$b's `c`.json");
  EXPECT_THAT(CommandLine(), ::testing::EndsWith("run '/jobs/a$b'\\''s `c`.json'"));
}
#endif

TEST_F(JobCommands, WhatNoFileHoldsIsNoJob) {
  HandEdit.Address = "0";
  HandEdit.Data = "1234";
  Do(ops::CmdWrite_Click);
  EXPECT_EQ(CommandLine(), "");
  EXPECT_THAT(Description(), HasSubstr("バッファーの内容がファイルと違います。"));
  Save("/jobs/a.json");
  EXPECT_EQ(Dialog.Text, "ジョブを保存できません。");
  EXPECT_FALSE(Files.Files.contains("/jobs/a.json"));
  OpenCode();
  HandEdit.Flash = false;
  Do(ops::CmdWrite_Click);
  EXPECT_EQ(CommandLine(), "");
  Do(ops::Combo_device_Click);
  EXPECT_EQ(CommandLine(), "");
}

TEST(JobCommandsWithout, FilesOrADeviceTellWhatIsMissing) {
  BoardRun run(kTiny26);
  EXPECT_THAT(ops::WhyNoJob(run.Context), HasSubstr("コードファイル"));
  run.Form.SetDeviceIndex(-1);
  EXPECT_THAT(ops::WhyNoJob(run.Context), HasSubstr("デバイス"));
}

TEST_F(JobCommands, AFileThatIsThereIsAskedAbout) {
  Files.Files["/jobs/a.json"] = "mine";
  Boxes.Answer = false;
  Save("/jobs/a.json");
  EXPECT_EQ(Files.Files["/jobs/a.json"], "mine");
  EXPECT_EQ(Job.Path, "");
  Boxes.Answer = true;
  Save("/jobs/a.json");
  EXPECT_EQ(Saved("/jobs/a.json").Device, kTiny26);
}

TEST_F(JobCommands, ADiscThatRefusesTheFileIsToldAndThereIsNoJob) {
  Files.Refused.push_back("/jobs/a.json");
  Files.LostAtClose.push_back("/jobs/b.json");
  for (const char* path : {"/jobs/a.json", "/jobs/b.json"}) {
    Boxes.Boxes.clear();
    Save(path);
    ASSERT_EQ(Boxes.Boxes.size(), 1U);
    EXPECT_EQ(Boxes.Boxes[0].Text, "ファイル保存できませんでした。");
    EXPECT_THAT(Boxes.Boxes[0].Detail, StartsWith(std::string(path) + "\r\n"));
    EXPECT_EQ(Job.Path, "");
    EXPECT_NE(PanelText(Panel::Status), "ジョブを保存しました。");
  }
}

}  // namespace
}  // namespace fenwright::testing
