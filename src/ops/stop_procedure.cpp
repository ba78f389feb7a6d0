#include "ops/stop_procedure.h"

#include <string>
#include <string_view>

#include "core/settings_keys.h"
#include "core/stored_number.h"
#include "image/dump_files.h"
#include "ops/verify_device.h"

namespace fenwright::ops {
namespace {

void StorePlace(core::RunContext& context, const core::PlaceKeys& keys,
                const screen::TwipsPlace& place) {
  core::StoreNumber(context, keys.Left, place.Left);
  core::StoreNumber(context, keys.Top, place.Top);
  core::StoreNumber(context, keys.Width, place.Width);
  core::StoreNumber(context, keys.Height, place.Height);
}

void StoreGuidePosition(core::RunContext& context, const screen::TwipsPosition& position) {
  core::StoreNumber(context, core::kGuideLeftKey, position.Left);
  core::StoreNumber(context, core::kGuideTopKey, position.Top);
}

}  // namespace

void QueryUnload(core::RunContext& context, const screen::MainForm& form) {
  if (form.IsMinimised()) return;
  StorePlace(context, core::kFlashViewKeys, form.CurrentPlaceOf(screen::View::Flash));
  StorePlace(context, core::kEepromViewKeys, form.CurrentPlaceOf(screen::View::Eeprom));
}

void Unload(core::RunContext& context, screen::MainForm& form) {
  DeleteTemporaryFiles(context);
  if (!form.IsMinimised()) {
    StoreGuidePosition(context, form.GuidePosition());
    StorePlace(context, core::kMainWindowKeys, form.CurrentPlace());
  }
  form.UnloadOtherForms();
}

void DeleteTemporaryFiles(core::RunContext& context) {
  for (const std::string_view name :
       {image::kFlashDumpFile, image::kEepromDumpFile, kVerifyReportFile}) {
    context.Storage.Files.Delete(context.State.AppFolder + std::string(name));
  }
}

}  // namespace fenwright::ops
