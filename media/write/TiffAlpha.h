#pragma once

#include "AvPtr.h"

namespace pyrelux::media {

/// Changes what a TIFF file of FFmpeg's encoder says about its alpha, which is always straight ("unassociated"), to
/// premultiplied ("associated").
void declarePremultiplied(AVPacket &tiff);

}  // namespace pyrelux::media
