#include <QFile>

#include "platform/settings_store_contract.h"
#include "platform/temporary_folder.h"
#include "support/prelude.h"
#include "ui/qt_settings_store.h"
#include "ui/text.h"

namespace fenwright::platform {
namespace {

INSTANTIATE_TEST_SUITE_P(Qt, SettingsStoreContract,
                         ::testing::Values(SettingsStoreImplementation{
                             "IniFile",
                             [] {
                               static const TemporaryFolder folder;
                               const std::string path = folder.File("store.ini");
                               QFile::remove(ui::ToQString(path));
                               return std::make_unique<ui::QtSettingsStore>(ui::ToQString(path));
                             }}),
                         [](const auto& implementation) { return implementation.param.Name; });

}  // namespace
}  // namespace fenwright::platform

namespace fenwright::ui {
namespace {

QString InFolder(const platform::TemporaryFolder& folder, const char* name) {
  return ToQString(folder.File(name));
}

TEST(QtSettingsStore, ValuesAreThereAfterARestart) {
  const platform::TemporaryFolder folder;
  QtSettingsStore(InFolder(folder, "a.ini")).Write("Settings", "OPEN_DIR", "/home/利用者/a, b");
  EXPECT_EQ(QtSettingsStore(InFolder(folder, "a.ini")).Read("Settings", "OPEN_DIR"),
            "/home/利用者/a, b");
}

TEST(QtSettingsStore, ATextWithACommaTypedByHandIsReadWhole) {
  const platform::TemporaryFolder folder;
  QFile file(InFolder(folder, "a.ini"));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.write("[Settings]\ndevice=7, 8\n");
  file.close();
  EXPECT_EQ(QtSettingsStore(file.fileName()).Read("Settings", "device"), "7, 8");
}

TEST(QtSettingsStore, ATextWithACommaIsReadWholeHoweverQtWritesIt) {
  const platform::TemporaryFolder folder;
  QFile file(InFolder(folder, "a.ini"));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.write("[Settings]\nSAVE_DIR=\"@String(a\\0b)\", 8\n");
  file.close();
  EXPECT_EQ(QtSettingsStore(file.fileName()).Read("Settings", "SAVE_DIR"),
            std::string("a\0b, 8", 6));
}

TEST(QtSettingsStore, WritingWhereNothingCanBeWrittenIsReportedAndKeptForTheRun) {
  const platform::TemporaryFolder folder;
  QFile not_a_folder(InFolder(folder, "file"));
  ASSERT_TRUE(not_a_folder.open(QIODevice::WriteOnly));
  QtSettingsStore store(not_a_folder.fileName() + "/a.ini");
  EXPECT_FALSE(store.Write("Settings", "device", "3"));
  EXPECT_EQ(store.Read("Settings", "device"), "3");
}

}  // namespace
}  // namespace fenwright::ui
