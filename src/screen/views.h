#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace fenwright::screen {

enum class View { Flash, Eeprom, Verify };

/// A stretch of characters in the text of a view. Lines and columns count from 0.
struct TextPlace {
  int Line = 0;
  int Column = 0;
  int Length = 0;

  bool operator==(const TextPlace&) const = default;
};

/// A stretch of a view's text that shows what the chip holds differently.
struct DifferingPlace {
  TextPlace Place;
  std::string Note;  ///< what is expected there and what was found, for the user

  bool operator==(const DifferingPlace&) const = default;
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
  /// Marks what the chip holds differently, beside the mark of Mark() and in place of what is
  /// marked so in that view, and brings the first of it in sight. A new text of either memory takes
  /// away these marks in both: what was compared is no longer what is shown.
  virtual void MarkDifferences(View view, const std::vector<DifferingPlace>& places) = 0;
  /// Takes away the marks of MarkDifferences() in every view.
  virtual void ClearDifferences() = 0;
};

}  // namespace fenwright::screen
