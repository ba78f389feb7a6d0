// Makes the manual: fenwright-manual FOLDER OUT.pdf
//
// FOLDER holds contents.txt, the chapters and their pictures. Nothing is written when anything is
// missing or wrong.

#include <iostream>

#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QHashFunctions>
#include <QSaveFile>

#include "core/build_info.h"
#include "manual/chapters.h"
#include "manual/manual_pdf.h"

namespace {

constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;
constexpr const char* kTitlePicture = "images/window-program.png";

int Fail(const QString& message) {
  std::cerr << "fenwright-manual: " << message.toStdString() << '\n';
  return kExitFailed;
}

bool Write(const QString& path, const QByteArray& bytes) {
  QSaveFile file(path);
  return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit();
}

QString TitlePicture(const QString& folder) {
  const QString path = QDir(folder).absoluteFilePath(kTitlePicture);
  return QFileInfo(path).isFile() ? path : QString();
}

}  // namespace

int main(int argc, char** argv) {
  // QPdfWriter lists fonts as its hash tables do: the same text gives the same bytes.
  QHashSeed::setDeterministicGlobalSeed();
  QGuiApplication application(argc, argv);
  const QStringList arguments = QCoreApplication::arguments();
  if (arguments.size() != 3) {
    std::cerr << "usage: fenwright-manual FOLDER OUT.pdf\n";
    return kExitUsage;
  }
  const QString& folder = arguments.at(1);
  const QString& output = arguments.at(2);

  const fenwright::manual::Chapters chapters = fenwright::manual::ReadChapters(folder);
  if (!chapters.Error.isEmpty()) return Fail(chapters.Error);
  const fenwright::manual::Fonts fonts = fenwright::manual::FindFonts();
  if (fonts.Text.isEmpty() || fonts.Code.isEmpty()) {
    return Fail("no Japanese font is installed: on Debian the package fonts-noto-cjk has them");
  }
  const std::string version(fenwright::core::kVersion);
  const QByteArray pdf = fenwright::manual::MakePdf(
      chapters.List, {.Version = QString::fromStdString(version), .Picture = TitlePicture(folder)},
      fonts);
  if (pdf.isEmpty()) return Fail("the PDF could not be made");
  if (!Write(output, pdf)) return Fail(output + " cannot be written");
  return 0;
}
