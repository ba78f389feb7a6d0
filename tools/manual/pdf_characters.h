#pragma once

#include <QByteArray>
#include <QString>

namespace fenwright::manual {

/// Corrects what a PDF of QPdfWriter says its glyphs are. Where characters share a glyph, as a
/// Chinese character and the radical of its form do, QPdfWriter names the first one of Unicode,
/// so that searching and copying fail. It becomes the one that `text` uses.
void NameUsedCharacters(QByteArray& pdf, const QString& text, const QString& font_family);

}  // namespace fenwright::manual
