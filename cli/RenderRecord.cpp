#include "RenderRecord.h"

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "FramePattern.h"
#include "Project.h"
#include "Renderers.h"

namespace fs = std::filesystem;

namespace pyrelux::cli {

namespace {

/// When the newest file of a background was changed, in ticks of the file system's clock; its least time for a colour.
std::int64_t lastChange(const std::string &background, const FrameList &frames) {
  auto newest = fs::file_time_type::min();
  const auto look = [&newest](const fs::path &path) {
    std::error_code error;
    const auto time = fs::last_write_time(path, error);
    if (!error) newest = std::max(newest, time);
  };
  std::error_code error;
  const fs::path asItStands(background);
  if (fs::exists(asItStands, error)) {
    look(asItStands);
  } else {
    const media::FramePattern pattern(background);
    if (!pattern.isNumbered()) look(pattern.path(0));
    for (fs::directory_iterator entry(pattern.folder(), error), end; !error && entry != end; entry.increment(error))
      if (const auto frame = pattern.frameOf(entry->path().filename().string()); frame && frames.contains(*frame))
        look(entry->path());
  }
  return newest.time_since_epoch().count();
}

}  // namespace

std::string recordOf(const RenderOptions &options, const FrameList &frames, const host::ParameterSet &parameters,
                     const host::FrameSettings &settings, std::int32_t rendererId, int bits) {
  nlohmann::ordered_json json = {{"pyrelux", PYRELUX_VERSION},
                                 {"renderer", host::rendererName(rendererId)},
                                 {"pixelAspect", settings.pixelAspect},
                                 {"bits", bits}};
  if (options.inputAlpha) json["inputAlpha"] = *options.inputAlpha;
  if (options.deinterlace) json["deinterlace"] = true;
  if (options.vfr) json["vfr"] = *options.vfr;
  if (!options.codec.empty()) json["codec"] = options.codec;
  if (options.alpha) json["alpha"] = *options.alpha;
  if (options.density) json["density"] = *options.density;
  if (options.over) {
    json["over"] = {{"name", *options.over}, {"changed", lastChange(*options.over, frames)}};
    if (options.overFit) json["over"]["fit"] = *options.overFit;
    if (options.overLoop) json["over"]["loop"] = true;
    if (options.fps) json["over"]["fps"] = *options.fps;
  }
  Project project;
  project.parameters = parametersInForce(parameters);
  json["project"] = nlohmann::ordered_json::parse(formatProject(project, parameters.declarations()));
  // In ASCII, as headers of files want it.
  return json.dump(-1, ' ', true);
}

}  // namespace pyrelux::cli
