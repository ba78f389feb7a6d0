#include "pictures/studio_user.h"

namespace fenwright::pictures {

platform::PortInfo StudioPorts::Describe(int number) {
  using platform::PortState;
  const std::string path = "/dev/ttyUSB" + std::to_string(number);
  if (which_ == PortsOfStudio::Simulated) {
    return {.Number = number,
            .Path = "",
            .Description = "シミュレーションのライター（実際のポートは使いません）",
            .State = PortState::Usable,
            .Reason = ""};
  }
  if (which_ == PortsOfStudio::Several && number == 3) {
    return {.Number = number,
            .Path = path,
            .Description = "USB Serial Converter",
            .State = PortState::Usable,
            .Reason = ""};
  }
  if (which_ == PortsOfStudio::Several && number == 4) {
    return {
        .Number = number,
        .Path = path,
        .Description = "USB Serial Converter",
        .State = PortState::Busy,
        .Reason = path + " はほかのプログラムが使用しています。そのプログラムを終了してください。"};
  }
  if (which_ == PortsOfStudio::Several && number == 7) {
    return {.Number = number,
            .Path = path,
            .Description = "",
            .State = PortState::NoPermission,
            .Reason = path + " を使う許可がありません。dialout グループに加わってください。"};
  }
  return {.Number = number,
          .Path = path,
          .Description = "",
          .State = PortState::Missing,
          .Reason = path + " がありません。"};
}

}  // namespace fenwright::pictures
