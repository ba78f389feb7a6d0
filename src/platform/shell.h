#pragma once

#include <string_view>

namespace fenwright::platform {

/// How the window of an opened document is to appear; the values are those of the system's shell.
enum class ShowMode {
  Normal = 1,      ///< with the focus
  NoActivate = 4,  ///< in its usual size and place, the focus stays where it is
};

/// The user's desktop, which knows what program opens what.
class Shell {
 public:
  virtual ~Shell() = default;

  /// Opens a document, given by its path, or an address of the web, without parameters. The
  /// program that is started works in `working_folder`; "" leaves the folder to the system. Folder
  /// and mode are wishes: not every desktop can be told.
  ///
  /// True when the desktop has taken the request. It shows nothing itself when it cannot: there is
  /// no such file, or no program for it.
  virtual bool Open(std::string_view document, std::string_view working_folder, ShowMode mode) = 0;
};

}  // namespace fenwright::platform
