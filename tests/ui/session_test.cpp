// Whole sessions of the program on a real store of settings: what one leaves and the next finds.

#include <QFile>
#include <QScreen>

#include "platform/temporary_folder.h"
#include "support/form_fakes.h"
#include "ui/guide_window.h"
#include "ui/qt_settings_store.h"
#include "ui/text.h"
#include "ui/window_bench.h"

namespace fenwright::ui {
namespace {

/// The user's settings, kept from one run to the next.
class Sessions {
 public:
  using Values = std::vector<std::pair<const char*, const char*>>;

  Sessions(std::initializer_list<Values::value_type> values = {}) {
    for (const auto& [key, value] : values) Store(key, value);
  }
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
class OneRun : public WindowBench {
 public:
  explicit OneRun(const Sessions& sessions, platform::SingleInstance* instance = nullptr)
      : OneRun(std::make_shared<QtSettingsStore>(sessions.StorePath()), instance) {}

  /// Starts; the dialog of the first run, when it comes, is left with CANCEL.
  CommandEnding Start() {
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [this] {
      if (!Run.ComPortDialog().isVisible()) return;
      ++DialogsSeen;
      Run.ComPortDialog().reject();
    });
    timer.start(5);
    return WindowBench::Start();
  }
  void Close() { Window().close(); }
  ViewWindow* Child(View view) { return Window().ViewOf(view); }

  int DialogsSeen = 0;

 private:
  OneRun(const std::shared_ptr<QtSettingsStore>& store, platform::SingleInstance* instance)
      : WindowBench({.Settings = store.get(), .Instance = instance}), store_(store) {}

  std::shared_ptr<QtSettingsStore> store_;
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
  const Sessions::Values places{
      {"MainLeft", "495"}, {"MainTop", "660"}, {"MainWidth", "11850"}, {"MainHeight", "8400"},
      {"PgmLeft", "300"},  {"PgmTop", "450"},  {"PgmWidth", "4500"},   {"PgmHeight", "3000"},
      {"EEpLeft", "600"},  {"EEpTop", "900"},  {"EEpWidth", "4200"},   {"EEpHeight", "2400"},
      {"IndLeft", "750"},  {"IndTop", "1050"}};
  for (const auto& [key, value] : places) EXPECT_EQ(sessions.Stored(key), value) << key;
  OneRun second(sessions);
  second.Start();
  EXPECT_EQ(second.Window().pos(), QPoint(33, 44));
  EXPECT_EQ(second.Window().size(), QSize(790, 560));
  EXPECT_EQ(second.Child(View::Flash)->geometry(), QRect(20, 30, 300, 200));
  EXPECT_EQ(second.Child(View::Eeprom)->geometry(), QRect(40, 60, 280, 160));
  EXPECT_EQ(second.Window().Guide().pos(), QPoint(50, 70));
}

TEST(Session, ClosingWhileMinimisedKeepsWhatWasStored) {
  const Sessions sessions{{"Index_Com_Flag", "1"}, {"MainLeft", "1500"}, {"IndLeft", "345"}};
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
  const Sessions sessions{{"Index_Com_Flag", "1"}};
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
  run.Press("Cmd_btn_verify");
  run.Files.Files["/app/avrvfy.txt"] = "report";
  EXPECT_TRUE(run.Files.Files.contains("/app/avrhex.txt"));
  run.Close();
  ASSERT_EQ(run.Files.Files.size(), 1U);
  EXPECT_TRUE(run.Files.Files.contains("/app/_debug_avr.txt"));
}

TEST(Session, APlaceOutsideEveryScreenIsBroughtBackToOne) {
  for (const char* far : {"90000", "-90000", "1e30", "-1e30"}) {
    SCOPED_TRACE(far);
    const Sessions sessions{
        {"Index_Com_Flag", "1"}, {"MainLeft", far}, {"MainTop", far}, {"PgmTop", far}};
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
    const Sessions sessions{{"Index_Com_Flag", "1"}};
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
  const Sessions sessions{{"MainTop", "top"}};
  OneRun run(sessions);
  EXPECT_EQ(run.Start(), CommandEnding::BadSetting);
  ASSERT_EQ(run.Boxes.Shown.size(), 1U);
  EXPECT_THAT(run.Boxes.Shown[0], HasSubstr("セクション Settings、キー MainTop、値 \"top\""));
  EXPECT_EQ(run.DialogsSeen, 0);
  run.Close();
  EXPECT_EQ(sessions.Stored("MainTop"), "top");
  EXPECT_EQ(sessions.Stored("MainLeft"), "(missing)");
}

TEST(Session, ABadPlaceOfTheGuideIsFoundLastAndLeavesNoDumpsBehind) {
  const Sessions sessions{{"Index_Com_Flag", "1"}, {"IndTop", ""}};
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
  WindowBench bench({.Settings = &unwritable});
  unwritable.Write("Settings", "Index_Com_Flag", "1");
  EXPECT_EQ(bench.Start(), CommandEnding::Finished);
  ASSERT_EQ(bench.Boxes.Shown.size(), 1U);
  EXPECT_THAT(bench.Boxes.Shown[0], HasSubstr("設定を保存できません。"));
  QComboBox* selector = bench.Window().DeviceSelector();
  selector->setFocus();
  QTest::keyClick(selector, Qt::Key_End);
  EXPECT_EQ(bench.State().DeviceCode, 0x68);
  bench.Window().close();
  EXPECT_FALSE(bench.Window().isVisible());
  EXPECT_EQ(bench.Boxes.Shown.size(), 1U);
}

TEST(Session, APortGivenForTheRunIsUsedAndNotStored) {
  const Sessions sessions{{"Index_Com_Flag", "1"}, {"ComNox", "3"}};
  OneRun run(sessions);
  run.Run.Settings().GiveForThisRun("Settings", "ComNox", "8");
  run.Start();
  run.Press("Cmd_btn_verify");
  EXPECT_EQ(run.Run.Context().Line.ProgrammerPort.CommPort(), 8);
  run.Close();
  EXPECT_EQ(sessions.Stored("ComNox"), "3");
}

TEST(Session, ASecondRunEndsWithoutAWindow) {
  const Sessions sessions;
  FakeInstance taken;
  taken.Alone = false;
  OneRun run(sessions, &taken);
  EXPECT_EQ(run.Start(), CommandEnding::AnotherInstance);
  EXPECT_FALSE(run.Window().isVisible());
  EXPECT_TRUE(run.Boxes.Shown.empty());
  EXPECT_TRUE(run.Files.Deleted.empty());
  EXPECT_EQ(sessions.Stored("device"), "(missing)");
}

TEST(Session, ClosingDuringAnOperationAsksAndThenStoresInTheUsualOrder) {
  const Sessions sessions{{"Index_Com_Flag", "1"}, {"ComNox", "1"}};
  OneRun run(sessions);
  run.Start();
  run.Boxes.Answer = true;
  run.Window().move(150, 60);
  QTimer::singleShot(0, &run.Window(), [&] { run.Close(); });
  run.Press("Cmd_btn_read");
  EXPECT_EQ(run.Boxes.Questions.size(), 1U);
  EXPECT_FALSE(run.Window().isVisible());
  EXPECT_EQ(sessions.Stored("MainLeft"), "2250");
  EXPECT_FALSE(run.Files.Files.contains("/app/avrhex.txt"));
}

}  // namespace
}  // namespace fenwright::ui
