#include "platform/system/end_signals.h"

namespace fenwright::platform {

EndSignals::EndSignals() = default;

EndSignals::~EndSignals() = default;

int EndSignals::Received() const { return 0; }

}  // namespace fenwright::platform
