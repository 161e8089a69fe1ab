#pragma once

#include <framework/mlt.h>

#include <map>
#include <string>

#include "Parameters.h"

namespace pyrelux::adapters {

/// Whether people think of it in percent: a number from 0 to 1. MLT gets those as 0 .. 100.
bool isShare(const host::ParameterDeclaration &declaration);

/// What a filter's properties mean depends on these.
struct Clip {
  int length = 0;  ///< in frames; 0: it is not known
  int width = 0;   ///< of the profile, in pixels; whatever size a preview has
  int height = 0;

  bool operator==(const Clip &other) const {
    return length == other.length && width == other.width && height == other.height;
  }
};

/// A filter's parameters as MLT's properties give them: by the declarations' slugs, numbers in a person's units, shares
/// in percent, colours as MLT writes them, popups by an entry's name or index, points as rectangles, of which they are
/// the middle. What is animated is asked of MLT frame by frame, so that all of MLT's ways from keyframe to keyframe are
/// right, and no number of frames takes memory. Thread: one at a time, also whoever asks parameters() or copies of
/// them.
class MltParameters {
 public:
  /// `parameters`: the declarations, and the values of properties that are not there.
  explicit MltParameters(host::ParameterSet parameters) : defaults_(parameters), parameters_(std::move(parameters)) {}

  /// Reads what has changed since the last time; true when something has. Values out of range become the nearest that
  /// is not; texts that are nothing for their popup are told on standard error and leave the default.
  bool read(mlt_properties properties, const Clip &clip);

  const host::ParameterSet &parameters() const { return parameters_; }

 private:
  host::ParameterSet defaults_;
  host::ParameterSet parameters_;
  std::map<std::uint32_t, std::string> texts_;  ///< what was read, by id
  Clip clip_;
};

}  // namespace pyrelux::adapters
