#include "Sources.h"

#include "InputSource.h"
#include "OutputGuard.h"
#include "Presets.h"
#include "ProjectFile.h"

namespace pyrelux::job {

project::Layers SettingsFiles::layers(const RenderRequest &request) const {
  return {preset ? &*preset : nullptr, project ? &*project : nullptr, request.settings, request.drawBits};
}

SettingsFiles loadSettings(const RenderRequest &request, const std::vector<host::ParameterDeclaration> &declarations) {
  SettingsFiles files;
  if (request.project) files.project = project::loadProject(*request.project, declarations);
  std::optional<std::string> preset = request.preset;
  if (!preset && files.project) preset = files.project->preset;
  if (preset) files.preset = project::loadPreset(*preset, declarations);
  return files;
}

RenderRequest withSettings(RenderRequest request, const SettingsFiles &files) {
  if (!files.project) return request;
  const project::Project &project = *files.project;
  if (!request.size) request.size = project.size;
  if (!request.frames) request.frames = project.frames;
  if (!request.frameRate) request.frameRate = project.frameRate;
  if (!request.bits) request.bits = project.bits;
  return request;
}

Sources::Sources(const RenderRequest &request, int drawBits, RenderListener &listener)
    : background_(Background::open(request, listener)), input_(openInput(request, drawBits, background(), listener)) {}

void Sources::guardOutput(const RenderRequest &request, const FrameList &frames) const {
  refuseToReplaceSource(*input_, "input", request, frames);
  if (background_ && background_->reader())
    refuseToReplaceSource(*background_->reader(), "background", request, frames);
  refuseToReplaceOutput(request, frames);
}

}  // namespace pyrelux::job
