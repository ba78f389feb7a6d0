#include "ui/child_window_area.h"

#include <cstdlib>

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

namespace {

ViewPlaces FirstPlaces() {
  return {.Flash = ToPixels(kFlashViewPlace), .Eeprom = ToPixels(kEepromViewPlace), .Free = {}};
}

bool IsInItsOwnSize(const ChildWindow& child) {
  return !child.isMinimized() && !child.isMaximized() && !child.isShaded();
}

/// The bars around the area can be a pixel higher from one run to the next.
bool IsNear(const QRect& one, const QRect& other) {
  constexpr int kPixels = 3;
  return std::abs(one.left() - other.left()) <= kPixels &&
         std::abs(one.top() - other.top()) <= kPixels &&
         std::abs(one.right() - other.right()) <= kPixels &&
         std::abs(one.bottom() - other.bottom()) <= kPixels;
}

bool IsSeen(const ChildWindow& child) { return !child.isHidden() && !child.isMinimized(); }

}  // namespace

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
  PutAt(*guide_, QRect(QPoint(0, 0), guide_->sizeHint()));
  guide_->hide();
  for (ChildWindow* child : findChildren<ChildWindow*>()) {
    // The new state is complete once the change has returned.
    connect(child, &QMdiSubWindow::windowStateChanged, this, &ChildWindowArea::FollowSize,
            Qt::QueuedConnection);
    connect(child, &ChildWindow::Closed, this, &ChildWindowArea::FollowSize, Qt::QueuedConnection);
  }
  connect(this, &QMdiArea::subWindowActivated, this, &ChildWindowArea::MoveTabStop);
}

void ChildWindowArea::AddView(View view, ViewWindow* window, const QRect& place) {
  views_[view] = window;
  addSubWindow(window);
  PutAt(*window, place);
}

void ChildWindowArea::resizeEvent(QResizeEvent* event) {
  QMdiArea::resizeEvent(event);
  FollowSize();
}

ViewPlaces ChildWindowArea::Places() const {
  const bool keep_free = IsSeen(*ViewOf(View::Verify)) || IsSeen(*guide_);
  return ShareRoom(maximumViewportSize(), FirstPlaces(), keep_free);
}

/// Where it got its place from here, or would get this one: then the user has not moved it.
bool ChildWindowArea::StandsAt(const ChildWindow& child, const QRect& place) const {
  const QRect now = IsInItsOwnSize(child) ? child.geometry() : child.NormalPlace();
  return now == given_.at(&child) || IsNear(now, place);
}

/// A stored place can be from a time with or without the guide beside the views.
bool ChildWindowArea::ViewsFollow() const {
  const auto follow = [this](bool keep_free) {
    const ViewPlaces places = ShareRoom(maximumViewportSize(), FirstPlaces(), keep_free);
    return StandsAt(*ViewOf(View::Flash), places.Flash) &&
           StandsAt(*ViewOf(View::Eeprom), places.Eeprom);
  };
  return follow(false) || follow(true);
}

void ChildWindowArea::FollowSize() {
  if (!ViewsFollow()) return;
  FollowWithViews();
  PutReport();
  PutGuide();
}

void ChildWindowArea::FollowWithViews() {
  const ViewPlaces places = Places();
  PutAt(*ViewOf(View::Flash), places.Flash);
  PutAt(*ViewOf(View::Eeprom), places.Eeprom);
}

void ChildWindowArea::PutAt(ChildWindow& child, const QRect& place) {
  if (!IsInItsOwnSize(child)) return;
  given_[&child] = place;
  child.setGeometry(place);
}

void ChildWindowArea::PutReport() {
  const QRect free = Places().Free;
  const QRect place = free.isEmpty() ? ToPixels(kVerifyViewPlace) : free;
  ViewWindow& report = *ViewOf(View::Verify);
  if (StandsAt(report, place)) PutAt(report, place);
}

