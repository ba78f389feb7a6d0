#pragma once

#include "platform/memory/forwarding_serial_control.h"

namespace fenwright::platform {

/// A serial line that can be led to another one while the program runs. Switching closes the line
/// that it leaves; the number of the port goes along.
class SwitchedSerialControl final : public ForwardingSerialControl {
 public:
  /// The lines must outlive it.
  explicit SwitchedSerialControl(SerialControl& line) : ForwardingSerialControl(line) {}

  void SwitchTo(SerialControl& line) {
    if (&Line() == &line) return;
    Close();
    line.SetCommPort(CommPort());
    LeadTo(line);
  }
};

}  // namespace fenwright::platform
