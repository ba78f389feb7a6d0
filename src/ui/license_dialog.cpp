#include "ui/license_dialog.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QTextBrowser>
#include <QVBoxLayout>
#include <QtGui/qtgui-config.h>

#include "ui/controls.h"

/// The texts are in a library of their own, which is linked only when something asks for it. The
/// macro works outside of every namespace alone.
static void TakeTexts() { Q_INIT_RESOURCE(licenses); }

namespace fenwright::ui {
namespace {

constexpr QSize kTextSize{640, 420};

constexpr const char* kOverview = "qrc:/licenses/THIRD-PARTY.md";
// The overview is written in Markdown; a Qt without it would show its source.
QT_REQUIRE_CONFIG(textmarkdownreader);

constexpr const char* kIntroduction =
    "Fenwright は MIT ライセンスです。使用しているライブラリーのライセンスは次のとおりです "
    "(英語)。";

/// Shows what is not Markdown letter for letter: a licence is no HTML, whatever it has in "<>".
class TextPages : public QTextBrowser {
 protected:
  QVariant loadResource(int type, const QUrl& name) override {
    const QVariant page = QTextBrowser::loadResource(type, name);
    if (!page.isValid() || name.fileName().endsWith(".md")) return page;
    return "<pre style=\"white-space: pre-wrap\">" +
           QString::fromUtf8(page.toByteArray()).toHtmlEscaped() + "</pre>";
  }
};

}  // namespace

LicenseDialog::LicenseDialog(QWidget* parent) : QDialog(parent), text_(new TextPages) {
  TakeTexts();
  Name(this, "frmLicense", "ライセンス");
  setWindowTitle("ライセンス");
  setModal(true);

  auto* introduction = new QLabel(kIntroduction);
  Name(introduction, "lblIntroduction", "ライセンスの説明");
  introduction->setAccessibleDescription(kIntroduction);
  introduction->setWordWrap(true);

  Name(text_, "txtLicense", "ライセンスの本文");
  text_->setMinimumSize(kTextSize / 2);
  text_->setTabChangesFocus(true);
  text_->setOpenExternalLinks(true);

  auto* rows = new QVBoxLayout(this);
  rows->addWidget(introduction);
  rows->addWidget(text_, 1);
  rows->addWidget(BuildButtons());
  resize(kTextSize);
}

void LicenseDialog::showEvent(QShowEvent* event) {
  text_->setSource(QUrl(kOverview));
  text_->clearHistory();
  text_->setFocus();
  QDialog::showEvent(event);
}

QWidget* LicenseDialog::BuildButtons() {
  auto* box = new QWidget;
  auto* row = new QHBoxLayout(box);
  row->setContentsMargins(0, 0, 0, 0);
  QPushButton* back = CaptionedButton("cmdBack", "戻る");
  QPushButton* close = CaptionedButton("cmdClose", "閉じる");
  row->addWidget(back);
  row->addStretch(1);
  row->addWidget(close);
  back->setAutoDefault(false);
  back->setEnabled(false);
  close->setDefault(true);
  connect(text_, &QTextBrowser::backwardAvailable, back, &QWidget::setEnabled);
  connect(back, &QPushButton::clicked, text_, &QTextBrowser::backward);
  connect(close, &QPushButton::clicked, this, &QDialog::accept);
  return box;
}

}  // namespace fenwright::ui
