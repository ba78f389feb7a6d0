#include "ui/qt_views.h"

#include <QMdiArea>

#include "ui/main_window.h"
#include "ui/text.h"
#include "ui/view_window.h"

namespace fenwright::ui {

void QtViews::Clear(screen::View view) { window_.ViewOf(view)->SetContent({}); }

void QtViews::Load(screen::View view, std::string_view path) {
  std::string bytes;
  if (!files_.Read(path, bytes)) bytes.clear();
  window_.ViewOf(view)->SetContent(ToQString(code_page_.ToUtf8(bytes)).replace("\r\n", "\n"));
  if (view == screen::View::Verify) ShowVerifyView();
}

void QtViews::ShowVerifyView() {
  ViewWindow* view = window_.ViewOf(screen::View::Verify);
  if (view->isMinimized() || view->isHidden()) view->showNormal();
  view->raise();
  window_.ChildArea()->setActiveSubWindow(view);
}

}  // namespace fenwright::ui
