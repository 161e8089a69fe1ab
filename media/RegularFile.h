#pragma once

#include <string>

namespace pyrelux::media {

/// Throws InputError: no such file, a folder, or anything but a file: opening a pipe could wait for ever.
void requireRegularFile(const std::string &path);

}  // namespace pyrelux::media
