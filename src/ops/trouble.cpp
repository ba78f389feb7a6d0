#include "ops/trouble.h"

#include "ops/outcome.h"

namespace fenwright::ops {
namespace {

std::string_view TroubleOfKind(core::FailureKind kind) {
  switch (kind) {
    case core::FailureKind::NoReply:
      return trouble::kNoReply;
    case core::FailureKind::WrongReply:
      return trouble::kWrongReply;
    case core::FailureKind::PortGone:
      return trouble::kPortGone;
    case core::FailureKind::NoSignature:
      return trouble::kNoSignature;
    case core::FailureKind::OtherChip:
      return trouble::kWrongChip;
    case core::FailureKind::None:
      break;
  }
  return "";
}

std::string_view TroubleOfLink(const core::AppState& state) {
  const std::string_view port = TroubleOf(state.LastPortOpen);
  if (!port.empty()) return port;
  switch (state.LastDetection) {
    case core::Detection::OtherDevice:
      return trouble::kOtherDevice;
    case core::Detection::VersionUnreadable:
    case core::Detection::FirmwareTooOld:
      return trouble::kFirmwareTooOld;
    case core::Detection::Accepted:
      return state.Command.Failure == core::FailureKind::WrongReply
                 ? trouble::kDeviceRefused
                 : TroubleOfKind(state.Command.Failure);
    case core::Detection::NotMade:
    case core::Detection::NoAnswer:
      break;
  }
  return trouble::kNoProgrammer;
}

}  // namespace

std::string_view TroubleOf(const platform::PortOpenResult& opened) {
  switch (opened.Status) {
    case platform::PortOpenStatus::Missing:
      return trouble::kNoProgrammer;
    case platform::PortOpenStatus::NoPermission:
      return trouble::kPortDenied;
    case platform::PortOpenStatus::Busy:
      return trouble::kPortBusy;
    case platform::PortOpenStatus::Failed:
      return trouble::kPortFailed;
    case platform::PortOpenStatus::Ok:
      break;
  }
  return "";
}

std::string_view TroubleOf(const core::AppState& state) {
  const core::CommandRecord& done = state.Command;
  if (!done.LinkReady) return TroubleOfLink(state);
  if (done.Operation == core::DeviceOperation::None || Succeeded(state)) return "";
  if (done.VerifyFinished && (state.FlashNG || state.EepromNG)) return trouble::kDifferences;
  const std::string_view word = TroubleOfKind(done.Failure);
  if (!word.empty()) return word;
  return done.EraseStarted ? trouble::kEraseUnconfirmed : trouble::kNoReply;
}

}  // namespace fenwright::ops
