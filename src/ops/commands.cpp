#include "ops/commands.h"

#include <cmath>
#include <initializer_list>
#include <string>
#include <string_view>

#include "core/elapsed.h"
#include "core/status.h"
#include "core/trace_log.h"
#include "fuse/fuse_reading.h"
#include "fuse/fuse_writing.h"
#include "fuse/reset_pin.h"
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
#include "ops/verify_device.h"

namespace fenwright::ops {
namespace {

using screen::Panel;

void MarkStart(core::RunContext& context, core::DeviceOperation operation) {
  context.State.Command.Operation = operation;
  core::TraceLog(context).AppendStartMarker();
}

void StartTiming(core::RunContext& context) {
  core::ShowStatus(context, Panel::Elapsed, "");
  context.State.OperationStartTime = context.Line.Clock.SecondsSinceMidnight();
}

bool CheckLink(core::RunContext& context) {
  return context.State.Command.LinkReady = link::CheckProgrammerLink(context);
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
    dialog.SetDetail(InLines({doubt, state.Command.NothingToProgram ? "" : DescribeUsage(state)}));
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

/// What a read has brought is no file's any more, however the command ends. A save without a dialog
/// still goes to the files that were opened last, so those are named.
class ReadMemoryNote {
 public:
  explicit ReadMemoryNote(core::AppState& state) : state_(state) {}
  ~ReadMemoryNote() {
    if (state_.Command.FlashWordsRead == 0) return;
    ForgetFileInfo(state_);
    state_.CodeInfo = image::DescribeReadMemory(state_);
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
};

/// The name of a file that could not be read may be forgotten already; a part of it can be in the
/// buffer all the same.
void NoteCodeFile(core::AppState& state, const std::string& path, const image::OpenReport& report) {
  state.CodeInfo = image::DescribeCodeFile(state, report);
  state.CodeDoubt = image::DescribeDoubt(path, report.Code);
}

void NoteDataFile(core::AppState& state, const image::OpenReport& report) {
  state.DataInfo = image::DescribeDataFile(state, report);
  state.DataDoubt = image::DescribeDoubt(state.DataFileName, report.Data);
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

void Cmd_btn_verify_Click(core::RunContext& context) {
  MarkStart(context, core::DeviceOperation::Verify);
  if (!CheckLink(context)) return;
  context.State.VerifyStandalone = true;
  VerifyDevice(context);
  core::ShowStatus(context, "ベリファイ終了しました。");
  ExplainFailure(context);
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
}

void mnuPC_buffer_clear_Click(core::RunContext& context) {
  ForgetFileInfo(context.State);
  image::ClearFlashBuffer(context.State);
  image::ClearEepromBuffer(context.State);
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

void mnuFileSave_Click(core::RunContext& context) { image::SaveFiles(context); }

void Cmd_btn_save_Click(core::RunContext& context) { mnuFileSave_Click(context); }

void mnuFileSaveAs_Click(core::RunContext& context) { image::SaveBothFilesAs(context); }

void mnuFileSaveAsCode_Click(core::RunContext& context) { image::SaveCodeFileAs(context); }

void mnuFileSaveAsData_Click(core::RunContext& context) { image::SaveDataFileAs(context); }

void CmdRead_Click(core::RunContext& context) { image::ReadOneLocation(context); }

void txtAddress_Change(core::RunContext& context) { image::ReadOneLocation(context); }

void CmdWrite_Click(core::RunContext& context) { image::WriteOneLocation(context); }

}  // namespace fenwright::ops
