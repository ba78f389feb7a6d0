// No text is cut: the width of each compared with the place that it has. Also run at twice the
// scale.

#include <QAbstractButton>
#include <QCheckBox>
#include <QToolButton>

#include "ui/about_dialog.h"
#include "ui/com_dialog.h"
#include "ui/fuse_frame.h"
#include "ui/text_pane.h"
#include "ui/update_dialog.h"
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

/// A text that breaks into lines has room for all of them; in a pane it may be scrolled.
void CheckLines(const WrappedLabel& label) {
  const QWidget* pane = label.parentWidget() ? label.parentWidget()->parentWidget() : nullptr;
  EXPECT_GE(label.height(), label.heightForWidth(label.width()))
      << label.objectName().toStdString() << ": " << label.text().toStdString();
  if (!qobject_cast<const TextPane*>(pane)) return;
  EXPECT_GE(pane->height(), label.fontMetrics().height());
  // What the scroll bar needs is not the text's.
  EXPECT_LE(label.width(), pane->width());
}

int CheckTexts(const QWidget& window) {
  int checked = 0;
  for (const QWidget* widget : window.findChildren<QWidget*>()) {
    if (!widget->isVisible()) continue;
    if (const auto* lines = qobject_cast<const WrappedLabel*>(widget)) {
      CheckLines(*lines);
      ++checked;
      continue;
    }
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
  TextFit() {
    StartWithFile();
    // The first size, even where the screen has less.
    Window().resize(753, 527);
    QApplication::processEvents();
  }
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

TEST_F(TextFit, OfTheMainWindowWithEveryFuseOfEveryDeviceChanged) {
  for (int device = 0; device < Window().DeviceSelector()->count(); ++device) {
    PickDevice(device);
    for (QComboBox* list : Window().Fuses().findChildren<QComboBox*>()) {
      if (list->count() > 1) list->setCurrentIndex(list->currentIndex() == 0 ? 1 : 0);
    }
    for (int turn = 0; turn < 5; ++turn) QApplication::processEvents();
    SCOPED_TRACE(Window().DeviceSelector()->currentText().toStdString());
    EXPECT_GE(CheckTexts(Window()), 25);
  }
}

TEST_F(TextFit, OfAFileWithALongNameThatASaveWouldDestroy) {
  const std::string name(120, 'n');
  Files.Files["/files/" + name + ".hex"] = Files.Files["/files/prog.hex"];
  Dialogs.Choice = "/files/" + name + ".hex";
  Press("Cmd_btn_open");
  PickDevice(12);
  for (int turn = 0; turn < 5; ++turn) QApplication::processEvents();
  EXPECT_THAT(FileInfo(), HasSubstr(name));
  EXPECT_THAT(FileInfo(), HasSubstr("⚠"));
  EXPECT_GE(CheckTexts(Window()), 25);
}

TEST_F(TextFit, OfALongFailureInTheMessageDialog) {
  Run.MessageDialog().Show(std::string(400, 'm'), screen::MessageMode::Notice);
  Run.MessageDialog().SetDetail(
      "COM5 (/dev/serial/by-id/" + std::string(150, 'p') +
      ") : 通信ポートがなくなりました。USBケーブルと電源を確認してください。\r\nフラッシュは"
      "ワード 0x005C まで書き込み済み、その先とEEPROMは書き込まれたかもしれません。"
      "ベリファイしていません。イレースしてから、もう一度プログラムしてください。");
  QApplication::processEvents();
  EXPECT_GE(CheckTexts(Run.MessageDialog()), 3);
}

TEST_F(TextFit, OfTheJobBox) {
  const std::string name = "/files/" + std::string(120, 'n') + ".json";
  Files.Files[name] =
      R"({"fenwright_job": 1, "device": "AT90S8515", "code": "prog.hex", "keep_eeprom": true,
          "serial": "flash:0x1FF0=next", "counter": "count.txt", "osccal": "flash:0x1FE0",
          "backup": "copies", "record": "shift.csv", "lock": "write"})";
  QTest::mouseClick(Named<QToolButton>("cmdJob"), Qt::LeftButton);
  EXPECT_GE(CheckTexts(Run.JobBox()), 6);
  Dialogs.Choice = name;
  Find<QPushButton>(Run.JobBox(), "cmdJobOpen")->click();
  for (int turn = 0; turn < 5; ++turn) QApplication::processEvents();
  EXPECT_THAT(Find<QLabel>(Run.JobBox(), "lblJob")->text().toStdString(),
              HasSubstr("シリアル番号"));
  EXPECT_GE(CheckTexts(Run.JobBox()), 6);
}

TEST_F(TextFit, OfTheFirmwareUpdateDialog) {
  Settings.Write("Settings6", "ComNo", "1");
  Dialogs.Choice = "/files/" + std::string(100, 'n') + ".hex";
  Files.Files[*Dialogs.Choice] = ":020000000cC09D\r\n:00000001FF\r\n";
  int checked = 0;
  QTimer::singleShot(0, &Window(), [this, &checked] {
    auto* dialog = Named<UpdateDialog>("Dialog_Update");
    checked += CheckTexts(*dialog);
    Button("CmdOpen")->click();
    QApplication::processEvents();
    EXPECT_FALSE(Find<QLabel>(*dialog, "lblDetail")->text().isEmpty());
    checked += CheckTexts(*dialog);
    dialog->RequestClose();
  });
  Choose("mnuFirmwareUpdate");
  EXPECT_GE(checked, 12);
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
