#pragma once

#include "core/lower_case.h"
#include "platform/system/utf8_path.h"

namespace fenwright::cli {

using core::LowerCase;
using platform::ToPath;
using platform::ToUtf8;

}  // namespace fenwright::cli
