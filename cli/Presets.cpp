#include "Presets.h"

#include <algorithm>

#include "UsageError.h"

namespace pyrelux::cli {

const std::vector<Preset> &presets() {
  static const std::vector<Preset> all{
      {"campfire",
       "Yellow to red, unhurried, leaning this way and that",
       {"length-of-pyrelux=34", "turbulence-amount=9", "turbulence-wavelength=60", "wiggle-amount=24",
        "spread-degrees=35", "glow=35", "color-inner=1,0.95,0.45", "color-center=1,0.5,0.05", "color-outer=0.85,0.12,0",
        "source-opacity=1"}},
      {"torch",
       "Tall and narrow, in a draught",
       {"pyrelux=8", "length-of-pyrelux=55", "turbulence-amount=8", "turbulence-speed=45", "wiggle-amount=12",
        "wiggle-turbulence=35", "spread-degrees=14", "glow=45", "color-inner=1,1,0.7", "color-center=1,0.6,0.1",
        "color-outer=1,0.15,0", "source-opacity=1"}},
      {"inferno",
       "Everything burns, and high",
       {"pyrelux=16", "length-of-pyrelux=90", "turbulence-amount=9", "turbulence-wavelength=70", "turbulence-speed=40",
        "wiggle-amount=25", "spread-degrees=40", "glow=45", "steps=60", "color-inner=1,1,0.6", "color-center=1,0.45,0",
        "color-outer=0.9,0.05,0", "source-opacity=1"}},
      {"sunburst",
       "Rays that grow away from the middle",
       {"pyrelux=12", "attract-repel=45", "turbulence-amount=3", "wiggle-amount=8", "glow=35", "steps=60",
        "color-inner=1,1,0.8", "color-center=1,0.75,0.2", "color-outer=0.9,0.2,0.05", "source-opacity=1"}},
      {"magma",
       "A slow, dark glow that creeps to all sides",
       {"length-of-pyrelux=16", "turbulence-amount=18", "turbulence-wavelength=40", "turbulence-speed=8",
        "wiggle-amount=45", "wiggle-turbulence=6", "spread-degrees=180", "glow=10", "weight-inner-outer=-30",
        "color-inner=1,0.6,0.1", "color-center=0.9,0.2,0", "color-outer=0.35,0.02,0", "source-opacity=1"}},
      {"ember-glow",
       "Nearly gone out: a short red shimmer",
       {"length-of-pyrelux=10", "turbulence-speed=5", "wiggle-amount=15", "wiggle-turbulence=4", "spread-degrees=90",
        "glow=5", "color-inner=1,0.4,0.05", "color-center=0.8,0.15,0", "color-outer=0.4,0.03,0", "source-opacity=0.8"}},
      {"halo",
       "An even, warm shine all round",
       {"pyrelux=16", "length-of-pyrelux=14", "turbulence-amount=2", "wiggle-amount=6", "spread-degrees=180", "glow=50",
        "color-inner=1,1,0.9", "color-center=1,0.85,0.4", "color-outer=0.6,0.3,0.05", "source-opacity=1"}},
      {"blue-gas",
       "The small, quick flames of a stove",
       {"pyrelux=7", "length-of-pyrelux=26", "turbulence-amount=4", "turbulence-speed=45", "wiggle-amount=10",
        "spread-degrees=18", "glow=40", "color-inner=0.75,0.9,1", "color-center=0.1,0.4,1", "color-outer=0.05,0.05,0.7",
        "source-opacity=1"}},
      {"comet",
       "A long blue tail to the left",
       {"direction=-78", "length-of-pyrelux=70", "turbulence-amount=3", "turbulence-wavelength=90", "wiggle-amount=6",
        "spread-degrees=8", "glow=60", "steps=120", "weight-inner-outer=40", "color-inner=0.35,0.4,0.5",
        "color-center=0.12,0.25,0.45", "color-outer=0.03,0.08,0.35", "source-opacity=1"}},
      {"ghost",
       "Pale green veils that rise and rise",
       {"pyrelux=5", "length-of-pyrelux=60", "turbulence-amount=14", "turbulence-wavelength=90", "turbulence-speed=8",
        "wiggle-amount=30", "wiggle-turbulence=5", "spread-degrees=40", "glow=15", "color-inner=0.8,1,0.9",
        "color-center=0.3,0.8,0.7", "color-outer=0.05,0.3,0.35", "source-opacity=0.6"}},
      {"slow-smoke",
       "Grey, soft and in no hurry",
       {"pyrelux=10", "length-of-pyrelux=80", "turbulence-amount=12", "turbulence-wavelength=85", "turbulence-speed=5",
        "wiggle-amount=30", "wiggle-turbulence=4", "spread-degrees=45", "glow=40", "steps=80", "weight-inner-outer=25",
        "color-inner=0.5,0.5,0.52", "color-center=0.4,0.4,0.42", "color-outer=0.25,0.25,0.27", "source-opacity=1"}},
      {"toxic",
       "Green and yellow, bubbling over",
       {"length-of-pyrelux=40", "turbulence-amount=12", "turbulence-speed=25", "wiggle-amount=30", "spread-degrees=45",
        "glow=35", "color-inner=0.95,1,0.4", "color-center=0.4,0.95,0.1", "color-outer=0.02,0.4,0.1",
        "source-opacity=1"}},
  };
  return all;
}

std::vector<std::string> presetNames() {
  std::vector<std::string> names;
  for (const Preset &preset : presets()) names.push_back(preset.name);
  return names;
}

const Preset &presetNamed(const std::string &name) {
  const auto found =
      std::find_if(presets().begin(), presets().end(), [&](const Preset &preset) { return preset.name == name; });
  if (found != presets().end()) return *found;
  std::string names;
  for (const std::string &known : presetNames()) names += (names.empty() ? "" : ", ") + known;
  throw UsageError("there is no preset '" + name + "'; there are " + names);
}

}  // namespace pyrelux::cli
