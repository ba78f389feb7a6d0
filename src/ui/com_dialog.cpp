#include "ui/com_dialog.h"

#include <algorithm>
#include <utility>

#include <QCloseEvent>
#include <QComboBox>
#include <QEventLoop>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QStyle>
#include <QVBoxLayout>

#include "ui/controls.h"
#include "ui/icons.h"
#include "ui/screen_place.h"
#include "ui/wrapped_label.h"

namespace fenwright::ui {
namespace {

constexpr int kWidth = 440;
constexpr int kPictureSize = 48;
constexpr int kRefreshMilliseconds = 1000;
constexpr int kLinesOfPortLine = 3;
constexpr int kVisibleItems = 21;

}  // namespace

ComDialog::ComDialog(QWidget& owner, const core::AppState& state, Describer describe)
    : QDialog(&owner, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                          Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint),
      owner_(owner),
      state_(state),
      describe_(std::move(describe)) {
  Name(this, "frmCom", "通信ポート選択");
  setWindowTitle("通信ポート選択");
  setWindowModality(Qt::ApplicationModal);
  setAttribute(Qt::WA_QuitOnClose, false);
  Build();
  refresh_.setInterval(kRefreshMilliseconds);
  connect(&refresh_, &QTimer::timeout, this, &ComDialog::Refresh);
}

void ComDialog::Build() {
  auto* picture = new QLabel;
  Name(picture, "Picture1", "アイコン");
  picture->setPixmap(PortIcon().pixmap(QSize(kPictureSize, kPictureSize), devicePixelRatioF()));

  auto* prompt = new QLabel("通信ポートを選んでください。");
  Name(prompt, "Label1", "説明");

  list_ = new QComboBox;
  Name(list_, "Combo_com", "通信ポート");
  list_->setMaxVisibleItems(kVisibleItems);
  list_->setMinimumHeight(28);
  connect(list_, &QComboBox::currentIndexChanged, this, [this] {
    note_.clear();
    ShowPortLine();
  });

  port_line_ = new WrappedLabel;
  Name(port_line_, "lblPort", "ポートの状態");
  port_line_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
  port_line_->setMinimumHeight(kLinesOfPortLine * fontMetrics().lineSpacing());

  auto* texts = new QVBoxLayout;
  texts->setSpacing(8);
  texts->addWidget(prompt);
  texts->addWidget(list_);
  texts->addWidget(port_line_);
  texts->addStretch(1);

  auto* body = new QHBoxLayout;
  body->setSpacing(14);
  body->addWidget(picture, 0, Qt::AlignTop);
  body->addLayout(texts, 1);

  auto* buttons = new QHBoxLayout;
  buttons->addStretch(1);
  QPushButton* ok = BuildButton("Command_ok", "OK", screen::ComFormButton::Ok);
  ok->setDefault(true);
  buttons->addWidget(ok);
  QPushButton* cancel = BuildButton("Command_cancel", "CANCEL", screen::ComFormButton::Cancel);
  cancel->setAutoDefault(false);
  buttons->addWidget(cancel);

  auto* rows = new QVBoxLayout(this);
  rows->setContentsMargins(16, 16, 16, 14);
  rows->setSpacing(12);
  rows->addLayout(body, 1);
  rows->addLayout(buttons);
}

QPushButton* ComDialog::BuildButton(const QString& name, const QString& caption,
                                    screen::ComFormButton meaning) {
  auto* button = new QPushButton(caption);
  Name(button, name, caption);
  button->setMinimumWidth(88);
  connect(button, &QPushButton::clicked, this, [this, meaning] { Finish(meaning); });
  return button;
}

void ComDialog::PlaceOverMainWindow() {
  FitHeight();
  QRect place(QPoint(0, 0), size());
  place.moveCenter(owner_.frameGeometry().center());
  const QRect screen = owner_.screen()->availableGeometry();
  move(ReachablePlace(place, {screen}, style()->pixelMetric(QStyle::PM_TitleBarHeight)).topLeft());
}

void ComDialog::SetItems(const std::vector<std::string>& items) {
  list_->clear();
  for (const std::string& item : items) list_->addItem(ToQString(item));
}

void ComDialog::SetListIndex(int index) { list_->setCurrentIndex(index); }

int ComDialog::ListIndex() const { return list_->currentIndex(); }

void ComDialog::SetNote(std::string_view text) {
  note_ = text;
  ShowPortLine();
}

screen::ComFormButton ComDialog::WaitForButton() {
  QEventLoop loop;
  waiting_ = &loop;
  ShowPortLine();
  refresh_.start();
  show();
  raise();
  activateWindow();
  list_->setFocus();
  loop.exec();
  waiting_ = nullptr;
  refresh_.stop();
  return button_;
}

void ComDialog::Hide() { hide(); }

void ComDialog::Unload() { hide(); }

void ComDialog::reject() { Finish(screen::ComFormButton::Cancel); }

void ComDialog::closeEvent(QCloseEvent* event) {
  event->ignore();
  Finish(screen::ComFormButton::Cancel);
}

/// Outside of a wait the buttons do nothing: the last one pressed is still being carried out.
void ComDialog::Finish(screen::ComFormButton button) {
  if (!waiting_) return;
  button_ = button;
  waiting_->quit();
}

void ComDialog::Refresh() {
  // The program is to end: the dialog gives way.
  if (state_.StopRequested) reject();
  ShowPortLine();
}

void ComDialog::ShowPortLine() {
  const QString line = PortLine();
  if (line == port_line_->text()) return;
  port_line_->SetText(line);
  FitHeight();
}

QString ComDialog::PortLine() const {
  if (!note_.empty()) return ToQString(note_);
  const int index = ListIndex();
  if (index < 0 || !describe_) return {};
  return index == 0 ? "ライターをつないだポートを選んでください。" : ToQString(describe_(index));
}

/// Grows with its texts, and does not shrink: it would jump from one port to the next.
void ComDialog::FitHeight() {
  layout()->activate();
  const int wanted = layout()->hasHeightForWidth() ? layout()->totalHeightForWidth(kWidth)
                                                   : layout()->totalSizeHint().height();
  setFixedSize(kWidth, std::max(wanted, isVisible() ? height() : 0));
}

}  // namespace fenwright::ui
