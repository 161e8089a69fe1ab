#pragma once

#include <cstddef>
#include <string>

namespace pyrelux {

/// How far a name is from what was typed: single-character edits (Levenshtein distance). A name that contains what was
/// typed is at most 1 away. Takes time that grows with the product of the lengths.
std::size_t nameDistance(const std::string &typed, const std::string &name);

}  // namespace pyrelux
