#pragma once

#include <string>

namespace fenwright::core {

enum class Language { Japanese, English };

/// One thing to say, in both languages; `English` starts in lower case, to stand behind a colon.
struct Sentence {
  std::string Japanese;
  std::string English;

  [[nodiscard]] const std::string& In(Language language) const {
    return language == Language::Japanese ? Japanese : English;
  }
};

}  // namespace fenwright::core
