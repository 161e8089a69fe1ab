#pragma once

#include <memory>

#include "Background.h"
#include "FrameList.h"
#include "FrameRate.h"
#include "MediaErrors.h"
#include "Reader.h"
#include "RenderOptions.h"

namespace pyrelux::cli {

/// What the options name as the input, as it lies over the background, which may be null; `bits` is the depth that it
/// is drawn with. Throws UsageError, media::InputError.
std::unique_ptr<media::Reader> openInput(const RenderOptions &options, int bits, const Background *background);

/// Opens a movie, sequence or still like the options ask for it and tells what of it is not as one would expect: that
/// it is interlaced or resampled. Throws media::InputError.
std::unique_ptr<media::Reader> openFile(const RenderOptions &options, const std::string &path,
                                        const media::ReadOptions &how);

/// The frames that the options ask for, or what suits the input and the background (may be null); `manyFrames`: the
/// output holds more than one. Throws UsageError when the input lacks one of them, or the background all.
FrameList chooseFrames(const RenderOptions &options, const media::InputInfo &input, const Background *background,
                       bool manyFrames);

/// The frame rate that the options ask for, or the background's (may be null), or `usual`. Throws UsageError.
FrameRate chooseRate(const RenderOptions &options, const Background *background, const FrameRate &usual);

}  // namespace pyrelux::cli
