#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "board/chip.h"

namespace fenwright::board {

/// Which commands the board understands at the moment. In its loader it waits, mute, for "U".
enum class CommandSet { Normal, Extended, Update, Loader };

/// How long erasing and writing take.
enum class Timing {
  None,      ///< no time at all
  DataSheet  ///< the selected device's times, see ChipTimes
};

struct BoardOptions {
  /// The whole answer to "?", line end included, as long as no update has brought another.
  std::string VersionLine = "KV-LOD350  V6.38\r\n";
  /// How long every "A" takes to be acknowledged.
  std::chrono::nanoseconds ExtendDelay{};
  Timing Times = Timing::None;
};

/// What one command answers, and how long the board works before it starts to send.
struct BoardReply {
  std::vector<std::uint8_t> Bytes;
  std::chrono::nanoseconds Delay{};
};

/// The words received in update mode, by word address. A later update overwrites word by word.
using FirmwareImage = std::map<std::uint16_t, std::uint16_t>;

/// Where a firmware keeps its answer to "?": 18 bytes, in HEX-file order, low byte first.
inline constexpr std::uint16_t kVersionAddress = 0x1FE0;
inline constexpr std::uint16_t kVersionWords = 9;

/// True for the words of the loader itself. An update that writes one destroys it.
constexpr bool IsLoaderWord(std::uint16_t address) {
  return (address >= 0x1F00 && address <= 0x1FDF) || address == 0x1FFF;
}

/// The board's side of docs/protocol.md: a state machine without time and without a line.
class BoardProtocol {
 public:
  /// `socket` is the chip in the socket, never null, and must outlive the board or be replaced.
  BoardProtocol(BoardOptions options, Chip* socket);

  /// Takes one byte. Gives the answer when the byte completed a command that has one.
  std::optional<BoardReply> Feed(std::uint8_t byte);

  /// Puts another chip into the socket. The board itself does not notice.
  void Insert(Chip* chip);

  /// Switches off and on: normal set, no device selected, a half-received command forgotten. With
  /// an update unfinished the board comes up in its loader instead.
  void Restart();

  /// Forgets the bytes of a frame that has not come whole; does nothing outside update mode.
  void ForgetFrame();

  [[nodiscard]] CommandSet Set() const { return set_; }
  [[nodiscard]] bool InProgrammingMode() const { return programming_; }
  /// The device selected with "T", null before.
  [[nodiscard]] const ChipModel* SelectedDevice() const { return selected_; }
  void SelectDevice(const ChipModel* device) { selected_ = device; }

  [[nodiscard]] const FirmwareImage& Firmware() const { return firmware_; }
  void SetFirmwareWord(std::uint16_t address, std::uint16_t word) { firmware_[address] = word; }

  /// True from the first word of an update to its end frame.
  [[nodiscard]] bool UpdateUnfinished() const { return update_unfinished_; }
  /// As after a power cut in the middle of an update.
  void LeaveUpdateUnfinished();

  /// The answer to "?".
  [[nodiscard]] std::string VersionLine() const;

  /// How many times programming mode has been left.
  [[nodiscard]] unsigned LeaveCount() const { return leave_count_; }

  /// Asked before every write (c C W D f u l ;): false makes the board acknowledge the write
  /// without carrying it out. May be empty.
  std::function<bool()> CarriesOutWrite;

 private:
  struct Command;
  static const Command* FindCommand(std::uint8_t letter);

  std::optional<BoardReply> FeedLoader(std::uint8_t byte);
  std::optional<BoardReply> FeedUpdate(std::uint8_t byte);
  std::optional<BoardReply> FeedCommand(std::uint8_t byte);
  std::optional<BoardReply> Start(std::uint8_t letter);
  BoardReply Carry(const Command& command);

  BoardReply SelectByCode();
  BoardReply EnterProgramming();
  BoardReply LeaveProgramming();
  BoardReply ReadSignature();
  BoardReply Erase();
  BoardReply SetAddress();
  BoardReply ReadWord();
  BoardReply WriteLowByte();
  BoardReply WriteHighByte();
  BoardReply WriteWord();
  BoardReply ReadEeprom();
  BoardReply WriteEeprom();
  BoardReply ReadFuse();
  BoardReply ReadLock();
  BoardReply ReadCalibration();
  BoardReply WriteFuseAt90s();
  BoardReply WriteFuseTiny();
  BoardReply WriteLock();
  BoardReply PassWrite();
  BoardReply PassRead();

  std::uint8_t Ask(std::uint8_t first, std::uint8_t second, std::uint8_t third);
  void Write(std::initializer_list<Instruction> instructions);
  [[nodiscard]] BoardReply Acknowledge(std::chrono::microseconds ChipTimes::*time) const;
  void ReleaseChip();
  void EnterUpdate();
  [[nodiscard]] bool LoaderWhole() const;

  BoardOptions options_;
  Chip* socket_;
  const ChipModel* selected_ = nullptr;
  CommandSet set_ = CommandSet::Normal;
  bool programming_ = false;
  std::uint16_t address_ = 0;
  const Command* pending_ = nullptr;
  std::vector<std::uint8_t> arguments_;
  FirmwareImage firmware_;
  bool update_unfinished_ = false;
  bool word_since_update_ = false;  ///< a word has come since the last "U"
  unsigned leave_count_ = 0;
};

}  // namespace fenwright::board
