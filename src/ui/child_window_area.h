#pragma once

#include <functional>
#include <map>
#include <vector>

#include <QMdiArea>

#include "platform/code_page.h"
#include "platform/text_files.h"
#include "screen/views.h"

namespace fenwright::ui {

class GuideWindow;
class ViewWindow;

/// The area of the main window that holds its child windows: the three views and the device
/// insertion guide.
class ChildWindowArea final : public QMdiArea, public screen::Views {
  Q_OBJECT

 public:
  /// Both must outlive the area.
  ChildWindowArea(platform::TextFiles& files, platform::CodePage& code_page);

  void Clear(screen::View view) override;
  bool Load(screen::View view, std::string_view path) override;
  void Mark(screen::View view, const screen::TextPlace& place) override;
  void ClearMarks() override;
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

 private:
  void AddView(screen::View view, ViewWindow* window, const QRect& place);
  void BringForward(QMdiSubWindow& child);
  void ComeBack(ViewWindow& window);
  void Open(screen::View view, const QRect& place);
  void Place(const std::function<std::vector<QRect>(const QSize&, int)>& places);
  void MoveTabStop(const QMdiSubWindow* active);

  platform::TextFiles& files_;
  platform::CodePage& code_page_;
  std::map<screen::View, ViewWindow*> views_;
  GuideWindow* guide_;
};

}  // namespace fenwright::ui
