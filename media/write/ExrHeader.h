#pragma once

#include <string>

#include "AvPtr.h"

namespace pyrelux::media {

/// Adds a text of ASCII to the header of an EXR file of FFmpeg's encoder, which writes no attributes but those that it
/// has to. It becomes the attributes "NAME.001", "NAME.002" and so on, each a piece of 255 characters at most:
/// FFmpeg 5.1 cannot read files with longer ones. `name`: 20 characters at most.
void addText(AVPacket &exr, const std::string &name, const std::string &text);

}  // namespace pyrelux::media
