#include "board/board_protocol.h"

#include <algorithm>
#include <array>
#include <utility>

namespace fenwright::board {
namespace {

constexpr std::uint8_t kEscape = 0x1B;
constexpr std::uint8_t kUpdate = 'U';
constexpr std::uint8_t kCarriageReturn = 0x0D;
constexpr std::size_t kFrameSize = 4;

/// Stands in instruction bytes that the chip does not look at.
constexpr std::uint8_t kIdle = 0xFF;

BoardReply One(std::uint8_t byte) { return {.Bytes = {byte}, .Delay = {}}; }

BoardReply Refused() { return One('?'); }

BoardReply Done() { return One(kCarriageReturn); }

Instruction At(std::uint8_t operation, std::uint16_t address, std::uint8_t data) {
  return {operation, static_cast<std::uint8_t>(address >> 8), static_cast<std::uint8_t>(address),
          data};
}

}  // namespace

struct BoardProtocol::Command {
  char Letter;
  std::size_t ArgumentCount;
  bool NeedsProgramming;
  BoardReply (BoardProtocol::*Run)();
};

const BoardProtocol::Command* BoardProtocol::FindCommand(std::uint8_t letter) {
  using Self = BoardProtocol;
  static constexpr std::array<Command, 19> kCommands{{
      {'T', 1, false, &Self::SelectByCode},     {'P', 0, false, &Self::EnterProgramming},
      {'L', 0, false, &Self::LeaveProgramming}, {'e', 0, true, &Self::Erase},
      {'a', 2, true, &Self::SetAddress},        {'R', 0, true, &Self::ReadWord},
      {'c', 1, true, &Self::WriteLowByte},      {'C', 1, true, &Self::WriteHighByte},
      {'W', 2, true, &Self::WriteWord},         {'d', 0, true, &Self::ReadEeprom},
      {'D', 1, true, &Self::WriteEeprom},       {'r', 0, true, &Self::ReadFuse},
      {'F', 0, true, &Self::ReadLock},          {'o', 0, true, &Self::ReadCalibration},
      {'f', 1, true, &Self::WriteFuseAt90s},    {'u', 1, true, &Self::WriteFuseTiny},
      {'l', 1, true, &Self::WriteLock},         {';', 4, true, &Self::PassWrite},
      {':', 3, true, &Self::PassRead},
  }};
  const auto* const found =
      std::find_if(kCommands.begin(), kCommands.end(), [letter](const Command& command) {
        return static_cast<std::uint8_t>(command.Letter) == letter;
      });
  return found == kCommands.end() ? nullptr : found;
}

BoardProtocol::BoardProtocol(BoardOptions options, Chip* socket)
    : options_(std::move(options)), socket_(socket) {}

std::optional<BoardReply> BoardProtocol::Feed(std::uint8_t byte) {
  if (set_ == CommandSet::Update) return FeedUpdate(byte);
  if (set_ == CommandSet::Loader) return FeedLoader(byte);
  return FeedCommand(byte);
}

void BoardProtocol::Insert(Chip* chip) {
  socket_->LeaveProgramming();
  socket_ = chip;
}

void BoardProtocol::Restart() {
  ReleaseChip();
  set_ = update_unfinished_ ? CommandSet::Loader : CommandSet::Normal;
  selected_ = nullptr;
  pending_ = nullptr;
  arguments_.clear();
  address_ = 0;
}

void BoardProtocol::ForgetFrame() {
  if (set_ == CommandSet::Update) arguments_.clear();
}

void BoardProtocol::LeaveUpdateUnfinished() {
  update_unfinished_ = true;
  set_ = CommandSet::Loader;
}

std::string BoardProtocol::VersionLine() const {
  std::string line;
  for (std::uint16_t i = 0; i < kVersionWords; ++i) {
    const auto word = firmware_.find(static_cast<std::uint16_t>(kVersionAddress + i));
    if (word == firmware_.end()) return options_.VersionLine;
    line += static_cast<char>(word->second & 0xFF);
    line += static_cast<char>(word->second >> 8);
  }
  return line;
}

bool BoardProtocol::LoaderWhole() const {
  return std::none_of(firmware_.begin(), firmware_.end(),
                      [](const auto& word) { return IsLoaderWord(word.first); });
}

void BoardProtocol::EnterUpdate() {
  ReleaseChip();
  arguments_.clear();
  word_since_update_ = false;
  set_ = LoaderWhole() ? CommandSet::Update : CommandSet::Loader;
}

std::optional<BoardReply> BoardProtocol::FeedLoader(std::uint8_t byte) {
  if (byte == kUpdate) EnterUpdate();
  return std::nullopt;
}

std::optional<BoardReply> BoardProtocol::FeedUpdate(std::uint8_t byte) {
  // No word address begins so: the PC begins anew.
  if (arguments_.empty() && byte == kUpdate) {
    word_since_update_ = false;
    return std::nullopt;
  }
  arguments_.push_back(byte);
  if (arguments_.size() < kFrameSize) {
    return std::nullopt;
  }
  const auto frame = std::exchange(arguments_, {});
  if (std::all_of(frame.begin(), frame.end(), [](std::uint8_t b) { return b == 0xFF; })) {
    update_unfinished_ = update_unfinished_ && !word_since_update_;
    Restart();
    return std::nullopt;
  }
  const auto address = static_cast<std::uint16_t>(frame[0] << 8 | frame[1]);
  SetFirmwareWord(address, static_cast<std::uint16_t>(frame[2] << 8 | frame[3]));
  update_unfinished_ = true;
  word_since_update_ = true;
  return One(static_cast<std::uint8_t>(frame[0] + frame[1] + frame[2] + frame[3]));
}

std::optional<BoardReply> BoardProtocol::FeedCommand(std::uint8_t byte) {
  if (pending_ == nullptr) {
    return Start(byte);
  }
  arguments_.push_back(byte);
  if (arguments_.size() < pending_->ArgumentCount) {
    return std::nullopt;
  }
  return Carry(*std::exchange(pending_, nullptr));
}

std::optional<BoardReply> BoardProtocol::Start(std::uint8_t letter) {
  arguments_.clear();
  switch (letter) {
    case kEscape:
      ReleaseChip();
      set_ = CommandSet::Normal;
      return std::nullopt;
    case '?': {
      const std::string line = VersionLine();
      return BoardReply{.Bytes = {line.begin(), line.end()}, .Delay = {}};
    }
    case 's':
      return ReadSignature();
    case 'A':
      set_ = CommandSet::Extended;
      return BoardReply{.Bytes = {kCarriageReturn}, .Delay = options_.ExtendDelay};
    case kUpdate:
      EnterUpdate();
      return std::nullopt;
    default:
      break;
  }
  const Command* command = set_ == CommandSet::Extended ? FindCommand(letter) : nullptr;
  if (command == nullptr) {
    return Refused();
  }
  if (command->ArgumentCount == 0) {
    return Carry(*command);
  }
  pending_ = command;
  return std::nullopt;
}

BoardReply BoardProtocol::Carry(const Command& command) {
  // Some commands fit those devices only whose row names them.
  constexpr std::string_view kDeviceCommands = "cCWful";
  const bool fits = kDeviceCommands.find(command.Letter) == std::string_view::npos ||
                    (selected_ != nullptr &&
                     selected_->WriteCommands.find(command.Letter) != std::string_view::npos);
  if ((command.NeedsProgramming && !programming_) || !fits) {
    return Refused();
  }
  return (this->*command.Run)();
}

BoardReply BoardProtocol::SelectByCode() {
  const ChipModel* device = FindChipByCode(arguments_[0]);
  if (device == nullptr) {
    return Refused();
  }
  selected_ = device;
  return Done();
}

BoardReply BoardProtocol::EnterProgramming() {
  // The board cannot see whether a chip answers: a missing one is acknowledged all the same.
  socket_->EnterProgramming();
  programming_ = true;
  address_ = 0;
  return Done();
}

BoardReply BoardProtocol::LeaveProgramming() {
  ReleaseChip();
  return Done();
}

void BoardProtocol::ReleaseChip() {
  if (programming_) {
    ++leave_count_;
  }
  socket_->LeaveProgramming();
  programming_ = false;
}

std::uint8_t BoardProtocol::Ask(std::uint8_t first, std::uint8_t second, std::uint8_t third) {
  return socket_->Execute({first, second, third, 0x00});
}

void BoardProtocol::Write(std::initializer_list<Instruction> instructions) {
  if (CarriesOutWrite && !CarriesOutWrite()) {
    return;
  }
  for (const Instruction& instruction : instructions) {
    socket_->Execute(instruction);
  }
}

BoardReply BoardProtocol::Acknowledge(std::chrono::microseconds ChipTimes::*time) const {
  BoardReply reply = Done();
  if (options_.Times == Timing::DataSheet && selected_ != nullptr) {
    reply.Delay = selected_->Times.*time;
  }
  return reply;
}

BoardReply BoardProtocol::ReadSignature() {
  // Outside programming mode the board enters it for as long as this takes.
  if (!programming_) socket_->EnterProgramming();
  BoardReply reply{.Bytes = {Ask(0x30, 0, 2), Ask(0x30, 0, 1), Ask(0x30, 0, 0)}, .Delay = {}};
  if (!programming_) socket_->LeaveProgramming();
  return reply;
}

BoardReply BoardProtocol::Erase() {
  socket_->Execute({0xAC, 0x80, 0x00, 0x00});
  return Acknowledge(&ChipTimes::Erase);
}

BoardReply BoardProtocol::SetAddress() {
  address_ = static_cast<std::uint16_t>(arguments_[0] << 8 | arguments_[1]);
  return Done();
}

BoardReply BoardProtocol::ReadWord() {
  const std::uint8_t high = socket_->Execute(At(0x28, address_, 0));
  const std::uint8_t low = socket_->Execute(At(0x20, address_, 0));
  ++address_;
  return {.Bytes = {high, low}, .Delay = {}};
}

BoardReply BoardProtocol::WriteLowByte() {
  Write({At(0x40, address_, arguments_[0])});
  return Acknowledge(&ChipTimes::FlashWrite);
}

BoardReply BoardProtocol::WriteHighByte() {
  Write({At(0x48, address_, arguments_[0])});
  ++address_;
  return Acknowledge(&ChipTimes::FlashWrite);
}

BoardReply BoardProtocol::WriteWord() {
  Write({At(0x40, address_, arguments_[0]), At(0x48, address_, arguments_[1]),
         At(0x4C, address_, 0)});
  ++address_;
  return Acknowledge(&ChipTimes::FlashWrite);
}

BoardReply BoardProtocol::ReadEeprom() { return One(socket_->Execute(At(0xA0, address_, 0))); }

BoardReply BoardProtocol::WriteEeprom() {
  Write({At(0xC0, address_, arguments_[0])});
  return Acknowledge(&ChipTimes::EepromWrite);
}

BoardReply BoardProtocol::ReadFuse() { return One(Ask(0x50, 0, 0)); }

BoardReply BoardProtocol::ReadLock() { return One(Ask(0x58, 0, 0)); }

BoardReply BoardProtocol::ReadCalibration() {
  return {.Bytes = {Ask(0x38, 0, 0), Ask(0x38, 0, 1), Ask(0x38, 0, 2), Ask(0x38, 0, 3)},
          .Delay = {}};
}

// The value of "f" and of "l" is the second byte of the chip's instruction, the bits that tell the
// two instructions apart (101, 111) included; the board does not look at it.
BoardReply BoardProtocol::WriteFuseAt90s() {
  Write({{0xAC, arguments_[0], kIdle, kIdle}});
  return Acknowledge(&ChipTimes::FuseWrite);
}

BoardReply BoardProtocol::WriteFuseTiny() {
  Write({{0xAC, 0xA0, 0x00, arguments_[0]}});
  return Acknowledge(&ChipTimes::FuseWrite);
}

BoardReply BoardProtocol::WriteLock() {
  Write({{0xAC, arguments_[0], kIdle, kIdle}});
  return Acknowledge(&ChipTimes::FuseWrite);
}

BoardReply BoardProtocol::PassWrite() {
  Write({{arguments_[0], arguments_[1], arguments_[2], arguments_[3]}});
  return Acknowledge(&ChipTimes::FuseWrite);
}

BoardReply BoardProtocol::PassRead() {
  return One(Ask(arguments_[0], arguments_[1], arguments_[2]));
}

}  // namespace fenwright::board
