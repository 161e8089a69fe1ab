#include "DrawnInput.h"

#include <utility>

#include "CapturedErrors.h"
#include "MediaErrors.h"
#include "TestPattern.h"
#include "TextFile.h"
#include "ValueError.h"

namespace pyrelux::job {

namespace {

/// As it stands in the file, without the end of its last line.
std::string readTextFile(const std::string &path) {
  std::string text = media::readUtf8(path, maxTitleBytes);
  for (std::size_t at = 0; (at = text.find("\r\n", at)) != std::string::npos;) text.erase(at, 1);
  if (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

Title titleOf(const project::TitleFields &fields, const PictureSize &size, bool isDeep) {
  Title title;
  title.text = fields.textFile ? readTextFile(*fields.textFile) : *fields.text;
  title.font = fields.font;
  title.fontFile = fields.fontFile;
  if (fields.colour) title.colour = *fields.colour;
  title.width = size.width;
  title.height = size.height;
  title.isDeep = isDeep;
  if (fields.position) title.position = *fields.position;
  if (fields.align) title.align = *fields.align;
  title.lineSpacing = fields.lineSpacing;
  title.letterSpacing = fields.letterSpacing.value_or(0.0);
  title.wrap = fields.wrap;
  return title;
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

  const project::TitleFields &fields = request.scene.title;
  try {
    DrawnTitle drawn = drawTitleWithWarnings(titleOf(fields, size, isDeep), listener);
    for (const std::string &remark : drawn.remarks) {
      if (fields.strictFonts.value_or(false))
        throw ValueError(remark + "; give another --font or --font-file, or leave --strict-fonts out");
      listener.warn(remark);
    }
    return std::move(drawn.picture);
  } catch (const FontFileError &error) {
    media::failReading(*fields.fontFile, error.what());
  } catch (const TitleError &error) {
    throw ValueError(fields.textFile ? "'" + *fields.textFile + "': " + error.what() : error.what());
  }
}

}  // namespace pyrelux::job
