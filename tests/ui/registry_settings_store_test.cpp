#include <cstring>
#include <windows.h>
// After what they need.
#include <aclapi.h>
#include <sddl.h>

#include "platform/settings_store_contract.h"
#include "support/prelude.h"
#include "ui/qt_settings_store.h"
#include "ui/text.h"

namespace fenwright::ui {
namespace {

/// An application that is nobody's, one for each run of the tests.
std::wstring Application() { return L"FenwrightTest-" + std::to_wstring(GetCurrentProcessId()); }

/// The place of its settings in the registry, which is removed with them.
class RegistryPlace {
 public:
  RegistryPlace() { Remove(); }
  ~RegistryPlace() { Remove(); }
  RegistryPlace(const RegistryPlace&) = delete;
  RegistryPlace& operator=(const RegistryPlace&) = delete;

  static QtSettingsStore Store() {
    return QtSettingsStore::ForApplication(QString::fromStdWString(Application()));
  }

  [[nodiscard]] std::wstring Path() const { return L"Software\\" + Application(); }

  [[nodiscard]] std::wstring Section(const wchar_t* section) const {
    return Path() + L"\\" + section;
  }

  /// A text as it stands in the registry, and nothing else than a text.
  [[nodiscard]] std::wstring Text(const wchar_t* section, const wchar_t* name) const {
    std::wstring text(512, L'\0');
    DWORD size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
    EXPECT_EQ(RegGetValueW(HKEY_CURRENT_USER, Section(section).c_str(), name, RRF_RT_REG_SZ,
                           nullptr, text.data(), &size),
              ERROR_SUCCESS);
    return text.c_str();
  }

  void Set(const wchar_t* section, const wchar_t* name, DWORD type, const void* data,
           std::size_t size) const {
    EXPECT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, Section(section).c_str(), name, type, data,
                              static_cast<DWORD>(size)),
              ERROR_SUCCESS);
  }

 private:
  void Remove() const { RegDeleteTreeW(HKEY_CURRENT_USER, Path().c_str()); }
};

/// A store in the registry together with its place.
class StoreInRegistry final : public platform::SettingsStore {
 public:
  [[nodiscard]] std::optional<std::string> Read(std::string_view section,
                                                std::string_view key) const override {
    return store_.Read(section, key);
  }
  bool Write(std::string_view section, std::string_view key, std::string_view value) override {
    return store_.Write(section, key, value);
  }

 private:
  RegistryPlace place_;
  QtSettingsStore store_ = RegistryPlace::Store();
};

TEST(TheRegistryStore, IsNamedAfterTheApplicationBelowTheUsersSoftware) {
  const RegistryPlace place;
  EXPECT_EQ(QtSettingsStore::ForApplication("FenwrightV6").Location(),
            "\\HKEY_CURRENT_USER\\Software\\FenwrightV6");
  EXPECT_EQ(RegistryPlace::Store().Location().toStdWString(),
            L"\\HKEY_CURRENT_USER\\" + place.Path());
}

TEST(TheRegistryStore, HasAKeyForEachSectionAndATextForEachValue) {
  const RegistryPlace place;
  QtSettingsStore store = RegistryPlace::Store();
  EXPECT_TRUE(store.Write("Settings", "ComNox", "3"));
  EXPECT_TRUE(store.Write("Settings6", "ComNox", "14"));
  EXPECT_TRUE(store.Write("Ports", "COM3", R"(\\.\COM25)"));
  EXPECT_EQ(place.Text(L"Settings", L"ComNox"), L"3");
  EXPECT_EQ(place.Text(L"Settings6", L"ComNox"), L"14");
  EXPECT_EQ(place.Text(L"Ports", L"COM3"), LR"(\\.\COM25)");
}

TEST(TheRegistryStore, ValuesAreThereAfterARestart) {
  const RegistryPlace place;
  EXPECT_TRUE(RegistryPlace::Store().Write("Settings", "OPEN_DIR",
                                           R"(D:\利用者\新しいフォルダ\ソース, 表\)"));
  EXPECT_EQ(place.Text(L"Settings", L"OPEN_DIR"), LR"(D:\利用者\新しいフォルダ\ソース, 表\)");
  EXPECT_EQ(RegistryPlace::Store().Read("Settings", "OPEN_DIR"),
            R"(D:\利用者\新しいフォルダ\ソース, 表\)");
}

