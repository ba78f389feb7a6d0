#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "device_run.h"
#include "image/hex_writer.h"

namespace fenwright::cli {

/// What one reading of the device has brought.
struct ChipReading {
  std::vector<std::uint8_t> Flash;  ///< as AppState::FlashBuffer has it, of the device's size
  std::vector<std::uint8_t> Eeprom;
  std::vector<core::FuseTransfer> Fuses;
  std::vector<std::uint8_t> Calibration;
};

/// What the last command has read.
ChipReading LastChipReading(Session& session);

/// The first place where two readings of the memories differ, "" when there is none.
std::string FirstMemoryDifference(const ChipReading& first, const ChipReading& second);

/// Reads everything that the device gives away once more, after a reading that went well. A byte
/// that came wrong over the line shows in nothing else: two readings that differ fail the call,
/// with `consequence` behind what they differ in. `run` becomes that of both; false when they
/// differ.
bool ReadsAgainTheSame(Session& session, DeviceRun& run, const core::Sentence& consequence);

/// Why a file of the device's content was not written, if it was not.
std::optional<Problem> WhyNotWritten(const std::string& path, const image::HexWriteReport& report);

}  // namespace fenwright::cli
