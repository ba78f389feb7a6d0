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

inline QRect ToPixels(const screen::TwipsPlace& place) {
  return {TwipsToPixels(place.Left), TwipsToPixels(place.Top), TwipsToPixels(place.Width),
          TwipsToPixels(place.Height)};
}

inline screen::TwipsPlace ToTwips(const QRect& place) {
  return {.Left = static_cast<double>(PixelsToTwips(place.x())),
          .Top = static_cast<double>(PixelsToTwips(place.y())),
          .Width = static_cast<double>(PixelsToTwips(place.width())),
          .Height = static_cast<double>(PixelsToTwips(place.height()))};
}

/// Where the windows stand until the user has moved them.
inline constexpr screen::TwipsPlace kMainWindowPlace = core::kMainWindowKeys.Default;
inline constexpr screen::TwipsPlace kFlashViewPlace = core::kFlashViewKeys.Default;
inline constexpr screen::TwipsPlace kEepromViewPlace = core::kEepromViewKeys.Default;
/// Over the lower part of the flash view, so that the titles of all three views stay in sight.
inline constexpr screen::TwipsPlace kVerifyViewPlace{
    .Left = 250, .Top = 1500, .Width = 5150, .Height = 3600};

}  // namespace fenwright::ui
