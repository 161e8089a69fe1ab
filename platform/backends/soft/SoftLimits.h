#pragma once

namespace pyrelux::soft {

/// The largest texture and surface, in pixels along a side.
constexpr int maxTextureSize = 16384;

}  // namespace pyrelux::soft
