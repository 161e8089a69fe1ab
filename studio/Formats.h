#pragma once

#include <string>
#include <vector>

#include "OutputKinds.h"

namespace pyrelux::studio {

/// A kind of output as a page offers it.
struct OfferedFormat {
  media::OutputKind kind;
  std::string label;
  std::string keeps;  ///< what it keeps, in one short line
};

/// All that can be written.
std::vector<OfferedFormat> offeredFormats();

}  // namespace pyrelux::studio
