#include "platform/posix/port_failure.h"

#include <array>
#include <cerrno>
#include <grp.h>
#include <optional>
#include <sys/stat.h>

#include "platform/posix/system_reason.h"

namespace fenwright::platform {
namespace {

constexpr mode_t kGroupMayUse = S_IRGRP | S_IWGRP;

std::string GroupName(gid_t id) {
  std::array<char, 4096> texts{};
  group entry{};
  group* found = nullptr;
  if (getgrgid_r(id, &entry, texts.data(), texts.size(), &found) == 0 && found != nullptr) {
    return entry.gr_name;
  }
  return std::to_string(id);
}

std::string NoPermissionReason(const std::string& path) {
  const std::string cause = "デバイス " + path + " を使用する権限がありません。";
  struct stat info {};
  if (stat(path.c_str(), &info) != 0) {
    return cause + "デバイスの入っているフォルダの権限を確認してください。";
  }
  const std::string group = GroupName(info.st_gid);
  // Joining root's group would give away far more than a serial line.
  if (info.st_gid == 0 || (info.st_mode & kGroupMayUse) != kGroupMayUse) {
    return cause + "グループ " + group +
           " に入っても使用できません。管理者にデバイスの権限の設定を依頼してください。";
  }
  return cause + "端末で \"sudo usermod -aG " + group + " $USER\" を実行してグループ " + group +
         " に入り、一度ログアウトしてログインし直してください。";
}

PortOpenStatus StatusOf(int error) {
  switch (error) {
    case ENOENT:
    case ENXIO:
    case ENODEV:
      return PortOpenStatus::Missing;
    case EACCES:
    case EPERM:
      return PortOpenStatus::NoPermission;
    case EBUSY:
    case EWOULDBLOCK:
      return PortOpenStatus::Busy;
    default:
      return PortOpenStatus::Failed;
  }
}

std::string ReasonOf(PortOpenStatus status, const std::string& path, int error) {
  switch (status) {
    case PortOpenStatus::Missing:
      return "デバイス " + path + " がありません。ライタの接続とポート番号を確認してください。";
    case PortOpenStatus::NoPermission:
      return NoPermissionReason(path);
    case PortOpenStatus::Busy:
      return "デバイス " + path +
             " は他のプログラムが使用中です。そのプログラムを終了してください。";
    default:
      break;
  }
  if (error == ENOTTY || error == EISDIR || error == EINVAL) {
    return path + " はシリアルポートではありません。ポートの指定を確認してください。";
  }
  // A kernel names serial lines that the machine does not have; they open and then fail like this.
  if (error == EIO) {
    return "デバイス " + path +
           " が応答しません。このポートの装置がないか、故障しています。ポート番号を確認してください"
           "。";
  }
  return "デバイス " + path + " を開けませんでした。" + std::string(JapaneseOf(CauseOf(error)));
}

}  // namespace

PortOpenResult DescribePortFailure(const std::string& path, int error) {
  const PortOpenStatus status = StatusOf(error);
  return {status, path, ReasonOf(status, path, error) + " (" + SystemReason(error) + ")"};
}

}  // namespace fenwright::platform
