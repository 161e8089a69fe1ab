#pragma once

#include <string>
#include <vector>

#include "Option.h"
#include "RenderRequest.h"
#include "Reporting.h"

namespace pyrelux::cli {

/// The options of `pyrelux render`. They fill the request and the reporting, which must outlive them.
std::vector<Option> renderOptions(job::RenderRequest &request, Reporting &reporting);

// Parts of them that other commands have too.

/// What burns: INPUT, --text, --input-test-pattern and what belongs to them.
std::vector<Option> inputOptions(job::RenderRequest &request);

/// How it looks: --preset, --project, --set and what a look has besides.
std::vector<Option> lookOptions(job::RenderRequest &request);

/// --over and what belongs to it, --density among that.
std::vector<Option> overOptions(job::RenderRequest &request);

/// --bits.
Option bitsOption(job::RenderRequest &request);

/// --overwrite, without a heading.
Option overwriteOption(job::RenderRequest &request);

/// --backend and --draw-bits.
std::vector<Option> drawingOptions(job::RenderRequest &request);

/// --backend.
Option backendOption(std::string &backend);

/// Adds the rows of `more` to `options`.
void append(std::vector<Option> &options, std::vector<Option> more);

}  // namespace pyrelux::cli
