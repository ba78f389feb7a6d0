#pragma once

#include "platform/code_page.h"
#include "platform/text_files.h"
#include "screen/views.h"

namespace fenwright::ui {

class MainWindow;

/// The child windows of the main window.
class QtViews final : public screen::Views {
 public:
  QtViews(MainWindow& window, platform::TextFiles& files, platform::CodePage& code_page)
      : window_(window), files_(files), code_page_(code_page) {}
  void Clear(screen::View view) override;
  void Load(screen::View view, std::string_view path) override;

 private:
  void ShowVerifyView();

  MainWindow& window_;
  platform::TextFiles& files_;
  platform::CodePage& code_page_;
};

}  // namespace fenwright::ui
