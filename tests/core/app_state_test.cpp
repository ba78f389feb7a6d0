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

TEST_ON(ScriptedTest, AppState, EveryNumberIsZeroAtTheStart) {
  const AppState state;
  EXPECT_EQ(state.FuseByte, 0);
  EXPECT_EQ(state.LockByte, 0);
  EXPECT_EQ(state.LockFuseByte, 0);
  EXPECT_EQ(state.FlashBuffer, std::vector<std::uint8_t>(65537, 0));
  EXPECT_EQ(state.EepromBuffer, std::vector<std::uint8_t>(2049, 0));
  EXPECT_EQ(state.RxBuf, std::vector<std::uint8_t>(11, 0));
  EXPECT_EQ(state.WaitStart, 0);
  EXPECT_EQ(state.OperationStartTime, 0);
  EXPECT_EQ(state.FirmwareVersion, 0);
  EXPECT_EQ(state.DetectedFlashWords, 0);
  EXPECT_EQ(state.FlashProgramCount, 0);
  EXPECT_EQ(state.EepromProgramCount, 0);
  EXPECT_EQ(state.CancelRequested, 0);
}

TEST_ON(ScriptedTest, AppState, NothingIsMarkedAtTheStart) {
  const AppState state;
  EXPECT_FALSE(state.SignatureFailed);
  EXPECT_FALSE(state.VerifyStandalone);
  EXPECT_FALSE(state.ReloadInProgress);
  EXPECT_FALSE(state.FlashNG);
  EXPECT_FALSE(state.EepromNG);
}

TEST_ON(ScriptedTest, AppState, ACommandBeginsWithNothingDone) {
  const CommandRecord done;
  EXPECT_EQ(done.Operation, DeviceOperation::None);
  EXPECT_FALSE(done.LinkReady || done.InProgrammingMode || done.NoticeShown);
  EXPECT_FALSE(done.EraseStarted || done.Erased || done.NothingToProgram);
  EXPECT_FALSE(done.FlashStarted || done.FlashFailed);
  EXPECT_FALSE(done.EepromStarted || done.EepromFailed);
  EXPECT_FALSE(done.VerifyFinished || done.ReadFinished);
  EXPECT_FALSE(done.FuseWriteStarted || done.FusesFinished);
  EXPECT_EQ(done.FlashWordsWritten, 0);
  EXPECT_EQ(done.EepromBytesDone, 0);
  EXPECT_EQ(done.FlashWordsRead, 0);
  EXPECT_EQ(done.FuseWriteCount, 0);
  EXPECT_EQ(done.FlashWriteSeconds, 0);
  EXPECT_EQ(done.FlashVerifySeconds, 0);
  EXPECT_EQ(FuseTransfer{}.Value, 0);
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
