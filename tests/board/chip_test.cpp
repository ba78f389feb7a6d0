#include "board/chip.h"

#include "support/prelude.h"

namespace fenwright::board {
namespace {

const Instruction kErase{0xAC, 0x80, 0x00, 0x00};

/// A fresh chip in programming mode.
Chip Listening(std::string_view name) {
  Chip chip(*FindChip(name));
  chip.EnterProgramming();
  return chip;
}

std::vector<int> Signature(Chip& chip) {
  return {chip.Execute({0x30, 0, 0, 0}), chip.Execute({0x30, 0, 1, 0}),
          chip.Execute({0x30, 0, 2, 0})};
}

TEST(Chip, AFreshChipIsBlankAndOpen) {
  for (const ChipModel& model : ChipModels()) {
    SCOPED_TRACE(std::string(model.Name));
    const Chip chip(model);
    EXPECT_EQ(chip.LockBits(), 3U);
    const auto image = chip.BinaryImage();
    EXPECT_EQ(image.size(), 2 * model.FlashWords + model.EepromBytes);
    EXPECT_EQ(image, std::vector<std::uint8_t>(image.size(), 0xFF));
  }
}

TEST(Chip, EveryChipGivesItsSignature) {
  for (const ChipModel& model : ChipModels()) {
    SCOPED_TRACE(std::string(model.Name));
    Chip chip(model);
    EXPECT_EQ(chip.EnterProgramming(), model.Present);
    EXPECT_EQ(Signature(chip),
              (std::vector<int>{model.Signature[0], model.Signature[1], model.Signature[2]}));
  }
}

TEST(Chip, OutsideProgrammingModeAChipDoesNotAnswer) {
  Chip chip(*FindChip("AT90S8515"));
  EXPECT_EQ(Signature(chip), (std::vector<int>{0xFF, 0xFF, 0xFF}));
  chip.EnterProgramming();
  chip.LeaveProgramming();
  chip.Execute({0x40, 0, 0, 0x12});
  EXPECT_EQ(chip.FlashWord(0), 0xFFFF);
}

TEST(Chip, FlashWritesOnlyClearBits) {
  Chip chip = Listening("AT90S8515");
  chip.Execute({0x40, 0x01, 0x23, 0xF0});
  chip.Execute({0x48, 0x01, 0x23, 0x3C});
  EXPECT_EQ(chip.FlashWord(0x123), 0x3CF0);
  chip.Execute({0x40, 0x01, 0x23, 0xAA});
  EXPECT_EQ(chip.FlashWord(0x123), 0x3CA0);
  EXPECT_EQ(chip.Execute({0x20, 0x01, 0x23, 0}), 0xA0);
  EXPECT_EQ(chip.Execute({0x28, 0x01, 0x23, 0}), 0x3C);
}

TEST(Chip, EepromWritesEraseTheirByteFirst) {
  Chip chip = Listening("AT90S8515");
  chip.Execute({0xC0, 0x01, 0xFF, 0x0F});
  chip.Execute({0xC0, 0x01, 0xFF, 0xF0});
  EXPECT_EQ(chip.Execute({0xA0, 0x01, 0xFF, 0}), 0xF0);
}

TEST(Chip, BeyondTheMemoryNothingIsWrittenAndFFIsRead) {
  Chip chip = Listening("ATtiny12L");
  chip.Execute({0x40, 0x02, 0x00, 0x12});
  chip.Execute({0xC0, 0x00, 0x40, 0x12});
  EXPECT_EQ(chip.Execute({0x20, 0x02, 0x00, 0}), 0xFF);
  EXPECT_EQ(chip.Execute({0xA0, 0x00, 0x40, 0}), 0xFF);
  EXPECT_EQ(chip.FlashWord(0), 0xFFFF);
  EXPECT_EQ(chip.EepromByte(0), 0xFF);
}

TEST(Chip, ATiny26WritesItsFlashByPages) {
  Chip chip = Listening("ATtiny26L");
  chip.Execute({0x40, 0, 0x12, 0x34});
  chip.Execute({0x48, 0, 0x12, 0x56});
  EXPECT_EQ(chip.FlashWord(0x12), 0xFFFF) << "still in the page buffer";
  chip.Execute({0x4C, 0, 0x12, 0});
  EXPECT_EQ(chip.FlashWord(0x12), 0x5634);
  chip.Execute({0x4C, 0, 0x22, 0});
  EXPECT_EQ(chip.FlashWord(0x22), 0xFFFF) << "the buffer is blank after a page write";
}

TEST(Chip, EraseClearsFlashEepromAndLockBits) {
  Chip chip = Listening("AT90S4433");
  chip.SetFlashWord(5, 0x1234);
  chip.SetEepromByte(6, 0x56);
  chip.SetLockBits(0);
  chip.Execute(kErase);
  EXPECT_EQ(chip.FlashWord(5), 0xFFFF);
  EXPECT_EQ(chip.EepromByte(6), 0xFF);
  EXPECT_EQ(chip.LockBits(), 3U);
}

TEST(Chip, EraseKeepsTheEepromOfATiny26WithEesaveProgrammed) {
  for (const bool programmed : {true, false}) {
    Chip chip = Listening("ATtiny26L");
    chip.Execute({0xAC, 0xA8, 0x00, static_cast<std::uint8_t>(programmed ? 0xF3 : 0xF7)});
    chip.SetFlashWord(1, 0x0000);
    chip.SetEepromByte(1, 0x55);
    chip.Execute(kErase);
    EXPECT_EQ(chip.FlashWord(1), 0xFFFF);
    EXPECT_EQ(chip.EepromByte(1), programmed ? 0x55 : 0xFF);
  }
}

TEST(Chip, LockMode2IgnoresWritesAndStillReads) {
  Chip chip = Listening("ATtiny12L");
  chip.SetFlashWord(7, 0x1234);
  chip.SetEepromByte(7, 0x56);
  chip.Execute({0xAC, 0xFD, 0xFF, 0xFF});
  EXPECT_EQ(chip.LockBits(), 2U);
  chip.Execute({0x40, 0, 7, 0x00});
  chip.Execute({0xC0, 0, 7, 0x00});
  chip.Execute({0xAC, 0xA0, 0, 0x00});
  EXPECT_EQ(chip.Execute({0x20, 0, 7, 0}), 0x34);
  EXPECT_EQ(chip.Execute({0xA0, 0, 7, 0}), 0x56);
  EXPECT_EQ(chip.FuseLow(), 0xD2);
  EXPECT_EQ(Signature(chip), (std::vector<int>{0x1E, 0x90, 0x05}));
}

TEST(Chip, LockMode3GivesNoContent) {
  Chip chip = Listening("AT90S8515");
  chip.SetFlashWord(0x123, 0xABCD);
  chip.SetEepromByte(0x145, 0xEF);
  chip.Execute({0xAC, 0xF9, 0xFF, 0xFF});
  EXPECT_EQ(chip.LockBits(), 0U);
  EXPECT_EQ(Signature(chip), (std::vector<int>{0, 1, 2}));
  EXPECT_EQ(chip.Execute({0x20, 0x01, 0x23, 0}), 0x23);
  EXPECT_EQ(chip.Execute({0x28, 0x01, 0x23, 0}), 0x23);
  EXPECT_EQ(chip.Execute({0xA0, 0x01, 0x45, 0}), 0x45);
  chip.Execute({0x40, 0x01, 0x23, 0x00});
  EXPECT_EQ(chip.FlashWord(0x123), 0xABCD);
}

TEST(Chip, LockMode2CanBeTightenedToMode3AndOnlyEraseOpensIt) {
  Chip chip = Listening("ATtiny26L");
  chip.Execute({0xAC, 0xE0, 0x00, 0xFE});
  EXPECT_EQ(chip.LockBits(), 2U);
  chip.Execute({0xAC, 0xE0, 0x00, 0xFF});
  EXPECT_EQ(chip.LockBits(), 2U);
  chip.Execute({0xAC, 0xE0, 0x00, 0xFC});
  EXPECT_EQ(chip.LockBits(), 0U);
  chip.Execute(kErase);
  EXPECT_EQ(chip.LockBits(), 3U);
  EXPECT_EQ(Signature(chip), (std::vector<int>{0x1E, 0x91, 0x09}));
}

TEST(Chip, PagesOfALockedTiny26AreNotWritten) {
  Chip chip = Listening("ATtiny26L");
  chip.SetLockBits(2);
  chip.Execute({0x40, 0, 0, 0x00});
  chip.Execute({0x4C, 0, 0, 0});
  EXPECT_EQ(chip.FlashWord(0), 0xFFFF);
}

TEST(Chip, TheLockByteHasEachChipsOwnLayout) {
  const std::vector<std::tuple<const char*, int, int, int>> rows{
      {"ATtiny12L", 0xFF, 0xFD, 0xF9}, {"ATtiny15L", 0xFF, 0xFD, 0xF9},
      {"AT90S4433", 0xFF, 0xFD, 0xF9}, {"ATtiny26L", 0xFF, 0xFE, 0xFC},
      {"AT90S2323", 0xDF, 0x5F, 0x1F}, {"AT90S2343", 0xDE, 0x5E, 0x1E},
      {"AT90S4434", 0xDF, 0x5F, 0x1F}, {"AT90S8535", 0xDF, 0x5F, 0x1F},
      {"AT90S1200", 0xFF, 0xFF, 0xFF}, {"AT90S2313", 0xFF, 0xFF, 0xFF},
      {"AT90S4414", 0xFF, 0xFF, 0xFF}, {"AT90S8515", 0xFF, 0xFF, 0xFF},
  };
  for (const auto& [name, open, no_writing, no_reading] : rows) {
    SCOPED_TRACE(name);
    Chip chip = Listening(name);
    EXPECT_EQ(chip.Execute({0x58, 0, 0, 0}), open);
    chip.SetLockBits(2);
    EXPECT_EQ(chip.Execute({0x58, 0, 0, 0}), no_writing);
    chip.SetLockBits(0);
    EXPECT_EQ(chip.Execute({0x58, 0, 0, 0}), no_reading);
  }
}

struct FuseRow {
  const char* Name;
  Instruction Write;
  int Delivered;
  int Written;  ///< after writing a byte with all fuse bits 0
};

TEST(Chip, FuseBytesHaveTheirDefaultsAndKeepTheBitsThatCannotBeChanged) {
  const std::vector<FuseRow> rows{
      {"ATtiny12L", {0xAC, 0xA0, 0, 0x00}, 0xD2, 0x00},
      {"ATtiny15L", {0xAC, 0xA0, 0, 0x00}, 0xDC, 0x0C},
      {"ATtiny26L", {0xAC, 0xA0, 0, 0x00}, 0xE1, 0x00},
      {"AT90S4433", {0xAC, 0xA0, 0xFF, 0xFF}, 0xDA, 0xC0},
  };
  for (const FuseRow& row : rows) {
    SCOPED_TRACE(row.Name);
    Chip chip = Listening(row.Name);
    EXPECT_EQ(chip.Execute({0x50, 0, 0, 0}), row.Delivered);
    chip.Execute(row.Write);
    EXPECT_EQ(chip.Execute({0x50, 0, 0, 0}), row.Written);
  }
}

TEST(Chip, ATiny15ReadsItsMissingFuseBitsAsOnesWhateverIsWritten) {
  Chip chip = Listening("ATtiny15L");
  chip.Execute({0xAC, 0xA0, 0, 0x16});
  EXPECT_EQ(chip.FuseLow(), 0x1E);
}

TEST(Chip, TheHighFuseByteOfATiny26KeepsSerialProgrammingEnabled) {
  Chip chip = Listening("ATtiny26L");
  EXPECT_EQ(chip.Execute({0x58, 0x08, 0, 0}), 0xF7);
  chip.Execute({0xAC, 0xA8, 0, 0xF8});
  EXPECT_EQ(chip.Execute({0x58, 0x08, 0, 0}), 0xF0);
  EXPECT_EQ(chip.FuseLow(), 0xE1) << "the low byte is another one";
}

TEST(Chip, TheSingleFuseOfSomeAt90sChipsStandsInBit0OfTheLockByte) {
  for (const char* name : {"AT90S2323", "AT90S2343", "AT90S4434", "AT90S8535"}) {
    SCOPED_TRACE(name);
    Chip chip = Listening(name);
    chip.Execute({0xAC, 0xBE, 0xFF, 0xFF});
    EXPECT_EQ(chip.Execute({0x58, 0, 0, 0}), 0xDE);
    chip.Execute({0xAC, 0xBF, 0xFF, 0xFF});
    EXPECT_EQ(chip.Execute({0x58, 0, 0, 0}), 0xDF);
    EXPECT_EQ(chip.Execute({0x50, 0, 0, 0}), 0xFF) << "there is no fuse byte of its own";
  }
}

TEST(Chip, FusesOutOfSerialReachReadFFAndStayAsTheyAre) {
  for (const char* name : {"AT90S1200", "AT90S2313", "AT90S4414", "AT90S8515"}) {
    SCOPED_TRACE(name);
    Chip chip = Listening(name);
    chip.Execute({0xAC, 0xBE, 0xFF, 0xFF});
    EXPECT_EQ(chip.FuseLow(), 0xFF);
    EXPECT_EQ(chip.Execute({0x50, 0, 0, 0}), 0xFF);
    chip.Execute({0xAC, 0xFD, 0xFF, 0xFF});
    EXPECT_EQ(chip.LockBits(), 2U) << "the lock bits are in reach";
  }
}

TEST(Chip, AChipWhoseResetWasGivenAwayNeverAnswersAgain) {
  struct Reset {
    const char* Name;
    Instruction Write;
  };
  for (const Reset& row :
       {Reset{"ATtiny12L", {0xAC, 0xA0, 0, 0xC2}}, Reset{"ATtiny15L", {0xAC, 0xA0, 0, 0xCC}},
        Reset{"ATtiny26L", {0xAC, 0xA8, 0, 0xE7}}}) {
    SCOPED_TRACE(row.Name);
    Chip chip = Listening(row.Name);
    chip.Execute(row.Write);
    EXPECT_EQ(Signature(chip)[0], 0x1E) << "the running session goes on";
    chip.LeaveProgramming();
    EXPECT_FALSE(chip.EnterProgramming());
    EXPECT_EQ(Signature(chip), (std::vector<int>{0xFF, 0xFF, 0xFF}));
    chip.Execute(kErase);
    EXPECT_FALSE(chip.EnterProgramming());
  }
}

TEST(Chip, CalibrationBytesAreFourOnATiny26OneOnOtherTinysAndNoneElsewhere) {
  for (const ChipModel& model : ChipModels()) {
    SCOPED_TRACE(std::string(model.Name));
    Chip chip(model);
    chip.EnterProgramming();
    chip.SetCalibration({0x05, 0x06, 0x07, 0x08});
    std::vector<int> read;
    for (std::uint8_t i = 0; i < 4; ++i) read.push_back(chip.Execute({0x38, 0, i, 0}));
    const std::vector<int> expected = model.CalibrationCount == 4 ? std::vector<int>{5, 6, 7, 8}
                                      : model.CalibrationCount == 1
                                          ? std::vector<int>{5, 5, 5, 5}
                                          : std::vector<int>{0xFF, 0xFF, 0xFF, 0xFF};
    EXPECT_EQ(read, expected);
  }
}

TEST(Chip, AStuckBitAlwaysReadsTheSame) {
  Chip chip = Listening("AT90S8515");
  chip.AddStuckBit({.Where = StuckBit::Memory::Flash, .Address = 3, .Bit = 9, .Value = false});
  chip.AddStuckBit({.Where = StuckBit::Memory::Eeprom, .Address = 3, .Bit = 7, .Value = true});
  chip.Execute({0xC0, 0, 3, 0x00});
  EXPECT_EQ(chip.FlashWord(3), 0xFDFF);
  EXPECT_EQ(chip.Execute({0x28, 0, 3, 0}), 0xFD);
  EXPECT_EQ(chip.Execute({0xA0, 0, 3, 0}), 0x80);
  EXPECT_EQ(chip.FlashWord(4), 0xFFFF);
}

TEST(Chip, TheBinaryImageIsFlashLowByteFirstAndThenEeprom) {
  Chip chip(*FindChip("ATtiny12L"));
  chip.SetFlashWord(0, 0x1234);
  chip.SetFlashWord(511, 0x5678);
  chip.SetEepromByte(0, 0x9A);
  chip.SetEepromByte(63, 0xBC);
  const auto image = chip.BinaryImage();
  ASSERT_EQ(image.size(), 1024U + 64U);
  EXPECT_EQ(image[0], 0x34);
  EXPECT_EQ(image[1], 0x12);
  EXPECT_EQ(image[1022], 0x78);
  EXPECT_EQ(image[1023], 0x56);
  EXPECT_EQ(image[1024], 0x9A);
  EXPECT_EQ(image[1087], 0xBC);
}

TEST(Chip, UnknownInstructionsReadFFAndChangeNothing) {
  Chip chip = Listening("AT90S8515");
  const auto before = chip.BinaryImage();
  for (const std::uint8_t operation : Instruction{0x00, 0x4C, 0x60, 0x99}) {
    EXPECT_EQ(chip.Execute({operation, 0, 0, 0}), 0xFF);
  }
  chip.Execute({0xAC, 0x53, 0, 0});
  EXPECT_EQ(chip.BinaryImage(), before);
  EXPECT_EQ(chip.LockBits(), 3U);
}

}  // namespace
}  // namespace fenwright::board
