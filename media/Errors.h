#pragma once

#include <string>

#include "Media.h"

/// The one place where messages are worded.
namespace pyrelux::media {

constexpr const char *causeCutOff = "it is damaged or cut off";
constexpr const char *causeNotDecodable = "it is not a picture or movie that can be decoded";
constexpr const char *causeFolder = "it is a folder";
constexpr const char *causeNotRegular = "it is not a regular file";
constexpr const char *causeNoSuchFile = "no such file";

/// Throws InputError.
[[noreturn]] void failReading(const std::string &path, const std::string &cause);
/// Throws OutputError.
[[noreturn]] void failWriting(const std::string &path, const std::string &cause);
/// Throws EncoderError.
[[noreturn]] void failEncoding(const std::string &path, const std::string &cause);

/// The system's text for an errno value, in lower case as it follows a colon.
std::string systemCause(int errnoValue);

/// The same for a negative code of the libraries, which is a negated errno value for what the system reports.
std::string libraryCause(int code);

/// "1920x1080 pixels"
std::string sizeText(int width, int height);

}  // namespace pyrelux::media
