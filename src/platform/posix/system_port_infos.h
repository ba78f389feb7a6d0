#pragma once

#include <functional>
#include <string>

#include "platform/port_info.h"

namespace fenwright::platform {

/// Where the kernel tells about itself; tests give folders of their own.
struct KernelFolders {
  std::string Sys = "/sys";
  std::string Proc = "/proc";
};

/// Serial ports as the files of the kernel show them.
///
/// Busy is a device on which another process holds the lock that this program takes when it opens
/// one, or which another process of the user has open. The ends of pseudo terminals are open on the
/// other side as well, so only the lock counts there. What other users' programs have open without
/// a lock cannot be seen; opening the port tells.
class PosixPortInfos final : public PortInfos {
 public:
  explicit PosixPortInfos(std::function<std::string(int)> path_of, KernelFolders kernel = {});
  PortInfo Describe(int number) override;

 private:
  std::function<std::string(int)> path_of_;
  KernelFolders kernel_;
};

}  // namespace fenwright::platform
