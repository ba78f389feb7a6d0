#include <QApplication>

#include "support/prelude.h"
#include "ui/fonts.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  QCoreApplication::setApplicationName("FenwrightV6");
  fenwright::ui::ApplyInterfaceFont(application);
  return RUN_ALL_TESTS();
}
