#pragma once

#include "core/device_catalogue.h"
#include "support/test_run.h"

namespace fenwright::testing {

using enum screen::FuseList;

/// The names of all devices in the selector's order.
inline std::vector<std::string> AllDevices() {
  std::vector<std::string> names;
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    names.emplace_back(device.DisplayName);
  }
  return names;
}

inline constexpr std::array<FuseList, 11> kAllLists{
    Fstrt, Rcen, Rstdisabl, Boden, Bodlevel, Cksel, Lock, Eesave, Pllck, Ckopt, Sut};

/// Positions of the lists that the frame shows.
using Positions = std::map<FuseList, int>;

inline Positions PositionsOf(const FakeFuseForm& form) {
  Positions positions;
  for (const auto& [list, content] : form.Lists) positions[list] = content.Index;
  return positions;
}

/// What the signature command answers for a device: part, family, vendor byte.
inline std::string SignatureReply(const std::string& device) {
  static const std::map<std::string, std::string> replies{
      {"ATtiny12L", "05 90 1E"},
      {"ATtiny15L", "06 90 1E"},
      {"ATtiny26L", "09 91 1E"},
      {"AT90S2323", "02 91 1E"},
      {"AT90S2343", "03 91 1E"},
      {"AT90S1200 (外部ｸﾛｯｸ)", "01 90 1E"},
      {"AT90S1200A(内部RCｸﾛｯｸ1MHz)", "01 90 1E"},
      {"AT90S2313", "01 91 1E"},
      {"AT90S4433", "03 92 1E"},
      {"AT90S4414", "01 92 1E"},
      {"AT90S4434", "02 92 1E"},
      {"AT90S8515", "01 93 1E"},
      {"AT90S8535", "03 93 1E"}};
  return replies.at(device);
}

/// One exchange of a transcript.
struct Exchange {
  std::string Sent;
  std::string Reply;
};

inline constexpr std::size_t kCheckExchanges = 4;

/// The signature check and then, for each command, a programming mode of its own.
inline std::vector<Exchange> Transcript(const std::string& device,
                                        const std::vector<Exchange>& commands) {
  std::vector<Exchange> all{
      {"'A'", "0D"}, {"'P'", "0D"}, {"'s'", SignatureReply(device)}, {"'L'", "0D"}};
  for (const Exchange& command : commands) {
    all.push_back({"'A'", "0D"});
    all.push_back({"'P'", "0D"});
    all.push_back(command);
    all.push_back({"'L'", "0D"});
  }
  return all;
}

/// Scripts a transcript in which the exchange at `failing` is answered with `reply`, "" = not at
/// all: the rest of its own programming mode is sent unless its "A" failed, and each later one
/// sends its "A" and stops.
inline void ScriptWithFailureAt(ScriptedPort& port, const std::vector<Exchange>& transcript,
                                std::size_t failing, const std::string& reply = "") {
  constexpr std::size_t kStepsOfAMode = 4;
  const std::size_t mode_end = (failing / kStepsOfAMode + 1) * kStepsOfAMode;
  for (std::size_t i = 0; i < transcript.size(); ++i) {
    const Exchange& exchange = transcript[i];
    const bool extend = i % kStepsOfAMode == 0;
    if (i == failing) {
      const int attempts = exchange.Sent == "'s'" ? 5 : 1;
      for (int attempt = 0; attempt < attempts; ++attempt) port.Expect(exchange.Sent, reply);
      if (extend) i = mode_end - 1;
    } else if (i < mode_end || extend) {
      port.Expect(exchange.Sent, exchange.Reply);
    }
    // A failed check of the chip ends it all.
    if (failing < kCheckExchanges && i + 1 >= kCheckExchanges) return;
  }
}

}  // namespace fenwright::testing
