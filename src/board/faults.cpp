#include "board/faults.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

namespace fenwright::board {
namespace {

struct Form {
  std::string_view Pattern;
  std::string_view Effect;
};

constexpr std::array<Form, 12> kForms{{
    {"silent", "no reply at all"},
    {"silent@N", "no reply from the N-th on"},
    {"drop@N", "the N-th reply is lost"},
    {"late@N:MS", "the N-th reply comes MS milliseconds later"},
    {"split@N:MS", "the second half of the N-th reply comes MS milliseconds later"},
    {"double@N", "the N-th reply comes twice"},
    {"flip@N[:HEXMASK[:BYTE]]", "byte BYTE (1) of the N-th reply is XORed with HEXMASK (01)"},
    {"lie@N", "the N-th write is acknowledged and not carried out"},
    {"stuck@flash:ADDR:BIT=V", "a bit (0-15) of a flash word always reads V"},
    {"stuck@eeprom:ADDR:BIT=V", "a bit (0-7) of an EEPROM byte always reads V"},
    {"hangup@N", "the line hangs up when the N-th byte has arrived"},
    {"powercut@N", "the board's power fails for a moment when the N-th byte arrives"},
}};

/// The whole of `text` as a number; nothing when there is anything else in it.
template <typename Number>
std::optional<Number> Whole(std::string_view text, int base = 10) {
  Number value{};
  const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), value, base);
  if (problem != std::errc{} || end != text.data() + text.size()) {
    return std::nullopt;
  }
  return value;
}

std::optional<std::uint32_t> Count(std::string_view text) {
  const auto count = Whole<std::uint32_t>(text);
  return count && *count > 0 ? count : std::nullopt;
}

std::optional<std::chrono::nanoseconds> Milliseconds(std::string_view text) {
  constexpr double kLongest = 1e9;
  double value = 0;
  const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (problem != std::errc{} || end != text.data() + text.size() || !(value >= 0) ||
      value > kLongest) {
    return std::nullopt;
  }
  return std::chrono::nanoseconds(static_cast<std::int64_t>(value * 1e6));
}

std::optional<std::uint32_t> Address(std::string_view text) {
  if (text.starts_with("0x") || text.starts_with("0X")) {
    return Whole<std::uint32_t>(text.substr(2), 16);
  }
  return Whole<std::uint32_t>(text);
}

/// The text before the first `mark`, and the text behind it, if there is one.
std::pair<std::string_view, std::optional<std::string_view>> Cut(std::string_view text, char mark) {
  const std::size_t at = text.find(mark);
  if (at == std::string_view::npos) {
    return {text, std::nullopt};
  }
  return {text.substr(0, at), text.substr(at + 1)};
}

using Arguments = std::optional<std::string_view>;

std::optional<Fault> Numbered(Fault fault, Arguments arguments) {
  const auto number = Count(arguments.value_or(""));
  if (!number) {
    return std::nullopt;
  }
  fault.Number = *number;
  return fault;
}

std::optional<Fault> Delayed(Fault fault, Arguments arguments) {
  const auto [number, milliseconds] = Cut(arguments.value_or(""), ':');
  const auto delay = Milliseconds(milliseconds.value_or(""));
  if (!delay) {
    return std::nullopt;
  }
  fault.Delay = *delay;
  return Numbered(fault, number);
}

std::optional<Fault> Flipped(Fault fault, Arguments arguments) {
  const auto [number, rest] = Cut(arguments.value_or(""), ':');
  if (rest) {
    const auto [mask_text, byte_text] = Cut(*rest, ':');
    const auto mask = Whole<std::uint8_t>(mask_text, 16);
    const auto byte = byte_text ? Count(*byte_text) : 1;
    if (!mask || *mask == 0 || !byte) {
      return std::nullopt;
    }
    fault.Mask = *mask;
    fault.Byte = *byte;
  }
  return Numbered(fault, number);
}

std::optional<Fault> Silenced(Fault fault, Arguments arguments) {
  return arguments ? Numbered(fault, arguments) : fault;
}

std::optional<Fault> Stuck(Fault fault, Arguments arguments) {
  const auto [memory, place] = Cut(arguments.value_or(""), ':');
  const auto [address_text, cell] = Cut(place.value_or(""), ':');
  const auto [bit_text, value_text] = Cut(cell.value_or(""), '=');
  const auto address = Address(address_text);
  const auto bit = Whole<std::uint8_t>(bit_text);
  const auto value = Whole<std::uint8_t>(value_text.value_or(""));
  const bool flash = memory == "flash";
  if ((!flash && memory != "eeprom") || !address || !bit || *bit > (flash ? 15 : 7) || !value ||
      *value > 1) {
    return std::nullopt;
  }
  fault.Bit = {.Where = flash ? StuckBit::Memory::Flash : StuckBit::Memory::Eeprom,
               .Address = *address,
               .Bit = *bit,
               .Value = *value == 1};
  return fault;
}

