#pragma once

#include "core/run_context.h"

namespace fenwright::image {

/// Look at, or change, one cell of a buffer: the cell that the hand-edit frame names. Address and
/// value are one to four upper-case hexadecimal digits. Anything else sets `LinkError` to 1, and
/// that, like an address out of range, is said in a notice and changes nothing. An earlier error
/// does not count.
///
/// A flash address counts words, as the flash view does. Its limit is 2 x `FlashWords` - 1 all the
/// same: the upper half names cells of the buffer beyond the chip, which are neither shown nor
/// programmed. An EEPROM address counts bytes up to `EepromBytes` - 1.

/// The cell that is looked at or changed is marked in its view. A notice of this frame's that is
/// still on the screen goes as soon as what it complains of is mended.

/// Shows the cell's value in the frame: four digits for flash, two for EEPROM. With an empty
/// address, while the user starts to type another, it does nothing.
void ReadOneLocation(core::RunContext& context);

/// Stores the frame's value and refreshes the view; EEPROM takes the low byte.
void WriteOneLocation(core::RunContext& context);

}  // namespace fenwright::image
