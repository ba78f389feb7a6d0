#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/run_context.h"

namespace fenwright::link {

/// The reply to the signature command: chip addresses 2, 1, 0.
struct Signature {
  std::uint8_t Part = 0;
  std::uint8_t Family = 0;
  std::uint8_t Vendor = 0;
};

/// Reads the chip's signature, within a frame that is already open, and shows it in status panel 2.
/// Nothing, with the error flag set to 1, when the chip does not answer.
std::optional<Signature> ReadChipSignature(core::RunContext& context, std::int16_t& error);

/// Flash size in words that a signature stands for, 512 when it is unknown.
std::int16_t FlashWordsOf(const Signature& signature);

/// False for the bytes that an empty socket or a locked chip gives: all 0x00, any 0xFF, or their
/// addresses.
bool IsUsable(const Signature& signature);

/// What is wrong with a signature, for the user; "" when it is that of the selected device.
std::string_view JudgeSignature(const core::RunContext& context, const Signature& signature);

/// What is in the socket, by its signature, in place of the selected device: its name, or its
/// signature when no chip has it, or that it hides it. "" for an empty or wrongly filled socket.
std::string DescribeSocket(const Signature& signature);

/// Reads the chip's signature and checks it against the selected device, within a frame that is
/// already open. Shows the signature in status panel 2 and what is wrong in the message dialog;
/// `CommandRecord::SocketCause` gets what is in the socket when that is another chip;
/// `detected_flash_words` gets the size that the signature stands for, 512 when it is unknown.
/// The error flag becomes 1 for no answer, an unusable signature, and a different chip.
void ReadSignature(core::RunContext& context, std::int16_t& detected_flash_words,
                   std::int16_t& error);

/// A frame of its own around ReadSignature(); `AppState::SignatureFailed` says how it ended. When
/// the board does not acknowledge the frame's first command nothing else is sent and
/// `SignatureFailed` keeps its value.
void CheckSocketDevice(core::RunContext& context);

}  // namespace fenwright::link
