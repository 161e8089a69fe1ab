#include "Provenance.h"

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <vector>

#include "Fingerprint.h"
#include "Project.h"

namespace fs = std::filesystem;

namespace pyrelux::job {

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

std::string provenanceOf(const RenderRequest &request, const Background *background, const Fire &fire,
                         const host::FrameSettings &settings, const std::string &backend, int bits) {
  nlohmann::ordered_json json = {
      {"pyrelux", PYRELUX_VERSION}, {"renderer", backend}, {"pixelAspect", settings.pixelAspect}, {"bits", bits}};
  if (request.scene.inputMatte) json["inputAlpha"] = project::formatInputMatte(*request.scene.inputMatte);
  if (request.deinterlace) json["deinterlace"] = true;
  if (request.variableRate) json["vfr"] = wordFor(variableRateWords(), *request.variableRate);
  if (!request.codec.empty()) json["codec"] = request.codec;
  if (request.alpha) json["alpha"] = wordFor(alphaWords(), *request.alpha);
  if (request.crf) json["crf"] = *request.crf;
  if (request.quality) json["quality"] = *request.quality;
  if (request.loopCount) json["loopCount"] = *request.loopCount;
  if (request.density) json["density"] = *request.density;
  if (background) {
    const media::Reader *reader = background->reader();
    const std::string &asked = request.background->askedAs;
    json["over"] = {{"name", asked.empty() ? background->name() : asked},
                    {"changed", lastChange(reader ? reader->files() : std::vector<std::string>())}};
    if (request.background->fit) json["over"]["fit"] = wordFor(fitWords(), *request.background->fit);
    if (request.background->isLooped) json["over"]["loop"] = true;
    if (request.scene.frameRate) json["over"]["fps"] = formatFrameRate(*request.scene.frameRate);
  }
  if (fire.time.origin != 0.0 || fire.time.scale != 1.0) json["time"] = {fire.time.origin, fire.time.scale};
  if (fire.burn != project::Burn::Art) json["burn"] = *project::sceneField("burn").format(request.scene);
  if (fire.loop) json["loop"] = {fire.loop->frames.first, fire.loop->frames.last, fire.loop->blend};
  project::Project project;
  project.parameters = project::parametersInForce(fire.parameters);
  json["project"] = nlohmann::ordered_json::parse(project::formatProject(project, fire.parameters.declarations()));
  // In ASCII, as headers of files want it.
  return json.dump(-1, ' ', true);
}

std::string recordOfAll(const media::OutputFormat &format, const FrameList &frames, Sources &sources) {
  nlohmann::ordered_json json = {{"record", format.record},
                                 {"frames", formatFrames(frames)},
                                 {"fps", formatFrameRate(format.frameRate)},
                                 {"size", {format.width, format.height}},
                                 {"audio", format.audioFrom}};
  const std::vector<std::string> files = sources.input().files();
  if (files.empty())
    json["picture"] = record::Fingerprint().add(*sources.input().share(frames.first())).text();
  else
    json["input"] = {files, lastChange(files)};
  return json.dump(-1, ' ', true);
}

}  // namespace pyrelux::job
