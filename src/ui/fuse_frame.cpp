#include "ui/fuse_frame.h"

#include <algorithm>
#include <array>
#include <set>

#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QPainter>
#include <QPolygon>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "ui/controls.h"
#include "ui/text_pane.h"
#include "ui/wrapped_label.h"

namespace fenwright::ui {
namespace {

using screen::FuseList;

constexpr int kFrameSpacing = 1;
constexpr int kGap = 4;
constexpr int kFrameMargin = 5;
/// Room that a list needs beside its text.
constexpr int kListPadding = 29;
constexpr int kListHeightPadding = 3;
constexpr int kButtonHeightPadding = 8;
/// Less of the words is no help.
constexpr int kLeastWordLines = 1;
/// What stands in a list that the device does not have.
constexpr const char* kNoField = "-";

/// The grid: a label and a list, and the same beside them.
enum Column { LeftLabel, LeftList, RightLabel, RightList, ColumnCount };

/// A list, its label, and where both stand. The labels of `Combo_CKOPT` and `Combo_PLLCK` really
/// say "ＢＯＤレベル"; their tips and their accessible names tell which field they are.
struct FieldDesign {
  FuseList List;
  const char* ListName;
  const char* LabelName;
  const char* Caption;
  const char* AccessibleName;
  const char* ToolTip;
  int Row;
  int LabelColumn;
  int ListColumn;
  int ListSpan = 1;
};

constexpr std::array<FieldDesign, 11> kFields{{
    {.List = FuseList::Cksel,
     .ListName = "Combo_CKSEL",
     .LabelName = "Lbl_CKSEL",
     .Caption = "リセットディレイセレクト CKS[ Msb...Lsb ]",
     .AccessibleName = "CKSEL リセットディレイセレクト",
     .ToolTip = "CKSEL",
     .Row = 0,
     .LabelColumn = LeftLabel,
     .ListColumn = RightList},
    {.List = FuseList::Sut,
     .ListName = "Combo_SUT",
     .LabelName = "Lbl_SUT",
     .Caption = "スタートアップタイムセレクト [ Msb...Lsb ]",
     .AccessibleName = "SUT スタートアップタイムセレクト",
     .ToolTip = "SUT",
     .Row = 1,
     .LabelColumn = LeftLabel,
     .ListColumn = RightList},
    {.List = FuseList::Boden,
     .ListName = "Combo_BODEN",
     .LabelName = "Lbl_BODEN",
     .Caption = "ＢＯＤ有効ビット",
     .AccessibleName = "BODEN ＢＯＤ有効ビット",
     .ToolTip = "BODEN",
     .Row = 2,
     .LabelColumn = LeftLabel,
     .ListColumn = LeftList},
    {.List = FuseList::Bodlevel,
     .ListName = "Combo_BODLEVEL",
     .LabelName = "Lbl_BODLEVEL",
     .Caption = "BODLEVEL",
     .AccessibleName = "BODLEVEL ＢＯＤレベル",
     .ToolTip = "ＢＯＤレベル",
     .Row = 2,
     .LabelColumn = RightLabel,
     .ListColumn = RightList},
    {.List = FuseList::Ckopt,
     .ListName = "Combo_CKOPT",
     .LabelName = "Lbl_CKOPT",
     .Caption = "ＢＯＤレベル",
     .AccessibleName = "CKOPT",
     .ToolTip = "CKOPT (発振回路の設定)",
     .Row = 3,
     .LabelColumn = LeftLabel,
     .ListColumn = LeftList},
    {.List = FuseList::Pllck,
     .ListName = "Combo_PLLCK",
     .LabelName = "Lbl_PLLCK",
     .Caption = "ＢＯＤレベル",
     .AccessibleName = "PLLCK",
     .ToolTip = "PLLCK (内蔵PLLクロック)",
     .Row = 3,
     .LabelColumn = RightLabel,
     .ListColumn = RightList},
    {.List = FuseList::Eesave,
     .ListName = "Combo_EESAVE",
     .LabelName = "Lbl_EESAVE",
     .Caption = "EESAVE",
     .AccessibleName = "EESAVE",
     .ToolTip = "EESAVE",
     .Row = 4,
     .LabelColumn = LeftLabel,
     .ListColumn = LeftList},
    {.List = FuseList::Rstdisabl,
     .ListName = "Combo_RSTDISABL",
     .LabelName = "Lbl_RSTDISABL",
     .Caption = "RSTDISBL",
     .AccessibleName = "RSTDISBL ＰＢ５端子、リセット機能無効ビット",
     .ToolTip = "ＰＢ５端子、リセット機能無効ビット",
     .Row = 4,
     .LabelColumn = RightLabel,
     .ListColumn = RightList},
    {.List = FuseList::Fstrt,
     .ListName = "Combo_FSTRT",
     .LabelName = "Lbl_FSTRT",
     .Caption = "ファーストスタートアップ有効ビット",
     .AccessibleName = "FSTRT ファーストスタートアップ有効ビット",
     .ToolTip = "FSTRT",
     .Row = 5,
     .LabelColumn = LeftLabel,
     .ListColumn = RightList},
    {.List = FuseList::Rcen,
     .ListName = "Combo_RCEN",
     .LabelName = "Lbl_RCEN",
     .Caption = "ＲＣオシレータ有効ビット",
     .AccessibleName = "RCEN ＲＣオシレータ有効ビット",
     .ToolTip = "RCEN",
     .Row = 6,
     .LabelColumn = LeftLabel,
     .ListColumn = RightList},
    {.List = FuseList::Lock,
     .ListName = "Combo_LockBit",
     .LabelName = "Label6",
     .Caption = "Lock bit",
     .AccessibleName = "Lock bit",
     .ToolTip = "書き込んだロックビットは、チップイレースでだけ元に戻ります。",
     .Row = 7,
     .LabelColumn = LeftLabel,
     .ListColumn = LeftList,
     .ListSpan = ColumnCount - LeftList},
}};

/// A list that can be marked by its corner, which also those see who do not see colours.
class MarkedComboBox final : public SteadyComboBox {
 public:
  void SetMarked(bool marked) {
    if (marked == marked_) return;
    marked_ = marked;
    QFont letters = font();
    letters.setBold(marked);
    setFont(letters);
    update();
  }

