#include "RenderRecord.h"

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <vector>

#include "BackendChoice.h"
#include "Project.h"

namespace fs = std::filesystem;

namespace pyrelux::cli {

namespace {

/// When the newest of the files was changed, in ticks of the file system's clock; its least time for none.
std::int64_t lastChange(const std::vector<std::string> &files) {
  auto newest = fs::file_time_type::min();
  for (const std::string &file : files) {
    std::error_code error;
    const auto time = fs::last_write_time(file, error);
    if (!error) newest = std::max(newest, time);
  }
  return newest.time_since_epoch().count();
}

}  // namespace

std::string recordOf(const RenderOptions &options, const Background *background, const host::ParameterSet &parameters,
                     const host::FrameSettings &settings, std::int32_t backendId, int bits) {
  nlohmann::ordered_json json = {{"pyrelux", PYRELUX_VERSION},
                                 {"renderer", host::backendName(backendId)},
                                 {"pixelAspect", settings.pixelAspect},
                                 {"bits", bits}};
  if (options.inputAlpha) json["inputAlpha"] = *options.inputAlpha;
  if (options.deinterlace) json["deinterlace"] = true;
  if (options.vfr) json["vfr"] = *options.vfr;
  if (!options.codec.empty()) json["codec"] = options.codec;
  if (options.alpha) json["alpha"] = *options.alpha;
  if (options.density) json["density"] = *options.density;
  if (background) {
    const media::Reader *reader = background->reader();
    json["over"] = {{"name", *options.over},
                    {"changed", lastChange(reader ? reader->files() : std::vector<std::string>())}};
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
