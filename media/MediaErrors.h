#pragma once

#include <stdexcept>
#include <string>

/// What goes wrong with files, and the one place where its messages are worded.
namespace pyrelux::media {

/// A file cannot be read or written. what() is one sentence without a final stop that names the file and the cause,
/// fit to be shown to a user as it stands: "cannot read 'title.png': no such file".
class MediaError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};
/// What is read is not there, not permitted, damaged or too large.
class InputError : public MediaError {
  using MediaError::MediaError;
};
/// A stream has no frame of that number: it ended before.
class EndOfStream : public InputError {
  using InputError::InputError;
};
/// What is written has no place, no room or no format.
class OutputError : public MediaError {
  using MediaError::MediaError;
};
/// The encoder is missing, or refuses the pictures.
class EncoderError : public MediaError {
  using MediaError::MediaError;
};

constexpr const char *causeCutOff = "it is damaged or cut off";
constexpr const char *causeNotDecodable = "it is not a picture or movie that can be decoded";
constexpr const char *causeFolder = "it is a folder";
constexpr const char *causeNotRegular = "it is not a regular file";
constexpr const char *causeNoSuchFile = "no such file";

/// Throws InputError: "cannot read 'PATH': CAUSE".
[[noreturn]] void failReading(const std::string &path, const std::string &cause);
/// Throws OutputError: "cannot write 'PATH': CAUSE".
[[noreturn]] void failWriting(const std::string &path, const std::string &cause);
/// Throws EncoderError: "cannot write 'PATH': CAUSE".
[[noreturn]] void failEncoding(const std::string &path, const std::string &cause);

/// The system's text for an errno value, in lower case as it follows a colon.
std::string systemCause(int errnoValue);

/// "1920x1080 pixels"
std::string sizeText(int width, int height);

}  // namespace pyrelux::media
