#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "board/faults.h"

namespace fenwright::board {

// The record of a line is a text, with a line for each piece of what went over it:
//
//     > 54 38       the PC sends these bytes (hexadecimal)
//     < 0D          the board sends these
//     = 300 ms      the next bytes come so much later than the line before it
//     ! hung up     the line is gone; nothing follows
//     # ...         a remark; empty lines mean nothing either

/// Who sends.
enum class Sender { Pc, Board };

/// A pause of the board's that is shorter is left out of a record: bytes need some time, too.
inline constexpr std::chrono::milliseconds kShortestPause{20};

/// The lines of a record, each with its end.
std::string RecordBytes(Sender sender, std::span<const std::uint8_t> bytes);
std::string RecordPause(std::chrono::nanoseconds pause);
std::string RecordHangUp();

/// Bytes as a record has them: "54 38".
std::string FormatBytes(std::span<const std::uint8_t> bytes);

/// What the PC sends without an answer in between, and what the board answers it with.
struct RecordedExchange {
  int Line = 0;  ///< of the text where it begins, from 1
  std::vector<std::uint8_t> Sent;
  std::vector<ReplyPart> Reply;
  bool HangsUp = false;  ///< the line goes with the last part, which is empty
};

/// The exchanges of a record. Nothing when the text is none, or not a whole one: `error` says why.
std::optional<std::vector<RecordedExchange>> ParseLineRecord(std::string_view text,
                                                             std::string& error);

}  // namespace fenwright::board
