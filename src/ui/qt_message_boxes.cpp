#include "ui/qt_message_boxes.h"

#include <algorithm>

#include <QAbstractButton>
#include <QApplication>
#include <QGridLayout>
#include <QLabel>
#include <QLayout>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>

#include "core/settings_keys.h"
#include "ui/controls.h"
#include "ui/wrapped_label.h"

namespace fenwright::ui {
namespace {

QString TitleOf(std::string_view title) {
  return ToQString(title.empty() ? core::kApplicationName : title);
}

/// CR LF and a lone CR both end a line.
QString WithLineEnds(std::string_view text) {
  return ToQString(text).replace("\r\n", "\n").replace('\r', '\n');
}

bool IsLaidOut(std::string_view text) {
  return text.find("\r\n") != std::string_view::npos || text.find("　") != std::string_view::npos;
}

/// A box that can keep its lines whole; Qt's own breaks what is wider than 500 pixels.
class LineBox final : public QMessageBox {
 public:
  using QMessageBox::QMessageBox;

  /// From its showing on, unless the screen has no room for the longest line.
  void KeepLines() { keep_lines_ = true; }

 protected:
  void showEvent(QShowEvent* event) override {
    if (keep_lines_) ReserveLongestLine();
    QMessageBox::showEvent(event);
    FitLines();
  }

  bool event(QEvent* event) override {
    const bool recognised = QMessageBox::event(event);
    if (event->type() == QEvent::LayoutRequest) FitLines();
    return recognised;
  }

 private:
  void ReserveLongestLine() {
    auto* label = findChild<QLabel*>("qt_msgbox_label");
    if (!label) return;
    int longest = 0;
    for (const QString& line : text().split('\n')) {
      longest = std::max(longest, label->fontMetrics().horizontalAdvance(line));
    }
    const QMargins margins = label->contentsMargins();
    constexpr int kRounding = 2;
    label->setMinimumWidth(longest + margins.left() + margins.right() + kRounding);
    reserved_ = layout()->totalMinimumSize().width() <= screen()->availableGeometry().width();
    if (!reserved_) label->setMinimumWidth(0);
  }

  /// Qt's own size stops at the screen's width less 480 pixels.
  void FitLines() {
    if (!reserved_) return;
    const int wanted = layout()->totalMinimumSize().width();
    if (wanted <= width()) return;
    setFixedSize(wanted, layout()->hasHeightForWidth() ? layout()->totalHeightForWidth(wanted)
                                                       : layout()->totalMinimumSize().height());
  }

  bool keep_lines_ = false;
  bool reserved_ = false;  ///< the text's label has the width of its longest line
};

/// A box over a modal dialog belongs to that dialog, or it could come up behind it.
QWidget* OwnerOf(QWidget* usual) {
  QWidget* const modal = QApplication::activeModalWidget();
  return modal ? modal : usual;
}

void Design(LineBox& box, const QString& object_name, std::string_view title,
            std::string_view text) {
  box.setObjectName(object_name);
  box.setTextFormat(Qt::PlainText);
  box.setWindowTitle(TitleOf(title));
  box.setText(WithLineEnds(text));
  if (IsLaidOut(text)) box.KeepLines();
  box.setAccessibleName(box.windowTitle());
  box.setAccessibleDescription(box.text());
}

/// Puts the detail below the text, where the box, once it is complete, has its place for such.
void AddDetail(QMessageBox& box, std::string_view detail) {
  constexpr int kDetailWidth = 400;
  constexpr int kRow = 1;
  auto* grid = qobject_cast<QGridLayout*>(box.layout());
  if (!grid) return;
  auto* label = new WrappedLabel;
  Name(label, "lblDetail", "詳細");
  label->SetText(ToQString(detail));
  label->setMinimumWidth(kDetailWidth);
  grid->addWidget(label, kRow, grid->columnCount() - 1);
  box.setAccessibleDescription(box.text() + '\n' + WithLineEnds(detail));
}

QPushButton* AddButton(QMessageBox& box, const QString& object_name, const QString& caption,
                       QMessageBox::ButtonRole role) {
  QPushButton* button = box.addButton(caption, role);
  Name(button, object_name, QString(caption).remove('&'));
  return button;
}

}  // namespace

void QtMessageBoxes::Show(screen::MessageIcon icon, std::string_view title, std::string_view text) {
  ShowWithDetail(icon, title, text, "");
}

void QtMessageBoxes::ShowWithDetail(screen::MessageIcon icon, std::string_view title,
                                    std::string_view text, std::string_view detail) {
  LineBox box(OwnerOf(parent_));
  Design(box, "msgBox", title, text);
  box.setIcon(icon == screen::MessageIcon::Critical ? QMessageBox::Critical
                                                    : QMessageBox::Information);
  box.setDefaultButton(AddButton(box, "msgBoxOk", "OK", QMessageBox::AcceptRole));
  if (!detail.empty()) AddDetail(box, detail);
  box.exec();
}

bool QtMessageBoxes::Ask(std::string_view title, std::string_view text) {
  LineBox box(OwnerOf(parent_));
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
