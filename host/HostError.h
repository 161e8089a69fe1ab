#pragma once

#include <stdexcept>

namespace pyrelux::host {

/// Something that the host needs is missing or refuses. what() is one sentence without a final stop that names the
/// thing and, where there is one, the remedy.
class HostError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace pyrelux::host
