#pragma once

#include "Image.h"
#include "PictureSize.h"
#include "RenderOptions.h"
#include "Title.h"

// Inputs that no file holds.

namespace pyrelux::cli {

/// The picture that --text or --input-test-pattern ask for, of a size, premultiplied; of floats if `isDeep`. Says on
/// standard error what comes out otherwise than asked for. Throws UsageError; std::runtime_error without any font.
Image drawInput(const RenderOptions &options, const PictureSize &size, bool isDeep);

/// drawTitle(), and says on standard error what Fontconfig has to say. The title's own remarks are left to the caller.
DrawnTitle drawTitleAloud(const Title &title);

}  // namespace pyrelux::cli