struct Reader {
  std::string_view Word;
  Fault::Kind What;
  std::optional<Fault> (*Read)(Fault fault, Arguments arguments);
};

constexpr std::array<Reader, 10> kReaders{{
    {"silent", Fault::Kind::Silent, Silenced},
    {"drop", Fault::Kind::Drop, Numbered},
    {"late", Fault::Kind::Late, Delayed},
    {"split", Fault::Kind::Split, Delayed},
    {"double", Fault::Kind::Double, Numbered},
    {"flip", Fault::Kind::Flip, Flipped},
    {"lie", Fault::Kind::Lie, Numbered},
    {"stuck", Fault::Kind::Stuck, Stuck},
    {"hangup", Fault::Kind::HangUp, Numbered},
    {"powercut", Fault::Kind::PowerCut, Numbered},
}};

/// Cuts the last part in two; the first half is the longer one.
void SplitLast(std::vector<ReplyPart>& parts, std::chrono::nanoseconds delay) {
  std::vector<std::uint8_t>& whole = parts.back().Bytes;
  if (whole.size() < 2) {
    return;
  }
  const auto middle = whole.begin() + static_cast<std::ptrdiff_t>((whole.size() + 1) / 2);
  ReplyPart rest{.Delay = delay, .Bytes = {middle, whole.end()}};
  whole.erase(middle, whole.end());
  parts.push_back(std::move(rest));
}

std::vector<std::uint8_t> AllBytes(const std::vector<ReplyPart>& parts) {
  std::vector<std::uint8_t> bytes;
  for (const ReplyPart& part : parts) {
    bytes.insert(bytes.end(), part.Bytes.begin(), part.Bytes.end());
  }
  return bytes;
}

}  // namespace

std::optional<Fault> ParseFault(std::string_view form, std::string& error) {
  const auto [word, arguments] = Cut(form, '@');
  const std::string_view name = word;
  const auto* const reader = std::find_if(kReaders.begin(), kReaders.end(),
                                          [name](const Reader& r) { return r.Word == name; });
  if (reader != kReaders.end()) {
    if (auto fault = reader->Read(Fault{.What = reader->What, .Bit = {}}, arguments)) {
      return fault;
    }
  }
  error = "fault \"" + std::string(form) + "\" is not one of these:\n" + FaultForms();
  return std::nullopt;
}

std::string FaultForms() {
  constexpr std::size_t kColumn = 26;
  std::string text;
  for (const Form& form : kForms) {
    std::string line = "  " + std::string(form.Pattern);
    line.resize(std::max(kColumn, line.size() + 1), ' ');
    text.append(line).append(form.Effect).append("\n");
  }
  return text;
}

std::vector<ReplyPart> FaultInjector::Reply(std::vector<std::uint8_t> bytes) {
  ++replies_;
  std::vector<ReplyPart> parts;
  parts.push_back({.Delay = {}, .Bytes = std::move(bytes)});
  for (const Fault& fault : faults_) {
    if (fault.What == Fault::Kind::Silent && replies_ >= fault.Number) {
      return {};
    }
    if (fault.Number != replies_) {
      continue;
    }
    switch (fault.What) {
      case Fault::Kind::Drop:
        return {};
      case Fault::Kind::Late:
        parts.front().Delay += fault.Delay;
        break;
      case Fault::Kind::Split:
        SplitLast(parts, fault.Delay);
        break;
      case Fault::Kind::Double:
        parts.push_back({.Delay = {}, .Bytes = AllBytes(parts)});
        break;
      case Fault::Kind::Flip:
        if (fault.Byte <= parts.front().Bytes.size()) {
          parts.front().Bytes[fault.Byte - 1] ^= fault.Mask;
        }
        break;
      case Fault::Kind::Silent:
      case Fault::Kind::Lie:
      case Fault::Kind::Stuck:
      case Fault::Kind::HangUp:
      case Fault::Kind::PowerCut:
        break;
    }
  }
  return parts;
}

bool FaultInjector::CarriesOutWrite() {
  ++writes_;
  return std::none_of(faults_.begin(), faults_.end(), [this](const Fault& fault) {
    return fault.What == Fault::Kind::Lie && fault.Number == writes_;
  });
}

void FaultInjector::DamageChip(Chip& chip) const {
  for (const Fault& fault : faults_) {
    if (fault.What == Fault::Kind::Stuck) {
      chip.AddStuckBit(fault.Bit);
    }
  }
}

bool FaultInjector::HasFaultAt(Fault::Kind what, std::uint32_t received) const {
  return std::any_of(faults_.begin(), faults_.end(), [what, received](const Fault& fault) {
    return fault.What == what && fault.Number == received;
  });
}

bool FaultInjector::HangsUpAt(std::uint32_t received) const {
  return HasFaultAt(Fault::Kind::HangUp, received);
}

bool FaultInjector::LosesPowerAt(std::uint32_t received) const {
  return HasFaultAt(Fault::Kind::PowerCut, received);
}

}  // namespace fenwright::board
