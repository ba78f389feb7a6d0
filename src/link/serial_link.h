#pragma once

#include <cstdint>
#include <string_view>

#include "core/run_context.h"

namespace fenwright::link {

/// Settings of the programmer's port: 57,600 baud, no parity, 8 data bits, 1 stop bit.
inline constexpr const char* kPortSettings = "57600,n,8,1";

// The few operations on the serial line that every exchange is made of. Failing lines are not
// reported here: nothing arrives, and the wait runs out.

/// Takes the board back to its normal command set.
inline constexpr char kEscape = 0x1B;

/// Gives a port the fixed settings of the programmer's line, and discards its input.
void SetUpPort(platform::SerialControl& port);

/// Discards every byte not yet read.
void ClearInput(core::RunContext& context);

/// Sends a command character. This is where an exchange starts: a requested stop ends the running
/// command here (core::CommandEnd), with no exchange half done.
void SendText(core::RunContext& context, char character);

/// Sends one argument byte in a write of its own.
void SendByte(core::RunContext& context, std::uint8_t value);

/// Polls until `count` bytes have arrived; true when they have. False when the time since now is
/// greater than `timeout_seconds`, or at once when the line is gone and can deliver nothing more.
///
/// The clock restarts at 0 at midnight. A wait that began before it then never runs out; that is
/// required behaviour and no allowance is made. A requested stop ends it too, and the running
/// command with it (core::CommandEnd): the running exchange has a quarter of a second to return.
bool WaitForBytes(core::RunContext& context, int count, double timeout_seconds);

/// The wait of WaitForBytes() on any port; false is all that a requested stop makes of it. `start`
/// is looked at anew at every turn: whoever shares it, as pauses share `AppState::WaitStart`, moves
/// the end of the wait.
bool WaitForBytesOn(core::RunContext& context, platform::SerialControl& port, int count,
                    const double& start, double timeout_seconds);

/// Takes everything that has arrived into `AppState::RxBuf`.
void ReadReply(core::RunContext& context);

/// Waits, with window events running, until the clock reaches the start plus `seconds`; the start
/// is kept in `AppState::WaitStart`, which a wait or pause nested within it sets anew. The end of
/// the day ends it too: it would never end otherwise.
void Pause(core::RunContext& context, double seconds);

/// As Pause(), but leaves `AppState::WaitStart` alone: a rest between two steps.
void Rest(core::RunContext& context, double seconds);

/// Rests until `count` bytes have arrived, `seconds` at most; true when they have.
bool RestForBytes(core::RunContext& context, int count, double seconds);

/// Sends the escape byte. The port is in binary mode afterwards, whatever it was in before.
void SendEscape(core::RunContext& context);

/// Shows "a communication error occurred" in the message dialog, its progress bar switched off.
void ShowCommError(core::RunContext& context);

}  // namespace fenwright::link
