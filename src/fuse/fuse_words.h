#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "fuse/fuse_model.h"

namespace fenwright::fuse {

/// A field whose selected item is not its default, and what writing that item will do.
struct ChangedField {
  screen::FuseList List;
  std::string Default;  ///< the default item's text
  std::string Words;    ///< one line, in Japanese: "RSTDISBL PB5:I/O : ..."
  std::string Source;   ///< the data sheet that says so, "" when it follows from the field's name
};

/// The changed fields of a device, in the order of the frame. A list on which nothing is selected,
/// and one that the device does not have, is none.
std::vector<ChangedField> ChangedFields(std::string_view display_name, const Selection& selected);

}  // namespace fenwright::fuse
