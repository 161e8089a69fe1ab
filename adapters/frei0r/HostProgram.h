#pragma once

#include <string>
#include <vector>

namespace pyrelux::adapters {

// FFmpeg's filters deviate from frei0r.h: times are in milliseconds instead of seconds, some frames have no time, and
// rows may have padding (see FFmpegRows.h).

/// Whether FFmpeg's filters call this library, judged by the program's name and its loaded libraries.
bool isCalledByFFmpeg();

/// The same for a program with this name and libraries with these names, all without folders.
bool isFFmpeg(const std::string &program, const std::vector<std::string> &libraries);

}  // namespace pyrelux::adapters
