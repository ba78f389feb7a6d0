#include <algorithm>
#include <cmath>
#include <windows.h>

#include "platform/asio/serial_native.h"
#include "platform/windows/high_resolution_timer.h"
#include "platform/windows/port_failure.h"
#include "platform/windows/wide_text.h"

namespace fenwright::platform::native {
namespace {

constexpr double kLongestRest = 86400.0;
constexpr DWORD kSystemBuffer = 4096;
/// A write gives up after this time, in milliseconds: what was sent until then counts.
constexpr DWORD kWritePatience = 50;
/// For drivers that do not know of giving up.
constexpr DWORD kLongestWrite = 1000;

/// One overlapped read or write, waited for here. Asio watches the handle too: the lowest bit of
/// the event's handle keeps the end of this operation from being reported to it.
class Operation {
 public:
  Operation() : event_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
    overlapped_.hEvent = reinterpret_cast<HANDLE>(reinterpret_cast<std::uintptr_t>(event_) | 1U);
  }
  ~Operation() {
    if (event_ != nullptr) CloseHandle(event_);
  }
  Operation(const Operation&) = delete;
  Operation& operator=(const Operation&) = delete;

  OVERLAPPED* Overlapped() { return &overlapped_; }

  /// What became of the operation that ReadFile() or WriteFile() answered with `started`. One that
  /// has not ended after `milliseconds` is taken back, together with what it had done by then.
  Transfer Finish(Handle handle, BOOL started, DWORD milliseconds) {
    if (started == 0 && GetLastError() != ERROR_IO_PENDING) return {.Gone = true};
    const bool ended = WaitForSingleObject(event_, milliseconds) == WAIT_OBJECT_0;
    if (!ended) CancelIoEx(handle, &overlapped_);
    DWORD count = 0;
    const BOOL good = GetOverlappedResult(handle, &overlapped_, &count, TRUE);
    const bool taken_back = good == 0 && !ended && GetLastError() == ERROR_OPERATION_ABORTED;
    return {.Count = count, .Gone = good == 0 && !taken_back};
  }

 private:
  HANDLE event_;
  OVERLAPPED overlapped_{};
};

DWORD ToMilliseconds(double seconds) {
  if (!(seconds > 0)) return 0;
  return static_cast<DWORD>(std::ceil(std::min(seconds, kLongestRest) * 1e3));
}

/// The bytes that wait inside the system; nothing when the line is gone.
bool CountWaiting(Handle handle, std::size_t& count) {
  DWORD line_errors = 0;
  COMSTAT state{};
  if (ClearCommError(handle, &line_errors, &state) == 0) return false;
  count = state.cbInQue;
  return true;
}

Transfer ReadAtMost(Handle handle, std::span<std::uint8_t> room, DWORD milliseconds) {
  Operation operation;
  const BOOL started = ReadFile(handle, room.data(), static_cast<DWORD>(room.size()), nullptr,
                                operation.Overlapped());
  return operation.Finish(handle, started, milliseconds);
}

/// Makes the open port raw. Gives the error code of what failed.
DWORD TakeOver(Handle handle) {
  DCB line{};
  line.DCBlength = sizeof line;
  if (GetCommState(handle, &line) == 0) return GetLastError();
  line.fBinary = TRUE;
  line.fParity = FALSE;
  line.fOutxCtsFlow = FALSE;
  line.fOutxDsrFlow = FALSE;
  line.fDtrControl = DTR_CONTROL_ENABLE;
  line.fDsrSensitivity = FALSE;
  line.fOutX = FALSE;
  line.fInX = FALSE;
  line.fErrorChar = FALSE;
  line.fNull = FALSE;
  line.fRtsControl = RTS_CONTROL_ENABLE;
  line.fAbortOnError = FALSE;  // a framing error must not stop all that follows
  if (SetCommState(handle, &line) == 0) return GetLastError();
  // Reads are for bytes that are there, or for the next one, and are taken back when it is late.
  COMMTIMEOUTS times{};
  times.WriteTotalTimeoutMultiplier = 1;
  times.WriteTotalTimeoutConstant = kWritePatience;
  if (SetCommTimeouts(handle, &times) == 0) return GetLastError();
  SetupComm(handle, kSystemBuffer, kSystemBuffer);  // a driver may know better
  PurgeComm(handle, PURGE_RXCLEAR | PURGE_TXCLEAR);
  return ERROR_SUCCESS;
}

/// A bare name as in "COM25" is that of a device.
std::wstring DeviceName(const std::string& path) {
  const bool is_bare = path.find_first_of(R"(\/)") == std::string::npos;
  return ToWide(is_bare ? R"(\\.\)" + path : path);
}

}  // namespace

PortOpenResult OpenExclusive(const std::string& path, Handle& handle) {
  const std::wstring name = DeviceName(path);
  HANDLE opened = INVALID_HANDLE_VALUE;
  DWORD error = OpenPatiently([&]() -> DWORD {
    opened = CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, /*dwShareMode=*/0, nullptr,
                         OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
    return opened != INVALID_HANDLE_VALUE ? ERROR_SUCCESS : GetLastError();
  });
  if (error != ERROR_SUCCESS) return DescribePortFailure(path, error);
  error = TakeOver(opened);
  if (error != ERROR_SUCCESS) {
    CloseHandle(opened);
    return DescribePortFailure(path, error);
  }
  handle = opened;
  return {PortOpenStatus::Ok, path, ""};
}

// The system ends it with the handle.
void ReleaseExclusive(Handle /*handle*/) {}

void Close(Handle handle) { CloseHandle(handle); }

// It is a setting of the adapter's driver, which takes an administrator and the device manager.
void RequestLowLatency(Handle /*handle*/) {}

void SetRts(Handle handle, bool enable) { EscapeCommFunction(handle, enable ? SETRTS : CLRRTS); }

void DiscardOutput(Handle handle) { PurgeComm(handle, PURGE_TXABORT | PURGE_TXCLEAR); }

Transfer Read(Handle handle, std::span<std::uint8_t> room) {
  std::size_t waiting = 0;
  if (!CountWaiting(handle, waiting)) return {.Gone = true};
  if (waiting == 0) return {};
  return ReadAtMost(handle, room.first(std::min(room.size(), waiting)), kWritePatience);
}

Transfer ReadWithin(Handle handle, std::span<std::uint8_t> room, double seconds) {
  // The system's own wait for a byte is slow with some drivers; a read for one is not.
  return ReadAtMost(handle, room.first(1), ToMilliseconds(seconds));
}

bool IsGone(Handle handle) {
  std::size_t ignored = 0;
  return !CountWaiting(handle, ignored);
}

Transfer Write(Handle handle, std::span<const std::uint8_t> bytes) {
  Operation operation;
  const BOOL started = WriteFile(handle, bytes.data(), static_cast<DWORD>(bytes.size()), nullptr,
                                 operation.Overlapped());
  return operation.Finish(handle, started, kLongestWrite);
}

// A write waits by itself.
Wake WaitWritable(Handle handle, double /*seconds*/) {
  return IsGone(handle) ? Wake::Gone : Wake::Ready;
}

void Rest(double seconds) { RestPrecisely(std::clamp(seconds, 0.0, kLongestRest)); }

}  // namespace fenwright::platform::native
