#pragma once

#include <memory>

#include "FrameRange.h"
#include "Media.h"
#include "RenderOptions.h"

namespace pyrelux::cli {

/// What the options name as the input; `bits` is the depth that it is drawn with. Throws UsageError, media::InputError.
std::unique_ptr<media::Reader> openInput(const RenderOptions &options, int bits);

/// Opens a movie, sequence or still like the options ask for it and tells what of it is not as one would expect: that
/// it is interlaced or resampled. Throws media::InputError.
std::unique_ptr<media::Reader> openFile(const RenderOptions &options, const std::string &path,
                                        const media::ReadOptions &how);

/// Refuses --deinterlace where there is no movie. Throws UsageError.
void requireMovieToDeinterlace(const RenderOptions &options, bool isMovie);

/// The frames that the options ask for, or what suits the input; `manyFrames`: the output holds more than one. Throws
/// UsageError when the input lacks one of them.
FrameList chooseFrames(const RenderOptions &options, const media::InputInfo &input, bool manyFrames);

}  // namespace pyrelux::cli
