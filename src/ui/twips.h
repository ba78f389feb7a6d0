#pragma once

#include <cmath>

#include <QRect>

namespace fenwright::ui {

/// Positions and sizes are kept in twips, 1/1440 inch: 15 of them are one logical pixel, whatever
/// the scale of the screen.
inline constexpr double kTwipsPerPixel = 15.0;

inline int TwipsToPixels(double twips) {
  return static_cast<int>(std::lround(twips / kTwipsPerPixel));
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

/// Where the windows stand until the user has moved them.
inline constexpr TwipsRect kMainWindowPlace{
    .Left = 100, .Top = 100, .Width = 11300, .Height = 7900};
inline constexpr TwipsRect kFlashViewPlace{.Left = 50, .Top = 50, .Width = 5400, .Height = 4000};
inline constexpr TwipsRect kEepromViewPlace{.Left = 50, .Top = 4100, .Width = 5400, .Height = 2000};
/// Over the lower part of the flash view, so that the titles of all three views stay in sight.
inline constexpr TwipsRect kVerifyViewPlace{
    .Left = 250, .Top = 1500, .Width = 5400, .Height = 3600};

}  // namespace fenwright::ui
