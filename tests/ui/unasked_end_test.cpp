// The end that nobody is asked about: a signal, the end of the session, a display that is lost.

#include "ui/unasked_end.h"

#include <csignal>

#include <QMessageBox>

#include "platform/system/end_signals.h"
#include "ui/window_bench.h"

namespace fenwright::ui {
namespace {

constexpr int kLongProgram = 2000;

/// Programming a long file takes many seconds at the board's speed.
struct UnaskedEndTest : WindowTest {
  UnaskedEndTest() : WindowTest({.Baud = kAtBoardSpeed}) {
    // Whoever runs the tests may have them ignored.
    std::signal(SIGTERM, SIG_DFL);
#ifdef SIGHUP
    std::signal(SIGHUP, SIG_DFL);
#endif
    Port.OnOutput = [this](std::span<const std::uint8_t> bytes) {
      wire_.insert(wire_.end(), bytes.begin(), bytes.end());
      if (const auto due = at_.find(static_cast<int>(wire_.size())); due != at_.end()) {
        // From inside the wait for the reply, as everything that happens meanwhile.
        QTimer::singleShot(0, &Window(), due->second);
      }
    };
    Start(GivenHexFile(kLongProgram));
    wire_.clear();
    Files.Files["/app/avrvfy.txt"] = "report";
  }

  /// Programs, and does something behind the first words.
  void ProgramAndThen(const std::function<void()>& action) {
    constexpr int kInTheFirstWords = 60;
    at_[kInTheFirstWords] = action;
    Press("Cmd_btn_program");
    EXPECT_GE(wire_.size(), kInTheFirstWords);
  }

  void ExpectProgrammingModeLeft() {
    ASSERT_FALSE(wire_.empty());
    EXPECT_EQ(wire_.back(), 'L');
    EXPECT_LT(wire_.size(), 200U) << "the whole file was programmed";
    EXPECT_FALSE(Board->Protocol().InProgrammingMode());
  }

  void ExpectFilesGoneAndPlaceStored() {
    for (const char* name : {"/app/avrhex.txt", "/app/avreep.txt", "/app/avrvfy.txt"}) {
      EXPECT_FALSE(Files.Files.contains(name)) << name;
    }
    EXPECT_TRUE(Files.Files.contains("/app/_debug_avr.txt"));
    EXPECT_EQ(Settings.Read("Settings", "MainWidth").value_or(""),
              std::to_string(15 * Window().width()));
    EXPECT_TRUE(Settings.Read("Settings", "PgmLeft"));
    EXPECT_TRUE(Settings.Read("Settings", "IndLeft"));
  }

  void ExpectClosedUnasked() {
    EXPECT_TRUE(Boxes.Questions.empty());
    EXPECT_FALSE(Window().isVisible());
    EXPECT_TRUE(QTest::qWaitFor([this] { return left_ > 0; }));
  }

