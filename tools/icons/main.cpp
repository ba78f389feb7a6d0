// Writes the program's icon as pictures of all sizes that desktops, and Windows, ask for.
//
//   fenwright-icons FOLDER    writes FOLDER/<size>x<size>/apps/fenwright.png

#include <iostream>

#include <QDir>
#include <QGuiApplication>
#include <QIcon>
#include <QPixmap>

#include "ui/icons.h"

namespace {

constexpr int kSizes[] = {16, 20, 22, 24, 32, 40, 48, 64, 128, 256};

bool WritePicture(const QString& folder, int size) {
  const QString place = QString("%1/%2x%2/apps").arg(folder).arg(size);
  return QDir().mkpath(place) &&
         fenwright::ui::ChipIcon().pixmap(QSize(size, size)).save(place + "/fenwright.png");
}

}  // namespace

int main(int argc, char** argv) {
  const QGuiApplication application(argc, argv);
  const QStringList arguments = QCoreApplication::arguments();
  if (arguments.size() != 2) {
    std::cerr << "usage: fenwright-icons FOLDER\n";
    return 2;
  }
  for (const int size : kSizes) {
    if (WritePicture(arguments.at(1), size)) continue;
    std::cerr << "fenwright-icons: cannot write into " << arguments.at(1).toStdString() << '\n';
    return 1;
  }
  return 0;
}
