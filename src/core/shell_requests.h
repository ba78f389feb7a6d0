#pragma once

#include <span>
#include <string>
#include <string_view>

#include "core/run_context.h"
#include "platform/shell.h"

namespace fenwright::core {

inline constexpr std::string_view kManualFileName = "readme_tarnwick6.pdf";

/// The first of the folders in which the manual lies; the first of all when it is in none. Each
/// ends in a separator; there is at least one.
std::string FindManualFolder(platform::TextFiles& files, std::span<const std::string> folders);

/// Opens the manual in `folder` without taking the focus. Whether the desktop could do so is not
/// looked at: nothing is shown when there is no manual.
void OpenManual(platform::Shell& shell, std::string_view folder);

/// What the help key does: it opens the manual in `folder`. Without one there is no help, and a
/// message says so.
void ShowHelpContents(RunContext& context, platform::Shell& shell, std::string_view folder);

/// Opens a page of the web in the user's browser, with the program's folder as its working folder.
/// Nothing is shown when there is no browser.
void OpenSupportPage(platform::Shell& shell, std::string_view address,
                     std::string_view program_folder);

}  // namespace fenwright::core
