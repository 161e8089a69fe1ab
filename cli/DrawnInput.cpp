#include "DrawnInput.h"

#include <array>
#include <utility>

#include "CapturedErrors.h"
#include "Colour.h"
#include "Message.h"
#include "TestPattern.h"
#include "UsageError.h"

namespace pyrelux::cli {

namespace {

std::array<double, 3> parseTextColour(const std::string &text) {
  if (const auto colour = parseColour("text-color", text)) return *colour;
  throw UsageError("'text-color' can't be '" + text + "': it takes a colour, #rrggbb or r,g,b in 0..1");
}

/// With line feeds for the "\n" that people type where a line feed is hard to.
std::string withLineFeeds(std::string text) {
  for (std::size_t at = 0; (at = text.find("\\n", at)) != std::string::npos; ++at) text.replace(at, 2, "\n");
  return text;
}

}  // namespace

DrawnTitle drawTitleAloud(const Title &title) {
  media::CapturedErrors lines("Fontconfig ");
  DrawnTitle drawn = drawTitle(title);
  for (const std::string &line : lines.end()) say(line);
  return drawn;
}

Image drawInput(const RenderOptions &options, const PictureSize &size, bool isDeep) {
  if (options.testPattern) return testPattern(*options.testPattern, size.width, size.height, isDeep);

  Title title;
  title.text = withLineFeeds(*options.text);
  title.font = options.font;
  if (options.textColour) title.colour = parseTextColour(*options.textColour);
  title.width = size.width;
  title.height = size.height;
  title.isDeep = isDeep;
  try {
    DrawnTitle drawn = drawTitleAloud(title);
    for (const std::string &remark : drawn.remarks) say(remark);
    return std::move(drawn.picture);
  } catch (const TitleError &error) {
    throw UsageError(error.what());
  }
}

}  // namespace pyrelux::cli
