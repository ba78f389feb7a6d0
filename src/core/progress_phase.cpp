#include "core/progress_phase.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace fenwright::core {
namespace {

using enum DeviceOperation;

/// One phase of a command. Both memories are verified in one of them.
struct PhaseRow {
  DeviceOperation Operation;
  core::Phase Phase;
  int Number;
  int Count;
  std::string_view Name;
};

constexpr auto kPhases = std::to_array<PhaseRow>({
    {Program, Phase::Erase, 1, 4, "チップのイレース"},
    {Program, Phase::WriteFlash, 2, 4, "フラッシュの書き込み"},
    {Program, Phase::WriteEeprom, 3, 4, "EEPROMの書き込み"},
    {Program, Phase::VerifyFlash, 4, 4, "フラッシュのベリファイ"},
    {Program, Phase::VerifyEeprom, 4, 4, "EEPROMのベリファイ"},
    {Verify, Phase::VerifyFlash, 1, 2, "フラッシュのベリファイ"},
    {Verify, Phase::VerifyEeprom, 2, 2, "EEPROMのベリファイ"},
    {Read, Phase::ReadFlash, 1, 3, "フラッシュの読み出し"},
    {Read, Phase::ReadEeprom, 2, 3, "EEPROMの読み出し"},
    {Read, Phase::ReadFuses, 3, 3, "ヒューズとロックビットの読み出し"},
});

}  // namespace

void ShowPhase(RunContext& context, Phase phase) {
  context.State.Command.RunningPhase = phase;
  const auto row = std::ranges::find_if(kPhases, [&](const PhaseRow& each) {
    return each.Operation == context.State.Command.Operation && each.Phase == phase;
  });
  if (row == kPhases.end()) return;
  context.Screen.MessageDialog.SetPhase(std::to_string(row->Number) + " / " +
                                        std::to_string(row->Count) + " : " +
                                        std::string(row->Name));
}

}  // namespace fenwright::core
