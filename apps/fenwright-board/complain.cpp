#include "complain.h"

#include <iostream>

#include "platform/system/printable.h"

namespace fenwright::board_app {

void Complain(std::string_view what, std::span<const std::string> words) {
  std::cerr << "fenwright-board: " << platform::Printable(what, platform::OutsideOf(words))
            << std::endl;
}

}  // namespace fenwright::board_app
