#pragma once

#include <string_view>

namespace fenwright::screen {

enum class MessageIcon { Information, Critical };

/// Modal message boxes. Each call returns when the user has answered.
///
/// A text that brings its own line ends, CR LF, or is padded with ideographic blanks is laid out
/// already: its lines are shown as they are, as long as the screen has room for them.
class MessageBoxes {
 public:
  virtual ~MessageBoxes() = default;
  /// One OK button. An empty title stands for the application's own.
  virtual void Show(MessageIcon icon, std::string_view title, std::string_view text) = 0;
  /// The same with a second, smaller text below the first, "" for none. A screen without a place
  /// for it shows the first alone.
  virtual void ShowWithDetail(MessageIcon icon, std::string_view title, std::string_view text,
                              std::string_view /*detail*/) {
    Show(icon, title, text);
  }
  /// Yes and No; true for Yes. No is the default answer.
  virtual bool Ask(std::string_view title, std::string_view text) = 0;
};

}  // namespace fenwright::screen
