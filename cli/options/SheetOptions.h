#pragma once

#include <vector>

#include "ContactSheet.h"
#include "Option.h"

namespace pyrelux::cli {

/// The options of `pyrelux sheet`. They fill the request, which must outlive them.
std::vector<Option> sheetOptions(job::SheetRequest &request);

}  // namespace pyrelux::cli
