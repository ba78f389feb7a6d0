#include "fuzz/plain_hex.h"

#include <cctype>
#include <cstddef>
#include <optional>

namespace fenwright::fuzz {
namespace {

constexpr std::string_view kDigits = "0123456789ABCDEF";

/// -1 for a character that is no digit.
int ValueOf(char character) {
  const auto at =
      kDigits.find(static_cast<char>(std::toupper(static_cast<unsigned char>(character))));
  return at == std::string_view::npos || character == '\0' ? -1 : static_cast<int>(at);
}

bool HasSmallLetter(std::string_view text) {
  for (const char character : text) {
    if (std::islower(static_cast<unsigned char>(character)) != 0) return true;
  }
  return false;
}

/// The pairs of digits from the line's start on, behind its colon, up to what is no pair.
std::vector<std::uint8_t> PairsOf(std::string_view line) {
  std::vector<std::uint8_t> pairs;
  for (std::size_t at = 1; at + 1 < line.size(); at += 2) {
    const int high = ValueOf(line[at]);
    const int low = ValueOf(line[at + 1]);
    if (high < 0 || low < 0) break;
    pairs.push_back(static_cast<std::uint8_t>(16 * high + low));
  }
  return pairs;
}

/// The checksum as the writer gives it to sums of 241 to 256: one digit.
bool IsShortChecksum(unsigned sum, std::string_view rest) {
  return sum >= 241 && sum <= 256 && rest.size() == 1 && rest[0] == kDigits[256 - sum];
}

class PlainReader {
 public:
  PlainImage Read(std::string_view content) {
    bool blank = false;
    for (std::string line : LinesOf(content)) {
      while (!line.empty() && std::string_view(" \t\x1A").find(line.back()) != std::string::npos) {
        line.pop_back();
      }
      if (line.empty()) {
        blank = true;
        continue;
      }
      image_.HasGap = image_.HasGap || blank;
      if (!TakeRecord(line)) {
        image_.IsWhole = false;
        return image_;
      }
    }
    return image_;
  }

 private:
  bool TakeRecord(const std::string& line) {
    if (line[0] != ':') return false;
    const std::vector<std::uint8_t> pairs = PairsOf(line);
    if (pairs.size() < 4) return false;
    const std::size_t count = pairs[0];
    const unsigned address = 256U * pairs[1] + pairs[2];
    const int type = pairs[3];
    if (pairs.size() < 4 + count || type > 5) return false;
    const std::vector<std::uint8_t> data(pairs.begin() + 4,
                                         pairs.begin() + 4 + static_cast<std::ptrdiff_t>(count));
    const std::size_t data_end = 9 + 2 * count;
    const bool small = HasSmallLetter(line.substr(0, type == 0 ? data_end : 9));
    image_.HasSmallDigits = image_.HasSmallDigits || small;
    if (!AddsUp(line, pairs)) return false;
    if (type == 1) image_.HasEnd = true;
    if (type == 2 || type == 4) SetBase(type, data);
    return type != 0 || TakeData(address, data);
  }

  static bool AddsUp(const std::string& line, const std::vector<std::uint8_t>& pairs) {
    const std::size_t count = pairs[0];
    unsigned sum = 0;
    for (std::size_t i = 0; i < 4 + count; ++i) sum += pairs[i];
    if (pairs[3] == 1 && count == 0) return true;
    if (pairs.size() > 4 + count && (sum + pairs[4 + count]) % 256 == 0) return true;
    return pairs[3] == 0 && count == 16 &&
           IsShortChecksum(sum, std::string_view(line).substr(9 + 2 * count));
  }

  void SetBase(int type, const std::vector<std::uint8_t>& data) {
    base_ = 0;
    for (std::size_t i = 0; i < data.size() && i < 2; ++i) base_ = 256 * base_ + data[i];
    base_ *= type == 2 ? 0x10 : 0x10000;
  }

  bool TakeData(unsigned address, const std::vector<std::uint8_t>& data) {
    if (data.empty()) return true;
    image_.HasData = true;
    if (image_.HasEnd) image_.HasDataBehindEnd = true;
    if (base_ != 0) image_.HasOffset = true;
    if (address + data.size() > 0x10000) image_.IsAcrossTheTop = true;
    for (std::size_t i = 0; i < data.size(); ++i) {
      const auto [known, fresh] = image_.Bytes.emplace(base_ + address + i, data[i]);
      if (!fresh && known->second != data[i]) return false;
    }
    return true;
  }

  PlainImage image_;
  std::uint64_t base_ = 0;
};

}  // namespace

std::vector<std::string> LinesOf(std::string_view content) {
  std::vector<std::string> lines;
  std::string line;
  char before = '\0';
  bool open = false;
  for (const char character : content) {
    const bool second_half = before == '\r' && character == '\n';
    before = character;
    if (second_half) continue;
    if (character == '\r' || character == '\n') {
      lines.push_back(line);
      line.clear();
      open = false;
    } else {
      line += character;
      open = true;
    }
  }
  if (open) lines.push_back(line);
  return lines;
}

PlainImage ReadPlainly(std::string_view content) { return PlainReader().Read(content); }

}  // namespace fenwright::fuzz
