#include "core/app_state.h"

#include <gtest/gtest.h>

#include "core/settings_keys.h"
#include "core/trace_log.h"
#include "support/test_run.h"

namespace fenwright::core {
namespace {

TEST(AppState, TheDeviceFieldsAreZeroUntilADeviceIsApplied) {
  const AppState state;
  EXPECT_EQ(state.FlashWords, 0);
  EXPECT_EQ(state.EepromBytes, 0);
  EXPECT_EQ(state.DeviceCode, 0);
}

TEST(AppState, TheBuffersHaveTheirFixedSizesWhateverTheDevice) {
  testing::ScriptedRun run;
  EXPECT_EQ(run.State.FlashBuffer.size(), 65537U);
  EXPECT_EQ(run.State.EepromBuffer.size(), 2049U);
  run.Select(run.Context, "AT90S8535");
  run.Select(run.Context, "ATtiny12L");
  EXPECT_EQ(run.State.FlashBuffer.size(), 65537U);
  EXPECT_EQ(run.State.EepromBuffer.size(), 2049U);
}

TEST(AppState, NoFileIsOpenAndNothingHasFailedAtTheStart) {
  const AppState state;
  EXPECT_EQ(state.CodeFileName, "");
  EXPECT_EQ(state.DataFileName, "");
  EXPECT_EQ(state.CommandArgument, "");
  EXPECT_EQ(state.LinkError, 0);
  EXPECT_FALSE(state.HexFileLeftOpen);
  EXPECT_FALSE(state.CommandRunning);
  EXPECT_FALSE(state.StopRequested);
}

TEST(AppState, TwoRunsShareNothing) {
  testing::ScriptedRun first;
  testing::ScriptedRun second;
  first.Select(first.Context, "AT90S8515");
  second.Select(second.Context, "ATtiny15L");
  EXPECT_EQ(first.State.FlashWords, 4096);
  EXPECT_EQ(second.State.FlashWords, 512);
  TraceLog(first.Context).AppendMessage("one");
  EXPECT_TRUE(second.Trace().empty());
}

TEST(SettingsKeys, AreTheNamesThatEarlierRunsHaveStored) {
  EXPECT_EQ(kApplicationName, "FenwrightV6");
  EXPECT_EQ(kSettingsSection, "Settings");
  EXPECT_EQ(kDeviceKey, "device");
  EXPECT_EQ(kPortNumberKey, "ComNox");
  EXPECT_EQ(kOpenFolderKey, "OPEN_DIR");
}

}  // namespace
}  // namespace fenwright::core
