#pragma once

#include "screen/com_form.h"
#include "screen/device_form.h"
#include "screen/file_dialogs.h"
#include "screen/fuse_form.h"
#include "screen/guide_form.h"
#include "screen/hand_edit_form.h"
#include "screen/message_boxes.h"
#include "screen/message_dialog.h"
#include "screen/status_bar.h"
#include "screen/views.h"

namespace fenwright::screen {

/// What operations show themselves on. It owns nothing.
struct Screen {
  screen::StatusBar& StatusBar;
  screen::MessageDialog& MessageDialog;
  screen::MessageBoxes& MessageBoxes;
  screen::FileDialogs& FileDialogs;
  screen::Views& Views;
  screen::DeviceForm& DeviceForm;
  screen::HandEditForm& HandEdit;
  screen::GuideForm& Guide;
  screen::FuseForm& Fuses;
  screen::ComForm& ComForm;
};

}  // namespace fenwright::screen
