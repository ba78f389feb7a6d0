#include <QDir>
#include <QFileInfo>

#include "support/prelude.h"
#include "ui/qt_settings_store.h"

namespace fenwright::ui {
namespace {

TEST(QtSettingsStore, ASimulatedRunHasAStoreOfItsOwn) {
  auto real = QtSettingsStore::ForApplication("FenwrightV6");
  auto simulated = QtSettingsStore::ForApplication("FenwrightV6-simulated");
  EXPECT_NE(real.Location(), simulated.Location());
  real.Write("Settings", "device", "7");
  simulated.Write("Settings", "device", "2");
  EXPECT_EQ(real.Read("Settings", "device"), "7");
  EXPECT_EQ(simulated.Read("Settings", "device"), "2");
}

TEST(QtSettingsStore, TheUsersStoreIsNamedAfterTheApplicationInTheConfigurationFolder) {
  const auto store = QtSettingsStore::ForApplication("FenwrightV6");
  EXPECT_EQ(QFileInfo(store.Location()).fileName(), "FenwrightV6.ini");
  EXPECT_EQ(QFileInfo(store.Location()).path(),
            QDir::cleanPath(qEnvironmentVariable("XDG_CONFIG_HOME")));
}

}  // namespace
}  // namespace fenwright::ui
