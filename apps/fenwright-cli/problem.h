#pragma once

#include <string>
#include <string_view>

#include "core/sentence.h"
#include "english.h"

namespace fenwright::cli {

/// The words that stand for what goes wrong beside the troubles of the engine (ops/trouble.h) and
/// the findings in files (image::Name()). They never change: scripts compare them.
namespace problem {
inline constexpr std::string_view kUsage = "usage";
inline constexpr std::string_view kUnknownDevice = "unknown-device";
inline constexpr std::string_view kAmbiguousDevice = "ambiguous-device";
inline constexpr std::string_view kUnsupportedChip = "unsupported-chip";
inline constexpr std::string_view kUnknownField = "unknown-field";
inline constexpr std::string_view kUnknownItem = "unknown-item";
inline constexpr std::string_view kFusesUnreadable = "fuses-unreadable";
inline constexpr std::string_view kResetPin = "reset-pin";
inline constexpr std::string_view kFileMissing = "file-missing";
inline constexpr std::string_view kFileUnreadable = "file-unreadable";
inline constexpr std::string_view kFileUnwritable = "file-unwritable";
inline constexpr std::string_view kFileExists = "file-exists";
inline constexpr std::string_view kFileType = "file-type";
inline constexpr std::string_view kFileChanged = "file-changed";
inline constexpr std::string_view kDamagedCopy = "damaged-copy";
inline constexpr std::string_view kForeignCopy = "foreign-copy";
inline constexpr std::string_view kEepromLeftOver = "eeprom-left-over";
inline constexpr std::string_view kDataNotRead = "data-not-read";
inline constexpr std::string_view kOutputUnwritable = "output-unwritable";
inline constexpr std::string_view kReadingsDiffer = "readings-differ";
inline constexpr std::string_view kFusesDiffer = "fuses-differ";
inline constexpr std::string_view kNotReadBack = "not-read-back";
inline constexpr std::string_view kNotConfirmed = "not-confirmed";
inline constexpr std::string_view kBrokenLine = "broken-line";
inline constexpr std::string_view kOddAddress = "odd-address";
inline constexpr std::string_view kNoWordToSend = "no-word-to-send";
inline constexpr std::string_view kUpdateFailed = "update-failed";
inline constexpr std::string_view kSlowLink = "slow-link";
inline constexpr std::string_view kOddRecord = "odd-record";
inline constexpr std::string_view kEmptyResetVector = "empty-reset-vector";
inline constexpr std::string_view kLockedDevice = "locked-device";
inline constexpr std::string_view kFirmwareAdvised = "firmware-advised";
inline constexpr std::string_view kStopped = "stopped";
inline constexpr std::string_view kChipsFailed = "chips-failed";
inline constexpr std::string_view kBoardsFailed = "boards-failed";
inline constexpr std::string_view kCounterMissing = "counter-missing";
inline constexpr std::string_view kCounterDamaged = "counter-damaged";
inline constexpr std::string_view kFileInUse = "file-in-use";
inline constexpr std::string_view kNumbersUsedUp = "numbers-used-up";
inline constexpr std::string_view kNoRoom = "no-room";
inline constexpr std::string_view kNoCalibration = "no-calibration";
inline constexpr std::string_view kBadJob = "bad-job";
inline constexpr std::string_view kRehearsalFailed = "rehearsal-failed";
inline constexpr std::string_view kInternal = "internal";
}  // namespace problem

/// A text of the engine, with its English counterpart.
inline core::Sentence OfEngine(const std::string& text) { return {text, EnglishOf(text)}; }

/// What went wrong, or is worth knowing: a stable word, and what it is in this call.
struct Problem {
  std::string_view Code;  ///< one of the words above, or of the engine's
  core::Sentence Text;
  core::Sentence Cure{};  ///< empty where the text says it
};

}  // namespace fenwright::cli
