#include "ui/qt_message_dialog.h"

#include <algorithm>
#include <initializer_list>

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
#include "ui/outcome_sign.h"
#include "ui/panel_bar.h"
#include "ui/twips.h"
#include "ui/wrapped_label.h"

namespace fenwright::ui {
namespace {

constexpr std::int16_t kOk = 1;
constexpr std::int16_t kCancel = 2;
constexpr int kDefaultMaximum = 100;
constexpr int kMessageWidth = 420;
constexpr int kMinimumHeight = 136;
constexpr int kDialogSign = 48;
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
  meter_time_.start();
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
  picture_->setFixedSize(kDialogSign, kDialogSign);

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
  progress_->setTextVisible(false);

  phase_ = new QLabel;
  Name(phase_, "lblPhase", "段階");
  progress_text_ = new QLabel;
  Name(progress_text_, "lblProgress", "進み具合");
  progress_text_->setAlignment(Qt::AlignRight);
  for (QLabel* label : {phase_, progress_text_}) label->setFont(small);

  auto* texts = new QVBoxLayout;
  texts->setSpacing(8);
  texts->addWidget(text_);
  texts->addWidget(detail_);
  texts->addStretch(1);
  auto* progress_rows = new QVBoxLayout;
  progress_rows->setSpacing(3);
  for (QWidget* row : std::initializer_list<QWidget*>{phase_, progress_, progress_text_}) {
    progress_rows->addWidget(row);
  }
  texts->addLayout(progress_rows);

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
  detail_text_.clear();
  code_.clear();
  detail_->SetText({});
  detail_->hide();
  SetPhase({});
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
  detail_text_ = ToQString(text);
  ShowDetail();
}

void QtMessageDialog::SetCode(std::string_view word) {
  if (!loaded_) return;
  code_ = ToQString(word);
  ShowDetail();
}

void QtMessageDialog::ShowDetail() {
  QString text = detail_text_;
  if (!code_.isEmpty()) text += (text.isEmpty() ? "コード: " : "\nコード: ") + code_;
  detail_->SetText(text);
  detail_->setVisible(!text.isEmpty());
  FitHeight();
}

void QtMessageDialog::SetOutcome(screen::Outcome outcome) {
  if (loaded_) ShowPicture(outcome);
}

void QtMessageDialog::ShowPicture(screen::Outcome outcome) {
  const QIcon icon = outcome == screen::Outcome::None ? PictureOf(mode_) : OutcomeIcon(outcome);
  picture_->setPixmap(icon.pixmap(QSize(kDialogSign, kDialogSign), devicePixelRatioF()));
  const QString name = OutcomeName(outcome);
  picture_->setToolTip(name);
  picture_->setAccessibleDescription(name);
  setAccessibleDescription(name);
}

void QtMessageDialog::SetPhase(std::string_view text) {
  if (ToQString(text) != phase_->text()) ShowText(phase_, text);
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
  StartMeter(maximum);
  if (loaded_) ApplyRange();
}

void QtMessageDialog::StartMeter(int maximum) {
  meter_.Start(maximum, meter_time_.elapsed());
  told_percent_ = -1;
}

void QtMessageDialog::ApplyRange() {
  shown_pixels_ = -1;
  shown_percent_ = -1;
  progress_->setRange(0, meter_.Maximum());
  progress_->setValue(0);
  ShowProgressText();
}

void QtMessageDialog::ShowProgressText() {
  const QString text = meter_.Text();
  if (text == progress_text_->text()) return;
  progress_text_->setText(text);
  progress_text_->setAccessibleDescription(text);
}

void QtMessageDialog::SetProgress(int value) {
  if (!loaded_ && !closed_by_user_) LoadBusy();
  meter_.Reach(value, meter_time_.elapsed());
  const int percent = meter_.Percent();
  if (percent != told_percent_) emit Progressed(told_percent_ = percent);
  if (!loaded_) {
    owner_.Panels().ShowProgress(percent, meter_.Text(), phase_->text());
    return;
  }
  ShowProgressText();
  const int pixels =
      static_cast<int>(std::int64_t{meter_.Value()} * progress_->width() / meter_.Maximum());
  if (pixels == shown_pixels_ && percent == shown_percent_) return;
  shown_pixels_ = pixels;
  shown_percent_ = percent;
  progress_->setValue(meter_.Value());
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
  emit Unloaded();
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
  if (!closed_by_user_) StartMeter(kDefaultMaximum);
  closed_by_user_ = false;
  owner_.Panels().HideProgress();
  ApplyRange();
  setFixedSize(kMessageWidth, kMinimumHeight);
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
  SetPhase({});
  ApplyMode();
  if (loaded_) {
    StartMeter(kDefaultMaximum);
    ApplyRange();
  }
  Load();
}

void QtMessageDialog::ApplyMode() {
  const bool busy = mode_ == screen::MessageMode::Busy;
  const bool notice = mode_ == screen::MessageMode::Notice;
  const bool choice = mode_ == screen::MessageMode::Choice;
  for (QWidget* row : std::initializer_list<QWidget*>{phase_, progress_, progress_text_}) {
    row->setVisible(busy);
  }
  ok_notice_->setVisible(notice);
  ok_choice_->setVisible(choice);
  cancel_->setVisible(choice);
  ShowPicture(screen::Outcome::None);
}

/// Grows with its texts; it does not shrink while it is on the screen, so that it does not jump
/// from one text to the next.
void QtMessageDialog::FitHeight() {
  layout()->activate();
  const int wanted = layout()->hasHeightForWidth() ? layout()->totalHeightForWidth(kMessageWidth)
                                                   : layout()->totalSizeHint().height();
  const int fitting = std::max({wanted, height(), kMinimumHeight});
  if (fitting == height()) return;
  setFixedSize(kMessageWidth, fitting);
  if (loaded_ && since_load_.elapsed() < kSettleMilliseconds) settle_.start();
}

void QtMessageDialog::EndWith(std::int16_t meaning) {
  if (!loaded_) return;
  state_.CancelRequested = meaning;
  closed_by_user_ = true;
  Unload();
}

}  // namespace fenwright::ui
