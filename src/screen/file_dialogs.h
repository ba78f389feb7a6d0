#pragma once

#include <optional>
#include <string>

namespace fenwright::screen {

/// One open or save dialog. `Filter` lists pairs "label|patterns|", patterns split by ";".
struct FileDialogRequest {
  std::string Title;
  std::string Filter;
  std::string DefaultExtension;
  std::string StartFolder;  ///< "" lets the dialog choose
  /// What stands in the name field at first, "" for nothing. A pattern such as "*.HEX" is no name:
  /// accepting it lists what matches, and chooses nothing.
  std::string FileName = {};
};

/// The system's own file dialogs. They return the chosen path, or nothing when cancelled. None
/// asks about overwriting: the commands do.
class FileDialogs {
 public:
  virtual ~FileDialogs() = default;
  virtual std::optional<std::string> Open(const FileDialogRequest& request) = 0;
  /// A name without an extension gets the default one; a leading "*." of it is dropped.
  virtual std::optional<std::string> Save(const FileDialogRequest& request) = 0;
};

}  // namespace fenwright::screen
