#pragma once

#include <cstdint>
#include <ostream>
#include <vector>

#include "Scenes.h"
#include "Screen.h"

// Random flames for any OpenGL: copies of one picture, added up.

namespace pyrelux::soft::testing {

struct FlameScene {
  struct Copy {
    Box place;    ///< in pixels, as single precision holds them
    Box texture;  ///< in texels
    Values colour;
  };

  int width = 0;
  int height = 0;
  int textureWidth = 0;
  int textureHeight = 0;
  std::vector<std::uint8_t> texels;
  std::vector<Copy> copies;
};

/// Copies of a picture: cut, shifted, scaled 0 .. 2 about any point, mirrored, off the surface, one pixel large.
FlameScene makeScene(Random &random, Picture picture, int width, int height, int copies);

/// Draws the scene onto a new surface of the backend.
std::vector<std::uint8_t> drawLevels(const FlameScene &scene, std::int32_t backend);
std::vector<float> drawFloats(const FlameScene &scene, std::int32_t backend);

/// A sample computed from the definition, without any backend.
struct Exact {
  double sum = 0;          ///< 1.0 is full; may exceed it
  double vertexSlack = 0;  ///< the possible error of the sum because corners are in single precision
  bool atAnEdge = false;   ///< the pixel's centre is so near a copy's edge that either side is right
  /// A copy's texture runs so fast here that single precision can't tell where to sample: what rasterisers that step
  /// along in floats may take is anywhere near.
  bool beyondSingles = false;
  double lowest = 0;  ///< in levels, what an 8-bit surface may hold: every copy rounded as it is added
  double highest = 0;
};

std::vector<Exact> exactSums(const FlameScene &scene);

}  // namespace pyrelux::soft::testing
