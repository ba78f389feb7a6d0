#include "ui/dark_style.h"

#include <QCheckBox>
#include <QImage>
#include <QLineEdit>
#include <QPainter>
#include <QRadioButton>
#include <QStyleOption>
#include <QWidget>

#include "support/prelude.h"

namespace fenwright::ui {
namespace {

const QColor kDarkWindow(0x35, 0x35, 0x35);
const QColor kDarkField(0x20, 0x20, 0x20);

QPalette DarkPalette() {
  QPalette palette(kDarkWindow, QColor(0x2B, 0x2B, 0x2B));
  palette.setColor(QPalette::Base, kDarkField);
  for (const QPalette::ColorRole role :
       {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(role, Qt::white);
  }
  return palette;
}

int Lightest(const QImage& picture, const QRect& area) {
  int lightest = 0;
  for (int y = area.top(); y <= area.bottom(); ++y) {
    for (int x = area.left(); x <= area.right(); ++x) {
      lightest = std::max(lightest, picture.pixelColor(x, y).lightness());
    }
  }
  return lightest;
}

QImage PictureOf(QWidget& widget, QStyle& style, const QPalette& palette) {
  widget.setStyle(&style);
  widget.setPalette(palette);
  widget.ensurePolished();
  return widget.grab().toImage();
}

TEST(DarkStyle, AnEmptyFieldHasAnOutlineOnADarkPalette) {
  DarkStyle style("fusion");
  QLineEdit field;
  field.resize(80, 24);
  EXPECT_GT(Lightest(PictureOf(field, style, DarkPalette()), field.rect()), 110);
}

TEST(DarkStyle, AnOptionThatIsNotChosenHasAnOutlineOnADarkPalette) {
  DarkStyle style("fusion");
  QRadioButton option;
  option.resize(24, 24);
  EXPECT_GT(Lightest(PictureOf(option, style, DarkPalette()), option.rect()), 110);
}

TEST(DarkStyle, ACheckBoxThatIsNotCheckedHasAnOutlineOnADarkPalette) {
  DarkStyle style("fusion");
  QCheckBox box;
  box.resize(20, 20);
  EXPECT_GT(Lightest(PictureOf(box, style, DarkPalette()), box.rect()), 110);
}

TEST(DarkStyle, TheButtonsOfAnInactiveTitleAreLightOnADarkPalette) {
  DarkStyle style("fusion");
  QStyleOptionTitleBar title;
  title.rect = QRect(0, 0, 200, 24);
  title.palette = DarkPalette();
  title.titleBarFlags = Qt::Window | Qt::WindowSystemMenuHint | Qt::WindowMinMaxButtonsHint;
  title.subControls = QStyle::SC_TitleBarMinButton;
  title.state = QStyle::State_Enabled;
  QImage picture(200, 24, QImage::Format_RGB32);
  picture.fill(kDarkWindow);
  QPainter painter(&picture);
  style.drawComplexControl(QStyle::CC_TitleBar, &title, &painter, nullptr);
  painter.end();
  const QRect button =
      style.subControlRect(QStyle::CC_TitleBar, &title, QStyle::SC_TitleBarMinButton, nullptr);
  EXPECT_GT(Lightest(picture, button.adjusted(3, 3, -3, -3)), 180);
  EXPECT_LT(picture.pixelColor(2, 12).lightness(), 100) << "the title is not highlighted";
}

TEST(DarkStyle, ALightPaletteLooksAsUsual) {
  DarkStyle style("fusion");
  QLineEdit field;
  field.resize(80, 24);
  QRadioButton option;
  option.resize(24, 24);
  const QPalette light(QColor(0xEF, 0xEF, 0xEF));
  QProxyStyle usual("fusion");
  EXPECT_EQ(PictureOf(field, style, light), PictureOf(field, usual, light));
  EXPECT_EQ(PictureOf(option, style, light), PictureOf(option, usual, light));
}

}  // namespace
}  // namespace fenwright::ui
