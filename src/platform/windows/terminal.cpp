#include "platform/system/terminal.h"

#include <array>
#include <iostream>
#include <windows.h>
// After windows.h, which it needs.
#include <shellapi.h>

#include "platform/windows/console_buffer.h"
#include "platform/windows/wide_text.h"

// Not in every set of headers.
#ifndef ENABLE_VIRTUAL_TERMINAL_PROCESSING
#define ENABLE_VIRTUAL_TERMINAL_PROCESSING 0x0004
#endif

namespace fenwright::platform {
namespace {

/// Nothing for what is no console.
std::optional<DWORD> ModeOf(HANDLE output) {
  DWORD mode = 0;
  if (GetConsoleMode(output, &mode) == 0) return std::nullopt;
  return mode;
}

bool Show(HANDLE console, std::wstring_view text) {
  while (!text.empty()) {
    DWORD count = 0;
    const DWORD size = static_cast<DWORD>(text.size());
    if (WriteConsoleW(console, text.data(), size, &count, nullptr) == 0 || count == 0) return false;
    text.remove_prefix(count);
  }
  return true;
}

/// Has a stream write to its console, if it has one. The console's code page is left alone: it is
/// also that of programs that run later, or beside this one.
class ConsoleStream {
 public:
  ConsoleStream(std::ostream& stream, DWORD output)
      : stream_(stream), buffer_([console = GetStdHandle(output)](std::wstring_view text) {
          return Show(console, text);
        }) {
    if (ModeOf(GetStdHandle(output))) before_ = stream.rdbuf(&buffer_);
  }
  ~ConsoleStream() {
    if (before_ == nullptr) return;
    stream_.flush();
    stream_.rdbuf(before_);
  }
  ConsoleStream(const ConsoleStream&) = delete;
  ConsoleStream& operator=(const ConsoleStream&) = delete;

 private:
  std::ostream& stream_;
  ConsoleBuffer buffer_;
  std::streambuf* before_ = nullptr;
};

/// Has a console obey escape sequences.
class EscapeSequences {
 public:
  explicit EscapeSequences(DWORD output) : output_(GetStdHandle(output)) {
    if (mode_) SetConsoleMode(output_, *mode_ | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
  }
  ~EscapeSequences() {
    if (mode_) SetConsoleMode(output_, *mode_);
  }
  EscapeSequences(const EscapeSequences&) = delete;
  EscapeSequences& operator=(const EscapeSequences&) = delete;

 private:
  HANDLE output_;
  std::optional<DWORD> mode_ = ModeOf(output_);
};

struct ConsoleOutputs {
  EscapeSequences OutputSequences{STD_OUTPUT_HANDLE};
  EscapeSequences ErrorSequences{STD_ERROR_HANDLE};
  ConsoleStream Output{std::cout, STD_OUTPUT_HANDLE};
  ConsoleStream Error{std::cerr, STD_ERROR_HANDLE};
};

}  // namespace

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

bool UserReadsJapanese() { return PRIMARYLANGID(GetUserDefaultUILanguage()) == LANG_JAPANESE; }

bool OutputIsTerminal() { return ModeOf(GetStdHandle(STD_OUTPUT_HANDLE)).has_value(); }

bool ErrorIsTerminal() { return ModeOf(GetStdHandle(STD_ERROR_HANDLE)).has_value(); }

int TerminalWidth() {
  constexpr int kUsual = 80;
  CONSOLE_SCREEN_BUFFER_INFO info{};
  if (GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info) == 0) return kUsual;
  return info.srWindow.Right - info.srWindow.Left + 1;
}

bool DropTypedInput() {
  HANDLE const input = GetStdHandle(STD_INPUT_HANDLE);
  DWORD mode = 0;
  return GetConsoleMode(input, &mode) != 0 && FlushConsoleInputBuffer(input) != 0;
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

Utf8Terminal::Utf8Terminal() : changes_(std::make_shared<ConsoleOutputs>()) {}

}  // namespace fenwright::platform
