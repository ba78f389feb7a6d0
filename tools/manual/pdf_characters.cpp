#include "manual/pdf_characters.h"

#include <QFont>
#include <QHash>
#include <QRawFont>
#include <QSet>

namespace fenwright::manual {
namespace {

quint32 GlyphOf(const QRawFont& font, QChar character) {
  const QList<quint32> glyphs = font.glyphIndexesForString(QString(character));
  return glyphs.size() == 1 ? glyphs.constFirst() : 0;
}

}  // namespace

void NameUsedCharacters(QByteArray& pdf, const QString& text, const QString& font_family) {
  const QRawFont font = QRawFont::fromFont(QFont(font_family));
  const QSet<QChar> used(text.begin(), text.end());
  QHash<quint32, QChar> used_of_glyph;
  for (const QChar character : used) used_of_glyph.insert(GlyphOf(font, character), character);
  used_of_glyph.remove(0);

  qsizetype at = 0;
  while ((at = pdf.indexOf("beginbfrange", at)) >= 0) {
    const qsizetype end = pdf.indexOf("endbfrange", at);
    if (end < 0) return;
    // Only lists are looked at: "<first> <last> [<code> <code> ...]".
    qsizetype list = at;
    while ((list = pdf.indexOf('[', list)) >= 0 && list < end) {
      const qsizetype list_end = pdf.indexOf(']', list);
      for (qsizetype start = pdf.indexOf('<', list); start >= 0 && start < list_end;
           start = pdf.indexOf('<', start + 1)) {
        const QChar named(pdf.mid(start + 1, 4).toUShort(nullptr, 16));
        if (used.contains(named)) continue;
        const QChar wanted = used_of_glyph.value(GlyphOf(font, named), named);
        const QByteArray digits = QByteArray::number(wanted.unicode(), 16).toUpper();
        pdf.replace(start + 1, 4, digits.rightJustified(4, '0'));
      }
      list = list_end;
    }
    at = end;
  }
}

}  // namespace fenwright::manual
