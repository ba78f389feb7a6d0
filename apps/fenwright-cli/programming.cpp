#include "programming.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "image/buffers.h"
#include "image/hex_reader.h"
#include "image/hex_writer.h"
#include "ops/commands.h"
#include "text.h"

namespace fenwright::cli {
namespace {

/// The files that have what an EEPROM held while its device is at work, of all boards of the call:
/// those are not left over.
class FilesAtWork {
 public:
  static void Add(const std::string& path) {
    const std::scoped_lock lock(Mutex());
    Paths().insert(path);
  }
  static void Remove(const std::string& path) {
    const std::scoped_lock lock(Mutex());
    Paths().erase(path);
  }
  /// Deletes a file, too, so that nobody sees it between.
  static void Delete(platform::TextFiles& files, const std::string& path) {
    const std::scoped_lock lock(Mutex());
    files.Delete(path);
    Paths().erase(path);
  }
  static bool Has(const std::string& path) {
    const std::scoped_lock lock(Mutex());
    return Paths().contains(path);
  }

 private:
  static std::mutex& Mutex() {
    static std::mutex mutex;
    return mutex;
  }
  static std::set<std::string>& Paths() {
    static std::set<std::string> paths;
    return paths;
  }
};

/// What the EEPROM holds and is to hold again.
struct KeptEeprom {
  KeptEeprom() = default;
  KeptEeprom(const KeptEeprom&) = delete;
  KeptEeprom& operator=(const KeptEeprom&) = delete;
  ~KeptEeprom() {
    if (!File.empty()) FilesAtWork::Remove(File);
  }
  void DeleteFile(Session& session) {
    if (!File.empty()) FilesAtWork::Delete(session.Context().Storage.Files, File);
    File.clear();
  }

