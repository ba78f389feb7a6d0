// Settings files however they have been edited: the store reads them and can be written to, and the
// program starts with what they hold or names the setting that makes no sense.

#include <filesystem>
#include <fstream>
#include <unistd.h>

#include "core/settings_keys.h"
#include "fuzz/input.h"
#include "fuzz/require.h"
#include "ops/command.h"
#include "ops/start_procedure.h"
#include "support/form_fakes.h"
#include "support/test_run.h"
#include "ui/qt_settings_store.h"
#include "ui/text.h"
#include "update/com_selection.h"
#include "update/update_commands.h"

namespace fenwright::fuzz {
namespace {

constexpr std::array kKeys{core::kDeviceKey,
                           core::kPortNumberKey,
                           core::kOpenFolderKey,
                           core::kSaveFolderKey,
                           core::kComPortAskedKey,
                           core::kGuideLeftKey,
                           core::kGuideTopKey,
                           core::kMainWindowKeys.Left,
                           core::kMainWindowKeys.Top,
                           core::kMainWindowKeys.Width,
                           core::kMainWindowKeys.Height,
                           core::kFlashViewKeys.Left,
                           core::kEepromViewKeys.Height};

/// A folder that goes with the program; a name is used once, as Qt remembers files.
class Folder {
 public:
  Folder() {
    std::string name = std::filesystem::temp_directory_path() / "fenwright-fuzz-XXXXXX";
    Require(mkdtemp(name.data()) != nullptr, "there is room for temporary files");
    path_ = name;
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::filesystem::path NewFile() { return path_ / (std::to_string(++files_) + ".ini"); }

 private:
  std::filesystem::path path_;
  unsigned files_ = 0;
};

void StartWith(const ui::QtSettingsStore& store) {
  testing::TestPlatform run;
  testing::FakeMainForm window;
  testing::ScriptedPort port(run.Clock);
  testing::ScriptedPort updater_port(run.Clock);
  for (const std::string_view key : kKeys) {
    if (const auto value = store.Read(core::kSettingsSection, key)) run.Store(key, *value);
  }
  core::RunContext context = run.ContextOn(port);
  const CommandEnding ending = ops::RunCommand(context, [&](core::RunContext& started) {
    ops::StartWindow(started, window, nullptr, {.AppFolder = "/app/", .CommandArgument = ""});
  });
  Require(ending == CommandEnding::Finished || ending == CommandEnding::BadSetting,
          "the program starts, or a setting makes no sense");
  Require(ending == CommandEnding::Finished || !run.Boxes.Boxes.empty(),
          "a setting that makes no sense is told");
  ops::RunCommand(context, update::LoadComSelection);
  const int index = run.ComForm.Index;
  Require(index >= 0 && index < std::ssize(run.ComForm.Items), "the port dialog has a choice");
}

/// What is written stays, in the store and in its file, and nothing beside it changes.
void WriteTo(const std::filesystem::path& file, const std::string& value) {
  const QString path = ui::ToQString(file.string());
  std::map<std::string_view, std::optional<std::string>> before;
  {
    ui::QtSettingsStore store(path);
    for (const std::string_view key : kKeys) before[key] = store.Read(core::kSettingsSection, key);
    if (!store.Write(core::kSettingsSection, core::kOpenFolderKey, value)) return;
    Require(store.Read(core::kSettingsSection, core::kOpenFolderKey) == value,
            "what was written can be read");
  }
  const std::filesystem::path copy = file.string() + ".copy";
  std::filesystem::copy_file(file, copy);
  const ui::QtSettingsStore store(ui::ToQString(copy.string()));
  for (const std::string_view key : kKeys) {
    const auto read = store.Read(core::kSettingsSection, key);
    Require(key == core::kOpenFolderKey ? read == value : read == before[key],
            "the file holds what was written, and what was there");
  }
  std::filesystem::remove(copy);
}

void Try(const std::string& text) {
  static Folder folder;
  const std::filesystem::path file = folder.NewFile();
  std::ofstream(file, std::ios::binary) << text;
  StartWith(ui::QtSettingsStore(ui::ToQString(file.string())));
  // Values are texts: of what Qt makes of the bytes, it must give back all.
  WriteTo(file, ui::ToUtf8(ui::ToQString(text.substr(0, text.find('\n')))));
  std::filesystem::remove(file);
}

}  // namespace
}  // namespace fenwright::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fenwright::fuzz::Try(fenwright::fuzz::TextOf({data, size}));
  return 0;
}
