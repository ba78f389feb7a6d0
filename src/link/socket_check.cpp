#include "link/socket_check.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "core/device_catalogue.h"
#include "core/hex_format.h"
#include "core/status.h"
#include "link/board_commands.h"
#include "link/serial_link.h"

namespace fenwright::link {
namespace {

using screen::MessageMode;

constexpr std::int16_t kUnknownFlashWords = 512;

/// What a locked chip answers in the place of its signature.
constexpr std::array<std::uint8_t, 3> kAddresses{0, 1, 2};

/// Flash size in words that a family byte stands for. 0x97 gives 1024, although the code would
/// suggest a larger part; that is deliberate.
std::int16_t FlashWordsOfFamily(std::uint8_t family) {
  switch (family) {
    case 0x90:
      return 512;
    case 0x91:
    case 0x97:
      return 1024;
    case 0x92:
      return 2048;
    case 0x93:
      return 4096;
    default:
      return kUnknownFlashWords;
  }
}

bool MatchesSelectedDevice(const core::RunContext& context, const Signature& signature) {
  if (context.State.FlashWords != FlashWordsOf(signature)) return false;
  const std::string_view found = core::LookUpSignature(signature.Family, signature.Part);
  return core::NamesSameChip(found, context.Screen.DeviceForm.DeviceText());
}

}  // namespace

/// Up to five attempts; another one is made only while the family byte reads 0. Only when every
/// attempt timed out is there no answer.
std::optional<Signature> ReadChipSignature(core::RunContext& context, std::int16_t& error) {
  constexpr int kAttempts = 5;
  core::ShowStatus(context, screen::Panel::Signature, "--:--:--");
  std::optional<Signature> signature;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (!ExchangeSignature(context)) continue;
    const std::vector<std::uint8_t>& reply = context.State.RxBuf;
    signature = {.Part = reply[0], .Family = reply[1], .Vendor = reply[2]};
    if (signature->Family != 0) break;
  }
  if (!signature) {
    ReportSignatureTimeout(context, error);
    return signature;
  }
  context.State.MessageText = core::HexByte(signature->Vendor) + ":" +
                              core::HexByte(signature->Family) + ":" +
                              core::HexByte(signature->Part);
  core::ShowStatus(context, screen::Panel::Signature, context.State.MessageText);
  return signature;
}

std::int16_t FlashWordsOf(const Signature& signature) {
  const core::DeviceEntry* const device =
      core::FindDeviceBySignature(signature.Family, signature.Part);
  return device ? static_cast<std::int16_t>(device->FlashWords)
                : FlashWordsOfFamily(signature.Family);
}

bool IsUsable(const Signature& signature) {
  const std::array<std::uint8_t, 3> bytes{signature.Vendor, signature.Family, signature.Part};
  return bytes != std::array<std::uint8_t, 3>{} && bytes != kAddresses &&
         std::ranges::find(bytes, std::uint8_t{0xFF}) == bytes.end();
}

std::string_view JudgeSignature(const core::RunContext& context, const Signature& signature) {
  const std::array<std::uint8_t, 3> bytes{signature.Vendor, signature.Family, signature.Part};
  if (std::ranges::all_of(bytes, [](std::uint8_t byte) { return byte == 0; })) {
    return "デバイスがソケットに正しくセットされていないか、プロテクトされています。"
           "プロテクトのときは、チップイレース([イレース]ボタン)を押してください。";
  }
  if (std::ranges::find(bytes, std::uint8_t{0xFF}) != bytes.end()) {
    return "デバイスがソケットに正しくセットされていません。";
  }
  if (!MatchesSelectedDevice(context, signature)) {
    return "デバイス選択と、ソケット上のデバイスが一致しません。\r\n"
           "購入直後のデバイスを使用する場合は、チップイレース(<イレース>ボタン)を実行して"
           "ください。";
  }
  return "";
}

std::string DescribeSocket(const Signature& signature) {
  const auto& [part, family, vendor] = signature;
  const std::array<std::uint8_t, 3> bytes{vendor, family, part};
  if (bytes == kAddresses) {
    return "シグネチャの代わりにアドレス(00:01:02)が読み出されました。"
           "デバイスはプロテクトされている可能性があります。";
  }
  if (!IsUsable(signature)) return "";
  const std::string_view name = core::LookUpSignature(family, part);
  if (!name.empty()) return "ソケットには " + std::string(name) + " があります。";
  return "ソケットのデバイス(シグネチャ " + core::HexByte(vendor) + ":" + core::HexByte(family) +
         ":" + core::HexByte(part) + ")は、対応していないデバイスです。";
}

void ReadSignature(core::RunContext& context, std::int16_t& detected_flash_words,
                   std::int16_t& error) {
  detected_flash_words = kUnknownFlashWords;
  const std::optional<Signature> signature = ReadChipSignature(context, error);
  if (!signature) return;
  detected_flash_words = FlashWordsOf(*signature);
  const std::string_view complaint = JudgeSignature(context, *signature);
  if (complaint.empty()) return;
  context.State.Command.LastFailure = complaint;
  context.State.Command.Failure =
      IsUsable(*signature) ? core::FailureKind::OtherChip : core::FailureKind::NoSignature;
  context.State.Command.SocketCause = DescribeSocket(*signature);
  core::ShowMessage(context, complaint, MessageMode::Notice, screen::Outcome::Failure);
  error = 1;
}

void CheckSocketDevice(core::RunContext& context) {
  core::AppState& state = context.State;
  AvrExtendCommand(context, state.LinkError);
  if (state.LinkError != 0) return;
  EnterProgrammingMode(context, state.LinkError);
  constexpr double kSettleSeconds = 0.05;
  Rest(context, kSettleSeconds);
  ReadSignature(context, state.DetectedFlashWords, state.LinkError);
  state.SignatureFailed = state.LinkError == 1;
  LeaveProgrammingMode(context, state.LinkError);
}

}  // namespace fenwright::link
