#pragma once

#include "RenderJob.h"
#include "Reporting.h"

namespace pyrelux::cli {

/// Says how a render ended, where that has to be said. Returns the program's exit code.
int reportResult(const job::RenderRequest &request, const job::RenderResult &result, const Reporting &reporting);

}  // namespace pyrelux::cli
