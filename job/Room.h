#pragma once

#include "Fit.h"
#include "Reader.h"
#include "Scene.h"

namespace pyrelux::job {

/// Where a picture lies in the frame that burns.
struct Room {
  media::PictureShape frame;
  int width = 0;   ///< of the picture there, pixels
  int height = 0;  ///< of the picture there, pixels
  int left = 0;    ///< from the frame's left to the picture's, pixels; outside below 0
  int top = 0;     ///< from the frame's top to the picture's, pixels

  /// Whether the picture is the whole frame as it is.
  bool isWhole(const media::PictureShape &picture) const;
};

/// The room that a scene gives a picture: its canvas or padding, else a frame of the shape `usual`. An automatic
/// padding is none yet. Throws ValueError for wishes that do not go together, and for a frame that is too large.
Room roomFor(const project::Scene &scene, const media::PictureShape &picture, const media::PictureShape &usual);

/// The room with so many pixels more at its sides.
struct Margins {
  int top = 0, right = 0, bottom = 0, left = 0;
};
Room widened(const Room &room, const Margins &margins);

}  // namespace pyrelux::job
