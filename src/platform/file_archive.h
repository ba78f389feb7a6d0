#pragma once

#include <string>
#include <string_view>

#include "platform/text_files.h"

namespace fenwright::platform {

/// Keeps what the user's files held before they were written over. Paths are UTF-8. Nothing throws.
class FileArchive {
 public:
  virtual ~FileArchive() = default;

  /// Keeps what the file `path` holds, as a file of its own, whose path becomes `copy`. Success
  /// with "" means that there is nothing to keep: no regular file, or one without content.
  virtual FileResult Keep(std::string_view path, std::string& copy) = 0;

  /// Deletes a copy that turns out to be needed by nobody.
  virtual void Drop(std::string_view copy) = 0;
};

}  // namespace fenwright::platform
