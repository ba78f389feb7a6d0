#include "ui/outcome_sign.h"

#include <QIcon>
#include <QPainter>

#include "ui/icons.h"

namespace fenwright::ui {

QString OutcomeName(screen::Outcome outcome) {
  switch (outcome) {
    case screen::Outcome::Success:
      return "成功";
    case screen::Outcome::Attention:
      return "注意";
    case screen::Outcome::Failure:
      return "失敗";
    case screen::Outcome::Danger:
      return "危険";
    case screen::Outcome::None:
      break;
  }
  return {};
}

OutcomeSign::OutcomeSign(int side, QWidget* parent) : QLabel(parent) {
  setFixedSize(side, side);
  hide();
}

void OutcomeSign::SetOutcome(screen::Outcome outcome, const QString& reason) {
  outcome_ = outcome;
  const QString name = OutcomeName(outcome);
  const QString meaning = reason.isEmpty() ? name : name + " : " + reason;
  setToolTip(meaning.toHtmlEscaped().replace("\r\n", "<br>"));
  setAccessibleDescription(meaning);
  setVisible(outcome != screen::Outcome::None);
  update();
}

void OutcomeSign::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  OutcomeIcon(outcome_).paint(&painter, rect());
}

}  // namespace fenwright::ui
