#pragma once

#include "image/image_check.h"

namespace fenwright::image {

/// Puts a finding, whose numbers are there, into words.
void Describe(Finding& finding, const ImageTarget& target, const ImageShare& share);

}  // namespace fenwright::image
