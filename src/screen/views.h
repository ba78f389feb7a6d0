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
  /// the verify view. A file that cannot be read leaves the view empty.
  virtual void Load(View view, std::string_view path) = 0;
};

}  // namespace fenwright::screen
