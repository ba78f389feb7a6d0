#include "suggest.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

#include "text.h"

namespace fenwright::cli {
namespace {

/// Letters to insert, remove, replace or swap with their neighbour to make one word of the other
/// (the optimal string alignment distance).
std::size_t Distance(std::string_view from, std::string_view to) {
  std::vector<std::vector<std::size_t>> steps(from.size() + 1,
                                              std::vector<std::size_t>(to.size() + 1));
  for (std::size_t i = 0; i <= from.size(); ++i) steps[i][0] = i;
  for (std::size_t j = 0; j <= to.size(); ++j) steps[0][j] = j;
  for (std::size_t i = 1; i <= from.size(); ++i) {
    for (std::size_t j = 1; j <= to.size(); ++j) {
      const std::size_t other = from[i - 1] == to[j - 1] ? 0 : 1;
      steps[i][j] =
          std::min({steps[i - 1][j] + 1, steps[i][j - 1] + 1, steps[i - 1][j - 1] + other});
      const bool swapped = i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1];
      if (swapped) steps[i][j] = std::min(steps[i][j], steps[i - 2][j - 2] + 1);
    }
  }
  return steps[from.size()][to.size()];
}

struct OtherWord {
  std::string_view Word;
  std::string_view Own;
};

constexpr auto kOtherWords = std::to_array<OtherWord>({
    {"write", "program"},       {"write_flash", "program"},   {"write-flash", "program"},
    {"flash", "program"},       {"burn", "program"},          {"upload", "program"},
    {"read_flash", "read"},     {"read-flash", "read"},       {"verify_flash", "verify"},
    {"verify-flash", "verify"}, {"compare", "verify"},        {"erase_flash", "erase"},
    {"erase-flash", "erase"},   {"chip_id", "identify"},      {"chip-id", "identify"},
    {"flash_id", "identify"},   {"flash-id", "identify"},     {"signature", "identify"},
    {"image_info", "lint"},     {"image-info", "lint"},       {"check", "lint"},
    {"fuses", "read-fuses"},    {"version", "board-version"}, {"list", "devices"},
    {"-p", "--device"},         {"--part", "--device"},       {"--chip", "--device"},
    {"-P", "--port"},           {"--output", "--code"},       {"-v", "--verbose"},
    {"-q", "--quiet"},
});

}  // namespace

std::string OwnWordFor(std::string_view word) {
  const auto found = std::ranges::find(kOtherWords, word, &OtherWord::Word);
  return found == kOtherWords.end() ? "" : std::string(found->Own);
}

std::string ClosestWord(std::string_view word, std::span<const std::string> candidates) {
  const std::string wanted = LowerCase(word);
  std::string closest;
  std::size_t fewest = std::max<std::size_t>(1, wanted.size() / 3) + 1;
  for (const std::string& candidate : candidates) {
    const std::size_t steps = Distance(wanted, LowerCase(candidate));
    if (steps >= fewest) continue;
    fewest = steps;
    closest = candidate;
  }
  return closest;
}

}  // namespace fenwright::cli
