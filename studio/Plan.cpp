#include "Plan.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "InputSource.h"
#include "OwnParameters.h"
#include "Settings.h"

namespace pyrelux::studio {

namespace {

class Remarks : public job::RenderListener {
 public:
  void remark(const std::string &text) override { texts.push_back(text); }
  void warn(const std::string &text) override { texts.push_back(text); }

  std::vector<std::string> texts;
};

/// Whether the field decides which pictures come from the sources.
bool decidesSources(const project::SceneField &field, bool hasBackground) {
  if (field.isLook || field.key == "frames" || field.key == "duration" || field.key == "bits") return false;
  return field.key != "fps" || hasBackground;
}

std::string keyOf(const job::ReadRequest &read) {
  const job::RenderRequest &request = read.request;
  // Of an automatic padding the room is part of the sources, and depends on all there is.
  if (request.scene.pad && request.scene.pad->isAuto) return {};
  nlohmann::json key = {{"input", request.input.value_or("")},
                        {"pattern", request.testPattern.value_or("")},
                        {"bits", read.drawBits},
                        {"over", request.background ? request.background->name : ""}};
  for (const project::SceneField &field : project::sceneFields())
    if (const auto text = field.format(request.scene); text && decidesSources(field, request.background.has_value()))
      key["scene"][field.key] = *text;
  return key.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace

std::shared_ptr<const Plan> makePlan(const job::RenderRequest &request, const Plan *earlier, host::Filter &filter) {
  job::ReadRequest read = job::readRequest(request, filter);
  const std::string key = keyOf(read);
  Remarks remarks;
  std::shared_ptr<OpenSources> open;
  if (earlier && !key.empty() && earlier->open->key == key) {
    open = earlier->open;
  } else {
    open = std::make_shared<OpenSources>(read.request, read.drawBits, remarks);
    open->key = key;
    open->remarks = std::exchange(remarks.texts, {});
  }
  const std::lock_guard<std::mutex> lock(open->mutex);
  job::Sources &sources = open->sources;
  job::Background *const background = sources.background();
  FrameList frames = job::chooseFrames(read.request, sources.info(), background, true);
  const FrameRate rate = job::chooseRate(read.request, background, sources.info().frameRate);
  job::PlannedFire planned = job::planFireOf(read, sources, frames, filter, remarks, job::StopToken());
  const media::InputInfo info = sources.info();
  if (background) background->prepare({info.width, info.height, info.pixelAspect}, rate);
  std::vector<std::string> texts = open->remarks;
  texts.insert(texts.end(), remarks.texts.begin(), remarks.texts.end());
  return std::make_shared<const Plan>(
      Plan{std::move(read), std::move(open), info, std::move(frames), rate, std::move(planned), std::move(texts)});
}

host::ParameterSet parametersOf(const Content &content, const host::Filter &filter) {
  host::ParameterSet parameters = project::allParameters(filter);
  project::Layers layers;
  layers.project = &content.project;
  project::applyLayers(parameters, layers, {});
  return parameters;
}

}  // namespace pyrelux::studio
