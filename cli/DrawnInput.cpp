#include "DrawnInput.h"

#include <algorithm>
#include <utility>

#include "FrameRange.h"
#include "HostError.h"
#include "Message.h"
#include "ParameterText.h"
#include "PictureSize.h"
#include "TestPattern.h"
#include "Title.h"

namespace pyrelux::cli {

namespace {

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
  const PictureSize size = options.size ? parseSize(*options.size) : PictureSize();
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
