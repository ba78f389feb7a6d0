#pragma once

#include <vector>

#include "session.h"

namespace fenwright::cli {

/// What a look into the socket came to.
struct SocketReading {
  ExitCode Code = ExitCode::Success;
  std::vector<int> Devices;  ///< those that match, as places in the catalogue; one at least
};

/// Reads the signature of the chip in the socket, twice, for nothing on the line would show a wrong
/// bit. When no supported device is there, or none could
/// be read, the cause is printed.
SocketReading ReadSocket(Session& session);

/// Selects the device that is in the socket. When that is not one device, the cause is printed.
ExitCode SelectDeviceInSocket(Session& session);

}  // namespace fenwright::cli
