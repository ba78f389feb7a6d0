#include "platform/windows/port_failure.h"

#include <string_view>
#include <windows.h>

#include "platform/windows/patience.h"
#include "platform/windows/system_reason.h"

namespace fenwright::platform {
namespace {

/// The system may make each pause half as long again.
constexpr Patience kPatience{.Attempts = 5, .MillisecondsBetween = 40};

constexpr std::string_view kDevicePrefix = R"(\\.\)";

PortOpenStatus StatusOf(unsigned long error) {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_DEV_NOT_EXIST:
      return PortOpenStatus::Missing;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
      return PortOpenStatus::Busy;
    default:
      return PortOpenStatus::Failed;
  }
}

std::string ReasonOf(PortOpenStatus status, const std::string& name, unsigned long error) {
  switch (status) {
    case PortOpenStatus::Missing:
      return name +
             " がありません。ライタの接続と、デバイスマネージャーでポート番号を確認してください。";
    case PortOpenStatus::Busy:
      return name + " は他のプログラムが使用中です。そのプログラムを終了してください。";
    default:
      break;
  }
  if (error == ERROR_INVALID_FUNCTION || error == ERROR_INVALID_PARAMETER ||
      error == ERROR_INVALID_HANDLE) {
    return name + " はシリアルポートではありません。ポートの指定を確認してください。";
  }
  if (error == ERROR_GEN_FAILURE || error == ERROR_SEM_TIMEOUT || error == ERROR_NOT_READY) {
    return name + " が応答しません。ライタを接続し直してください。";
  }
  return name + " を開けませんでした。" + std::string(JapaneseOf(CauseOf(error)));
}

}  // namespace

std::string PortName(const std::string& path) {
  return path.starts_with(kDevicePrefix) ? path.substr(kDevicePrefix.size()) : path;
}

PortOpenResult DescribePortFailure(const std::string& path, unsigned long error) {
  const PortOpenStatus status = StatusOf(error);
  return {status, path, ReasonOf(status, PortName(path), error) + " (" + SystemReason(error) + ")"};
}

unsigned long OpenPatiently(const std::function<unsigned long()>& open) {
  return WithPatience(kPatience, open,
                      [](unsigned long error) { return error == ERROR_ACCESS_DENIED; });
}

}  // namespace fenwright::platform
