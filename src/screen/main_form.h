#pragma once

#include <string_view>

#include "screen/views.h"

namespace fenwright::screen {

/// A position in twips, 1/1440 inch in the logical units of the window system. A child window's
/// counts from the corner of the area that holds the children.
struct TwipsPosition {
  double Left = 0;
  double Top = 0;

  bool operator==(const TwipsPosition&) const = default;
};

/// Position and size in twips.
struct TwipsPlace {
  double Left = 0;
  double Top = 0;
  double Width = 0;
  double Height = 0;

  bool operator==(const TwipsPlace&) const = default;
};

/// What start and stop of the program do to its windows. Any number may be given for a place: a
/// window is shown where it was told to be unless its title could not be reached there.
class MainForm {
 public:
  virtual ~MainForm() = default;

  /// The line of the about box that names the support page.
  virtual void SetSupportPageLabel(std::string_view text) = 0;

  virtual void SetCaption(std::string_view text) = 0;

  /// Place the main window, and one of its views.
  virtual void Place(const TwipsPlace& place) = 0;
  virtual void PlaceView(View view, const TwipsPlace& place) = 0;

  virtual void Show() = 0;

  /// Starts the main window's timer, which keeps an eye on the chosen port.
  virtual void EnableTimer() = 0;

  /// Shows the COM port dialog and returns when it is gone. May end the running command.
  virtual void SelectComPort() = 0;

  /// Shows the device insertion guide at a position.
  virtual void ShowGuide(const TwipsPosition& position) = 0;

  // Where the windows are now. A view that is minimised or maximised counts as being where it was
  // before.
  [[nodiscard]] virtual TwipsPlace CurrentPlace() const = 0;
  [[nodiscard]] virtual TwipsPlace CurrentPlaceOf(View view) const = 0;
  [[nodiscard]] virtual TwipsPosition GuidePosition() const = 0;

  [[nodiscard]] virtual bool IsMinimised() const = 0;

  /// Unloads every window but the main window.
  virtual void UnloadOtherForms() = 0;
};

}  // namespace fenwright::screen
