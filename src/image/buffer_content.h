#pragma once

#include <string>
#include <string_view>

#include "core/app_state.h"

namespace fenwright::image {

/// What is known about the content of the buffers (`AppState::CodeContent`, `DataContent`): where
/// it comes from, and whether a file holds it. Whoever fills a buffer notes it here afterwards; a
/// change that nobody has noted, such as that of a command that was stopped, is told as what it is.

enum class Memory { Flash, Eeprom };

/// It was loaded from a file, to its end or not.
void NoteLoaded(core::AppState& state, Memory memory, const std::string& path, bool whole);

/// The file is not there: the buffer was blanked for it.
void NoteMissing(core::AppState& state, Memory memory, const std::string& path);

/// It was read from the chip, to its end or not.
void NoteRead(core::AppState& state, Memory memory, bool whole);

/// It was blanked: by a change of device, or by the user.
void NoteBlanked(core::AppState& state, Memory memory, core::ContentSource why);

/// A cell was changed by hand.
void NoteEdited(core::AppState& state, Memory memory);

/// It was written to a file, to its end or not.
void NoteSaved(core::AppState& state, Memory memory, const std::string& path, bool whole);

/// A few lines for the window: for each memory where its content comes from and how much is used,
/// with what looks wrong about its file; then the files that a save without a dialog would write
/// to, which of them hold something else, and which of them it would leave empty. "" when no file
/// is open and nothing has come into the buffers.
std::string DescribeContent(const core::AppState& state);

/// True when a buffer holds something that no file is known to hold.
bool HoldsUnsavedContent(const core::AppState& state);

/// True when a buffer holds what the opened file of its memory is known to hold.
bool HoldsItsFile(const core::AppState& state, Memory memory);

/// Names of the files with content that a save without a dialog would leave empty, joined for a
/// sentence; "" = none.
std::string FilesThatASaveWouldEmpty(const core::AppState& state);

/// What is said after such a save, from what FilesThatASaveWouldEmpty() gave before it: with where
/// the old content is, if it was kept.
std::string DescribeEmptiedFiles(const core::AppState& state, std::string_view names);

}  // namespace fenwright::image
