#include "platform/system/terminal.h"

#include <array>
#include <windows.h>
// After windows.h, which it needs.
#include <shellapi.h>

#include "platform/windows/wide_text.h"

// Not in every set of headers.
#ifndef ENABLE_VIRTUAL_TERMINAL_PROCESSING
#define ENABLE_VIRTUAL_TERMINAL_PROCESSING 0x0004
#endif

namespace fenwright::platform {

// What main() gets is in the code page of the user's language, which lacks most characters.
std::vector<std::string> Utf8Arguments(int count, char** arguments) {
  int wide_count = 0;
  wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &wide_count);
  if (wide == nullptr) return {arguments, arguments + count};
  std::vector<std::string> result;
  for (int i = 0; i < wide_count; ++i) result.push_back(FromWide(wide[i]));
  LocalFree(static_cast<HLOCAL>(wide));
  return result;
}

bool OutputIsTerminal() {
  DWORD mode = 0;
  return GetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), &mode) != 0;
}

std::optional<std::string> ReadInputWithin(double seconds) {
  constexpr double kMilliseconds = 1e3;
  HANDLE const input = GetStdHandle(STD_INPUT_HANDLE);
  // A console is waited for; anything else is read at once.
  if (WaitForSingleObject(input, static_cast<DWORD>(seconds * kMilliseconds)) == WAIT_TIMEOUT) {
    return std::nullopt;
  }
  std::array<char, 64> bytes{};
  DWORD count = 0;
  const DWORD room = static_cast<DWORD>(bytes.size());
  if (ReadFile(input, bytes.data(), room, &count, nullptr) == 0) return "";
  return std::string(bytes.data(), count);
}

Utf8Terminal::Utf8Terminal() {
  HANDLE const terminal = GetStdHandle(STD_OUTPUT_HANDLE);
  DWORD mode = 0;
  if (GetConsoleMode(terminal, &mode) == 0) return;
  restore_ = [terminal, mode, code_page = GetConsoleOutputCP()] {
    SetConsoleOutputCP(code_page);
    SetConsoleMode(terminal, mode);
  };
  SetConsoleMode(terminal, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
  SetConsoleOutputCP(CP_UTF8);
}

Utf8Terminal::~Utf8Terminal() {
  if (restore_) restore_();
}

}  // namespace fenwright::platform
