#pragma once

#include <string>
#include <string_view>

#include <QString>

namespace fenwright::ui {

/// UTF-8 of the engine to the texts of the window system and back.
inline QString ToQString(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

inline std::string ToUtf8(const QString& text) { return text.toStdString(); }

}  // namespace fenwright::ui
