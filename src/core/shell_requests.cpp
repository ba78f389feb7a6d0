#include "core/shell_requests.h"

#include <algorithm>

namespace fenwright::core {
namespace {

constexpr std::string_view kNoHelpContents =
    "ﾍﾙﾌﾟの目次を表示できません。 "
    "このﾌﾟﾛｼﾞｪｸﾄに関連付けられたﾍﾙﾌﾟが存在しません。";

std::string ManualIn(std::string_view folder) {
  return std::string(folder).append(kManualFileName);
}

}  // namespace

std::string FindManualFolder(platform::TextFiles& files, std::span<const std::string> folders) {
  const auto found = std::ranges::find_if(
      folders, [&files](const std::string& folder) { return files.Exists(ManualIn(folder)); });
  return found == folders.end() ? folders.front() : *found;
}

void OpenManual(platform::Shell& shell, std::string_view folder) {
  shell.Open(ManualIn(folder), "", platform::ShowMode::NoActivate);
}

void ShowHelpContents(RunContext& context, platform::Shell& shell, std::string_view folder) {
  if (context.Storage.Files.Exists(ManualIn(folder))) {
    OpenManual(shell, folder);
  } else {
    context.Screen.MessageBoxes.Show(screen::MessageIcon::Information, "", kNoHelpContents);
  }
}

void OpenSupportPage(platform::Shell& shell, std::string_view address,
                     std::string_view program_folder) {
  shell.Open(address, program_folder, platform::ShowMode::Normal);
}

}  // namespace fenwright::core
