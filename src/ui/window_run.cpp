#include "ui/window_run.h"

#include "image/file_summary.h"
#include "ui/text.h"

namespace fenwright::ui {

WindowRun::WindowRun(const WindowPlatform& outside)
    : window_(state_),
      status_bar_(window_),
      message_dialog_(window_, state_),
      message_boxes_(&window_),
      file_dialogs_(&window_),
      views_(window_, outside.Files, outside.CodePage),
      device_form_(window_),
      context_{.State = state_,
               .ProgrammerPort = outside.ProgrammerPort,
               .Clock = outside.Clock,
               .Events = events_,
               .Files = outside.Files,
               .CodePage = outside.CodePage,
               .Settings = outside.Settings,
               .StatusBar = status_bar_,
               .MessageDialog = message_dialog_,
               .MessageBoxes = outside.MessageBoxes ? *outside.MessageBoxes : message_boxes_,
               .FileDialogs = outside.FileDialogs ? *outside.FileDialogs : file_dialogs_,
               .Views = views_,
               .DeviceForm = device_form_} {
  window_.SetMessageBoxes(context_.MessageBoxes);
  window_.SetCommands({
      .Open = [this] { ShowOpened(ops::OpenBothCommand(context_)); },
      .Program = [this] { ops::ProgramCommand(context_); },
      .PickDevice =
          [this] {
            ops::PickDeviceCommand(context_);
            // A change of chip has discarded the loaded image.
            window_.SetFileInfo({});
          },
      .AfterCommand = {},
  });
}

core::CommandEnding WindowRun::Start(const ops::StartOptions& options) {
  window_.show();
  core::CommandEnding ending = core::CommandEnding::Refused;
  window_.Run([this, &options, &ending] { ending = ops::StartCommand(context_, options); });
  if (ending == core::CommandEnding::Finished && !state_.CommandArgument.empty()) {
    window_.Run([this] { ShowOpened(ops::OpenBothCommand(context_, state_.CommandArgument)); });
  }
  return ending;
}

void WindowRun::ShowOpened(const ops::OpenResult& opened) {
  if (opened.Ending != core::CommandEnding::Finished || !opened.Chosen) return;
  window_.SetFileInfo(ToQString(image::DescribeOpenedFiles(state_, opened.Report)));
}

}  // namespace fenwright::ui
