#pragma once

#include <string_view>

namespace fenwright::screen {

enum class View { Flash, Eeprom, Verify };

/// The child windows that show text files. A view never formats memory: it shows a file.
class Views {
 public:
  virtual ~Views() = default;
  /// Empties a view.
  virtual void Clear(View view) = 0;
  /// Replaces a view's text with the content of a CP932 text file, and shows the view when it is
  /// the verify view. A file that cannot be read leaves the view empty; false then.
  virtual bool Load(View view, std::string_view path) = 0;
  /// Replaces a view's text with CP932 text from memory: for a file that cannot be had.
  virtual void ShowText(View view, std::string_view text) = 0;
};

}  // namespace fenwright::screen