 protected:
  void paintEvent(QPaintEvent* event) override {
    SteadyComboBox::paintEvent(event);
    if (!marked_) return;
    QPainter painter(this);
    painter.setPen(Qt::NoPen);
    painter.setBrush(palette().color(QPalette::Highlight));
    const int side = kMarkSize;
    painter.drawPolygon(QPolygon({{1, 1}, {1 + side, 1}, {1, 1 + side}}));
  }

 private:
  static constexpr int kMarkSize = 8;
  bool marked_ = false;
};

int WidthFor(const QWidget* list, const QString& longest) {
  return list->fontMetrics().horizontalAdvance(longest) + kListPadding;
}

}  // namespace

FuseFrame::FuseFrame()
    : frame_(new QGroupBox("Lock/Fuse ビット ＆ Calib.データ")), byte_line_(new QLabel) {
  setObjectName("pnlFuse");
  Name(frame_, "fraFuse", frame_->title());
  // Hiding it while the lists change must not move what stands below it.
  QSizePolicy policy = frame_->sizePolicy();
  policy.setRetainSizeWhenHidden(true);
  frame_->setSizePolicy(policy);

  auto* grid = new QGridLayout(frame_);
  grid->setContentsMargins(kFrameMargin, 0, kFrameMargin, kFrameSpacing);
  grid->setHorizontalSpacing(kGap);
  grid->setVerticalSpacing(0);
  grid->setColumnStretch(LeftLabel, 1);
  grid->setColumnStretch(RightLabel, 1);
  AddFields(grid);
  AddCalibration(grid, grid->rowCount());
  AddButtons(grid, grid->rowCount());

  Name(byte_line_, "lblFuseBytes", "書き込まれるバイト",
       "ライトで書き込まれるバイトです。データシートと比べられます。");
  byte_line_->setTextFormat(Qt::PlainText);

  words_ = new WrappedLabel;
  Name(words_, "lblFuseWords", "変更したヒューズの意味");
  words_pane_ = new TextPane(words_, kLeastWordLines);
  words_pane_->setObjectName("scrFuseWords");

  auto* rows = new QVBoxLayout(this);
  rows->setContentsMargins(0, 0, 0, 0);
  rows->setSpacing(kFrameSpacing);
  rows->addWidget(frame_);
  rows->addWidget(byte_line_);
  rows->addWidget(words_pane_);
}

void FuseFrame::ShowNotes(const std::vector<FieldNote>& notes) {
  for (const auto& [list, box] : lists_) {
    static_cast<MarkedComboBox*>(box)->SetMarked(false);
    box->setAccessibleDescription({});
  }
  QStringList words;
  QStringList sources;
  // What cannot be undone comes first: the others may have to be scrolled to.
  std::vector<FieldNote> in_order = notes;
  std::stable_partition(in_order.begin(), in_order.end(),
                        [](const FieldNote& note) { return note.List == FuseList::Rstdisabl; });
  for (const FieldNote& note : in_order) {
    QComboBox* const box = List(note.List);
    static_cast<MarkedComboBox*>(box)->SetMarked(true);
    box->setAccessibleDescription("既定値 " + note.Default + " から変更 : " + note.Words);
    words << note.Words;
    if (!note.Source.isEmpty()) sources << note.Source;
  }
  sources.removeDuplicates();
  words_pane_->SetText(words.join('\n'));
  words_->setToolTip((words + sources).join('\n').toHtmlEscaped().replace('\n', "<br>"));
}

/// Of the rows with fields, those on which the device has none, the lowest first. The lock list has
/// its own way to be left out.
std::vector<int> FuseFrame::EmptyRows() const {
  std::set<int> rows;
  for (const FieldDesign& design : kFields) {
    if (design.List != FuseList::Lock) rows.insert(design.Row);
  }
  for (const FieldDesign& design : kFields) {
    if (List(design.List)->itemText(0) != kNoField) rows.erase(design.Row);
  }
  return {rows.rbegin(), rows.rend()};
}

int FuseFrame::RowHeight() const { return List(FuseList::Cksel)->height(); }

int FuseFrame::RowsLeftOut() const {
  return std::min(rows_to_leave_out_, static_cast<int>(EmptyRows().size()));
}

void FuseFrame::LeaveRowsOut(int count) {
  rows_to_leave_out_ = count;
  ShowRows();
}

void FuseFrame::ShowRows() {
  std::vector<int> rows = EmptyRows();
  rows.resize(static_cast<std::size_t>(RowsLeftOut()));
  for (const FieldDesign& design : kFields) {
    if (design.List == FuseList::Lock) continue;
    const bool left_out = std::ranges::find(rows, design.Row) != rows.end();
    for (QWidget* part : std::initializer_list<QWidget*>{List(design.List), LabelOf(design.List)}) {
      if (part->isHidden() != left_out) part->setVisible(!left_out);
    }
  }
}

void FuseFrame::AddFields(QGridLayout* grid) {
  for (const FieldDesign& design : kFields) {
    auto* list = new MarkedComboBox;
    Name(list, design.ListName, design.AccessibleName, design.ToolTip);
    list->addItem(kNoField);
    list->setEnabled(false);
    list->setFixedHeight(list->fontMetrics().height() + kListHeightPadding);
    list->setMaxVisibleItems(16);
    const bool left = design.ListColumn == LeftList;
    if (design.ListSpan == 1) list->setFixedWidth(WidthFor(list, left ? "Disable" : "PB7:Reset"));

    auto* label = new QLabel(design.Caption);
    Name(label, design.LabelName, design.AccessibleName, design.ToolTip);
    label->setTextFormat(Qt::PlainText);
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    label->setBuddy(list);

    const int label_span = design.ListColumn - design.LabelColumn;
    grid->addWidget(label, design.Row, design.LabelColumn, 1, label_span);
    grid->addWidget(list, design.Row, design.ListColumn, 1, design.ListSpan);
    lists_[design.List] = list;
    labels_[design.List] = label;
    connect(list, &QComboBox::currentIndexChanged, this, &FuseFrame::SelectionChanged);
  }
  connect(List(FuseList::Rstdisabl), &QComboBox::activated, this, &FuseFrame::ResetPinPicked);
  SetLockListVisible(false);
}

void FuseFrame::AddCalibration(QGridLayout* grid, int row) {
  auto* caption = new QLabel("発振校正値 1・・・ 8MHz");
  Name(caption, "Lbl_CALIB_Caption", "発振校正値");
  caption->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  calibration_ = new QLabel("-");
  Name(calibration_, "Lbl_READCALIB", "発振校正値 1・・・ 8MHz", "チップから読み出した値です。");
  calibration_->setTextFormat(Qt::PlainText);
  calibration_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  grid->addWidget(caption, row, LeftLabel, 1, 2);
  grid->addWidget(calibration_, row, RightLabel, 1, 2);
}

void FuseFrame::AddButtons(QGridLayout* grid, int row) {
  read_ = new QPushButton("Lock＆Fuseリード");
  Name(read_, "cmdFuseRead", read_->text(), "チップのヒューズ、ロックビット、校正値を読み出します");
  write_ = new QPushButton("Lock＆Fuseライト");
  Name(write_, "cmdFuseWrite", write_->text(),
       "選んだヒューズとロックビットをチップに書き込みます");
  auto* buttons = new QHBoxLayout;
  buttons->setSpacing(kGap);
  for (QPushButton* button : {read_, write_}) {
    button->setEnabled(false);
    button->setFixedHeight(button->fontMetrics().height() + kButtonHeightPadding);
    buttons->addWidget(button, 1);
  }
  grid->addLayout(buttons, row, 0, 1, ColumnCount);
}

void FuseFrame::SetItems(FuseList list, std::span<const std::string_view> items) {
  QComboBox* const box = List(list);
  const QSignalBlocker silent(box);
  box->clear();
  for (const std::string_view item : items) box->addItem(ToQString(item));
  box->setCurrentIndex(-1);
  ShowRows();
}

void FuseFrame::Select(FuseList list, int index) {
  QComboBox* const box = List(list);
  const QSignalBlocker silent(box);
  box->setCurrentIndex(index);
}

int FuseFrame::SelectedIndex(FuseList list) const { return List(list)->currentIndex(); }

void FuseFrame::EnableList(FuseList list, bool enable) { List(list)->setEnabled(enable); }

void FuseFrame::SetLockListVisible(bool visible) {
  List(FuseList::Lock)->setVisible(visible);
  LabelOf(FuseList::Lock)->setVisible(visible);
}

void FuseFrame::EnableButtons(bool read, bool write) {
  read_->setEnabled(read);
  write_->setEnabled(write);
}

void FuseFrame::SetCalibrationText(std::string_view text) { ShowText(calibration_, text); }

void FuseFrame::SetByteLine(std::string_view text) {
  ShowText(byte_line_, text);
  emit BytesShown();
}

void FuseFrame::SetFrameVisible(bool visible) { frame_->setVisible(visible); }

}  // namespace fenwright::ui
