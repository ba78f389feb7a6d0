#pragma once

#include <string>
#include <string_view>

#include "platform/clock.h"
#include "platform/file_archive.h"

namespace fenwright::platform {

/// An archive in a folder of the user's, which is made when it is needed. A copy is called
/// "2005-03-14_12-34-56 prog.hex" after the time at which it was made and its original, with "_2"
/// and so on behind the time for the second one of that name in a second. It is on the disc when
/// Keep() returns, and nobody but the user can read it.
///
/// The newest copies are kept, by the time in their names, and every new one. Files with other
/// names are nobody's copies and stay.
class FolderArchive final : public FileArchive {
 public:
  static constexpr std::size_t kMostCopies = 50;

  FolderArchive(std::string folder, Clock& clock);

  FileResult Keep(std::string_view path, std::string& copy) override;
  void Drop(std::string_view copy) override;

 private:
  FileResult Copy(const std::string& path, std::string& copy);
  void DeleteOldest(const std::string& newest);

  std::string folder_;
  Clock& clock_;
};

}  // namespace fenwright::platform
