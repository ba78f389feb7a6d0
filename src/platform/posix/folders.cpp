#include "platform/system/folders.h"

#include <unistd.h>

namespace fenwright::platform {

bool MayWriteInto(const std::string& path) { return access(path.c_str(), W_OK | X_OK) == 0; }

}  // namespace fenwright::platform
