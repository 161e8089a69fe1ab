#pragma once

#include <memory>
#include <vector>

#include "Bundles.h"
#include "Frei0rParameters.h"

namespace pyrelux::adapters {

/// What all instances share: the filter, and its parameters as the host sees them. Without a filter there are only the
/// plug-in's own parameters.
struct Frei0rPlugIn {
  host::FilterInfo filter;
  bool hasFilter = false;
  std::vector<host::ParameterDeclaration> declarations;
  std::vector<Frei0rParameter> parameters;

  /// Looks for the filter. Complains when there is none.
  Frei0rPlugIn();
};

/// The plug-in, loaded by the first call, also for hosts that ask before they initialise. Thread: any.
std::shared_ptr<const Frei0rPlugIn> plugIn();

/// Count the host's initialisations; the last finish() unloads the plug-in. Thread: any.
void initialise();
void finish();

}  // namespace pyrelux::adapters
