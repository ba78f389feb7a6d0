#include "programming.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "image/buffers.h"
#include "image/hex_writer.h"
#include "ops/commands.h"

namespace fenwright::cli {
namespace {

/// What the EEPROM holds and is to hold again.
struct KeptEeprom {
  DeviceRun
      Run;  ///< of its reading; when it failed the cause is printed, or is for the run to tell
  std::vector<std::uint8_t> Content;
  std::string File;  ///< has it until it is back in the device, "" where a safety copy has it
};

/// A locked device gives away addresses here as well.
bool HoldsAddresses(const std::vector<std::uint8_t>& bytes) {
  std::uint8_t address = 0;
  return std::ranges::all_of(bytes, [&address](std::uint8_t byte) { return byte == address++; });
}

std::vector<std::uint8_t> LastEeprom(const core::AppState& state) {
  return {state.EepromBuffer.begin(), state.EepromBuffer.begin() + state.EepromBytes};
}

/// Reads it twice: a byte that came wrong over the line would be written back as it came.
KeptEeprom ReadEepromTwice(Session& session) {
  KeptEeprom kept{.Run = RunOnDevice(session, ops::ReadEepromAlone)};
  if (kept.Run.Code != ExitCode::Success) return kept;
  kept.Content = LastEeprom(session.State());
  kept.Run = RunOnDevice(session, ops::ReadEepromAlone);
  if (kept.Run.Code != ExitCode::Success || kept.Content == LastEeprom(session.State())) {
    return kept;
  }
  const auto found = std::ranges::mismatch(kept.Content, LastEeprom(session.State()));
  const auto place = found.in1 - kept.Content.begin();
  kept.Run.Code = session.Fail(
      ExitCode::Failed,
      {.Code = problem::kReadingsDiffer,
       .Text = {fmt::format("EEPROMの二回の読み出しの結果が違います: バイト 0x{:04X}", place),
                fmt::format("two readings of the EEPROM differ: byte 0x{:04X}", place)}});
  return kept;
}

/// Keeps the content in a file for as long as the device does not have it.
void SaveKept(Session& session, const std::string& folder, KeptEeprom& kept) {
  core::AppState& state = session.State();
  kept.File = NewCopyPath(session, folder, ".eep");
  session.Out().NoteOutside(kept.File);
  state.DataSaveFileName = kept.File;
  // Of a code file that was taken in spite of a bad line.
  const bool left_open = std::exchange(state.HexFileLeftOpen, false);
  const auto problem = WhyNotWritten(kept.File, image::WriteDataHexFile(session.Context()));
  state.HexFileLeftOpen = left_open;
  if (!problem) return;
  session.Context().Storage.Files.Delete(kept.File);
  kept.File.clear();
  kept.Run.Code = session.Fail(ExitCode::FileError, *problem);
}

/// Has the EEPROM's own content in the buffer that the device is programmed from.
KeptEeprom KeepEeprom(Session& session, const BackupOptions& backup, const SafetyCopy& copy) {
  core::AppState& state = session.State();
  if (copy.Eeprom) {
    std::ranges::copy(*copy.Eeprom, state.EepromBuffer.begin());
    return {.Content = *copy.Eeprom};
  }
  KeptEeprom kept = ReadEepromTwice(session);
  if (kept.Run.Code != ExitCode::Success) return kept;
  if (HoldsAddresses(kept.Content) && !backup.ForceLocked) {
    kept.Run.Code = FailLocked(session);
    return kept;
  }
  SaveKept(session, state.AppFolder, kept);
  return kept;
}

/// The file goes when the device has its content back, or never lost it.
void TellKept(Session& session, const DeviceRun& run, const KeptEeprom& kept,
              nlohmann::json& fields) {
  const bool is_back = run.Code == ExitCode::Success;
  fields["eeprom_kept"] = is_back || !session.State().Command.EraseStarted;
  if (fields["eeprom_kept"]) {
    if (!kept.File.empty()) session.Context().Storage.Files.Delete(kept.File);
    if (is_back) {
      session.Out().Print(session.In({"EEPROM: 元の内容を書き戻し、照合しました",
                                      "EEPROM: its content was written back and verified"}));
    }
    return;
  }
  if (kept.File.empty()) return;
  fields["eeprom_file"] = kept.File;
  session.NoteWrittenFile(kept.File);
  session.Out().PrintError(
      session.In({"EEPROMの元の内容はこのファイルにあります。program --data で書き込めます: ",
                  "what the EEPROM held is in this file, for \"program --data\": "}) +
      kept.File);
}

/// Has the image as this chip is to get it. The run tells of what was read for it.
DeviceRun CompleteImage(Session& session, const ChipNumbers& numbers, TakenNumber& number,
                        nlohmann::json& fields) {
  DeviceRun run;
  fields["osccal"] = nullptr;
  fields["serial"] = nullptr;
  if (numbers.Osccal) run = PutCalibration(session, *numbers.Osccal, fields);
  if (run.Code != ExitCode::Success) return run;
  run.Code = number.Take(session, numbers);
  if (number.Number()) fields["serial"] = *number.Number();
  return run;
}

/// What the EEPROM holds is not known until it is read, nor whether there is room.
ExitCode RefuseNumbersInKeptEeprom(Session& session, const ChipNumbers& numbers) {
  const bool serial = numbers.Serial && !numbers.Serial->Place.InFlash;
  const bool osccal = numbers.Osccal && !numbers.Osccal->Place.InFlash;
  if (!serial && !osccal) return ExitCode::Success;
  const std::string option = serial ? "--serial" : "--osccal";
  return session.Fail(
      ExitCode::Usage,
      {.Code = problem::kUsage,
       .Text = {option + ": --keep-eeprom と一緒のときは flash に置きます",
                option + ": has to be in the flash where --keep-eeprom keeps the EEPROM"}});
}

}  // namespace

LoadedFiles PrepareProgramming(Session& session, const ProgramOrder& order) {
  CodeFiles files = order.Files;
  files.NoData = files.NoData || order.KeepEeprom;
  LoadedFiles loaded = LoadCodeFiles(session, files);
  if (loaded.Code == ExitCode::Success && order.KeepEeprom) {
    loaded.Code = RefuseNumbersInKeptEeprom(session, order.Numbers);
  }
  if (loaded.Code == ExitCode::Success) loaded.Code = CheckChipNumbers(session, order.Numbers);
  return loaded;
}

Programming ProgramChip(Session& session, const ProgramOrder& order, const nlohmann::json& fields) {
  Programming done{.Fields = fields};
  const SafetyCopy copy = TakeSafetyCopy(session, order.Backup, fields);
  if (copy.Refusal) {
    done.Refusal = copy.Refusal;
    return done;
  }
  done.Fields.update(copy.Fields);
  done.Fields.update({{"eeprom_kept", false}, {"eeprom_file", nullptr}});
  KeptEeprom kept;
  if (order.KeepEeprom) {
    session.Out().PrintProgress(session.In(
        {"イレースはEEPROMも消去します。先に読み、後で書き戻します",
         "the erase wipes the EEPROM as well: it is read before and written back after"}));
    kept = KeepEeprom(session, order.Backup, copy);
    if (kept.Run.Code != ExitCode::Success) {
      done.Refusal = RefuseUntouched(session, kept.Run, done.Fields);
      return done;
    }
  } else if (image::UsedEepromBytes(session.State()) == 0 && !session.Out().InPart()) {
    // Whoever brings data for it has thought of it.
    session.Out().PrintProgress(
        session.In({"イレースはEEPROMも消去します (--keep-eeprom で元の内容を残します)",
                    "the erase wipes the EEPROM as well (--keep-eeprom keeps what it holds)"}));
  }
  TakenNumber& number = done.Serial;
  DeviceRun completed = CompleteImage(session, order.Numbers, number, done.Fields);
  if (completed.Code == ExitCode::Success && order.BeforeErase) {
    completed.Code = order.BeforeErase(number.Number());
  }
  if (completed.Code != ExitCode::Success) {
    number.Note(session, false);
    if (!kept.File.empty()) session.Context().Storage.Files.Delete(kept.File);
    done.Refusal = RefuseUntouched(session, completed, done.Fields);
    return done;
  }
  done.Run = RunOnDevice(session, ops::Cmd_btn_program_Click);
  if (order.KeepEeprom) TellKept(session, done.Run, kept, done.Fields);
  return done;
}

}  // namespace fenwright::cli
