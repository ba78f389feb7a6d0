#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/serial_control.h"

/// What every SerialControl must do, whatever is behind it. To run it on an implementation, write
/// a SerialRig for it and instantiate SerialControlContract in a test file that includes this
/// header. A test program holds it once.
namespace fenwright::platform {

/// A serial control and the far end of its line. The control is closed at first, and opening it
/// works.
class SerialRig {
 public:
  virtual ~SerialRig() = default;

  virtual SerialControl& Port() = 0;

  /// A message that the far end answers, within a second, and the whole answer: two bytes at
  /// least. Sending it twice gives the answer twice.
  [[nodiscard]] virtual std::vector<std::uint8_t> Request() const = 0;
  [[nodiscard]] virtual std::vector<std::uint8_t> Reply() const = 0;

  /// The far end hangs up.
  virtual void HangUp() = 0;

  /// After a hang-up, a line is there again that the next opening finds.
  virtual void Restore() = 0;

  /// Time on the clock that the control's rests last on. It need not move otherwise.
  [[nodiscard]] virtual double Seconds() = 0;
};

struct SerialImplementation {
  std::string Name;  ///< letters and digits
  std::function<std::unique_ptr<SerialRig>()> MakeRig;
};

inline void PrintTo(const SerialImplementation& implementation, std::ostream* out) {
  *out << implementation.Name;
}

class SerialControlContract : public ::testing::TestWithParam<SerialImplementation> {
 protected:
  static constexpr double kRest = 0.05;
  /// Far below the rests of a second that must end early, far above what a busy machine needs.
  static constexpr double kSoon = 0.8;

  using Bytes = std::vector<std::uint8_t>;

  SerialControl& Port() { return rig_->Port(); }
  SerialRig& Rig() { return *rig_; }
  int ReplySize() { return static_cast<int>(rig_->Reply().size()); }

  void Open() { ASSERT_EQ(Port().Open().Status, PortOpenStatus::Ok); }

  void Ask() { Port().Output(rig_->Request()); }

  /// Rests until `count` bytes are there or two seconds have passed.
  void AwaitBytes(int count) {
    const double start = rig_->Seconds();
    while (Port().InBufferCount() < count && rig_->Seconds() - start < 2.0) {
      Port().RestUntilInput(0.01);
    }
    ASSERT_EQ(Port().InBufferCount(), count);
  }

  void AskAndAwaitReply() {
    Ask();
    AwaitBytes(ReplySize());
  }

  double TimeOf(const std::function<void()>& action) {
    const double start = rig_->Seconds();
    action();
    return rig_->Seconds() - start;
  }

