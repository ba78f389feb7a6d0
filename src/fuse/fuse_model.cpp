#include "fuse/fuse_model.h"

#include <algorithm>
#include <cstddef>

namespace fenwright::fuse {
namespace {

using screen::FuseList;
using Names = std::span<const std::string_view>;

// --- The lists ------------------------------------------------------------------------------

constexpr std::array<std::string_view, 2> kEnableDisable{"Enable", "Disable"};
constexpr std::array<std::string_view, 2> kOneBit{"0", "1"};
constexpr std::array<std::string_view, 4> kTwoBits{"00", "01", "10", "11"};
constexpr std::array<std::string_view, 8> kThreeBits{"000", "001", "010", "011",
                                                     "100", "101", "110", "111"};
constexpr std::array<std::string_view, 16> kFourBits{"0000", "0001", "0010", "0011", "0100", "0101",
                                                     "0110", "0111", "1000", "1001", "1010", "1011",
                                                     "1100", "1101", "1110", "1111"};
constexpr std::array<std::string_view, 2> kLevelsTiny12{"2.7V", "1.8V"};
constexpr std::array<std::string_view, 2> kLevels{"4.0V", "2.7V"};
constexpr std::array<std::string_view, 2> kResetPb7{"PB7:I/O", "PB7:Reset"};
constexpr std::array<std::string_view, 2> kResetPb5{"PB5:I/O", "PB5:Reset"};
constexpr std::array<std::string_view, 3> kLockModes{"書込み & ベリファイ 禁止", "書込み禁止",
                                                     "プロテクトなし"};

// "AT90S2333" is a chip that the device selector never offers; its lists are those of the
// AT90S4433. The rows are kept on purpose.
constexpr std::array<std::string_view, 1> kTiny12{"ATtiny12L"};
constexpr std::array<std::string_view, 1> kTiny15{"ATtiny15L"};
constexpr std::array<std::string_view, 1> kTiny26{"ATtiny26L"};
constexpr std::array<std::string_view, 2> kTiny12And15{"ATtiny12L", "ATtiny15L"};
constexpr std::array<std::string_view, 2> k4433And2333{"AT90S4433", "AT90S2333"};
constexpr std::array<std::string_view, 4> kWithHigherLevels{"ATtiny15L", "ATtiny26L", "AT90S4433",
                                                            "AT90S2333"};
constexpr std::array<std::string_view, 5> kWithBrownOut{"ATtiny12L", "ATtiny15L", "ATtiny26L",
                                                        "AT90S4433", "AT90S2333"};

constexpr std::array<OptionList, 16> kOptionLists{{
    {.List = FuseList::Fstrt, .Devices = {}, .Items = kEnableDisable, .DefaultIndex = 0},
    {.List = FuseList::Rcen, .Devices = {}, .Items = kEnableDisable, .DefaultIndex = 0},
    {.List = FuseList::Eesave, .Devices = {}, .Items = kEnableDisable, .DefaultIndex = 1},
    {.List = FuseList::Pllck, .Devices = {}, .Items = kOneBit, .DefaultIndex = 1},
    {.List = FuseList::Ckopt, .Devices = {}, .Items = kOneBit, .DefaultIndex = 1},
    {.List = FuseList::Sut, .Devices = {}, .Items = kTwoBits, .DefaultIndex = 2},
    {.List = FuseList::Boden, .Devices = kWithBrownOut, .Items = kEnableDisable, .DefaultIndex = 1},
    {.List = FuseList::Bodlevel, .Devices = kTiny12, .Items = kLevelsTiny12, .DefaultIndex = 1},
    {.List = FuseList::Bodlevel, .Devices = kWithHigherLevels, .Items = kLevels, .DefaultIndex = 1},
    {.List = FuseList::Rstdisabl, .Devices = kTiny26, .Items = kResetPb7, .DefaultIndex = 1},
    {.List = FuseList::Rstdisabl, .Devices = kTiny12And15, .Items = kResetPb5, .DefaultIndex = 1},
    {.List = FuseList::Cksel, .Devices = kTiny12, .Items = kFourBits, .DefaultIndex = 2},
    {.List = FuseList::Cksel, .Devices = kTiny15, .Items = kTwoBits, .DefaultIndex = 0},
    {.List = FuseList::Cksel, .Devices = kTiny26, .Items = kFourBits, .DefaultIndex = 1},
    {.List = FuseList::Cksel, .Devices = k4433And2333, .Items = kThreeBits, .DefaultIndex = 2},
    {.List = FuseList::Lock, .Devices = {}, .Items = kLockModes, .DefaultIndex = 2},
}};

// --- From a byte to the lists ---------------------------------------------------------------

// By the value of the two lock bits. The value without an item leaves the list as it is.
constexpr std::array<int, 4> kLockOfBits{0, kLeaveAsItIs, 1, 2};
/// The combined byte of some AT90S chips has its two lock bits the other way round.
constexpr std::array<int, 4> kLockOfCombinedBits{0, 1, kLeaveAsItIs, 2};

constexpr DecodedField OneBit(FuseList list, unsigned bit) {
  return {.List = list, .LowestBit = bit, .BitCount = 1, .IndexOfBits = {}};
}

constexpr DecodedField Bits(FuseList list, unsigned lowest, unsigned count) {
  return {.List = list, .LowestBit = lowest, .BitCount = count, .IndexOfBits = {}};
}

constexpr DecodedField LockBits(unsigned lowest, const std::array<int, 4>& index_of_bits) {
  return {.List = FuseList::Lock, .LowestBit = lowest, .BitCount = 2, .IndexOfBits = index_of_bits};
}

constexpr std::array<DecodedField, 4> kTiny12FuseRead{
    Bits(FuseList::Cksel, 0, 4), OneBit(FuseList::Rstdisabl, 4), OneBit(FuseList::Boden, 6),
    OneBit(FuseList::Bodlevel, 7)};
constexpr std::array<DecodedField, 4> kTiny15FuseRead{
    Bits(FuseList::Cksel, 0, 2), OneBit(FuseList::Rstdisabl, 4), OneBit(FuseList::Boden, 6),
    OneBit(FuseList::Bodlevel, 7)};
constexpr std::array<DecodedField, 4> kTiny26FuseLowRead{
    Bits(FuseList::Cksel, 0, 4), Bits(FuseList::Sut, 4, 2), OneBit(FuseList::Ckopt, 6),
    OneBit(FuseList::Pllck, 7)};
constexpr std::array<DecodedField, 4> kTiny26FuseHighRead{
    OneBit(FuseList::Boden, 0), OneBit(FuseList::Bodlevel, 1), OneBit(FuseList::Eesave, 2),
    OneBit(FuseList::Rstdisabl, 4)};
constexpr std::array<DecodedField, 3> k4433FuseRead{
    Bits(FuseList::Cksel, 0, 3), OneBit(FuseList::Boden, 3), OneBit(FuseList::Bodlevel, 4)};
constexpr std::array<DecodedField, 2> kFstrtLockRead{OneBit(FuseList::Fstrt, 0),
                                                     LockBits(6, kLockOfCombinedBits)};
constexpr std::array<DecodedField, 2> kRcenLockRead{OneBit(FuseList::Rcen, 0),
                                                    LockBits(6, kLockOfCombinedBits)};
constexpr std::array<DecodedField, 1> kLockRead{LockBits(1, kLockOfBits)};
constexpr std::array<DecodedField, 1> kTiny26LockRead{LockBits(0, kLockOfBits)};

constexpr ReadStep Step(ReadCommand command, std::string_view caption,
                        std::span<const DecodedField> fields, std::string_view header = "") {
  return {.Command = command, .Caption = caption, .Header = header, .Fields = fields};
}

constexpr std::array<ReadStep, 3> kTiny12Reads{Step(ReadCommand::Fuse, "Fuse", kTiny12FuseRead),
                                               Step(ReadCommand::Lock, "Lock", kLockRead),
                                               Step(ReadCommand::Calibration, "Calibration", {})};
constexpr std::array<ReadStep, 3> kTiny15Reads{Step(ReadCommand::Fuse, "Fuse", kTiny15FuseRead),
                                               Step(ReadCommand::Lock, "Lock", kLockRead),
                                               Step(ReadCommand::Calibration, "Calibration", {})};
constexpr std::array<ReadStep, 4> kTiny26Reads{
    Step(ReadCommand::Fuse, "Fuse", kTiny26FuseLowRead, "<< Read Fuse Bit >>"),
    Step(ReadCommand::FuseHigh, "High", kTiny26FuseHighRead, "<< Read Fuse Hi Bit >>"),
    Step(ReadCommand::Lock, "Lock", kTiny26LockRead, "<< Read Lock Bit >>"),
    Step(ReadCommand::Calibration, "Calibration", {}, "<< Read Calibration Byte >>")};
constexpr std::array<ReadStep, 2> k4433Reads{Step(ReadCommand::Fuse, "Fuse", k4433FuseRead),
                                             Step(ReadCommand::Lock, "Lock", kLockRead)};
constexpr std::array<ReadStep, 1> kFstrtReads{
    Step(ReadCommand::LockFuse, "Lock/Fuse", kFstrtLockRead)};
constexpr std::array<ReadStep, 1> kRcenReads{
    Step(ReadCommand::LockFuse, "Lock/Fuse", kRcenLockRead)};

// --- From the lists to a byte ---------------------------------------------------------------

constexpr std::array<std::uint8_t, 16> kCksel16{0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07,
                                                0x08, 0x09, 0x0A, 0x0B, 0x0C, 0x0D, 0x0E, 0x0F};
/// Deliberately not the identity: "00" and "10" write 0110, "01" and "11" write 0111, while a read
/// shows the chip's two bits as they are.
constexpr std::array<std::uint8_t, 4> kCkselTiny15{0x06, 0x07, 0x06, 0x07};
constexpr std::array<std::uint8_t, 8> kCksel4433{0xA0, 0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7};
constexpr std::array<std::uint8_t, 2> kBodenHigh{0xE0, 0xE1};
constexpr std::array<std::uint8_t, 2> kSingleFuse{0xBE, 0xBF};
constexpr std::array<std::uint8_t, 3> kLock{0xF9, 0xFD, 0xFF};
constexpr std::array<std::uint8_t, 3> kLockTiny26{0xFC, 0xFE, 0xFF};

constexpr AddedField AddsAt1(FuseList list, std::uint8_t amount) {
  return {.List = list, .Amounts = {0, amount}};
}

// Bit 5, and bit 3 of the ATtiny26L's high byte, stay 0: serial programming stays enabled.
constexpr std::array<AddedField, 3> kTinyAdded{AddsAt1(FuseList::Rstdisabl, 0x10),
                                               AddsAt1(FuseList::Boden, 0x40),
                                               AddsAt1(FuseList::Bodlevel, 0x80)};
constexpr std::array<AddedField, 3> kTiny26LowAdded{
    AddedField{.List = FuseList::Sut, .Amounts = {0x00, 0x10, 0x20, 0x30}},
    AddsAt1(FuseList::Ckopt, 0x40), AddsAt1(FuseList::Pllck, 0x80)};
constexpr std::array<AddedField, 3> kTiny26HighAdded{AddsAt1(FuseList::Bodlevel, 0x02),
                                                     AddsAt1(FuseList::Eesave, 0x04),
                                                     AddsAt1(FuseList::Rstdisabl, 0x10)};
constexpr std::array<AddedField, 2> k4433Added{AddsAt1(FuseList::Boden, 0x08),
                                               AddsAt1(FuseList::Bodlevel, 0x10)};

constexpr WriteStep kLockWrite{.Command = WriteCommand::Lock,
                               .Caption = "Lock",
                               .BaseList = FuseList::Lock,
                               .BaseValues = kLock,
                               .Added = {}};

constexpr WriteStep Fuse(WriteCommand command, FuseList base_list,
                         std::span<const std::uint8_t> base_values,
                         std::span<const AddedField> added = {}) {
  return {.Command = command,
          .Caption = "Fuse",
          .BaseList = base_list,
          .BaseValues = base_values,
          .Added = added};
}

constexpr std::array<WriteStep, 2> kTiny12Writes{
    Fuse(WriteCommand::FuseTiny, FuseList::Cksel, kCksel16, kTinyAdded), kLockWrite};
constexpr std::array<WriteStep, 2> kTiny15Writes{
    Fuse(WriteCommand::FuseTiny, FuseList::Cksel, kCkselTiny15, kTinyAdded), kLockWrite};
constexpr std::array<WriteStep, 3> kTiny26Writes{
    Fuse(WriteCommand::FuseTiny, FuseList::Cksel, kCksel16, kTiny26LowAdded),
    WriteStep{.Command = WriteCommand::FuseHigh,
              .Caption = "High",
              .BaseList = FuseList::Boden,
              .BaseValues = kBodenHigh,
              .Added = kTiny26HighAdded},
    WriteStep{.Command = WriteCommand::LockTiny26,
              .Caption = "Lock",
              .BaseList = FuseList::Lock,
              .BaseValues = kLockTiny26,
              .Added = {}}};
constexpr std::array<WriteStep, 2> k4433Writes{
    Fuse(WriteCommand::FuseAt90s, FuseList::Cksel, kCksel4433, k4433Added), kLockWrite};
constexpr std::array<WriteStep, 2> kFstrtWrites{
    Fuse(WriteCommand::FuseAt90s, FuseList::Fstrt, kSingleFuse), kLockWrite};
constexpr std::array<WriteStep, 2> kRcenWrites{
    Fuse(WriteCommand::FuseAt90s, FuseList::Rcen, kSingleFuse), kLockWrite};
constexpr std::array<WriteStep, 1> kLockOnlyWrites{kLockWrite};

// --- The devices ----------------------------------------------------------------------------

constexpr std::array<FuseList, 4> kTinyFields{FuseList::Cksel, FuseList::Boden, FuseList::Bodlevel,
                                              FuseList::Rstdisabl};
constexpr std::array<FuseList, 8> kTiny26Fields{
    FuseList::Cksel, FuseList::Sut,      FuseList::Ckopt,  FuseList::Pllck,
    FuseList::Boden, FuseList::Bodlevel, FuseList::Eesave, FuseList::Rstdisabl};
constexpr std::array<FuseList, 3> k4433Fields{FuseList::Cksel, FuseList::Boden, FuseList::Bodlevel};
constexpr std::array<FuseList, 1> kFstrtField{FuseList::Fstrt};
constexpr std::array<FuseList, 1> kRcenField{FuseList::Rcen};

constexpr FuseLayout Tiny(std::string_view name, std::span<const FuseList> fields,
                          std::span<const ReadStep> reads, std::span<const WriteStep> writes,
                          int calibration_count = 1) {
  return {.DisplayName = name,
          .Fields = fields,
          .CalibrationCount = calibration_count,
          .LockListVisible = true,
          .ReadEnabled = true,
          .WriteEnabled = true,
          .ReadSteps = reads,
          .WriteSteps = writes};
}

constexpr FuseLayout At90s(std::string_view name, std::span<const FuseList> fields,
                           std::span<const ReadStep> reads, std::span<const WriteStep> writes) {
  return Tiny(name, fields, reads, writes, 0);
}

/// The lock byte can be written, but nothing can be read back.
constexpr FuseLayout LockOnly(std::string_view name) {
  FuseLayout layout = At90s(name, {}, {}, kLockOnlyWrites);
  layout.ReadEnabled = false;
  return layout;
}

constexpr std::array<FuseLayout, 13> kLayouts{
    Tiny("ATtiny12L", kTinyFields, kTiny12Reads, kTiny12Writes),
    Tiny("ATtiny15L", kTinyFields, kTiny15Reads, kTiny15Writes),
    Tiny("ATtiny26L", kTiny26Fields, kTiny26Reads, kTiny26Writes, 4),
    At90s("AT90S2323", kFstrtField, kFstrtReads, kFstrtWrites),
    At90s("AT90S2343", kRcenField, kRcenReads, kRcenWrites),
    LockOnly("AT90S1200 (外部ｸﾛｯｸ)"),
    LockOnly("AT90S1200A(内部RCｸﾛｯｸ1MHz)"),
    LockOnly("AT90S2313"),
    At90s("AT90S4433", k4433Fields, k4433Reads, k4433Writes),
    LockOnly("AT90S4414"),
    At90s("AT90S4434", kFstrtField, kFstrtReads, kFstrtWrites),
    LockOnly("AT90S8515"),
    At90s("AT90S8535", kFstrtField, kFstrtReads, kFstrtWrites)};

constexpr FuseLayout kUnknownDevice{};

bool Covers(Names names, std::string_view name) {
  return names.empty() || std::ranges::find(names, name) != names.end();
}

}  // namespace

const FuseLayout& LayoutOf(std::string_view display_name) {
  const auto* const found = std::ranges::find(kLayouts, display_name, &FuseLayout::DisplayName);
  return found == kLayouts.end() ? kUnknownDevice : *found;
}

bool HasField(const FuseLayout& layout, FuseList list) {
  return std::ranges::find(layout.Fields, list) != layout.Fields.end();
}

const OptionList* OptionsOf(FuseList list, std::string_view display_name) {
  const auto* const found = std::ranges::find_if(kOptionLists, [&](const OptionList& options) {
    return options.List == list && Covers(options.Devices, display_name);
  });
  return found == kOptionLists.end() ? nullptr : found;
}

bool WritesLock(WriteCommand command) {
  return command == WriteCommand::Lock || command == WriteCommand::LockTiny26;
}

std::uint8_t ComposeByte(const WriteStep& step, const Selection& selected, std::uint8_t held) {
  std::uint8_t byte = held;
  const int base = selected(step.BaseList);
  if (base >= 0 && base < static_cast<int>(step.BaseValues.size())) {
    byte = step.BaseValues[static_cast<std::size_t>(base)];
  }
  for (const AddedField& field : step.Added) {
    const int index = selected(field.List);
    if (index < 0 || index >= static_cast<int>(field.Amounts.size())) continue;
    byte = static_cast<std::uint8_t>(byte + field.Amounts.at(static_cast<std::size_t>(index)));
  }
  return byte;
}

int DecodeIndex(const DecodedField& field, std::uint8_t byte) {
  const unsigned bits = unsigned{byte} >> field.LowestBit & ((1U << field.BitCount) - 1U);
  return field.IndexOfBits.empty() ? static_cast<int>(bits) : field.IndexOfBits[bits];
}

std::string_view FieldName(FuseList list) {
  switch (list) {
    case FuseList::Fstrt:
      return "FSTRT";
    case FuseList::Rcen:
      return "RCEN";
    case FuseList::Rstdisabl:
      return "RSTDISABL";
    case FuseList::Boden:
      return "BODEN";
    case FuseList::Bodlevel:
      return "BODLEVEL";
    case FuseList::Cksel:
      return "CKSEL";
    case FuseList::Eesave:
      return "EESAVE";
    case FuseList::Pllck:
      return "PLLCK";
    case FuseList::Ckopt:
      return "CKOPT";
    case FuseList::Sut:
      return "SUT";
    case FuseList::Lock:
      break;
  }
  return "LOCK";
}

}  // namespace fenwright::fuse
