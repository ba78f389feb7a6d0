// No text is cut: the width of each compared with the place that it has. Also run at twice the
// scale.

#include <QAbstractButton>
#include <QCheckBox>
#include <QToolButton>

#include "ui/about_dialog.h"
#include "ui/com_dialog.h"
#include "ui/window_bench.h"
#include "ui/wrapped_label.h"

namespace fenwright::ui {
namespace {

/// The room that a control has for its text, and what the text needs. Nothing for a control that
/// shortens or breaks its text itself.
struct Need {
  int Has = 0;
  int Wants = 0;
};

std::optional<Need> NeedOf(const QWidget& widget) {
  const auto wide = [&widget](const QString& text, int beside) {
    return Need{.Has = widget.width(),
                .Wants = widget.fontMetrics().horizontalAdvance(text.trimmed()) + beside};
  };
  if (qobject_cast<const WrappedLabel*>(&widget) || qobject_cast<const ElidedLabel*>(&widget)) {
    return std::nullopt;
  }
  if (const auto* label = qobject_cast<const QLabel*>(&widget)) {
    if (label->wordWrap() || label->text().isEmpty()) return std::nullopt;
    return wide(label->text().section('\n', 0, 0), 0);
  }
  if (const auto* button = qobject_cast<const QAbstractButton*>(&widget)) {
    if (button->text().isEmpty()) return std::nullopt;
    const bool has_icon = !button->icon().isNull();
    return wide(QString(button->text()).remove('&'), has_icon ? button->iconSize().width() : 4);
  }
  if (const auto* list = qobject_cast<const QComboBox*>(&widget))
    return wide(list->currentText(), 20);
  return std::nullopt;
}

int CheckTexts(const QWidget& window) {
  int checked = 0;
  for (const QWidget* widget : window.findChildren<QWidget*>()) {
    if (!widget->isVisible()) continue;
    const std::optional<Need> need = NeedOf(*widget);
    if (!need) continue;
    ++checked;
    EXPECT_GE(need->Has, need->Wants) << widget->objectName().toStdString();
    EXPECT_GE(widget->height(), widget->fontMetrics().height())
        << widget->objectName().toStdString();
  }
  return checked;
}

struct TextFit : WindowTest {
  TextFit() { StartWithFile(); }
};

TEST_F(TextFit, OfTheMainWindowWithEveryDevice) {
  for (int device = 0; device < Window().DeviceSelector()->count(); ++device) {
    PickDevice(device);
    SCOPED_TRACE(Window().DeviceSelector()->currentText().toStdString());
    EXPECT_GE(CheckTexts(Window()), 40);
  }
}

TEST_F(TextFit, OfTheFuseListsWhereverTheyAreMarked) {
  PickDevice(2);
  for (QComboBox* list : Window().findChildren<QComboBox*>()) {
    if (!list->objectName().startsWith("Combo_") || list == Window().DeviceSelector()) continue;
    for (int item = 0; item < list->count(); ++item) {
      list->setCurrentIndex(item);
      const std::optional<Need> need = NeedOf(*list);
      EXPECT_GE(need->Has, need->Wants) << list->objectName().toStdString() << item;
    }
  }
}

TEST_F(TextFit, OfTheMessageDialogInEachMode) {
  for (const auto mode :
       {screen::MessageMode::Busy, screen::MessageMode::Notice, screen::MessageMode::Choice}) {
    Run.MessageDialog().Show(
        "ライターを検出できませんでした。使用可能な通信ポートを設定してください。", mode);
    CheckTexts(Run.MessageDialog());
  }
}

TEST_F(TextFit, OfTheAboutBoxAndTheComPortDialog) {
  Window().About().show();
  EXPECT_GE(CheckTexts(Window().About()), 2);
  Window().About().hide();
  Run.ComPortDialog().SetItems({"????", "COM1"});
  Run.ComPortDialog().PlaceOverMainWindow();
  Run.ComPortDialog().show();
  EXPECT_GE(CheckTexts(Run.ComPortDialog()), 3);
  Run.ComPortDialog().hide();
}

}  // namespace
}  // namespace fenwright::ui
