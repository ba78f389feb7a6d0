#include "platform/system/tool.h"

#include <windows.h>

#include "platform/windows/wide_text.h"

namespace fenwright::platform {
namespace {

/// A word as the new program's own start takes it apart again: in quotes where it needs them, and
/// a backslash twice where a quote follows.
std::wstring Quoted(const std::string& word) {
  if (!word.empty() && word.find_first_of(" \t\"") == std::string::npos) return ToWide(word);
  std::wstring text = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t character : ToWide(word)) {
    if (character == L'\\') {
      ++backslashes;
      continue;
    }
    text.append(character == L'"' ? 2 * backslashes + 1 : backslashes, L'\\');
    backslashes = 0;
    text += character;
  }
  return text.append(2 * backslashes, L'\\') + L'"';
}

/// An open file that a new program inherits.
class InheritedFile {
 public:
  InheritedFile(const wchar_t* path, DWORD access, DWORD disposition) {
    SECURITY_ATTRIBUTES inherited{.nLength = sizeof(SECURITY_ATTRIBUTES),
                                  .lpSecurityDescriptor = nullptr,
                                  .bInheritHandle = TRUE};
    handle_ = CreateFileW(path, access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, disposition,
                          FILE_ATTRIBUTE_NORMAL, nullptr);
  }
  ~InheritedFile() {
    if (handle_ != INVALID_HANDLE_VALUE) CloseHandle(handle_);
  }
  InheritedFile(const InheritedFile&) = delete;
  InheritedFile& operator=(const InheritedFile&) = delete;
  [[nodiscard]] HANDLE Handle() const { return handle_; }

 private:
  HANDLE handle_ = INVALID_HANDLE_VALUE;
};

}  // namespace

std::optional<int> RunTool(const std::vector<std::string>& command,
                           const std::filesystem::path& errors) {
  std::wstring line;
  for (const std::string& word : command) line += (line.empty() ? L"" : L" ") + Quoted(word);
  const InheritedFile nothing(L"NUL", GENERIC_READ | GENERIC_WRITE, OPEN_EXISTING);
  const InheritedFile complaints(errors.c_str(), GENERIC_WRITE, CREATE_ALWAYS);
  STARTUPINFOW start{};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = nothing.Handle();
  start.hStdOutput = nothing.Handle();
  start.hStdError = complaints.Handle();
  PROCESS_INFORMATION process{};
  if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr,
                     nullptr, &start, &process) == 0) {
    return std::nullopt;
  }
  WaitForSingleObject(process.hProcess, INFINITE);
  DWORD code = 0;
  GetExitCodeProcess(process.hProcess, &code);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return static_cast<int>(code);
}

// The folder for temporary files is the user's own already.
PrivateFolder::PrivateFolder() {
  std::error_code error;
  const std::filesystem::path parent = std::filesystem::temp_directory_path(error);
  if (error) return;
  constexpr int kAttempts = 100;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const std::filesystem::path path =
        parent /
        ("fenwright-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(attempt));
    if (!std::filesystem::create_directory(path, error)) continue;
    path_ = path;
    return;
  }
}

PrivateFolder::~PrivateFolder() {
  std::error_code ignored;
  if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
}

}  // namespace fenwright::platform
