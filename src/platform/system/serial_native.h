#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "platform/serial_control.h"
#include "platform/system/line_settings.h"

/// The calls that a serial line needs from the system itself. Each system has one file that
/// implements them. Nothing throws, and nothing waits unless it says so; times are in seconds, 0 to
/// a day.
namespace fenwright::platform::native {

#ifdef _WIN32
using Handle = void*;
#else
using Handle = int;
#endif

/// Opens the device `path` for this program alone. `handle` is set on success only.
PortOpenResult OpenExclusive(const std::string& path, Handle& handle);

/// Sets the line up for bytes as they are (no echo, no translation, no handshake) and asks its
/// driver to hand over what it receives at once, where it can. False when the line cannot do
/// `settings`.
bool Configure(Handle handle, const LineSettings& settings);

/// Waits until the bytes that the system holds for sending are out, for up to `seconds`; it does
/// not wait on a line that is gone.
void Drain(Handle handle, double seconds);

/// Closes the line and lets other programs open it again. What the system still holds for sending
/// may be lost.
void Close(Handle handle);

/// Sets the RTS line. Best effort: not every line has one.
void SetRts(Handle handle, bool enable);

/// Discards the bytes that the system holds for sending.
void DiscardOutput(Handle handle);

/// What a read or write came to. `Gone` means that the line is unplugged or hung up.
struct Transfer {
  std::size_t Count = 0;
  bool Gone = false;
};

/// Takes bytes that have arrived, at most as many as `room` (not empty) holds and possibly not all;
/// sleeps for up to `seconds` until one arrives.
Transfer Read(Handle handle, std::span<std::uint8_t> room, double seconds);

/// Hands over as many of `bytes` (not empty) as the system takes; sleeps for up to `seconds` until
/// it takes one.
Transfer Write(Handle handle, std::span<const std::uint8_t> bytes, double seconds);

/// True when the line is unplugged or hung up. Just looks.
bool IsGone(Handle handle);

}  // namespace fenwright::platform::native
