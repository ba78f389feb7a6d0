#include "platform/system/serial_native.h"

#include <algorithm>
#include <cmath>
#include <windows.h>

#include "platform/windows/port_failure.h"
#include "platform/windows/wide_text.h"

namespace fenwright::platform::native {
namespace {

constexpr DWORD kSystemBuffer = 4096;
/// For a read of bytes that are there: it ends at once.
constexpr double kReadPatience = 0.05;

static_assert(static_cast<int>(LineParity::None) == NOPARITY &&
              static_cast<int>(LineParity::Odd) == ODDPARITY &&
              static_cast<int>(LineParity::Even) == EVENPARITY);
static_assert(static_cast<int>(LineStopBits::One) == ONESTOPBIT &&
              static_cast<int>(LineStopBits::OneAndHalf) == ONE5STOPBITS &&
              static_cast<int>(LineStopBits::Two) == TWOSTOPBITS);

/// Has `start` begin an overlapped read or write, and waits for its end. One that has not ended
/// after `seconds` is taken back, together with what it had done by then.
template <typename Start>
Transfer Run(Handle handle, double seconds, Start start) {
  OVERLAPPED operation{};
  operation.hEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  Transfer done{.Gone = true};
  if (start(&operation) != 0 || GetLastError() == ERROR_IO_PENDING) {
    const auto milliseconds = static_cast<DWORD>(std::ceil(seconds * 1e3));
    const bool ended = WaitForSingleObject(operation.hEvent, milliseconds) == WAIT_OBJECT_0;
    if (!ended) CancelIoEx(handle, &operation);
    DWORD count = 0;
    const BOOL good = GetOverlappedResult(handle, &operation, &count, TRUE);
    const bool taken_back = !ended && GetLastError() == ERROR_OPERATION_ABORTED;
    done = {.Count = count, .Gone = good == 0 && !taken_back};
  }
  if (operation.hEvent != nullptr) CloseHandle(operation.hEvent);
  return done;
}

/// Tells what waits inside the system; false when the line is gone.
bool LookAt(Handle handle, COMSTAT& state) {
  DWORD line_errors = 0;
  return ClearCommError(handle, &line_errors, &state) != 0;
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
  DCB line{};
  line.DCBlength = sizeof line;
  if (GetCommState(opened, &line) == 0) {
    error = GetLastError();
    CloseHandle(opened);
    return DescribePortFailure(path, error);
  }
  handle = opened;
  return {PortOpenStatus::Ok, path, ""};
}

// How long an adapter holds bytes back is a setting of its driver, which takes an administrator and
// the device manager.
bool Configure(Handle handle, const LineSettings& settings) {
  DCB line{};
  line.DCBlength = sizeof line;
  if (GetCommState(handle, &line) == 0) return false;
  line.BaudRate = settings.Baud;
  line.ByteSize = static_cast<BYTE>(settings.DataBits);
  line.Parity = static_cast<BYTE>(settings.Parity);
  line.StopBits = static_cast<BYTE>(settings.StopBits);
  line.fBinary = TRUE;
  line.fParity = settings.Parity != LineParity::None ? TRUE : FALSE;
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
  COMMTIMEOUTS times{};        // none: what is late is taken back
  if (SetCommState(handle, &line) == 0 || SetCommTimeouts(handle, &times) == 0) return false;
  SetupComm(handle, kSystemBuffer, kSystemBuffer);  // a driver may know better
  PurgeComm(handle, PURGE_RXCLEAR | PURGE_TXCLEAR);
  return true;
}

// Not by FlushFileBuffers(): on a line that stands still it never returns.
void Drain(Handle handle, double seconds) {
  constexpr DWORD kLookMilliseconds = 1;
  const ULONGLONG end = GetTickCount64() + static_cast<ULONGLONG>(std::ceil(seconds * 1e3));
  COMSTAT state{};
  while (LookAt(handle, state) && state.cbOutQue > 0 && GetTickCount64() < end) {
    Sleep(kLookMilliseconds);
  }
}

void Close(Handle handle) { CloseHandle(handle); }

void SetRts(Handle handle, bool enable) { EscapeCommFunction(handle, enable ? SETRTS : CLRRTS); }

void DiscardOutput(Handle handle) { PurgeComm(handle, PURGE_TXABORT | PURGE_TXCLEAR); }

Transfer Read(Handle handle, std::span<std::uint8_t> room, double seconds) {
  // The system's own wait for a byte is slow with some drivers; a read for one is not.
  std::size_t size = 1;
  if (!(seconds > 0)) {
    COMSTAT state{};
    if (!LookAt(handle, state)) return {.Gone = true};
    if (state.cbInQue == 0) return {};
    size = std::min<std::size_t>(state.cbInQue, room.size());
    seconds = kReadPatience;
  }
  return Run(handle, seconds, [&](OVERLAPPED* operation) {
    return ReadFile(handle, room.data(), static_cast<DWORD>(size), nullptr, operation);
  });
}

Transfer Write(Handle handle, std::span<const std::uint8_t> bytes, double seconds) {
  return Run(handle, seconds, [&](OVERLAPPED* operation) {
    return WriteFile(handle, bytes.data(), static_cast<DWORD>(bytes.size()), nullptr, operation);
  });
}

bool IsGone(Handle handle) {
  COMSTAT ignored{};
  return !LookAt(handle, ignored);
}

}  // namespace fenwright::platform::native
