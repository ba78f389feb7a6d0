#pragma once

#include "screen/fuse_form.h"

namespace fenwright::ui {

class FuseFrame;

/// The fuse frame of the main window.
class QtFuseForm final : public screen::FuseForm {
 public:
  explicit QtFuseForm(FuseFrame& frame) : frame_(frame) {}
  void SetItems(screen::FuseList list, std::span<const std::string_view> items) override;
  void Select(screen::FuseList list, int index) override;
  [[nodiscard]] int SelectedIndex(screen::FuseList list) const override;
  void EnableList(screen::FuseList list, bool enable) override;
  void SetLockListVisible(bool visible) override;
  void EnableButtons(bool read, bool write) override;
  void SetCalibrationText(std::string_view text) override;
  void SetByteLine(std::string_view text) override;
  void SetFrameVisible(bool visible) override;

 private:
  FuseFrame& frame_;
};

}  // namespace fenwright::ui
