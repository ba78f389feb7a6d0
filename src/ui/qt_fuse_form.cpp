#include "ui/qt_fuse_form.h"

#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>

#include "ui/fuse_frame.h"
#include "ui/text.h"

namespace fenwright::ui {
namespace {

void Show(QLabel* label, std::string_view text) {
  label->setText(ToQString(text));
  label->setAccessibleDescription(label->text());
}

}  // namespace

void QtFuseForm::SetItems(screen::FuseList list, std::span<const std::string_view> items) {
  QComboBox* const box = frame_.List(list);
  const QSignalBlocker silent(box);
  box->clear();
  for (const std::string_view item : items) box->addItem(ToQString(item));
  box->setCurrentIndex(-1);
}

void QtFuseForm::Select(screen::FuseList list, int index) {
  QComboBox* const box = frame_.List(list);
  const QSignalBlocker silent(box);
  box->setCurrentIndex(index);
}

int QtFuseForm::SelectedIndex(screen::FuseList list) const {
  return frame_.List(list)->currentIndex();
}

void QtFuseForm::EnableList(screen::FuseList list, bool enable) {
  frame_.List(list)->setEnabled(enable);
}

void QtFuseForm::SetLockListVisible(bool visible) {
  frame_.List(screen::FuseList::Lock)->setVisible(visible);
  frame_.LabelOf(screen::FuseList::Lock)->setVisible(visible);
}

void QtFuseForm::EnableButtons(bool read, bool write) {
  frame_.ReadButton()->setEnabled(read);
  frame_.WriteButton()->setEnabled(write);
}

void QtFuseForm::SetCalibrationText(std::string_view text) { Show(frame_.Calibration(), text); }

void QtFuseForm::SetByteLine(std::string_view text) { Show(frame_.ByteLine(), text); }

void QtFuseForm::SetFrameVisible(bool visible) { frame_.Frame()->setVisible(visible); }

}  // namespace fenwright::ui
