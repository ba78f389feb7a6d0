#pragma once

#include <string_view>

#include "platform/shell.h"

namespace fenwright::platform {

/// The shell of Windows: the verb "open", with the working folder and the show mode as asked for.
///
/// The thread that calls has COM initialised for a single-threaded apartment, as handlers of the
/// shell want it; Qt does so for the thread of its windows.
class WindowsShell final : public Shell {
 public:
  bool Open(std::string_view document, std::string_view working_folder, ShowMode mode) override;
};

}  // namespace fenwright::platform
