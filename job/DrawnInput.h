#pragma once

#include "Image.h"
#include "PictureSize.h"
#include "RenderListener.h"
#include "RenderRequest.h"
#include "Title.h"

// Inputs that no file holds.

namespace pyrelux::job {

/// The picture that the request's text or test pattern asks for, of a size, premultiplied; of floats if `isDeep`. Warns
/// of what comes out otherwise than asked for. Throws ValueError; media::InputError for a file with the text or its
/// font; std::runtime_error without any font.
Image drawInput(const RenderRequest &request, const PictureSize &size, bool isDeep, RenderListener &listener);

/// drawTitle(), with warnings of what Fontconfig has to say. The title's own remarks are left to the caller.
DrawnTitle drawTitleWithWarnings(const Title &title, RenderListener &listener);

}  // namespace pyrelux::job
