#pragma once

#include <cstdint>

#include "core/run_context.h"

namespace fenwright::link {

/// Reads the chip's signature and checks it against the selected device, within a frame that is
/// already open. Shows the signature in status panel 2 and what is wrong in the message dialog;
/// `detected_flash_words` gets the size that the signature stands for, 512 when it is unknown.
/// The error flag becomes 1 for no answer, an unusable signature, and a different chip.
void ReadSignature(core::RunContext& context, std::int16_t& detected_flash_words,
                   std::int16_t& error);

/// A frame of its own around ReadSignature(); `AppState::SignatureFailed` says how it ended. When
/// the board does not acknowledge the frame's first command nothing else is sent and
/// `SignatureFailed` keeps its value.
void CheckSocketDevice(core::RunContext& context);

}  // namespace fenwright::link
