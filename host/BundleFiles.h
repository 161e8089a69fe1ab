#pragma once

#include <string>

// What is looked at in a bundle's files before others read them: the dynamic linker and Foundation end the process over
// some files instead of refusing them.

namespace pyrelux::host {

/// Whether the file is one of the system's program libraries, with all that its header says is to be loaded. The linker
/// maps what is not there, too, and touches it.
bool isWholeProgramLibrary(const std::string &path);

/// Whether a property list, of whatever kind, can be read by calls within calls: not when lists may be nested thousands
/// deep. Of those in binary form nobody can tell at a glance.
bool isShallowPropertyList(const std::string &text);

}  // namespace pyrelux::host
