#include "board/board_protocol.h"

#include "board/talk.h"

namespace fenwright::board {
namespace {

const Bytes kVersion{'K', 'V', '-', 'L', 'O', 'D', '3', '5',  '0',
                     ' ', ' ', 'V', '6', '.', '3', '8', 0x0D, 0x0A};

TEST(BoardProtocol, TheVersionLineHas18Bytes) {
  Talk board("AT90S8515");
  EXPECT_EQ(board('?'), kVersion);
}

TEST(BoardProtocol, TheVersionLineIsWhatTheOptionsSay) {
  Talk board("AT90S8515", {.VersionLine = "KV-LOD350A V6.30\r\n"});
  const std::string line = "KV-LOD350A V6.30\r\n";
  EXPECT_EQ(board('?'), Bytes(line.begin(), line.end()));
}

TEST(BoardProtocol, EscapeIsNotAnsweredAndReturnsToTheNormalSet) {
  Talk board("AT90S8515");
  EXPECT_EQ(board('A'), kAck);
  EXPECT_EQ(board.Board.Set(), CommandSet::Extended);
  EXPECT_EQ(board('\x1B'), kNothing);
  EXPECT_EQ(board.Board.Set(), CommandSet::Normal);
  EXPECT_EQ(board('\x1B'), kNothing);
  EXPECT_EQ(board('P'), kRefused);
}

TEST(BoardProtocol, TheNormalSetKnowsNoExtendedCommand) {
  for (const char letter : std::string("TPLeaRcCWdDr:Fofu;lx\r\n")) {
    Talk board("AT90S8515");
    EXPECT_EQ(board(letter), kRefused) << letter;
    EXPECT_EQ(board('?'), kVersion) << letter;
  }
}

TEST(BoardProtocol, TheExtendedSetAnswersUnknownCharactersWithAQuestionMark) {
  const std::string known = "\x1B?AUTPLseaRcCWdDr:Fofu;l";
  for (int value = 0; value < 256; ++value) {
    const char letter = static_cast<char>(value);
    if (known.find(letter) != std::string::npos) continue;
    ReadyTalk board("AT90S8515");
    EXPECT_EQ(board(letter), kRefused) << value;
  }
}

TEST(BoardProtocol, TheVersionIsAnsweredInTheExtendedSetToo) {
  ReadyTalk board("AT90S8515");
  EXPECT_EQ(board('?'), kVersion);
  EXPECT_TRUE(board.Board.InProgrammingMode());
}

TEST(BoardProtocol, TheExtendedSetIsAcknowledgedEveryTimeWithItsDelay) {
  Talk board("AT90S8515", {.ExtendDelay = 20ms});
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(board('A'), kAck);
    EXPECT_EQ(board.LastDelay, 20ms);
  }
  EXPECT_EQ(board('T', {0x38}), kAck);
  EXPECT_EQ(board.LastDelay, 0ms);
}

TEST(BoardProtocol, DeviceCodesOfTheTableAreKnownAndNoOthers) {
  const Bytes known{0x55, 0x56, 0x59, 0x48, 0x4C, 0x13, 0x20, 0x30, 0x28, 0x6C, 0x38, 0x68};
  Talk board("AT90S8515");
  board('A');
  for (int code = 0; code < 256; ++code) {
    const bool is_known = std::ranges::count(known, code) > 0;
    EXPECT_EQ(board('T', {code}), is_known ? kAck : kRefused) << code;
  }
}

TEST(BoardProtocol, EscapeKeepsTheSelectedDevice) {
  Talk board("ATtiny26L");
  board('A');
  board('T', {0x59});
  board('\x1B');
  board('A');
  board('P');
  EXPECT_EQ(board('W', {0x34, 0x12}), kAck);
  EXPECT_EQ(board.Socket.FlashWord(0), 0x1234);
}

TEST(BoardProtocol, EscapeAsAnArgumentIsData) {
  ReadyTalk board("AT90S8515");
  EXPECT_EQ(board('D', {0x1B}), kAck);
  EXPECT_EQ(board.Socket.EepromByte(0), 0x1B);
  EXPECT_EQ(board.Board.Set(), CommandSet::Extended);
}

TEST(BoardProtocol, EscapeLeavesProgrammingMode) {
  ReadyTalk board("AT90S8515");
  board('\x1B');
  board('A');
  EXPECT_EQ(board('R'), kRefused);
  EXPECT_EQ(board.Board.LeaveCount(), 1U);
}

TEST(BoardProtocol, MemoryCommandsOutsideProgrammingModeAreRefusedAfterTheirArguments) {
  Talk board("AT90S8515");
  board('A');
  board('T', {0x38});
  for (const Bytes& command :
       {Say('e'), Say('a', {0, 0}), Say('R'), Say('c', {0}), Say('C', {0}), Say('W', {0, 0}),
        Say('d'), Say('D', {0}), Say('r'), Say('F'), Say(':', {0x58, 0x08, 0x00}), Say('o'),
        Say('f', {0}), Say(';', {0xAC, 0xA8, 0x00, 0x00}), Say('u', {0}), Say('l', {0})}) {
    SCOPED_TRACE(static_cast<char>(command[0]));
    const Bytes all_but_last(command.begin(), command.end() - 1);
    EXPECT_EQ(board.Send(all_but_last), kNothing);
    EXPECT_EQ(board.Send({command.back()}), kRefused);
  }
  EXPECT_EQ(board.Socket.BinaryImage(), Chip(*FindChip("AT90S8515")).BinaryImage());
}

TEST(BoardProtocol, TheSignatureIsGivenInBothSetsAndLeavesProgrammingModeAsItWas) {
  Talk board("AT90S8515");
  const Bytes signature{0x01, 0x93, 0x1E};
  EXPECT_EQ(board('s'), signature);
  board('A');
  EXPECT_EQ(board('s'), signature);
  EXPECT_FALSE(board.Board.InProgrammingMode());
  EXPECT_EQ(board('R'), kRefused);
  board.Ready();
  EXPECT_EQ(board('s'), signature);
  EXPECT_TRUE(board.Board.InProgrammingMode());
}

TEST(BoardProtocol, EveryChipGivesItsSignaturePartByteFirst) {
  for (const ChipModel& model : ChipModels()) {
    SCOPED_TRACE(std::string(model.Name));
    Talk board(model.Name);
    EXPECT_EQ(board.Ready()('s'),
              (Bytes{model.Signature[2], model.Signature[1], model.Signature[0]}));
  }
}

TEST(BoardProtocol, ALockedChipsSignatureReads020100) {
  Talk board("AT90S8515");
  board.Socket.SetLockBits(0);
  EXPECT_EQ(board.Ready()('s'), (Bytes{2, 1, 0}));
}

TEST(BoardProtocol, AWordIsWrittenByteByByteAndReadHighByteFirst) {
  ReadyTalk board("AT90S8515");
  EXPECT_EQ(board('a', {0x0A, 0xBC}), kAck);
  EXPECT_EQ(board('c', {0x34}), kAck);
  EXPECT_EQ(board('C', {0x12}), kAck);
  EXPECT_EQ(board('c', {0x78}), kAck);
  EXPECT_EQ(board('C', {0x56}), kAck);
  EXPECT_EQ(board.Socket.FlashWord(0xABC), 0x1234);
  EXPECT_EQ(board.Socket.FlashWord(0xABD), 0x5678);
  EXPECT_EQ(board('a', {0x0A, 0xBC}), kAck);
  EXPECT_EQ(board('R'), (Bytes{0x12, 0x34}));
  EXPECT_EQ(board('R'), (Bytes{0x56, 0x78}));
  EXPECT_EQ(board('R'), (Bytes{0xFF, 0xFF}));
}

TEST(BoardProtocol, EnteringProgrammingModeResetsTheAddress) {
  Talk board("AT90S8515");
  board.Socket.SetFlashWord(0, 0x1234);
  board.Ready();
  board('a', {0x01, 0x00});
  board('P');
  EXPECT_EQ(board('R'), (Bytes{0x12, 0x34}));
}

TEST(BoardProtocol, ATiny26IsWrittenWordByWordAndAdvances) {
  ReadyTalk board("ATtiny26L");
  board('a', {0x03, 0xFE});
  EXPECT_EQ(board('W', {0x34, 0x12}), kAck);
  EXPECT_EQ(board('W', {0x78, 0x56}), kAck);
  EXPECT_EQ(board.Socket.FlashWord(0x3FE), 0x1234);
  EXPECT_EQ(board.Socket.FlashWord(0x3FF), 0x5678);
  board('a', {0x03, 0xFE});
  EXPECT_EQ(board('W', {0xF0, 0xFF}), kAck);
  EXPECT_EQ(board.Socket.FlashWord(0x3FE), 0x1230) << "writing clears bits, the page is kept";
  EXPECT_EQ(board.Socket.FlashWord(0x3FF), 0x5678);
}

TEST(BoardProtocol, WriteCommandsOfAnotherKindOfDeviceAreRefused) {
  for (const ChipModel& model : ChipModels()) {
    if (!model.DeviceCode) continue;
    SCOPED_TRACE(std::string(model.Name));
    ReadyTalk board(model.Name);
    const bool tiny26 = model.Name == "ATtiny26L";
    const bool tiny = model.Name.starts_with("ATtiny");
    EXPECT_EQ(board('W', {0xFF, 0xFF}), tiny26 ? kAck : kRefused);
    EXPECT_EQ(board('c', {0xFF}), tiny26 ? kRefused : kAck);
    EXPECT_EQ(board('C', {0xFF}), tiny26 ? kRefused : kAck);
    EXPECT_EQ(board('l', {0xFF}), tiny26 ? kRefused : kAck);
    EXPECT_EQ(board('u', {0xFF}), tiny ? kAck : kRefused);
    EXPECT_EQ(board('f', {0xBF}), tiny ? kRefused : kAck);
  }
}

TEST(BoardProtocol, FlashIsNotWrittenBeforeADeviceIsSelected) {
  Talk board("AT90S8515");
  board('A');
  EXPECT_EQ(board('P'), kAck);
  EXPECT_EQ(board('c', {0x00}), kRefused);
  EXPECT_EQ(board('s'), (Bytes{0x01, 0x93, 0x1E})) << "reading needs no device";
}

TEST(BoardProtocol, TheWrongDeviceIsAcknowledgedAndWritesNothingToAPagedChip) {
  Talk board("ATtiny26L");
  board('A');
  board('T', {0x38});
  board('P');
  EXPECT_EQ(board('c', {0x00}), kAck);
  EXPECT_EQ(board('C', {0x00}), kAck);
  EXPECT_EQ(board.Socket.FlashWord(0), 0xFFFF);
}

TEST(BoardProtocol, EepromBytesKeepTheAddress) {
  ReadyTalk board("AT90S8515");
  board('a', {0x01, 0x80});
  EXPECT_EQ(board('D', {0x5A}), kAck);
  EXPECT_EQ(board('d'), Bytes{0x5A});
  EXPECT_EQ(board('d'), Bytes{0x5A});
  EXPECT_EQ(board.Socket.EepromByte(0x180), 0x5A);
}

TEST(BoardProtocol, BeyondTheMemoryFFIsReadAndWritesAreAcknowledged) {
  ReadyTalk board("ATtiny12L");
  board('a', {0x02, 0x00});
  EXPECT_EQ(board('c', {0x00}), kAck);
  EXPECT_EQ(board('D', {0x00}), kAck);
  EXPECT_EQ(board('d'), Bytes{0xFF});
  EXPECT_EQ(board('R'), (Bytes{0xFF, 0xFF}));
}

TEST(BoardProtocol, TheAddressWrapsAround) {
  Talk board("AT90S8515");
  board.Socket.SetFlashWord(0, 0x1234);
  board.Ready();
  board('a', {0xFF, 0xFF});
  EXPECT_EQ(board('R'), (Bytes{0xFF, 0xFF}));
  EXPECT_EQ(board('R'), (Bytes{0x12, 0x34}));
}

TEST(BoardProtocol, ChipEraseClearsTheChip) {
  Talk board("AT90S8515");
  board.Socket.SetFlashWord(1, 0);
  board.Socket.SetEepromByte(1, 0);
  board.Socket.SetLockBits(0);
  EXPECT_EQ(board.Ready()('e'), kAck);
  EXPECT_EQ(board.Socket.FlashWord(1), 0xFFFF);
  EXPECT_EQ(board.Socket.EepromByte(1), 0xFF);
  EXPECT_EQ(board.Socket.LockBits(), 3U);
}

TEST(BoardProtocol, FusesOfATinyAreWrittenWithUAndReadWithR) {
  ReadyTalk board("ATtiny12L");
  EXPECT_EQ(board('r'), Bytes{0xD2});
  EXPECT_EQ(board('u', {0x51}), kAck);
  EXPECT_EQ(board('r'), Bytes{0x51});
}

TEST(BoardProtocol, FusesOfA4433AreWrittenWithFAndReadWithR) {
  ReadyTalk board("AT90S4433");
  EXPECT_EQ(board('r'), Bytes{0xDA});
  EXPECT_EQ(board('f', {0xA5}), kAck);
  EXPECT_EQ(board('r'), Bytes{0xC5});
}

TEST(BoardProtocol, LockAndFuseBitsOfSomeAt90sChipsComeInOneByte) {
  for (const char* name : {"AT90S2323", "AT90S2343", "AT90S4434", "AT90S8535"}) {
    SCOPED_TRACE(name);
    ReadyTalk board(name);
    EXPECT_EQ(board('f', {0xBE}), kAck);
    EXPECT_EQ(board('F'), Bytes{0xDE});
    EXPECT_EQ(board('l', {0xFD}), kAck);
    EXPECT_EQ(board('F'), Bytes{0x5E});
    EXPECT_EQ(board('f', {0xBF}), kAck) << "acknowledged and ignored: locked";
    EXPECT_EQ(board('F'), Bytes{0x5E});
    EXPECT_EQ(board('l', {0xF9}), kAck);
    EXPECT_EQ(board('F'), Bytes{0x1E});
  }
}

TEST(BoardProtocol, HighFuseAndLockBitsOfATiny26PassThroughAsInstructions) {
  ReadyTalk board("ATtiny26L");
  EXPECT_EQ(board('r'), Bytes{0xE1});
  EXPECT_EQ(board('u', {0xE4}), kAck);
  EXPECT_EQ(board('r'), Bytes{0xE4});
  EXPECT_EQ(board(':', {0x58, 0x08, 0x00}), Bytes{0xF7});
  EXPECT_EQ(board(';', {0xAC, 0xA8, 0x00, 0xF6}), kAck);
  EXPECT_EQ(board(':', {0x58, 0x08, 0x00}), Bytes{0xF6});
  EXPECT_EQ(board('F'), Bytes{0xFF});
  EXPECT_EQ(board(';', {0xAC, 0xE0, 0x00, 0xFE}), kAck);
  EXPECT_EQ(board('F'), Bytes{0xFE});
}

TEST(BoardProtocol, AnyInstructionCanBePassedThrough) {
  ReadyTalk board("AT90S8515");
  EXPECT_EQ(board(';', {0x40, 0x00, 0x05, 0x42}), kAck);
  EXPECT_EQ(board(':', {0x20, 0x00, 0x05}), Bytes{0x42});
  EXPECT_EQ(board(':', {0x30, 0x00, 0x00}), Bytes{0x1E});
}

TEST(BoardProtocol, CalibrationIsFourBytes) {
  Talk tiny26("ATtiny26L");
  tiny26.Socket.SetCalibration({1, 2, 3, 4});
  EXPECT_EQ(tiny26.Ready()('o'), (Bytes{1, 2, 3, 4}));
  Talk tiny15("ATtiny15L");
  tiny15.Socket.SetCalibration({9, 8, 7, 6});
  EXPECT_EQ(tiny15.Ready()('o'), (Bytes{9, 9, 9, 9}));
  Talk at90s("AT90S8515");
  EXPECT_EQ(at90s.Ready()('o'), (Bytes{0xFF, 0xFF, 0xFF, 0xFF}));
}

TEST(BoardProtocol, AnEmptySocketReadsFFAndAcknowledgesEverything) {
  Talk board("empty");
  board('A');
  board('T', {0x38});
  EXPECT_EQ(board('P'), kAck);
  EXPECT_EQ(board('s'), (Bytes{0xFF, 0xFF, 0xFF}));
  EXPECT_EQ(board('e'), kAck);
  EXPECT_EQ(board('a', {0, 0}), kAck);
  EXPECT_EQ(board('c', {0}), kAck);
  EXPECT_EQ(board('D', {0}), kAck);
  EXPECT_EQ(board('l', {0xF9}), kAck);
  EXPECT_EQ(board('R'), (Bytes{0xFF, 0xFF}));
  EXPECT_EQ(board('d'), Bytes{0xFF});
  EXPECT_EQ(board('F'), Bytes{0xFF});
  EXPECT_EQ(board('L'), kAck);
}

TEST(BoardProtocol, AResetDisabledChipReadsFFFromTheNextSessionOn) {
  ReadyTalk board("ATtiny12L");
  EXPECT_EQ(board('u', {0xC2}), kAck);
  EXPECT_EQ(board('r'), Bytes{0xC2});
  EXPECT_EQ(board('L'), kAck);
  EXPECT_EQ(board('P'), kAck);
  EXPECT_EQ(board('s'), (Bytes{0xFF, 0xFF, 0xFF}));
  EXPECT_EQ(board('u', {0xD2}), kAck);
  EXPECT_EQ(board.Socket.FuseLow(), 0xC2);
}

TEST(BoardProtocol, LeavingProgrammingModeIsCountedOnlyWhenItWasOn) {
  ReadyTalk board("AT90S8515");
  EXPECT_EQ(board('L'), kAck);
  EXPECT_EQ(board('L'), kAck);
  EXPECT_EQ(board.Board.LeaveCount(), 1U);
}

TEST(BoardProtocol, AnotherChipInTheSocketDoesNotAnswerBeforeTheNextSession) {
  ReadyTalk board("AT90S8515");
  Chip other(*FindChip("ATtiny12L"));
  board.Board.Insert(&other);
  EXPECT_EQ(board('s'), (Bytes{0xFF, 0xFF, 0xFF}));
  board('P');
  EXPECT_EQ(board('s'), (Bytes{0x05, 0x90, 0x1E}));
}

TEST(BoardProtocol, UpdateModeTakesFramesOfFourAndAnswersTheirSum) {
  for (const bool extended : {false, true}) {
    Talk board("AT90S8515");
    if (extended) board.Ready();
    EXPECT_EQ(board('U'), kNothing);
    EXPECT_EQ(board.Send({0x12, 0x34, 0xAB}), kNothing);
    EXPECT_EQ(board.Send({0xCD}), Bytes{static_cast<std::uint8_t>(0x12 + 0x34 + 0xAB + 0xCD)});
    EXPECT_EQ(board.Send({'?', 'A', 0x1B, 'U'}),
              Bytes{static_cast<std::uint8_t>('?' + 'A' + 0x1B + 'U')});
    EXPECT_EQ(board.Board.Firmware(), (FirmwareImage{{0x1234, 0xABCD}, {0x3F41, 0x1B55}}));
  }
}

TEST(BoardProtocol, TheEndFrameRestartsTheBoardInTheNormalSet) {
  ReadyTalk board("AT90S8515");
  board('U');
  board.Send({0x00, 0x01, 0x00, 0x02});
  EXPECT_EQ(board.Send({0xFF, 0xFF, 0xFF, 0xFF}), kNothing);
  EXPECT_EQ(board('?'), kVersion);
  EXPECT_EQ(board('P'), kRefused);
  EXPECT_EQ(board.Board.SelectedDevice(), nullptr);
  EXPECT_EQ(board.Board.Firmware().size(), 1U);
}

TEST(BoardProtocol, TheEndFrameIsOnlyAWholeFrame) {
  Talk board("AT90S8515");
  board('U');
  EXPECT_EQ(board.Send({0x00, 0x00, 0xFF, 0xFF}), Bytes{0xFE});
  EXPECT_EQ(board.Send({0xFF, 0xFF, 0x00, 0x00}), Bytes{0xFE});
  EXPECT_EQ(board.Board.Set(), CommandSet::Update);
}

/// A board in which an update has written a word and not come to its end.
void BeginUpdate(Talk& board) {
  board('U');
  board.Send({0x00, 0x01, 0x00, 0x02});
}

TEST(BoardProtocol, SwitchedOnWithAnUpdateUnfinishedItWaitsMuteInItsLoader) {
  Talk board("AT90S8515");
  BeginUpdate(board);
  board.Board.Restart();
  EXPECT_EQ(board.Board.Set(), CommandSet::Loader);
  EXPECT_EQ(board.Send({'?', 0x1B, 'A', 's', 0x00, 0x00, 0x00, 0x00}), kNothing);
  board('U');
  EXPECT_EQ(board.Send({0x00, 0x02, 0x00, 0x03}), Bytes{0x05});
  board.Send({0xFF, 0xFF, 0xFF, 0xFF});
  EXPECT_EQ(board('?'), kVersion);
  EXPECT_FALSE(board.Board.UpdateUnfinished());
}

TEST(BoardProtocol, SwitchedOnBeforeTheFirstWordOfAnUpdateItRunsItsFirmware) {
  Talk board("AT90S8515");
  board('U');
  board.Send({0x00, 0x01, 0x00});
  board.Board.Restart();
  EXPECT_EQ(board('?'), kVersion);
}

TEST(BoardProtocol, TheEndFrameWithoutAWordRestartsTheOldFirmware) {
  Talk board("AT90S8515");
  board('U');
  EXPECT_EQ(board.Send({0xFF, 0xFF, 0xFF, 0xFF}), kNothing);
  EXPECT_EQ(board('?'), kVersion);
}

TEST(BoardProtocol, UInThePlaceOfAFramesFirstByteBeginsTheUpdateAnew) {
  Talk board("AT90S8515");
  BeginUpdate(board);
  EXPECT_EQ(board.Send({'U', 'U', 0x00, 'U', 'U', 'U'}), Bytes{static_cast<std::uint8_t>(3 * 'U')});
  EXPECT_EQ(board.Board.Firmware().at('U'), 0x5555);
}

TEST(BoardProtocol, TheNewFirmwareAnswersWithTheVersionThatItCarries) {
  Talk board("AT90S8515");
  const std::string version = "KV-LOD350A V6.55\r\n";
  board('U');
  for (unsigned i = 0; i < version.size(); i += 2) {
    const auto high = static_cast<std::uint8_t>(version[i + 1]);
    const auto low = static_cast<std::uint8_t>(version[i]);
    board.Send({0x1F, static_cast<std::uint8_t>(0xE0 + i / 2), high, low});
  }
  board.Send({0xFF, 0xFF, 0xFF, 0xFF});
  EXPECT_EQ(board('?'), Bytes(version.begin(), version.end()));
}

TEST(BoardProtocol, AFirmwareWithAPartOfAVersionKeepsTheOldAnswer) {
  Talk board("AT90S8515");
  board('U');
  for (std::uint8_t i = 0; i < 8; ++i) {
    board.Send({0x1F, static_cast<std::uint8_t>(0xE0 + i), 'x', 'y'});
  }
  board.Send({0xFF, 0xFF, 0xFF, 0xFF});
  EXPECT_EQ(board('?'), kVersion);
}

TEST(BoardProtocol, AnUpdateThatOverwritesTheLoaderIsTheLast) {
  for (const int address : {0x1F00, 0x1FDF, 0x1FFF}) {
    Talk board("AT90S8515");
    board('U');
    board.Send({static_cast<std::uint8_t>(address >> 8), static_cast<std::uint8_t>(address), 0, 0});
    board.Send({0xFF, 0xFF, 0xFF, 0xFF});
    EXPECT_EQ(board('?'), kVersion);
    board('U');
    EXPECT_EQ(board.Send({0x00, 0x00, 0x00, 0x00, '?', 'U', 'U'}), kNothing) << address;
  }
}

TEST(BoardProtocol, TheWordsBesideTheLoaderDoNoHarm) {
  for (const int address : {0x1EFF, 0x1FE0, 0x1FFE}) {
    Talk board("AT90S8515");
    board('U');
    board.Send({static_cast<std::uint8_t>(address >> 8), static_cast<std::uint8_t>(address), 0, 0});
    board.Send({0xFF, 0xFF, 0xFF, 0xFF});
    board('U');
    EXPECT_EQ(board.Send({0x00, 0x00, 0x00, 0x07}), Bytes{0x07}) << address;
  }
}

TEST(BoardProtocol, DataSheetTimesDelayErasingAndWritingOnly) {
  ReadyTalk board("AT90S8515", {.Times = Timing::DataSheet});
  EXPECT_EQ(board.LastDelay, 0ms);
  board('e');
  EXPECT_EQ(board.LastDelay, 8ms);
  board('c', {0});
  EXPECT_EQ(board.LastDelay, 4ms);
  board('R');
  EXPECT_EQ(board.LastDelay, 0ms);
  board('D', {0});
  EXPECT_EQ(board.LastDelay, 4ms);
}

TEST(BoardProtocol, ATiny26TakesItsOwnTimes) {
  ReadyTalk board("ATtiny26L", {.Times = Timing::DataSheet});
  board('W', {0, 0});
  EXPECT_EQ(board.LastDelay, 4500us);
  board('D', {0});
  EXPECT_EQ(board.LastDelay, 9ms);
}

TEST(BoardProtocol, WritesThatAreToBeLiesAreAcknowledgedOnly) {
  ReadyTalk board("AT90S8515");
  int asked = 0;
  board.Board.CarriesOutWrite = [&asked] { return ++asked != 2; };
  EXPECT_EQ(board('c', {0x11}), kAck);
  EXPECT_EQ(board('C', {0x22}), kAck);
  EXPECT_EQ(board('c', {0x33}), kAck);
  EXPECT_EQ(board.Socket.FlashWord(0), 0xFF11);
  EXPECT_EQ(board.Socket.FlashWord(1), 0xFF33);
  board('R');
  board('e');
  EXPECT_EQ(asked, 3) << "reading and erasing are no writes";
}

}  // namespace
}  // namespace fenwright::board
