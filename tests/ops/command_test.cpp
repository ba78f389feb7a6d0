#include "ops/command.h"

#include <stdexcept>

#include <gtest/gtest.h>

#include "core/status.h"
#include "core/trace_log.h"
#include "support/test_run.h"

namespace fenwright::ops {
namespace {

using core::AppState;
using core::CommandEnd;
using core::CommandEnding;
using core::RunContext;
using core::ShowStatus;
using core::TraceLog;
using screen::MessageIcon;
using screen::MessageMode;
using testing::Journal;

constexpr char kTracePath[] = "/app/_debug_avr.txt";

class Command : public ::testing::Test {
 protected:
  AppState& State() { return run_.State; }
  RunContext& Context() { return run_.Context; }
  CommandEnding Run(const std::function<void()>& body) {
    return RunCommand(run_.Context, [&](RunContext&) { body(); });
  }

  /// As Run(), in programming mode; `at_leave` runs when the board is told to leave it.
  CommandEnding RunInProgrammingMode(
      const std::function<void()>& body, const std::function<void()>& at_leave = [] {}) {
    run_.Port.StartOpen();
    run_.Port.Expect("'L'", "0D");
    return Run([&] {
      State().Command.InProgrammingMode = true;
      run_.Events.OnTurn = at_leave;
      body();
    });
  }

