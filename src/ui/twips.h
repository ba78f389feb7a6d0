#pragma once

#include <algorithm>
#include <cmath>

#include <QRect>

#include "core/settings_keys.h"

namespace fenwright::ui {

/// Positions and sizes are kept in twips, 1/1440 inch: 15 of them are one logical pixel, whatever
/// the scale of the screen.
inline constexpr double kTwipsPerPixel = 15.0;

/// More than any window system takes; the settings may hold any number.
inline constexpr double kMostPixels = 1e7;

inline int TwipsToPixels(double twips) {
  return static_cast<int>(
      std::lround(std::clamp(twips / kTwipsPerPixel, -kMostPixels, kMostPixels)));
}

inline int PixelsToTwips(int pixels) {
  return static_cast<int>(std::lround(pixels * kTwipsPerPixel));
}

/// Place and size of a window in twips. A child's place counts from the corner of the area that
/// holds the children.
struct TwipsRect {
  double Left = 0;
  double Top = 0;
  double Width = 0;
  double Height = 0;

  [[nodiscard]] QRect ToPixels() const {
    return {TwipsToPixels(Left), TwipsToPixels(Top), TwipsToPixels(Width), TwipsToPixels(Height)};
  }
};

constexpr TwipsRect FromPlace(const screen::TwipsPlace& place) {
  return {.Left = place.Left, .Top = place.Top, .Width = place.Width, .Height = place.Height};
}

/// Where the windows stand until the user has moved them.
inline constexpr TwipsRect kMainWindowPlace = FromPlace(core::kMainWindowKeys.Default);
inline constexpr TwipsRect kFlashViewPlace = FromPlace(core::kFlashViewKeys.Default);
inline constexpr TwipsRect kEepromViewPlace = FromPlace(core::kEepromViewKeys.Default);
/// Over the lower part of the flash view, so that the titles of all three views stay in sight.
inline constexpr TwipsRect kVerifyViewPlace{
    .Left = 250, .Top = 1500, .Width = 5150, .Height = 3600};

}  // namespace fenwright::ui
