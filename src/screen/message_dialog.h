#pragma once

#include <string_view>

namespace fenwright::screen {

/// Which buttons the message dialog shows.
enum class MessageMode {
  Busy = 0,    ///< no button, the progress bar shown
  Notice = 1,  ///< one OK button (`Cmd_okm`) with the focus, no progress bar
  Choice = 2,  ///< `Cmd_oks` and `Cmd_cancels`
};

/// The small dialog in which operations show what they are doing. It never blocks its caller.
///
/// It is loaded by Show() or SetText() and unloaded by Close() or by the user. Progress calls on a
/// dialog that the user has closed do nothing: it comes back with the next Show() or SetText().
/// Callers go through core::ShowMessage(), which also traces.
class MessageDialog {
 public:
  virtual ~MessageDialog() = default;

  /// Shows a text with the buttons of a mode. A detail line shown before is cleared.
  virtual void Show(std::string_view text, MessageMode mode) = 0;

  /// Replaces the text; mode and buttons stay.
  virtual void SetText(std::string_view text) = 0;

  /// Shows a second, smaller text below the first: cause, state of the chip and cure.
  virtual void SetDetail(std::string_view text) = 0;

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
