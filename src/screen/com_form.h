#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace fenwright::screen {

/// How the user left the COM port dialog alone.
enum class ComFormButton {
  Ok,      ///< `Command_ok`
  Cancel,  ///< `Command_cancel`, the title bar's close button, or Escape
};

/// The dialog in which the user picks a COM port (`frmCom`). Modal while it waits for a button; its
/// handlers run when that call has returned, so that nothing runs below a handler of a window.
class ComForm {
 public:
  virtual ~ComForm() = default;

  /// Puts the dialog over the main window.
  virtual void PlaceOverMainWindow() = 0;

  /// Replaces the items of `Combo_com`.
  virtual void SetItems(const std::vector<std::string>& items) = 0;

  virtual void SetListIndex(int index) = 0;
  [[nodiscard]] virtual int ListIndex() const = 0;

  /// A note for the selected item, shown until another is selected: why it cannot be used.
  virtual void SetNote(std::string_view text) = 0;

  /// Shows the dialog and waits for a button; it stays on the screen afterwards.
  virtual ComFormButton WaitForButton() = 0;

  /// Takes the dialog off the screen; it is still loaded.
  virtual void Hide() = 0;

  /// Ends the dialog.
  virtual void Unload() = 0;
};

}  // namespace fenwright::screen
