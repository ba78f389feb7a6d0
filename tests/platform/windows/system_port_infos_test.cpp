#include "platform/system/system_port_infos.h"

#include <windows.h>

#include <gtest/gtest.h>

namespace fenwright::platform {
namespace {

constexpr const wchar_t* kList = LR"(HARDWARE\DEVICEMAP\SERIALCOMM)";
constexpr const wchar_t* kDevice = LR"(SYSTEM\CurrentControlSet\Enum\FENWRIGHT\TEST\1)";

/// A port in the system's list, and perhaps the device that it belongs to, as long as it lives.
class RegisteredPort {
 public:
  explicit RegisteredPort(const std::wstring& name) { Set(kList, L"fenwright-test", name); }
  ~RegisteredPort() {
    RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kList, L"fenwright-test");
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, LR"(SYSTEM\CurrentControlSet\Enum\FENWRIGHT)");
  }
  RegisteredPort(const RegisteredPort&) = delete;
  RegisteredPort& operator=(const RegisteredPort&) = delete;

  void BelongsTo(const std::wstring& friendly_name, const std::wstring& port) {
    Set(kDevice, L"Class", L"Ports");
    Set(kDevice, L"ClassGUID", L"{4d36e978-e325-11ce-bfc1-08002be10318}");
    Set(kDevice, L"FriendlyName", friendly_name);
    Set(std::wstring(kDevice) + LR"(\Device Parameters)", L"PortName", port);
  }

 private:
  static void Set(const std::wstring& key, const wchar_t* name, const std::wstring& value) {
    const auto size = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
    EXPECT_EQ(RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), name, REG_SZ, value.c_str(), size),
              0);
  }
};

PortInfo Describe(const std::string& path) {
  return MakeSystemPortInfos([&](int) { return path; })->Describe(7);
}

TEST(TheSystemsPorts, ANumberWithoutAPathIsMissing) {
  const PortInfo info = Describe("");
  EXPECT_EQ(info.Number, 7);
  EXPECT_EQ(info.State, PortState::Missing);
}

TEST(TheSystemsPorts, APortThatNoDriverHasEnteredIsMissingAndTheReasonNamesIt) {
  const PortInfo info = Describe(R"(\\.\COM18)");
  EXPECT_EQ(info.State, PortState::Missing);
  EXPECT_EQ(info.Path, R"(\\.\COM18)");
  EXPECT_TRUE(info.Reason.starts_with("COM18 がありません。")) << info.Reason;
}

TEST(TheSystemsPorts, APortInTheSystemsListIsUsable) {
  const RegisteredPort port(L"COM18");
  const PortInfo info = Describe(R"(\\.\COM18)");
  EXPECT_EQ(info.State, PortState::Usable);
  EXPECT_EQ(info.Reason, "");
  EXPECT_EQ(Describe(R"(\\.\com18)").State, PortState::Usable);
}

TEST(TheSystemsPorts, ADeviceSaysInItsMakersWordsWhatItIs) {
  RegisteredPort port(L"COM18");
  port.BelongsTo(L"USB シリアル アダプター (COM18)", L"COM18");
  EXPECT_EQ(Describe(R"(\\.\COM18)").Description, "USB シリアル アダプター");
}

TEST(TheSystemsPorts, TheWordsOfAnotherPortsDeviceDoNotCount) {
  RegisteredPort port(L"COM18");
  port.BelongsTo(L"USB Serial Port (COM1)", L"COM1");
  EXPECT_EQ(Describe(R"(\\.\COM18)").Description, "");
}

TEST(TheSystemsPorts, APathMayNameADeviceThatIsNoComPort) {
  EXPECT_EQ(Describe(R"(\\.\NUL)").State, PortState::Usable);
}

}  // namespace
}  // namespace fenwright::platform
