#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace fenwright::platform {

/// Why a serial port could not be opened.
enum class PortOpenStatus {
  Ok,
  Missing,       ///< no such device, or no device path is known for the port number
  NoPermission,  ///< the device is there, the user may not use it
  Busy,          ///< another program holds it
  Failed,        ///< anything else: not a serial line, a setting refused, an I/O error
};

/// Outcome of opening a port. `Path` is the system's name of the device, "" when none is known;
/// `Reason` names cause and cure of a failure for the user, UTF-8, "" on success.
struct PortOpenResult {
  PortOpenStatus Status = PortOpenStatus::Ok;
  std::string Path;
  std::string Reason;
};

/// How received bytes are meant: as text while the board is being identified, binary otherwise.
/// The bytes themselves are the same in both modes.
enum class InputMode { Text = 0, Binary = 1 };

/// One serial line, driven by properties.
///
/// Contract, for every implementation:
/// - One thread uses it. No call blocks longer than the few milliseconds it takes to hand bytes to
///   the system, except RestUntilInput(), which is bounded by its argument.
/// - Nothing throws. On a closed or lost line output is dropped, counts are 0, input is empty.
/// - A line that the system reports gone (unplugged, hung up) latches IsGone() until it is opened
///   again. Bytes that had arrived before stay readable. A line that is not open counts as gone:
///   nothing can arrive on it.
/// - Setters may be called at any time; CommPort and Settings take effect at the next opening.
class SerialControl {
 public:
  virtual ~SerialControl() = default;

  /// The port number n of "COMn", 1 to 20.
  virtual void SetCommPort(int number) = 0;
  [[nodiscard]] virtual int CommPort() const = 0;

  /// Line settings as "baud,parity,data bits,stop bits", for example "57600,n,8,1".
  virtual void SetSettings(std::string_view settings) = 0;

  /// 0 = no handshake; the only value in use.
  virtual void SetHandshaking(int mode) = 0;

  /// 0 = Input() returns everything that has arrived; the only value in use.
  virtual void SetInputLen(int length) = 0;

  /// The RTS line; best effort, since not every line has one.
  virtual void SetRTSEnable(bool enable) = 0;

  /// Receive-event threshold. Reception is polled, so the value is only kept.
  virtual void SetRThreshold(int count) = 0;

  virtual void SetInputMode(InputMode mode) = 0;
  [[nodiscard]] virtual InputMode CurrentInputMode() const = 0;

  /// Opens the line exclusively with the settings given so far. Opening an open line does nothing.
  virtual PortOpenResult Open() = 0;

  /// Closes the line; closing a closed line does nothing.
  virtual void Close() = 0;

  [[nodiscard]] virtual bool PortOpen() const = 0;

  /// Number of bytes received and not yet taken.
  virtual int InBufferCount() = 0;

  /// Discards every byte received and not yet taken (InBufferCount = 0).
  virtual void DiscardInput() = 0;

  /// Discards every byte not yet sent (OutBufferCount = 0).
  virtual void DiscardOutput() = 0;

  /// Hands bytes to the line, in order. A line that takes nothing for a second loses the rest.
  virtual void Output(std::span<const std::uint8_t> bytes) = 0;

  /// Takes everything received so far, possibly nothing.
  virtual std::vector<std::uint8_t> Input() = 0;

  /// True when nothing more can arrive: the line is closed, unplugged or hung up.
  virtual bool IsGone() = 0;

  /// Rests until a further byte arrives (one beyond InBufferCount()), the line goes, or `seconds`
  /// have passed, whichever is first. On a line that is known to be closed or gone it rests the
  /// whole time, so that no loop around it spins. The processor sleeps meanwhile.
  virtual void RestUntilInput(double seconds) = 0;
};

}  // namespace fenwright::platform
