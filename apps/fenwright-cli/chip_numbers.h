#pragma once

#include <memory>
#include <optional>
#include <string>

#include "device_run.h"
#include "job/image_place.h"
#include "number_counter.h"

namespace fenwright::cli {

/// What is different on each chip.
struct ChipNumbers {
  std::optional<job::SerialNumber> Serial;
  std::string Counter;                        ///< path of the file that counts, "" = none
  std::optional<std::uint64_t> CounterStart;  ///< begins that file
  std::optional<job::Calibration> Osccal;
  bool TakeNone = false;  ///< a rehearsal: the next number is looked at and not taken
};

/// Adds the options that fill them in.
std::shared_ptr<ChipNumbers> AddChipNumbers(CLI::App& command);

/// Adds the option that begins a counter's file.
void AddCounterStart(CLI::App& command, std::optional<std::uint64_t>& start);

/// Checks, with the image loaded and before anything is sent: that the numbers have their room,
/// that the device has the calibration byte, that the counter has a next number.
ExitCode CheckChipNumbers(Session& session, const ChipNumbers& numbers);

/// A number that was put into the image.
class TakenNumber {
 public:
  /// Puts the number, or the counter's next, into the image. When it cannot be had the cause is
  /// printed.
  ExitCode Take(Session& session, const ChipNumbers& numbers);

  /// Says what became of the chip that has it.
  void Note(Session& session, bool used) const;

  [[nodiscard]] std::optional<std::uint64_t> Number() const { return number_; }

 private:
  std::optional<std::uint64_t> number_;
  std::optional<NumberCounter> counter_;
};

/// Reads the calibration byte, twice, and puts it into the image. `fields` gets it.
DeviceRun PutCalibration(Session& session, const job::Calibration& osccal, nlohmann::json& fields);

}  // namespace fenwright::cli
