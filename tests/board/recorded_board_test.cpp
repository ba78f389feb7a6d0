#include "board/recorded_board.h"

#include "board/talk.h"

namespace fenwright::board {
namespace {

using std::chrono::nanoseconds;

constexpr nanoseconds kByte{173'611};  // 10 bits at 57,600 baud

/// Plays a record.
class Played : public RecordedBoard {
 public:
  explicit Played(std::string_view text, std::uint32_t baud = 57600, nanoseconds latency = {})
      : RecordedBoard(Record(text), baud, latency) {}

  /// What has come by the time at which nothing more is due; that time is kept.
  Bytes Taken() {
    Bytes bytes;
    while (const auto due = NextDue()) {
      EXPECT_TRUE(TakeDue(*due - 1ns).empty());
      now_ = std::max(now_, *due);
      const Bytes part = TakeDue(now_);
      bytes.insert(bytes.end(), part.begin(), part.end());
    }
    return bytes;
  }
  Bytes Ask(const Bytes& bytes) {
    Receive(bytes, now_);
    return Taken();
  }
  [[nodiscard]] nanoseconds Now() const { return now_; }

 private:
  static std::vector<RecordedExchange> Record(std::string_view text) {
    std::string error;
    auto record = ParseLineRecord(text, error);
    EXPECT_EQ(error, "");
    return std::move(record).value();
  }

  nanoseconds now_ = 1ms;
};

TEST(RecordedBoard, AnswersWhatTheRecordHasAtThePaceOfTheLine) {
  Played board("> 54 38\n< 0D\n> 73\n< 01 93 1E\n");
  EXPECT_EQ(board.Ask({0x54}), kNothing);
  EXPECT_EQ(board.Ask({0x38}), kAck);
  EXPECT_EQ(board.Now(), 1ms + 3 * kByte);
  EXPECT_FALSE(board.IsPlayed());
  EXPECT_EQ(board.WhyNotPlayed(), "exchange 2 of 2 (line 3) was not reached: 73 did not come");
  EXPECT_EQ(board.Ask({0x73}), (Bytes{0x01, 0x93, 0x1E}));
  EXPECT_EQ(board.Now(), 1ms + 7 * kByte);
  EXPECT_TRUE(board.IsPlayed());
  EXPECT_TRUE(board.EndsWithLine());
  EXPECT_EQ(board.WhyNotPlayed(), "");
  EXPECT_FALSE(board.HungUp());
}

TEST(RecordedBoard, KeepsThePausesAndTheLatency) {
  Played board("> 41\n= 300 ms\n< 0D\n= 20 ms\n< 0A\n", 0, 2ms);
  EXPECT_EQ(board.Ask({0x41}), (Bytes{0x0D, 0x0A}));
  EXPECT_EQ(board.Now(), 1ms + 300ms + 2ms + 20ms + 2ms);
}

TEST(RecordedBoard, IsNotPlayedBeforeTheLastReplyIsTaken) {
  Played board("> 41\n< 0D\n");
  board.Receive(Bytes{0x41}, 1ms);
  EXPECT_FALSE(board.IsPlayed());
  EXPECT_EQ(board.WhyNotPlayed(), "after the last of 1 exchanges its reply was not taken");
  EXPECT_EQ(board.Taken(), kAck);
  EXPECT_TRUE(board.IsPlayed());
}

TEST(RecordedBoard, BytesMayComeBeforeTheReplyIsOut) {
  Played board("> 41\n< 0D\n> 42\n< 0E\n");
  EXPECT_EQ(board.Ask({0x41, 0x42}), (Bytes{0x0D, 0x0E}));
  EXPECT_TRUE(board.IsPlayed());
}

TEST(RecordedBoard, HangsUpAtAByteThatTheRecordDoesNotHaveThere) {
  Played board("> 41\n< 0D\n> 54 38\n< 0D\n");
  EXPECT_EQ(board.Ask({0x41}), kAck);
  EXPECT_EQ(board.Ask({0x54, 0x4C, 0x50}), kNothing);
  EXPECT_TRUE(board.HungUp());
  EXPECT_FALSE(board.IsPlayed());
  EXPECT_EQ(board.WhyNotPlayed(),
            "exchange 2 of 2 (line 3) is another one: 54 38 was expected, 54 4C 50 came");
}

TEST(RecordedBoard, HangsUpAtAByteBehindTheEnd) {
  Played board("> 41\n< 0D\n");
  EXPECT_EQ(board.Ask({0x41}), kAck);
  ASSERT_TRUE(board.IsPlayed());
  board.Ask(Bytes(20, 0x1B));
  EXPECT_TRUE(board.HungUp());
  EXPECT_FALSE(board.IsPlayed());
  EXPECT_EQ(board.WhyNotPlayed(),
            "after the last of 1 exchanges nothing was expected, and "
            "1B 1B 1B 1B 1B 1B 1B 1B 1B 1B 1B 1B 1B 1B 1B 1B ... came");
}

TEST(RecordedBoard, HangsUpWhereTheLineDid) {
  Played board("> 41\n< 0D\n= 50 ms\n! hung up\n");
  EXPECT_EQ(board.Ask({0x41}), kAck);
  EXPECT_EQ(board.Now(), 1ms + 2 * kByte + 50ms);
  EXPECT_TRUE(board.HungUp());
  EXPECT_TRUE(board.IsPlayed());
}

TEST(RecordedBoard, SaysUnaskedWhatTheRecordBeginsWith) {
  Played board("< 0D\n> 41\n< 0E\n");
  EXPECT_EQ(board.Taken(), kAck);
  EXPECT_EQ(board.Ask({0x41}), Bytes{0x0E});
  EXPECT_TRUE(board.IsPlayed());
}

}  // namespace
}  // namespace fenwright::board
