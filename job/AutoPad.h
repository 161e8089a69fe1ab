#pragma once

#include <cstdint>
#include <functional>

#include "Compositing.h"
#include "Filter.h"
#include "Fire.h"
#include "RenderListener.h"
#include "Room.h"
#include "StopToken.h"

namespace pyrelux::job {

/// The room that these frames' copies of the title need: `room` with as much more at its sides that none of them is cut
/// off, up to four times the room's width and height, which is remarked. `title`: what burns, in the frame of `room`.
/// `fireIn` plans the fire for a frame of that height. The filter's parameters are changed. Throws what planning and
/// drawing throw.
Room roomForFire(host::Filter &filter, const Room &room, const PixelBox &title, const FrameList &frames,
                 std::int64_t firstFrame, const std::function<Fire(int frameHeight)> &fireIn, RenderListener &listener,
                 const StopToken &stop);

}  // namespace pyrelux::job
