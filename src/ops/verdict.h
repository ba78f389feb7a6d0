#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/app_state.h"
#include "core/sentence.h"

namespace fenwright::ops {

/// What the cells that a verify has read have in common. Each kind follows from what was read,
/// cell by cell, and from nothing else.
enum class VerdictKind {
  None,            ///< nothing differs, or the verify did not come to its end
  ReadsBlank,      ///< every cell reads FF: not written, or no chip
  ReadsZero,       ///< every cell reads 00
  ReadsAddresses,  ///< every cell reads as its address: a locked chip
  BytesSwapped,    ///< the two bytes of every word are exchanged
  ShiftedByOne,    ///< every cell holds what belongs into its neighbour
  BitStuck,        ///< all differences are of one data bit, which reads the same in each
  WrongBeyond,     ///< right below an address and empty, or a repetition, from there on
  Unstable,        ///< a second reading of the cells that differ gave other values
  NoPattern,       ///< none of these
};

/// The word that stands for a kind, "" for None. Words never change: scripts compare them.
std::string_view WordOf(VerdictKind kind);

struct Verdict {
  VerdictKind Kind = VerdictKind::None;
  core::Sentence Text;  ///< of both memories, where both differ
  /// One reading alone does not tell: a second one of the cells that differ may.
  bool NeedsSecondReading = false;
};

/// The verdict on the last verify, from the buffers and the differences that it has found. Where
/// the two memories differ in different ways the kind is that of the first one with a pattern.
Verdict Diagnose(const core::AppState& state);

/// The same once the cells of the differences were read again: `again` holds them in the same
/// order. A single cell can be a false reading until then.
Verdict Diagnose(const core::AppState& state, std::span<const core::Difference> again);

/// A picture of each memory that differs, as far as it was compared: a heading that explains the
/// signs, and lines of 64 of them behind the address of the first. Right cells are ".", wrong ones
/// "#"; a sign that stands for several cells of which some are wrong is "+".
std::vector<std::string> DrawMemoryMap(const core::AppState& state, core::Language language);

}  // namespace fenwright::ops
