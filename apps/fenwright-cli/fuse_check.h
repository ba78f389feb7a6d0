#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "device_run.h"
#include "fuse/fuse_model.h"

namespace fenwright::cli {

// What every verb that works with fuse and lock bits does with them: reading them so that they can
// be trusted, and looking at what was written.

/// Positions in the lists of the fuse frame.
using FuseChoices = std::map<screen::FuseList, int>;
using FuseBytes = std::vector<core::FuseTransfer>;

const fuse::FuseLayout& LayoutOf(Session& session);

/// The lists of the selected device, in the order of the window's frame.
std::vector<screen::FuseList> ListsOf(Session& session);

/// An item in ASCII, "" for none.
std::string AsciiName(Session& session, screen::FuseList list, int index);

/// An item in the language of the call, "" for none.
std::string ItemText(Session& session, screen::FuseList list, int index);

/// What each list shows of bytes that were read; kLeaveAsItIs where no item stands for the bits.
FuseChoices DecodeFuses(Session& session, const FuseBytes& bytes);

/// Fails a call that would give the reset pin away.
Outcome RefuseResetDisable(Session& session, const core::Sentence& what_was_done);

nlohmann::json BytesAsJson(const FuseBytes& bytes);

/// The calibration bytes that the device has, as read last.
std::vector<std::uint8_t> CalibrationOf(Session& session);

/// A byte that came wrong over the line shows in nothing else than a second reading. Two readings
/// that differ fail the call, with `consequence` behind what they differ in.
DeviceRun ReadFusesTwice(Session& session, const core::Sentence& consequence = {});

/// Tells of a device run that went well on the line, and whose result is not to be trusted.
Outcome TellDoubt(Session& session, const DeviceRun& run, const Problem& problem,
                  const nlohmann::json& more);

/// What came of reading back the bits that were written.
// The linter takes the library's checks of its own state for exceptions of the move.
// NOLINTNEXTLINE(bugprone-exception-escape)
struct ReadBack {
  DeviceRun Run;                   ///< of the reading
  std::string WhyNot;              ///< why they cannot be read back, "" when they can; one that is
                                   ///< to be locked against reading was looked at all the same
  std::optional<Problem> Doubt;    ///< why what was written is not to be trusted
  nlohmann::json Field = nullptr;  ///< "read_back": the bytes, or why there are none
};

/// Reads back and compares. A chip acknowledges a write that it does not carry out, a locked one
/// for instance. The lists have to show what was written, and show afterwards what was read.
ReadBack ReadBackFuses(Session& session, const FuseBytes& written);

}  // namespace fenwright::cli
