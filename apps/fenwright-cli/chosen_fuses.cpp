#include "chosen_fuses.h"

namespace fenwright::cli {

void ChosenFuses::SetItems(screen::FuseList list, std::span<const std::string_view> items) {
  lists_[list].Items.assign(items.begin(), items.end());
  lists_[list].Index = -1;
}

int ChosenFuses::SelectedIndex(screen::FuseList list) const {
  const auto found = lists_.find(list);
  return found == lists_.end() ? -1 : found->second.Index;
}

bool ChosenFuses::Has(screen::FuseList list) const {
  const auto found = lists_.find(list);
  return found != lists_.end() && found->second.Enabled;
}

const std::vector<std::string>& ChosenFuses::Items(screen::FuseList list) const {
  return lists_.at(list).Items;
}

std::string ChosenFuses::ChosenText(screen::FuseList list) const {
  const int index = SelectedIndex(list);
  return index < 0 ? "" : lists_.at(list).Items.at(static_cast<std::size_t>(index));
}

}  // namespace fenwright::cli
