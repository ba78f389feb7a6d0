#pragma once

#include "core/run_context.h"

namespace fenwright::core {

/// What a command on the chip does one after the other.
enum class Phase {
  Erase,
  WriteFlash,
  WriteEeprom,
  VerifyFlash,
  VerifyEeprom,
  ReadFlash,
  ReadEeprom,
  ReadFuses,
};

/// Says below the message on the screen which phase of the running command has begun and how many
/// there are: "2 / 4 : フラッシュの書き込み". Nothing is said in a command of one phase.
void ShowPhase(RunContext& context, Phase phase);

}  // namespace fenwright::core
