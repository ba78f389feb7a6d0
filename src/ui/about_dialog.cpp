#include "ui/about_dialog.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "core/build_info.h"
#include "core/settings_keys.h"
#include "ui/controls.h"
#include "ui/icons.h"
#include "ui/license_dialog.h"

namespace fenwright::ui {
namespace {

constexpr int kAboutMargin = 16;
constexpr int kPictureSide = 64;
constexpr int kTextWidth = 340;

constexpr const char* kMaker = "製作 : Fenwright プロジェクト";

QLabel* TextLabel(const QString& object_name, const QString& accessible_name, const QString& text) {
  auto* label = new QLabel(text);
  Name(label, object_name, accessible_name);
  label->setAccessibleDescription(text);
  label->setTextFormat(Qt::PlainText);
  label->setWordWrap(true);
  return label;
}

void Emphasise(QLabel& label, double factor) {
  QFont font = label.font();
  font.setPointSizeF(font.pointSizeF() * factor);
  font.setBold(true);
  label.setFont(font);
}

QWidget* Picture() {
  auto* picture = new QLabel;
  Name(picture, "picIcon", "プログラムのアイコン");
  picture->setPixmap(
      ChipIcon().pixmap(QSize(kPictureSide, kPictureSide), picture->devicePixelRatioF()));
  return picture;
}

}  // namespace

AboutDialog::AboutDialog(QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                          Qt::WindowCloseButtonHint),
      licenses_(new LicenseDialog(this)) {
  Name(this, "frmAbout", "バージョン情報");
  setWindowTitle("バージョン情報");
  setModal(true);

  auto* texts = new QVBoxLayout;
  BuildTexts(*texts);
  auto* upper = new QHBoxLayout;
  upper->setSpacing(kAboutMargin);
  upper->addWidget(Picture(), 0, Qt::AlignTop);
  upper->addLayout(texts, 1);

  auto* line = new QFrame;
  line->setFrameShape(QFrame::HLine);
  line->setFrameShadow(QFrame::Sunken);

  auto* rows = new QVBoxLayout(this);
  rows->setContentsMargins(kAboutMargin, kAboutMargin, kAboutMargin, kAboutMargin);
  rows->setSpacing(kAboutMargin * 3 / 4);
  rows->setSizeConstraint(QLayout::SetFixedSize);
  rows->addLayout(upper);
  rows->addWidget(line);
  rows->addWidget(BuildButtons());
}

void AboutDialog::SetSupportPageLabel(const QString& text) {
  support_page_->setText(text);
  support_page_->setAccessibleDescription(text);
}

void AboutDialog::showEvent(QShowEvent* event) {
  close_->setFocus();
  QDialog::showEvent(event);
}

void AboutDialog::BuildTexts(QVBoxLayout& column) {
  column.setSpacing(4);
  auto* title = TextLabel("lblTitle", "タイトル", ToQString(core::kApplicationName));
  Emphasise(*title, 1.7);
  title->setMinimumWidth(kTextWidth);
  column.addWidget(title);
  auto* version = TextLabel("lblVersion", "バージョン", ToQString(core::VersionText()));
  Emphasise(*version, 1.1);
  column.addWidget(version);
  column.addSpacing(6);
  column.addWidget(TextLabel("lblDescription", "説明", ToQString(core::kFileDescription)));
  column.addWidget(TextLabel("Label1", "製作者", kMaker));
  support_page_ = TextLabel("lblSupportPage", "サポートページ", "");
  SetSupportPageLabel("ｻﾎﾟｰﾄﾍﾟｰｼﾞ : " + ToQString(core::kSupportUrl));
  column.addWidget(support_page_);
  column.addSpacing(6);
  column.addWidget(TextLabel("lblDisclaimer", "免責事項", ToQString(core::kComments)));
}

QWidget* AboutDialog::BuildButtons() {
  auto* box = new QWidget;
  auto* row = new QHBoxLayout(box);
  row->setContentsMargins(0, 0, 0, 0);
  QPushButton* support = CaptionedButton("Command1", "サポートホームページへジャンプ");
  QPushButton* licenses = CaptionedButton("Command2", "ライセンス");
  close_ = CaptionedButton("cmdOK", "閉じる");
  row->addWidget(support);
  row->addWidget(licenses);
  row->addStretch(1);
  row->addWidget(close_);
  for (QPushButton* button : {support, licenses, close_}) {
    button->setMinimumWidth(button->sizeHint().width() + kAboutMargin);
  }
  support->setAutoDefault(false);
  licenses->setAutoDefault(false);
  close_->setDefault(true);
  connect(support, &QPushButton::clicked, this, &AboutDialog::SupportPageRequested);
  connect(licenses, &QPushButton::clicked, licenses_, &QDialog::open);
  connect(close_, &QPushButton::clicked, this, &QDialog::accept);
  return box;
}

}  // namespace fenwright::ui
