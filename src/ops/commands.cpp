#include "ops/commands.h"

#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "core/elapsed.h"
#include "core/status.h"
#include "core/trace_log.h"
#include "fuse/fuse_reading.h"
#include "fuse/fuse_writing.h"
#include "fuse/reset_pin.h"
#include "image/buffer_content.h"
#include "image/buffers.h"
#include "image/file_summary.h"
#include "image/hand_edit.h"
#include "image/save_commands.h"
#include "link/detection.h"
#include "link/socket_check.h"
#include "ops/device_change.h"
#include "ops/device_session.h"
#include "ops/outcome.h"
#include "ops/program_device.h"
#include "ops/read_device.h"
#include "ops/trouble.h"
#include "ops/verify_device.h"

namespace fenwright::ops {
namespace {

using screen::Panel;

void MarkStart(core::RunContext& context, core::DeviceOperation operation) {
  context.State.Command.Operation = operation;
  // The chip may be another one by now, and is worked on.
  context.Screen.Views.ClearDifferences();
  core::TraceLog(context).AppendStartMarker();
}

void StartTiming(core::RunContext& context) {
  core::ShowStatus(context, Panel::Elapsed, "");
  context.State.OperationStartTime = context.Line.Clock.SecondsSinceMidnight();
}

bool CheckLink(core::RunContext& context) {
  const bool ready = link::CheckProgrammerLink(context);
  context.State.Command.LinkReady = ready;
  if (!ready) context.Screen.MessageDialog.SetCode(TroubleOf(context.State));
  return ready;
}

void ShowElapsedTime(core::RunContext& context) {
  double& time = context.State.OperationStartTime;
  time = std::trunc(core::SecondsSince(context.Line.Clock, time));
  core::ShowStatus(context, Panel::Elapsed, std::to_string(static_cast<std::int32_t>(time)) + "秒");
}

std::string InLines(std::initializer_list<std::string> parts) {
  std::string text;
  for (const std::string& part : parts) {
    if (part.empty()) continue;
    if (!text.empty()) text += "\r\n";
    text += part;
  }
  return text;
}

/// What stands below a failure's text: why, as far as that is known, and what state the chip is in.
std::string DescribeFailure(const core::RunContext& context) {
  return InLines({link::DescribeGonePort(context), DescribeCause(context.State),
                  DescribeChipState(context.State, core::Language::Japanese)});
}

/// Some failures end an operation without a word in the dialog, which is gone then, or still says
/// that work is going on and offers no button. They get the text of the exchange that failed, which
/// is in the trace already. Below it, and below any other failure text, stand the cause, the state
/// of the chip and what to do next.
void ExplainFailure(core::RunContext& context) {
  if (Succeeded(context.State)) return;
  screen::MessageDialog& dialog = context.Screen.MessageDialog;
  const core::CommandRecord& done = context.State.Command;
  // A notice that the user has closed already has been read.
  if (!dialog.IsLoaded() && done.NoticeShown) return;
  if (dialog.IsBusy() || !dialog.IsLoaded()) {
    if (done.LastFailure.empty()) return dialog.Close();
    dialog.Show(done.LastFailure, screen::MessageMode::Notice);
  }
  core::ShowDetail(context, DescribeFailure(context));
  dialog.SetCode(TroubleOf(context.State));
}

/// A chip can hold just what was loaded, and the file mean something else. Whoever opened it in
/// spite of the file box's words reads it once more beside the result. A run that succeeded says
/// how much of the chip it has used.
void CompleteResult(core::RunContext& context) {
  const core::AppState& state = context.State;
  const std::string& doubt = state.CodeDoubt.empty() ? state.DataDoubt : state.CodeDoubt;
  screen::MessageDialog& dialog = context.Screen.MessageDialog;
  if (!state.Command.EraseStarted || !dialog.IsLoaded()) return;
  if (Succeeded(state)) {
    dialog.SetDetail(InLines({doubt, state.Command.NothingToProgram
                                         ? DescribeChipState(state, core::Language::Japanese)
                                         : DescribeUsage(state)}));
  } else if (!doubt.empty()) {
    // What stands before it has been traced already.
    dialog.SetDetail(InLines({DescribeFailure(context), doubt}));
  }
  if (doubt.empty()) return;
  // The trace's code page has no such sign.
  constexpr std::string_view kSign = "⚠ ";
  const std::string_view text = doubt;
  core::TraceLog(context).AppendMessage(text.starts_with(kSign) ? text.substr(kSign.size()) : text);
}

/// A change of chip, or of all of memory by hand, leaves nothing of the files.
void ForgetFileInfo(core::AppState& state) {
  state.CodeInfo.clear();
  state.DataInfo.clear();
  state.CodeDoubt.clear();
  state.DataDoubt.clear();
}

/// What a read has brought is no file's any more, however the command ends.
class ReadMemoryNote {
 public:
  explicit ReadMemoryNote(core::AppState& state) : state_(state), eeprom_(state.EepromBuffer) {}
  ~ReadMemoryNote() {
    const core::CommandRecord& done = state_.Command;
    if (done.FlashWordsRead == 0) return;
    ForgetFileInfo(state_);
    image::NoteRead(state_, image::Memory::Flash, done.FlashWordsRead == state_.FlashWords);
    if (done.ReadFinished || eeprom_ != state_.EepromBuffer) {
      image::NoteRead(state_, image::Memory::Eeprom, done.ReadFinished);
    }
    NoteProtection();
  }
  ReadMemoryNote(const ReadMemoryNote&) = delete;
  ReadMemoryNote& operator=(const ReadMemoryNote&) = delete;

