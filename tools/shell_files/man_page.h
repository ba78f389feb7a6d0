#pragma once

#include <string>
#include <string_view>

namespace fenwright::shell_files {

/// A page of the manual in section 1, put together from its top to its end. Texts are plain: what
/// means something to the formatter is escaped here.
class ManPage {
 public:
  ManPage(const std::string& name, const std::string& summary);

  void Section(std::string_view title);
  void Subsection(std::string_view title);
  void Paragraph(std::string_view text);
  /// Lines that stay as they are.
  void Lines(std::string_view lines);
  /// A name in bold, what stands behind it, and below them what it is. Further lines of that stay
  /// as they are.
  void Item(std::string_view name, std::string_view behind, std::string_view text);
  /// A call in bold, with its arguments.
  void Call(std::string_view name, std::string_view arguments);

  [[nodiscard]] const std::string& Text() const { return text_; }

 private:
  void StartParagraph();

  std::string text_;
  bool heading_ = false;  ///< a heading stands last, which starts a paragraph itself
};

}  // namespace fenwright::shell_files
