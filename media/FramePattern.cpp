#include "FramePattern.h"

#include <algorithm>

#include "MediaErrors.h"

namespace pyrelux::media {

namespace {

constexpr const char *decimals = "0123456789";

/// The place of a number in a file's name.
struct Place {
  std::size_t size = 0;  // in characters; 0 if there is none
  std::size_t minimumDigits = 1;
};

Place placeAt(const std::string &name, std::size_t position) {
  const auto endOfRun = [&name](const char *characters, std::size_t start) {
    return std::min(name.find_first_not_of(characters, start), name.size());
  };
  const std::size_t hashes = endOfRun("#", position) - position;
  if (hashes > 0) return {hashes, hashes};
  if (name.compare(position, 2, "%d") == 0) return {2, 1};
  if (name.compare(position, 2, "%0") != 0) return {};
  // More digits than two are no width that a name could have.
  const std::size_t widthStart = position + 2;
  const std::size_t widthEnd = endOfRun(decimals, widthStart);
  if (widthEnd == widthStart || widthEnd > widthStart + 2 || name[widthEnd] != 'd') return {};
  return {widthEnd + 1 - position, std::stoul(name.substr(widthStart, widthEnd - widthStart))};
}

}  // namespace

FramePattern::FramePattern(const std::string &path) {
  const std::size_t slash = path.rfind('/');
  const std::size_t nameStart = slash == std::string::npos ? 0 : slash + 1;
  folder_ = path.substr(0, nameStart);
  const std::string name = path.substr(nameStart);

  std::string *literal = &before_;
  for (std::size_t position = 0; position < name.size();) {
    if (name.compare(position, 2, "%%") == 0) {
      literal->push_back('%');
      position += 2;
    } else if (const Place place = placeAt(name, position); place.size > 0) {
      if (isNumbered_) throw MediaError("'" + path + "' has more than one place for a frame number");
      isNumbered_ = true;
      minimumDigits_ = place.minimumDigits;
      literal = &after_;
      position += place.size;
    } else {
      literal->push_back(name[position++]);
    }
  }
}

std::string FramePattern::digits(std::int64_t frame) const {
  if (!isNumbered_) return {};
  const std::string number = std::to_string(frame);
  return std::string(minimumDigits_ - std::min(minimumDigits_, number.size()), '0') + number;
}

std::string FramePattern::unnumberedName() const {
  const std::string before = before_.substr(0, before_.find_last_not_of("._- ") + 1);
  return (before.empty() ? "frames" : before) + after_;
}

std::optional<std::int64_t> FramePattern::frameOf(const std::string &fileName) const {
  const std::size_t literalSize = before_.size() + after_.size();
  if (!isNumbered_ || fileName.size() <= literalSize) return std::nullopt;
  const std::string number = fileName.substr(before_.size(), fileName.size() - literalSize);
  // More significant digits than 18 would not fit into 64 bits; nobody numbers frames like that.
  const std::size_t significant = number.size() - std::min(number.find_first_not_of('0'), number.size());
  if (number.find_first_not_of(decimals) != std::string::npos || significant > 18) return std::nullopt;
  const std::int64_t frame = std::stoll(number);
  if (before_ + digits(frame) + after_ != fileName) return std::nullopt;
  return frame;
}

}  // namespace pyrelux::media
