#include "fuse/fuse_items.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <string>

#include "core/lower_case.h"
#include "fuse/fuse_model.h"
#include "fuse/lock_modes.h"

namespace fenwright::fuse {
namespace {

std::optional<int> FindText(const auto& texts, std::string_view text) {
  const auto found = std::ranges::find(texts, core::LowerCase(text), core::LowerCase);
  if (found == std::ranges::end(texts)) return std::nullopt;
  return static_cast<int>(found - std::ranges::begin(texts));
}

}  // namespace

std::optional<int> FindItem(screen::FuseList list, std::string_view display_name,
                            std::string_view text) {
  const OptionList* const options = OptionsOf(list, display_name);
  if (options == nullptr) return std::nullopt;
  if (const auto index = FindText(options->Items, text)) return index;
  if (list == screen::FuseList::Lock) {
    if (const auto mode = FindText(kLockModeNames, text)) return mode;
  }
  if (text.size() > 1 && text.front() == '0') return std::nullopt;
  std::size_t position = 0;
  const auto [stop, code] = std::from_chars(text.data(), text.data() + text.size(), position);
  const bool number = code == std::errc{} && stop == text.data() + text.size();
  if (!number || position >= options->Items.size()) return std::nullopt;
  return static_cast<int>(position);
}

}  // namespace fenwright::fuse
