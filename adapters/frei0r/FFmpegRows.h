#pragma once

namespace pyrelux::adapters {

/// Pixels from one row to the next in the pictures that FFmpeg's frei0r filter hands over, of that width; 0 when it
/// can't be found out. A plug-in is not told. Versions round the width up to multiples of 4 pixels or of 16, and who
/// takes the wrong one shears the picture or writes beyond its end. So FFmpeg is asked: a small graph of its own is run
/// with this plug-in in it, and the rows of what comes out are looked at. Thread: any.
int rowPixelsOfFFmpeg(int width);

/// Whether this thread is in rowPixelsOfFFmpeg(): the plug-in has nothing to draw then.
bool isAskingForRows();

}  // namespace pyrelux::adapters
