#pragma once

#include "NumericHelpers.h"
#include "ParameterIds.h"

// The whole parameter set, in the order of the inspector's rows. Everything else in the product that needs a name, a
// range or a default asks the filter for it.

namespace pyrelux {

/// What users see of the maker.
constexpr char kMakerDomain[] = "www.morvane.example";
constexpr char kMakerAddress[] = "https://www.morvane.example";

enum class RowKind { Header, IntSlider, FloatSlider, AngleSlider, Colour, Point, Popup };

struct ParameterRow {
  ParameterId id;
  RowKind kind;
  const char *key;          ///< looked up in the bundle's string table; the header's name is shown as it is
  double defaults[3] = {};  ///< one value; red, green, blue; x, y; or an entry's index. Angles in degrees
  double minimum = 0.0;     ///< of values and of the slider's travel alike. Angles in radians
  double maximum = 0.0;
  double delta = 0.0;
  const char *entries[2] = {};  ///< keys of a popup's entries, by index
};

constexpr ParameterRow kParameterTable[] = {
    {kHeader, RowKind::Header, kMakerDomain},
    {kTongues, RowKind::IntSlider, "Pyrelux::Pyrelux", {6}, 1, 50, 1},
    {kLength, RowKind::FloatSlider, "Pyrelux::Length of Pyrelux", {30.0}, 0.0, 100.0, 1.0},
    {kTurbulenceAmount, RowKind::FloatSlider, "Pyrelux::Turbulence: Amount", {6.0}, 0.0, 100.0, 1.0},
    {kTurbulenceWavelength, RowKind::FloatSlider, "Pyrelux::Turbulence: Wavelength", {75.0}, 0.0, 100.0, 1.0},
    {kTurbulenceSpeed, RowKind::FloatSlider, "Pyrelux::Turbulence: Speed", {20.0}, 0.0, 100.0, 1.0},
    {kWiggleAmount, RowKind::FloatSlider, "Pyrelux::Wiggle: Amount", {20.0}, 0.0, 100.0, 1.0},
    // The only float slider that can't reach 0: this is meant.
    {kWiggleTurbulence, RowKind::FloatSlider, "Pyrelux::Wiggle: Turbulence", {15.0}, 1.0, 100.0, 1.0},
    {kGlow, RowKind::FloatSlider, "Pyrelux::Glow", {20.0}, -100.0, 100.0, 1.0},
    // The whole part of 1000 pi as a bound is meant.
    {kDirection, RowKind::AngleSlider, "Pyrelux::Direction", {0.0}, -3141.0, 3141.0},
    // A default above the maximum as the numbers stand is meant: hosts take it in degrees and the bounds in radians.
    {kSpread, RowKind::AngleSlider, "Pyrelux::Spread (Degrees)", {30.0}, 0.0, pi},
    {kSteps, RowKind::IntSlider, "Pyrelux::Steps", {40}, 10, maximumSteps, 1},
    {kWeight, RowKind::FloatSlider, "Pyrelux::Weight Inner<>Outer", {0.0}, -100.0, 100.0, 1.0},
    {kColorInner, RowKind::Colour, "Pyrelux::Color Inner", {1.0, 1.0, 0.0}},
    {kColorCenter, RowKind::Colour, "Pyrelux::Color Center", {1.0, 0.5, 0.0}},
    {kColorOuter, RowKind::Colour, "Pyrelux::Color Outer", {1.0, 0.0, 0.0}},
    {kAttractRepel, RowKind::FloatSlider, "Pyrelux::Attract <> Repel", {0.0}, -100.0, 100.0, 1.0},
    {kPoint, RowKind::Point, "Pyrelux::Point (Attract <> Repel)", {0.5, 0.5}},
    // Only the fire is seen by default; this is meant.
    {kSourceOpacity, RowKind::FloatSlider, "Pyrelux::Source: Opacity", {0.0}, 0.0, 1.0, 0.01},
    {kSourceMode, RowKind::Popup, "Pyrelux::Source: Mode", {0}, 0, 0, 0, {"Pyrelux::Cover", "Pyrelux::Mix"}},
    {kCropLeft, RowKind::FloatSlider, "Pyrelux::Crop: Left", {0.0}, 0.0, 1.0, 0.01},
    {kCropRight, RowKind::FloatSlider, "Pyrelux::Crop: Right", {0.0}, 0.0, 1.0, 0.01},
    {kCropTop, RowKind::FloatSlider, "Pyrelux::Crop: Top", {0.0}, 0.0, 1.0, 0.01},
    {kCropBottom, RowKind::FloatSlider, "Pyrelux::Crop: Bottom", {0.0}, 0.0, 1.0, 0.01},
    {kColorDepth, RowKind::Popup, "Pyrelux::Color Depth", {0}, 0, 0, 0, {"Pyrelux::8 Bit", "Pyrelux::16 Bit"}},
};

}  // namespace pyrelux
