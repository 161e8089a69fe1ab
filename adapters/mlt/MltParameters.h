#pragma once

#include <framework/mlt.h>

#include <map>
#include <string>

#include "FrameRate.h"
#include "Look.h"
#include "Parameters.h"

namespace pyrelux::adapters {

/// Whether the parameter is a share: a number from 0 to 1, which MLT shows in percent, 0 .. 100.
bool isShare(const host::ParameterDeclaration &declaration);

/// The properties of a clip that the meaning of a filter's properties depends on.
struct Clip {
  int length = 0;  ///< in frames; 0 when unknown
  int width = 0;   ///< of the profile, in pixels, whatever size a preview has
  int height = 0;
  FrameRate rate;  ///< of the profile

  bool operator==(const Clip &other) const {
    return length == other.length && width == other.width && height == other.height &&
           rate.perSecond() == other.rate.perSecond();
  }
};

/// A filter's parameters, read from MLT's properties. The names are the declarations' slugs. Numbers are in users'
/// units, shares in percent, colours in MLT's notation, popups an entry's name or index; a point is the middle of a
/// rectangle. Animated values come from MLT frame by frame, so all of MLT's interpolations apply, and memory does not
/// depend on the number of frames. The properties "preset" and "seed" choose the Look beneath them. Thread: one at a
/// time, including callers that use parameters() or copies of it.
class MltParameters {
 public:
  /// `defaults` has the declarations, and the values for missing properties that no preset has.
  explicit MltParameters(const host::ParameterSet &defaults) : look_(defaults), parameters_(defaults) {}

  /// Reads the properties that have changed since the last call; returns whether any has. A value out of range becomes
  /// the nearest one in range. A text that names no entry of its popup gives the default, with a complaint.
  bool read(mlt_properties properties, const Clip &clip);

  const host::ParameterSet &parameters() const { return parameters_; }
  host::FilterTime time() const { return look_.time(); }

 private:
  Look look_;
  host::ParameterSet parameters_;
  std::map<std::uint32_t, std::string> texts_;  ///< the texts last read, by parameter id
  Clip clip_;
};

}  // namespace pyrelux::adapters
