#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "platform/serial_control.h"

/// The calls that a serial line needs from the system itself, on the line's native handle. Each
/// system has one file that implements them; nothing here allocates, throws or blocks unless it
/// says so.
namespace fenwright::platform::native {

#ifdef _WIN32
using Handle = void*;
#else
using Handle = int;
#endif

/// Opens the device `path` for this program alone, non-blocking, and makes it raw: no echo, no
/// translation, no handshake. `handle` is set on success only.
PortOpenResult OpenExclusive(const std::string& path, Handle& handle);

/// Lets other programs open the line again. To be called before the handle is closed: the mark
/// would outlive it on a line that somebody else keeps open.
void ReleaseExclusive(Handle handle);

/// Closes a handle that never came into Asio's hands.
void Close(Handle handle);

/// Asks the driver to hand over received bytes at once instead of collecting them for up to 16 ms.
/// Best effort: not every driver can.
void RequestLowLatency(Handle handle);

/// Sets the RTS line. Best effort: not every line has one.
void SetRts(Handle handle, bool enable);

/// Discards the bytes that the system holds for sending.
void DiscardOutput(Handle handle);

/// What a read or write came to. `Gone` means that the line is unplugged or hung up.
struct Transfer {
  std::size_t Count = 0;
  bool Gone = false;
};

/// Takes bytes that have arrived, at most as many as `room` holds. Fewer than that means that no
/// more are there.
Transfer Read(Handle handle, std::span<std::uint8_t> room);

/// Hands over as many bytes as the system takes now, possibly none.
Transfer Write(Handle handle, std::span<const std::uint8_t> bytes);

/// Sleeps until bytes have arrived, the line is gone, or `seconds` have passed, and takes bytes
/// that have arrived, at most as many as `room` (not empty) holds and possibly not all.
Transfer ReadWithin(Handle handle, std::span<std::uint8_t> room, double seconds);

/// True when the line is unplugged or hung up. Just looks.
bool IsGone(Handle handle);

/// Why a wait ended.
enum class Wake { TimeOver, Ready, Gone };

/// Sleeps until the line takes bytes, the line is gone, or `seconds` have passed.
Wake WaitWritable(Handle handle, double seconds);

/// Sleeps for `seconds`.
void Rest(double seconds);

}  // namespace fenwright::platform::native
