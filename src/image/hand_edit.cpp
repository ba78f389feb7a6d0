#include "image/hand_edit.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/hex_format.h"
#include "core/status.h"
#include "image/buffers.h"
#include "image/dump_files.h"

namespace fenwright::image {
namespace {

/// Value of one to four digits; any other number of characters is an error as a wrong digit is.
std::int32_t Parse(std::string_view text, std::int16_t& link_error) {
  constexpr std::size_t kDigits = 4;
  if (text.empty() || text.size() > kDigits) {
    link_error = 1;
    return 0;
  }
  std::string digits(kDigits - text.size(), '0');
  digits += text;
  return HexWord(digits[0], digits[1], digits[2], digits[3], link_error);
}

constexpr std::string_view kWrongInput = "入力データに誤りがあります．";
constexpr std::string_view kBeyondFlash = "Flash アドレスが範囲を超えています．";
constexpr std::string_view kBeyondEeprom = "EEPROM アドレスが範囲を超えています．";

void ShowNotice(core::RunContext& context, std::string_view text) {
  context.Screen.Views.ClearMarks();
  core::ShowMessage(context, text, screen::MessageMode::Notice, screen::Outcome::Attention);
}

/// Takes a notice of this frame's away that is still on the screen, and its sign.
void TakeNoticeBack(core::RunContext& context) {
  core::AppState& state = context.State;
  constexpr std::array kNotices{kWrongInput, kBeyondFlash, kBeyondEeprom};
  if (std::ranges::find(kNotices, state.MessageText) == kNotices.end()) return;
  state.MessageText.clear();
  context.Screen.MessageDialog.Close();
  core::ShowOutcome(context, screen::Outcome::None, "");
}

void MarkCell(core::RunContext& context, std::int32_t address) {
  const bool flash = context.Screen.HandEdit.FlashChosen();
  const std::optional<screen::TextPlace> place =
      flash ? FlashCellPlace(context.State, address) : EepromCellPlace(context.State, address);
  screen::Views& views = context.Screen.Views;
  views.ClearMarks();
  if (place) views.Mark(flash ? screen::View::Flash : screen::View::Eeprom, *place);
}

/// True when the frame's texts are good; says otherwise.
bool CheckInput(core::RunContext& context) {
  if (context.State.LinkError != 1) return true;
  ShowNotice(context, kWrongInput);
  return false;
}

/// True when the address lies within the chosen memory's limit; says otherwise.
bool CheckAddress(core::RunContext& context, std::int32_t address) {
  const bool flash = context.Screen.HandEdit.FlashChosen();
  const std::int32_t last =
      flash ? 2 * context.State.FlashWords - 1 : context.State.EepromBytes - 1;
  if (address <= last) return true;
  ShowNotice(context, flash ? kBeyondFlash : kBeyondEeprom);
  return false;
}

std::uint8_t HighByte(std::int32_t value) { return static_cast<std::uint8_t>(value >> 8 & 0xFF); }
std::uint8_t LowByte(std::int32_t value) { return static_cast<std::uint8_t>(value & 0xFF); }

}  // namespace

void ReadOneLocation(core::RunContext& context) {
  core::AppState& state = context.State;
  const std::string address_text = context.Screen.HandEdit.AddressText();
  if (address_text.empty()) return TakeNoticeBack(context);
  state.LinkError = 0;
  const std::int32_t address = Parse(address_text, state.LinkError);
  if (!CheckInput(context) || !CheckAddress(context, address)) return;
  TakeNoticeBack(context);
  MarkCell(context, address);
  const auto cell = static_cast<std::size_t>(address);
  if (context.Screen.HandEdit.FlashChosen()) {
    context.Screen.HandEdit.SetDataText(core::HexByte(state.FlashBuffer[2 * cell]) +
                                        core::HexByte(state.FlashBuffer[2 * cell + 1]));
  } else {
    context.Screen.HandEdit.SetDataText(core::HexByte(state.EepromBuffer[cell]));
  }
}

void WriteOneLocation(core::RunContext& context) {
  core::AppState& state = context.State;
  state.LinkError = 0;
  const std::int32_t address = Parse(context.Screen.HandEdit.AddressText(), state.LinkError);
  const std::int32_t value = Parse(context.Screen.HandEdit.DataText(), state.LinkError);
  if (!CheckInput(context) || !CheckAddress(context, address)) return;
  TakeNoticeBack(context);
  const auto cell = static_cast<std::size_t>(address);
  if (context.Screen.HandEdit.FlashChosen()) {
    state.FlashBuffer[2 * cell] = HighByte(value);
    state.FlashBuffer[2 * cell + 1] = LowByte(value);
    RefreshFlashView(context);
  } else {
    state.EepromBuffer[cell] = LowByte(value);
    RefreshEepromView(context);
  }
  MarkCell(context, address);
}

}  // namespace fenwright::image
