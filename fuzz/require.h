#pragma once

#include <cstdlib>
#include <iostream>
#include <string_view>

namespace fenwright::fuzz {

/// Ends the fuzzer, which keeps its input then, unless `holds`; `rule` says what must hold.
inline void Require(bool holds, std::string_view rule) {
  if (holds) return;
  std::cerr << "broken: " << rule << std::endl;
  std::abort();
}

}  // namespace fenwright::fuzz
