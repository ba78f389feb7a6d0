#include "ui/com_dialog.h"

#include <algorithm>
#include <utility>

#include <QApplication>
#include <QCloseEvent>
#include <QComboBox>
#include <QEventLoop>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QStyle>
#include <QStyledItemDelegate>
#include <QVBoxLayout>

#include "ui/controls.h"
#include "ui/icons.h"
#include "ui/screen_place.h"
#include "ui/wrapped_label.h"

namespace fenwright::ui {
namespace {

constexpr int kComWidth = 440;
constexpr int kPictureSize = 48;
constexpr int kRefreshMilliseconds = 1000;
constexpr int kLinesOfPortLine = 3;
constexpr int kVisibleItems = 22;
constexpr int kSummaryGap = 16;
constexpr const char* kSimulationItem = "シミュレーション";

/// What stands beside an item, and whether there is a device.
constexpr int kSummaryRole = Qt::UserRole;
constexpr int kPresentRole = Qt::UserRole + 1;
constexpr int kUsableRole = Qt::UserRole + 2;

/// Draws an item's own text and, further right and in another colour, what it is. The text alone is
/// what the item says.
class PortItemDelegate final : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;

  void paint(QPainter* painter, const QStyleOptionViewItem& option,
             const QModelIndex& index) const override {
    QStyleOptionViewItem item = option;
    initStyleOption(&item, index);
    const QString summary = index.data(kSummaryRole).toString();
    const bool grey = !summary.isEmpty() && !index.data(kPresentRole).toBool();
    const bool selected = item.state.testFlag(QStyle::State_Selected);
    const QPalette::ColorGroup group = grey ? QPalette::Disabled : QPalette::Active;
    if (!grey && !summary.isEmpty()) item.font.setBold(true);
    item.palette.setColor(QPalette::Text, item.palette.color(group, QPalette::Text));
    const QStyle* const style = item.widget ? item.widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &item, painter, item.widget);
    painter->save();
    painter->setPen(selected ? item.palette.color(QPalette::Active, QPalette::HighlightedText)
                    : grey   ? item.palette.color(QPalette::Disabled, QPalette::Text)
                             : SummaryColour(item.palette));
    const QRect place = item.rect.adjusted(SummaryStart(item.font), 0, -kSummaryGap / 2, 0);
    painter->drawText(place, Qt::AlignLeft | Qt::AlignVCenter,
                      item.fontMetrics.elidedText(summary, Qt::ElideRight, place.width()));
    painter->restore();
  }

 private:
  /// The palette's colour of links, where it can be read: some dark palettes leave it dark.
  static QColor SummaryColour(const QPalette& palette) {
    constexpr QRgb kOnDark = 0x7AB8F5;
    const QColor link = palette.color(QPalette::Active, QPalette::Link);
    const bool dark = palette.color(QPalette::Active, QPalette::Base).lightness() < 128;
    return dark && link.lightness() < 160 ? QColor(kOnDark) : link;
  }

  /// Behind the longest item there is; the bold ones are the widest.
  static int SummaryStart(QFont font) {
    font.setBold(true);
    const QFontMetrics metrics(font);
    return std::max(metrics.horizontalAdvance("COM256") + kSummaryGap,
                    metrics.horizontalAdvance(kSimulationItem)) +
           kSummaryGap;
  }
};

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
  list_->setItemDelegate(new PortItemDelegate(list_));
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

  search_button_ = new QPushButton("ライターを探す");
  Name(search_button_, "cmdSearchBoard", search_button_->text(),
       "使用できるポートを順に調べ、ライターがつながったポートを選びます。");
  search_button_->setAutoDefault(false);
  search_button_->setMinimumWidth(search_button_->fontMetrics().horizontalAdvance("M") * 2 +
                                  search_button_->sizeHint().width());
  search_button_->hide();
  connect(search_button_, &QPushButton::clicked, this, [this] {
    if (!waiting_) return;
    search_asked_ = true;
    waiting_->quit();
  });

  auto* buttons = new QHBoxLayout;
  buttons->addWidget(search_button_);
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
  simulation_offered_ = false;
  list_->clear();
  for (const std::string& item : items) list_->addItem(ToQString(item));
  port_items_ = list_->count();
  ShowSummaries();
  OfferSimulation();
}

