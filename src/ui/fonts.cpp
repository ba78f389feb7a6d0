#include "ui/fonts.h"

#include <QApplication>
#include <QFontDatabase>
#include <QStringList>

namespace fenwright::ui {
namespace {

constexpr double kInterfacePoints = 9;

struct CellDesign {
  double Points;
  double Spacing;  ///< pixels added to each cell
};

/// Small and tight enough for a whole line of the flash dump, 62 cells, in the view's default
/// width.
constexpr CellDesign kMonospaced{.Points = 8, .Spacing = -0.18};

/// The same for a line of the EEPROM dump, 70 cells.
constexpr CellDesign kNarrowMonospaced{.Points = 7.5, .Spacing = -0.3};

QStringList Installed(const QStringList& wanted) {
  QStringList found;
  for (const QString& family : wanted) {
    // A font can be known by its English and by its Japanese name.
    if (QFontDatabase::hasFamily(family)) found.append(family);
  }
  return found;
}

QFont Monospaced(const CellDesign& cell) {
  // DejaVu comes last: it has no half-width katakana, and the letters of another font that stand
  // in for them are of another width.
  const QStringList families =
      Installed({"MS Gothic", "Noto Sans Mono CJK JP", "VL Gothic", "DejaVu Sans Mono"});
  QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  if (!families.isEmpty()) font.setFamilies(families);
  font.setStyleHint(QFont::Monospace);
  font.setFixedPitch(true);
  font.setPointSizeF(cell.Points);
  font.setLetterSpacing(QFont::AbsoluteSpacing, cell.Spacing);
  return font;
}

}  // namespace

void ApplyInterfaceFont(QApplication& /*application*/) {
  // The system's own come first: the Windows fonts are not found elsewhere.
  const QStringList families = Installed(
      {"Yu Gothic UI", "Meiryo UI", "MS UI Gothic", "Noto Sans CJK JP", "VL Gothic", "IPAPGothic"});
  QFont font = QApplication::font();
  if (!families.isEmpty()) font.setFamilies(families);
  font.setPointSizeF(kInterfacePoints);
  QApplication::setFont(font);
}

QFont MonospacedFont() { return Monospaced(kMonospaced); }

QFont NarrowMonospacedFont() { return Monospaced(kNarrowMonospaced); }

QFont MonospacedInterfaceFont() {
  return Monospaced({.Points = QApplication::font().pointSizeF(), .Spacing = 0});
}

}  // namespace fenwright::ui
