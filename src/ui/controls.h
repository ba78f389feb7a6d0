#pragma once

#include <string_view>

#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QWheelEvent>

#include "ui/text.h"

namespace fenwright::ui {

/// The names of a control, for tests and for screen readers, and its tool tip.
inline void Name(QWidget* control, const QString& object_name, const QString& accessible_name,
                 const QString& tool_tip = {}) {
  control->setObjectName(object_name);
  control->setAccessibleName(accessible_name);
  control->setToolTip(tool_tip);
}

/// A push button that is called what it says.
inline QPushButton* CaptionedButton(const QString& object_name, const QString& caption) {
  auto* button = new QPushButton(caption);
  Name(button, object_name, caption);
  return button;
}

/// Shows a text in a label whose accessible name says what it is about.
inline void ShowText(QLabel* label, std::string_view text) {
  label->setText(ToQString(text));
  label->setAccessibleDescription(label->text());
}

/// A list that the mouse wheel does not touch while it is closed: what was changed in passing,
/// while the panel is scrolled, would not be noticed.
class SteadyComboBox : public QComboBox {
 protected:
  void wheelEvent(QWheelEvent* event) override { event->ignore(); }
};

}  // namespace fenwright::ui
