#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "screen/fuse_form.h"

namespace fenwright::cli {

/// The fuse frame without a window: the lists with their items and what is chosen in each.
class ChosenFuses final : public screen::FuseForm {
 public:
  void SetItems(screen::FuseList list, std::span<const std::string_view> items) override;
  void Select(screen::FuseList list, int index) override { lists_[list].Index = index; }
  [[nodiscard]] int SelectedIndex(screen::FuseList list) const override;
  void EnableList(screen::FuseList list, bool enable) override { lists_[list].Enabled = enable; }
  void SetLockListVisible(bool /*visible*/) override {}
  void EnableButtons(bool /*read*/, bool /*write*/) override {}
  void SetCalibrationText(std::string_view /*text*/) override {}
  void SetByteLine(std::string_view /*text*/) override {}
  void SetFrameVisible(bool /*visible*/) override {}

  /// True when the device has that field.
  [[nodiscard]] bool Has(screen::FuseList list) const;
  [[nodiscard]] const std::vector<std::string>& Items(screen::FuseList list) const;
  /// Text of the chosen item, "" when none is chosen.
  [[nodiscard]] std::string ChosenText(screen::FuseList list) const;

 private:
  struct List {
    std::vector<std::string> Items;
    int Index = -1;
    bool Enabled = false;
  };

  std::map<screen::FuseList, List> lists_;
};

}  // namespace fenwright::cli
