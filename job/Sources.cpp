#include "Sources.h"

#include <algorithm>
#include <utility>

#include "InputReaders.h"
#include "InputSource.h"
#include "OutputGuard.h"
#include "Presets.h"
#include "ProjectFile.h"
#include "StandardStream.h"

namespace pyrelux::job {

project::Layers SettingsFiles::layers(const RenderRequest &request) const {
  return {preset ? &*preset : nullptr, project ? &*project : nullptr, request.settings, request.drawBits};
}

SettingsFiles loadSettings(const RenderRequest &request, const std::vector<host::ParameterDeclaration> &declarations) {
  SettingsFiles files;
  if (request.projectInMemory)
    files.project = request.projectInMemory;
  else if (request.project)
    files.project = project::loadProject(*request.project, declarations);
  std::optional<std::string> preset = request.preset;
  if (!preset && files.project) preset = files.project->preset;
  if (preset) files.preset = project::loadPreset(*preset, declarations);
  return files;
}

RenderRequest withSettings(RenderRequest request, const SettingsFiles &files) {
  if (request.input == media::standardInput) request.input = media::standardInputFile();
  if (files.project) {
    project::Scene scene = files.project->scene;
    // What the command line burns comes in the place of the project's text.
    if (request.input || request.testPattern) scene.title = {};
    if (request.scene.title.hasText()) {
      scene.title.text.reset();
      scene.title.textFile.reset();
    }
    project::fillIn(request.scene, scene, false);
  }
  if (files.preset) project::fillIn(request.scene, files.preset->scene, true);
  return request;
}

Sources::Sources(const RenderRequest &request, int drawBits, RenderListener &listener)
    : background_(Background::open(request, listener)), input_(openInput(request, drawBits, background(), listener)) {}

void Sources::putIn(const Room &room) {
  input_ = inRoom(std::move(input_), room);
  titleBox_.reset();
}

PixelBox Sources::titleBox() {
  if (!titleBox_) titleBox_ = findTitle();
  return *titleBox_;
}

PixelBox Sources::findTitle() {
  // Enough to know a movie's title by, and quick to look at.
  constexpr std::int64_t maxLooks = 8;
  if (isStill()) return alphaBox(*input_->share(firstFrame()));
  // A stream's other pictures are not there yet.
  if (info().isStream) return alphaBox(*input_->share(info().firstFrame));
  const std::int64_t count = info().lastFrame - info().firstFrame + 1;
  const std::int64_t looks = std::min(count, maxLooks);
  PixelBox box;
  for (std::int64_t look = 0; look < looks; ++look)
    box = around(box, alphaBox(*input_->share(info().firstFrame + look * count / looks)));
  return box;
}

void Sources::guardOutput(const RenderRequest &request, const FrameList &frames) const {
  refuseToReplaceSource(*input_, "input", request, frames);
  if (background_ && background_->reader())
    refuseToReplaceSource(*background_->reader(), "background", request, frames);
  refuseToReplaceOutput(request, frames);
}

}  // namespace pyrelux::job
