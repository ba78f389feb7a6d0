#pragma once

#include <array>

#include <QWidget>

#include "screen/guide_form.h"

class QPainter;

namespace fenwright::ui {

/// The board's 40-pin zero-force socket seen from above, with its lever, notch and pin 1, the
/// outlines of the five packages where they go, and a key that names the devices of each place.
///
/// The highlighted place is drawn as a whole chip on top of the others, and its row of the key has
/// a thick frame and a word, so that colours are not needed to find it. Everything is scaled to the
/// size of the widget.
class SocketDrawing : public QWidget {
  Q_OBJECT

 public:
  static constexpr std::uint32_t kIdleColour = 0x808080;
  /// Its red component is in the lowest byte.
  static constexpr std::uint32_t kHighlightColour = 192;

  explicit SocketDrawing(QWidget* parent = nullptr);

  void SetHighlighted(screen::GuidePosition position, bool highlighted);
  [[nodiscard]] bool IsHighlighted(screen::GuidePosition position) const;

  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] QSize minimumSizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  [[nodiscard]] QTransform Scaling() const;
  void DrawPackages(QPainter& painter) const;
  void DrawKey(QPainter& painter) const;
  void DrawFocusFrame();
  void DescribeHighlight();

  std::array<bool, screen::kGuidePositions.size()> highlighted_{};
};

}  // namespace fenwright::ui
