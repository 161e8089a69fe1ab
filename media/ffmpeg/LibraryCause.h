#pragma once

#include <string>

namespace pyrelux::media {

/// The text for a negative code of FFmpeg's libraries, as it follows a colon: the system's where the code is a negated
/// errno value, else the libraries' own.
std::string libraryCause(int code);

}  // namespace pyrelux::media
