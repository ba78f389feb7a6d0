#pragma once

#include <string_view>

namespace fenwright::screen {

enum class View { Flash, Eeprom, Verify };

/// A stretch of characters in the text of a view. Lines and columns count from 0.
struct TextPlace {
  int Line = 0;
  int Column = 0;
  int Length = 0;

  bool operator==(const TextPlace&) const = default;
};

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
  /// Marks a stretch of a view's text, in place of one that is marked there, and brings it in
  /// sight. A new text has no mark.
  virtual void Mark(View view, const TextPlace& place) = 0;
  /// Takes away the mark of every view.
  virtual void ClearMarks() = 0;
};

}  // namespace fenwright::screen
