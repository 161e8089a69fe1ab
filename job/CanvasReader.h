#pragma once

#include <memory>

#include "Background.h"
#include "Reader.h"

namespace pyrelux::job {

/// The input as it lies over a background. It is in the middle of a picture of the background's size, with as many
/// pixels as it has, or made smaller to fit, and transparent around it; `keepsSize`: it keeps its own size instead.
/// A movie over a film that decides its length has the rate `rate`, shows the picture of the same time if the film is
/// a movie, and nothing after its own end. Sequences keep their numbers.
std::unique_ptr<media::Reader> onCanvas(std::unique_ptr<media::Reader> input, const Background &background,
                                        const FrameRate &rate, bool keepsSize);

}  // namespace pyrelux::job
