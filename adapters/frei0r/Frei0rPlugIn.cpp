#include "Frei0rPlugIn.h"

#include <exception>
#include <mutex>

#include "Complaint.h"
#include "HostState.h"
#include "StaticEffect.h"

namespace pyrelux::adapters {

namespace {

std::mutex plugInMutex;
int initialisations = 0;
std::shared_ptr<const Frei0rPlugIn> loaded;

}  // namespace

Frei0rPlugIn::Frei0rPlugIn() {
  const HostState kept;
  try {
    filter = host::findFilter(host::defaultSearchPath());
    declarations = parametersOf(filter).declarations();
    hasFilter = true;
  } catch (const std::exception &error) {
    complain(reasonOf(error));
  }
  parameters = frei0rParameters(declarations);
}

std::shared_ptr<const Frei0rPlugIn> plugIn() {
  const std::lock_guard<std::mutex> lock(plugInMutex);
  if (!loaded) loaded = std::make_shared<const Frei0rPlugIn>();
  return loaded;
}

void initialise() {
  const std::lock_guard<std::mutex> lock(plugInMutex);
  ++initialisations;
}

void finish() {
  const std::lock_guard<std::mutex> lock(plugInMutex);
  if (initialisations > 0 && --initialisations == 0) loaded.reset();
}

}  // namespace pyrelux::adapters
