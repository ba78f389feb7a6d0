#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "core/run_context.h"

namespace fenwright::link {

// The board's commands, one function each. The bytes, reply lengths, time-outs and texts stand in
// one table in the .cpp file, a row per command; docs/protocol.md describes them from the board's
// side. Every function sets its error flag to 1 on a time-out or a wrong reply and never clears
// it: whoever starts a sequence clears the flag and tests it afterwards. Nothing is ever repeated.

void EnterProgrammingMode(core::RunContext& context, std::int16_t& error);

/// Pauses 0.1 s after any reply; not after a time-out.
void LeaveProgrammingMode(core::RunContext& context, std::int16_t& error);

/// One exchange of the signature command: true when three bytes have arrived in
/// `AppState::RxBuf`. It sets no flag and shows no text: the signature check does.
bool ExchangeSignature(core::RunContext& context);

/// Shows the text of a signature that was never answered, and sets the flag.
void ReportSignatureTimeout(core::RunContext& context, std::int16_t& error);

/// Reads the word at the board's address, which then advances by one word. False, with the bytes
/// left alone, on a time-out.
bool ReadProgramWord(core::RunContext& context, std::uint8_t& high, std::uint8_t& low,
                     std::int16_t& error);

/// Writes the word at the board's address in two exchanges, low byte first; the address then
/// advances. A time-out of the low byte ends it; a wrong reply to the low byte does not: the high
/// byte is still sent.
void WriteProgramWord(core::RunContext& context, std::uint8_t high, std::uint8_t low,
                      std::int16_t& error);

/// The same in one exchange, on the ATtiny26L.
void WriteProgramWordTiny26(core::RunContext& context, std::uint8_t high, std::uint8_t low,
                            std::int16_t& error);

/// Reads the EEPROM byte at the board's address. False, with `data` left alone, on a time-out.
bool ReadDataByte(core::RunContext& context, std::uint8_t& data, std::int16_t& error);

void WriteDataByte(core::RunContext& context, std::uint8_t data, std::int16_t& error);

/// Fuse bits of the AT90S chips.
void WriteFuseBits(core::RunContext& context, std::uint8_t value, std::int16_t& error);

/// Fuse bits of the ATtiny chips; the low byte on the ATtiny26L.
void WriteFuseBitsU(core::RunContext& context, std::uint8_t value, std::int16_t& error);

/// Fuse high bits of the ATtiny26L.
void WriteFuseHighBits(core::RunContext& context, std::uint8_t value, std::int16_t& error);

void WriteLockBits(core::RunContext& context, std::uint8_t value, std::int16_t& error);

void WriteLockBitsTiny26(core::RunContext& context, std::uint8_t value, std::int16_t& error);

/// Lock bits; on some AT90S chips lock and fuse bits in one byte.
bool ReadLockFuseBits(core::RunContext& context, std::uint8_t& value, std::int16_t& error);

bool ReadFuseBits(core::RunContext& context, std::uint8_t& value, std::int16_t& error);

bool ReadFuseHighBits(core::RunContext& context, std::uint8_t& value, std::int16_t& error);

/// Hands back every byte received, four at least; `bytes` is left alone on a time-out.
bool ReadCalibrationByte(core::RunContext& context, std::vector<std::uint8_t>& bytes,
                         std::int16_t& error);

/// Sets the board's address: a word address for flash, a byte address for EEPROM, 0..0xFFFF.
void SelectAddress(core::RunContext& context, std::int32_t address, std::int16_t& error);

void ChipErase(core::RunContext& context, std::int16_t& error);

/// Selects the board's algorithm for a device. A failure is also shown in the message dialog.
void SelectDevice(core::RunContext& context, std::uint8_t device_code, std::int16_t& error);

/// Takes the board into its extended command set.
void AvrExtendCommand(core::RunContext& context, std::int16_t& error);

/// Leaves programming mode after a command was ended early, whatever the state of the flag.
void LeaveProgrammingModeIfEntered(core::RunContext& context);

}  // namespace fenwright::link