TEST(TheRegistryStore, ReadsTextsThatOthersWrote) {
  const RegistryPlace place;
  const std::wstring text = LR"(C:\表, 予定)";
  place.Set(L"Settings", L"OPEN_DIR", REG_SZ, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
  place.Set(L"Settings", L"SAVE_DIR", REG_SZ, L"", sizeof(wchar_t));
  EXPECT_EQ(RegistryPlace::Store().Read("Settings", "OPEN_DIR"), R"(C:\表, 予定)");
  EXPECT_EQ(RegistryPlace::Store().Read("Settings", "SAVE_DIR"), "");
}

TEST(TheRegistryStore, ReadsANumberAsDecimalTextAndWritesItAsText) {
  const RegistryPlace place;
  const DWORD number = 12;
  place.Set(L"Settings", L"ComNox", REG_DWORD, &number, sizeof number);
  QtSettingsStore store = RegistryPlace::Store();
  EXPECT_EQ(store.Read("Settings", "ComNox"), "12");
  EXPECT_TRUE(store.Write("Settings", "ComNox", "7"));
  EXPECT_EQ(place.Text(L"Settings", L"ComNox"), L"7");
}

TEST(TheRegistryStore, SeesWhatAnotherRunWrites) {
  const RegistryPlace place;
  const QtSettingsStore store = RegistryPlace::Store();
  EXPECT_EQ(store.Read("Settings", "device"), std::nullopt);
  RegistryPlace::Store().Write("Settings", "device", "5");
  EXPECT_EQ(store.Read("Settings", "device"), "5");
}

TEST(TheRegistryStore, OfAnotherApplicationIsAnother) {
  const RegistryPlace place;
  const QString other_name = QString::fromStdWString(Application()) + "-simulated";
  QtSettingsStore store = RegistryPlace::Store();
  QtSettingsStore other = QtSettingsStore::ForApplication(other_name);
  store.Write("Settings", "device", "7");
  other.Write("Settings", "device", "2");
  EXPECT_EQ(store.Read("Settings", "device"), "7");
  EXPECT_EQ(other.Read("Settings", "device"), "2");
  RegDeleteTreeW(HKEY_CURRENT_USER, ("Software\\" + other_name).toStdWString().c_str());
}

/// A key that everybody may read and nobody may write, as long as the object lives.
class WriteProtectedKey {
 public:
  explicit WriteProtectedKey(const std::wstring& path) {
    EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_READ | WRITE_DAC,
                              nullptr, &key_, nullptr),
              ERROR_SUCCESS);
    Allow(L"D:P(A;CI;KR;;;WD)");
  }
  ~WriteProtectedKey() {
    Allow(L"D:P(A;CI;KA;;;WD)");
    RegCloseKey(key_);
  }
  WriteProtectedKey(const WriteProtectedKey&) = delete;
  WriteProtectedKey& operator=(const WriteProtectedKey&) = delete;

 private:
  void Allow(const wchar_t* rights) {
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    ASSERT_NE(ConvertStringSecurityDescriptorToSecurityDescriptorW(rights, SDDL_REVISION_1,
                                                                   &descriptor, nullptr),
              0);
    EXPECT_EQ(RegSetKeySecurity(key_, DACL_SECURITY_INFORMATION, descriptor), ERROR_SUCCESS);
    LocalFree(descriptor);
  }

  HKEY key_ = nullptr;
};

bool CanBeWritten(const std::wstring& path) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_WRITE, &key) != ERROR_SUCCESS) {
    return false;
  }
  RegCloseKey(key);
  return true;
}

TEST(TheRegistryStore, ThatCannotBeWrittenIsReportedAndKeepsTheValueForTheRun) {
  const RegistryPlace place;
  ASSERT_TRUE(RegistryPlace::Store().Write("Settings", "device", "1"));
  const WriteProtectedKey section(place.Section(L"Settings"));
  const WriteProtectedKey store_key(place.Path());
  if (CanBeWritten(place.Path()) || CanBeWritten(place.Section(L"Settings"))) {
    GTEST_SKIP() << "This system lets everybody write everywhere";
  }
  QtSettingsStore store = RegistryPlace::Store();
  EXPECT_EQ(store.Read("Settings", "device"), "1");
  EXPECT_FALSE(store.Write("Settings", "device", "3"));
  EXPECT_EQ(store.Read("Settings", "device"), "3");
  EXPECT_EQ(place.Text(L"Settings", L"device"), L"1");
}

}  // namespace
}  // namespace fenwright::ui

namespace fenwright::platform {
namespace {

INSTANTIATE_TEST_SUITE_P(Registry, SettingsStoreContract,
                         ::testing::Values(SettingsStoreImplementation{
                             "Registry", [] { return std::make_unique<ui::StoreInRegistry>(); }}),
                         [](const auto& implementation) { return implementation.param.Name; });

}  // namespace
}  // namespace fenwright::platform
