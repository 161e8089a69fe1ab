#include "Numbers.h"

#include <charconv>

namespace pyrelux {

std::optional<double> readNumber(const std::string &text) {
  const char *begin = text.c_str();
  const char *end = begin + text.size();
  // from_chars() takes no plus.
  if (begin != end && *begin == '+' && begin + 1 != end && begin[1] != '-') ++begin;
  double number = 0.0;
  const auto [stop, error] = std::from_chars(begin, end, number);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

std::optional<double> readNumberBefore(const std::string &unit, const std::string &text) {
  if (text.size() <= unit.size() || text.compare(text.size() - unit.size(), unit.size(), unit) != 0)
    return std::nullopt;
  return readNumber(text.substr(0, text.size() - unit.size()));
}

std::optional<std::vector<double>> readNumbers(const std::string &text, std::size_t count) {
  std::vector<double> numbers;
  std::size_t begin = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const bool isLast = i + 1 == count;
    const std::size_t comma = text.find(',', begin);
    if ((comma == std::string::npos) != isLast) return std::nullopt;
    const auto number = readNumber(text.substr(begin, isLast ? std::string::npos : comma - begin));
    if (!number) return std::nullopt;
    numbers.push_back(*number);
    begin = comma + 1;
  }
  return numbers;
}

std::string formatNumber(double number) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, number).ptr;
  return std::string(text, end);
}

}  // namespace pyrelux
