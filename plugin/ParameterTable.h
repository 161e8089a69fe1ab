#pragma once

#include "NumericHelpers.h"
#include "ParameterIds.h"

// All parameters, in the order of the inspector's rows. Nothing else repeats a name, a range or a default: hosts and
// the command ask the filter.

namespace pyrelux {

/// The maker's name and web address, as users see them.
constexpr char kMakerDomain[] = "www.morvane.example";
constexpr char kMakerAddress[] = "https://www.morvane.example";

enum class RowKind { Header, IntSlider, FloatSlider, AngleSlider, Colour, Point, Popup };

struct ParameterRow {
  ParameterId id;
  RowKind kind;
  const char *key;          ///< of the name in the bundle's string table; the header's is the name itself
  double defaults[3] = {};  ///< a value (angles in degrees); red, green, blue; x, y; or the index of an entry
  double minimum = 0.0;     ///< of the value and of the slider; angles are in radians
  double maximum = 0.0;
  double delta = 0.0;           ///< the slider's step
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
    // Deliberate: the only float slider that can't reach 0.
    {kWiggleTurbulence, RowKind::FloatSlider, "Pyrelux::Wiggle: Turbulence", {15.0}, 1.0, 100.0, 1.0},
    {kGlow, RowKind::FloatSlider, "Pyrelux::Glow", {20.0}, -100.0, 100.0, 1.0},
    // Deliberate: the bounds are the whole part of 1000 pi.
    {kDirection, RowKind::AngleSlider, "Pyrelux::Direction", {0.0}, -3141.0, 3141.0},
    // Deliberate: the default exceeds the maximum, because hosts take defaults in degrees and bounds in radians.
    {kSpread, RowKind::AngleSlider, "Pyrelux::Spread (Degrees)", {30.0}, 0.0, pi},
    {kSteps, RowKind::IntSlider, "Pyrelux::Steps", {40}, 10, maximumSteps, 1},
    {kWeight, RowKind::FloatSlider, "Pyrelux::Weight Inner<>Outer", {0.0}, -100.0, 100.0, 1.0},
    {kColorInner, RowKind::Colour, "Pyrelux::Color Inner", {1.0, 1.0, 0.0}},
    {kColorCenter, RowKind::Colour, "Pyrelux::Color Center", {1.0, 0.5, 0.0}},
    {kColorOuter, RowKind::Colour, "Pyrelux::Color Outer", {1.0, 0.0, 0.0}},
    {kAttractRepel, RowKind::FloatSlider, "Pyrelux::Attract <> Repel", {0.0}, -100.0, 100.0, 1.0},
    {kPoint, RowKind::Point, "Pyrelux::Point (Attract <> Repel)", {0.5, 0.5}},
    // Deliberate: by default only the fire is visible.
    {kSourceOpacity, RowKind::FloatSlider, "Pyrelux::Source: Opacity", {0.0}, 0.0, 1.0, 0.01},
    {kSourceMode, RowKind::Popup, "Pyrelux::Source: Mode", {0}, 0, 0, 0, {"Pyrelux::Cover", "Pyrelux::Mix"}},
    {kCropLeft, RowKind::FloatSlider, "Pyrelux::Crop: Left", {0.0}, 0.0, 1.0, 0.01},
    {kCropRight, RowKind::FloatSlider, "Pyrelux::Crop: Right", {0.0}, 0.0, 1.0, 0.01},
    {kCropTop, RowKind::FloatSlider, "Pyrelux::Crop: Top", {0.0}, 0.0, 1.0, 0.01},
    {kCropBottom, RowKind::FloatSlider, "Pyrelux::Crop: Bottom", {0.0}, 0.0, 1.0, 0.01},
    {kColorDepth, RowKind::Popup, "Pyrelux::Color Depth", {0}, 0, 0, 0, {"Pyrelux::8 Bit", "Pyrelux::16 Bit"}},
};

}  // namespace pyrelux