  std::vector<std::uint8_t> wire_;
  std::map<int, std::function<void()>> at_;
  int left_ = 0;
  UnaskedEnd end_{Window(), State(), [this] { ++left_; }};
};

TEST_F(UnaskedEndTest, ASignalInTheMiddleOfProgrammingStopsItAndClosesTheWindow) {
  const platform::EndSignals end_signals;
  end_.BeginOn(end_signals.Descriptor());
  ProgramAndThen([] { std::raise(SIGTERM); });
  EXPECT_EQ(end_signals.Received(), SIGTERM);
  ExpectProgrammingModeLeft();
  ExpectFilesGoneAndPlaceStored();
  ExpectClosedUnasked();
}

TEST_F(UnaskedEndTest, ASignalClosesAnIdleWindow) {
  const platform::EndSignals end_signals;
  end_.BeginOn(end_signals.Descriptor());
  std::raise(SIGHUP);
  EXPECT_TRUE(QTest::qWaitFor([this] { return left_ > 0; }));
  EXPECT_EQ(end_signals.Received(), SIGHUP);
  ExpectFilesGoneAndPlaceStored();
  ExpectClosedUnasked();
  EXPECT_TRUE(wire_.empty());
}

TEST_F(UnaskedEndTest, TheEndOfTheSessionStopsACommandWithoutAsking) {
  bool taken = false;
  ProgramAndThen([&taken] {
    QEvent quit(QEvent::Quit);
    taken = QCoreApplication::sendEvent(qApp, &quit);
  });
  EXPECT_TRUE(taken);
  ExpectProgrammingModeLeft();
  ExpectFilesGoneAndPlaceStored();
  ExpectClosedUnasked();
}

TEST_F(UnaskedEndTest, ABoxThatWaitsForAnAnswerGivesWay) {
  QMessageBox question(&Window());
  QTimer::singleShot(0, &Window(), [this] { end_.Begin(); });
  EXPECT_NE(question.exec(), QMessageBox::Yes);
  ExpectFilesGoneAndPlaceStored();
  ExpectClosedUnasked();
}

TEST_F(UnaskedEndTest, ABoxThatComesUpLaterGivesWayToo) {
  end_.Begin();
  QMessageBox late;
  QTimer watchdog;
  bool stuck = false;
  QObject::connect(&watchdog, &QTimer::timeout, &late, [&] {
    stuck = true;
    late.reject();
  });
  watchdog.start(5000);
  late.exec();
  EXPECT_FALSE(stuck);
}

TEST_F(UnaskedEndTest, TheComPortDialogGivesWay) {
  QTimer::singleShot(0, &Window(), [this] {
    ASSERT_TRUE(Run.ComPortDialog().isVisible());
    end_.Begin();
  });
  Choose("mmuCominucation");
  EXPECT_FALSE(Run.ComPortDialog().isVisible());
  ExpectFilesGoneAndPlaceStored();
  ExpectClosedUnasked();
}

TEST_F(UnaskedEndTest, NothingStartsAfterwards) {
  end_.Begin();
  Press("Cmd_btn_program");
  Named<QPushButton>("Cmd_btn_erase")->click();
  EXPECT_TRUE(wire_.empty());
}

TEST(UnaskedEndBeforeTheStart, NothingIsDeletedAndNothingStarts) {
  WindowBench bench;
  bench.Files.Files["avrhex.txt"] = "somebody else's";
  int left = 0;
  UnaskedEnd end(bench.Window(), bench.State(), [&left] { ++left; });
  end.Begin();
  EXPECT_EQ(left, 1);
  EXPECT_EQ(bench.Start(), CommandEnding::Refused);
  EXPECT_FALSE(bench.Window().isVisible());
  EXPECT_TRUE(bench.Files.Deleted.empty());
}

/// The display is gone, or the process is about to be: no event runs any more.
struct EndAtOnceTest : UnaskedEndTest {
  void EndAtOnce() {
    Run.EndAtOnce();
    wire_at_the_end_ = wire_.size();
  }

  std::size_t wire_at_the_end_ = 0;
};

TEST_F(EndAtOnceTest, ItLeavesProgrammingModeFromWithinTheRunningExchange) {
  bool event_ran = false;
  ProgramAndThen([this, &event_ran] {
    QTimer::singleShot(0, &Window(), [&event_ran] { event_ran = true; });
    EndAtOnce();
    EXPECT_FALSE(event_ran);
    ExpectProgrammingModeLeft();
    ExpectFilesGoneAndPlaceStored();
    EXPECT_TRUE(Window().isVisible()) << "there may be no display to hide it on";
    EXPECT_FALSE(Port.PortOpen());
  });
  EXPECT_EQ(wire_.size(), wire_at_the_end_) << "the command went on";
  EXPECT_FALSE(event_ran);
  EXPECT_TRUE(Boxes.Questions.empty());
}

TEST_F(EndAtOnceTest, AnIdleWindowSendsNothing) {
  EndAtOnce();
  EXPECT_TRUE(wire_.empty());
  ExpectFilesGoneAndPlaceStored();
}

TEST_F(EndAtOnceTest, AfterTheUsualCloseThereIsNothingLeftToDo) {
  Window().close();
  Files.Deleted.clear();
  EndAtOnce();
  EXPECT_TRUE(Files.Deleted.empty());
}

TEST_F(EndAtOnceTest, ATraceThatCannotBeWrittenChangesNothing) {
  ProgramAndThen([this] {
    Files.Refused = {"/app/_debug_avr.txt"};
    EndAtOnce();
    ExpectProgrammingModeLeft();
    Files.Refused.clear();
  });
}

}  // namespace
}  // namespace fenwright::ui
