#include "FilterTime.h"

#include <cmath>
#include <vector>

namespace pyrelux::host {

std::int64_t FilterTime::frameAt(double time) const { return std::llround((time - origin) / scale); }

ParameterSet inFilterTime(const ParameterSet &parameters, const FilterTime &time) {
  if (time == FilterTime{}) return parameters;
  ParameterSet result = parameters;
  for (const ParameterDeclaration &parameter : parameters.declarations()) {
    if (const Curve *curve = parameters.curve(parameter)) {
      result.setCurve(parameter, [curve = *curve, time](double filterTime) {
        return curve(static_cast<double>(time.frameAt(filterTime)));
      });
      continue;
    }
    std::vector<Keyframe> keyframes = parameters.keyframes(parameter);
    if (keyframes.size() < 2) continue;
    for (Keyframe &keyframe : keyframes) keyframe.frame = time.origin + time.scale * keyframe.frame;
    result.setKeyframes(parameter, keyframes);
  }
  return result;
}

}  // namespace pyrelux::host
