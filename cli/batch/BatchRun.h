#pragma once

#include <string>
#include <vector>

#include "Option.h"
#include "RenderRequest.h"
#include "Reporting.h"

namespace pyrelux::cli {

/// Renders each row of the batch file: `request` with what the row says, as `options` fill it. A row that fails is
/// named, and the others go on. Returns the program's exit code: 1 when a row failed. Throws what is wrong with the
/// whole batch.
int runBatch(const std::string &file, job::RenderRequest &request, const std::vector<Option> &options,
             const Reporting &reporting);

}  // namespace pyrelux::cli
