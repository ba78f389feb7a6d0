#include "ui/fonts.h"

#include <QFontDatabase>
#include <QFontMetricsF>

#include "support/prelude.h"

namespace fenwright::ui {
namespace {

TEST(Fonts, TheMiddleDotAndHalfWidthKatakanaTakeOneCell) {
  const QFontMetricsF metrics(MonospacedFont());
  const double cell = metrics.horizontalAdvance("0");
  for (const QString text : {"･", "ﾌ", "ﾟ", "W", ".", " "}) {
    EXPECT_DOUBLE_EQ(metrics.horizontalAdvance(text), cell) << text.toStdString();
  }
}

TEST(Fonts, ADumpLineOfDotsIsAsLongAsOneOfLetters) {
  const QFontMetricsF metrics(MonospacedFont());
  EXPECT_NEAR(metrics.horizontalAdvance(QString(16, QChar(0xFF65))),
              metrics.horizontalAdvance(QString(16, 'A')), 0.5);
}

}  // namespace
}  // namespace fenwright::ui