  DeviceRun
      Run;  ///< of its reading; when it failed the cause is printed, or is for the run to tell
  std::vector<std::uint8_t> Content;
  std::string File;  ///< has it until it is back in the device
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
void ReadEepromTwice(Session& session, KeptEeprom& kept) {
  kept.Run = RunOnDevice(session, ops::ReadEepromAlone);
  if (kept.Run.Code != ExitCode::Success) return;
  kept.Content = LastEeprom(session.State());
  kept.Run = RunOnDevice(session, ops::ReadEepromAlone);
  if (kept.Run.Code != ExitCode::Success || kept.Content == LastEeprom(session.State())) return;
  const auto found = std::ranges::mismatch(kept.Content, LastEeprom(session.State()));
  const auto place = found.in1 - kept.Content.begin();
  kept.Run.Code = session.Fail(
      ExitCode::Failed,
      {.Code = problem::kReadingsDiffer,
       .Text = {fmt::format("EEPROMの二回の読み出しの結果が違います: バイト 0x{:04X}", place),
                fmt::format("two readings of the EEPROM differ: byte 0x{:04X}", place)}});
}

/// What a file fills the EEPROM with. The buffer that the device is programmed from stays.
std::vector<std::uint8_t> EepromOf(Session& session, const std::string& file) {
  core::AppState& state = session.State();
  const std::vector<std::uint8_t> buffer = state.EepromBuffer;
  const std::string name = std::exchange(state.DataFileName, file);
  const bool left_open = std::exchange(state.HexFileLeftOpen, false);
  const std::int16_t error = state.LinkError;
  std::ranges::fill(state.EepromBuffer, core::kBlank);
  image::ReadDataHexFile(session.Context());
  std::vector<std::uint8_t> content = LastEeprom(state);
  state.EepromBuffer = buffer;
  state.DataFileName = name;
  state.HexFileLeftOpen = left_open;
  state.LinkError = error;
  return content;
}

/// True when an EEPROM that held `before` holds `now` after an erase, or while it is written back.
bool IsOnItsWayBack(const std::vector<std::uint8_t>& now, const std::vector<std::uint8_t>& before) {
  bool incomplete = false;
  for (std::size_t byte = 0; byte < now.size(); ++byte) {
    if (now[byte] == before[byte]) continue;
    if (now[byte] != core::kBlank) return false;
    incomplete = true;
  }
  return incomplete;
}

/// The file of an earlier run that was interrupted, where the device in the socket may be the one
/// that it is of: to keep what that holds now would lose the content for good. "" when there is
/// none.
std::string FindLeftOver(Session& session, const std::string& folder,
                         const std::vector<std::uint8_t>& content) {
  const std::string start = CopyNameStart(session);
  std::error_code error;
  std::error_code ignored;
  std::filesystem::directory_iterator entry(ToPath(folder.empty() ? "." : folder), error);
  for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
    const std::filesystem::path& file = entry->path();
    // With a description beside it, it is part of a safety copy.
    if (!ToUtf8(file.filename()).starts_with(start) || file.extension() != ".eep" ||
        std::filesystem::exists(std::filesystem::path(file).replace_extension(".json"), ignored)) {
      continue;
    }
    const std::string path = ToUtf8(ToPath(folder) / file.filename());
    // In this order: another board may be about to begin with it.
    if (IsOnItsWayBack(content, EepromOf(session, path)) && !FilesAtWork::Has(path)) return path;
  }
  return "";
}

void FailLeftOver(Session& session, const std::string& file, KeptEeprom& kept) {
  kept.Run.Code = session.Fail(
      ExitCode::Failed,
      {.Code = problem::kEepromLeftOver,
       .Text = {
           file + ": イレースの後で中断したデバイスのEEPROMの内容です。ソケットのデバイスのEEPROM"
                  "は消去されています",
           file + ": has what the EEPROM of an interrupted device held, and that of the device "
                  "in the socket is erased"}});
}

/// Keeps the content in a file for as long as the device does not have it.
void SaveKept(Session& session, const std::string& folder, KeptEeprom& kept) {
  core::AppState& state = session.State();
  kept.File = NewCopyPath(session, folder, ".eep");
  FilesAtWork::Add(kept.File);
  session.Out().NoteOutside(kept.File);
  state.DataSaveFileName = kept.File;
  // Of a code file that was taken in spite of a bad line.
  const bool left_open = std::exchange(state.HexFileLeftOpen, false);
  const auto problem = WhyNotWritten(kept.File, image::WriteDataHexFile(session.Context()));
  state.HexFileLeftOpen = left_open;
  if (!problem) return;
  kept.DeleteFile(session);
  kept.Run.Code = session.Fail(ExitCode::FileError, *problem);
}

/// Has the EEPROM's own content in the buffer that the device is programmed from, and in a file.
void KeepEeprom(Session& session, const BackupOptions& backup, const SafetyCopy& copy,
                KeptEeprom& kept) {
  core::AppState& state = session.State();
  if (copy.Eeprom) {
    std::ranges::copy(*copy.Eeprom, state.EepromBuffer.begin());
    kept.Content = *copy.Eeprom;
  } else {
    ReadEepromTwice(session, kept);
    if (kept.Run.Code != ExitCode::Success) return;
    if (HoldsAddresses(kept.Content) && !backup.ForceLocked) {
      kept.Run.Code = FailLocked(session);
      return;
    }
  }
  // A simulated device was never interrupted.
  const std::string left_over =
      session.CallOptions().Simulate ? "" : FindLeftOver(session, state.AppFolder, kept.Content);
  if (left_over.empty()) {
    SaveKept(session, state.AppFolder, kept);
  } else {
    FailLeftOver(session, left_over, kept);
  }
}

/// The file goes when the device has its content back, or never lost it.
void TellKept(Session& session, const DeviceRun& run, KeptEeprom& kept, nlohmann::json& fields) {
  const bool is_back = run.Code == ExitCode::Success;
  fields["eeprom_kept"] = is_back || !session.State().Command.EraseStarted;
  if (fields["eeprom_kept"]) {
    kept.DeleteFile(session);
    if (is_back) {
      session.Out().Print(session.In({"EEPROM: 元の内容を書き戻し、照合しました",
                                      "EEPROM: its content was written back and verified"}));
    }
    return;
  }
  fields["eeprom_file"] = kept.File;
  session.NoteWrittenFile(kept.File);
  session.Out().PrintError(
      session.In(
          {"EEPROMの元の内容はこのファイルにあります。もう一度実行する前に、program --data で"
           "書き戻してください: ",
           "what the EEPROM held is in this file; put it back with \"program --data\" before "
           "you run the command again: "}) +
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
    KeepEeprom(session, order.Backup, copy, kept);
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
    kept.DeleteFile(session);
    done.Refusal = RefuseUntouched(session, completed, done.Fields);
    return done;
  }
  done.Run = RunOnDevice(session, ops::Cmd_btn_program_Click);
  if (order.KeepEeprom) TellKept(session, done.Run, kept, done.Fields);
  return done;
}

}  // namespace fenwright::cli
