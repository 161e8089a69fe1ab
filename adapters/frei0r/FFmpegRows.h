#pragma once

namespace pyrelux::adapters {

/// The pixels from one row to the next in pictures of that width from FFmpeg's frei0r filter; 0 when unknown. FFmpeg
/// does not tell a plug-in. Its versions round the width up to a multiple of 4 or of 16 pixels, and with the wrong one
/// a plug-in shears the picture or writes beyond its end. Therefore this runs a small graph in FFmpeg, with this
/// plug-in in it, and reads the row length of its output. Thread: any.
int rowPixelsOfFFmpeg(int width);

/// Whether this thread is inside rowPixelsOfFFmpeg(). The plug-in draws nothing then.
bool isAskingForRows();

}  // namespace pyrelux::adapters
