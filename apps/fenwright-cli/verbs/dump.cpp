#include "code_files.h"
#include "image/dump_files.h"
#include "verbs.h"

namespace fenwright::cli {
namespace {

/// Prints the flash dump of the code file, in UTF-8.
VerbRun BindDump(CLI::App& command) {
  return [files = AddCodeFiles(command)](Session& session) -> Outcome {
    const ExitCode code = LoadCodeFiles(session, *files);
    if (code != ExitCode::Success) return {.Code = code};
    const std::string dump =
        session.Context().Storage.CodePage.ToUtf8(image::FlashDump(session.State()));
    return {.Code = session.Out().PrintResult(dump),
            .Json = {{"device", session.Device()},
                     {"code_file", session.State().CodeFileName},
                     {"dump", dump}}};
  };
}

}  // namespace

const Verb kDump{.Name = "dump",
                 .Description = "print the flash dump of a code file; needs no programmer",
                 .Needed = {.Folder = true, .Device = true},
                 .Bind = BindDump,
                 .ResultOnly = true};

}  // namespace fenwright::cli
