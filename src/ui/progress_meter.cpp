#include "ui/progress_meter.h"

#include <algorithm>

namespace fenwright::ui {
namespace {

constexpr std::int64_t kFirstEstimate = 1000;
constexpr std::int64_t kBetweenEstimates = 500;

QString Duration(int seconds) {
  constexpr int kMinute = 60;
  if (seconds < kMinute) return QString("%1 秒").arg(seconds);
  return QString("%1 分 %2 秒").arg(seconds / kMinute).arg(seconds % kMinute);
}

}  // namespace

void ProgressMeter::Start(int maximum, std::int64_t now) {
  maximum_ = std::max(maximum, 1);
  value_ = 0;
  start_ = now;
  estimated_at_ = now;
  remaining_seconds_ = -1;
}

void ProgressMeter::Reach(int value, std::int64_t now) {
  value_ = std::clamp(value, 0, maximum_);
  const bool first = remaining_seconds_ < 0;
  if (value_ == 0 || now - estimated_at_ < (first ? kFirstEstimate : kBetweenEstimates)) return;
  estimated_at_ = now;
  const std::int64_t rest = (now - start_) * (maximum_ - value_) / value_;
  remaining_seconds_ = static_cast<int>((rest + 999) / 1000);
}

int ProgressMeter::Percent() const {
  return static_cast<int>(std::int64_t{100} * value_ / maximum_);
}

QString ProgressMeter::Text() const {
  const QString percent = QString("%1 %").arg(Percent());
  if (remaining_seconds_ < 0) return percent;
  return percent + "   残り 約 " + Duration(remaining_seconds_);
}

}  // namespace fenwright::ui
