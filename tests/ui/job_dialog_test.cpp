// The job box: how it opens, what it shows while the window's choice changes, and what its buttons
// do.

#include "ui/job_dialog.h"

#include <QCheckBox>
#include <QClipboard>
#include <QToolButton>

#include "job/job_file.h"
#include "ui/window_bench.h"
#include "ui/wrapped_label.h"

namespace fenwright::ui {
namespace {

struct JobBox : WindowTest {
  JobBox() { StartWithFile(); }

  JobDialog& Box() { return Run.JobBox(); }
  void Show() {
    QTest::mouseClick(Named<QToolButton>("cmdJob"), Qt::LeftButton);
    QApplication::processEvents();
    ASSERT_TRUE(Box().isVisible());
  }
  void PressIn(const char* name) {
    QTest::mouseClick(Find<QPushButton>(Box(), name), Qt::LeftButton);
    QApplication::processEvents();
  }
  void Save(const std::string& path) {
    Dialogs.Choice = path;
    Boxes.Answer = true;
    PressIn("cmdJobSave");
  }
  std::string CommandLine() {
    return Find<QLineEdit>(Box(), "txtJobCommand")->text().toStdString();
  }
  std::string Description() { return Find<QLabel>(Box(), "lblJob")->text().toStdString(); }
};

TEST_F(JobBox, OpensByItsButtonAndByItsKeyAndClosesWithEscape) {
  EXPECT_FALSE(Box().isVisible());
  Show();
  EXPECT_EQ(Box().windowTitle(), "ジョブ");
  QTest::keyClick(&Box(), Qt::Key_Escape);
  EXPECT_FALSE(Box().isVisible());
  Window().activateWindow();
  EXPECT_TRUE(QTest::qWaitForWindowActive(&Window()));
  QTest::keyClick(&Window(), Qt::Key_J, Qt::AltModifier);
  EXPECT_TRUE(QTest::qWaitFor([this] { return Box().isVisible(); }));
}

TEST_F(JobBox, ShowsTheCallThatProgramsTheFilesAndCopiesIt) {
  Show();
  EXPECT_EQ(CommandLine(),
            "fenwright-cli --port COM1 --device ATtiny12L program \"/files/prog.hex\" --no-data");
  EXPECT_TRUE(Find<QLineEdit>(Box(), "txtJobCommand")->isReadOnly());
  PressIn("cmdJobCopy");
  EXPECT_EQ(QApplication::clipboard()->text().toStdString(), CommandLine());
}

TEST_F(JobBox, SavesAndShowsTheCallThatRunsTheJob) {
  Show();
  Save("/files/a.json");
  EXPECT_EQ(job::ReadJob(Files.Files.at("/files/a.json")).Job.Code, "prog.hex");
  EXPECT_EQ(CommandLine(), "fenwright-cli --port COM1 run \"/files/a.json\"");
  EXPECT_EQ(Description(), "ジョブ : /files/a.json");
  PickDevice(11);
  EXPECT_EQ(CommandLine(), "");
  EXPECT_FALSE(Find<QPushButton>(Box(), "cmdJobSave")->isEnabled());
  EXPECT_FALSE(Find<QPushButton>(Box(), "cmdJobCopy")->isEnabled());
  EXPECT_THAT(Description(), StartsWith("ジョブ : /files/a.json (変更あり)\n"));
}

TEST_F(JobBox, TakesTheFuseListsWhereThatIsWanted) {
  PickDevice(2);
  Dialogs.Choice = "/files/prog.hex";
  Press("Cmd_btn_open");
  Show();
  auto* list = Named<QComboBox>("Combo_CKSEL");
  auto* with_fuses = Find<QCheckBox>(Box(), "chkJobFuses");
  EXPECT_FALSE(with_fuses->isChecked());
  QTest::mouseClick(with_fuses, Qt::LeftButton, {}, QPoint(8, with_fuses->height() / 2));
  EXPECT_TRUE(with_fuses->isChecked());
  Save("/files/a.json");
  EXPECT_THAT(CommandLine(), ::testing::EndsWith("run \"/files/a.json\""));
  list->setCurrentIndex(list->currentIndex() == 0 ? 1 : 0);
  EXPECT_THAT(CommandLine(), HasSubstr(" program ")) << "the file no longer says so";
  Save("/files/a.json");
  EXPECT_EQ(job::ReadJob(Files.Files.at("/files/a.json")).Job.Fuses.at("CKSEL"),
            list->currentText().toStdString());
}

TEST_F(JobBox, OpensAJob) {
  Files.Files["/files/a.json"] =
      R"({"fenwright_job": 1, "device": "AT90S8515", "code": "prog.hex"})";
  Show();
  PickDevice(2);
  Dialogs.Choice = "/files/a.json";
  PressIn("cmdJobOpen");
  EXPECT_EQ(Window().DeviceSelector()->currentText(), "AT90S8515");
  EXPECT_THAT(FileInfo(), StartsWith("コード : prog.hex  400 / 4096 word"));
  EXPECT_EQ(CommandLine(), "fenwright-cli --port COM1 run \"/files/a.json\"");
  EXPECT_EQ(PanelText(Panel::Status), "ジョブを開きました。");
}

TEST_F(JobBox, AJobThatIsDroppedOnTheWindowIsOpened) {
  Files.Files["/files/a.JSON"] =
      R"({"fenwright_job": 1, "device": "AT90S8515", "code": "prog.hex"})";
  EXPECT_TRUE(DropFiles(Window(), {"/files/a.JSON"}));
  QApplication::processEvents();
  EXPECT_EQ(Window().DeviceSelector()->currentText(), "AT90S8515");
  EXPECT_THAT(FileInfo(), StartsWith("コード : prog.hex  400 / 4096 word"));
}

TEST_F(JobBox, AFileThatIsNoJobIsToldWithCauseAndCure) {
  Files.Files["/files/a.json"] = "{}";
  EXPECT_TRUE(DropFiles(Window(), {"/files/a.json"}));
  QApplication::processEvents();
  EXPECT_EQ(MessageText(), "ジョブを開くことができませんでした。");
  EXPECT_THAT(MessageText("lblDetail"), HasSubstr("ジョブファイルを直してから"));
  EXPECT_THAT(FileInfo(), StartsWith("コード : prog.hex"));
}

TEST(JobBoxAtStart, AJobThatTheProgramIsStartedWithIsOpened) {
  WindowBench bench;
  bench.GivenHexFile(kProgramWords);
  bench.Files.Files["/files/a.json"] =
      R"({"fenwright_job": 1, "device": "AT90S8515", "code": "prog.hex"})";
  bench.Start("/files/a.json");
  EXPECT_EQ(bench.Window().DeviceSelector()->currentText(), "AT90S8515");
  EXPECT_THAT(bench.FileInfo(), StartsWith("コード : prog.hex  400 / 4096 word"));
}

TEST_F(JobBox, NothingIsOpenedOrSavedWhileACommandRuns) {
  Show();
  bool seen = false;
  QObject::connect(&Window(), &MainWindow::Starting, &Box(), [&] {
    seen = true;
    for (const char* name : {"cmdJobOpen", "cmdJobSave", "chkJobFuses"}) {
      EXPECT_FALSE(Find<QWidget>(Box(), name)->isEnabled()) << name;
    }
    EXPECT_TRUE(Find<QWidget>(Box(), "cmdJobCopy")->isEnabled());
  });
  Press("Cmd_btn_program");
  EXPECT_TRUE(seen);
  for (const char* name : {"cmdJobOpen", "cmdJobSave", "chkJobFuses"}) {
    EXPECT_TRUE(Find<QWidget>(Box(), name)->isEnabled()) << name;
  }
}

TEST_F(JobBox, GoesWithTheMainWindow) {
  Show();
  Window().close();
  EXPECT_FALSE(Box().isVisible());
}

}  // namespace
}  // namespace fenwright::ui
