#pragma once

#include "HostInterfaces.h"

namespace pyrelux {

/// Every parameter of one frame, read at the frame time and rescaled for the arithmetic that follows. Angles are in
/// radians; crops are fractions of the image's width or height; colours are 0 .. 1.
struct Snapshot {
  double tongues;           ///< number of tongues
  double turbAmount;        ///< value / 50
  double turbWavelength;    ///< value / 200
  double turbSpeed;         ///< value / 200, phase per frame
  double wiggleAmount;      ///< value / 40
  double wiggleTurbulence;  ///< value / 200, phase per frame
  double glow;              ///< 1 .. 100, smaller is brighter
  double direction;         ///< 0 points along +y; increasing angles turn clockwise where y points up
  double spread;            ///< range of the tongues' angles about the direction, before noise
  double length;            ///< value / 100, in units of the image's height
  Colour inner;
  Colour centre;
  Colour outer;
  double attract;  ///< -100 .. 100
  Point point;     ///< attract/repel point, in normalised image coordinates
  double opacity;  ///< of the source, 0 .. 1
  int mode;        ///< of the source: 0 Cover, otherwise Mix
  double weight;   ///< -100 .. 100
  double steps;    ///< copies in a tongue, less one
  double cropLeft;
  double cropRight;
  double cropTop;
  double cropBottom;
  int depth;  ///< of the surface: 1 is 16 bit, anything else 8 bit

  double bitDepth() const { return depth == 1 ? 16.0 : 8.0; }
};

/// Reads all 24 values from the host, always in the same order. `timeFrames` is in frames.
Snapshot readSnapshot(ParameterSource &parameters, double timeFrames);

/// Flips crops and direction for an output with the origin at the top left, which shows everything upside down.
void fixOrientation(Snapshot &snapshot, double origin);

}  // namespace pyrelux
