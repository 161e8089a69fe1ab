#include "DrawnInput.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "FrameRange.h"
#include "HostError.h"
#include "Media.h"
#include "Message.h"
#include "ParameterText.h"
#include "TestPattern.h"
#include "Title.h"

namespace pyrelux::cli {

namespace {

struct Size {
  int width = 1920;
  int height = 1080;
};

Size parseSize(const std::string &text) {
  Size size;
  const char *end = text.data() + text.size();
  const auto [cross, widthError] = std::from_chars(text.data(), end, size.width);
  const bool crossed = widthError == std::errc() && cross != end && *cross == 'x';
  const auto [stop, heightError] = crossed ? std::from_chars(cross + 1, end, size.height)
                                           : std::from_chars_result{text.data(), std::errc::invalid_argument};
  if (heightError != std::errc() || stop != end || std::min(size.width, size.height) < 1 ||
      std::max(size.width, size.height) > media::maximumSide ||
      static_cast<std::int64_t>(size.width) * size.height > media::maximumPixels)
    throw UsageError("'--size' can't be '" + text + "': it takes WIDTHxHEIGHT in pixels, 1920x1080, up to " +
                     std::to_string(media::maximumSide) + " on a side and " + std::to_string(media::maximumPixels) +
                     " in all");
  return size;
}

/// Like the colours that --set takes.
std::array<double, 3> parseColour(const std::string &text) {
  host::ParameterDeclaration colour;
  colour.kind = host::ParameterKind::Colour;
  colour.key = colour.label = "Text Color";
  try {
    const host::ParameterValue value = host::parseValue(colour, text);
    if (std::all_of(value.begin(), value.end(), [](double level) { return level >= 0.0 && level <= 1.0; }))
      return value;
  } catch (const host::HostError &error) {
    throw UsageError(error.what());
  }
  throw UsageError("'" + colour.slug() + "' can't be '" + text + "': its levels are in 0..1");
}

/// With line feeds for the "\n" that people type where a line feed is hard to.
std::string withLineFeeds(std::string text) {
  for (std::size_t at = 0; (at = text.find("\\n", at)) != std::string::npos; ++at) text.replace(at, 2, "\n");
  return text;
}

}  // namespace

Image drawInput(const RenderOptions &options, bool isDeep) {
  const Size size = options.size ? parseSize(*options.size) : Size();
  if (options.testPattern) return testPattern(*options.testPattern, size.width, size.height, isDeep);

  Title title;
  title.text = withLineFeeds(*options.text);
  title.font = options.font;
  if (options.textColour) title.colour = parseColour(*options.textColour);
  title.width = size.width;
  title.height = size.height;
  title.isDeep = isDeep;
  try {
    DrawnTitle drawn = drawTitle(title);
    for (const std::string &remark : drawn.remarks) say(remark);
    return std::move(drawn.picture);
  } catch (const TitleError &error) {
    throw UsageError(error.what());
  }
}

}  // namespace pyrelux::cli
