#include "board/simulated_serial_control.h"

#include "board/talk.h"

namespace fenwright::board {
namespace {

using platform::InputMode;
using platform::PortOpenStatus;
using std::chrono::nanoseconds;

class SimulatedSerial : public Test {
 protected:
  TimeSource Virtual() {
    return {.Now = [this] { return now_; },
            .Rest =
                [this](nanoseconds time) {
                  now_ += time;
                  ++rests_;
                }};
  }

  void OpenPort() { ASSERT_EQ(port_.Open().Status, PortOpenStatus::Ok); }
  void Send(char letter) { port_.Output(Say(letter)); }

  nanoseconds now_ = 100s;
  int rests_ = 0;
  std::shared_ptr<SimulatedBoard> board_ =
      std::make_shared<SimulatedBoard>(SimulatedBoardOptions{.Chip = "AT90S8515"});
  SimulatedSerialControl port_{board_, Virtual()};
};

TEST_F(SimulatedSerial, OnAClosedLineNothingHappens) {
  int told = 0;
  port_.OnOutput = [&told](auto) { ++told; };
  EXPECT_FALSE(port_.PortOpen());
  EXPECT_TRUE(port_.IsGone());
  Send('A');
  EXPECT_EQ(port_.InBufferCount(), 0);
  EXPECT_TRUE(port_.Input().empty());
  port_.DiscardInput();
  port_.DiscardOutput();
  port_.Close();
  EXPECT_EQ(rests_, 0);
  EXPECT_EQ(told, 0);
  EXPECT_EQ(board_->NextDue(), std::nullopt);
}

TEST_F(SimulatedSerial, OnAClosedLineARestLastsItsTime) {
  const nanoseconds start = now_;
  port_.RestUntilInput(5.0);
  EXPECT_EQ(now_ - start, 5s);
}

TEST_F(SimulatedSerial, OpeningTwiceDoesNothingMore) {
  OpenPort();
  Send('A');
  OpenPort();
  EXPECT_TRUE(port_.PortOpen());
  EXPECT_FALSE(port_.IsGone());
  now_ += 1s;
  EXPECT_EQ(port_.Input(), kAck);
}

TEST_F(SimulatedSerial, PropertiesAreKept) {
  EXPECT_EQ(port_.CommPort(), 1);
  port_.SetCommPort(7);
  EXPECT_EQ(port_.CommPort(), 7);
  port_.SetInputMode(InputMode::Binary);
  EXPECT_EQ(port_.CurrentInputMode(), InputMode::Binary);
  port_.SetInputMode(InputMode::Text);
  EXPECT_EQ(port_.CurrentInputMode(), InputMode::Text);
}

TEST_F(SimulatedSerial, AReplyIsCountedTakenAndDiscarded) {
  OpenPort();
  Send('?');
  EXPECT_EQ(port_.InBufferCount(), 0);
  now_ += 19 * kByte;
  EXPECT_EQ(port_.InBufferCount(), 18);
  EXPECT_EQ(port_.Input().size(), 18U);
  EXPECT_EQ(port_.InBufferCount(), 0);
  Send('?');
  now_ += 10 * kByte;
  port_.DiscardInput();
  EXPECT_EQ(port_.InBufferCount(), 0);
  now_ += 9 * kByte;
  EXPECT_EQ(port_.InBufferCount(), 9) << "what arrives after the discard stays";
}

TEST_F(SimulatedSerial, RestsExactlyUntilTheNextByteIsDue) {
  OpenPort();
  const nanoseconds start = now_;
  Send('A');
  port_.RestUntilInput(5.0);
  EXPECT_EQ(now_ - start, 2 * kByte);
  EXPECT_EQ(port_.InBufferCount(), 1);
}

TEST_F(SimulatedSerial, RestsUntilAByteBeyondTheCountedOnes) {
  OpenPort();
  const nanoseconds start = now_;
  Send('?');
  for (int count = 1; count <= 18; ++count) {
    port_.RestUntilInput(5.0);
    EXPECT_EQ(now_ - start, (count + 1) * kByte);
    EXPECT_EQ(port_.InBufferCount(), count);
  }
}

TEST_F(SimulatedSerial, ReturnsAtOnceWhenAByteHasArrivedSinceTheLastCount) {
  OpenPort();
  Send('A');
  EXPECT_EQ(port_.InBufferCount(), 0);
  now_ += 2 * kByte;
  port_.RestUntilInput(5.0);
  EXPECT_EQ(rests_, 0);
  EXPECT_EQ(port_.InBufferCount(), 1);
}

TEST_F(SimulatedSerial, RestsNoLongerThanTheLimit) {
  OpenPort();
  const nanoseconds start = now_;
  port_.RestUntilInput(0.005);
  EXPECT_EQ(now_ - start, 5ms);
  Send('A');
  port_.RestUntilInput(0.0001);
  EXPECT_EQ(now_ - start, 5ms + 100us);
  port_.RestUntilInput(0.0);
  port_.RestUntilInput(-1.0);
  EXPECT_EQ(now_ - start, 5ms + 100us);
}

TEST_F(SimulatedSerial, ABoardThatAcknowledgesAfter20msIsWaitedFor) {
  SimulatedSerialControl port({.Chip = "AT90S8515", .Board = {.ExtendDelay = 20ms}}, Virtual());
  ASSERT_EQ(port.Open().Status, PortOpenStatus::Ok);
  const nanoseconds start = now_;
  port.Output(Say('A'));
  port.RestUntilInput(0.1);
  EXPECT_EQ(now_ - start, 20ms + 2 * kByte);
  EXPECT_EQ(port.Input(), kAck);
}

TEST_F(SimulatedSerial, OneControlAtATimeHoldsTheBoard) {
  SimulatedSerialControl other(board_, Virtual());
  OpenPort();
  const auto refused = other.Open();
  EXPECT_EQ(refused.Status, PortOpenStatus::Busy);
  EXPECT_FALSE(refused.Reason.empty());
  EXPECT_FALSE(other.PortOpen());
  port_.Close();
  EXPECT_EQ(other.Open().Status, PortOpenStatus::Ok);
  EXPECT_EQ(port_.Open().Status, PortOpenStatus::Busy);
}

TEST_F(SimulatedSerial, ADestroyedControlGivesTheBoardBack) {
  {
    SimulatedSerialControl other(board_, Virtual());
    ASSERT_EQ(other.Open().Status, PortOpenStatus::Ok);
  }
  OpenPort();
}

TEST_F(SimulatedSerial, ClosingLosesWhatWasNotTaken) {
  OpenPort();
  Send('A');
  now_ += 1s;
  EXPECT_EQ(port_.InBufferCount(), 1);
  Send('A');
  port_.Close();
  EXPECT_EQ(port_.InBufferCount(), 0);
  now_ += 1s;
  OpenPort();
  EXPECT_EQ(port_.InBufferCount(), 0);
}

TEST_F(SimulatedSerial, AHangUpLatchesAndKeepsWhatHadArrived) {
  SimulatedSerialControl port(
      {.Chip = "AT90S8515", .Faults = {{.What = Fault::Kind::HangUp, .Number = 2, .Bit = {}}}},
      Virtual());
  ASSERT_EQ(port.Open().Status, PortOpenStatus::Ok);
  port.Output(Say('A'));
  port.RestUntilInput(1.0);
  EXPECT_FALSE(port.IsGone());
  port.Output(Say('A'));
  const nanoseconds start = now_;
  port.RestUntilInput(5.0);
  EXPECT_EQ(now_ - start, kByte) << "the rest ends with the hang-up";
  EXPECT_TRUE(port.IsGone());
  EXPECT_TRUE(port.PortOpen());
  EXPECT_EQ(port.InBufferCount(), 1);
  EXPECT_EQ(port.Input(), kAck);
  port.RestUntilInput(5.0);
  EXPECT_EQ(now_ - start, kByte + 5s) << "known to be gone: no loop around a rest must spin";
  port.Output(Say('A'));
  EXPECT_TRUE(port.IsGone());
}

TEST_F(SimulatedSerial, AnUnpluggedBoardIsMissingUntilItIsPluggedIn) {
  SimulatedSerialControl port(
      {.Chip = "AT90S8515", .Faults = {{.What = Fault::Kind::HangUp, .Number = 1, .Bit = {}}}},
      Virtual());
  ASSERT_EQ(port.Open().Status, PortOpenStatus::Ok);
  port.Output(Say('A'));
  now_ += 1s;
  EXPECT_TRUE(port.IsGone());
  port.Close();
  EXPECT_EQ(port.Open().Status, PortOpenStatus::Missing);
  port.Board().PlugIn();
  EXPECT_TRUE(port.IsGone());
  EXPECT_EQ(port.Open().Status, PortOpenStatus::Ok);
  EXPECT_FALSE(port.IsGone());
  port.Output(Say('A'));
  port.RestUntilInput(1.0);
  EXPECT_EQ(port.Input(), kAck);
}

TEST_F(SimulatedSerial, ALineThatWasHungUpStaysGoneUntilItIsOpenedAgain) {
  SimulatedSerialControl port(
      {.Chip = "AT90S8515", .Faults = {{.What = Fault::Kind::HangUp, .Number = 1, .Bit = {}}}},
      Virtual());
  ASSERT_EQ(port.Open().Status, PortOpenStatus::Ok);
  port.Output(Say('A'));
  now_ += 1s;
  EXPECT_TRUE(port.IsGone());
  port.Board().PlugIn();
  port.Output(Say('A'));
  now_ += 1s;
  EXPECT_TRUE(port.IsGone());
  EXPECT_EQ(port.InBufferCount(), 0);
  port.Close();
  EXPECT_EQ(port.Open().Status, PortOpenStatus::Ok);
  EXPECT_FALSE(port.IsGone());
}

TEST_F(SimulatedSerial, EveryByteOfTheHostIsRecorded) {
  Bytes recorded;
  port_.OnOutput = [&recorded](std::span<const std::uint8_t> bytes) {
    recorded.insert(recorded.end(), bytes.begin(), bytes.end());
  };
  OpenPort();
  port_.Output(Say('T', {0x38}));
  port_.Output(Say('A'));
  EXPECT_EQ(recorded, (Bytes{'T', 0x38, 'A'}));
}

TEST_F(SimulatedSerial, TheSocketIsFilledAtEveryOpening) {
  std::string name = "ATtiny12L";
  port_.ChipInSocket = [&name] { return name; };
  OpenPort();
  EXPECT_EQ(board_->Socket().Model().Name, "ATtiny12L");
  board_->Socket().SetFlashWord(0, 0x1234);
  name = "AT90S1200 (外部ｸﾛｯｸ)";
  EXPECT_EQ(board_->Socket().Model().Name, "ATtiny12L") << "not before the next opening";
  port_.Close();
  OpenPort();
  EXPECT_EQ(board_->Socket().Model().Name, name);
  port_.Close();
  name = "";
  OpenPort();
  EXPECT_EQ(board_->Socket().Model().Name, "empty");
  port_.Close();
  name = "ATtiny12L";
  OpenPort();
  EXPECT_EQ(board_->Socket().FlashWord(0), 0x1234);
}

TEST_F(SimulatedSerial, AtAnotherSpeedNeitherSideUnderstandsTheOther) {
  port_.SetSettings("9600,n,8,1");
  OpenPort();
  Send('A');
  const nanoseconds start = now_;
  port_.RestUntilInput(1.0);
  EXPECT_EQ(now_ - start, 1s);
  EXPECT_EQ(port_.InBufferCount(), 0);
  port_.SetSettings("57600,n,8,1");
  Send('A');
  now_ += 1s;
  EXPECT_EQ(port_.InBufferCount(), 0) << "settings count from the next opening on";
  port_.Close();
  OpenPort();
  Send('A');
  now_ += 1s;
  EXPECT_EQ(port_.Input(), kAck);
}

TEST_F(SimulatedSerial, AnInfinitelyFastBoardTakesAnySpeed) {
  SimulatedSerialControl port({.Chip = "AT90S8515", .Baud = 0}, Virtual());
  port.SetSettings("9600,n,8,1");
  ASSERT_EQ(port.Open().Status, PortOpenStatus::Ok);
  port.Output(Say('A'));
  EXPECT_EQ(port.Input(), kAck);
  EXPECT_EQ(rests_, 0);
}

TEST_F(SimulatedSerial, SettingsThatMakeNoSenseAreRefused) {
  for (const char* settings : {"", "fast", "57600", "0,n,8,1", ",n,8,1"}) {
    port_.SetSettings(settings);
    EXPECT_EQ(port_.Open().Status, PortOpenStatus::Failed) << settings;
    EXPECT_FALSE(port_.PortOpen());
  }
}

TEST_F(SimulatedSerial, TheSteadyTimeSourceRestsAtLeastAsLongAsAsked) {
  const TimeSource time = SteadyTimeSource();
  const nanoseconds start = time.Now();
  time.Rest(2ms);
  EXPECT_GE(time.Now() - start, 2ms);
}

}  // namespace
}  // namespace fenwright::board
