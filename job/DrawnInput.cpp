#include "DrawnInput.h"

#include <utility>

#include "CapturedErrors.h"
#include "TestPattern.h"
#include "ValueError.h"

namespace pyrelux::job {

namespace {

/// With line feeds for the "\n" that people type where a line feed is hard to.
std::string withLineFeeds(std::string text) {
  for (std::size_t at = 0; (at = text.find("\\n", at)) != std::string::npos; ++at) text.replace(at, 2, "\n");
  return text;
}

}  // namespace

DrawnTitle drawTitleWithWarnings(const Title &title, RenderListener &listener) {
  media::CapturedErrors lines("Fontconfig ");
  DrawnTitle drawn = drawTitle(title);
  for (const std::string &line : lines.end()) listener.warn(line);
  return drawn;
}

Image drawInput(const RenderRequest &request, const PictureSize &size, bool isDeep, RenderListener &listener) {
  if (request.testPattern) return testPattern(*request.testPattern, size.width, size.height, isDeep);

  Title title;
  title.text = withLineFeeds(*request.text);
  title.font = request.font;
  if (request.textColour) title.colour = *request.textColour;
  title.width = size.width;
  title.height = size.height;
  title.isDeep = isDeep;
  try {
    DrawnTitle drawn = drawTitleWithWarnings(title, listener);
    for (const std::string &remark : drawn.remarks) listener.warn(remark);
    return std::move(drawn.picture);
  } catch (const TitleError &error) {
    throw ValueError(error.what());
  }
}

}  // namespace pyrelux::job
