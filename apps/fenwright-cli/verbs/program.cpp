#include <memory>

#include "programming.h"
#include "verbs.h"
#include "watch.h"

namespace fenwright::cli {
namespace {

Outcome Program(Session& session, const ProgramOrder& order) {
  const LoadedFiles loaded = PrepareProgramming(session, order);
  if (loaded.Code != ExitCode::Success) return {.Code = loaded.Code, .Json = loaded.Fields};
  const Programming done = ProgramChip(session, order, loaded.Fields);
  if (done.Refusal) return *done.Refusal;
  done.Serial.Note(session, done.Run.Code == ExitCode::Success);
  return TellDeviceRun(session, done.Run, done.Fields);
}

VerbRun BindProgram(CLI::App& command) {
  const auto keep_eeprom = std::make_shared<bool>(false);
  const auto files = AddCodeFiles(command);
  command
      .add_flag("--keep-eeprom", *keep_eeprom,
                "read the EEPROM before the erase and write it back after, verified")
      ->excludes(command.get_option("--data"));
  const auto backup = AddBackup(command);
  const auto numbers = AddChipNumbers(command);
  const auto watch = std::make_shared<bool>(false);
  command.add_flag("--watch", *watch, "program again each time a file has changed, until Ctrl-C");
  return [=](Session& session) {
    const VerbRun once = [=](Session& round) {
      return Program(
          round,
          {.Files = *files, .Backup = *backup, .Numbers = *numbers, .KeepEeprom = *keep_eeprom});
    };
    if (!*watch) return once(session);
    CodeFiles watched = *files;
    watched.NoData = watched.NoData || *keep_eeprom;
    return WatchFiles(session, kProgram, once, watched);
  };
}

}  // namespace

const Verb kProgram{
    .Name = "program",
    .Description = "erase, program and verify the device",
    .Needed = kDeviceOnPort,
    .Bind = BindProgram,
    .SeveralBoards = true,
    .Examples = {
        {{"--port COM5 --device AT90S8515 program blink.hex",
          "消去、書き込み、ベリファイをします。blink.eep があればEEPROMにも書きます",
          "erase, write and verify, the EEPROM too where there is a blink.eep"},
         {"--port COM5 --device AT90S8515 program counter.hex --data texts.eep",
          "データファイルを指定します", "name the data file"},
         {"--port COM5 --device auto program blink.hex --keep-eeprom --backup copies",
          "ソケットにあるチップに書き込みます。EEPROMは残し、元の内容をコピーします",
          "program whichever chip is in the socket; keep its EEPROM, and a copy of it all"},
         {"--simulate --device ATtiny12L program toggle.hex --no-data", "ボードなしで試します",
          "try it without a board"}}}};

}  // namespace fenwright::cli
