#include "board/simulated_board.h"

#include "board/talk.h"

namespace fenwright::board {
namespace {

using std::chrono::nanoseconds;

/// Sends a command at `now` and gives the time at which its whole answer has arrived.
nanoseconds Exchange(SimulatedBoard& board, nanoseconds now, const Bytes& command,
                     std::size_t answer_size) {
  board.Receive(command, now);
  for (std::size_t i = 0; i < answer_size; ++i) {
    const auto due = board.NextDue();
    if (!due) {
      ADD_FAILURE() << "no answer";
      return now;
    }
    now = *due;
    EXPECT_TRUE(board.TakeDue(now - 1ns).empty());
    EXPECT_EQ(board.TakeDue(now).size(), 1U);
  }
  EXPECT_EQ(board.NextDue(), std::nullopt);
  return now;
}

nanoseconds MakeReady(SimulatedBoard& board, std::uint8_t code) {
  nanoseconds now = Exchange(board, 0ns, Say('A'), 1);
  now = Exchange(board, now, Say('T', {code}), 1);
  return Exchange(board, now, Say('P'), 1);
}

TEST(ByteTime, IsTenBits) {
  EXPECT_EQ(ByteTime(57600), kByte);
  EXPECT_EQ(ByteTime(9600), 1'041'666ns);
  EXPECT_EQ(ByteTime(0), 0ns);
}

TEST(SimulatedBoard, AnAcknowledgementTakesTwoByteTimes) {
  SimulatedBoard board({.Chip = "AT90S8515"});
  EXPECT_EQ(Exchange(board, 5ms, Say('A'), 1), 5ms + 2 * kByte);
}

TEST(SimulatedBoard, AWordIsWrittenInSixByteTimesAndReadInThree) {
  SimulatedBoard board({.Chip = "AT90S8515"});
  const nanoseconds start = MakeReady(board, 0x38);
  nanoseconds now = Exchange(board, start, Say('c', {0x34}), 1);
  now = Exchange(board, now, Say('C', {0x12}), 1);
  EXPECT_EQ(now - start, 6 * kByte);
  EXPECT_EQ(Exchange(board, now, Say('R'), 2) - now, 3 * kByte);
}

TEST(SimulatedBoard, AWordOfATiny26IsWrittenInFourByteTimes) {
  SimulatedBoard board({.Chip = "ATtiny26L"});
  const nanoseconds start = MakeReady(board, 0x59);
  EXPECT_EQ(Exchange(board, start, Say('W', {0x34, 0x12}), 1) - start, 4 * kByte);
}

TEST(SimulatedBoard, TheVersionLineArrivesByteByByte) {
  SimulatedBoard board({.Chip = "AT90S8515"});
  board.Receive(Say('?'), 0ns);
  EXPECT_EQ(board.TakeDue(1 * kByte).size(), 0U);
  EXPECT_EQ(board.TakeDue(2 * kByte).size(), 1U);
  EXPECT_EQ(board.TakeDue(11 * kByte).size(), 9U);
  EXPECT_EQ(board.TakeDue(19 * kByte).size(), 8U);
}

TEST(SimulatedBoard, BytesSentOneByOneShareTheLine) {
  SimulatedBoard board({.Chip = "AT90S8515"});
  const nanoseconds start = MakeReady(board, 0x38);
  board.Receive(Bytes{'a'}, start);
  board.Receive(Bytes{0x00}, start + 1us);
  board.Receive(Bytes{0x05}, start + 2us);
  EXPECT_EQ(board.NextDue(), start + 4 * kByte);
}

TEST(SimulatedBoard, ALineThatWasIdleStartsWithTheByte) {
  SimulatedBoard board({.Chip = "AT90S8515"});
  const nanoseconds start = MakeReady(board, 0x38);
  board.Receive(Bytes{'D'}, start);
  board.Receive(Bytes{0x00}, start + 10ms);
  EXPECT_EQ(board.NextDue(), start + 10ms + 2 * kByte);
}

TEST(SimulatedBoard, TheTwoDirectionsDoNotWaitForEachOther) {
  SimulatedBoard board({.Chip = "AT90S8515"});
  board.Receive(Bytes{'A', '?'}, 0ns);
  EXPECT_EQ(board.TakeDue(2 * kByte), kAck) << "while the second command arrives";
  EXPECT_EQ(board.NextDue(), 3 * kByte);
}

TEST(SimulatedBoard, LatencyHoldsEveryReceivedByteBack) {
  SimulatedBoard board({.Chip = "AT90S8515", .Latency = 16ms});
  EXPECT_EQ(Exchange(board, 0ns, Say('A'), 1), 2 * kByte + 16ms);
}

TEST(SimulatedBoard, AnInfinitelyFastLineAnswersAtOnce) {
  SimulatedBoard board({.Chip = "AT90S8515", .Baud = 0});
  EXPECT_EQ(Exchange(board, 7ms, Say('A'), 1), 7ms);
}

TEST(SimulatedBoard, ChipTimesComeOnTopOfTheLine) {
  SimulatedBoard board({.Chip = "AT90S8515", .Board = {.Times = Timing::DataSheet}});
  const nanoseconds start = MakeReady(board, 0x38);
  EXPECT_EQ(Exchange(board, start, Say('e'), 1) - start, 2 * kByte + 8ms);
}

TEST(SimulatedBoard, EveryExtendedSetIsAcknowledgedLateWhenTheOptionsSaySo) {
  SimulatedBoard board({.Chip = "AT90S8515", .Board = {.ExtendDelay = 20ms}});
  const nanoseconds first = Exchange(board, 0ns, Say('A'), 1);
  EXPECT_EQ(first, 2 * kByte + 20ms);
  EXPECT_EQ(Exchange(board, first, Say('A'), 1), first + 2 * kByte + 20ms);
}

TEST(SimulatedBoard, BytesThatArriveWhileItWorksWait) {
  SimulatedBoard board({.Chip = "AT90S8515", .Board = {.ExtendDelay = 20ms}});
  board.Receive(Bytes{'A', '?'}, 0ns);
  EXPECT_EQ(board.NextDue(), 2 * kByte + 20ms);
  EXPECT_EQ(board.TakeDue(2 * kByte + 20ms), kAck);
  EXPECT_EQ(board.NextDue(), 3 * kByte + 20ms);
}

TEST(SimulatedBoard, TheWorkOfTwoCommandsIsDoneOneAfterTheOther) {
  SimulatedBoard board({.Chip = "AT90S8515", .Board = {.ExtendDelay = 20ms}});
  board.Receive(Bytes{'A', 'A'}, 0ns);
  EXPECT_EQ(board.TakeDue(2 * kByte + 20ms), kAck);
  EXPECT_EQ(board.NextDue(), 2 * kByte + 40ms);
}

TEST(SimulatedBoard, BytesThatArrivedBeforeAHangUpAreKeptAndLaterOnesLost) {
  SimulatedBoard board(
      {.Chip = "AT90S8515", .Faults = {{.What = Fault::Kind::HangUp, .Number = 4, .Bit = {}}}});
  board.Receive(Bytes{'?', 0x1B, 0x1B, 0x1B, 'A'}, 0ns);
  EXPECT_EQ(board.TakeDue(3 * kByte).size(), 2U);
  EXPECT_FALSE(board.HungUp());
  EXPECT_EQ(board.TakeDue(1s).size(), 1U) << "the byte that arrived with the hang-up";
  EXPECT_TRUE(board.HungUp());
  EXPECT_TRUE(board.TakeDue(2s).empty());
}

TEST(SimulatedBoard, AHangUpIsDueLikeAByte) {
  SimulatedBoard board(
      {.Chip = "AT90S8515", .Faults = {{.What = Fault::Kind::HangUp, .Number = 1, .Bit = {}}}});
  board.Receive(Bytes{'A'}, 0ns);
  EXPECT_EQ(board.NextDue(), kByte);
  EXPECT_FALSE(board.HungUp());
  board.TakeDue(kByte);
  EXPECT_TRUE(board.HungUp());
}

TEST(SimulatedBoard, PluggedInAgainItStartsAfreshAndKeepsItsChips) {
  SimulatedBoard board(
      {.Chip = "AT90S8515", .Faults = {{.What = Fault::Kind::HangUp, .Number = 6, .Bit = {}}}});
  const nanoseconds now = MakeReady(board, 0x38);
  board.Socket().SetEepromByte(1, 0x42);
  board.Receive(Bytes{'d', 'd'}, now);
  board.TakeDue(now + 1s);
  ASSERT_TRUE(board.HungUp());
  EXPECT_FALSE(board.Connect());
  board.PlugIn();
  EXPECT_FALSE(board.HungUp());
  EXPECT_TRUE(board.Connect());
  EXPECT_EQ(board.Protocol().Set(), CommandSet::Normal);
  EXPECT_EQ(board.Socket().EepromByte(1), 0x42);
  board.Receive(Bytes{'A'}, now + 2s);
  EXPECT_EQ(board.TakeDue(now + 3s), kAck);
}

TEST(SimulatedBoard, ChipsKeepTheirContentsOutOfTheSocket) {
  SimulatedBoard board({.Chip = "AT90S8515"});
  board.Socket().SetFlashWord(0, 0x1234);
  EXPECT_TRUE(board.InsertChip("ATtiny12L"));
  EXPECT_EQ(board.Socket().Model().Name, "ATtiny12L");
  EXPECT_EQ(board.Socket().FlashWord(0), 0xFFFF);
  EXPECT_TRUE(board.InsertChip("8515"));
  EXPECT_EQ(board.Socket().FlashWord(0), 0x1234);
  EXPECT_FALSE(board.InsertChip("AT90S"));
  EXPECT_EQ(board.Socket().Model().Name, "AT90S8515");
}

TEST(SimulatedBoard, AnUnknownChipNameLeavesTheSocketEmpty) {
  SimulatedBoard board({.Chip = "ATmega8"});
  EXPECT_EQ(board.Socket().Model().Name, "empty");
}

TEST(SimulatedBoard, OneConnectionAtATime) {
  SimulatedBoard board({.Chip = "AT90S8515"});
  EXPECT_TRUE(board.Connect());
  EXPECT_FALSE(board.Connect());
  board.Disconnect();
  EXPECT_TRUE(board.Connect());
}

}  // namespace
}  // namespace fenwright::board
