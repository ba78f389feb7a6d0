#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fenwright::screen {

/// The controls of the firmware update dialog. Setting a text or an item here runs no handler.
class UpdateForm {
 public:
  virtual ~UpdateForm() = default;

  /// Fits the decorative line to the dialog's layout.
  virtual void PlaceDivider() = 0;

  /// `Combo_ComPort`. Its text may be one that is not among the items, such as "?".
  virtual void SetPortItems(const std::vector<std::string>& items) = 0;
  virtual void SetPortText(std::string_view text) = 0;
  [[nodiscard]] virtual std::string PortText() const = 0;

  /// `Combo_speed`, likewise.
  virtual void SetSpeedItems(const std::vector<std::string>& items) = 0;
  virtual void SetSpeedText(std::string_view text) = 0;
  [[nodiscard]] virtual std::string SpeedText() const = 0;
  virtual void EnableSpeed(bool enable) = 0;

  virtual void EnableVersionButton(bool enable) = 0;  ///< `CmdVersion`
  virtual void EnableUpdateButton(bool enable) = 0;   ///< `CmdUpdate`

  virtual void SetVersionText(std::string_view text) = 0;  ///< `Text_FirmwareVersion`
  virtual void SetFileText(std::string_view path) = 0;     ///< `Text_File`

  /// `Label3`: the text, and its background as red + 256 * green + 65536 * blue; nothing stands for
  /// the background of the dialog.
  virtual void SetInstructions(std::string_view text) = 0;
  virtual void SetInstructionsBackground(std::optional<std::uint32_t> colour) = 0;

  /// Panel 1 of `StatusBar1`.
  virtual void SetStatusText(std::string_view text) = 0;

  /// A second, smaller text of our own: cause and cure, what a file holds. "" for none.
  virtual void SetDetail(std::string_view text) = 0;

  /// `ProgressBar1`: the value alone; range and value, and the bar made visible.
  virtual void SetProgress(int value) = 0;
  virtual void ShowProgress(int minimum, int maximum, int value) = 0;
};

}  // namespace fenwright::screen
