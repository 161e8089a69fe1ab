#pragma once

#include <string>

/// Waiting until what was written survives a power cut.
namespace pyrelux::media {

/// Waits until what a descriptor wrote is on the disk. Returns 0 or an errno value.
int synchronise(int descriptor);

/// Waits until the name of a file is on the disk. A folder that may not be read can't be waited for, and the name gets
/// there when the system likes. Returns 0 or an errno value.
int synchroniseName(const std::string &path);

}  // namespace pyrelux::media
