#include "board/faults.h"

#include "board/simulated_board.h"
#include "board/talk.h"

namespace fenwright::board {
namespace {

using std::chrono::nanoseconds;

Fault Parse(std::string_view form) {
  std::string error;
  const auto fault = ParseFault(form, error);
  EXPECT_TRUE(fault.has_value()) << error;
  return fault.value_or(Fault{});
}

TEST(ParseFault, ReadsEveryForm) {
  EXPECT_EQ(Parse("silent").What, Fault::Kind::Silent);
  EXPECT_EQ(Parse("silent").Number, 1U);
  EXPECT_EQ(Parse("silent@7").Number, 7U);
  EXPECT_EQ(Parse("drop@2").What, Fault::Kind::Drop);
  EXPECT_EQ(Parse("drop@2").Number, 2U);
  EXPECT_EQ(Parse("late@3:20").What, Fault::Kind::Late);
  EXPECT_EQ(Parse("late@3:20").Number, 3U);
  EXPECT_EQ(Parse("late@3:20").Delay, 20ms);
  EXPECT_EQ(Parse("split@4:0.5").What, Fault::Kind::Split);
  EXPECT_EQ(Parse("split@4:0.5").Delay, 500us);
  EXPECT_EQ(Parse("double@5").What, Fault::Kind::Double);
  EXPECT_EQ(Parse("flip@6").What, Fault::Kind::Flip);
  EXPECT_EQ(Parse("flip@6").Mask, 0x01);
  EXPECT_EQ(Parse("flip@6:F0").Mask, 0xF0);
  EXPECT_EQ(Parse("lie@8").What, Fault::Kind::Lie);
  EXPECT_EQ(Parse("hangup@100").What, Fault::Kind::HangUp);
  EXPECT_EQ(Parse("powercut@7").What, Fault::Kind::PowerCut);
  EXPECT_EQ(Parse("powercut@7").Number, 7U);
  const Fault flash = Parse("stuck@flash:0x12A:15=0");
  EXPECT_EQ(flash.What, Fault::Kind::Stuck);
  EXPECT_EQ(flash.Bit.Where, StuckBit::Memory::Flash);
  EXPECT_EQ(flash.Bit.Address, 0x12AU);
  EXPECT_EQ(flash.Bit.Bit, 15U);
  EXPECT_FALSE(flash.Bit.Value);
  const Fault eeprom = Parse("stuck@eeprom:10:7=1");
  EXPECT_EQ(eeprom.Bit.Where, StuckBit::Memory::Eeprom);
  EXPECT_EQ(eeprom.Bit.Address, 10U);
  EXPECT_TRUE(eeprom.Bit.Value);
}

TEST(ParseFault, RefusesBadSpecsNamingThemAndTheForms) {
  std::istringstream words(
      "loud drop drop@ drop@0 drop@-1 drop@1x drop@1:5 late@1 late@1: late@1:x late@1:-5 "
      "late@1:nan split@:5 flip@1: flip@1:100 flip@1:00 flip@1:xy silent@ silent@0 "
      "stuck@flash:1:16=0 stuck@eeprom:1:8=0 stuck@ram:1:1=0 stuck@flash:1:1=2 "
      "stuck@flash:1:1 stuck@flash:0xZ:1=1 hangup@ powercut drop@99999999999 Silent");
  std::vector<std::string> forms{"", "silent "};
  for (std::string form; words >> form;) forms.push_back(form);
  for (const std::string& form : forms) {
    std::string error;
    EXPECT_FALSE(ParseFault(form, error).has_value()) << form;
    EXPECT_THAT(error, HasSubstr("\"" + form + "\""));
    EXPECT_THAT(error, HasSubstr("late@N:MS"));
    EXPECT_THAT(error, HasSubstr("stuck@eeprom:ADDR:BIT=V"));
  }
}

TEST(FaultForms, HasALineForEveryKind) {
  for (const char* form :
       {"silent ", "silent@N ", "drop@N ", "late@N:MS ", "split@N:MS ", "double@N ",
        "flip@N[:HEXMASK[:BYTE]] ", "lie@N ", "stuck@flash:ADDR:BIT=V ", "stuck@eeprom:ADDR:BIT=V ",
        "hangup@N ", "powercut@N "}) {
    EXPECT_THAT(FaultForms(), HasSubstr("  " + std::string(form)));
  }
}

/// A board on an infinitely fast line, with faults; it can wait for what comes later.
class FaultyBoard {
 public:
  explicit FaultyBoard(const std::vector<std::string>& forms)
      : Board({.Chip = "AT90S8515", .Baud = 0, .Latency = {}, .Board = {}, .Faults = All(forms)}) {}

