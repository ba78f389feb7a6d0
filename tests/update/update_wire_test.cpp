
#include "support/update_run.h"

namespace fenwright::testing {
namespace {

using update::UpdateOutcome;

constexpr const char* kUpdated =
    "　　　 ファームウエアアップデートが完了しました。  電源を再投入してください。  "
    "　　　　　　　\r\n　";

/// Frames expected of a script, each with the acknowledgement that is its sum.
void ExpectFrames(ScriptedPort& port, std::initializer_list<const char*> frames) {
  for (const char* frame : frames) {
    unsigned sum = 0;
    for (const std::uint8_t byte : Hex(frame)) sum += byte;
    port.Expect(frame, ToHex(Bytes{static_cast<std::uint8_t>(sum)}));
  }
}

/// The updater's port must send exactly `frames` between "U" and the end frame.
void ExpectUpdate(const std::string& file, std::initializer_list<const char*> frames) {
  ScriptedUpdate run;
  run.UpdaterPort.Expect("'U'");
  ExpectFrames(run.UpdaterPort, frames);
  run.UpdaterPort.Expect("FF FF FF FF");
  EXPECT_EQ(run.RunUpdate(file), UpdateOutcome::Finished) << file;
  EXPECT_EQ(run.Update.UpdateFailed, 0);
}

TEST_ON(UpdateTest, UpdateWire, AWordGoesOutAddressFirstThenItsHighByte) {
  ExpectUpdate(":040002000C945634CC\r\n:00000001FF\r\n", {"00 01 94 0C", "00 02 34 56"});
}

TEST_ON(UpdateTest, UpdateWire, EveryFrameIsOneWriteAfterADiscardOfTheInput) {
  UpdaterPort.Expect("'U'").Expect("00 00 02 01", "03").Expect("00 01 04 03", "08");
  UpdaterPort.Expect("FF FF FF FF");
  RunUpdate(":0400000001020304F2\r\n:00000001FF\r\n");
  EXPECT_EQ(UpdaterPort.Log,
            (Texts{"DiscardInput", "Output 55", "DiscardInput", "Output 00 00 02 01",
                   "DiscardInput", "Output 00 01 04 03", "DiscardInput", "Output FF FF FF FF"}));
}

TEST_ON(UpdateTest, UpdateWire, TheBoardGetsAWholeSecondAfterItsU) {
  UpdaterPort.Expect("'U'").Expect("FF FF FF FF");
  RunUpdate(kEndRecord);
  EXPECT_NEAR(Clock.Elapsed(), 1.0, 1e-6);
}

TEST_ON(UpdateTest, UpdateWire, MidnightDoesNotCutThatSecondShort) {
  Clock.Set(86399.5);
  UpdaterPort.Expect("'U'").Expect("FF FF FF FF");
  RunUpdate(kEndRecord);
  EXPECT_NEAR(Clock.Elapsed(), 1.0, 1e-6);
}

TEST_ON(UpdateTest, UpdateWire, TheSecondsOfAnUpdateAreWholeAndMakeNoAllowanceForMidnight) {
  for (const auto& [start, status] : {std::pair{36000.0, "アップデート完了。  2sec"},
                                      {86399.5, "アップデート完了。  -86397sec"}}) {
    ScriptedUpdate run;
    run.Clock.Set(start);
    run.UpdaterPort.Expect("'U'").Expect("00 00 02 01", "03", 1.7).Expect("FF FF FF FF");
    run.RunUpdate(":020000000102FB\r\n");
    EXPECT_EQ(run.Dialog_Update.Status, status);
  }
}

TEST_ON(UpdateTest, UpdateWire, AFileWithOnlyAnEndRecordSendsTheEndFrameAtOnceAndFinishes) {
  UpdaterPort.Expect("'U'").Expect("FF FF FF FF");
  EXPECT_EQ(RunUpdate(kEndRecord), UpdateOutcome::Finished);
  ASSERT_EQ(Dialog_Update.Calls.size(), 1U);
  EXPECT_TRUE(Dialog_Update.Status.starts_with("アップデート完了。  "));
  EXPECT_TRUE(Dialog_Update.Status.ends_with("sec"));
  EXPECT_THAT(DialogBoxes.Boxes,
              ElementsAre(Box{MessageIcon::Information, "ファームウエアアップデート", kUpdated}));
  EXPECT_TRUE(UpdaterPort.PortOpen());
}

TEST_ON(UpdateTest, UpdateWire, AnEmptyFileDoesTheSame) { ExpectUpdate("", {}); }

TEST_ON(UpdateTest, UpdateWire, TheGapAndTheLoneTopWordAreSkippedAndTheirNeighboursSent) {
  ExpectUpdate(HexRecord(0x3DFE, {1, 2, 3, 4}) + HexRecord(0x3FBE, {5, 6, 7, 8}) +
                   HexRecord(0x3FFC, {9, 10, 11, 12}) + kEndRecord,
               {"1E FF 02 01", "1F E0 08 07", "1F FE 0A 09"});
}

TEST_ON(UpdateTest, UpdateWire, NothingInTheGapOrBeyondTheTopMakesAnyTraffic) {
  std::string file;
  for (unsigned address = 0x3E00; address < 0x3FC0; address += 16) {
    file += HexRecord(address, Bytes(16, 0x5A));
  }
  file += HexRecord(0x3FFE, {1, 2}) + HexRecord(0x4000, {1, 2}) + HexRecord(0xFFFE, {1, 2});
  ExpectUpdate(file + kEndRecord, {});
}

TEST_ON(UpdateTest, UpdateWire, AFullImageIsPinnedByteForByte) {
  const Bytes image = RandomBytes(0x4000, 73);
  BoardUpdate run({.Baud = 0});
  run.Open();
  ASSERT_EQ(run.UpdateWith(HexFile(image)), update::StartOutcome::Ran);

  Bytes expected{'U'};
  for (unsigned word = 0; word < 0x2000; ++word) {
    const bool sent = word <= 0x1EFF || (word >= 0x1FE0 && word <= 0x1FFE);
    if (!sent) continue;
    expected.insert(expected.end(),
                    {static_cast<std::uint8_t>(word >> 8), static_cast<std::uint8_t>(word),
                     image[2 * word + 1], image[2 * word]});
  }
  expected.insert(expected.end(), 4, 0xFF);
  EXPECT_EQ(expected.size(), 1U + 4 * (7936 + 31) + 4);
  EXPECT_TRUE(run.Wire == expected);
  EXPECT_EQ(run.Update.WordsSent, 7967);
  EXPECT_EQ(run.Board->Protocol().Firmware().size(), 7967U);
}

TEST_ON(UpdateTest, UpdateWire, AnOddByteCountPairsTheLastByteWithTheChecksumDigits) {
  ExpectUpdate(":0300000011223397\r\n:00000001FF\r\n", {"00 00 22 11", "00 01 97 33"});
}

TEST_ON(UpdateTest, UpdateWire, AByteCountOfZeroHasNoWord) {
  ExpectUpdate(":00000000001100\r\n", {});
}

TEST_ON(UpdateTest, UpdateWire, LinesThatAreNoDataRecordsAreSkipped) {
  ExpectUpdate(
      "\r\n"
      "; a remark\r\n"
      " :0200000011 22CB\r\n"
      "S1130000\r\n"
      ":\r\n"
      ":0000000\r\n"
      ":020000021000EC\r\n"
      ":020000040001F9\r\n"
      ":02000001AABB98\r\n"
      ":020000000102FB\r\n"
      ":00000001FF\r\n"
      ":020002000304F5\r\n",
      {"00 00 02 01", "00 01 04 03"});
}

TEST_ON(UpdateTest, UpdateWire, ExtendedAddressesAreNotFollowed) {
  ExpectUpdate(":020000040001F9\r\n:020000000102FB\r\n", {"00 00 02 01"});
}

TEST_ON(UpdateTest, UpdateWire, TheRecordChecksumIsNotChecked) {
  ExpectUpdate(":02000000010200\r\n:020002000304\r\n", {"00 00 02 01", "00 01 04 03"});
}

TEST_ON(UpdateTest, UpdateWire, DigitsMayBeInLowerCaseAndLinesEndInLf) {
  ExpectUpdate(":02000a00cdabff\n:00000001ff\n", {"00 05 AB CD"});
}

TEST_ON(UpdateTest, UpdateWire, ARecordAtAnOddAddressUsesTheIntegerPartOfItsWordAddresses) {
  ExpectUpdate(HexRecord(0x0003, {1, 2, 3, 4}), {"00 01 02 01", "00 02 04 03"});
}

TEST_ON(UpdateTest, UpdateWire, AtOddAddressesTheIntegerPartDecidesWhatIsSkipped) {
  ExpectUpdate(HexRecord(0x3DFF, {1, 2}) + HexRecord(0x3E01, {3, 4}) + HexRecord(0x3FBF, {5, 6}) +
                   HexRecord(0x3FC1, {7, 8}) + HexRecord(0x3FFD, {9, 10}) +
                   HexRecord(0x3FFF, {11, 12}),
               {"1E FF 02 01", "1F E0 08 07", "1F FE 0A 09"});
}

TEST_ON(UpdateTest, UpdateWire, OfAnAcknowledgementOfSeveralBytesTheFirstCounts) {
  UpdaterPort.Expect("'U'").Expect("00 00 02 01", "03 99 98").Expect("FF FF FF FF");
  EXPECT_EQ(RunUpdate(":020000000102FB\r\n"), UpdateOutcome::Finished);
  EXPECT_EQ(Update.ReceiveBuffer, (Bytes{0x03, 0x99, 0x98}));
}

TEST_ON(UpdateTest, UpdateWire, TheAcknowledgementIsTheSumModulo256) {
  UpdaterPort.Expect("'U'").Expect("00 01 FF FF", "FF").Expect("FF FF FF FF");
  EXPECT_EQ(RunUpdate(":02000200FFFFFE\r\n"), UpdateOutcome::Finished);
}

TEST_ON(UpdateTest, UpdateWire, ABoardThatAcknowledgesLateIsWaitedForTwoSecondsAndNoMore) {
  for (const bool in_time : {true, false}) {
    ScriptedUpdate run;
    run.UpdaterPort.Expect("'U'").Expect("00 00 02 01", "03", in_time ? 1.99 : 2.02);
    if (in_time) run.UpdaterPort.Expect("FF FF FF FF");
    EXPECT_EQ(run.RunUpdate(":020000000102FB\r\n"),
              in_time ? UpdateOutcome::Finished : UpdateOutcome::TimedOut);
  }
}

TEST_ON(UpdateTest, UpdateWire, AQuestionThatStandsForLongInTheMiddleDoesNotEndTheUpdate) {
  // Whoever asks, asks within a turn of events; the acknowledgement comes while the user thinks.
  for (const double delay : {0.5, 29.5}) {
    ScriptedUpdate run;
    run.UpdaterPort.Expect("'U'").Expect("00 00 02 01", "03", delay).Expect("00 01 04 03", "08");
    run.UpdaterPort.Expect("FF FF FF FF");
    bool asked = false;
    run.Events.OnTurn = [&run, &asked] {
      if (asked || run.Update.WordsSent == 0) return;
      asked = true;
      run.Clock.Advance(30);
    };
    EXPECT_EQ(run.RunUpdate(":0400000001020304F2\r\n"), UpdateOutcome::Finished) << delay;
    EXPECT_TRUE(asked);
  }
}

TEST_ON(UpdateTest, UpdateWire, AWaitThatBeginsBeforeMidnightLastsUntilTheByteComes) {
  Clock.Set(86398.5);
  UpdaterPort.Expect("'U'").Expect("00 00 02 01", "03", 600).Expect("FF FF FF FF");
  EXPECT_EQ(RunUpdate(":020000000102FB\r\n"), UpdateOutcome::Finished);
}

TEST_ON(UpdateTest, UpdateWire, EventsRunOncePerWordAtLeast) {
  UpdaterPort.Expect("'U'").Expect("FF FF FF FF");
  RunUpdate(kEndRecord);
  const int without_words = Events.Turns;
  ScriptedUpdate skipping;
  skipping.UpdaterPort.Expect("'U'").Expect("FF FF FF FF");
  skipping.RunUpdate(HexRecord(0x8000, Bytes(16, 0)) + kEndRecord);
  // Words beyond the maximum also run events with the bar that they take back to 0.
  EXPECT_EQ(skipping.Events.Turns, without_words + 8 + 8);
}

TEST_ON(UpdateTest, UpdateWire, AStopBeforeTheFirstWordSendsNoEndFrame) {
  UpdaterPort.Expect("'U'");
  Events.OnTurn = [this] { State.StopRequested = true; };
  EXPECT_EQ(RunUpdate(":020000000102FB\r\n"), UpdateOutcome::Stopped);
  EXPECT_TRUE(DialogBoxes.Boxes.empty());
}

TEST_ON(UpdateTest, UpdateWire, AStopIsToldInTheStatus) {
  State.StopRequested = true;
  RunUpdate(":020000000102FB\r\n");
  EXPECT_EQ(Dialog_Update.Status, "アップデートを中止しました。");
}

TEST_ON(UpdateTest, UpdateWire, EveryEndLeavesTheDialogBusyButNoLongerUpdating) {
  const std::string word = ":020000000102FB\r\n";
  {
    ScriptedUpdate run;
    run.UpdaterPort.Expect("'U'").Expect("00 00 02 01", "03").Expect("FF FF FF FF");
    ASSERT_EQ(run.RunUpdate(word), UpdateOutcome::Finished);
    EXPECT_EQ(run.Update.Now, update::Activity::Busy);
  }
  {
    ScriptedUpdate run;
    run.UpdaterPort.Expect("'U'").Expect("00 00 02 01", "");
    ASSERT_EQ(run.RunUpdate(word), UpdateOutcome::TimedOut);
    EXPECT_EQ(run.Update.Now, update::Activity::Busy);
  }
  {
    ScriptedUpdate run;
    run.UpdaterPort.Expect("'U'").Expect("00 00 02 01", "04");
    ASSERT_EQ(run.RunUpdate(word), UpdateOutcome::Mismatch);
    EXPECT_EQ(run.Update.Now, update::Activity::Busy);
  }
  State.StopRequested = true;
  ASSERT_EQ(RunUpdate(word), UpdateOutcome::Stopped);
  EXPECT_EQ(Update.Now, update::Activity::Busy);
}

TEST_ON(UpdateTest, UpdateWire, EachUpdateCountsItsOwnWordsAndTime) {
  EXPECT_EQ(update::UpdateState{}.StreamSeconds, 0);
  for (int i = 0; i < 2; ++i) {
    UpdaterPort.Expect("'U'").Expect("00 00 02 01", "03", 0.5).Expect("FF FF FF FF");
    RunUpdate(":020000000102FB\r\n");
    EXPECT_EQ(Update.WordsSent, 1);
    EXPECT_NEAR(Update.StreamSeconds, 0.5, 0.01);
  }
}

TEST_ON(UpdateTest, UpdateWire, AStopBeforeTheUpdateSendsNothing) {
  State.StopRequested = true;
  EXPECT_EQ(RunUpdate(":020000000102FB\r\n"), UpdateOutcome::Stopped);
}

TEST_ON(UpdateTest, UpdateWire, AStopInTheMiddleLetsTheRunningExchangeReturnAndSendsNoEndFrame) {
  UpdaterPort.Expect("'U'").Expect("00 00 02 01", "03", 0.5);
  Events.OnTurn = [this] { State.StopRequested = Update.WordsSent == 1; };
  EXPECT_EQ(RunUpdate(":0400000001020304F2\r\n"), UpdateOutcome::Stopped);
  EXPECT_EQ(UpdaterPort.InBufferCount(), 0) << "the acknowledgement was taken";
}

}  // namespace
}  // namespace fenwright::testing
