#pragma once

#include <stdexcept>

namespace pyrelux {

/// The title can't be drawn as requested. what() is one sentence without a full stop.
class TitleError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The title's font file can't be used. what() is the cause, as it follows the file's name and a colon.
class FontFileError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace pyrelux
