#pragma once

#include <string_view>

namespace fenwright::platform {

/// Why the system refused something, whatever number or words it has for it.
enum class FailureCause {
  Unknown,  ///< one that has no name here
  DiscFull,
  QuotaExceeded,  ///< the user's share of the disc is used up
  AccessDenied,
  NotPermitted,  ///< beyond the rights of a file: something for administrators
  ReadOnlyDisc,
  NotFound,
  IsFolder,
  NoFolder,  ///< a part of the path that has to be a folder is none
  IsLink,
  TooManyLinks,  ///< links that lead back to themselves, say
  NotRegular,    ///< a device, a pipe
  Exists,
  NameTooLong,
  NameInvalid,
  FileTooLarge,
  TooManyFiles,  ///< open at once
  Busy,          ///< somebody else holds it
  RunningProgram,
  OutOfMemory,
  DeviceError,
  NoDevice,  ///< it was taken out, or there never was one
  NotTerminal,
  OtherDisc,  ///< a file cannot be moved from one disc to another by its name
  TimedOut,
  InvalidRequest,
};

/// Our words for a cause, in the window's language; "" for Unknown.
constexpr std::string_view JapaneseOf(FailureCause cause) {
  switch (cause) {
    case FailureCause::DiscFull:
      return "ディスクの空き容量がありません。";
    case FailureCause::QuotaExceeded:
      return "使用できるディスク容量の上限に達しました。";
    case FailureCause::AccessDenied:
      return "アクセスする権限がありません。";
    case FailureCause::NotPermitted:
      return "この操作は許可されていません。";
    case FailureCause::ReadOnlyDisc:
      return "ディスクは書き込み禁止です。";
    case FailureCause::NotFound:
      return "ファイルまたはフォルダーが見つかりません。";
    case FailureCause::IsFolder:
      return "ファイルではなくフォルダーです。";
    case FailureCause::NoFolder:
      return "パスの途中の名前がフォルダーではありません。";
    case FailureCause::IsLink:
      return "シンボリックリンクのため書き込みません。";
    case FailureCause::TooManyLinks:
      return "シンボリックリンクをたどりきれません。";
    case FailureCause::NotRegular:
      return "通常のファイルではありません。";
    case FailureCause::Exists:
      return "同じ名前のファイルがあります。";
    case FailureCause::NameTooLong:
      return "ファイルの名前が長すぎます。";
    case FailureCause::NameInvalid:
      return "ファイルの名前に使えない文字があります。";
    case FailureCause::FileTooLarge:
      return "ファイルが大きすぎます。";
    case FailureCause::TooManyFiles:
      return "開いているファイルが多すぎます。";
    case FailureCause::Busy:
      return "他のプログラムが使用中です。";
    case FailureCause::RunningProgram:
      return "実行中のプログラムのファイルです。";
    case FailureCause::OutOfMemory:
      return "メモリーが足りません。";
    case FailureCause::DeviceError:
      return "装置の入出力エラーです。";
    case FailureCause::NoDevice:
      return "装置がありません。取り外された可能性があります。";
    case FailureCause::NotTerminal:
      return "シリアルポートではありません。";
    case FailureCause::OtherDisc:
      return "別のディスクへは移動できません。";
    case FailureCause::TimedOut:
      return "時間内に応答がありません。";
    case FailureCause::InvalidRequest:
      return "システムが受け付けない操作です。";
    case FailureCause::Unknown:
      break;
  }
  return "";
}

}  // namespace fenwright::platform
