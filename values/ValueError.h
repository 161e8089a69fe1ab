#pragma once

#include <stdexcept>

namespace pyrelux {

/// What a person typed is not a value of its kind. what() is one sentence without a final stop: what is wrong, and what
/// would be right.
class ValueError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace pyrelux
