#include "ui/fonts.h"

#include <QApplication>
#include <QFontDatabase>
#include <QStringList>

namespace fenwright::ui {
namespace {

constexpr double kInterfacePoints = 9;

/// Small and tight enough for a whole line of the flash dump, 62 cells, in the view's default
/// width.
constexpr double kMonospacedPoints = 8;
constexpr double kMonospacedSpacing = -0.15;  ///< pixels added to each cell

QStringList Installed(const QStringList& wanted) {
  QStringList found;
  for (const QString& family : wanted) {
    // A font can be known by its English and by its Japanese name.
    if (QFontDatabase::hasFamily(family)) found.append(family);
  }
  return found;
}

}  // namespace

void ApplyInterfaceFont(QApplication& application) {
  // The system's own come first: the Windows fonts are not found elsewhere.
  const QStringList families = Installed(
      {"Yu Gothic UI", "Meiryo UI", "MS UI Gothic", "Noto Sans CJK JP", "VL Gothic", "IPAPGothic"});
  QFont font = QApplication::font();
  if (!families.isEmpty()) font.setFamilies(families);
  font.setPointSizeF(kInterfacePoints);
  application.setFont(font);
}

QFont MonospacedFont() {
  // DejaVu comes last: it has no half-width katakana, and the letters of another font that stand
  // in for them are of another width.
  const QStringList families =
      Installed({"MS Gothic", "Noto Sans Mono CJK JP", "VL Gothic", "DejaVu Sans Mono"});
  QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  if (!families.isEmpty()) font.setFamilies(families);
  font.setStyleHint(QFont::Monospace);
  font.setFixedPitch(true);
  font.setPointSizeF(kMonospacedPoints);
  font.setLetterSpacing(QFont::AbsoluteSpacing, kMonospacedSpacing);
  return font;
}

}  // namespace fenwright::ui
