#pragma once

#include "core/app_state.h"
#include "platform/clock.h"
#include "platform/code_page.h"
#include "platform/event_loop.h"
#include "platform/file_archive.h"
#include "platform/serial_control.h"
#include "platform/settings_store.h"
#include "platform/text_files.h"
#include "screen/screen.h"

namespace fenwright::core {

/// The line to the board, the time that passes on it, and what else runs meanwhile.
struct Line {
  platform::SerialControl& ProgrammerPort;  ///< `MSComm100` of the main window
  platform::Clock& Clock;
  platform::EventLoop& Events;
};

/// What outlives a command: files and settings.
struct Storage {
  platform::TextFiles& Files;
  platform::CodePage& CodePage;
  platform::SettingsStore& Settings;
  /// Keeps the old content of files that a save writes over; null = nothing is kept.
  platform::FileArchive* Archive = nullptr;
};

/// All that an operation may touch. Every operation takes one by reference; a program holds one, a
/// test as many as it likes. It owns nothing.
struct RunContext {
  AppState& State;
  core::Line Line;
  core::Storage Storage;
  screen::Screen Screen;
};

}  // namespace fenwright::core
