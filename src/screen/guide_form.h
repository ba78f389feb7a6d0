#pragma once

#include <array>

namespace fenwright::screen {

/// The places in the board's socket where chips go. Each chip belongs to exactly one.
enum class GuidePosition { A, B, C, D, E };

inline constexpr std::array<GuidePosition, 5> kGuidePositions{
    GuidePosition::A, GuidePosition::B, GuidePosition::C, GuidePosition::D, GuidePosition::E};

/// The drawing of the socket in the device insertion guide (`frmIndex`), with one marker for each
/// position. The calls also work while the guide is not on the screen: it shows them later.
class GuideForm {
 public:
  virtual ~GuideForm() = default;

  /// Shows a marker in the idle colour.
  virtual void SetIdle(GuidePosition position) = 0;

  /// Shows a marker in the colour of the position that the selected device goes to.
  virtual void SetHighlighted(GuidePosition position) = 0;
};

}  // namespace fenwright::screen
