#include "ui/child_window_area.h"

#include <QStyle>
#include <QTextEdit>

#include "ui/controls.h"
#include "ui/fonts.h"
#include "ui/guide_window.h"
#include "ui/mdi_arrange.h"
#include "ui/twips.h"
#include "ui/view_window.h"

namespace fenwright::ui {

using screen::View;

ChildWindowArea::ChildWindowArea(platform::TextFiles& files, platform::CodePage& code_page)
    : files_(files), code_page_(code_page), guide_(new GuideWindow) {
  Name(this, "mdiArea", "メモリ表示");
  setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  setFrameShape(QFrame::StyledPanel);
  setOption(DontMaximizeSubWindowOnActivation);
  AddView(View::Flash,
          new ViewWindow("frmProgram", "txtPrg", "フラッシュプログラムメモリ", MonospacedFont()),
          ToPixels(kFlashViewPlace));
  AddView(View::Eeprom,
          new ViewWindow("frmEEprom", "txtEEp", "EEPROMデータメモリ", NarrowMonospacedFont()),
          ToPixels(kEepromViewPlace));
  AddView(View::Verify, new ViewWindow("frmVerify", "rtVerify", "ベリファイ結果", MonospacedFont()),
          ToPixels(kVerifyViewPlace));
  ViewOf(View::Verify)->hide();
  addSubWindow(guide_);
  guide_->setGeometry(QRect(QPoint(0, 0), guide_->sizeHint()));
  guide_->hide();
  connect(this, &QMdiArea::subWindowActivated, this, &ChildWindowArea::MoveTabStop);
}

void ChildWindowArea::AddView(View view, ViewWindow* window, const QRect& place) {
  views_[view] = window;
  addSubWindow(window);
  window->setGeometry(place);
}

void ChildWindowArea::Clear(View view) {
  ViewOf(view)->SetContent({});
  if (view == View::Verify) emit ReportChanged();
}

bool ChildWindowArea::Load(View view, std::string_view path) {
  std::string bytes;
  const bool read = static_cast<bool>(files_.Read(path, bytes));
  ShowText(view, read ? bytes : "");
  return read;
}

void ChildWindowArea::ShowText(View view, std::string_view text) {
  ViewWindow& window = *ViewOf(view);
  window.SetContent(ToQString(code_page_.ToUtf8(text)).replace("\r\n", "\n"));
  if (view != View::Verify) return;
  ComeBack(window);
  emit ReportChanged();
}

void ChildWindowArea::Mark(View view, const screen::TextPlace& place) { ViewOf(view)->Mark(place); }

void ChildWindowArea::ClearMarks() {
  for (const auto& [view, window] : views_) window->ClearMark();
}

bool ChildWindowArea::HasReport() const {
  return !ViewOf(View::Verify)->TextControl()->document()->isEmpty();
}

void ChildWindowArea::ShowReport() {
  if (HasReport()) ComeBack(*ViewOf(View::Verify));
}

void ChildWindowArea::ComeBack(ViewWindow& window) {
  if (window.isMinimized() || window.isHidden()) window.showNormal();
  BringForward(window);
}

void ChildWindowArea::TakeTabStopsBehind(QWidget* control) {
  for (const QMdiSubWindow* child : subWindowList()) {
    setTabOrder(control, child->widget());
    control = child->widget();
  }
}

/// Tab comes by the active child window alone; it would bring any other forward.
void ChildWindowArea::MoveTabStop(const QMdiSubWindow* active) {
  if (!active) return;
  for (ChildWindow* child : findChildren<ChildWindow*>()) child->SetTabStop(child == active);
}

void ChildWindowArea::BringForward(QMdiSubWindow& child) {
  child.raise();
  setActiveSubWindow(&child);
}

void ChildWindowArea::ShowGuide() {
  guide_->showNormal();
  BringForward(*guide_);
}

void ChildWindowArea::OpenFlashView() { Open(View::Flash, ToPixels(kFlashViewPlace)); }

void ChildWindowArea::OpenEepromView() { Open(View::Eeprom, ToPixels(kEepromViewPlace)); }

void ChildWindowArea::Open(View view, const QRect& place) {
  ViewWindow& window = *ViewOf(view);
  window.showNormal();
  window.setGeometry(place);
  BringForward(window);
}

void ChildWindowArea::Cascade() {
  const int title = style()->pixelMetric(QStyle::PM_TitleBarHeight, nullptr, ViewOf(View::Flash));
  Place([step = title + 4](const QSize& area, int count) {
    return CascadePlaces(area, count, step);
  });
}

void ChildWindowArea::TileOneAboveTheOther() {
  Place([](const QSize& area, int count) { return TilePlaces(area, count, Qt::Vertical); });
}

void ChildWindowArea::TileSideBySide() {
  Place([](const QSize& area, int count) { return TilePlaces(area, count, Qt::Horizontal); });
}

void ChildWindowArea::Place(const std::function<std::vector<QRect>(const QSize&, int)>& places) {
  std::vector<QMdiSubWindow*> shown;
  for (QMdiSubWindow* child : subWindowList()) {
    if (!child->isVisible() || child->isMinimized()) continue;
    if (child->isMaximized()) child->showNormal();
    shown.push_back(child);
  }
  const std::vector<QRect> rects = places(maximumViewportSize(), static_cast<int>(shown.size()));
  for (std::size_t index = 0; index < shown.size(); ++index) {
    shown.at(index)->setGeometry(rects.at(index));
    shown.at(index)->raise();
  }
  if (!shown.empty()) setActiveSubWindow(shown.back());
}

void ChildWindowArea::ArrangeMinimised() {
  std::vector<QMdiSubWindow*> minimised;
  for (QMdiSubWindow* child : subWindowList()) {
    if (child->isVisible() && child->isMinimized()) minimised.push_back(child);
  }
  if (minimised.empty()) return;
  const std::vector<QPoint> places = IconPlaces(
      maximumViewportSize(), static_cast<int>(minimised.size()), minimised.front()->size());
  for (std::size_t index = 0; index < minimised.size(); ++index) {
    minimised.at(index)->move(places.at(index));
  }
}

}  // namespace fenwright::ui
