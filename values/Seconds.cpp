#include "Seconds.h"

#include "Numbers.h"
#include "ValueError.h"

namespace pyrelux {

namespace {

constexpr double maxSeconds = 86400.0;

bool endsWith(const std::string &text, const std::string &end) {
  return text.size() > end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

}  // namespace

double parseSeconds(const std::string &text) {
  const bool inMilliseconds = endsWith(text, "ms");
  const std::size_t unit = inMilliseconds ? 2 : endsWith(text, "s") ? 1 : 0;
  const auto number = readNumber(text.substr(0, text.size() - unit));
  const double seconds = number ? *number / (inMilliseconds ? 1000.0 : 1.0) : -1.0;
  if (!(seconds >= 0.0 && seconds <= maxSeconds))
    throw ValueError("'" + text + "' is not a length of time; write 1.5s or 250ms, up to " + formatNumber(maxSeconds) +
                     " seconds");
  return seconds;
}

std::string formatSeconds(double seconds) { return formatNumber(seconds) + "s"; }

}  // namespace pyrelux
