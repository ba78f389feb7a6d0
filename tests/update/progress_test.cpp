
#include "support/update_run.h"

namespace fenwright::testing {
namespace {

using Calls = std::vector<std::string>;

/// What one call changes.
Calls Show(const char* mode, int minimum, int maximum, int value) {
  ScriptedUpdate run;
  update::ShowProgress(run.Context, mode, minimum, maximum, value);
  EXPECT_EQ(run.Events.Turns,
            run.Dialog_Update.Calls == Calls{"bar at " + std::to_string(minimum)} ? 1 : 0);
  return run.Dialog_Update.Calls;
}

TEST(ShowProgress, OffSetsTheValueToTheMinimum) {
  for (const char* mode : {"off", "OFF", "Off"}) {
    EXPECT_EQ(Show(mode, 0, 0, 0), Calls{"bar at 0"});
    EXPECT_EQ(Show(mode, 3, 7936, 79), Calls{"bar at 3"});
  }
}

TEST(ShowProgress, AValueThatHasReachedTheMaximumDoesTheSame) {
  EXPECT_EQ(Show("on", 0, 7936, 7936), Calls{"bar at 0"});
  EXPECT_EQ(Show("on", 0, 7936, 8190), Calls{"bar at 0"});
  EXPECT_EQ(Show("nonsense", 5, 100, 100), Calls{"bar at 5"});
}

TEST(ShowProgress, OnMovesTheBarEvery79Words) {
  for (const char* mode : {"on", "ON", "oN"}) {
    EXPECT_EQ(Show(mode, 0, 7936, 0), Calls{"bar 0..7936 at 0"});
    EXPECT_EQ(Show(mode, 0, 7936, 79), Calls{"bar 0..7936 at 79"});
    EXPECT_EQ(Show(mode, 0, 7936, 158), Calls{"bar 0..7936 at 158"});
    EXPECT_EQ(Show(mode, 0, 7936, 7900), Calls{"bar 0..7936 at 7900"});
  }
  for (const int value : {1, 78, 80, 100, 7935}) EXPECT_EQ(Show("on", 0, 7936, value), Calls{});
}

TEST(ShowProgress, AHundredthIsRoundedToAnIntegerHalvesToTheEvenOne) {
  EXPECT_EQ(Show("on", 0, 160, 2), Calls{"bar 0..160 at 2"});
  EXPECT_EQ(Show("on", 0, 160, 3), Calls{});
  EXPECT_EQ(Show("on", 0, 250, 2), Calls{"bar 0..250 at 2"});
  EXPECT_EQ(Show("on", 0, 350, 4), Calls{"bar 0..350 at 4"});
  EXPECT_EQ(Show("on", 0, 350, 3), Calls{});
}

TEST(ShowProgress, AMaximumBelow100OrAnotherModeChangesNothing) {
  EXPECT_EQ(Show("on", 0, 99, 0), Calls{});
  EXPECT_EQ(Show("", 0, 7936, 79), Calls{});
  EXPECT_EQ(Show("online", 0, 7936, 79), Calls{});
}

TEST(ShowProgress, ThroughAWholeUpdateTheBarMovesAHundredTimesAndFallsBack) {
  BoardUpdate run({.Baud = 0});
  run.Open();
  run.Dialog_Update.Calls.clear();
  run.UpdateWith(HexFile(Bytes(0x4000, 0)));
  Calls moves;
  for (const std::string& call : run.Dialog_Update.Calls) {
    if (call.starts_with("bar ")) moves.push_back(call);
  }
  Calls expected;
  for (int value = 0; value <= 7900; value += 79) {
    expected.push_back("bar 0..7936 at " + std::to_string(value));
  }
  // 256 words from 0x1F00 on, skipped or sent.
  expected.insert(expected.end(), 256, "bar at 0");
  EXPECT_EQ(moves, expected);
  EXPECT_EQ(run.Dialog_Update.Progress, 0);
}

}  // namespace
}  // namespace fenwright::testing
