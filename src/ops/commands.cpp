#include "ops/commands.h"

#include <cmath>
#include <functional>

#include "core/status.h"
#include "core/trace_log.h"
#include "fuse/fuse_reading.h"
#include "fuse/fuse_writing.h"
#include "image/buffers.h"
#include "image/hand_edit.h"
#include "link/board_commands.h"
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

using core::CommandEnding;
using screen::Panel;

CommandEnding RunDeviceCommand(core::RunContext& context, const std::function<void()>& body) {
  const CommandEnding ending =
      core::RunCommand(context, body, [&] { link::LeaveProgrammingModeIfEntered(context); });
  if (ending == CommandEnding::FileError) {
    context.Screen.MessageDialog.Show(DescribeChipState(context.State, Language::Japanese),
                                      screen::MessageMode::Notice);
  }
  return ending;
}

void MarkStart(core::RunContext& context, core::DeviceOperation operation) {
  core::TraceLog(context).AppendStartMarker();
  context.State.Chip = {.Operation = operation};
  context.State.InProgrammingMode = false;
  context.State.LastFailure.clear();
  context.State.NoticeShown = false;
}

void StartTiming(core::RunContext& context) {
  core::ShowStatus(context, Panel::Elapsed, "");
  context.State.OperationStartTime = context.Line.Clock.SecondsSinceMidnight();
}

bool CheckLink(core::RunContext& context) {
  return context.State.Chip.LinkReady = link::CheckProgrammerLink(context);
}

void ShowElapsedTime(core::RunContext& context) {
  double& time = context.State.OperationStartTime;
  time = std::trunc(context.Line.Clock.SecondsSinceMidnight() - time);
  core::ShowStatus(context, Panel::Elapsed, std::to_string(static_cast<std::int32_t>(time)) + "秒");
}

/// Some failures end an operation without a word in the dialog, which is gone then, or still says
/// that work is going on and offers no button. They get the text of the exchange that failed. Below
/// it, and below any other failure text, stand the state of the chip and what to do next. None of
/// this is traced: it repeats what the trace holds.
void ExplainFailure(core::RunContext& context) {
  if (Succeeded(context.State)) return;
  screen::MessageDialog& dialog = context.Screen.MessageDialog;
  // A notice that the user has closed already has been read.
  if (!dialog.IsLoaded() && context.State.NoticeShown) return;
  if (dialog.IsBusy() || !dialog.IsLoaded()) {
    if (context.State.LastFailure.empty()) return dialog.Close();
    dialog.Show(context.State.LastFailure, screen::MessageMode::Notice);
  }
  dialog.SetDetail(DescribeChipState(context.State, Language::Japanese));
}

void Program(core::RunContext& context) {
  core::AppState& state = context.State;
  MarkStart(context, core::DeviceOperation::Program);
  StartTiming(context);
  if (!CheckLink(context)) return;
  link::CheckSocketDevice(context);
  if (!state.SignatureFailed) {
    EraseChip(context);
    state.VerifyStandalone = false;
    ProgramDevice(context);
    ShowElapsedTime(context);
  }
  ExplainFailure(context);
}

