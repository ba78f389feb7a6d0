#include "ui/update_dialog.h"

#include <algorithm>
#include <cmath>

#include <QCloseEvent>
#include <QComboBox>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QStatusBar>
#include <QVBoxLayout>

#include "ui/controls.h"
#include "ui/elided_label.h"
#include "ui/wrapped_label.h"
#include "update/update_report.h"

namespace fenwright::ui {
namespace {

constexpr int kUpdateWidth = 600;
constexpr int kInstructionsHeight = 96;
constexpr int kUpdateMargin = 14;
constexpr int kTextMargin = 8;
constexpr int kUpdateButtonWidth = 112;

QLabel* Caption(const QString& object_name, const QString& text, QWidget* buddy) {
  auto* label = new QLabel(text);
  Name(label, object_name, text);
  label->setTextFormat(Qt::PlainText);
  label->setBuddy(buddy);
  return label;
}

/// No button is pressed by Enter alone: one that starts an update must be meant.
QPushButton* Button(const QString& object_name, const QString& caption, const QString& tool_tip) {
  auto* button = new QPushButton(caption);
  Name(button, object_name, caption, tool_tip);
  button->setAutoDefault(false);
  button->setMinimumWidth(kUpdateButtonWidth);
  return button;
}

QLineEdit* TextBox(const QString& object_name, const QString& accessible_name) {
  auto* box = new QLineEdit;
  Name(box, object_name, accessible_name);
  box->setReadOnly(true);
  return box;
}

/// A drop-down list shows a text that is none of its items as its placeholder.
void SetText(QComboBox* combo, std::string_view text) {
  const QString shown = ToQString(text);
  combo->setCurrentIndex(combo->findText(shown, Qt::MatchFixedString | Qt::MatchCaseSensitive));
  combo->setPlaceholderText(shown);
  combo->setAccessibleDescription(shown);
}

std::string TextOf(const QComboBox* combo) {
  return ToUtf8(combo->currentIndex() < 0 ? combo->placeholderText() : combo->currentText());
}

void SetItems(QComboBox* combo, const std::vector<std::string>& items) {
  combo->clear();
  for (const std::string& item : items) combo->addItem(ToQString(item));
  combo->setCurrentIndex(-1);
}

/// Black or white, whichever is the easier to read on `background`.
QColor ReadableOn(const QColor& background) {
  const auto linear = [](int value) {
    const double part = value / 255.0;
    return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
  };
  const double luminance = 0.2126 * linear(background.red()) + 0.7152 * linear(background.green()) +
                           0.0722 * linear(background.blue());
  constexpr double kEqualContrast = 0.179;
  return luminance > kEqualContrast ? Qt::black : Qt::white;
}

QColor FromColourValue(std::uint32_t value) {
  return {static_cast<int>(value & 0xFF), static_cast<int>(value >> 8 & 0xFF),
          static_cast<int>(value >> 16 & 0xFF)};
}

}  // namespace

UpdateDialog::UpdateDialog(QWidget* owner, core::RunContext& run,
                           platform::SerialControl& updater_port, const Substitutes& substitutes)
    : QDialog(owner, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                         Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint),
      own_boxes_(this),
      own_chooser_(this),
      context_{
          .Run = run,
          .State = state_,
          .UpdaterPort = updater_port,
          .Form = *this,
          .MessageBoxes = substitutes.MessageBoxes ? *substitutes.MessageBoxes : own_boxes_,
          .CommonDialog100 = substitutes.FileDialogs ? *substitutes.FileDialogs : own_chooser_} {
  Name(this, "Dialog_Update", "ファームウエアアップデート");
  setWindowTitle("ファームウエアアップデート");
  setModal(true);
  BuildInstructions();
  BuildControls();
  BuildLayout();
  Connect();
}

void UpdateDialog::BuildInstructions() {
  instructions_ = new WrappedLabel;
  Name(instructions_, "Label3", "手順");
  instructions_->setMinimumHeight(kInstructionsHeight);
  instructions_->setAutoFillBackground(true);
  instructions_->setContentsMargins(kTextMargin, kTextMargin, kTextMargin, kTextMargin);
  divider_ = new QFrame;
  divider_->setObjectName("Line1");
  divider_->setFrameStyle(QFrame::HLine | QFrame::Sunken);
}

void UpdateDialog::BuildControls() {
  port_ = new QComboBox;
  Name(port_, "Combo_ComPort", "通信ポート Com", "ボードをつないだ通信ポートの番号を選びます。");
  port_->setMaxVisibleItems(20);
  speed_ = new QComboBox;
  Name(speed_, "Combo_speed", "通信スピード bps", "アップデートは常に 57600 bps で行われます。");
  version_button_ =
      Button("CmdVersion", "Version Read", "ボードのファームウエアバージョンを読み出します。");
  version_ = TextBox("Text_FirmwareVersion", "ファームウエアバージョン");
  open_button_ = Button("CmdOpen", "OPEN", "新しいファームウエアファイル(*.hex)を設定します。");
  file_ = TextBox("Text_File", "アップデートファイル");
  update_button_ = Button("CmdUpdate", "UPDATE", "ファームウエアの更新を実行します。");
  update_button_->setEnabled(false);
  progress_ = new QProgressBar;
  Name(progress_, "ProgressBar1", "進行状況");
  progress_->hide();
  detail_ = new WrappedLabel;
  Name(detail_, "lblDetail", "詳細");
  close_button_ = Button("OKButton", "閉じる", "この画面を閉じます。");
  status_ = new ElidedLabel;
  Name(status_, "StatusBar1_1", "アップデートのステータス");
  status_->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
  status_->setMargin(2);
}

void UpdateDialog::BuildLayout() {
  auto* line = new QHBoxLayout;
  line->addWidget(Caption("Label1", "通信ポート Com：", port_));
  line->addWidget(port_);
  line->addSpacing(2 * kUpdateMargin);
  line->addWidget(Caption("Label2", "通信スピード bps：", speed_));
  line->addWidget(speed_);
  line->addStretch(1);

  auto* steps = new QGridLayout;
  steps->setColumnStretch(1, 1);
  steps->addWidget(version_button_, 0, 0);
  steps->addWidget(version_, 0, 1);
  steps->addWidget(open_button_, 1, 0);
  steps->addWidget(file_, 1, 1);
  steps->addWidget(update_button_, 2, 0);
  steps->addWidget(progress_, 2, 1);

  auto* closing = new QHBoxLayout;
  closing->addWidget(detail_, 1);
  closing->addWidget(close_button_, 0, Qt::AlignBottom);

  auto* rows = new QVBoxLayout;
  rows->setContentsMargins(kUpdateMargin, kUpdateMargin, kUpdateMargin, kUpdateMargin / 2);
  rows->setSpacing(kUpdateMargin - 2);
  rows->addWidget(instructions_, 1);
  rows->addWidget(divider_);
  rows->addLayout(line);
  rows->addLayout(steps);
  rows->addLayout(closing);

  auto* bar = new QStatusBar;
  Name(bar, "StatusBar1", "ステータスバー");
  bar->setSizeGripEnabled(false);
  bar->setContentsMargins(kUpdateMargin - 4, 0, kUpdateMargin - 4, 2);
  bar->addWidget(status_, 1);

  auto* all = new QVBoxLayout(this);
  all->setContentsMargins(0, 0, 0, 0);
  all->addLayout(rows, 1);
  all->addWidget(bar);
  setFixedWidth(kUpdateWidth);
  resize(kUpdateWidth, layout()->totalHeightForWidth(kUpdateWidth));
}

/// Tab goes through the controls in the order in which they are used.
void UpdateDialog::Connect() {
  const std::vector<QWidget*> order{port_,        speed_, version_button_, version_,
                                    open_button_, file_,  update_button_,  close_button_};
  for (std::size_t i = 1; i < order.size(); ++i) setTabOrder(order.at(i - 1), order.at(i));
  connect(port_, &QComboBox::activated, this, [this] { update::Combo_ComPort_Click(context_); });
  connect(speed_, &QComboBox::activated, this, [this] { update::Combo_speed_Click(context_); });
  connect(version_button_, &QPushButton::clicked, this, [this] { Do(update::CmdVersion_Click); });
  connect(open_button_, &QPushButton::clicked, this, [this] { Do(update::CmdOpen_Click); });
  connect(update_button_, &QPushButton::clicked, this, [this] { Do(update::CmdUpdate_Click); });
  connect(close_button_, &QPushButton::clicked, this, [this] { RequestClose(); });
}

void UpdateDialog::FitHeight() {
  layout()->activate();
  for (WrappedLabel* label : {instructions_, detail_}) {
    label->setMinimumHeight(
        std::max(label->minimumHeight(), label->heightForWidth(label->width())));
  }
  resize(kUpdateWidth, std::max(height(), layout()->totalHeightForWidth(kUpdateWidth)));
}

template <typename Procedure>
void UpdateDialog::Do(Procedure procedure) {
  procedure(context_);
  // A press that was ignored returns here too, with the procedure that it met still running.
  if (close_pending_ && state_.Now == update::Activity::Idle) done(0);
}

void UpdateDialog::Run() {
  update::Dialog_Update_Load(context_);
  port_->setFocus();
  exec();
  update::Dialog_Update_Unload(context_);
}

bool UpdateDialog::RequestClose() {
  if (asking_) return false;
  const bool is_decided = close_pending_ || context_.Run.State.StopRequested;
  if (state_.Now == update::Activity::Updating && !is_decided) {
    asking_ = true;
    const bool stop =
        context_.MessageBoxes.Ask(ToUtf8(windowTitle()), update::StopQuestion(state_));
    asking_ = false;
    if (!stop) return false;
  }
  close_pending_ = true;
  if (state_.Now == update::Activity::Idle) {
    done(0);
  } else {
    context_.Run.State.StopRequested = true;
  }
  return true;
}

void UpdateDialog::reject() { RequestClose(); }

void UpdateDialog::closeEvent(QCloseEvent* event) {
  RequestClose();
  event->setAccepted(!isVisible());
}

void UpdateDialog::PlaceDivider() {
  // The layout gives the line its end points.
  layout()->activate();
}

void UpdateDialog::SetPortItems(const std::vector<std::string>& items) { SetItems(port_, items); }

void UpdateDialog::SetPortText(std::string_view text) { SetText(port_, text); }

std::string UpdateDialog::PortText() const { return TextOf(port_); }

void UpdateDialog::SetSpeedItems(const std::vector<std::string>& items) { SetItems(speed_, items); }

void UpdateDialog::SetSpeedText(std::string_view text) { SetText(speed_, text); }

std::string UpdateDialog::SpeedText() const { return TextOf(speed_); }

void UpdateDialog::EnableSpeed(bool enable) { speed_->setEnabled(enable); }

void UpdateDialog::EnableVersionButton(bool enable) { version_button_->setEnabled(enable); }

void UpdateDialog::EnableUpdateButton(bool enable) { update_button_->setEnabled(enable); }

void UpdateDialog::SetVersionText(std::string_view text) { version_->setText(ToQString(text)); }

void UpdateDialog::SetFileText(std::string_view path) {
  file_->setText(ToQString(path));
  file_->setToolTip(ToQString(path).toHtmlEscaped());
}

void UpdateDialog::SetInstructions(std::string_view text) {
  instructions_->SetText(ToQString(text));
  FitHeight();
}

void UpdateDialog::SetInstructionsBackground(std::optional<std::uint32_t> colour) {
  if (!colour) {
    instructions_->setPalette({});
    return;
  }
  const QColor background = FromColourValue(*colour);
  QPalette colours = instructions_->palette();
  colours.setColor(QPalette::Window, background);
  colours.setColor(QPalette::WindowText, ReadableOn(background));
  instructions_->setPalette(colours);
}

void UpdateDialog::SetStatusText(std::string_view text) { status_->SetText(ToQString(text)); }

void UpdateDialog::SetDetail(std::string_view text) {
  detail_->SetText(ToQString(text));
  FitHeight();
}

void UpdateDialog::SetProgress(int value) { progress_->setValue(value); }

void UpdateDialog::ShowProgress(int minimum, int maximum, int value) {
  progress_->setRange(minimum, maximum);
  progress_->setValue(value);
  progress_->show();
}

}  // namespace fenwright::ui
