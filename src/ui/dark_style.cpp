#include "ui/dark_style.h"

#include <QApplication>
#include <QPalette>
#include <QStyleOption>

namespace fenwright::ui {
namespace {

/// The style that is drawn by Qt alone, on every system.
constexpr const char* kUsualStyle = "fusion";

bool IsDark(const QPalette& palette) {
  return palette.window().color().lightness() < palette.windowText().color().lightness();
}

/// A colour that is a clear line on the window, even after the style has darkened it.
QColor LineColour(const QPalette& palette) {
  constexpr int kPercent = 85;
  const QColor window = palette.window().color();
  const QColor text = palette.windowText().color();
  const auto mixed = [](int from, int to) { return from + (to - from) * kPercent / 100; };
  return {mixed(window.red(), text.red()), mixed(window.green(), text.green()),
          mixed(window.blue(), text.blue())};
}

/// Lines only: what these elements fill is not in the colour of the window.
bool IsOutlined(QStyle::PrimitiveElement element) {
  return element == QStyle::PE_FrameLineEdit || element == QStyle::PE_IndicatorRadioButton ||
         element == QStyle::PE_IndicatorCheckBox;
}

}  // namespace

void DarkStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option,
                              QPainter* painter, const QWidget* widget) const {
  if (!IsOutlined(element) || !IsDark(option->palette)) {
    QProxyStyle::drawPrimitive(element, option, painter, widget);
    return;
  }
  const auto draw = [&](auto visible) {
    visible.palette.setColor(QPalette::Window, LineColour(option->palette));
    QProxyStyle::drawPrimitive(element, &visible, painter, widget);
  };
  // A check box is drawn by what its own kind of option says, and not at all without it.
  const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option);
  if (button) {
    draw(QStyleOptionButton(*button));
  } else {
    draw(QStyleOption(*option));
  }
}

void DarkStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                                   QPainter* painter, const QWidget* widget) const {
  const auto* title = qstyleoption_cast<const QStyleOptionTitleBar*>(option);
  if (control != CC_TitleBar || !title || !IsDark(option->palette)) {
    QProxyStyle::drawComplexControl(control, option, painter, widget);
    return;
  }
  QStyleOptionTitleBar visible(*title);
  // An active title is white, with a shadow in the colour of texts: two white ones would blur.
  visible.palette.setColor(QPalette::Text, option->palette.window().color());
  // It has white buttons, and the highlight is all that tells it from the others.
  if ((title->titleBarState & State_Active) == 0) {
    visible.titleBarState |= State_Active;
    visible.palette.setColor(QPalette::Highlight, option->palette.window().color());
  }
  QProxyStyle::drawComplexControl(control, &visible, painter, widget);
}

void ApplyDarkStyle(QApplication& /*application*/) {
  if (QApplication::style()->name() != kUsualStyle) return;
  QApplication::setStyle(new DarkStyle(kUsualStyle));
}

}  // namespace fenwright::ui
