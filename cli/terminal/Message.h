#pragma once

#include <string>

namespace pyrelux::cli {

/// The text with a question mark for everything that a terminal would obey: names of files may hold such characters.
std::string printable(const std::string &text);

/// Tells the user, on standard error, in one line whatever names it may hold.
void say(const std::string &message);

}  // namespace pyrelux::cli
