#include "image/file_commands.h"

#include <optional>
#include <string_view>

#include "core/command_end.h"
#include "core/file_reason.h"
#include "core/settings_keys.h"
#include "core/status.h"
#include "image/buffers.h"
#include "image/dump_files.h"

namespace fenwright::image {
namespace {

constexpr std::string_view kFileNotOpenedText = "指定されたファイルを開くことができませんでした。";
constexpr std::string_view kCodeOpenFilter = "Hex File|*.hex;*.rom|All Files|*.*|";
constexpr std::string_view kCodeExtensions = "hex;rom";

bool EndedByFileError(const HexReadReport& report) {
  return report.End == HexReadEnd::NotOpened || report.End == HexReadEnd::OutsideBuffer;
}

void ShowMissingCodeFile(core::RunContext& context) {
  core::ShowStatus(context, "Program : Not found HEX file");
  ClearFlashBuffer(context.State);
  RefreshFlashView(context);
  core::ShowMessage(context, kFileNotOpenedText, screen::MessageMode::Notice,
                    screen::Outcome::Failure);
}

void ShowUnsetReloadName(core::RunContext& context) {
  const std::string& name = context.State.CodeFileName;
  core::ShowMessage(context,
                    "再ロードするファイル名 ： " + (name.empty() ? "?" : name) +
                        "\r\n再ロードするファイルが未指定です。 一度、メニューバーのファイルから"
                        "ＨＥＸファイルを開くと自動的にファイル名が指定されます。",
                    screen::MessageMode::Notice, screen::Outcome::Attention);
}

bool CodeFileFound(core::RunContext& context, OpenReport& report) {
  report.CodeFileFound = context.Storage.Files.Exists(context.State.CodeFileName);
  return report.CodeFileFound;
}

bool HasKnownExtension(const core::RunContext& context, OpenReport& report) {
  report.KnownExtension = HasCodeFileExtension(context.State.CodeFileName);
  return report.KnownExtension;
}

/// False for a file error.
bool TakeCodeFile(core::RunContext& context, OpenReport& report) {
  const std::string& name = context.State.CodeFileName;
  core::ShowStatus(context, "Program : " + name);
  ClearFlashBuffer(context.State);
  report.Code = ReadCodeHexFile(context);
  if (EndedByFileError(report.Code)) return false;
  RefreshFlashView(context);
  StoreFolderOf(context, core::kOpenFolderKey, name);
  return true;
}

/// False for a file error.
bool TakeDataFile(core::RunContext& context, OpenReport& report) {
  const std::string& name = context.State.DataFileName;
  report.DataFileReached = true;
  report.DataFileFound = context.Storage.Files.Exists(name);
  if (!report.DataFileFound) {
    core::ShowStatus(context, "EEPROM memory : Not found EEP file");
    ClearEepromBuffer(context.State);
    return true;
  }
  core::ShowStatus(context, "EEPROM : " + name);
  ClearEepromBuffer(context.State);
  report.Data = ReadDataHexFile(context);
  return !EndedByFileError(report.Data);
}

/// A file error ends an open without a text of its own, so the cause would stay unsaid: the message
/// dialog says why there is no more.
void ExplainFileError(core::RunContext& context, std::string_view path,
                      const HexReadReport& report) {
  core::ShowMessage(context, kFileNotOpenedText, screen::MessageMode::Notice,
                    screen::Outcome::Failure);
  const std::string cause =
      report.End == HexReadEnd::OutsideBuffer
          ? std::to_string(report.StoppedAtLine) +
                "行目のアドレスがバッファの範囲を超えています。"
                "選択したデバイス用のファイルか確認してください。"
          : core::DescribeReason({.Code = platform::FileResult::Status::Failed,
                                  .Reason = report.Reason,
                                  .Cause = report.Cause});
  core::ShowDetail(context, std::string(path) + "\r\n" + cause);
}

/// An open of a code file alone that failed, whatever the reason.
void ForgetCodeFile(core::RunContext& context) {
  context.State.CodeFileName.clear();
  context.Screen.MessageBoxes.Show(screen::MessageIcon::Information, "", kFileNotOpenedText);
}

std::optional<std::string> AskForOpenName(core::RunContext& context, std::string_view title,
                                          std::string_view filter, std::string_view extension) {
  return context.Screen.FileDialogs.Open(
      {.Title = std::string(title),
       .Filter = std::string(filter),
       .DefaultExtension = std::string(extension),
       .StartFolder = StoredFolder(context, core::kOpenFolderKey)});
}

}  // namespace

bool ChooseCodeFile(core::RunContext& context) {
  const std::optional<std::string> chosen =
      AskForOpenName(context, "コードファイル(*.hex)を開く", kCodeOpenFilter, kCodeExtensions);
  if (!chosen) return false;
  context.State.CodeFileName = *chosen;
  return true;
}

bool ChooseDataFile(core::RunContext& context) {
  const std::optional<std::string> chosen = AskForOpenName(context, "データファイル(*.eep)を開く",
                                                           "eep File|*.eep|All Files|*.*|", "eep");
  if (!chosen) return false;
  context.State.DataFileName = DataFileNameFor(*chosen);
  return true;
}

bool ChooseCodeAndDataFile(core::RunContext& context) {
  const std::optional<std::string> chosen = AskForOpenName(
      context, "コードファイル ＆ データファイルを開く", kCodeOpenFilter, kCodeExtensions);
  if (!chosen) return false;
  SetCodeAndDataFile(context, *chosen);
  return true;
}

void SetCodeAndDataFile(core::RunContext& context, const std::string& code_path) {
  context.State.CodeFileName = code_path;
  context.State.DataFileName = DataFileNameFor(code_path);
}

OpenReport LoadCodeFile(core::RunContext& context) {
  OpenReport report;
  if (!CodeFileFound(context, report) || !HasKnownExtension(context, report)) return report;
  try {
    if (TakeCodeFile(context, report)) return report;
    // The view shows what the buffer holds, also after a read that ended early.
    RefreshFlashView(context);
  } catch (const core::CommandEnd&) {
    ForgetCodeFile(context);
    throw;
  }
  ForgetCodeFile(context);
  return report;
}

OpenReport LoadDataFile(core::RunContext& context) {
  OpenReport report;
  const bool taken = TakeDataFile(context, report);
  RefreshEepromView(context);
  if (!taken) ExplainFileError(context, context.State.DataFileName, report.Data);
  return report;
}

OpenReport LoadCodeAndDataFile(core::RunContext& context) {
  OpenReport report;
  if (context.State.CodeFileName.empty()) {
    ShowUnsetReloadName(context);
    return report;
  }
  if (!CodeFileFound(context, report)) {
    ShowMissingCodeFile(context);
    return report;
  }
  if (!HasKnownExtension(context, report)) {
    ShowUnsetReloadName(context);
    return report;
  }
  if (!TakeCodeFile(context, report)) {
    RefreshFlashView(context);
    RefreshEepromView(context);
    ExplainFileError(context, context.State.CodeFileName, report.Code);
    return report;
  }
  const bool data_taken = TakeDataFile(context, report);
  RefreshEepromView(context);
  if (!data_taken) {
    ExplainFileError(context, context.State.DataFileName, report.Data);
    return report;
  }
  core::ShowStatus(context, "ファイルをオープンしました。");
  return report;
}

}  // namespace fenwright::image
