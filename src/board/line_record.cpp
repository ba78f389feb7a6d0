#include "board/line_record.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <system_error>
#include <utility>

namespace fenwright::board {
namespace {

using std::chrono::milliseconds;

constexpr char kPause = '=';
constexpr char kRemark = '#';
constexpr std::string_view kHangUp = "! hung up";
constexpr std::string_view kMilliseconds = " ms";
constexpr std::string_view kHexDigits = "0123456789ABCDEF";
constexpr unsigned kHexBase = 16;

char Mark(Sender sender) { return sender == Sender::Pc ? '>' : '<'; }

/// The whole of a text as a number.
std::optional<unsigned> ReadNumber(std::string_view text, int base) {
  unsigned value = 0;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value, base);
  if (result.ec != std::errc{} || result.ptr != end) return std::nullopt;
  return value;
}

/// "54 38": nothing when it is anything else.
std::optional<std::vector<std::uint8_t>> ReadBytes(std::string_view text) {
  constexpr std::size_t kDigits = 2;
  std::vector<std::uint8_t> bytes;
  for (;;) {
    const std::string_view digits = text.substr(0, kDigits);
    const auto value = ReadNumber(digits, kHexBase);
    if (digits.size() != kDigits || !value) return std::nullopt;
    bytes.push_back(static_cast<std::uint8_t>(*value));
    text.remove_prefix(kDigits);
    if (text.empty()) return bytes;
    if (text.front() != ' ') return std::nullopt;
    text.remove_prefix(1);
  }
}

/// "300 ms"; an hour at most.
std::optional<milliseconds> ReadPause(std::string_view text) {
  constexpr unsigned kLongest = 3'600'000;
  constexpr int kDecimal = 10;
  if (!text.ends_with(kMilliseconds)) return std::nullopt;
  text.remove_suffix(kMilliseconds.size());
  const auto value = ReadNumber(text, kDecimal);
  if (!value || *value > kLongest) return std::nullopt;
  return milliseconds(*value);
}

/// True for a line of the program's own history of a run: a text, a TAB, and "2005/03/14 12:34:56".
bool IsTraceLine(std::string_view line) {
  constexpr std::string_view kTime = "\t0000/00/00 00:00:00";
  if (line.size() < kTime.size()) return false;
  line.remove_prefix(line.size() - kTime.size());
  return std::ranges::equal(line, kTime, [](char found, char form) {
    return form == '0' ? found >= '0' && found <= '9' : found == form;
  });
}

/// Puts the exchanges together, line by line.
class LineReader {
 public:
  /// Takes the next line, without its end. False for one that no record has; Error() says why.
  bool Take(std::string_view line) {
    ++line_;
    if (line.empty() || line.front() == kRemark) return true;
    if (!exchanges_.empty() && exchanges_.back().HangsUp) {
      return Fail("goes on after the line has hung up; the record has to end there");
    }
    if (line == kHangUp) {
      Last().Reply.push_back({.Delay = pause_});
      Last().HangsUp = true;
      return true;
    }
    return TakeMarked(line) ||
           Fail(R"(is no line of a record, such as "> 54 38", "< 0D" or "= 300 ms")");
  }

  bool Fail(std::string_view why) {
    error_ = "line " + std::to_string(line_) + " " + std::string(why);
    return false;
  }

  [[nodiscard]] const std::string& Error() const { return error_; }
  [[nodiscard]] std::vector<RecordedExchange>& Exchanges() { return exchanges_; }

 private:
  bool TakeMarked(std::string_view line) {
    constexpr std::size_t kMarkSize = 2;
    if (line.size() <= kMarkSize || line[1] != ' ') return false;
    const std::string_view value = line.substr(kMarkSize);
    if (line.front() == kPause) {
      const auto pause = ReadPause(value);
      if (pause) pause_ += *pause;
      return pause.has_value();
    }
    const bool from_pc = line.front() == Mark(Sender::Pc);
    auto bytes = ReadBytes(value);
    if (!bytes || (!from_pc && line.front() != Mark(Sender::Board))) return false;
    if (from_pc) {
      TakeSent(*bytes);
    } else {
      Last().Reply.push_back({.Delay = pause_, .Bytes = std::move(*bytes)});
    }
    pause_ = {};
    return true;
  }

  void TakeSent(const std::vector<std::uint8_t>& bytes) {
    if (exchanges_.empty() || !exchanges_.back().Reply.empty()) {
      exchanges_.push_back({.Line = line_});
    }
    std::vector<std::uint8_t>& sent = exchanges_.back().Sent;
    sent.insert(sent.end(), bytes.begin(), bytes.end());
  }

  RecordedExchange& Last() {
    if (exchanges_.empty()) exchanges_.push_back({.Line = line_});
    return exchanges_.back();
  }

  int line_ = 0;
  milliseconds pause_{};
  std::vector<RecordedExchange> exchanges_;
  std::string error_;
};

}  // namespace

std::string FormatBytes(std::span<const std::uint8_t> bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    if (!text.empty()) text += ' ';
    text += kHexDigits[byte / kHexBase];
    text += kHexDigits[byte % kHexBase];
  }
  return text;
}

std::string RecordBytes(Sender sender, std::span<const std::uint8_t> bytes) {
  return std::string{Mark(sender), ' '} + FormatBytes(bytes) + "\n";
}

std::string RecordPause(std::chrono::nanoseconds pause) {
  const auto whole = std::chrono::duration_cast<milliseconds>(pause).count();
  return std::string{kPause, ' '} + std::to_string(whole) + std::string(kMilliseconds) + "\n";
}

std::string RecordHangUp() { return std::string(kHangUp) + "\n"; }

std::optional<std::vector<RecordedExchange>> ParseLineRecord(std::string_view text,
                                                             std::string& error) {
  LineReader reader;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (IsTraceLine(line)) {
      error =
          "is the trace of a run, which has the texts that were shown and none of the bytes, so it "
          "cannot be played: ask for a log of the line (fenwright-cli --log FILE)";
      return std::nullopt;
    }
    bool taken = reader.Take(line);
    if (end == std::string_view::npos) taken = reader.Fail("is cut off: it has no end");
    if (!taken) {
      error = reader.Error();
      return std::nullopt;
    }
    text.remove_prefix(end + 1);
  }
  if (reader.Exchanges().empty()) {
    error = "has no bytes in it";
    return std::nullopt;
  }
  return std::move(reader.Exchanges());
}

}  // namespace fenwright::board