 private:
  std::unique_ptr<SerialRig> rig_ = GetParam().MakeRig();
};

TEST_P(SerialControlContract, BeforeItIsOpenedAPortIsClosedGoneAndEmpty) {
  EXPECT_FALSE(Port().PortOpen());
  EXPECT_TRUE(Port().IsGone());
  EXPECT_EQ(Port().InBufferCount(), 0);
  EXPECT_EQ(Port().Input(), Bytes{});
}

TEST_P(SerialControlContract, OpeningSucceedsAndGivesNoReason) {
  const PortOpenResult result = Port().Open();
  EXPECT_EQ(result.Status, PortOpenStatus::Ok);
  EXPECT_EQ(result.Reason, "");
  EXPECT_TRUE(Port().PortOpen());
  EXPECT_FALSE(Port().IsGone());
}

TEST_P(SerialControlContract, OpeningAnOpenPortKeepsWhatHasArrived) {
  Open();
  AskAndAwaitReply();
  EXPECT_EQ(Port().Open().Status, PortOpenStatus::Ok);
  EXPECT_EQ(Port().Input(), Rig().Reply());
}

TEST_P(SerialControlContract, TheReplyArrivesWholeAndInOrder) {
  Open();
  AskAndAwaitReply();
  EXPECT_EQ(Port().Input(), Rig().Reply());
}

TEST_P(SerialControlContract, ManyExchangesInARowGiveTheSameReply) {
  Open();
  for (int i = 0; i < 20; ++i) {
    Port().DiscardInput();
    AskAndAwaitReply();
    ASSERT_EQ(Port().Input(), Rig().Reply()) << "exchange " << i;
  }
}

TEST_P(SerialControlContract, CountingTakesNothing) {
  Open();
  AskAndAwaitReply();
  EXPECT_EQ(Port().InBufferCount(), ReplySize());
  EXPECT_EQ(Port().InBufferCount(), ReplySize());
}

TEST_P(SerialControlContract, TakingTheInputEmptiesIt) {
  Open();
  AskAndAwaitReply();
  static_cast<void>(Port().Input());
  EXPECT_EQ(Port().InBufferCount(), 0);
  EXPECT_EQ(Port().Input(), Bytes{});
}

TEST_P(SerialControlContract, RepliesNotTakenAddUp) {
  Open();
  AskAndAwaitReply();
  Ask();
  AwaitBytes(2 * ReplySize());
  EXPECT_EQ(Port().Input().size(), 2 * Rig().Reply().size());
}

TEST_P(SerialControlContract, DiscardingInputDropsBytesThatWereCounted) {
  Open();
  AskAndAwaitReply();
  Port().DiscardInput();
  EXPECT_EQ(Port().InBufferCount(), 0);
  EXPECT_EQ(Port().Input(), Bytes{});
}

TEST_P(SerialControlContract, DiscardingInputDropsBytesThatWereNotYetCounted) {
  Open();
  Ask();
  Port().RestUntilInput(1.0);  // a byte is there now, and nobody has looked at it
  Port().DiscardInput();
  EXPECT_EQ(Port().InBufferCount(), 0);
}

TEST_P(SerialControlContract, AfterDiscardingOutputTheLineStillWorks) {
  Open();
  AskAndAwaitReply();
  static_cast<void>(Port().Input());
  Port().DiscardOutput();
  AskAndAwaitReply();
  EXPECT_EQ(Port().Input(), Rig().Reply());
}

TEST_P(SerialControlContract, BytesAreTheSameInTextAndBinaryMode) {
  Open();
  for (const InputMode mode : {InputMode::Text, InputMode::Binary}) {
    Port().SetInputMode(mode);
    EXPECT_EQ(Port().CurrentInputMode(), mode);
    AskAndAwaitReply();
    EXPECT_EQ(Port().Input(), Rig().Reply());
  }
}

TEST_P(SerialControlContract, TheInputModeMayChangeWhileBytesWait) {
  Open();
  Port().SetInputMode(InputMode::Text);
  AskAndAwaitReply();
  Port().SetInputMode(InputMode::Binary);
  EXPECT_EQ(Port().Input(), Rig().Reply());
}

TEST_P(SerialControlContract, SettersDoNotDisturbAnOpenLine) {
  Open();
  AskAndAwaitReply();
  Port().SetSettings("57600,n,8,1");
  Port().SetHandshaking(0);
  Port().SetInputLen(0);
  Port().SetRTSEnable(false);
  Port().SetRTSEnable(true);
  Port().SetRThreshold(1);
  EXPECT_TRUE(Port().PortOpen());
  EXPECT_EQ(Port().Input(), Rig().Reply());
  AskAndAwaitReply();
}

TEST_P(SerialControlContract, ThePortNumberIsKeptAndDoesNotTouchAnOpenLine) {
  Open();
  const int number = Port().CommPort();
  Port().SetCommPort(number + 1);
  EXPECT_EQ(Port().CommPort(), number + 1);
  EXPECT_TRUE(Port().PortOpen());
  AskAndAwaitReply();
  Port().SetCommPort(number);
  EXPECT_EQ(Port().CommPort(), number);
}

TEST_P(SerialControlContract, AClosedPortDropsOutputAndHasNoInput) {
  Open();
  AskAndAwaitReply();
  Port().Close();
  EXPECT_FALSE(Port().PortOpen());
  EXPECT_TRUE(Port().IsGone());
  EXPECT_EQ(Port().InBufferCount(), 0);
  EXPECT_EQ(Port().Input(), Bytes{});
  Ask();
  Port().DiscardInput();
  Port().DiscardOutput();
  Port().Close();
  EXPECT_EQ(Port().InBufferCount(), 0);
}

TEST_P(SerialControlContract, APortCanBeClosedAndOpenedAgain) {
  Open();
  AskAndAwaitReply();
  Port().Close();
  Open();
  EXPECT_EQ(Port().InBufferCount(), 0);
  AskAndAwaitReply();
  EXPECT_EQ(Port().Input(), Rig().Reply());
}

TEST_P(SerialControlContract, ARestEndsWhenAByteArrives) {
  Open();
  Ask();
  const double time = TimeOf([&] {
    while (Port().InBufferCount() == 0) Port().RestUntilInput(1.0);
  });
  EXPECT_LT(time, kSoon);
}

TEST_P(SerialControlContract, TheByteThatEndedARestIsCountedAndBeginsTheReply) {
  Open();
  Ask();
  Port().RestUntilInput(1.0);
  EXPECT_GE(Port().InBufferCount(), 1);
  AwaitBytes(ReplySize());
  EXPECT_EQ(Port().Input(), Rig().Reply());
}

TEST_P(SerialControlContract, DiscardingBetweenTwoRestsLeavesTheNextReplyWhole) {
  Open();
  AskAndAwaitReply();
  Port().RestUntilInput(0.001);
  Port().DiscardInput();
  Ask();
  Port().RestUntilInput(1.0);
  AwaitBytes(ReplySize());
  EXPECT_EQ(Port().Input(), Rig().Reply());
}

TEST_P(SerialControlContract, ARestOnASilentLineLastsItsTime) {
  Open();
  const double time = TimeOf([&] { Port().RestUntilInput(kRest); });
  EXPECT_GE(time, kRest * 0.99);
  EXPECT_LT(time, kSoon);
}

TEST_P(SerialControlContract, BytesAlreadyCountedDoNotCutARestShort) {
  Open();
  AskAndAwaitReply();
  EXPECT_GE(TimeOf([&] { Port().RestUntilInput(kRest); }), kRest * 0.99);
  EXPECT_EQ(Port().InBufferCount(), ReplySize());
}

TEST_P(SerialControlContract, ARestOfNoTimeEndsAtOnce) {
  Open();
  EXPECT_LT(TimeOf([&] {
              Port().RestUntilInput(0);
              Port().RestUntilInput(-1);
            }),
            kSoon);
}

TEST_P(SerialControlContract, AHungUpLineIsGoneUntilItIsOpenedAgain) {
  Open();
  AskAndAwaitReply();
  Rig().HangUp();
  EXPECT_TRUE(Port().IsGone());
  EXPECT_TRUE(Port().IsGone());
  Rig().Restore();
  EXPECT_TRUE(Port().IsGone());
  Port().Close();
  Open();
  EXPECT_FALSE(Port().IsGone());
  AskAndAwaitReply();
}

TEST_P(SerialControlContract, NothingFromBeforeAHangUpIsThereAfterTheNextOpening) {
  Open();
  AskAndAwaitReply();
  Rig().HangUp();
  EXPECT_TRUE(Port().IsGone());
  EXPECT_EQ(Port().InBufferCount(), ReplySize());
  Rig().Restore();
  Port().Close();
  Open();
  EXPECT_EQ(Port().InBufferCount(), 0);
  AskAndAwaitReply();
  EXPECT_EQ(Port().Input(), Rig().Reply());
}

TEST_P(SerialControlContract, BytesCountedBeforeAHangUpStayReadable) {
  Open();
  AskAndAwaitReply();
  Rig().HangUp();
  EXPECT_TRUE(Port().IsGone());
  EXPECT_EQ(Port().InBufferCount(), ReplySize());
  EXPECT_EQ(Port().Input(), Rig().Reply());
  EXPECT_EQ(Port().Input(), Bytes{});
}

TEST_P(SerialControlContract, AHungUpLineDropsOutputAndStaysEmpty) {
  Open();
  Rig().HangUp();
  Ask();
  Port().DiscardInput();
  Port().DiscardOutput();
  EXPECT_EQ(Port().InBufferCount(), 0);
  EXPECT_EQ(Port().Input(), Bytes{});
  EXPECT_TRUE(Port().IsGone());
}

TEST_P(SerialControlContract, AHangUpIsSeenByTheNextRest) {
  Open();
  Rig().HangUp();
  EXPECT_LT(TimeOf([&] { Port().RestUntilInput(1.0); }), kSoon);
  EXPECT_TRUE(Port().IsGone());
}

inline std::string ImplementationName(const ::testing::TestParamInfo<SerialImplementation>& info) {
  return info.param.Name;
}

}  // namespace fenwright::platform
