#pragma once

#include "platform/shell.h"

namespace fenwright::ui {

/// The desktop through Qt. It tells the desktop what to open and no more: working folder and mode
/// are left to it.
class QtShell final : public platform::Shell {
 public:
  bool Open(std::string_view document, std::string_view working_folder,
            platform::ShowMode mode) override;
};

}  // namespace fenwright::ui
