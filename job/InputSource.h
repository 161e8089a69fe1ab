#pragma once

#include <memory>

#include "Background.h"
#include "FrameList.h"
#include "FrameRate.h"
#include "Reader.h"
#include "RenderListener.h"
#include "RenderRequest.h"

namespace pyrelux::job {

/// Opens what the request names as the input, as it lies over the background, which may be null; `bits` is the depth
/// that it is drawn with. Throws ValueError, media::InputError.
std::unique_ptr<media::Reader> openInput(const RenderRequest &request, int bits, const Background *background,
                                         RenderListener &listener);

/// Opens a movie, sequence or still, and remarks what of it is not as one would expect: that it is interlaced or
/// resampled. Throws media::InputError.
std::unique_ptr<media::Reader> openFile(const RenderRequest &request, const std::string &path,
                                        const media::ReadOptions &how, RenderListener &listener);

/// The frames that the request asks for, or what suits the input and the background (may be null); `manyFrames`: the
/// output holds more than one. Throws ValueError when the input lacks one of them, or the background all.
FrameList chooseFrames(const RenderRequest &request, const media::InputInfo &input, const Background *background,
                       bool manyFrames);

/// The frame rate that the request asks for, or the background's (may be null), or `usual`.
FrameRate chooseRate(const RenderRequest &request, const Background *background, const FrameRate &usual);

}  // namespace pyrelux::job