  testing::RecordedRun run_;
};

TEST_F(Command, ABodyThatReturnsHasFinished) {
  bool ran = false;
  EXPECT_EQ(Run([&] { ran = true; }), CommandEnding::Finished);
  EXPECT_TRUE(ran);
}

TEST_F(Command, TheGuardIsUpWhileTheBodyRunsAndDownAfterwards) {
  bool seen = false;
  Run([&] { seen = State().CommandRunning; });
  EXPECT_TRUE(seen);
  EXPECT_FALSE(State().CommandRunning);
}

TEST_F(Command, ACommandInsideACommandIsRefusedAndDoesNothing) {
  bool inner_ran = false;
  CommandEnding inner = CommandEnding::Finished;
  const CommandEnding outer = Run([&] {
    State().Command.InProgrammingMode = true;
    inner = Run([&] { inner_ran = true; });
    EXPECT_TRUE(State().Command.InProgrammingMode);
    EXPECT_TRUE(State().CommandRunning);
  });
  EXPECT_EQ(inner, CommandEnding::Refused);
  EXPECT_FALSE(inner_ran);
  EXPECT_TRUE(run_.Port.Sent.empty());
  EXPECT_EQ(outer, CommandEnding::Finished);
  EXPECT_FALSE(State().CommandRunning);
}

TEST_F(Command, ARefusedCommandSaysNothing) {
  Run([&] { Run([] {}); });
  EXPECT_TRUE(run_.Boxes.Boxes.empty());
  EXPECT_TRUE(run_.TakeJournal().empty());
}

TEST_F(Command, ARefusedCommandDoesNotUseUpTheStopRequestOfTheRunningOne) {
  Run([&] {
    State().StopRequested = true;
    Run([] {});
    EXPECT_TRUE(State().StopRequested);
  });
}

TEST_F(Command, TheNextCommandMayStartAfterOneHasEnded) {
  Run([] { throw CommandEnd{}; });
  EXPECT_EQ(Run([] {}), CommandEnding::Finished);
}

TEST_F(Command, AStopEndsTheBodyWhereItStandsWithoutAMessageBox) {
  bool went_on = false;
  EXPECT_EQ(Run([&] {
              if (State().CommandRunning) throw CommandEnd{};
              went_on = true;
            }),
            CommandEnding::Stopped);
  EXPECT_FALSE(went_on);
  EXPECT_TRUE(run_.Boxes.Boxes.empty());
  EXPECT_FALSE(State().CommandRunning);
}

TEST_F(Command, AStopRequestIsUsedUpByACommandThatFinished) {
  Run([&] { State().StopRequested = true; });
  EXPECT_FALSE(State().StopRequested);
}

TEST_F(Command, AStopRequestIsUsedUpByACommandThatItEnded) {
  Run([&] {
    State().StopRequested = true;
    throw CommandEnd{};
  });
  EXPECT_FALSE(State().StopRequested);
}

TEST_F(Command, TheStopDoesNotReachTheWorkThatAnEarlyEndStillHasToDo) {
  bool stop_seen = true;
  bool guarded = false;
  RunInProgrammingMode(
      [&] {
        State().StopRequested = true;
        throw CommandEnd{};
      },
      [&] {
        stop_seen = State().StopRequested;
        guarded = State().CommandRunning;
      });
  EXPECT_FALSE(stop_seen);
  EXPECT_TRUE(guarded);
}

TEST_F(Command, ABodyThatFinishesHasNoEarlyEnd) {
  Run([&] { State().Command.InProgrammingMode = true; });
  EXPECT_TRUE(run_.Port.Sent.empty());
  EXPECT_TRUE(run_.ComForm.Calls.empty());
}

TEST_F(Command, TheEarlyEndComesBeforeTheMessageBoxAndTheBusyDialogIsGoneByThen) {
  run_.ComForm.OnUnload = [&] { run_.Recorded.emplace_back("early end"); };
  Run([&] {
    run_.Dialog.Show("busy", MessageMode::Busy);
    throw CommandEnd{.Ending = CommandEnding::FileError, .Text = "text"};
  });
  EXPECT_EQ(run_.TakeJournal(),
            (Journal{"busy busy", "show text in flash view", "show text in EEPROM view",
                     "early end", "close dialog", "message box"}));
  EXPECT_FALSE(run_.Dialog.Loaded);
}

TEST_F(Command, AnEndThatTheEarlyEndThrowsItselfIsDropped) {
  const CommandEnding ending = RunInProgrammingMode(
      [] { throw CommandEnd{.Ending = CommandEnding::FileError, .Text = "first"}; },
      [] { throw CommandEnd{.Ending = CommandEnding::Stopped, .Text = "second"}; });
  EXPECT_EQ(ending, CommandEnding::FileError);
  ASSERT_EQ(run_.Boxes.Boxes.size(), 1U);
  EXPECT_EQ(run_.Boxes.Boxes[0].Text, "first");
  EXPECT_FALSE(State().CommandRunning);
}

TEST_F(Command, AFileErrorOfACommandOnTheChipSaysInWhatStateTheChipIs) {
  Run([&] {
    State().Command.Operation = core::DeviceOperation::Program;
    throw CommandEnd{.Ending = CommandEnding::FileError, .Text = "text"};
  });
  EXPECT_THAT(run_.Dialog.Shown, ::testing::ElementsAre(::testing::Pair(
                                     "デバイスには何も書き込んでいません。", MessageMode::Notice)));
}

TEST_F(Command, AnotherEndSaysNothingAboutTheChip) {
  Run([&] {
    State().Command.Operation = core::DeviceOperation::Program;
    throw CommandEnd{};
  });
  EXPECT_TRUE(run_.Dialog.Shown.empty());
}

TEST_F(Command, ABadSettingIsShownInACriticalMessageBox) {
  EXPECT_EQ(Run([] { throw CommandEnd{.Ending = CommandEnding::BadSetting, .Text = "device"}; }),
            CommandEnding::BadSetting);
  ASSERT_EQ(run_.Boxes.Boxes.size(), 1U);
  EXPECT_EQ(run_.Boxes.Boxes[0].Icon, MessageIcon::Critical);
  EXPECT_EQ(run_.Boxes.Boxes[0].Text, "device");
}

TEST_F(Command, ATraceThatTheDiscRefusesEndsTheCommandAndIsExplained) {
  run_.Files.Refused = {kTracePath};
  bool went_on = false;
  EXPECT_EQ(Run([&] {
              ShowStatus(Context(), "text");
              went_on = true;
            }),
            CommandEnding::FileError);
  EXPECT_FALSE(went_on);
  ASSERT_EQ(run_.Boxes.Boxes.size(), 1U);
  EXPECT_EQ(run_.Boxes.Boxes[0].Icon, MessageIcon::Critical);
  EXPECT_EQ(run_.Boxes.Boxes[0].Title, "");
  const std::string& text = run_.Boxes.Boxes[0].Text;
  EXPECT_NE(text.find(kTracePath), std::string::npos);
  EXPECT_NE(text.find("permission denied"), std::string::npos);
  EXPECT_NE(text.find("ディスクの空き容量とフォルダーの書き込み許可を確認してから"),
            std::string::npos);
  EXPECT_FALSE(State().CommandRunning);
}

TEST_F(Command, AnEarlyEndThatTracesToTheSameRefusedFileIsDroppedAndOneBoxIsShown) {
  run_.Files.Refused = {kTracePath};
  // Leaving programming mode is traced, too.
  EXPECT_EQ(RunInProgrammingMode([&] { TraceLog(Context()).AppendMessage("text"); }),
            CommandEnding::FileError);
  EXPECT_EQ(run_.Boxes.Boxes.size(), 1U);
}

TEST_F(Command, TheLinesBeforeTheRefusalStayInTheTrace) {
  Run([&] {
    ShowStatus(Context(), "before");
    run_.Files.Refused = {kTracePath};
    ShowStatus(Context(), "after");
  });
  EXPECT_EQ(run_.NewTrace(), std::vector<std::string>{"before"});
}

TEST_F(Command, AnUnexpectedErrorPassesThroughAndTakesTheGuardDown) {
  EXPECT_THROW(Run([&] {
                 State().StopRequested = true;
                 throw std::runtime_error("defect");
               }),
               std::runtime_error);
  EXPECT_FALSE(State().CommandRunning);
  EXPECT_FALSE(State().StopRequested);
}

TEST_F(Command, StartsWithARecordOfItsOwn) {
  Run([&] { State().Command.Erased = true; });
  EXPECT_TRUE(State().Command.Erased) << "kept for whoever wants to know what became of it";
  Run([&] { EXPECT_FALSE(State().Command.Erased); });
}

TEST_F(Command, ARefusedOneLeavesTheRecordOfTheRunningOne) {
  Run([&] {
    State().Command.Erased = true;
    Run([] {});
    EXPECT_TRUE(State().Command.Erased);
  });
}

}  // namespace
}  // namespace fenwright::ops
