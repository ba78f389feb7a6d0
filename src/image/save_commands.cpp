#include "image/save_commands.h"

#include <optional>
#include <string>
#include <string_view>

#include "core/settings_keys.h"
#include "core/status.h"
#include "image/file_names.h"

namespace fenwright::image {
namespace {

constexpr std::string_view kCodeSaveFilter = "Hex File|*.HEX|All Files|*.*|";
constexpr std::string_view kDataSaveFilter = "Eep File|*.eep|All Files|*.*|";

std::optional<std::string> AskForSaveName(core::RunContext& context, std::string_view title,
                                          std::string_view filter, std::string_view extension) {
  return context.Screen.FileDialogs.Save(
      {.Title = std::string(title),
       .Filter = std::string(filter),
       .DefaultExtension = std::string(extension),
       .StartFolder = StoredFolder(context, core::kSaveFolderKey)});
}

bool MayOverwrite(core::RunContext& context) {
  return context.Screen.MessageBoxes.Ask("ファイル保存", "ファイルが存在します。上書きしますか？");
}

SaveEnd EndOf(const SaveReport& report) {
  return report.Code && report.Data ? SaveEnd::Written : SaveEnd::Failed;
}

}  // namespace

SaveReport SaveFiles(core::RunContext& context) {
  core::AppState& state = context.State;
  if (state.CodeFileName.empty()) {
    core::ShowMessage(context, "ファイルがオープンされていません．", screen::MessageMode::Notice,
                      screen::Outcome::Attention);
    core::ShowStatus(context, "ファイルがオープンされていません");
    return {.End = SaveEnd::NothingToSave, .Code = {}, .Data = {}};
  }
  state.CodeSaveFileName = state.CodeFileName;
  state.DataSaveFileName = state.DataFileName;
  SaveReport report;
  report.Code = WriteCodeHexFile(context);
  report.Data = WriteDataHexFile(context);
  report.End = EndOf(report);
  core::ShowStatus(context, "ファイルを保存しました．");
  return report;
}

SaveReport SaveCodeFileAs(core::RunContext& context) {
  SaveReport report;
  const std::optional<std::string> chosen =
      AskForSaveName(context, "コードファイル(*.hex)の保存", kCodeSaveFilter, "*.hex");
  if (!chosen) return report;
  std::string& name = context.State.CodeSaveFileName;
  name = *chosen;
  if (context.Storage.Files.Exists(name) && !MayOverwrite(context)) return report;
  StoreFolderOf(context, core::kSaveFolderKey, name);
  report.Code = WriteCodeHexFile(context);
  report.End = EndOf(report);
  return report;
}

SaveReport SaveDataFileAs(core::RunContext& context) {
  SaveReport report;
  const std::optional<std::string> chosen =
      AskForSaveName(context, "データファイル(*.eep)の保存", kDataSaveFilter, "*.eep");
  if (!chosen) return report;
  std::string& name = context.State.DataSaveFileName;
  name = DataFileNameFor(*chosen);
  if (context.Storage.Files.Exists(name) && !MayOverwrite(context)) return report;
  StoreFolderOf(context, core::kSaveFolderKey, name);
  report.Data = WriteDataHexFile(context);
  report.End = EndOf(report);
  return report;
}

SaveReport SaveBothFilesAs(core::RunContext& context) {
  SaveReport report;
  const std::optional<std::string> chosen =
      AskForSaveName(context, "コードファイル ＆ データファイルの保存", kCodeSaveFilter, "");
  if (!chosen) return report;
  core::AppState& state = context.State;
  state.CodeSaveFileName = *chosen;
  state.DataSaveFileName = DataFileNameFor(*chosen);
  const bool exists = context.Storage.Files.Exists(state.CodeSaveFileName) ||
                      context.Storage.Files.Exists(state.DataSaveFileName);
  if (exists && !MayOverwrite(context)) return report;
  StoreFolderOf(context, core::kSaveFolderKey, state.CodeSaveFileName);
  report.Code = WriteCodeHexFile(context);
  report.Data = WriteDataHexFile(context);
  report.End = EndOf(report);
  return report;
}

}  // namespace fenwright::image
