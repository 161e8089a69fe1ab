#pragma once

#include <memory>

#include "Background.h"
#include "Reader.h"
#include "Room.h"

namespace pyrelux::job {

/// The input in its room: frames of the room's shape, transparent where the input's pictures do not reach.
std::unique_ptr<media::Reader> inRoom(std::unique_ptr<media::Reader> input, const Room &room);

/// The input with an alpha made from its colours.
std::unique_ptr<media::Reader> withMatte(std::unique_ptr<media::Reader> input, const project::InputMatte &matte);

/// A movie as it runs over a film that decides its length: it has the rate `rate`, shows the picture of the same time
/// if the film is a movie, and nothing after its own end.
std::unique_ptr<media::Reader> alongFilm(std::unique_ptr<media::Reader> input, const Background &background,
                                         const FrameRate &rate);

}  // namespace pyrelux::job
