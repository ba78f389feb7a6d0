#include "ui/app_folder.h"

#include <QDir>
#include <QFile>

#include "platform/temporary_folder.h"
#include "support/prelude.h"
#include "ui/text.h"

namespace fenwright::ui {
namespace {

QString Path(const platform::TemporaryFolder& folder) { return ToQString(folder.Path()); }

/// A place where no folder can be, not even for root.
QString BelowAFile(const platform::TemporaryFolder& folder) {
  QFile file(Path(folder) + "/file");
  EXPECT_TRUE(file.open(QIODevice::WriteOnly));
  return file.fileName() + "/sub";
}

TEST(AppFolder, AGivenFolderWinsAndEndsWithTheSeparator) {
  const platform::TemporaryFolder given;
  const platform::TemporaryFolder program;
  EXPECT_EQ(FindAppFolder(Path(given), Path(program)), Path(given) + QDir::separator());
  EXPECT_EQ(FindAppFolder(Path(given) + '/', Path(program)), Path(given) + QDir::separator());
}

TEST(AppFolder, AGivenFolderIsCreated) {
  const platform::TemporaryFolder given;
  EXPECT_EQ(FindAppFolder(Path(given) + "/新しい", {}), Path(given) + "/新しい/");
  EXPECT_TRUE(QDir(Path(given) + "/新しい").exists());
}

TEST(AppFolder, AGivenFolderThatCannotBeUsedIsNotReplacedByAnother) {
  const platform::TemporaryFolder folder;
  EXPECT_EQ(FindAppFolder(BelowAFile(folder), Path(folder)), std::nullopt);
}

TEST(AppFolder, TheProgramsOwnFolderIsTakenWhenItCanBeWritten) {
  const platform::TemporaryFolder program;
  EXPECT_EQ(FindAppFolder({}, Path(program)), Path(program) + QDir::separator());
  EXPECT_TRUE(QDir(Path(program)).isEmpty());
}

TEST(AppFolder, TheUsersDataFolderIsTakenWhenTheProgramsOwnCannotBeWritten) {
  const platform::TemporaryFolder folder;
  const std::optional<QString> found = FindAppFolder({}, BelowAFile(folder));
  ASSERT_TRUE(found);
  EXPECT_TRUE(found->startsWith(qEnvironmentVariable("XDG_DATA_HOME"))) << found->toStdString();
  EXPECT_TRUE(found->endsWith(QString("FenwrightV6") + QDir::separator()));
  EXPECT_TRUE(QDir(*found).exists());
}

}  // namespace
}  // namespace fenwright::ui