 private:
  /// What a protected chip answers is no program: that stands beside it, and beside the result when
  /// it is programmed all the same.
  void NoteProtection() {
    const std::string protection = DescribeProtection(state_);
    if (protection.empty()) return;
    state_.CodeDoubt = "⚠ " + protection;
    state_.CodeInfo += "\n" + state_.CodeDoubt;
  }

  core::AppState& state_;
  const std::vector<std::uint8_t> eeprom_;
};

bool IsWhole(const image::HexReadReport& report) {
  return report.End == image::HexReadEnd::Complete;
}

/// The name of a file that could not be read may be forgotten already; a part of it can be in the
/// buffer all the same.
void NoteCodeFile(core::AppState& state, const std::string& path, const image::OpenReport& report) {
  state.CodeInfo = image::DescribeCodeFile(state, report);
  state.CodeDoubt = image::DescribeDoubt(path, report.Code);
  if (report.CodeFileFound) {
    image::NoteLoaded(state, image::Memory::Flash, path, IsWhole(report.Code));
  } else {
    image::NoteMissing(state, image::Memory::Flash, path);
  }
}

void NoteDataFile(core::AppState& state, const image::OpenReport& report) {
  state.DataInfo = image::DescribeDataFile(state, report);
  state.DataDoubt = image::DescribeDoubt(state.DataFileName, report.Data);
  if (report.DataFileFound) {
    image::NoteLoaded(state, image::Memory::Eeprom, state.DataFileName, IsWhole(report.Data));
  } else {
    image::NoteMissing(state, image::Memory::Eeprom, state.DataFileName);
  }
}

void NoteBlanked(core::AppState& state, core::ContentSource why) {
  image::NoteBlanked(state, image::Memory::Flash, why);
  image::NoteBlanked(state, image::Memory::Eeprom, why);
}

bool WasWritten(const image::HexWriteReport& report) {
  return report.End == image::HexWriteEnd::Complete;
}

void NoteSavedCode(core::AppState& state, const image::SaveReport& report) {
  if (report.End != image::SaveEnd::Written && report.End != image::SaveEnd::Failed) return;
  image::NoteSaved(state, image::Memory::Flash, state.CodeSaveFileName, WasWritten(report.Code));
}

void NoteSavedData(core::AppState& state, const image::SaveReport& report) {
  if (report.End != image::SaveEnd::Written && report.End != image::SaveEnd::Failed) return;
  image::NoteSaved(state, image::Memory::Eeprom, state.DataSaveFileName, WasWritten(report.Data));
}

struct FileNames {
  std::string Code;
  std::string Data;
};

FileNames NamesIn(const core::AppState& state) {
  return {.Code = state.CodeFileName, .Data = state.DataFileName};
}

/// A file of another kind is not loaded: the names from before stay, so that a save never writes
/// over it.
void TakeBackNames(core::AppState& state, const FileNames& before) {
  state.CodeFileName = before.Code;
  state.DataFileName = before.Data;
}

bool WasRefused(const image::OpenReport& report) {
  return report.CodeFileFound && !report.KnownExtension;
}

/// A file of another kind, and a name that was never given, leave the buffers as they are; a file
/// that is missing or cannot be read leaves the EEPROM's.
image::OpenReport OpenNamedFiles(core::RunContext& context, const FileNames& before) {
  core::AppState& state = context.State;
  const bool named = !state.CodeFileName.empty();
  image::OpenReport report = image::LoadCodeAndDataFile(context);
  if (WasRefused(report)) TakeBackNames(state, before);
  if (!named || WasRefused(report)) return report;
  NoteCodeFile(state, state.CodeFileName, report);
  if (report.DataFileReached) NoteDataFile(state, report);
  return report;
}

}  // namespace

void Cmd_btn_program_Click(core::RunContext& context) {
  MarkStart(context, core::DeviceOperation::Program);
  StartTiming(context);
  if (!CheckLink(context)) return;
  link::CheckSocketDevice(context);
  if (!context.State.SignatureFailed) {
    EraseChip(context);
    context.State.VerifyStandalone = false;
    ProgramDevice(context);
    ShowElapsedTime(context);
  }
  ExplainFailure(context);
  CompleteResult(context);
}

void Cmd_btn_read_Click(core::RunContext& context) {
  const ReadMemoryNote note(context.State);
  MarkStart(context, core::DeviceOperation::Read);
  StartTiming(context);
  if (!CheckLink(context)) return;
  ReadDevice(context);
  if (context.State.LinkError == 0) fuse::ReadFuses(context);
  if (context.State.LinkError == 0) {
    core::ShowStatus(context,
                     "プログラム・データメモリ、Ｆｕｓｅ・Ｌｏｃｋビットのリード終了しました。");
  }
  ShowElapsedTime(context);
  ExplainFailure(context);
}

void ReadEepromAlone(core::RunContext& context) {
  MarkStart(context, core::DeviceOperation::Read);
  StartTiming(context);
  if (!CheckLink(context)) return;
  ReadEepromOfDevice(context);
  image::NoteRead(context.State, image::Memory::Eeprom, context.State.Command.ReadFinished);
  ShowElapsedTime(context);
  ExplainFailure(context);
}

void Cmd_btn_verify_Click(core::RunContext& context) {
  MarkStart(context, core::DeviceOperation::Verify);
  if (!CheckLink(context)) return;
  context.State.VerifyStandalone = true;
  VerifyDevice(context);
  core::ShowStatus(context, "ベリファイ終了しました。");
  ExplainFailure(context);
  // The text alone would not say why the sign beside it is no check.
  if (Succeeded(context.State)) {
    context.Screen.MessageDialog.SetDetail(ReasonOfOutcome(context.State));
  }
}

void Cmd_btn_erase_Click(core::RunContext& context) {
  core::AppState& state = context.State;
  MarkStart(context, core::DeviceOperation::Erase);
  if (!CheckLink(context)) return;
  // The signature has a flag of its own: a protected chip reads no signature and is erased all
  // the same.
  std::int16_t signature_error = 0;
  link::ReadSignature(context, state.DetectedFlashWords, signature_error);
  EraseChip(context);
  if (state.LinkError == 0) {
    ShowDeviceInfo(context);
    core::ShowStatus(context, "チップ イレース完了。");
  }
  ExplainFailure(context);
}

void cmdFuseRead_Click(core::RunContext& context) {
  MarkStart(context, core::DeviceOperation::ReadFuses);
  if (!CheckLink(context)) return;
  fuse::ReadFuses(context);
  ExplainFailure(context);
}

void cmdFuseWrite_Click(core::RunContext& context) {
  MarkStart(context, core::DeviceOperation::WriteFuses);
  if (!CheckLink(context)) return;
  fuse::WriteFuses(context);
  ExplainFailure(context);
}

void Combo_RSTDISABL_Click(core::RunContext& context) { fuse::WarnOfResetDisable(context); }

void Combo_device_Click(core::RunContext& context) {
  ForgetFileInfo(context.State);
  PickDevice(context);
  // They were the other device's. Nothing has been reported, so nothing is traced.
  for (const Panel panel : {Panel::Signature, Panel::Elapsed}) {
    context.Screen.StatusBar.SetPanelText(panel, "");
  }
  NoteBlanked(context.State, core::ContentSource::DeviceChange);
}

void mnuPC_buffer_clear_Click(core::RunContext& context) {
  ForgetFileInfo(context.State);
  image::ClearFlashBuffer(context.State);
  image::ClearEepromBuffer(context.State);
  NoteBlanked(context.State, core::ContentSource::Cleared);
  ShowDeviceInfo(context);
  core::ShowStatus(context, "バッファーをクリアしました。");
}

void mnuFileOpen_Click(core::RunContext& context) {
  const FileNames before = NamesIn(context.State);
  if (image::ChooseCodeAndDataFile(context)) OpenNamedFiles(context, before);
}

void Cmd_btn_open_Click(core::RunContext& context) { mnuFileOpen_Click(context); }

void mnuFileOpenCode_Click(core::RunContext& context) {
  core::AppState& state = context.State;
  const FileNames before = NamesIn(state);
  if (!image::ChooseCodeFile(context)) return;
  const std::string path = state.CodeFileName;
  const image::OpenReport report = image::LoadCodeFile(context);
  if (WasRefused(report)) TakeBackNames(state, before);
  if (report.KnownExtension) NoteCodeFile(state, path, report);
}

void mnuFileOpenData_Click(core::RunContext& context) {
  if (!image::ChooseDataFile(context)) return;
  const image::OpenReport report = image::LoadDataFile(context);
  NoteDataFile(context.State, report);
}

void mnuReLoad_Click(core::RunContext& context) { OpenNamedFiles(context, NamesIn(context.State)); }

void Cmd_btn_reload_Click(core::RunContext& context) {
  // Down again however the command ends.
  struct InProgress {
    bool& Flag;
    ~InProgress() { Flag = false; }
  };
  const InProgress in_progress{context.State.ReloadInProgress = true};
  mnuReLoad_Click(context);
}

image::OpenReport OpenPair(core::RunContext& context, const std::string& code_path) {
  return OpenFiles(context, code_path, image::DataFileNameFor(code_path));
}

image::OpenReport OpenFiles(core::RunContext& context, const std::string& code_path,
                            const std::string& data_path) {
  const FileNames before = NamesIn(context.State);
  context.State.CodeFileName = code_path;
  context.State.DataFileName = data_path;
  return OpenNamedFiles(context, before);
}

/// Who saves blank buffers over a file that has content reads it once more afterwards.
void mnuFileSave_Click(core::RunContext& context) {
  const std::string emptied = image::FilesThatASaveWouldEmpty(context.State);
  const image::SaveReport report = image::SaveFiles(context);
  NoteSavedCode(context.State, report);
  NoteSavedData(context.State, report);
  if (emptied.empty() || report.End != image::SaveEnd::Written) return;
  const std::string told = image::DescribeEmptiedFiles(context.State, emptied);
  core::ShowStatus(context, context.State.StatusText + " " + told);
  core::ShowOutcome(context, screen::Outcome::Attention, told);
}

void Cmd_btn_save_Click(core::RunContext& context) { mnuFileSave_Click(context); }

void mnuFileSaveAs_Click(core::RunContext& context) {
  const image::SaveReport report = image::SaveBothFilesAs(context);
  NoteSavedCode(context.State, report);
  NoteSavedData(context.State, report);
}

void mnuFileSaveAsCode_Click(core::RunContext& context) {
  NoteSavedCode(context.State, image::SaveCodeFileAs(context));
}

void mnuFileSaveAsData_Click(core::RunContext& context) {
  NoteSavedData(context.State, image::SaveDataFileAs(context));
}

void CmdRead_Click(core::RunContext& context) { image::ReadOneLocation(context); }

void txtAddress_Change(core::RunContext& context) { image::ReadOneLocation(context); }

void CmdWrite_Click(core::RunContext& context) {
  core::AppState& state = context.State;
  const std::vector<std::uint8_t> flash = state.FlashBuffer;
  const std::vector<std::uint8_t> eeprom = state.EepromBuffer;
  image::WriteOneLocation(context);
  if (flash != state.FlashBuffer) image::NoteEdited(state, image::Memory::Flash);
  if (eeprom != state.EepromBuffer) image::NoteEdited(state, image::Memory::Eeprom);
}

}  // namespace fenwright::ops
