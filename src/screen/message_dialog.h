#pragma once

#include <string_view>

#include "screen/outcome.h"

namespace fenwright::screen {

/// Which buttons the message dialog shows.
enum class MessageMode {
  Busy = 0,    ///< no button, the progress bar shown
  Notice = 1,  ///< one OK button (`Cmd_okm`) with the focus, no progress bar
  Choice = 2,  ///< `Cmd_oks` and `Cmd_cancels`
};

/// The small dialog in which operations show what they are doing. It never blocks its caller.
///
/// It is loaded by Show(), by SetText() or by its progress, and unloaded by Close() or by the user.
/// A text or a progress that loads it shows it in its busy mode, whatever mode it had last. Once
/// the user has closed it, progress does not bring it back: the next Show() or SetText() does, and
/// until then the progress shows elsewhere. Callers go through core::ShowMessage(), which also
/// traces.
class MessageDialog {
 public:
  virtual ~MessageDialog() = default;

  /// Shows a text with the buttons of a mode. A detail line shown before is cleared.
  virtual void Show(std::string_view text, MessageMode mode) = 0;

  /// Replaces the text; mode and buttons stay, but for those of a notice that an earlier command
  /// has left on the screen.
  virtual void SetText(std::string_view text) = 0;

  /// Shows a second, smaller text below the first: cause, state of the chip and cure.
  virtual void SetDetail(std::string_view text) = 0;

  /// Shows below the detail the word that stands for what went wrong, the one that the command line
  /// explains, until the next Show(); "" = none.
  virtual void SetCode(std::string_view word) = 0;

  /// Shows the sign of an outcome in place of the mode's picture until the next Show(); None = the
  /// mode's picture. Nothing happens while the dialog is not loaded.
  virtual void SetOutcome(Outcome outcome) = 0;

  /// Says which of a command's phases its progress is about, until the next Show(); "" = nothing.
  virtual void SetPhase(std::string_view text) = 0;

  /// Makes the OK button visible, whatever the mode.
  virtual void ShowButton() = 0;

  /// Gives the OK button the input focus.
  virtual void FocusButton() = 0;

  /// Sets the range of the progress bar to 0..`maximum` and its value to 0.
  virtual void SetProgressRange(int maximum) = 0;

  virtual void SetProgress(int value) = 0;

  /// Unloads the dialog; does nothing when it is not loaded.
  virtual void Close() = 0;

  [[nodiscard]] virtual bool IsLoaded() const = 0;

  /// True while the dialog is loaded and offers no button to close it.
  [[nodiscard]] virtual bool IsBusy() const = 0;
};

}  // namespace fenwright::screen
