#include "board_files.h"

#include <string>
#include <string_view>

#include "board/board_state.h"
#include "complain.h"
#include "fenwright-board/replace_file.h"

namespace fenwright::board_app {

bool BoardFiles::Save() {
  saved_leave_count_ = board_.Protocol().LeaveCount();
  bool saved = true;
  const auto replace = [this, &saved](const std::string& path, std::string_view content) {
    std::string error;
    if (!path.empty() && !ReplaceFile(path, content, error)) {
      Complain(error, options_.Words);
      saved = false;
    }
  };
  if (!options_.Dump.empty()) {
    const auto image = board_.Socket().BinaryImage();
    replace(options_.Dump, std::string(image.begin(), image.end()));
  }
  if (!options_.State.empty()) {
    replace(options_.State, board::FormatState(board_));
  }
  return saved;
}

void BoardFiles::SaveAfterLeaving() {
  if (board_.Protocol().LeaveCount() != saved_leave_count_) {
    Save();
  }
}

}  // namespace fenwright::board_app
