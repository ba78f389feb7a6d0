#pragma once

#include <string_view>

#include "screen/outcome.h"

namespace fenwright::screen {

/// The five panels of the main window's status bar.
enum class Panel {
  Status = 1,
  Signature = 2,
  BoardVersion = 3,
  Port = 4,
  Elapsed = 5,
};

/// Shows texts in the panels. Callers go through core::ShowStatus(), which also traces.
class StatusBar {
 public:
  virtual ~StatusBar() = default;
  virtual void SetPanelText(Panel panel, std::string_view text) = 0;

  /// Shows the sign of an outcome in panel 1, before its text; None = no sign. The reason, "" =
  /// there is none to give, can be asked for.
  virtual void SetOutcome(Outcome outcome, std::string_view reason) = 0;
};

}  // namespace fenwright::screen
