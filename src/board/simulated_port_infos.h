#pragma once

#include "platform/port_info.h"

namespace fenwright::board {

/// Every port number leads to the simulated board.
class SimulatedPortInfos final : public platform::PortInfos {
 public:
  platform::PortInfo Describe(int number) override {
    return {.Number = number,
            .Path = "",
            .Description = "シミュレーションのライター（実際のポートは使いません）",
            .State = platform::PortState::Usable,
            .Reason = ""};
  }
};

}  // namespace fenwright::board