void Read(core::RunContext& context) {
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

void Verify(core::RunContext& context) {
  MarkStart(context, core::DeviceOperation::Verify);
  if (!CheckLink(context)) return;
  context.State.VerifyStandalone = true;
  VerifyDevice(context);
  core::ShowStatus(context, "ベリファイ終了しました。");
  ExplainFailure(context);
}

void Erase(core::RunContext& context) {
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

void ReadFuses(core::RunContext& context) {
  MarkStart(context, core::DeviceOperation::ReadFuses);
  if (!CheckLink(context)) return;
  fuse::ReadFuses(context);
  ExplainFailure(context);
}

void WriteFuses(core::RunContext& context) {
  MarkStart(context, core::DeviceOperation::WriteFuses);
  if (!CheckLink(context)) return;
  fuse::WriteFuses(context);
  ExplainFailure(context);
}

/// Chooses files and loads them, as one command.
OpenResult Open(core::RunContext& context, const std::function<bool()>& choose_files,
                image::OpenReport (*load)(core::RunContext&) = image::LoadCodeAndDataFile) {
  OpenResult result;
  result.Ending = core::RunCommand(context, [&] {
    result.Chosen = choose_files();
    if (result.Chosen) result.Report = load(context);
  });
  return result;
}

SaveResult Save(core::RunContext& context, image::SaveReport (*save)(core::RunContext&)) {
  SaveResult result;
  result.Ending = core::RunCommand(context, [&] { result.Report = save(context); });
  return result;
}

}  // namespace

CommandEnding PickDeviceCommand(core::RunContext& context) {
  return core::RunCommand(context, [&] { PickDevice(context); });
}

CommandEnding ClearBuffersCommand(core::RunContext& context) {
  return core::RunCommand(context, [&] {
    image::ClearFlashBuffer(context.State);
    image::ClearEepromBuffer(context.State);
    ShowDeviceInfo(context);
    core::ShowStatus(context, "バッファーをクリアしました。");
  });
}

CommandEnding TracePortMenuCommand(core::RunContext& context) {
  return core::RunCommand(context, [&] { core::TraceLog(context).AppendMessage("COMポート選択"); });
}

OpenResult OpenBothCommand(core::RunContext& context) {
  return Open(context, [&] { return image::ChooseCodeAndDataFile(context); });
}

OpenResult OpenBothCommand(core::RunContext& context, const std::string& code_path) {
  return OpenBothCommand(context, code_path, image::DataFileNameFor(code_path));
}

OpenResult OpenBothCommand(core::RunContext& context, const std::string& code_path,
                           const std::string& data_path) {
  return Open(context, [&] {
    context.State.CodeFileName = code_path;
    context.State.DataFileName = data_path;
    return true;
  });
}

OpenResult OpenCodeCommand(core::RunContext& context) {
  return Open(
      context, [&] { return image::ChooseCodeFile(context); }, image::LoadCodeFile);
}

OpenResult OpenDataCommand(core::RunContext& context) {
  return Open(
      context, [&] { return image::ChooseDataFile(context); }, image::LoadDataFile);
}

OpenResult ReloadCommand(core::RunContext& context) {
  bool& in_progress = context.State.ReloadInProgress;
  const OpenResult result = Open(context, [&] { return in_progress = true; });
  if (result.Ending != CommandEnding::Refused) in_progress = false;
  return result;
}

SaveResult SaveCommand(core::RunContext& context) { return Save(context, image::SaveFiles); }

SaveResult SaveCodeAsCommand(core::RunContext& context) {
  return Save(context, image::SaveCodeFileAs);
}

SaveResult SaveDataAsCommand(core::RunContext& context) {
  return Save(context, image::SaveDataFileAs);
}

SaveResult SaveBothAsCommand(core::RunContext& context) {
  return Save(context, image::SaveBothFilesAs);
}

CommandEnding ReadOneLocationCommand(core::RunContext& context) {
  return core::RunCommand(context, [&] { image::ReadOneLocation(context); });
}

CommandEnding WriteOneLocationCommand(core::RunContext& context) {
  return core::RunCommand(context, [&] { image::WriteOneLocation(context); });
}

CommandEnding ProgramCommand(core::RunContext& context) {
  return RunDeviceCommand(context, [&] { Program(context); });
}

CommandEnding ReadCommand(core::RunContext& context) {
  return RunDeviceCommand(context, [&] { Read(context); });
}

CommandEnding VerifyCommand(core::RunContext& context) {
  return RunDeviceCommand(context, [&] { Verify(context); });
}

CommandEnding EraseCommand(core::RunContext& context) {
  return RunDeviceCommand(context, [&] { Erase(context); });
}

CommandEnding ReadFusesCommand(core::RunContext& context) {
  return RunDeviceCommand(context, [&] { ReadFuses(context); });
}

CommandEnding WriteFusesCommand(core::RunContext& context) {
  return RunDeviceCommand(context, [&] { WriteFuses(context); });
}

CommandEnding PickRstDisableCommand(core::RunContext& context) {
  return core::RunCommand(context, [&] { fuse::WarnOfResetDisable(context); });
}

}  // namespace fenwright::ops
