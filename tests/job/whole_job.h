#pragma once

#include "job/job_file.h"

namespace fenwright::job {

/// A job with every key that does not exclude another one.
inline Job WholeJob() {
  return {
      .Device = "ATtiny26L",
      .Code = "blink.hex",
      .Data = "texts.eep",
      .FuseDefaults = true,
      .Fuses = {{"BODEN", "Enable"}, {"CKSEL", "0100"}},
      .AllowResetDisable = true,
      .Lock = "write-verify",
      .Serial =
          SerialNumber{.Place = {.InFlash = true, .Address = 0x7FC}, .Width = 2, .BigEndian = true},
      .Counter = "numbers.txt",
      .Osccal = Calibration{.Place = {.InFlash = false, .Address = 0}, .Index = 3},
      .Backup = "copies",
      .Record = "shift.csv"};
}

}  // namespace fenwright::job
