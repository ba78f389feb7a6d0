#include "platform/windows/windows_shell.h"

#include <string>
#include <windows.h>
// After windows.h, which it needs.
#include <shellapi.h>

#include "platform/windows/wide_text.h"

namespace fenwright::platform {

static_assert(SW_SHOWNORMAL == static_cast<int>(ShowMode::Normal));
static_assert(SW_SHOWNOACTIVATE == static_cast<int>(ShowMode::NoActivate));

bool WindowsShell::Open(std::string_view document, std::string_view working_folder, ShowMode mode) {
  // A NUL would cut the name short and open something else.
  if (document.empty() || document.find('\0') != std::string_view::npos) return false;
  const std::wstring name = ToWide(document);
  const std::wstring folder = ToWide(working_folder);
  SHELLEXECUTEINFOW request{};
  request.cbSize = sizeof request;
  // No message of the system's own when nothing opens the document.
  request.fMask = SEE_MASK_FLAG_NO_UI;
  request.lpVerb = L"open";
  request.lpFile = name.c_str();
  request.lpDirectory = folder.empty() ? nullptr : folder.c_str();
  request.nShow = static_cast<int>(mode);
  return ShellExecuteExW(&request) != FALSE;
}

}  // namespace fenwright::platform
