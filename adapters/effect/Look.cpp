#include "Look.h"

#include <cmath>
#include <cstddef>
#include <utility>

#include "Complaint.h"
#include "MediaErrors.h"
#include "OwnParameters.h"
#include "Presets.h"
#include "Scene.h"
#include "Settings.h"
#include "ValueError.h"

namespace pyrelux::adapters {

namespace {

/// Frames are counted from a clip's first, which is 0.
project::Clock clockAt(const FrameRate &rate) { return {0, rate}; }

/// Whether a host means the default: many hold colours with 8 bits, and numbers with single precision.
bool isDefault(const host::ParameterDeclaration &parameter, const host::ParameterValue &value) {
  const double range = parameter.hasRange() ? parameter.maximum - parameter.minimum : 1.0;
  const auto level = [](double channel) { return std::lround(255.0 * channel); };
  for (std::size_t i = 0; i < value.size(); ++i) {
    const double standard = parameter.defaultValue[i];
    const bool isSame = parameter.kind == host::ParameterKind::Colour ? level(value[i]) == level(standard)
                                                                      : std::abs(value[i] - standard) <= 1e-7 * range;
    if (!isSame) return false;
  }
  return true;
}

/// Nothing for an empty text, and with a complaint for one that is no seed.
std::optional<std::int64_t> readSeed(const std::string &text) {
  project::Scene scene;
  try {
    if (!text.empty()) project::sceneField("seed").parse(scene, text);
  } catch (const ValueError &error) {
    complain(std::string("the seed can't be used: ") + error.what());
  }
  return scene.seed;
}

}  // namespace

Look::Look(host::ParameterSet defaults) : defaults_(std::move(defaults)), parameters_(defaults_) {}

bool Look::choose(const std::string &preset, const std::string &seed, const FrameRate &rate) {
  const bool isOtherPreset = preset != presetText_;
  const bool isOtherSeed = seed != seedText_;
  const bool isOtherRate = rate.perSecond() != rate_.perSecond();
  if (isOtherPreset) preset_ = read(preset);
  if (isOtherSeed) seed_ = readSeed(seed);
  if (isOtherPreset || isOtherRate) {
    parameters_ = defaults_;
    project::applyProject(parameters_, preset_, clockAt(rate));
  }
  // Last, so that what memory did not suffice for is chosen again.
  presetText_ = preset;
  seedText_ = seed;
  rate_ = rate;
  return isOtherPreset || isOtherSeed || isOtherRate;
}

host::FilterTime Look::time() const {
  project::Scene scene;
  // A seed of 0 is the default, too.
  scene.seed = seed_.value_or(0) != 0 ? seed_ : preset_.scene.seed;
  scene.timeBase = preset_.scene.timeBase;
  return project::filterTimeOf(scene, clockAt(rate_));
}

bool Look::holdsInsteadOf(const host::ParameterDeclaration &parameter, const host::ParameterValue &constant) const {
  return preset_.parameters.count(parameter.id) != 0 && isDefault(parameter, constant);
}

project::Project Look::read(const std::string &preset) const {
  if (preset.empty() || preset == noPreset) return {};
  try {
    return project::loadPreset(preset, project::withOwnParameters(defaults_.declarations()));
  } catch (const ValueError &error) {
    complain(error.what());
  } catch (const media::InputError &error) {
    complain(error.what());
  }
  return {};
}

}  // namespace pyrelux::adapters
