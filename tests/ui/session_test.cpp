// Whole sessions of the program on a real store of settings: what one leaves and the next finds.

#include <memory>
#include <string>
#include <vector>

#include <QComboBox>
#include <QFile>
#include <QMdiArea>
#include <QPushButton>
#include <QScreen>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

#include "platform/temporary_folder.h"
#include "support/form_fakes.h"
#include "ui/guide_window.h"
#include "ui/qt_settings_store.h"
#include "ui/text.h"
#include "ui/view_window.h"
#include "ui/window_bench.h"

namespace fenwright::ui {
namespace {

using core::CommandEnding;
using screen::View;

/// The user's settings, kept from one run to the next.
class Sessions {
 public:
  [[nodiscard]] QString StorePath() const { return ToQString(folder_.File("store.ini")); }
  [[nodiscard]] std::string Stored(const char* key) const {
    return QtSettingsStore(StorePath()).Read("Settings", key).value_or("(missing)");
  }
  void Store(const char* key, const char* value) const {
    QtSettingsStore(StorePath()).Write("Settings", key, value);
  }
  [[nodiscard]] const platform::TemporaryFolder& Folder() const { return folder_; }

 private:
  platform::TemporaryFolder folder_;
};

/// One run on them, from its start to its close.
class OneRun {
 public:
  explicit OneRun(const Sessions& sessions, platform::SingleInstance* instance = nullptr)
      : settings_(sessions.StorePath()),
        port_({.Baud = kInstantly}, board::SteadyTimeSource()),
        run_({.ProgrammerPort = port_,
              .Clock = clock_,
              .Files = Files,
              .CodePage = code_page_,
              .Settings = settings_,
              .Instance = instance,
              .MessageBoxes = &Boxes,
              .FileDialogs = &dialogs_}) {
    port_.ChipInSocket = [this] { return run_.Context().Screen.DeviceForm.DeviceText(); };
  }

  /// Starts; the dialog of the first run, when it comes, is left with CANCEL.
  CommandEnding Start() {
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [this] {
      if (!run_.ComPortDialog().isVisible()) return;
      ++DialogsSeen;
      run_.ComPortDialog().reject();
    });
    timer.start(5);
    return run_.Start({.AppFolder = "/app/", .CommandArgument = ""});
  }
  void Close() { run_.Window().close(); }
  MainWindow& Window() { return run_.Window(); }
  WindowRun& Run() { return run_; }
  ViewWindow* Child(View view) { return run_.Window().ViewOf(view); }

  int DialogsSeen = 0;
  testing::FakeTextFiles Files;
  AnsweredBoxes Boxes;

