// Writes the program's icon in the sizes that Windows asks for.
//
//   fenwright-windows-icon FILE.ico

#include <iostream>

#include <QBuffer>
#include <QDataStream>
#include <QFile>
#include <QGuiApplication>
#include <QIcon>
#include <QList>
#include <QPixmap>

#include "ui/icons.h"

namespace {

/// From the list view at usual scale to the desktop at the highest.
constexpr int kSizes[] = {16, 20, 24, 32, 40, 48, 64, 128, 256};

QByteArray PngOf(const QIcon& icon, int size) {
  QByteArray png;
  QBuffer buffer(&png);
  buffer.open(QIODevice::WriteOnly);
  icon.pixmap(QSize(size, size)).save(&buffer, "PNG");
  return png;
}

/// A table of the pictures, then the pictures themselves.
QByteArray IconFile(const QIcon& icon) {
  constexpr quint16 kTypeIcon = 1;
  constexpr quint32 kHeaderSize = 6;
  constexpr quint32 kEntrySize = 16;
  constexpr quint16 kPlanes = 1;
  constexpr quint16 kBitsPerPixel = 32;
  QByteArray file;
  QDataStream out(&file, QIODevice::WriteOnly);
  out.setByteOrder(QDataStream::LittleEndian);
  QList<QByteArray> pictures;
  for (const int size : kSizes) pictures.append(PngOf(icon, size));
  out << quint16{0} << kTypeIcon << static_cast<quint16>(pictures.size());
  quint32 offset = kHeaderSize + kEntrySize * static_cast<quint32>(pictures.size());
  for (qsizetype i = 0; i < pictures.size(); ++i) {
    const auto side = static_cast<quint8>(kSizes[i]);  // 256 is written as 0
    const auto length = static_cast<quint32>(pictures[i].size());
    out << side << side << quint8{0} << quint8{0} << kPlanes << kBitsPerPixel << length << offset;
    offset += length;
  }
  for (const QByteArray& picture : pictures) {
    out.writeRawData(picture.constData(), static_cast<int>(picture.size()));
  }
  return file;
}

}  // namespace

int main(int argc, char** argv) {
  const QGuiApplication application(argc, argv);
  if (argc != 2) {
    std::cerr << "usage: fenwright-windows-icon FILE.ico\n";
    return 2;
  }
  QFile file(QString::fromLocal8Bit(argv[1]));
  const QByteArray content = IconFile(fenwright::ui::ChipIcon());
  const bool written =
      file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.flush();
  if (!written) std::cerr << "fenwright-windows-icon: " << file.errorString().toStdString() << '\n';
  return written ? 0 : 1;
}
