#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>

namespace fenwright::fuzz {

/// The fuzzer's bytes as text.
inline std::string TextOf(std::span<const std::uint8_t> bytes) {
  return {bytes.begin(), bytes.end()};
}

/// Takes bytes off the front of the fuzzer's; zeros when there are no more.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : rest_(data, size) {}

  [[nodiscard]] bool Empty() const { return rest_.empty(); }

  std::uint8_t Byte() {
    if (rest_.empty()) return 0;
    const std::uint8_t first = rest_.front();
    rest_ = rest_.subspan(1);
    return first;
  }

  unsigned Word() {
    const unsigned high = Byte();
    return 256 * high + Byte();
  }

  /// One of `items`, which are not empty.
  template <typename Items>
  const auto& OneOf(const Items& items) {
    return items[Byte() % std::size(items)];
  }

  std::span<const std::uint8_t> Rest() { return std::exchange(rest_, {}); }

 private:
  std::span<const std::uint8_t> rest_;
};

}  // namespace fenwright::fuzz
