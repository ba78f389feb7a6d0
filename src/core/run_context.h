#pragma once

#include "core/app_state.h"
#include "platform/clock.h"
#include "platform/code_page.h"
#include "platform/device_form.h"
#include "platform/event_loop.h"
#include "platform/file_dialogs.h"
#include "platform/fuse_form.h"
#include "platform/guide_form.h"
#include "platform/hand_edit_form.h"
#include "platform/message_boxes.h"
#include "platform/message_dialog.h"
#include "platform/serial_control.h"
#include "platform/settings_store.h"
#include "platform/status_bar.h"
#include "platform/text_files.h"
#include "platform/views.h"

namespace fenwright::core {

/// All that an operation may touch: the state of the run and the platform. Every operation takes
/// one by reference; a program holds one, a test as many as it likes. It owns nothing.
struct RunContext {
  AppState& State;
  platform::SerialControl& ProgrammerPort;
  platform::Clock& Clock;
  platform::EventLoop& Events;
  platform::TextFiles& Files;
  platform::CodePage& CodePage;
  platform::SettingsStore& Settings;
  platform::StatusBar& StatusBar;
  platform::MessageDialog& MessageDialog;
  platform::MessageBoxes& MessageBoxes;
  platform::FileDialogs& FileDialogs;
  platform::Views& Views;
  platform::DeviceForm& DeviceForm;
  platform::HandEditForm& HandEdit;
  platform::GuideForm& Guide;
  platform::FuseForm& Fuses;
};

}  // namespace fenwright::core
