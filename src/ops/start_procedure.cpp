#include "ops/start_procedure.h"

#include <string>

#include "core/build_info.h"
#include "core/command_end.h"
#include "core/device_catalogue.h"
#include "core/device_selection.h"
#include "core/numbers.h"
#include "core/settings_keys.h"
#include "core/stored_number.h"
#include "core/trace_log.h"
#include "image/buffers.h"
#include "ops/device_change.h"

namespace fenwright::ops {
namespace {

using screen::View;

void SetCaptions(screen::MainForm& form) {
  form.SetSupportPageLabel("ｻﾎﾟｰﾄﾍﾟｰｼﾞ : " + std::string(core::kSupportUrl));
  form.SetCaption("New Fenwright Version " + std::string(core::kVersion));
}

screen::TwipsPlace StoredPlace(const core::RunContext& context, const core::PlaceKeys& keys) {
  return {.Left = core::ReadStoredNumber(context, keys.Left, keys.Default.Left),
          .Top = core::ReadStoredNumber(context, keys.Top, keys.Default.Top),
          .Width = core::ReadStoredNumber(context, keys.Width, keys.Default.Width),
          .Height = core::ReadStoredNumber(context, keys.Height, keys.Default.Height)};
}

void LoadMainWindow(const core::RunContext& context, screen::MainForm& form) {
  form.Place(StoredPlace(context, core::kMainWindowKeys));
  form.PlaceView(View::Flash, StoredPlace(context, core::kFlashViewKeys));
  form.PlaceView(View::Eeprom, StoredPlace(context, core::kEepromViewKeys));
}

void ShowMainWindow(const core::RunContext& context, screen::MainForm& form) {
  LoadMainWindow(context, form);
  form.Show();
  form.EnableTimer();
}

void BlankMemory(core::AppState& state) {
  image::ClearFlashBuffer(state);
  image::ClearEepromBuffer(state);
  state.FlashWords = 0;
  state.EepromBytes = 0;
}

int StoredDeviceIndex(const core::RunContext& context) {
  const std::string text =
      context.Storage.Settings.Read(core::kSettingsSection, core::kDeviceKey).value_or("0");
  const int last = static_cast<int>(core::DeviceCatalogue().size()) - 1;
  if (const auto index = core::ParseWholeNumber(text, -1, last)) return *index;
  core::EndCommandOnBadSetting(core::kDeviceKey, text,
                               "この値を削除するか、-1 から " + std::to_string(last) +
                                   " の数字に直してから起動してください。");
}

/// Setting the index counts as a pick.
void RestoreDevice(core::RunContext& context) {
  context.Screen.DeviceForm.SetDeviceIndex(StoredDeviceIndex(context));
  PickDevice(context);
}

void AskForComPortOnce(core::RunContext& context, screen::MainForm& form) {
  if (core::ReadStoredNumber(context, core::kComPortAskedKey, 0) != 0) return;
  form.SelectComPort();
  core::StoreNumber(context, core::kComPortAskedKey, 1);
}

void ShowGuide(const core::RunContext& context, screen::MainForm& form) {
  form.ShowGuide({.Left = core::ReadStoredNumber(context, core::kGuideLeftKey, 0),
                  .Top = core::ReadStoredNumber(context, core::kGuideTopKey, 0)});
}

/// The order is the program's contract. Without a form, what concerns windows is left out.
void RunStart(core::RunContext& context, screen::MainForm* form, const StartOptions& options) {
  // The program's folder is not known yet: the bare name is deleted.
  core::TraceLog(context).Delete();
  context.State.CommandArgument = options.CommandArgument;
  context.State.AppFolder = options.AppFolder;
  if (form) SetCaptions(*form);
  if (form) ShowMainWindow(context, *form);
  BlankMemory(context.State);
  core::PopulateDeviceSelector(context);
  RestoreDevice(context);
  ShowDeviceInfo(context);
  if (form) AskForComPortOnce(context, *form);
  if (form) ShowGuide(context, *form);
}

}  // namespace

void Start(core::RunContext& context, const StartOptions& options) {
  RunStart(context, nullptr, options);
}

void StartWindow(core::RunContext& context, screen::MainForm& form,
                 platform::SingleInstance* instance, const StartOptions& options) {
  if (instance && !instance->Claim()) {
    throw core::CommandEnd{.Ending = core::CommandEnding::AnotherInstance, .Text = ""};
  }
  RunStart(context, &form, options);
}

}  // namespace fenwright::ops
