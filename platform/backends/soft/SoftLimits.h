#pragma once

namespace pyrelux::soft {

/// The maximum width and height of textures and surfaces, in pixels.
constexpr int maxTextureSize = 16384;

}  // namespace pyrelux::soft
