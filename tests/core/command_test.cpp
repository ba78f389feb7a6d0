#include "core/command.h"

#include "core/status.h"
#include "core/trace_log.h"
#include "support/test_run.h"

namespace fenwright::core {
namespace {

constexpr char kTracePath[] = "/app/_debug_avr.txt";

struct Command : Test, RecordedRun {
  CommandEnding Run(const std::function<void()>& body,
                    const std::function<void()>& on_early_end = {}) {
    return RunCommand(Context, body, on_early_end);
  }
};

TEST_F(Command, ABodyThatReturnsHasFinished) {
  bool ran = false;
  EXPECT_EQ(Run([&] { ran = true; }), CommandEnding::Finished);
  EXPECT_TRUE(ran);
}

TEST_F(Command, TheGuardIsUpWhileTheBodyRunsAndDownAfterwards) {
  bool seen = false;
  Run([&] { seen = State.CommandRunning; });
  EXPECT_TRUE(seen);
  EXPECT_FALSE(State.CommandRunning);
}

TEST_F(Command, ACommandInsideACommandIsRefusedAndDoesNothing) {
  bool inner_ran = false;
  bool inner_ended_early = false;
  CommandEnding inner = CommandEnding::Finished;
  const CommandEnding outer = Run([&] {
    inner = Run([&] { inner_ran = true; }, [&] { inner_ended_early = true; });
    EXPECT_TRUE(State.CommandRunning);
  });
  EXPECT_EQ(inner, CommandEnding::Refused);
  EXPECT_FALSE(inner_ran);
  EXPECT_FALSE(inner_ended_early);
  EXPECT_EQ(outer, CommandEnding::Finished);
  EXPECT_FALSE(State.CommandRunning);
}

TEST_F(Command, ARefusedCommandSaysNothing) {
  Run([&] { Run([] {}); });
  EXPECT_TRUE(Boxes.Boxes.empty());
  EXPECT_TRUE(TakeJournal().empty());
}

TEST_F(Command, ARefusedCommandDoesNotUseUpTheStopRequestOfTheRunningOne) {
  Run([&] {
    State.StopRequested = true;
    Run([] {});
    EXPECT_TRUE(State.StopRequested);
  });
}

TEST_F(Command, TheNextCommandMayStartAfterOneHasEnded) {
  Run([] { throw CommandEnd{}; });
  EXPECT_EQ(Run([] {}), CommandEnding::Finished);
}

TEST_F(Command, AStopEndsTheBodyWhereItStandsWithoutAMessageBox) {
  bool went_on = false;
  EXPECT_EQ(Run([&] {
              if (State.CommandRunning) throw CommandEnd{};
              went_on = true;
            }),
            CommandEnding::Stopped);
  EXPECT_FALSE(went_on);
  EXPECT_TRUE(Boxes.Boxes.empty());
  EXPECT_FALSE(State.CommandRunning);
}

TEST_F(Command, AStopRequestIsUsedUpByACommandThatFinished) {
  Run([&] { State.StopRequested = true; });
  EXPECT_FALSE(State.StopRequested);
}

TEST_F(Command, AStopRequestIsUsedUpByACommandThatItEnded) {
  Run([&] {
    State.StopRequested = true;
    throw CommandEnd{};
  });
  EXPECT_FALSE(State.StopRequested);
}

TEST_F(Command, TheStopDoesNotReachTheWorkThatAnEarlyEndStillHasToDo) {
  bool stop_seen = true;
  bool guarded = false;
  Run(
      [&] {
        State.StopRequested = true;
        throw CommandEnd{};
      },
      [&] {
        stop_seen = State.StopRequested;
        guarded = State.CommandRunning;
      });
  EXPECT_FALSE(stop_seen);
  EXPECT_TRUE(guarded);
}

TEST_F(Command, ABodyThatFinishesHasNoEarlyEnd) {
  bool ended_early = false;
  Run([] {}, [&] { ended_early = true; });
  EXPECT_FALSE(ended_early);
}

TEST_F(Command, TheEarlyEndComesBeforeTheMessageBoxAndTheBusyDialogIsGoneByThen) {
  Run(
      [&] {
        Dialog.Show("busy", MessageMode::Busy);
        throw CommandEnd{.Ending = CommandEnding::FileError, .Text = "text"};
      },
      [&] { Recorded.emplace_back("early end"); });
  EXPECT_EQ(TakeJournal(), (Journal{"busy busy", "early end", "close dialog", "message box"}));
  EXPECT_FALSE(Dialog.Loaded);
}

TEST_F(Command, AnEndThatTheEarlyEndThrowsItselfIsDropped) {
  const CommandEnding ending =
      Run([] { throw CommandEnd{.Ending = CommandEnding::FileError, .Text = "first"}; },
          [] { throw CommandEnd{.Ending = CommandEnding::Stopped, .Text = "second"}; });
  EXPECT_EQ(ending, CommandEnding::FileError);
  EXPECT_THAT(Boxes.Texts(), ElementsAre("first"));
  EXPECT_FALSE(State.CommandRunning);
}

TEST_F(Command, ABadSettingIsShownInACriticalMessageBox) {
  EXPECT_EQ(Run([] { throw CommandEnd{.Ending = CommandEnding::BadSetting, .Text = "device"}; }),
            CommandEnding::BadSetting);
  EXPECT_THAT(Boxes.Boxes, ElementsAre(Box{MessageIcon::Critical, "", "device"}));
}

TEST_F(Command, ATraceThatTheDiscRefusesEndsTheCommandAndIsExplained) {
  Files.Refused = {kTracePath};
  bool went_on = false;
  EXPECT_EQ(Run([&] {
              ShowStatus(Context, "text");
              went_on = true;
            }),
            CommandEnding::FileError);
  EXPECT_FALSE(went_on);
  ASSERT_EQ(Boxes.Boxes.size(), 1U);
  EXPECT_EQ(Boxes.Boxes[0].Icon, MessageIcon::Critical);
  EXPECT_EQ(Boxes.Boxes[0].Title, "");
  const std::string& text = Boxes.Boxes[0].Text;
  EXPECT_THAT(text, HasSubstr(kTracePath));
  EXPECT_THAT(text, HasSubstr("permission denied"));
  EXPECT_THAT(text, HasSubstr("ディスクの空き容量とフォルダーの書き込み許可を確認してから"));
  EXPECT_FALSE(State.CommandRunning);
}

TEST_F(Command, AnEarlyEndThatTracesToTheSameRefusedFileIsDroppedAndOneBoxIsShown) {
  Files.Refused = {kTracePath};
  const auto trace = [&] { TraceLog(Context).AppendMessage("text"); };
  EXPECT_EQ(Run(trace, trace), CommandEnding::FileError);
  EXPECT_EQ(Boxes.Boxes.size(), 1U);
}

TEST_F(Command, TheLinesBeforeTheRefusalStayInTheTrace) {
  Run([&] {
    ShowStatus(Context, "before");
    Files.Refused = {kTracePath};
    ShowStatus(Context, "after");
  });
  EXPECT_EQ(NewTrace(), Texts{"before"});
}

TEST_F(Command, AnUnexpectedErrorPassesThroughAndTakesTheGuardDown) {
  EXPECT_THROW(Run([&] {
                 State.StopRequested = true;
                 throw std::runtime_error("defect");
               }),
               std::runtime_error);
  EXPECT_FALSE(State.CommandRunning);
  EXPECT_FALSE(State.StopRequested);
}

}  // namespace
}  // namespace fenwright::core
