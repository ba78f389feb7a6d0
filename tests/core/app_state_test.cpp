#include "core/app_state.h"

#include "core/settings_keys.h"
#include "core/trace_log.h"
#include "support/test_run.h"

namespace fenwright::core {
namespace {

TEST_ON(ScriptedTest, AppState, TheDeviceFieldsAreZeroUntilADeviceIsApplied) {
  const AppState state;
  EXPECT_EQ(state.FlashWords, 0);
  EXPECT_EQ(state.EepromBytes, 0);
  EXPECT_EQ(state.DeviceCode, 0);
}

TEST_ON(ScriptedTest, AppState, TheBuffersHaveTheirFixedSizesWhateverTheDevice) {
  EXPECT_EQ(State.FlashBuffer.size(), 65537U);
  EXPECT_EQ(State.EepromBuffer.size(), 2049U);
  Select(Context, "AT90S8535");
  Select(Context, "ATtiny12L");
  EXPECT_EQ(State.FlashBuffer.size(), 65537U);
  EXPECT_EQ(State.EepromBuffer.size(), 2049U);
}

TEST_ON(ScriptedTest, AppState, NoFileIsOpenAndNothingHasFailedAtTheStart) {
  const AppState state;
  EXPECT_EQ(state.CodeFileName, "");
  EXPECT_EQ(state.DataFileName, "");
  EXPECT_EQ(state.CommandArgument, "");
  EXPECT_EQ(state.LinkError, 0);
  EXPECT_FALSE(state.HexFileLeftOpen);
  EXPECT_FALSE(state.CommandRunning);
  EXPECT_FALSE(state.StopRequested);
}

TEST_ON(ScriptedTest, AppState, TwoRunsShareNothing) {
  ScriptedRun first;
  ScriptedRun second;
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
