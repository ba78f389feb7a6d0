#include "platform/windows/windows_shell.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <objbase.h>
#include <shlobj.h>
#include <string>
#include <thread>
#include <windows.h>

#include <gtest/gtest.h>

#include "platform/temporary_folder.h"

namespace fenwright::platform {
namespace {

using namespace std::chrono_literals;

// The user's own types of documents are unknown to Wine 8; the machine's are known everywhere.
constexpr const wchar_t* kClasses = LR"(Software\Classes)";

/// A type of document of the test's own, for which a command is registered.
class WindowsShellTest : public ::testing::Test {
 protected:
  WindowsShellTest() { CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }
  ~WindowsShellTest() override {
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, LR"(Software\Classes\.fenwright-test)");
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, LR"(Software\Classes\Fenwright.Test)");
    CoUninitialize();
  }

  /// Documents of the type are opened with `command`, in which %1 is the document.
  static void Register(const std::wstring& command) {
    Set(LR"(\.fenwright-test)", L"Fenwright.Test");
    Set(LR"(\Fenwright.Test\shell\open\command)", command);
    SHChangeNotify(SHCNE_ASSOCCHANGED, SHCNF_IDLIST, nullptr, nullptr);
  }

  /// A path as the system's own programs take it.
  [[nodiscard]] std::filesystem::path Path(const std::u8string& name) const {
    return (std::filesystem::path(folder_.Path()) / name).make_preferred();
  }

  [[nodiscard]] std::string Document(const std::u8string& name) const {
    const std::filesystem::path path = Path(name);
    std::ofstream(path) << "what is in it";
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
  }

  /// The content of a file that another program writes and then gives this name.
  static std::string WaitFor(const std::filesystem::path& path) {
    for (int i = 0; i < 200 && !std::filesystem::exists(path); ++i)
      std::this_thread::sleep_for(50ms);
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  TemporaryFolder folder_;
  WindowsShell shell_;

 private:
  static void Set(const std::wstring& key, const std::wstring& value) {
    const auto size = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
    EXPECT_EQ(RegSetKeyValueW(HKEY_LOCAL_MACHINE, (kClasses + key).c_str(), nullptr, REG_SZ,
                              value.c_str(), size),
              0);
  }
};

TEST_F(WindowsShellTest, ADocumentIsOpenedWithWhatIsRegisteredForItsType) {
  Register(LR"(cmd.exe /c copy "%1" )" + Path(u8"part").wstring() + L" && ren " +
           Path(u8"part").wstring() + L" copied");
  EXPECT_TRUE(shell_.Open(Document(u8"説明書 1.fenwright-test"), "", ShowMode::NoActivate));
  EXPECT_EQ(WaitFor(Path(u8"copied")), "what is in it");
}

TEST_F(WindowsShellTest, TheProgramWorksInTheFolderThatIsAskedFor) {
  Register(L"cmd.exe /c cd > " + Path(u8"part").wstring() + L" && ren " + Path(u8"part").wstring() +
           L" cwd");
  std::filesystem::create_directory(Path(u8"work"));
  EXPECT_TRUE(
      shell_.Open(Document(u8"a.fenwright-test"), Path(u8"work").string(), ShowMode::Normal));
  EXPECT_TRUE(WaitFor(Path(u8"cwd")).starts_with(Path(u8"work").string() + "\r\n"));
}

TEST_F(WindowsShellTest, WhatCannotBeOpenedIsToldWithoutAMessage) {
  EXPECT_FALSE(shell_.Open(Document(u8"b.no-such-type"), "", ShowMode::NoActivate));
  EXPECT_FALSE(shell_.Open(R"(C:\no such folder\readme.pdf)", "", ShowMode::NoActivate));
  EXPECT_FALSE(shell_.Open("", "", ShowMode::Normal));
  Register(L"cmd.exe /c exit");
  const std::string document = Document(u8"c.fenwright-test");
  EXPECT_FALSE(shell_.Open(document + std::string(1, '\0'), "", ShowMode::Normal));
}

}  // namespace
}  // namespace fenwright::platform
