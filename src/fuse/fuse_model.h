#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <string_view>

#include "screen/fuse_form.h"

namespace fenwright::fuse {

// What fuse and lock fields each device has, what their lists offer, and which list position stands
// for which bits. Constant tables and pure functions; nothing here talks to the board or a window.
//
// A fuse or lock bit that is programmed reads as 0. A list position counts from 0.

/// The items of one list, for the devices that share them.
struct OptionList {
  screen::FuseList List;
  /// Display names of the devices; empty = every device.
  std::span<const std::string_view> Devices;
  std::span<const std::string_view> Items;
  int DefaultIndex = 0;
};

/// The one item of a list that a device does not use.
inline constexpr std::string_view kNoField = "-";

/// How a byte is read from the chip.
enum class ReadCommand { Fuse, FuseHigh, Lock, LockFuse, Calibration };

/// How a byte is written to the chip.
enum class WriteCommand { FuseAt90s, FuseTiny, FuseHigh, Lock, LockTiny26 };

/// A field's place in a byte that was read.
struct DecodedField {
  screen::FuseList List;
  unsigned LowestBit = 0;
  unsigned BitCount = 1;
  /// List position by the value of the bits, kLeaveAsItIs for a value that no item stands for.
  /// Empty: the value is the position.
  std::span<const int> IndexOfBits;
};
inline constexpr int kLeaveAsItIs = -1;

/// One byte (or the calibration bytes) read from the chip, and the lists that show it.
struct ReadStep {
  ReadCommand Command;
  std::string_view Caption;  ///< name of the byte, "Fuse"
  std::string_view Header;   ///< what the trace says before it, "" = nothing
  std::span<const DecodedField> Fields;
};

/// What a list adds to the byte being composed, by its position. Other positions add nothing.
struct AddedField {
  screen::FuseList List;
  std::array<std::uint8_t, 4> Amounts{};
};

/// One byte composed from the lists and written to the chip. `BaseList` gives its first value; at a
/// position beyond `BaseValues` the byte starts from what the working byte last held.
struct WriteStep {
  WriteCommand Command;
  std::string_view Caption;  ///< name of the byte, "Fuse"
  screen::FuseList BaseList;
  std::span<const std::uint8_t> BaseValues;
  std::span<const AddedField> Added;
};

/// The fields of one device.
struct FuseLayout {
  std::string_view DisplayName;
  std::span<const screen::FuseList> Fields;  ///< the fuse lists that are filled
  int CalibrationCount = 0;
  bool LockListVisible = false;
  bool ReadEnabled = false;
  bool WriteEnabled = false;
  std::span<const ReadStep> ReadSteps;
  std::span<const WriteStep> WriteSteps;
};

/// The row of a device of the catalogue, by its display name; for any other text a row without
/// fields, its lock list hidden and both buttons disabled.
const FuseLayout& LayoutOf(std::string_view display_name);

/// True when the layout fills that fuse list.
bool HasField(const FuseLayout& layout, screen::FuseList list);

/// The items of a list on a device, null when the list knows nothing of the device.
const OptionList* OptionsOf(screen::FuseList list, std::string_view display_name);

/// True for the two commands that write lock bits.
bool WritesLock(WriteCommand command);

/// Gives the selected position of a list.
using Selection = std::function<int(screen::FuseList)>;

/// The byte that a step writes, for the selected positions. `held` is what the working byte holds.
std::uint8_t ComposeByte(const WriteStep& step, const Selection& selected, std::uint8_t held);

/// List position of a field in a byte that was read; kLeaveAsItIs when no item stands for it.
int DecodeIndex(const DecodedField& field, std::uint8_t byte);

/// Every list, in the order of the frame.
inline constexpr std::array<screen::FuseList, 11> kFrameOrder{
    screen::FuseList::Cksel,    screen::FuseList::Sut,       screen::FuseList::Boden,
    screen::FuseList::Bodlevel, screen::FuseList::Ckopt,     screen::FuseList::Pllck,
    screen::FuseList::Eesave,   screen::FuseList::Rstdisabl, screen::FuseList::Fstrt,
    screen::FuseList::Rcen,     screen::FuseList::Lock};

/// Name of a list as its control has it: "CKSEL", ... "LOCK".
std::string_view FieldName(screen::FuseList list);

}  // namespace fenwright::fuse
