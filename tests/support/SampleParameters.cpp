#include "SampleParameters.h"

#include <cmath>

namespace pyrelux::host::test {

namespace {

ParameterDeclaration declare(SampleId id, ParameterKind kind, const std::string &key, const std::string &label,
                             ParameterValue defaultValue, double minimum = 0.0, double maximum = 0.0) {
  ParameterDeclaration declaration;
  declaration.id = id;
  declaration.kind = kind;
  declaration.key = key;
  declaration.label = label;
  declaration.defaultValue = defaultValue;
  declaration.minimum = minimum;
  declaration.maximum = maximum;
  return declaration;
}

}  // namespace

std::vector<ParameterDeclaration> sampleDeclarations() {
  const double farthestTurn = 3141.0 * 180.0 / M_PI;
  std::vector<ParameterDeclaration> all{
      declare(kHeader, ParameterKind::Custom, "www.example.com", "www.example.com", {}),
      declare(kTongues, ParameterKind::Integer, "Pyrelux::Pyrelux", "Tongues", {6.0}, 1.0, 50.0),
      declare(kGlow, ParameterKind::Float, "Pyrelux::Glow", "Glow", {20.0}, -100.0, 100.0),
      declare(kDirection, ParameterKind::Angle, "Pyrelux::Direction", "Direction", {0.0}, -farthestTurn, farthestTurn),
      declare(kWeight, ParameterKind::Float, "Pyrelux::Weight Inner<>Outer", "Weight Inner <> Outer", {0.0}, -100.0,
              100.0),
      declare(kColour, ParameterKind::Colour, "Pyrelux::Color Inner", "Color Inner", {1.0, 0.5, 0.0}),
      declare(kPoint, ParameterKind::Point, "Pyrelux::Point (Attract <> Repel)", "Point (Attract <> Repel)",
              {0.5, 0.25}),
      declare(kMode, ParameterKind::Popup, "Pyrelux::Source: Mode", "Source: Mode", {0.0}),
  };
  all.back().entries = {"Cover", "16 Bit Mix"};
  return all;
}

ParameterDeclaration sample(SampleId id) { return *ParameterSet(sampleDeclarations()).find(id); }

}  // namespace pyrelux::host::test
