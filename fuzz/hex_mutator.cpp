// Changes a HEX file and, every other time, gives its records checksums that are right: by chance
// alone next to no change of a record would come past them.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t max_size);
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t max_size, unsigned seed);

namespace {

constexpr std::string_view kDigits = "0123456789ABCDEF";
constexpr std::size_t kHeadDigits = 9;

using Line = std::span<std::uint8_t>;

/// -1 when there is no pair of capital digits.
int PairAt(Line line, std::size_t at) {
  if (at + 2 > line.size()) return -1;
  const auto high = kDigits.find(static_cast<char>(line[at]));
  const auto low = kDigits.find(static_cast<char>(line[at + 1]));
  if (high == std::string_view::npos || low == std::string_view::npos) return -1;
  return static_cast<int>(16 * high + low);
}

void MendChecksum(Line line) {
  if (line.empty() || line.front() != ':') return;
  const int count = PairAt(line, 1);
  if (count < 0) return;
  const std::size_t end = kHeadDigits + 2 * static_cast<std::size_t>(count);
  if (end + 2 > line.size()) return;
  unsigned sum = 0;
  for (std::size_t at = 1; at < end; at += 2) {
    const int pair = PairAt(line, at);
    if (pair < 0) return;
    sum += static_cast<unsigned>(pair);
  }
  const unsigned checksum = -sum & 0xFFU;
  line[end] = static_cast<std::uint8_t>(kDigits[checksum / 16]);
  line[end + 1] = static_cast<std::uint8_t>(kDigits[checksum % 16]);
}

}  // namespace

std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t max_size,
                                    unsigned seed) {
  size = LLVMFuzzerMutate(data, size, max_size);
  if (seed % 2 == 0) return size;
  Line rest(data, size);
  while (!rest.empty()) {
    const auto is_end = [](std::uint8_t byte) { return byte == '\r' || byte == '\n'; };
    const auto end = static_cast<std::size_t>(std::ranges::find_if(rest, is_end) - rest.begin());
    MendChecksum(rest.first(end));
    rest = rest.subspan(std::min(rest.size(), end + 1));
  }
  return size;
}
