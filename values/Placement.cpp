#include "Placement.h"

#include <cmath>
#include <vector>

#include "Joined.h"
#include "Numbers.h"
#include "ValueError.h"

namespace pyrelux {

namespace {

constexpr double maxPercent = 1000.0;
constexpr double maxLengthPixels = 16384.0;

std::optional<Length> readLength(const std::string &text) {
  Length length;
  if (const auto percent = readNumberBefore("%", text)) {
    length = {*percent, true};
  } else if (const auto pixels = readNumberBefore("px", text)) {
    length = {*pixels, false};
  } else if (const auto number = readNumber(text)) {
    length = {*number, false};
  } else {
    return std::nullopt;
  }
  const bool isInRange = length.amount >= 0.0 && length.amount <= (length.isPercent ? maxPercent : maxLengthPixels);
  return isInRange ? std::optional<Length>(length) : std::nullopt;
}

std::vector<std::string> splitAtCommas(const std::string &text) {
  std::vector<std::string> parts(1);
  for (const char letter : text) {
    if (letter == ',')
      parts.emplace_back();
    else
      parts.back() += letter;
  }
  return parts;
}

[[noreturn]] void refusePadding(const std::string &text) {
  throw ValueError("'" + text +
                   "' is not room around a picture; write auto, or one to four lengths like 40,10% (pixels, or percent "
                   "of the picture's height, for top, right, bottom, left)");
}

}  // namespace

Placement parsePlacement(const std::string &text) {
  if (text == "center") return {};
  const auto numbers = readNumbers(text, 2);
  const auto isInRange = [](double percent) { return std::abs(percent) <= maxPercent; };
  if (!numbers || !isInRange((*numbers)[0]) || !isInRange((*numbers)[1]))
    throw ValueError("'" + text + "' is not a place; write center, or X,Y in percent from the left and the bottom");
  return {(*numbers)[0], (*numbers)[1]};
}

std::string formatPlacement(const Placement &placement) {
  return formatNumber(placement.x) + "," + formatNumber(placement.y);
}

CanvasFit parseCanvasFit(const std::string &text) {
  if (text == "none") return {};
  if (text == "contain") return {100.0};
  const auto percent = readNumberBefore("%", text);
  if (!percent || !(*percent > 0.0 && *percent <= maxPercent))
    throw ValueError("'" + text + "' is not a size on a canvas; write none, contain or a share like 80%");
  return {*percent};
}

std::string formatCanvasFit(const CanvasFit &fit) { return fit.percent ? formatNumber(*fit.percent) + "%" : "none"; }

int Length::pixels(int whole) const {
  return static_cast<int>(std::lround(isPercent ? amount / 100.0 * whole : amount));
}

Padding parsePadding(const std::string &text) {
  if (text == "auto") return {true, {}};
  std::vector<Length> lengths;
  for (const std::string &part : splitAtCommas(text)) {
    const auto length = readLength(part);
    if (!length) refusePadding(text);
    lengths.push_back(*length);
  }
  if (lengths.size() > 4) refusePadding(text);
  const Length &top = lengths[0];
  const Length &right = lengths.size() > 1 ? lengths[1] : top;
  const Length &bottom = lengths.size() > 2 ? lengths[2] : top;
  const Length &left = lengths.size() > 3 ? lengths[3] : right;
  return {false, {top, right, bottom, left}};
}

std::string formatPadding(const Padding &padding) {
  if (padding.isAuto) return "auto";
  std::vector<std::string> texts;
  for (const Length &length : padding.sides)
    texts.push_back(formatNumber(length.amount) + (length.isPercent ? "%" : ""));
  return joined(texts, ",");
}

}  // namespace pyrelux
