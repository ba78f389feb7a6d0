#pragma once

namespace fenwright::screen {

/// What has become of what the user asked for. The engine decides it; a screen shows a sign of its
/// own shape for each, so that good, bad and dangerous are told apart without reading and without
/// colours.
enum class Outcome {
  None,       ///< nothing to tell: work goes on, or a text that is neither good nor bad
  Success,    ///< done, with nothing left to look at
  Attention,  ///< done, but the user should look at something; or nothing done for want of input
  Failure,    ///< not done, or what was done is not what was wanted
  Danger,     ///< the reset pin is given away, or will be: the chip cannot be reached afterwards
};

}  // namespace fenwright::screen
