#include "ui/job_dialog.h"

#include <initializer_list>

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "ui/controls.h"
#include "ui/fonts.h"
#include "ui/wrapped_label.h"

namespace fenwright::ui {
namespace {

constexpr int kDialogWidth = 560;
constexpr int kDialogMargin = 14;
constexpr int kLeastLines = 3;

QPushButton* Button(const QString& name, const QString& caption, const QString& accessible_name,
                    const QString& tool_tip) {
  auto* button = new QPushButton(caption);
  Name(button, name, accessible_name, tool_tip);
  button->setAutoDefault(false);
  return button;
}

}  // namespace

JobDialog::JobDialog(QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                          Qt::WindowCloseButtonHint),
      description_(new WrappedLabel),
      fuses_(new QCheckBox("ヒューズとロックの選択を含める(&F)")),
      open_(
          Button("cmdJobOpen", "開く(&O)...", "ジョブを開く",
                 "ジョブファイルを読み、デバイス、ファイル、ヒューズの選択をそのとおりにします。")),
      save_(Button("cmdJobSave", "保存(&S)...", "ジョブを保存",
                   "いまのデバイスとファイルをジョブファイルに保存します。")),
      command_line_(new QLineEdit),
      copy_(Button("cmdJobCopy", "コピー(&C)", "コマンドラインをコピー",
                   "コマンドラインをクリップボードにコピーします。")) {
  Name(this, "frmJob", "ジョブ");
  setWindowTitle("ジョブ");
  setAttribute(Qt::WA_QuitOnClose, false);
  // A file dropped on the field is meant for the main window.
  command_line_->setAcceptDrops(false);

  Name(description_, "lblJob", "ジョブの状態");
  description_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
  description_->setMinimumHeight(kLeastLines * fontMetrics().lineSpacing());
  Name(fuses_, "chkJobFuses", "ヒューズとロックの選択を含める",
       "いまのヒューズとロックの一覧の選択を、ジョブに入れます。");
  connect(fuses_, &QCheckBox::clicked, this, &JobDialog::FusesPicked);
  connect(open_, &QPushButton::clicked, this, &JobDialog::OpenAsked);
  connect(save_, &QPushButton::clicked, this, &JobDialog::SaveAsked);

  auto* close = Button("cmdJobClose", "閉じる", "閉じる", "");
  connect(close, &QPushButton::clicked, this, &QDialog::reject);
  auto* buttons = new QHBoxLayout;
  buttons->addWidget(open_);
  buttons->addWidget(save_);
  buttons->addStretch(1);
  buttons->addWidget(close);

  auto* rows = new QVBoxLayout(this);
  rows->setContentsMargins(kDialogMargin, kDialogMargin, kDialogMargin, kDialogMargin);
  rows->addWidget(description_, 1);
  rows->addWidget(fuses_);
  rows->addWidget(BuildCommandLine());
  rows->addLayout(buttons);
  resize(kDialogWidth, sizeHint().height());
}

QWidget* JobDialog::BuildCommandLine() {
  Name(command_line_, "txtJobCommand", "コマンドライン",
       "同じことをするコマンドラインです。選択してコピーできます。");
  command_line_->setReadOnly(true);
  command_line_->setFont(MonospacedInterfaceFont());
  command_line_->setPlaceholderText("ジョブにできる内容になると、ここに出ます");
  connect(copy_, &QPushButton::clicked, this,
          [this] { QApplication::clipboard()->setText(command_line_->text()); });

  auto* caption = new QLabel("コマンドライン(&L)");
  Name(caption, "lblJobCommand", "コマンドライン");
  caption->setBuddy(command_line_);
  auto* row = new QHBoxLayout;
  row->addWidget(command_line_, 1);
  row->addWidget(copy_);
  auto* box = new QWidget;
  auto* rows = new QVBoxLayout(box);
  rows->setContentsMargins(0, 0, 0, 0);
  rows->addWidget(caption);
  rows->addLayout(row);
  return box;
}

void JobDialog::Show(const JobView& view) {
  description_->SetText(view.Description);
  fuses_->setChecked(view.WithFuses);
  if (view.CommandLine != command_line_->text()) {
    command_line_->setText(view.CommandLine);
    command_line_->setCursorPosition(0);
  }
  copy_->setEnabled(!view.CommandLine.isEmpty());
  may_save_ = view.MaySave;
  EnableButtons();
  GrowToFit();
}

/// It never shrinks: the buttons would move away below the mouse.
void JobDialog::GrowToFit() {
  layout()->activate();
  const int needed = layout()->totalHeightForWidth(width());
  if (needed > height()) resize(width(), needed);
}

void JobDialog::EnableCommands(bool enable) {
  idle_ = enable;
  EnableButtons();
}

void JobDialog::EnableButtons() {
  for (QWidget* control : std::initializer_list<QWidget*>{open_, fuses_}) {
    control->setEnabled(idle_);
  }
  save_->setEnabled(idle_ && may_save_);
}

}  // namespace fenwright::ui
