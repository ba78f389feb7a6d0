#include "core/command_end.h"

#include "core/file_reason.h"

namespace fenwright::core {

void EndCommandOnFileError(std::string_view path, const platform::FileResult& result) {
  std::string text = "ファイルに書き込めないため、処理を中止しました。\r\n";
  text.append(path);
  text.append("\r\n").append(DescribeReason(result));
  text.append(
      "\r\nディスクの空き容量とフォルダーの書き込み許可を確認してから、やり直してください。");
  throw CommandEnd{.Ending = CommandEnding::FileError, .Text = text};
}

}  // namespace fenwright::core
