#pragma once

#include <functional>
#include <map>
#include <vector>

#include <QMdiArea>

#include "platform/code_page.h"
#include "platform/text_files.h"
#include "screen/views.h"
#include "ui/mdi_arrange.h"

namespace fenwright::ui {

class ChildWindow;

class GuideWindow;
class ViewWindow;

/// The area of the main window that holds its child windows: the three views and the device
/// insertion guide. Until the user moves one of the memory views, the children follow the size of
/// the area: the views fill it, the report and the guide take the room beside them.
///
/// A verify report that is loaded gets its text and is on the screen, but comes forward only by
/// ShowReport(): a good one never covers the memory.
class ChildWindowArea final : public QMdiArea, public screen::Views {
  Q_OBJECT

 public:
  /// Both must outlive the area.
  ChildWindowArea(platform::TextFiles& files, platform::CodePage& code_page);

  void Clear(screen::View view) override;
  bool Load(screen::View view, std::string_view path) override;
  void Mark(screen::View view, const screen::TextPlace& place) override;
  void ClearMarks() override;
  void MarkDifferences(screen::View view,
                       const std::vector<screen::DifferingPlace>& places) override;
  void ClearDifferences() override;
  void ShowText(screen::View view, std::string_view text) override;

  [[nodiscard]] ViewWindow* ViewOf(screen::View view) const { return views_.at(view); }
  [[nodiscard]] GuideWindow& Guide() const { return *guide_; }

  /// Lets Tab come here from `control`, which has to be in the same window.
  void TakeTabStopsBehind(QWidget* control);

  /// Brings the device insertion guide to the front, where it last stood.
  void ShowGuide();

  /// Brings the last verify report of this run to the front, closed or not; does nothing when there
  /// is none.
  void ShowReport();

  /// Go to the next of the places that the chip holds differently, or to the one before, and bring
  /// its view forward: those of the flash, then those of the EEPROM, then the first again. The
  /// first step forward leads to the first. Nothing happens where there is none.
  void ShowNextDifference();
  void ShowPreviousDifference();

  /// Brings the memory views before what covers them: the report, or the guide.
  void UncoverViews();

  /// Bring a view to the front, at the place where it stands until the user has moved it.
  void OpenFlashView();
  void OpenEepromView();

  // Arrange what is shown and not minimised.
  void Cascade();
  void TileOneAboveTheOther();
  void TileSideBySide();

  /// Lines the minimised children up at the lower edge.
  void ArrangeMinimised();

  /// True when there is a verify report that can be shown.
  [[nodiscard]] bool HasReport() const;

 signals:
  /// There may be another verify report, or none any more.
  void ReportChanged();

 protected:
  void resizeEvent(QResizeEvent* event) override;

 private:
  static constexpr int kNoDifference = -1;

  void AddView(screen::View view, ViewWindow* window, const QRect& place);
  [[nodiscard]] ViewPlaces Places() const;
  [[nodiscard]] bool StandsAt(const ChildWindow& child, const QRect& place) const;
  [[nodiscard]] bool ViewsFollow() const;
  void FollowSize();
  void FollowWithViews();
  void PutAt(ChildWindow& child, const QRect& place);
  void PutReport();
  void PutGuide();
  void LetReportAppear();
  [[nodiscard]] int DifferenceCount() const;
  void ShowDifference(int index);
  void BringForward(QMdiSubWindow& child);
  void ComeBack(ViewWindow& window);
  void Open(screen::View view);
  void Place(const std::function<std::vector<QRect>(const QSize&, int)>& places);
  void MoveTabStop(const QMdiSubWindow* active);

  platform::TextFiles& files_;
  platform::CodePage& code_page_;
  std::map<screen::View, ViewWindow*> views_;
  GuideWindow* guide_;
  int shown_difference_ = kNoDifference;       ///< the one gone to last, of both memories' together
  std::map<const ChildWindow*, QRect> given_;  ///< places that the children got from here
};

}  // namespace fenwright::ui
