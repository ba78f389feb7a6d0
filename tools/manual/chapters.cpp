#include "manual/chapters.h"

#include <algorithm>
#include <optional>

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace fenwright::manual {
namespace {

std::optional<QString> ReadText(const QString& path) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) return std::nullopt;
  return QString::fromUtf8(file.readAll()).remove('\r');
}

QStringList Listed(const QString& contents) {
  QStringList files;
  for (const QString& line : contents.split('\n')) {
    if (!line.trimmed().isEmpty()) files.append(line.trimmed());
  }
  return files;
}

bool IsChapterHeading(const Block& block) {
  return block.Kind == BlockKind::Heading && block.Level == 1;
}

/// What is wrong with a chapter, "" = nothing. Picture paths become absolute.
QString Check(Chapter& chapter, const QString& folder) {
  const auto headings = std::ranges::count_if(chapter.Blocks, IsChapterHeading);
  if (headings != 1 || !IsChapterHeading(chapter.Blocks.constFirst())) {
    return chapter.File + ": the chapter has to start with its one heading \"# \"";
  }
  for (Block& block : chapter.Blocks) {
    if (block.Kind != BlockKind::Picture) continue;
    const QString path = QDir(folder).absoluteFilePath(block.Path);
    if (!QFileInfo(path).isFile()) {
      return QString("%1:%2: the picture %3 is missing")
          .arg(chapter.File)
          .arg(block.Line)
          .arg(path);
    }
    block.Path = path;
  }
  return {};
}

}  // namespace

Chapters ReadChapters(const QString& folder) {
  Chapters chapters;
  const QString contents_path = folder + '/' + kContentsFile;
  const std::optional<QString> contents = ReadText(contents_path);
  if (!contents) {
    chapters.Error = contents_path + " cannot be read";
    return chapters;
  }
  const QStringList files = Listed(*contents);
  if (files.isEmpty()) chapters.Error = contents_path + " lists no chapter";
  for (const QString& file : QDir(folder).entryList({"*.md"}, QDir::Files, QDir::Name)) {
    if (!files.contains(file)) chapters.Error = file + " is not listed in " + contents_path;
  }
  for (const QString& file : files) {
    if (!chapters.Error.isEmpty()) break;
    const std::optional<QString> text = ReadText(folder + '/' + file);
    if (!text) {
      chapters.Error = "the chapter " + folder + '/' + file + " is missing";
      break;
    }
    const Markdown markdown = ReadMarkdown(*text);
    if (!markdown.Error.isEmpty() || markdown.Blocks.isEmpty()) {
      chapters.Error = file + ':' + (markdown.Blocks.isEmpty() ? " is empty" : markdown.Error);
      break;
    }
    Chapter chapter{.File = file,
                    .Title = PlainText(markdown.Blocks.constFirst().Text),
                    .Blocks = markdown.Blocks};
    chapters.Error = Check(chapter, folder);
    chapters.List.append(chapter);
  }
  return chapters;
}

}  // namespace fenwright::manual
