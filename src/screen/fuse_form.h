#pragma once

#include <span>
#include <string_view>

namespace fenwright::screen {

/// The drop-down lists of the fuse frame, in the order in which they are built.
enum class FuseList {
  Fstrt,      ///< `Combo_FSTRT`
  Rcen,       ///< `Combo_RCEN`
  Rstdisabl,  ///< `Combo_RSTDISABL`
  Boden,      ///< `Combo_BODEN`
  Bodlevel,   ///< `Combo_BODLEVEL`
  Cksel,      ///< `Combo_CKSEL`
  Lock,       ///< `Combo_LockBit`
  Eesave,     ///< `Combo_EESAVE`
  Pllck,      ///< `Combo_PLLCK`
  Ckopt,      ///< `Combo_CKOPT`
  Sut,        ///< `Combo_SUT`
};

/// The frame in which the fuse and lock bits are chosen and the calibration bytes are shown. What
/// the lists hold, and what their positions mean, is the engine's business: the frame shows what it
/// is given and tells which item of each list the user has chosen.
///
/// None of the calls runs a handler of the user's own choices.
class FuseForm {
 public:
  virtual ~FuseForm() = default;

  /// Replaces the items of a list; nothing is selected afterwards.
  virtual void SetItems(FuseList list, std::span<const std::string_view> items) = 0;

  /// Selects an item of a list, by its position; -1 selects nothing.
  virtual void Select(FuseList list, int index) = 0;

  /// Position of the selected item, -1 when nothing is selected.
  [[nodiscard]] virtual int SelectedIndex(FuseList list) const = 0;

  virtual void EnableList(FuseList list, bool enable) = 0;

  /// Shows or hides the lock list together with its label.
  virtual void SetLockListVisible(bool visible) = 0;

  /// `cmdFuseRead` and `cmdFuseWrite`.
  virtual void EnableButtons(bool read, bool write) = 0;

  /// `Lbl_READCALIB`.
  virtual void SetCalibrationText(std::string_view text) = 0;

  /// The line under the frame with the bytes that a write would send.
  virtual void SetByteLine(std::string_view text) = 0;

  /// Hides the frame while its lists change, and shows it again.
  virtual void SetFrameVisible(bool visible) = 0;
};

}  // namespace fenwright::screen