 private:
  QtSettingsStore settings_;
  board::SimulatedSerialControl port_;
  platform::SystemClock clock_;
  platform::Cp932CodePage code_page_;
  testing::FakeFileDialogs dialogs_;
  WindowRun run_;
};

TEST(Session, TheFirstStartHasTheFirstDeviceTheDialogOnceAndTheDefaultPlaces) {
  const Sessions sessions;
  OneRun run(sessions);
  EXPECT_EQ(run.Start(), CommandEnding::Finished);
  EXPECT_EQ(run.DialogsSeen, 1);
  EXPECT_EQ(run.Window().DeviceSelector()->currentText(), "ATtiny12L");
  EXPECT_EQ(run.Window().pos(), QPoint(7, 7));      // 100 twips
  EXPECT_EQ(run.Window().size(), QSize(753, 527));  // 11300 x 7900 twips
  EXPECT_EQ(run.Child(View::Flash)->geometry(), QRect(3, 3, 360, 267));
  EXPECT_EQ(run.Child(View::Eeprom)->geometry(), QRect(3, 273, 360, 133));
  EXPECT_EQ(run.Window().Guide().pos(), QPoint(0, 0));
  EXPECT_TRUE(run.Window().Guide().isVisible());
  EXPECT_EQ(run.Window().windowTitle(), "New Fenwright Version 6.5.5");
  EXPECT_EQ(sessions.Stored("Index_Com_Flag"), "1");
  EXPECT_EQ(sessions.Stored("device"), "0");
}

TEST(Session, TheSecondStartHasNoDialog) {
  const Sessions sessions;
  {
    OneRun first(sessions);
    first.Start();
    first.Close();
  }
  OneRun second(sessions);
  EXPECT_EQ(second.Start(), CommandEnding::Finished);
  EXPECT_EQ(second.DialogsSeen, 0);
}

TEST(Session, EveryWindowIsFoundWhereItWasLeft) {
  const Sessions sessions;
  {
    OneRun first(sessions);
    first.Start();
    first.Window().move(33, 44);
    first.Window().resize(790, 560);
    first.Child(View::Flash)->setGeometry(20, 30, 300, 200);
    first.Child(View::Eeprom)->setGeometry(40, 60, 280, 160);
    first.Window().Guide().move(50, 70);
    first.Close();
  }
  EXPECT_EQ(sessions.Stored("MainLeft"), "495");
  EXPECT_EQ(sessions.Stored("MainTop"), "660");
  EXPECT_EQ(sessions.Stored("MainWidth"), "11850");
  EXPECT_EQ(sessions.Stored("MainHeight"), "8400");
  EXPECT_EQ(sessions.Stored("PgmLeft"), "300");
  EXPECT_EQ(sessions.Stored("PgmTop"), "450");
  EXPECT_EQ(sessions.Stored("PgmWidth"), "4500");
  EXPECT_EQ(sessions.Stored("PgmHeight"), "3000");
  EXPECT_EQ(sessions.Stored("EEpLeft"), "600");
  EXPECT_EQ(sessions.Stored("EEpTop"), "900");
  EXPECT_EQ(sessions.Stored("EEpWidth"), "4200");
  EXPECT_EQ(sessions.Stored("EEpHeight"), "2400");
  EXPECT_EQ(sessions.Stored("IndLeft"), "750");
  EXPECT_EQ(sessions.Stored("IndTop"), "1050");
  OneRun second(sessions);
  second.Start();
  EXPECT_EQ(second.Window().pos(), QPoint(33, 44));
  EXPECT_EQ(second.Window().size(), QSize(790, 560));
  EXPECT_EQ(second.Child(View::Flash)->geometry(), QRect(20, 30, 300, 200));
  EXPECT_EQ(second.Child(View::Eeprom)->geometry(), QRect(40, 60, 280, 160));
  EXPECT_EQ(second.Window().Guide().pos(), QPoint(50, 70));
}

TEST(Session, ClosingWhileMinimisedKeepsWhatWasStored) {
  const Sessions sessions;
  sessions.Store("Index_Com_Flag", "1");
  sessions.Store("MainLeft", "1500");
  sessions.Store("IndLeft", "345");
  OneRun run(sessions);
  run.Start();
  run.Window().move(400, 300);
  run.Window().showMinimized();
  ASSERT_TRUE(run.Window().isMinimized());
  run.Close();
  EXPECT_EQ(sessions.Stored("MainLeft"), "1500");
  EXPECT_EQ(sessions.Stored("MainWidth"), "(missing)");
  EXPECT_EQ(sessions.Stored("PgmLeft"), "(missing)");
  EXPECT_EQ(sessions.Stored("IndLeft"), "345");
}

TEST(Session, AMinimisedOrMaximisedViewIsStoredWhereItWasBefore) {
  const Sessions sessions;
  sessions.Store("Index_Com_Flag", "1");
  OneRun run(sessions);
  run.Start();
  run.Child(View::Flash)->setGeometry(20, 30, 300, 200);
  run.Child(View::Flash)->showMinimized();
  run.Child(View::Eeprom)->setGeometry(40, 60, 280, 160);
  run.Child(View::Eeprom)->showMaximized();
  run.Close();
  EXPECT_EQ(sessions.Stored("PgmLeft") + " " + sessions.Stored("PgmHeight"), "300 3000");
  EXPECT_EQ(sessions.Stored("EEpLeft") + " " + sessions.Stored("EEpHeight"), "600 2400");
}

TEST(Session, TheTemporaryFilesGoAtTheEndAndTheTraceStays) {
  const Sessions sessions;
  OneRun run(sessions);
  run.Start();
  QTest::mouseClick(Find<QPushButton>(run.Window(), "Cmd_btn_verify"), Qt::LeftButton);
  run.Files.Files["/app/avrvfy.txt"] = "report";
  EXPECT_TRUE(run.Files.Files.contains("/app/avrhex.txt"));
  run.Close();
  ASSERT_EQ(run.Files.Files.size(), 1U);
  EXPECT_TRUE(run.Files.Files.contains("/app/_debug_avr.txt"));
}

TEST(Session, APlaceOutsideEveryScreenIsBroughtBackToOne) {
  for (const char* far : {"90000", "-90000", "1e30", "-1e30"}) {
    SCOPED_TRACE(far);
    const Sessions sessions;
    sessions.Store("Index_Com_Flag", "1");
    sessions.Store("MainLeft", far);
    sessions.Store("MainTop", far);
    sessions.Store("PgmTop", far);
    OneRun run(sessions);
    EXPECT_EQ(run.Start(), CommandEnding::Finished);
    // The frame's border is known to the window system alone.
    constexpr int kBorder = 8;
    const QRect screen = run.Window().screen()->geometry();
    EXPECT_TRUE(screen.adjusted(0, 0, kBorder, kBorder).contains(run.Window().frameGeometry()));
    EXPECT_TRUE(
        QRect(QPoint(0, 0), run.Window().size()).contains(run.Child(View::Flash)->geometry()));
  }
}

TEST(Session, AHugeNegativeOrEmptySizeStillGivesAWindow) {
  for (const char* size : {"1e30", "-5000", "0"}) {
    SCOPED_TRACE(size);
    const Sessions sessions;
    sessions.Store("Index_Com_Flag", "1");
    for (const char* key : {"MainWidth", "MainHeight", "PgmWidth", "EEpHeight"}) {
      sessions.Store(key, size);
    }
    OneRun run(sessions);
    EXPECT_EQ(run.Start(), CommandEnding::Finished);
    const QSize screen = run.Window().screen()->size();
    EXPECT_LE(run.Window().width(),
              std::max(screen.width(), run.Window().minimumSizeHint().width()));
    EXPECT_GT(run.Window().width(), 100);
    EXPECT_GT(run.Window().height(), 100);
  }
}

TEST(Session, AStoredTextInPlaceOfANumberEndsTheStartAndStoresNothing) {
  const Sessions sessions;
  sessions.Store("MainTop", "top");
  OneRun run(sessions);
  EXPECT_EQ(run.Start(), CommandEnding::BadSetting);
  ASSERT_EQ(run.Boxes.Shown.size(), 1U);
  EXPECT_NE(run.Boxes.Shown[0].find("セクション Settings、キー MainTop、値 \"top\""),
            std::string::npos);
  EXPECT_EQ(run.DialogsSeen, 0);
  run.Close();
  EXPECT_EQ(sessions.Stored("MainTop"), "top");
  EXPECT_EQ(sessions.Stored("MainLeft"), "(missing)");
}

TEST(Session, ABadPlaceOfTheGuideIsFoundLastAndLeavesNoDumpsBehind) {
  const Sessions sessions;
  sessions.Store("Index_Com_Flag", "1");
  sessions.Store("IndTop", "");
  OneRun run(sessions);
  EXPECT_EQ(run.Start(), CommandEnding::BadSetting);
  EXPECT_FALSE(run.Files.Files.contains("/app/avrhex.txt"));
}

TEST(Session, AStoreThatCannotBeWrittenIsSaidOnceAndTheProgramRuns) {
  const Sessions sessions;
  // Nothing can be created below a file.
  QFile file(ToQString(sessions.Folder().File("file")));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  QtSettingsStore unwritable(file.fileName() + "/a.ini");
  WindowBench bench(kInstantly, nullptr, &unwritable);
  unwritable.Write("Settings", "Index_Com_Flag", "1");
  EXPECT_EQ(bench.Start(), CommandEnding::Finished);
  ASSERT_EQ(bench.Boxes.Shown.size(), 1U);
  EXPECT_NE(bench.Boxes.Shown[0].find("設定を保存できません。"), std::string::npos);
  QComboBox* selector = bench.Run.Window().DeviceSelector();
  selector->setFocus();
  QTest::keyClick(selector, Qt::Key_End);
  EXPECT_EQ(bench.Run.State().DeviceCode, 0x68);
  bench.Run.Window().close();
  EXPECT_FALSE(bench.Run.Window().isVisible());
  EXPECT_EQ(bench.Boxes.Shown.size(), 1U);
}

TEST(Session, APortGivenForTheRunIsUsedAndNotStored) {
  const Sessions sessions;
  sessions.Store("Index_Com_Flag", "1");
  sessions.Store("ComNox", "3");
  OneRun run(sessions);
  run.Run().Settings().GiveForThisRun("Settings", "ComNox", "8");
  run.Start();
  QTest::mouseClick(Find<QPushButton>(run.Window(), "Cmd_btn_verify"), Qt::LeftButton);
  EXPECT_EQ(run.Run().Context().Line.ProgrammerPort.CommPort(), 8);
  run.Close();
  EXPECT_EQ(sessions.Stored("ComNox"), "3");
}

TEST(Session, ASecondRunEndsWithoutAWindow) {
  const Sessions sessions;
  testing::FakeInstance taken;
  taken.Alone = false;
  OneRun run(sessions, &taken);
  EXPECT_EQ(run.Start(), CommandEnding::AnotherInstance);
  EXPECT_FALSE(run.Window().isVisible());
  EXPECT_TRUE(run.Boxes.Shown.empty());
  EXPECT_TRUE(run.Files.Deleted.empty());
  EXPECT_EQ(sessions.Stored("device"), "(missing)");
}

TEST(Session, ClosingDuringAnOperationAsksAndThenStoresInTheUsualOrder) {
  const Sessions sessions;
  sessions.Store("Index_Com_Flag", "1");
  sessions.Store("ComNox", "1");
  OneRun run(sessions);
  run.Start();
  run.Boxes.Answer = true;
  run.Window().move(150, 60);
  QTimer::singleShot(0, &run.Window(), [&] { run.Close(); });
  QTest::mouseClick(Find<QPushButton>(run.Window(), "Cmd_btn_read"), Qt::LeftButton);
  EXPECT_EQ(run.Boxes.Questions.size(), 1U);
  EXPECT_FALSE(run.Window().isVisible());
  EXPECT_EQ(sessions.Stored("MainLeft"), "2250");
  EXPECT_FALSE(run.Files.Files.contains("/app/avrhex.txt"));
}

}  // namespace
}  // namespace fenwright::ui
