#include "ProjectFile.h"

#include "MediaErrors.h"
#include "PictureSize.h"
#include "TextFile.h"

namespace pyrelux::cli {

Project loadProject(const RenderOptions &options, const std::vector<host::ParameterDeclaration> &declarations) {
  if (!options.project) return {};
  const std::string text = media::readText(*options.project, longestProject);
  try {
    return parseProject(text, declarations);
  } catch (const ProjectError &error) {
    media::failReading(*options.project, error.what());
  }
}

RenderOptions withProject(RenderOptions options, const Project &project) {
  const auto fill = [](std::optional<std::string> &option, const std::optional<std::string> &value) {
    if (!option) option = value;
  };
  fill(options.preset, project.preset);
  fill(options.size, project.size);
  fill(options.frames, project.frames);
  fill(options.fps, project.fps);
  fill(options.bits, project.bits);
  return options;
}

void saveProject(const RenderOptions &options, const host::ParameterSet &parameters, const media::InputInfo &input,
                 const FrameList &frames, const FrameRate &rate) {
  Project project;
  if (!options.input) project.size = formatSize({input.width, input.height});
  project.frames = formatFrames(frames);
  project.fps = formatFrameRate(rate);
  // What follows from the output otherwise.
  project.bits = options.bits;
  project.parameters = parametersInForce(parameters);
  media::writeText(*options.saveProject, formatProject(project, parameters.declarations()));
}

}  // namespace pyrelux::cli