/// It keeps its size: in less the drawing is hard to read.
void ChildWindowArea::PutGuide() {
  const QRect free = Places().Free;
  const QSize size = guide_->size();
  const bool fits = free.width() >= size.width() && free.height() >= size.height();
  const QRect place(fits ? free.topLeft() : QPoint(0, 0), size);
  if (StandsAt(*guide_, place)) PutAt(*guide_, place);
}

void ChildWindowArea::Clear(View view) {
  if (view != View::Verify) ClearDifferences();
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
  if (view != View::Verify) ClearDifferences();
  window.SetContent(ToQString(code_page_.ToUtf8(text)).replace("\r\n", "\n"));
  if (view != View::Verify) return;
  LetReportAppear();
  emit ReportChanged();
}

void ChildWindowArea::Mark(View view, const screen::TextPlace& place) { ViewOf(view)->Mark(place); }

void ChildWindowArea::ClearMarks() {
  for (const auto& [view, window] : views_) window->ClearMark();
}

void ChildWindowArea::MarkDifferences(View view,
                                      const std::vector<screen::DifferingPlace>& places) {
  shown_difference_ = kNoDifference;
  ViewOf(view)->MarkDifferences(places);
}

void ChildWindowArea::ClearDifferences() {
  shown_difference_ = kNoDifference;
  for (const auto& [view, window] : views_) window->ClearDifferences();
}

int ChildWindowArea::DifferenceCount() const {
  return ViewOf(View::Flash)->DifferenceCount() + ViewOf(View::Eeprom)->DifferenceCount();
}

void ChildWindowArea::ShowNextDifference() {
  const int last = DifferenceCount() - 1;
  ShowDifference(shown_difference_ < last ? shown_difference_ + 1 : 0);
}

void ChildWindowArea::ShowPreviousDifference() {
  ShowDifference(shown_difference_ > 0 ? shown_difference_ - 1 : DifferenceCount() - 1);
}

void ChildWindowArea::ShowDifference(int index) {
  if (index < 0 || index >= DifferenceCount()) return;
  shown_difference_ = index;
  const int in_flash = ViewOf(View::Flash)->DifferenceCount();
  const bool flash = index < in_flash;
  ViewWindow& window = *ViewOf(flash ? View::Flash : View::Eeprom);
  ComeBack(window);
  window.ShowDifference(flash ? index : index - in_flash);
}

/// On the screen, behind what is there.
void ChildWindowArea::LetReportAppear() {
  ViewWindow& report = *ViewOf(View::Verify);
  if (!report.isHidden()) return;
  QMdiSubWindow* const active = activeSubWindow();
  report.showNormal();
  report.lower();
  if (active) setActiveSubWindow(active);
  FollowSize();
}

void ChildWindowArea::UncoverViews() {
  // The one that is active as soon as the main window is: that can be behind a dialog just now.
  const auto* const current = currentSubWindow();
  ViewWindow& flash = *ViewOf(View::Flash);
  const bool covered =
      current && current != &flash && current->geometry().intersects(flash.geometry());
  if (covered && IsSeen(flash)) setActiveSubWindow(&flash);
  for (const View view : {View::Eeprom, View::Flash}) {
    ViewWindow& window = *ViewOf(view);
    if (IsSeen(window)) window.raise();
  }
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

/// It stays where it was put; the views alone make room.
void ChildWindowArea::ShowGuide() {
  guide_->showNormal();
  if (ViewsFollow()) FollowWithViews();
  BringForward(*guide_);
}

void ChildWindowArea::OpenFlashView() { Open(View::Flash); }

void ChildWindowArea::OpenEepromView() { Open(View::Eeprom); }

void ChildWindowArea::Open(View view) {
  ViewWindow& window = *ViewOf(view);
  window.showNormal();
  const ViewPlaces places = Places();
  PutAt(window, view == View::Flash ? places.Flash : places.Eeprom);
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
