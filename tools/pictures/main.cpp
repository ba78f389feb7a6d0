// Takes pictures of the program's windows and dialogs, each in a given state, on a simulated board.
//
//   fenwright-pictures [--dark] FOLDER [NAME...]
//   fenwright-pictures --list
//
// Without names it takes all of them. QT_SCALE_FACTOR sets the scale.

#include <algorithm>
#include <iostream>
#include <vector>

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QLibraryInfo>
#include <QLocale>
#include <QStyleFactory>
#include <QTranslator>

#include "core/settings_keys.h"
#include "pictures/pictures.h"
#include "ui/dark_style.h"
#include "ui/fonts.h"
#include "ui/text.h"

namespace {

using fenwright::pictures::AllPictures;
using fenwright::pictures::Picture;

void UseDarkPalette() {
  QPalette palette(QColor(0x35, 0x35, 0x35), QColor(0x2B, 0x2B, 0x2B));
  palette.setColor(QPalette::Base, QColor(0x20, 0x20, 0x20));
  palette.setColor(QPalette::AlternateBase, QColor(0x2B, 0x2B, 0x2B));
  palette.setColor(QPalette::WindowText, Qt::white);
  palette.setColor(QPalette::Text, Qt::white);
  palette.setColor(QPalette::ButtonText, Qt::white);
  palette.setColor(QPalette::ToolTipBase, QColor(0x35, 0x35, 0x35));
  palette.setColor(QPalette::ToolTipText, Qt::white);
  palette.setColor(QPalette::Highlight, QColor(0x2A, 0x82, 0xDA));
  palette.setColor(QPalette::HighlightedText, Qt::white);
  for (const QPalette::ColorRole role :
       {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(QPalette::Disabled, role, QColor(0x8A, 0x8A, 0x8A));
  }
  QApplication::setPalette(palette);
}

int Take(const std::vector<Picture>& pictures, const QString& folder, const QStringList& names) {
  if (!QDir().mkpath(folder)) {
    std::cerr << "fenwright-pictures: " << folder.toStdString() << " cannot be made\n";
    return 1;
  }
  for (const Picture& picture : pictures) {
    if (!names.isEmpty() && !names.contains(QString::fromStdString(picture.Name))) continue;
    const QImage image = picture.Take();
    const QString path = folder + '/' + QString::fromStdString(picture.Name) + ".png";
    if (image.isNull() || !image.convertToFormat(QImage::Format_RGB32).save(path)) {
      std::cerr << "fenwright-pictures: " << picture.Name << " could not be taken\n";
      return 1;
    }
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  QCoreApplication::setApplicationName(fenwright::ui::ToQString(fenwright::core::kApplicationName));
  QLocale::setDefault(QLocale(QLocale::Japanese, QLocale::Japan));
  QTranslator own_texts_of_qt;
  if (own_texts_of_qt.load("qtbase_ja", QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
    QCoreApplication::installTranslator(&own_texts_of_qt);
  }
  QApplication::setStyle(QStyleFactory::create("Fusion"));
  fenwright::ui::ApplyDarkStyle(application);
  fenwright::ui::ApplyInterfaceFont(application);

  QCommandLineParser parser;
  parser.addOptions({{"dark", "take them with a dark palette"}, {"list", "list the names"}});
  parser.addPositionalArgument("folder", "where the pictures go to");
  parser.addPositionalArgument("names", "which to take, all by default", "[names...]");
  parser.addHelpOption();
  parser.process(application);

  const std::vector<Picture> pictures = AllPictures();
  if (parser.isSet("list")) {
    for (const Picture& picture : pictures) std::cout << picture.Name << '\n';
    return 0;
  }
  QStringList names = parser.positionalArguments();
  if (names.isEmpty()) parser.showHelp(2);
  const QString folder = names.takeFirst();
  for (const QString& name : names) {
    if (std::ranges::find(pictures, name.toStdString(), &Picture::Name) == pictures.end()) {
      std::cerr << "fenwright-pictures: no picture " << name.toStdString() << '\n';
      return 2;
    }
  }
  if (parser.isSet("dark")) UseDarkPalette();
  return Take(pictures, folder, names);
}
