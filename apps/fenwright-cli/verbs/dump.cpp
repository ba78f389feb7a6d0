#include "code_files.h"
#include "image/dump_files.h"
#include "verbs.h"

namespace fenwright::cli {
namespace {

/// Prints the flash dump of the code file, and the EEPROM's when a data file goes with it, in
/// UTF-8.
VerbRun BindDump(CLI::App& command) {
  return [files = AddCodeFiles(command)](Session& session) -> Outcome {
    const LoadedFiles loaded = LoadCodeFiles(session, *files);
    if (loaded.Code != ExitCode::Success) return {.Code = loaded.Code, .Json = loaded.Fields};
    const platform::CodePage& code_page = session.Context().Storage.CodePage;
    const core::AppState& state = session.State();
    const std::string flash = code_page.ToUtf8(image::FlashDump(state));
    const bool has_data = session.Context().Storage.Files.Exists(state.DataFileName);
    const std::string eeprom = has_data ? code_page.ToUtf8(image::EepromDump(state)) : "";
    nlohmann::json fields = loaded.Fields;
    fields.update({{"dump", flash}, {"eeprom_dump", eeprom}});
    return {.Code = session.Out().PrintResult(has_data ? flash + "\r\n" + eeprom : flash),
            .Json = fields};
  };
}

}  // namespace

const Verb kDump{
    .Name = "dump",
    .Description =
        "print the dump of a code file and of the data file with it; needs no programmer",
    .Needed = {.Folder = true, .Device = true},
    .Bind = BindDump,
    .ResultOnly = true,
    .Examples = {{{"--device AT90S8515 dump blink.hex", "コードファイルの内容を表示の形で出します",
                   "print what a code file holds"}}}};

}  // namespace fenwright::cli