  Bytes operator()(char letter, std::initializer_list<int> arguments = {}) {
    return Send(Say(letter, arguments));
  }

  Bytes Send(const Bytes& bytes) {
    Board.Receive(bytes, Now);
    return Board.TakeDue(Now);
  }

  Bytes After(nanoseconds time) {
    Now += time;
    return Board.TakeDue(Now);
  }

  FaultyBoard& Ready() {
    (*this)('A');
    (*this)('T', {0x38});
    (*this)('P');
    return *this;
  }

  nanoseconds Now{};
  SimulatedBoard Board;

 private:
  static std::vector<Fault> All(const std::vector<std::string>& forms) {
    std::vector<Fault> faults;
    for (const std::string& form : forms) faults.push_back(Parse(form));
    return faults;
  }
};

TEST(Faults, ASilentBoardNeverAnswersAndStillWorks) {
  FaultyBoard board({"silent"});
  board.Ready();
  EXPECT_EQ(board('D', {0x42}), kNothing);
  EXPECT_EQ(board('?'), kNothing);
  EXPECT_EQ(board.Board.NextDue(), std::nullopt);
  EXPECT_EQ(board.Board.Socket().EepromByte(0), 0x42);
}

TEST(Faults, ABoardFallsSilentFromTheNthReplyOn) {
  FaultyBoard board({"silent@3"});
  EXPECT_EQ(board('A'), kAck);
  EXPECT_EQ(board('A'), kAck);
  EXPECT_EQ(board('A'), kNothing);
  EXPECT_EQ(board('A'), kNothing);
}

TEST(Faults, OneReplyIsDropped) {
  FaultyBoard board({"drop@2"});
  EXPECT_EQ(board('A'), kAck);
  EXPECT_EQ(board('A'), kNothing);
  EXPECT_EQ(board('A'), kAck);
}

TEST(Faults, CommandsWithoutAnAnswerDoNotCountAsReplies) {
  FaultyBoard board({"drop@2"});
  board('\x1B');
  board('\x1B');
  EXPECT_EQ(board('A'), kAck);
  EXPECT_EQ(board('A'), kNothing);
}

TEST(Faults, OneReplyIsLateByExactlyTheGivenTime) {
  FaultyBoard board({"late@1:20"});
  EXPECT_EQ(board('A'), kNothing);
  EXPECT_EQ(board.Board.NextDue(), 20ms);
  EXPECT_EQ(board.After(20ms - 1ns), kNothing);
  EXPECT_EQ(board.After(1ns), kAck);
  EXPECT_EQ(board('A'), kAck);
}

TEST(Faults, AReplyAfterALateOneComesBehindIt) {
  FaultyBoard board({"late@1:20"});
  board('A');
  EXPECT_EQ(board('?'), kNothing);
  const Bytes all = board.After(20ms);
  ASSERT_EQ(all.size(), 19U);
  EXPECT_EQ(all.front(), 0x0D);
}

TEST(Faults, ASplitReplyComesInTwoParts) {
  FaultyBoard board({"split@4:5"});
  board.Ready();
  EXPECT_EQ(board('s'), (Bytes{0x01, 0x93}));
  EXPECT_EQ(board.After(5ms - 1ns), kNothing);
  EXPECT_EQ(board.After(1ns), Bytes{0x1E});
}

TEST(Faults, AReplyOfOneByteIsNotSplit) {
  FaultyBoard board({"split@1:5"});
  EXPECT_EQ(board('A'), kAck);
  EXPECT_EQ(board.After(5ms), kNothing);
}

TEST(Faults, ADoubledReplyComesTwice) {
  FaultyBoard board({"double@4"});
  board.Ready();
  EXPECT_EQ(board('s'), (Bytes{0x01, 0x93, 0x1E, 0x01, 0x93, 0x1E}));
  EXPECT_EQ(board('s'), (Bytes{0x01, 0x93, 0x1E}));
}

TEST(Faults, AFlippedReplyHasItsFirstByteXored) {
  FaultyBoard board({"flip@1", "flip@4:F0"});
  EXPECT_EQ(board('A'), Bytes{0x0C});
  board('T', {0x38});
  board('P');
  EXPECT_EQ(board('s'), (Bytes{0xF1, 0x93, 0x1E}));
}

TEST(Faults, SeveralFaultsHitTheSameReply) {
  FaultyBoard board({"flip@1", "late@1:3", "double@1"});
  EXPECT_EQ(board('A'), kNothing);
  EXPECT_EQ(board.After(3ms), (Bytes{0x0C, 0x0C}));
}

TEST(Faults, TheNthWriteIsALie) {
  FaultyBoard board({"lie@2"});
  board.Ready();
  EXPECT_EQ(board('D', {0x11}), kAck);
  board('a', {0, 1});
  EXPECT_EQ(board('D', {0x22}), kAck);
  board('a', {0, 2});
  EXPECT_EQ(board('D', {0x33}), kAck);
  const Chip& chip = board.Board.Socket();
  EXPECT_EQ(chip.EepromByte(0), 0x11);
  EXPECT_EQ(chip.EepromByte(1), 0xFF);
  EXPECT_EQ(chip.EepromByte(2), 0x33);
}

TEST(Faults, StuckBitsShowInWhatIsReadAndInTheImage) {
  FaultyBoard board({"stuck@flash:1:8=0", "stuck@eeprom:0x02:0=1"});
  board.Ready();
  board('a', {0, 1});
  EXPECT_EQ(board('R'), (Bytes{0xFE, 0xFF}));
  board('a', {0, 2});
  board('D', {0x10});
  EXPECT_EQ(board('d'), Bytes{0x11});
  EXPECT_EQ(board.Board.Socket().BinaryImage()[3], 0xFE);
}

TEST(Faults, TheLineHangsUpWithTheNthByte) {
  FaultyBoard board({"hangup@3"});
  EXPECT_EQ(board('A'), kAck);
  EXPECT_FALSE(board.Board.HungUp());
  EXPECT_EQ(board('A'), kAck);
  EXPECT_FALSE(board.Board.HungUp());
  EXPECT_EQ(board('A'), kNothing);
  EXPECT_TRUE(board.Board.HungUp());
  EXPECT_EQ(board('A'), kNothing);
  EXPECT_EQ(board.Board.NextDue(), std::nullopt);
}

TEST(Faults, APowerCutLosesTheByteAndRestartsTheBoardOnTheSameLine) {
  FaultyBoard board({"powercut@5"});
  board.Ready();
  EXPECT_EQ(board.Board.Protocol().LeaveCount(), 0U);
  EXPECT_EQ(board('s'), kNothing);
  EXPECT_FALSE(board.Board.HungUp());
  EXPECT_EQ(board.Board.Protocol().LeaveCount(), 1U);
  EXPECT_EQ(board.Board.Protocol().SelectedDevice(), nullptr);
  EXPECT_EQ(board('P'), kRefused);
  EXPECT_EQ(board('A'), kAck);
}

TEST(Faults, APowerCutTakesWhatTheBoardHadStillToSend) {
  FaultyBoard board({"late@1:50", "powercut@2"});
  EXPECT_EQ(board('A'), kNothing);
  EXPECT_EQ(board('A'), kNothing);
  EXPECT_EQ(board.After(100ms), kNothing);
}

TEST(Faults, AFrameThatPausesIsDropped) {
  for (const bool pauses : {false, true}) {
    FaultyBoard board({});
    board('U');
    board.Send({0x00, 0x01});
    board.After(pauses ? 101ms : 99ms);
    EXPECT_EQ(board.Send({0x02, 0x03}), pauses ? kNothing : Bytes{0x06});
  }
}

}  // namespace
}  // namespace fenwright::board
