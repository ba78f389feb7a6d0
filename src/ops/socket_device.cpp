#include "ops/socket_device.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "core/device_catalogue.h"
#include "core/insertion_guide.h"
#include "core/status.h"
#include "core/trace_log.h"
#include "link/board_commands.h"
#include "link/detection.h"
#include "link/serial_link.h"
#include "link/socket_check.h"
#include "ops/device_change.h"
#include "ops/trouble.h"

namespace fenwright::ops {
namespace {

/// Reads it in a frame of its own, as the signature check does.
std::optional<link::Signature> ReadSignatureOnce(core::RunContext& context) {
  std::int16_t& error = context.State.LinkError;
  link::AvrExtendCommand(context, error);
  if (error != 0) return std::nullopt;
  link::EnterProgrammingMode(context, error);
  constexpr double kSettleSeconds = 0.05;
  link::Rest(context, kSettleSeconds);
  const std::optional<link::Signature> signature = link::ReadChipSignature(context, error);
  link::LeaveProgrammingMode(context, error);
  return error == 0 ? signature : std::nullopt;
}

std::vector<int> RowsOf(const link::Signature& signature) {
  std::vector<int> rows;
  const auto& catalogue = core::DeviceCatalogue();
  for (std::size_t row = 0; row < catalogue.size(); ++row) {
    const auto& own = catalogue[row].Signature;
    if (own[0] == signature.Family && own[1] == signature.Part) {
      rows.push_back(static_cast<int>(row));
    }
  }
  return rows;
}

bool HoldsMoreThanTheDevice(const std::vector<std::uint8_t>& buffer, std::int32_t bytes) {
  const auto first = buffer.begin() + std::min<std::ptrdiff_t>(bytes, std::ssize(buffer));
  return std::any_of(first, buffer.end(), [](std::uint8_t byte) { return byte != core::kBlank; });
}

constexpr const char* kCodeTooLarge =
    "⚠ コードはデバイスの容量を超えています。超える部分は書き込まれず、上書き保存するとファイルから"
    "失われます。";
constexpr const char* kDataTooLarge =
    "⚠ データはデバイスの容量を超えています。超える部分は書き込まれず、上書き保存するとファイルから"
    "失われます。";

}  // namespace

SocketContent IdentifySocket(core::RunContext& context) {
  core::TraceLog(context).AppendStartMarker();
  context.State.Command.LinkReady = link::CheckProgrammerLink(context);
  if (!context.State.Command.LinkReady) {
    context.Screen.MessageDialog.SetCode(TroubleOf(context.State));
    return {};
  }
  core::ShowMessage(context, "ソケットのデバイスを調べています.....", screen::MessageMode::Busy);
  context.State.LinkError = 0;
  const std::optional<link::Signature> signature = ReadSignatureOnce(context);
  if (!signature || !link::IsUsable(*signature)) {
    core::ReportResult(context, "ソケットのデバイスを読み出せませんでした。",
                       screen::Outcome::Failure);
    const std::string cause = signature ? link::DescribeSocket(*signature) : "";
    if (!cause.empty()) core::ShowDetail(context, cause);
    context.Screen.MessageDialog.SetCode(trouble::kNoSignature);
    return {};
  }
  std::vector<int> rows = RowsOf(*signature);
  if (rows.empty()) {
    const std::string_view name = core::LookUpSignature(signature->Family, signature->Part);
    core::ReportResult(context,
                       name.empty() ? "ソケットのデバイスは、選択できるデバイスではありません。"
                                    : "ソケットのデバイスは " + std::string(name) +
                                          " です。選択できるデバイスではありません。",
                       screen::Outcome::Attention);
    return {.Read = true};
  }
  const auto& found = core::DeviceCatalogue()[static_cast<std::size_t>(rows.front())];
  core::ShowStatus(context, "ソケットのデバイスは " + std::string(found.ChipName) + " です。");
  context.Screen.MessageDialog.Close();
  return {.Read = true, .Devices = std::move(rows)};
}

void PickDeviceKeepingBuffers(core::RunContext& context, int index) {
  core::AppState& state = context.State;
  context.Screen.DeviceForm.SetDeviceIndex(index);
  ShowDeviceInfo(context);
  core::RefreshInsertionGuide(context);
  // What was said about the files was said for the device before.
  state.CodeInfo.clear();
  state.DataInfo.clear();
  const bool code_too_large = HoldsMoreThanTheDevice(state.FlashBuffer, 2 * state.FlashWords);
  const bool data_too_large = HoldsMoreThanTheDevice(state.EepromBuffer, state.EepromBytes);
  state.CodeDoubt = code_too_large ? kCodeTooLarge : "";
  state.DataDoubt = data_too_large ? kDataTooLarge : "";
  const bool too_large = code_too_large || data_too_large;
  core::ShowStatus(context,
                   "デバイスを " + context.Screen.DeviceForm.DeviceText() +
                       " に変更しました。バッファーの内容はそのままです。" +
                       (too_large ? "デバイスの容量を超える部分は書き込まれません。" : ""));
  if (too_large) {
    core::ShowOutcome(context, screen::Outcome::Attention,
                      state.CodeDoubt.empty() ? state.DataDoubt : state.CodeDoubt);
  }
}

}  // namespace fenwright::ops
