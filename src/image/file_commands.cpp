#include "image/file_commands.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <filesystem>
#include <optional>

#include "core/settings_keys.h"
#include "core/status.h"
#include "image/buffers.h"
#include "image/dump_files.h"

namespace fenwright::image {
namespace {

constexpr std::string_view kFileNotOpenedText = "指定されたファイルを開くことができませんでした。";

/// Everything before the last separator; "" when there is none.
std::string FolderOf(std::string_view path) {
  constexpr bool kBackslashSeparates = std::filesystem::path::preferred_separator == '\\';
  const std::size_t separator = path.find_last_of(kBackslashSeparates ? "/\\" : "/");
  return std::string(separator == std::string_view::npos ? "" : path.substr(0, separator));
}

std::string StoredFolder(const core::RunContext& context, std::string_view key) {
  return context.Settings.Read(core::kSettingsSection, key).value_or("");
}

bool EndedByFileError(const HexReadReport& report) {
  return report.End == HexReadEnd::NotOpened || report.End == HexReadEnd::OutsideBuffer;
}

void ShowMissingCodeFile(core::RunContext& context) {
  core::ShowStatus(context, "Program : Not found HEX file");
  ClearFlashBuffer(context.State);
  RefreshFlashView(context);
  core::ShowMessage(context, kFileNotOpenedText, platform::MessageMode::Notice);
}

void ShowUnsetReloadName(core::RunContext& context) {
  const std::string& name = context.State.CodeFileName;
  core::ShowMessage(context,
                    "再ロードするファイル名 ： " + (name.empty() ? "?" : name) +
                        "\r\n再ロードするファイルが未指定です。 一度、メニューバーのファイルから"
                        "ＨＥＸファイルを開くと自動的にファイル名が指定されます。",
                    platform::MessageMode::Notice);
}

void LoadCodeFile(core::RunContext& context, OpenReport& report) {
  const std::string& name = context.State.CodeFileName;
  core::ShowStatus(context, "Program : " + name);
  ClearFlashBuffer(context.State);
  report.Code = ReadCodeHexFile(context);
  if (EndedByFileError(report.Code)) return;
  RefreshFlashView(context);
  context.Settings.Write(core::kSettingsSection, core::kOpenFolderKey, FolderOf(name));
}

void LoadDataFile(core::RunContext& context, OpenReport& report) {
  const std::string& name = context.State.DataFileName;
  report.DataFileFound = context.Files.Exists(name);
  if (!report.DataFileFound) {
    core::ShowStatus(context, "EEPROM memory : Not found EEP file");
    ClearEepromBuffer(context.State);
    return;
  }
  core::ShowStatus(context, "EEPROM : " + name);
  ClearEepromBuffer(context.State);
  report.Data = ReadDataHexFile(context);
}

/// A file error ends "open both" without a text of its own, so the cause would stay unsaid. The
/// views show what the buffers hold, and the message dialog says why there is no more.
void ExplainFileError(core::RunContext& context, std::string_view path,
                      const HexReadReport& report) {
  RefreshFlashView(context);
  RefreshEepromView(context);
  core::ShowMessage(context, kFileNotOpenedText, platform::MessageMode::Notice);
  const std::string cause = report.End == HexReadEnd::OutsideBuffer
                                ? std::to_string(report.StoppedAtLine) +
                                      "行目のアドレスがバッファの範囲を超えています。"
                                      "選択したデバイス用のファイルか確認してください。"
                                : report.Reason;
  context.MessageDialog.SetDetail(std::string(path) + "\n" + cause);
}

}  // namespace

std::string DataFileNameFor(std::string_view code_path) {
  constexpr std::size_t kExtensionLength = 3;
  const std::size_t kept = code_path.size() - std::min(code_path.size(), kExtensionLength);
  return std::string(code_path.substr(0, kept)) + "eep";
}

bool HasCodeFileExtension(std::string_view path) {
  constexpr std::size_t kLength = 4;
  if (path.size() < kLength) return false;
  std::string extension(path.substr(path.size() - kLength));
  std::ranges::transform(extension, extension.begin(), [](unsigned char character) {
    return static_cast<char>(std::tolower(character));
  });
  return extension == ".hex" || extension == ".rom";
}

void SetCodeAndDataFile(core::RunContext& context, const std::string& code_path) {
  context.State.CodeFileName = code_path;
  context.State.DataFileName = DataFileNameFor(code_path);
}

bool ChooseCodeAndDataFile(core::RunContext& context) {
  const std::optional<std::string> chosen =
      context.FileDialogs.Open({.Title = "コードファイル ＆ データファイルを開く",
                                .Filter = "Hex File|*.hex;*.rom|All Files|*.*|",
                                .DefaultExtension = "hex;rom",
                                .StartFolder = StoredFolder(context, core::kOpenFolderKey)});
  if (!chosen) return false;
  SetCodeAndDataFile(context, *chosen);
  return true;
}

OpenReport LoadCodeAndDataFile(core::RunContext& context) {
  OpenReport report;
  report.CodeFileFound = context.Files.Exists(context.State.CodeFileName);
  if (!report.CodeFileFound) {
    ShowMissingCodeFile(context);
    return report;
  }
  report.KnownExtension = HasCodeFileExtension(context.State.CodeFileName);
  if (!report.KnownExtension) {
    ShowUnsetReloadName(context);
    return report;
  }
  LoadCodeFile(context, report);
  if (EndedByFileError(report.Code)) {
    ExplainFileError(context, context.State.CodeFileName, report.Code);
    return report;
  }
  LoadDataFile(context, report);
  if (EndedByFileError(report.Data)) {
    ExplainFileError(context, context.State.DataFileName, report.Data);
    return report;
  }
  RefreshEepromView(context);
  core::ShowStatus(context, "ファイルをオープンしました。");
  return report;
}

}  // namespace fenwright::image
