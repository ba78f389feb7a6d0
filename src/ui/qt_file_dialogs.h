#pragma once

#include <QStringList>

#include "screen/file_dialogs.h"

class QWidget;

namespace fenwright::ui {

/// The system's file dialogs over a window.
class QtFileDialogs final : public screen::FileDialogs {
 public:
  explicit QtFileDialogs(QWidget* parent) : parent_(parent) {}
  std::optional<std::string> Open(const screen::FileDialogRequest& request) override;
  std::optional<std::string> Save(const screen::FileDialogRequest& request) override;

 private:
  QWidget* parent_;
};

/// Name filters for a filter of pairs "label|patterns|": patterns that begin with a letter are
/// given in lower and upper case, since file names differ by case on some systems; "*.*" stands for
/// every file, with or without a dot.
QStringList NameFilters(const std::string& filter);

/// The extension to add to a name typed without one: the first of a list such as "hex;rom" or
/// "*.hex".
QString DefaultSuffix(const std::string& default_extension);

}  // namespace fenwright::ui
