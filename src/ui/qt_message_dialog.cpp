#include "ui/qt_message_dialog.h"

#include <algorithm>

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include "core/settings_keys.h"
#include "ui/controls.h"
#include "ui/icons.h"
#include "ui/main_window.h"
#include "ui/panel_bar.h"
#include "ui/twips.h"
#include "ui/wrapped_label.h"

namespace fenwright::ui {
namespace {

constexpr std::int16_t kOk = 1;
constexpr std::int16_t kCancel = 2;
constexpr int kDefaultMaximum = 100;
constexpr int kWidth = 420;
constexpr int kMinimumHeight = 136;
constexpr int kPictureSize = 48;
constexpr int kTopTwips = 500;
constexpr int kSettleMilliseconds = 100;

QIcon PictureOf(screen::MessageMode mode) {
  switch (mode) {
    case screen::MessageMode::Notice:
      return InformationIcon();
    case screen::MessageMode::Choice:
      return QuestionIcon();
    case screen::MessageMode::Busy:
      break;
  }
  return ProgramIcon();
}

}  // namespace

QtMessageDialog::QtMessageDialog(MainWindow& owner, core::AppState& state)
    : QDialog(&owner, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                          Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint),
      owner_(owner),
      state_(state) {
  Name(this, "frmMsg", "メッセージウインドウ");
  setWindowTitle(ToQString(core::kApplicationName));
  setModal(false);
  setAttribute(Qt::WA_QuitOnClose, false);
  Build();
  settle_.setSingleShot(true);
  settle_.setInterval(kSettleMilliseconds);
  connect(&settle_, &QTimer::timeout, this, [this] {
    if (loaded_) move(place_);
  });
  connect(&owner_, &MainWindow::Closing, this, [this] { Close(); });
  connect(&owner_, &MainWindow::Starting, this, [this] {
    left_over_ = loaded_;
    closed_by_user_ = false;
  });
}

void QtMessageDialog::Build() {
  picture_ = new QLabel;
  Name(picture_, "Picture1", "アイコン");
  picture_->setFixedSize(kPictureSize, kPictureSize);

  text_ = new WrappedLabel;
  Name(text_, "txtMsg", "メッセージ");

  detail_ = new WrappedLabel;
  Name(detail_, "lblDetail", "詳細");
  QFont small = detail_->font();
  small.setPointSizeF(small.pointSizeF() - 0.5);
  detail_->setFont(small);
  detail_->hide();

  progress_ = new QProgressBar;
  Name(progress_, "ProgBar", "進行状況");
  progress_->setRange(0, kDefaultMaximum);
  progress_->setMinimumHeight(20);

  auto* texts = new QVBoxLayout;
  texts->setSpacing(8);
  texts->addWidget(text_);
  texts->addWidget(detail_);
  texts->addStretch(1);
  texts->addWidget(progress_);

  auto* body = new QHBoxLayout;
  body->setSpacing(14);
  body->addWidget(picture_, 0, Qt::AlignTop);
  body->addLayout(texts, 1);

  ok_choice_ = BuildButton("Cmd_oks", "OK", kOk);
  ok_notice_ = BuildButton("Cmd_okm", "OK", kOk);
  cancel_ = BuildButton("Cmd_cancels", "CANCEL", kCancel);
  auto* buttons = new QHBoxLayout;
  buttons->addStretch(1);
  for (QPushButton* button : {ok_choice_, ok_notice_, cancel_}) buttons->addWidget(button);

  auto* rows = new QVBoxLayout(this);
  rows->setContentsMargins(16, 16, 16, 14);
  rows->setSpacing(12);
  rows->addLayout(body, 1);
  rows->addLayout(buttons);
}

QPushButton* QtMessageDialog::BuildButton(const QString& name, const QString& caption,
                                          std::int16_t meaning) {
  auto* button = new QPushButton(caption);
  Name(button, name, caption);
  button->setMinimumWidth(88);
  button->hide();
  connect(button, &QPushButton::clicked, this, [this, meaning] { EndWith(meaning); });
  return button;
}

void QtMessageDialog::Show(std::string_view text, screen::MessageMode mode) {
  mode_ = mode;
  left_over_ = false;
  detail_->SetText({});
  detail_->hide();
  text_->SetText(ToQString(text));
  ApplyMode();
  Load();
  FitHeight();
  if (mode == screen::MessageMode::Notice) {
    raise();
    activateWindow();
    FocusButton();
  }
}

void QtMessageDialog::SetText(std::string_view text) {
  if (!loaded_ || left_over_) LoadBusy();
  text_->SetText(ToQString(text));
  FitHeight();
}

void QtMessageDialog::SetDetail(std::string_view text) {
  if (!loaded_) return;
  detail_->SetText(ToQString(text));
  detail_->setVisible(!text.empty());
  FitHeight();
}

void QtMessageDialog::ShowButton() {
  if (!loaded_) return;
  ok_notice_->show();
  FitHeight();
}

void QtMessageDialog::FocusButton() {
  QPushButton* button = ok_notice_->isHidden() ? ok_choice_ : ok_notice_;
  if (loaded_ && !button->isHidden()) button->setFocus();
}

void QtMessageDialog::SetProgressRange(int maximum) {
  if (!loaded_ && !closed_by_user_) LoadBusy();
  maximum_ = std::max(maximum, 1);
  if (loaded_) ApplyRange();
}

void QtMessageDialog::ApplyRange() {
  shown_pixels_ = -1;
  shown_percent_ = -1;
  progress_->setRange(0, maximum_);
  progress_->setValue(0);
}

void QtMessageDialog::SetProgress(int value) {
  if (!loaded_ && !closed_by_user_) LoadBusy();
  const std::int64_t reached = std::clamp(value, 0, maximum_);
  if (!loaded_) {
    owner_.Panels().ShowProgress(static_cast<int>(reached * 100 / maximum_));
    return;
  }
  const int pixels = static_cast<int>(reached * progress_->width() / maximum_);
  const int percent = static_cast<int>(reached * 100 / maximum_);
  if (pixels == shown_pixels_ && percent == shown_percent_) return;
  shown_pixels_ = pixels;
  shown_percent_ = percent;
  progress_->setValue(static_cast<int>(reached));
}

void QtMessageDialog::Close() {
  closed_by_user_ = false;
  owner_.Panels().HideProgress();
  Unload();
}

void QtMessageDialog::Unload() {
  if (!loaded_) return;
  loaded_ = false;
  hide();
}

bool QtMessageDialog::IsBusy() const {
  return loaded_ && ok_choice_->isHidden() && ok_notice_->isHidden() && cancel_->isHidden();
}

void QtMessageDialog::reject() { EndWith(kCancel); }

void QtMessageDialog::closeEvent(QCloseEvent* event) {
  event->ignore();
  EndWith(kCancel);
}

/// Places and shows the dialog when it is not on the screen; a dialog that is, stays where the user
/// has put it.
void QtMessageDialog::Load() {
  if (loaded_) return;
  loaded_ = true;
  // A range that was set while the user had it closed counts.
  if (!closed_by_user_) maximum_ = kDefaultMaximum;
  closed_by_user_ = false;
  owner_.Panels().HideProgress();
  ApplyRange();
  setFixedSize(kWidth, kMinimumHeight);
  place_ = QPoint(owner_.x() + owner_.width() / 4, owner_.y() + TwipsToPixels(kTopTwips));
  move(place_);
  since_load_.start();
  FitHeight();
  show();
}

void QtMessageDialog::LoadBusy() {
  mode_ = screen::MessageMode::Busy;
  left_over_ = false;
  text_->SetText({});
  detail_->SetText({});
  detail_->hide();
  ApplyMode();
  if (loaded_) {
    maximum_ = kDefaultMaximum;
    ApplyRange();
  }
  Load();
}

void QtMessageDialog::ApplyMode() {
  const bool busy = mode_ == screen::MessageMode::Busy;
  const bool notice = mode_ == screen::MessageMode::Notice;
  const bool choice = mode_ == screen::MessageMode::Choice;
  progress_->setVisible(busy);
  ok_notice_->setVisible(notice);
  ok_choice_->setVisible(choice);
  cancel_->setVisible(choice);
  picture_->setPixmap(
      PictureOf(mode_).pixmap(QSize(kPictureSize, kPictureSize), devicePixelRatioF()));
}

/// Grows with its texts; it does not shrink while it is on the screen, so that it does not jump
/// from one text to the next.
void QtMessageDialog::FitHeight() {
  layout()->activate();
  const int wanted = layout()->hasHeightForWidth() ? layout()->totalHeightForWidth(kWidth)
                                                   : layout()->totalSizeHint().height();
  const int fitting = std::max({wanted, height(), kMinimumHeight});
  if (fitting == height()) return;
  setFixedSize(kWidth, fitting);
  if (loaded_ && since_load_.elapsed() < kSettleMilliseconds) settle_.start();
}

void QtMessageDialog::EndWith(std::int16_t meaning) {
  if (!loaded_) return;
  state_.CancelRequested = meaning;
  closed_by_user_ = true;
  Unload();
}

}  // namespace fenwright::ui
