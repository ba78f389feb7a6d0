#include "board/board_state.h"

#include "board/talk.h"

namespace fenwright::board {
namespace {

SimulatedBoardOptions Fast() { return {.Chip = "ATtiny26L", .Baud = 0, .Board = {}, .Faults = {}}; }

void Fill(SimulatedBoard& board) {
  Chip& tiny26 = board.Socket();
  tiny26.SetFlashWord(0x000, 0x0001);
  tiny26.SetFlashWord(0x3FF, 0xABCD);
  tiny26.SetEepromByte(0x7F, 0x00);
  tiny26.SetFuses(0xE4, 0xF3);
  tiny26.SetLockBits(2);
  tiny26.SetCalibration({1, 2, 3, 4});
  Chip& rc = board.ChipOf(*FindChip("AT90S1200A"));
  rc.SetFlashWord(5, 0x1111);
  board.Receive(Bytes{'A', 'T', 0x59, 'U', 0x01, 0x02, 0x03, 0x04, 0x1F, 0xFE, 0x00, 0x00},
                std::chrono::nanoseconds(0));
}

TEST(BoardState, ARoundTripKeepsEverything) {
  SimulatedBoard board(Fast());
  Fill(board);
  const std::string text = FormatState(board);
  SimulatedBoard other({});
  std::string error;
  ASSERT_TRUE(ParseState(text, other, error)) << error;
  const Chip& tiny26 = other.Socket();
  EXPECT_EQ(tiny26.Model().Name, "ATtiny26L");
  EXPECT_EQ(tiny26.BinaryImage(), board.Socket().BinaryImage());
  EXPECT_EQ(tiny26.FuseLow(), 0xE4);
  EXPECT_EQ(tiny26.FuseHigh(), 0xF3);
  EXPECT_EQ(tiny26.LockBits(), 2U);
  EXPECT_EQ(tiny26.Calibration(), (std::array<std::uint8_t, 4>{1, 2, 3, 4}));
  EXPECT_EQ(other.ChipOf(*FindChip("AT90S1200A")).FlashWord(5), 0x1111);
  EXPECT_EQ(other.ChipOf(*FindChip("AT90S1200")).FlashWord(5), 0xFFFF);
  ASSERT_NE(other.Protocol().SelectedDevice(), nullptr);
  EXPECT_EQ(other.Protocol().SelectedDevice()->Name, "ATtiny26L");
  EXPECT_EQ(other.Protocol().Firmware(), (FirmwareImage{{0x0102, 0x0304}, {0x1FFE, 0x0000}}));
}

TEST(BoardState, AnUnfinishedUpdateIsKeptAndTheBoardComesUpInItsLoader) {
  SimulatedBoard board(Fast());
  Fill(board);
  SimulatedBoard other({});
  std::string error;
  ASSERT_TRUE(ParseState(FormatState(board), other, error)) << error;
  EXPECT_EQ(other.Protocol().Set(), CommandSet::Loader);
  other.Receive(Bytes{'U', 0xFF, 0xFF, 0xFF, 0xFF}, std::chrono::nanoseconds(0));
  EXPECT_EQ(other.Protocol().Set(), CommandSet::Loader) << "no word, no new firmware";
  other.Receive(Bytes{'U', 0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}, std::chrono::nanoseconds(0));
  EXPECT_EQ(other.Protocol().Set(), CommandSet::Normal);
  EXPECT_THAT(FormatState(other), Not(HasSubstr("unfinished")));
  EXPECT_FALSE(ParseState("fenwright-board-state 1\nupdate finished", other, error));
}

TEST(BoardState, TheTextOfALoadedStateIsTheSameText) {
  SimulatedBoard board(Fast());
  Fill(board);
  SimulatedBoard other(Fast());
  std::string error;
  ASSERT_TRUE(ParseState(FormatState(board), other, error)) << error;
  EXPECT_EQ(FormatState(other), FormatState(board));
}

TEST(BoardState, BlankRowsAreNotWritten) {
  SimulatedBoard board(Fast());
  board.Socket().SetFlashWord(0x21, 0xBEEF);
  const std::string text = FormatState(board);
  EXPECT_THAT(text, HasSubstr("\nflash 0020 FFFF BEEF FFFF"));
  EXPECT_EQ(text.find("flash"), text.rfind("flash"));
  EXPECT_THAT(text, Not(HasSubstr("eeprom")));
}

TEST(BoardState, LoadingReplacesWhatAChipHeld) {
  SimulatedBoard board(Fast());
  const std::string blank = FormatState(board);
  board.Socket().SetFlashWord(3, 0);
  board.Socket().SetEepromByte(3, 0);
  std::string error;
  ASSERT_TRUE(ParseState(blank, board, error)) << error;
  EXPECT_EQ(board.Socket().FlashWord(3), 0xFFFF);
  EXPECT_EQ(board.Socket().EepromByte(3), 0xFF);
}

TEST(BoardState, BadTextsAreRefusedNamingTheLine) {
  const std::string header = "fenwright-board-state 1\n";
  for (const std::string line :
       {"chip ATmega8", "socket nothing", "device empty", "device ATmega8", "flash 0000 1234",
        "chip ATtiny12L\nflash 01FF 1234 5678", "chip ATtiny12L\nflash 0000 12345",
        "chip ATtiny12L\nflash", "chip ATtiny12L\neeprom 0000 1G", "chip ATtiny12L\nlock 4",
        "chip ATtiny12L\nfuses 12", "chip ATtiny12L\ncalibration 1 2 3", "firmware 1234",
        "chip ATtiny12L\nfirmware 0 0 0", "nonsense"}) {
    SimulatedBoard board({});
    std::string error;
    EXPECT_FALSE(ParseState(header + line, board, error)) << line;
    EXPECT_THAT(error, HasSubstr(line.substr(line.find('\n') + 1)));
  }
  SimulatedBoard board({});
  std::string error;
  EXPECT_FALSE(ParseState("", board, error));
  EXPECT_THAT(error, HasSubstr("empty"));
  EXPECT_FALSE(ParseState("something else\n", board, error));
}

}  // namespace
}  // namespace fenwright::board
