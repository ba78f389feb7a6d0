#include "ui/qt_message_boxes.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QPushButton>

#include "core/settings_keys.h"
#include "ui/controls.h"

namespace fenwright::ui {
namespace {

QString TitleOf(std::string_view title) {
  return ToQString(title.empty() ? core::kApplicationName : title);
}

/// CR LF and a lone CR both end a line.
QString WithLineEnds(std::string_view text) {
  return ToQString(text).replace("\r\n", "\n").replace('\r', '\n');
}

/// A box over a modal dialog belongs to that dialog, or it could come up behind it.
QWidget* OwnerOf(QWidget* usual) {
  QWidget* const modal = QApplication::activeModalWidget();
  return modal ? modal : usual;
}

void Design(QMessageBox& box, const QString& object_name, std::string_view title,
            std::string_view text) {
  box.setObjectName(object_name);
  box.setTextFormat(Qt::PlainText);
  box.setWindowTitle(TitleOf(title));
  box.setText(WithLineEnds(text));
  box.setAccessibleName(box.windowTitle());
  box.setAccessibleDescription(box.text());
}

QPushButton* AddButton(QMessageBox& box, const QString& object_name, const QString& caption,
                       QMessageBox::ButtonRole role) {
  QPushButton* button = box.addButton(caption, role);
  Name(button, object_name, QString(caption).remove('&'));
  return button;
}

}  // namespace

void QtMessageBoxes::Show(screen::MessageIcon icon, std::string_view title, std::string_view text) {
  QMessageBox box(OwnerOf(parent_));
  Design(box, "msgBox", title, text);
  box.setIcon(icon == screen::MessageIcon::Critical ? QMessageBox::Critical
                                                    : QMessageBox::Information);
  box.setDefaultButton(AddButton(box, "msgBoxOk", "OK", QMessageBox::AcceptRole));
  box.exec();
}

bool QtMessageBoxes::Ask(std::string_view title, std::string_view text) {
  QMessageBox box(OwnerOf(parent_));
  Design(box, "msgBoxQuestion", title, text);
  box.setIcon(QMessageBox::Question);
  const QPushButton* yes = AddButton(box, "msgBoxYes", "はい(&Y)", QMessageBox::YesRole);
  QPushButton* no = AddButton(box, "msgBoxNo", "いいえ(&N)", QMessageBox::NoRole);
  box.setDefaultButton(no);
  box.setEscapeButton(no);
  box.exec();
  return box.clickedButton() == yes;
}

}  // namespace fenwright::ui
