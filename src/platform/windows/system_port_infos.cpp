#include "platform/system/system_port_infos.h"

#include <array>
#include <string_view>
#include <utility>
#include <windows.h>
// After windows.h, which it needs.
#include <setupapi.h>

#include "platform/windows/port_failure.h"
#include "platform/windows/wide_text.h"

namespace fenwright::platform {
namespace {

/// The class of ports, serial and parallel, among the devices.
constexpr GUID kPortsClass = {
    0x4D36E978, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};

using Text = std::array<wchar_t, 512>;

bool IsSameName(const std::wstring& one, const std::wstring& other) {
  return CompareStringOrdinal(one.c_str(), -1, other.c_str(), -1, TRUE) == CSTR_EQUAL;
}

std::wstring TextValue(HKEY key, const wchar_t* name) {
  Text text{};
  DWORD size = sizeof text;
  if (RegGetValueW(key, nullptr, name, RRF_RT_REG_SZ, nullptr, text.data(), &size) != 0) return L"";
  return text.data();
}

/// The list that every driver of a serial port enters its ports in.
bool IsListed(const std::wstring& name) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, LR"(HARDWARE\DEVICEMAP\SERIALCOMM)", 0, KEY_READ, &key) !=
      0) {
    return false;
  }
  bool found = false;
  Text entry{};
  DWORD length = static_cast<DWORD>(entry.size());
  for (DWORD i = 0; !found && RegEnumValueW(key, i, entry.data(), &length, nullptr, nullptr,
                                            nullptr, nullptr) == 0;
       ++i) {
    found = IsSameName(TextValue(key, entry.data()), name);
    length = static_cast<DWORD>(entry.size());
  }
  RegCloseKey(key);
  return found;
}

/// Any name of a device, as those that a path on the command line gives.
bool IsDevice(const std::wstring& name) {
  Text target{};
  return QueryDosDeviceW(name.c_str(), target.data(), static_cast<DWORD>(target.size())) != 0;
}

std::wstring PortNameOf(HDEVINFO devices, SP_DEVINFO_DATA& device) {
  HKEY key = SetupDiOpenDevRegKey(devices, &device, DICS_FLAG_GLOBAL, 0, DIREG_DEV, KEY_READ);
  if (key == INVALID_HANDLE_VALUE) return L"";
  std::wstring name = TextValue(key, L"PortName");
  RegCloseKey(key);
  return name;
}

/// "USB Serial Port (COM3)" without the name that everybody sees already.
std::string FriendlyNameOf(HDEVINFO devices, SP_DEVINFO_DATA& device, const std::wstring& port) {
  Text text{};
  constexpr DWORD kSize = sizeof text - sizeof(wchar_t);
  if (SetupDiGetDeviceRegistryPropertyW(devices, &device, SPDRP_FRIENDLYNAME, nullptr,
                                        reinterpret_cast<BYTE*>(text.data()), kSize,
                                        nullptr) == 0) {
    return "";
  }
  std::wstring_view name = text.data();
  const std::wstring suffix = L" (" + port + L")";
  if (name.ends_with(suffix)) name.remove_suffix(suffix.size());
  return FromWide(name);
}

/// The adapter in its maker's words, "" when the system has none.
std::string DescriptionOf(const std::wstring& port) {
  HDEVINFO devices = SetupDiGetClassDevsW(&kPortsClass, nullptr, nullptr, DIGCF_PRESENT);
  if (devices == INVALID_HANDLE_VALUE) return "";
  std::string description;
  SP_DEVINFO_DATA device{};
  device.cbSize = sizeof device;
  for (DWORD i = 0; SetupDiEnumDeviceInfo(devices, i, &device) != 0; ++i) {
    if (!IsSameName(PortNameOf(devices, device), port)) continue;
    description = FriendlyNameOf(devices, device, port);
    break;
  }
  SetupDiDestroyDeviceInfoList(devices);
  return description;
}

/// The system does not tell who has a port open, so a port that is there counts as usable.
class WindowsPortInfos final : public PortInfos {
 public:
  explicit WindowsPortInfos(std::function<std::string(int)> path_of)
      : path_of_(std::move(path_of)) {}

  PortInfo Describe(int number) override {
    PortInfo info;
    info.Number = number;
    info.Path = path_of_(number);
    if (info.Path.empty()) return info;
    const std::wstring name = ToWide(PortName(info.Path));
    if (IsListed(name) || IsDevice(name)) {
      info.State = PortState::Usable;
      info.Description = DescriptionOf(name);
    } else {
      info.Reason = DescribePortFailure(info.Path, ERROR_FILE_NOT_FOUND).Reason;
    }
    return info;
  }

 private:
  std::function<std::string(int)> path_of_;
};

}  // namespace

std::unique_ptr<PortInfos> MakeSystemPortInfos(std::function<std::string(int)> path_of) {
  return std::make_unique<WindowsPortInfos>(std::move(path_of));
}

}  // namespace fenwright::platform
