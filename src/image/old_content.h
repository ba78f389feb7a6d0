#pragma once

#include <string>
#include <string_view>

#include "core/run_context.h"

namespace fenwright::image {

/// What a file held when a save over it began. The run's archive, where it has one, has kept a copy
/// of it by then; a copy that cannot be made keeps no save from going on.
class OldContentKeeper {
 public:
  OldContentKeeper(core::RunContext& context, std::string_view path);

  /// The save has written over the file, however far it got: what was kept goes into
  /// `AppState::OldContents`.
  void NoteOverwritten();

  /// Writes into the trace, if it can, that there is no copy though one was wanted.
  void TraceMissingCopy() const;

  /// The save was refused before it began: the file is as it was, and a copy is needed by nobody.
  void NoteUntouched();

  /// For the user, below the message of a save that failed: where the old content is; "" when there
  /// was none.
  [[nodiscard]] std::string Describe() const;

 private:
  core::RunContext& context_;
  std::string path_;
  core::OldContent kept_;
  bool untouched_ = false;
};

/// The copy of what the file held before it was last saved over in this run; "" when it held
/// nothing then, was not saved over, or could not be copied.
std::string LastCopyOf(const core::AppState& state, std::string_view path);

/// For the file box: which of the files that were saved last was written over without a copy; "" or
/// lines.
std::string DescribeMissingCopies(const core::AppState& state);

}  // namespace fenwright::image
