#pragma once

#include <string>
#include <vector>

namespace pyrelux::adapters {

// What frei0r.h asks of hosts, and FFmpeg's filters do otherwise: time is in milliseconds instead of seconds, some
// frames come without one, and rows may have padding (see FFmpegRows.h).

/// Whether FFmpeg's filters are what calls this library, by the program's name and the libraries that it has.
bool isCalledByFFmpeg();

/// The same for a program of that name with libraries of those names, all without folders.
bool isFFmpeg(const std::string &program, const std::vector<std::string> &libraries);

}  // namespace pyrelux::adapters
