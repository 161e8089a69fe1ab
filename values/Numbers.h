#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace pyrelux {

/// The number that is the whole text, with or without a sign. Nothing for any other text.
std::optional<double> readNumber(const std::string &text);

/// The number before a unit that the text ends with, such as "%". Nothing for any other text.
std::optional<double> readNumberBefore(const std::string &unit, const std::string &text);

/// The numbers of "x,y,z": exactly `count` of them. Nothing for any other text.
std::optional<std::vector<double>> readNumbers(const std::string &text, std::size_t count);

/// The shortest decimal text that reads back as the same number.
std::string formatNumber(double number);

}  // namespace pyrelux
