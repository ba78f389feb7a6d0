#include "core/shell_requests.h"

#include <string>

namespace fenwright::core {
namespace {

constexpr std::string_view kNoHelpContents =
    "ﾍﾙﾌﾟの目次を表示できません。 "
    "このﾌﾟﾛｼﾞｪｸﾄに関連付けられたﾍﾙﾌﾟが存在しません。";

}  // namespace

void OpenManual(platform::Shell& shell, std::string_view folder) {
  const std::string manual = std::string(folder).append(kManualFileName);
  shell.Open(manual, "", platform::ShowMode::NoActivate);
}

void OpenSupportPage(platform::Shell& shell, std::string_view address,
                     std::string_view program_folder) {
  shell.Open(address, program_folder, platform::ShowMode::Normal);
}

void ReportNoHelpContents(platform::MessageBoxes& boxes) {
  boxes.Show(platform::MessageIcon::Information, "", kNoHelpContents);
}

}  // namespace fenwright::core
