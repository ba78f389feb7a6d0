#pragma once

#include <string_view>

#include "platform/message_boxes.h"
#include "platform/shell.h"

namespace fenwright::core {

inline constexpr std::string_view kManualFileName = "readme_tarnwick6.pdf";

/// Opens the manual in `folder`, which ends in a separator, without taking the focus. Whether the
/// desktop could do so is not looked at: nothing is shown when there is no manual.
void OpenManual(platform::Shell& shell, std::string_view folder);

/// Opens a page of the web in the user's browser, with the program's folder as its working folder.
/// Nothing is shown when there is no browser.
void OpenSupportPage(platform::Shell& shell, std::string_view address,
                     std::string_view program_folder);

/// Says that there are no help contents to show, because the program has no help file.
void ReportNoHelpContents(platform::MessageBoxes& boxes);

}  // namespace fenwright::core
