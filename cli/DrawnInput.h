#pragma once

#include "Image.h"
#include "RenderOptions.h"

// Inputs that no file holds.

namespace pyrelux::cli {

/// The picture that --text or --input-test-pattern ask for, premultiplied; of floats if `isDeep`. Says on standard
/// error what comes out otherwise than asked for. Throws UsageError; std::runtime_error without any font.
Image drawInput(const RenderOptions &options, bool isDeep);

}  // namespace pyrelux::cli
