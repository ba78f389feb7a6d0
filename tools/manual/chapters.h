#pragma once

#include <QList>
#include <QString>

#include "manual/markdown.h"

namespace fenwright::manual {

/// One file of the manual's text. Its first block is its only heading of level 1.
struct Chapter {
  QString File;   ///< file name, for messages
  QString Title;  ///< plain text
  QList<Block> Blocks;
};

struct Chapters {
  QList<Chapter> List;
  QString Error;  ///< "" = none
};

/// Name of the file that lists the chapters' files in their order, one a line.
inline constexpr const char* kContentsFile = "contents.txt";

/// Reads the chapters of a folder. An error names the file: one that is listed and missing, or
/// there and not listed, a text that is not understood, a picture that is not there.
Chapters ReadChapters(const QString& folder);

}  // namespace fenwright::manual
