#pragma once

#include <string>

#include "HostError.h"

namespace pyrelux::host {

/// Calls into a filter, which may raise an exception of either language; it goes no further than here.
template <typename Call>
auto guarded(const std::string &who, Call call) {
  try {
    return call();
  } catch (const HostError &) {
    throw;
  } catch (...) {
    throw HostError(who + " raised an exception");
  }
}

}  // namespace pyrelux::host
