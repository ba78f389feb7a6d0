#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/run_context.h"

namespace fenwright::image {

inline constexpr std::string_view kFlashDumpFile = "avrhex.txt";
inline constexpr std::string_view kEepromDumpFile = "avreep.txt";

/// The dump of the selected device's flash: a line per eight words, CP932, CR LF.
std::string FlashDump(const core::AppState& state);

/// The dump of the selected device's EEPROM: a line per sixteen bytes, CP932, CR LF.
std::string EepromDump(const core::AppState& state);

/// Rewrite a dump file in the program's folder. A disc that refuses it changes nothing that is
/// programmed: the reason is kept in the state.
void WriteFlashDump(core::RunContext& context);
void WriteEepromDump(core::RunContext& context);

/// Show a dump file in its view; what the buffer holds, when the file could not be written or read.
void LoadFlashView(core::RunContext& context);
void LoadEepromView(core::RunContext& context);

/// The pair that follows every change of a buffer: rewrite the dump, reload the view.
void RefreshFlashView(core::RunContext& context);
void RefreshEepromView(core::RunContext& context);

/// Where the dump shows a word of the flash, or a byte of the EEPROM; nothing for a cell beyond the
/// chip.
std::optional<screen::TextPlace> FlashCellPlace(const core::AppState& state, std::int32_t word);
std::optional<screen::TextPlace> EepromCellPlace(const core::AppState& state, std::int32_t byte);

/// Shows what the buffers hold without a file in between, for a command that ended in the middle.
void ShowBuffers(core::RunContext& context);

}  // namespace fenwright::image
