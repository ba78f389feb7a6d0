#include "man_page.h"

#include <algorithm>

#include <fmt/format.h>

#include "core/build_info.h"

namespace fenwright::shell_files {
namespace {

std::string Escaped(std::string_view text) {
  std::string escaped;
  bool line_starts = true;
  for (const char character : text) {
    // A dot or a quotation mark that starts a line would be a request.
    if (line_starts && (character == '.' || character == '\'')) escaped += "\\&";
    line_starts = character == '\n';
    if (character == '\\') {
      escaped += "\\e";
    } else if (character == '-') {
      escaped += "\\-";
    } else if (character == '\'') {
      escaped += "\\(aq";
    } else if (character == '~') {
      escaped += "\\(ti";
    } else {
      escaped += character;
    }
  }
  return escaped;
}

/// With line breaks for blanks, so that no line of the source is long.
std::string Wrapped(std::string_view text) {
  constexpr std::size_t kLongest = 66;
  std::string wrapped;
  std::size_t column = 0;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find(' ', start), text.size());
    const bool breaks = column > 0 && column + end - start > kLongest;
    if (column > 0) wrapped += breaks ? '\n' : ' ';
    wrapped += text.substr(start, end - start);
    column = (breaks ? 0 : column) + end - start + 1;
    start = end + 1;
  }
  return wrapped;
}

std::string UpperCase(std::string text) {
  std::ranges::transform(text, text.begin(), [](char character) {
    return character >= 'a' && character <= 'z' ? static_cast<char>(character - 'a' + 'A')
                                                : character;
  });
  return text;
}

}  // namespace

ManPage::ManPage(const std::string& name, const std::string& summary)
    : text_(fmt::format(".TH {} 1 \"\" \"Fenwright {}\" \"User Commands\"\n.SH NAME\n{} \\- {}\n",
                        Escaped(UpperCase(name)), core::kVersion, Escaped(name),
                        Escaped(summary))) {}

void ManPage::Section(std::string_view title) {
  text_ += fmt::format(".SH {}\n", Escaped(title));
  heading_ = true;
}

void ManPage::Subsection(std::string_view title) {
  text_ += fmt::format(".SS {}\n", Escaped(title));
  heading_ = true;
}

void ManPage::StartParagraph() {
  if (!heading_) text_ += ".PP\n";
  heading_ = false;
}

void ManPage::Paragraph(std::string_view text) {
  StartParagraph();
  text_ += Escaped(Wrapped(text)) + "\n";
}

void ManPage::Lines(std::string_view lines) {
  StartParagraph();
  text_ += fmt::format(".nf\n{}\n.fi\n", Escaped(lines));
}

void ManPage::Item(std::string_view name, std::string_view behind, std::string_view text) {
  heading_ = false;
  const std::string_view first = text.substr(0, text.find('\n'));
  text_ += fmt::format(".TP\n\\fB{}\\fR{}{}\n{}\n", Escaped(name), behind.empty() ? "" : " ",
                       Escaped(behind), Escaped(Wrapped(first)));
  if (first.size() == text.size()) return;
  text_ += fmt::format(".nf\n{}\n.fi\n", Escaped(text.substr(first.size() + 1)));
}

void ManPage::Call(std::string_view name, std::string_view arguments) {
  StartParagraph();
  text_ += fmt::format("\\fB{}\\fR {}\n", Escaped(name), Escaped(arguments));
}

}  // namespace fenwright::shell_files
