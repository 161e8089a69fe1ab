#pragma once

#include <string>

#include "ValueError.h"

namespace pyrelux {

/// What parsing throws; empty if nothing.
template <typename Parse>
std::string refusal(Parse parse, const std::string &text) {
  try {
    parse(text);
  } catch (const ValueError &error) {
    return error.what();
  }
  return {};
}

}  // namespace pyrelux
