#pragma once

#include <map>
#include <string>
#include <vector>

#include "FlamePath.h"
#include "HostInterfaces.h"
#include "ParameterIds.h"
#include "Snapshot.h"

namespace pyrelux::test {

/// A host's parameter values: the filter's defaults until a test changes them. Records the calls in order.
class FakeParameters : public ParameterSource {
 public:
  std::map<std::uint32_t, int> ints = {{kTongues, 6}, {kSourceMode, 0}, {kSteps, 40}, {kColorDepth, 0}};
  std::map<std::uint32_t, double> floats = {{kTurbulenceAmount, 6.0},  {kTurbulenceWavelength, 75.0},
                                            {kTurbulenceSpeed, 20.0},  {kWiggleAmount, 20.0},
                                            {kWiggleTurbulence, 15.0}, {kGlow, 20.0},
                                            {kDirection, 0.0},         {kSpread, 0.5235987755982988},
                                            {kLength, 30.0},           {kAttractRepel, 0.0},
                                            {kSourceOpacity, 0.0},     {kWeight, 0.0},
                                            {kCropLeft, 0.0},          {kCropRight, 0.0},
                                            {kCropTop, 0.0},           {kCropBottom, 0.0}};
  std::map<std::uint32_t, Colour> colours = {
      {kColorInner, {1.0, 1.0, 0.0}}, {kColorCenter, {1.0, 0.5, 0.0}}, {kColorOuter, {1.0, 0.0, 0.0}}};
  std::map<std::uint32_t, Point> points = {{kPoint, {0.5, 0.5}}};
  bool offered = true;             ///< whether the host offers the values' interface
  std::vector<std::string> asked;  ///< "open", then "int 14", "float 17", …
  std::vector<double> times;       ///< of every getter

  bool open() override {
    asked.push_back("open");
    return offered;
  }
  int intValue(std::uint32_t id, double time) override { return ask("int", id, time), ints.at(id); }
  double floatValue(std::uint32_t id, double time) override { return ask("float", id, time), floats.at(id); }
  Colour colourValue(std::uint32_t id, double time) override { return ask("colour", id, time), colours.at(id); }
  Point pointValue(std::uint32_t id, double time) override { return ask("point", id, time), points.at(id); }

 private:
  void ask(const char *kind, std::uint32_t id, double time) {
    asked.push_back(std::string(kind) + " " + std::to_string(id));
    times.push_back(time);
  }
};

/// A host's image; a test can set every answer.
class FakeImage : public FrameImage {
 public:
  FakeImage(std::uint64_t imageWidth, std::uint64_t imageHeight)
      : size{imageWidth, imageHeight},
        edges{0.0, static_cast<double>(imageWidth), 0.0, static_cast<double>(imageHeight)} {}

  std::uint64_t type = kTexture;
  std::uint64_t size[2];
  TextureEdges edges;
  std::uint64_t originCode = 0;
  double aspect = 1.0;
  std::vector<std::string> asked;

  std::uint64_t imageType() override { return asked.push_back("imageType"), type; }
  std::uint64_t width() override { return asked.push_back("width"), size[0]; }
  std::uint64_t height() override { return asked.push_back("height"), size[1]; }
  TextureEdges textureEdges() override { return asked.push_back("textureEdges"), edges; }
  std::uint64_t origin() override { return asked.push_back("origin"), originCode; }
  double pixelAspect() override { return asked.push_back("pixelAspect"), aspect; }
  void bind() override { asked.push_back("bind"); }
  void enable() override { asked.push_back("enable"); }
  void disable() override { asked.push_back("disable"); }
};

/// The phases of one filter.
struct Phases {
  double oldFrame = 0.0;
  double turbulence = 0.0;
  double wiggle = 0.0;

  PhaseAccumulators accumulators() { return {oldFrame, turbulence, wiggle}; }
};

inline Snapshot defaultSnapshot() {
  FakeParameters parameters;
  return readSnapshot(parameters, 0.0);
}

/// A tongue and the steps that it shares with the others.
struct WholeTongue : CommonSteps, Tongue {};

/// The tongues of one frame.
inline std::vector<WholeTongue> tonguesOf(const Snapshot &snapshot, double time, Phases &phases) {
  const FlamePath path(snapshot, time, phases.accumulators());
  std::vector<WholeTongue> tongues;
  for (double i = 0.0; i < snapshot.tongues; i += 1.0) tongues.push_back({path.common(), path.tongue(i)});
  return tongues;
}

}  // namespace pyrelux::test
