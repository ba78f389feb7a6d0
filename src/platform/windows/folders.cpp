#include "platform/system/folders.h"

#include <atomic>
#include <string>
#include <windows.h>

#include "platform/windows/system_path.h"

namespace fenwright::platform {

// Rights depend on too much here: only making a file tells.
bool MayWriteInto(const std::string& path) {
  // Several threads may ask about the same folder at once.
  static std::atomic<unsigned> probes = 0;
  const std::wstring probe =
      SystemPath(path + "\\fenwright-" + std::to_string(GetCurrentProcessId()) + "-" +
                 std::to_string(++probes) + ".tmp");
  HANDLE const file = CreateFileW(probe.c_str(), GENERIC_WRITE | DELETE, 0, nullptr, CREATE_NEW,
                                  FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  CloseHandle(file);
  return true;
}

}  // namespace fenwright::platform
