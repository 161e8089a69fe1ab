#include "Fire.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>
#include <vector>

#include "Numbers.h"
#include "OwnParameters.h"
#include "ValueError.h"

namespace pyrelux::job {

namespace {

using host::Ease;
using host::Keyframe;
using host::ParameterDeclaration;
using host::ParameterSet;

/// A factor of a parameter's value at a frame.
struct Factor {
  double frame;
  double factor;
  Ease ease;
};

/// When the fire catches and goes out, in frames; a length of 0 for neither.
struct Life {
  double first, catching;
  double last, dying;
};

/// The brightness is there before the flames have grown, which flare up before they settle.
std::vector<Factor> brightness(const Life &life) {
  std::vector<Factor> factors;
  if (life.catching > 0.0) {
    factors.push_back({life.first, 0.0, Ease::EaseOut});
    factors.push_back({life.first + 0.6 * life.catching, 1.0, Ease::Hold});
  }
  if (life.dying > 0.0) {
    factors.push_back({life.last - 0.8 * life.dying, 1.0, Ease::EaseIn});
    factors.push_back({life.last, 0.0, Ease::Hold});
  }
  return factors;
}

std::vector<Factor> growth(const Life &life) {
  std::vector<Factor> factors;
  if (life.catching > 0.0) {
    factors.push_back({life.first, 0.1, Ease::EaseOut});
    factors.push_back({life.first + 0.7 * life.catching, 1.15, Ease::Ease});
    factors.push_back({life.first + life.catching, 1.0, Ease::Hold});
  }
  if (life.dying > 0.0) {
    factors.push_back({life.last - life.dying, 1.0, Ease::EaseIn});
    factors.push_back({life.last, 0.1, Ease::Hold});
  }
  return factors;
}

/// Keyframes in the place of a constant.
void multiply(ParameterSet &parameters, const ParameterDeclaration *parameter, const std::vector<Factor> &factors) {
  if (!parameter || factors.empty()) return;
  const std::vector<Keyframe> constant = parameters.keyframes(*parameter);
  if (constant.size() > 1)
    throw ValueError("'" + parameter->slug() +
                     "' has keyframes, and --ignite and --die write others; leave one of them out");
  std::vector<Keyframe> keyframes;
  for (const Factor &factor : factors)
    keyframes.push_back(
        {factor.frame, host::clampToLegal(*parameter, {constant[0].value[0] * factor.factor}), factor.ease});
  parameters.setKeyframes(*parameter, keyframes);
}

Life lifeOf(const project::Scene &scene, const FrameList &frames, const project::Clock &clock) {
  const double rate = clock.rate.perSecond();
  const double first = static_cast<double>(clock.firstFrame);
  const double last = scene.duration ? first + std::max(std::round(*scene.duration * rate), 1.0) - 1.0
                                     : static_cast<double>(frames.last());
  const Life life{first, scene.ignite.value_or(0.0) * rate, last, scene.die.value_or(0.0) * rate};
  if (life.catching > 0.0 && life.dying > 0.0 && life.catching + life.dying >= last - first)
    throw ValueError("--ignite and --die leave no frame between them of the " + formatNumber(last - first + 1.0) +
                     " that there are; make them shorter");
  return life;
}

void scaleLength(ParameterSet &parameters, double factor, RenderListener &listener) {
  const ParameterDeclaration *length = project::flameLengthOf(parameters);
  if (!length) return;
  std::vector<Keyframe> keyframes = parameters.keyframes(*length);
  bool isLimited = false;
  for (Keyframe &keyframe : keyframes) {
    const double wanted = keyframe.value[0] * factor;
    keyframe.value = host::clampToLegal(*length, {wanted});
    isLimited = isLimited || keyframe.value[0] != wanted;
  }
  parameters.setKeyframes(*length, keyframes);
  if (isLimited)
    listener.remark("--flame-scale title asks for longer flames than there are; '" + length->slug() + "' is " +
                    formatNumber(length->maximum) + " at most");
}

Loop loopOf(const project::Scene &scene, const FrameList &frames) {
  if (scene.ignite || scene.die)
    throw ValueError("a fire that repeats has no beginning and no end; leave --ignite and --die or --loop out");
  const std::int64_t count = frames.count();
  if (count != frames.last() - frames.first() + 1) throw ValueError("'--loop' is for frames in a row");
  if (count < 2) throw ValueError("'--loop' needs two frames at least");
  const std::int64_t blend = scene.loopBlend.value_or(std::max<std::int64_t>(1, count / 4));
  if (blend >= count)
    throw ValueError("'--loop-blend " + std::to_string(blend) + "' is too long for " + std::to_string(count) +
                     " frames; it is " + std::to_string(count - 1) + " at most");
  return {{frames.first(), frames.last()}, blend};
}

}  // namespace

double Loop::shareAt(std::int64_t frame) const {
  const std::int64_t place = frame - (frames.last - blend);
  if (place <= 0) return 0.0;
  const double way = static_cast<double>(place) / static_cast<double>(blend + 1);
  // Slow at both ends, so that the step to the first frame is not larger than those before it.
  return way * way * (3.0 - 2.0 * way);
}

bool Fire::isComposed(std::int64_t frame) const {
  return burn == project::Burn::Shape ||
         parameters.value(project::fireOpacityId, static_cast<double>(frame))[0] < 100.0;
}

Fire Fire::lead() const {
  constexpr double slowness = 0.9;
  Fire slower = *this;
  slower.time.scale *= slowness;
  // At the loop's first frame both are at the same time.
  slower.time.origin = time.at(loop->frames.first) - slower.time.scale * static_cast<double>(loop->frames.first);
  return slower;
}

ParameterSet Fire::filterParameters() const {
  ParameterSet result = host::inFilterTime(parameters, time);
  const ParameterDeclaration *opacity = project::sourceOpacityOf(parameters);
  const bool isEverComposed = burn == project::Burn::Shape || parameters.isSet(project::fireOpacityId);
  if (!opacity || !isEverComposed) return result;
  // A curve, so that the set and with it the filter's run stay the same when the fire comes and goes.
  const auto fire = std::make_shared<const Fire>(*this);
  result.setCurve(*opacity, [fire, id = opacity->id](double filterTime) {
    const std::int64_t frame = fire->time.frameAt(filterTime);
    return fire->isComposed(frame) ? host::ParameterValue{} : fire->parameters.value(id, static_cast<double>(frame));
  });
  return result;
}

ParameterSet withLife(ParameterSet parameters, const project::Scene &scene, const FrameList &frames,
                      const project::Clock &clock) {
  const Life life = lifeOf(scene, frames, clock);
  multiply(parameters, parameters.find(project::fireOpacityId), brightness(life));
  multiply(parameters, project::flameLengthOf(parameters), growth(life));
  return parameters;
}

Fire planFire(const project::Scene &scene, ParameterSet parameters, const FrameList &frames,
              const project::Clock &clock, double titleShare, RenderListener &listener) {
  // A title of a quarter of the frame's height burns as it does without.
  constexpr double usualShare = 0.25;
  if (scene.flameScale == project::FlameScale::Title) scaleLength(parameters, titleShare / usualShare, listener);
  Fire fire{std::move(parameters), project::filterTimeOf(scene, clock), scene.burn.value_or(project::Burn::Art),
            std::nullopt};
  if (scene.loops.value_or(false))
    fire.loop = loopOf(scene, frames);
  else if (scene.loopBlend)
    throw ValueError("'--loop-blend' goes with --loop");
  return fire;
}

}  // namespace pyrelux::job
