#pragma once

#include <QProxyStyle>

class QApplication;

namespace fenwright::ui {

/// The usual style, with lines that can be seen on a dark palette. The usual one darkens the colour
/// of the window for the outline of fields and option buttons, and writes the titles' buttons of
/// the child windows that are not active in black. On a light palette nothing is changed.
class DarkStyle final : public QProxyStyle {
 public:
  using QProxyStyle::QProxyStyle;

  void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
  void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                          QPainter* painter, const QWidget* widget) const override;
};

/// Draws with DarkStyle where the application draws its controls itself; a desktop that brings its
/// own style has one for its dark palettes.
void ApplyDarkStyle(QApplication& application);

}  // namespace fenwright::ui
