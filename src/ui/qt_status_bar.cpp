#include "ui/qt_status_bar.h"

#include "ui/elided_label.h"
#include "ui/main_window.h"
#include "ui/text.h"

namespace fenwright::ui {

void QtStatusBar::SetPanelText(screen::Panel panel, std::string_view text) {
  window_.StatusPanel(panel)->SetText(ToQString(text));
}

}  // namespace fenwright::ui
