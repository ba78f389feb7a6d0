#pragma once

#include <QObject>
#include <QRect>

class QMdiSubWindow;

namespace fenwright::ui {

/// Remembers where a child window stands, leaving out the times when it is minimised or maximised.
class NormalPlace final : public QObject {
  Q_OBJECT

 public:
  explicit NormalPlace(QMdiSubWindow& window);

  [[nodiscard]] QRect Get() const { return place_; }

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void Remember();

  QMdiSubWindow& window_;
  QRect place_;
};

}  // namespace fenwright::ui