void ComDialog::SetSummaries(std::function<PortSummary(int number)> summarise) {
  summarise_ = std::move(summarise);
  ShowSummaries();
}

void ComDialog::SetSearch(std::function<int(const std::vector<int>& numbers)> search) {
  search_ = std::move(search);
  search_button_->setVisible(static_cast<bool>(search_));
}

void ComDialog::ShowSummaries() {
  if (!summarise_) return;
  for (int item = 1; item < port_items_; ++item) {
    const PortSummary summary = summarise_(item);
    if (list_->itemData(item, kSummaryRole).toString() == summary.Text) continue;
    list_->setItemData(item, summary.Text, kSummaryRole);
    list_->setItemData(item, summary.Present, kPresentRole);
    list_->setItemData(item, summary.Usable, kUsableRole);
    // A screen reader says both.
    list_->setItemData(item, list_->itemText(item) + " " + summary.Text,
                       Qt::AccessibleDescriptionRole);
  }
}

/// Only where there is nothing else to choose: whoever has a board wants that one.
void ComDialog::OfferSimulation() {
  if (!simulate_ || !summarise_) return;
  for (int item = 1; item < port_items_; ++item) {
    if (list_->itemData(item, kUsableRole).toBool()) return;
  }
  list_->addItem(kSimulationItem);
  const int item = list_->count() - 1;
  list_->setItemData(item, "ライターなしで試します", kSummaryRole);
  list_->setItemData(item, true, kPresentRole);
  simulation_offered_ = true;
}

bool ComDialog::SimulationChosen() const {
  return simulate_ && list_->currentIndex() >= port_items_;
}

std::vector<int> ComDialog::PresentItems() const {
  std::vector<int> items;
  for (int item = 1; item < port_items_; ++item) {
    if (list_->itemData(item, kPresentRole).toBool()) items.push_back(item);
  }
  return items;
}

void ComDialog::Search() {
  search_asked_ = false;
  const std::vector<int> items = PresentItems();
  setEnabled(false);
  SetNote("ライターを探しています.....");
  int found = 0;
  try {
    found = search_(items);
  } catch (...) {
    // The command ends here, and the dialog with it.
    setEnabled(true);
    refresh_.stop();
    hide();
    throw;
  }
  setEnabled(true);
  if (found != 0) SetListIndex(found);
  SetNote(found != 0 ? ToUtf8(list_->itemText(found)) + " にライターが見つかりました。"
          : items.empty()
              ? "使用できるポートがありません。ライターのUSBケーブルを確認してください。"
              : "ライターが見つかりませんでした。電源とケーブルを確認してください。");
}

/// The procedure goes on with the first port, which leads to the simulated board from now on.
void ComDialog::Simulate() {
  simulate_();
  SetListIndex(1);
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
  while (search_asked_) {
    waiting_ = nullptr;
    Search();
    waiting_ = &loop;
    loop.exec();
  }
  waiting_ = nullptr;
  if (button_ == screen::ComFormButton::Ok && SimulationChosen()) Simulate();
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
  ShowSummaries();
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
  if (SimulationChosen()) {
    return "プログラムの中の模擬ボードを使います。実際のポートとデバイスには何も書き込みません。";
  }
  if (index > 0) return ToQString(describe_(index));
  const QString choose = "ライターをつないだポートを選んでください。";
  // The last item is out of sight as long as the list is closed.
  return simulation_offered_
             ? choose + "\nライターがなくても、一覧の最後の「" + kSimulationItem + "」で試せます。"
             : choose;
}

/// Grows with its texts, and does not shrink: it would jump from one port to the next.
void ComDialog::FitHeight() {
  layout()->activate();
  const int wanted = layout()->hasHeightForWidth() ? layout()->totalHeightForWidth(kComWidth)
                                                   : layout()->totalSizeHint().height();
  setFixedSize(kComWidth, std::max(wanted, isVisible() ? height() : 0));
}

}  // namespace fenwright::ui
