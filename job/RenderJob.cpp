#include "RenderJob.h"

#include <algorithm>
#include <memory>
#include <optional>

#include "BackendChoice.h"
#include "Cores.h"
#include "Filter.h"
#include "FireDrawer.h"
#include "FramePipeline.h"
#include "FrameRenderer.h"
#include "FrameSink.h"
#include "Manifest.h"
#include "OutputGuard.h"
#include "OutputPlan.h"
#include "PreRollWatch.h"
#include "ProjectFile.h"
#include "Provenance.h"
#include "RenderPlan.h"
#include "TouchedBorders.h"
#include "Writer.h"

namespace pyrelux::job {

namespace {

/// Saves all settings that are in force. `parameters`: with the keyframes of a fire that catches and goes out.
void saveSettings(const RenderRequest &request, const host::ParameterSet &parameters, const media::InputInfo &input,
                  const FrameList &frames, bool endsWithInput, const FrameRate &rate) {
  if (!request.saveProject) return;
  project::Project project;
  project.scene = request.scene;
  project.scene.ignite = project.scene.die = project.scene.duration = std::nullopt;
  if (request.input)
    project.scene.size = std::nullopt;
  else if (!request.scene.canvas && !request.scene.pad)
    project.scene.size = PictureSize{input.width, input.height};
  if (!endsWithInput) project.scene.frames = frames;
  project.scene.frameRate = rate;
  project.parameters = project::parametersInForce(parameters);
  project::saveProject(*request.saveProject, project, parameters.declarations());
}

/// Pictures of a sequence that are encoded at a time. Each has a frame in memory, which is 133 megabytes at 3840x2160.
constexpr int mostEncoders = 4;

/// What is done to each frame, and what it takes.
class Rendering {
 public:
  Rendering(const RenderRequest &request, Sources &sources, bool endsWithInput, FireDrawer &drawer,
            std::optional<record::Manifest> &manifest, media::Writer &writer, FrameSink &sink)
      : request_(request),
        sources_(sources),
        endsWithInput_(endsWithInput),
        drawer_(drawer),
        manifest_(manifest),
        writer_(writer),
        sink_(sink),
        density_(densityOf(request)) {}

  Stages stages() {
    return {[this](Frame &frame) { read(frame); }, [this](Frame &frame) { draw(frame); },
            [this](Frame &frame) { encode(frame); }, [this](Frame &frame) { write(frame); }};
  }

  void remarkTouchedBorders(RenderListener &listener) const { borders_.remark(listener); }

  /// Whether the input's end has ended the frames.
  bool hasEnded() const { return hasEnded_; }

  /// Of the picture that is being written.
  const std::string &sourceFingerprint() const { return writtenFingerprint_; }

 private:
  void read(Frame &frame) {
    try {
      readPicture(frame);
    } catch (const media::EndOfStream &) {
      if (!endsWithInput_) throw;
      frame.isEnd = hasEnded_ = true;
    }
  }

  void readPicture(Frame &frame) {
    if (request_.drawn) {
      frame.output = request_.drawn(frame.number);
      return;
    }
    if (!picture_ || !sources_.isStill()) {
      picture_ = sources_.input().share(frame.number);
      if (manifest_) readFingerprint_ = manifest_->sourceFingerprintOf(*picture_);
    }
    frame.input = picture_;
    frame.sourceFingerprint = readFingerprint_;
    frame.isKept = request_.existing == Existing::Resume && manifest_->holds(frame.number, readFingerprint_);
    if (sources_.background() && !frame.isKept) frame.back = sources_.background()->behind(frame.number);
  }

  void draw(Frame &frame) {
    if (request_.drawn) return;
    drawer_.draw(frame.number, *frame.input, frame.output);
    borders_.look(frame.number, *frame.input, frame.output);
  }

  void encode(Frame &frame) {
    if (sources_.background() && !request_.drawn)
      frame.output = sources_.background()->lay(frame.output, frame.back.get(), density_);
    frame.store = writer_.prepare(frame.number, frame.output);
  }

  void write(Frame &frame) {
    writtenFingerprint_ = frame.sourceFingerprint;
    sink_.take(frame);
    frame.store = nullptr;
  }

  const RenderRequest &request_;
  Sources &sources_;
  bool endsWithInput_;
  bool hasEnded_ = false;
  FireDrawer &drawer_;
  std::optional<record::Manifest> &manifest_;
  media::Writer &writer_;
  FrameSink &sink_;
  float density_;
  std::shared_ptr<const Image> picture_;  // read last
  std::string readFingerprint_;
  std::string writtenFingerprint_;
  TouchedBorders borders_;
};

}  // namespace

RenderResult RenderJob::run(RenderListener &listener, const StopToken &stop) {
  host::Filter filter(host::findFilter(host::defaultSearchPath()));
  RenderPlan plan = planRender(request_, filter, listener, stop);
  const RenderRequest &request = plan.request;
  Sources &sources = plan.sources;
  const media::InputInfo &input = sources.info();
  const FrameList &frames = plan.frames;
  media::OutputFormat &format = plan.format;

  const std::int32_t backendId = host::chooseBackend(request.backend);
  const std::string backend = host::backendName(backendId);
  host::FrameRenderer frameRenderer(backendId);
  listener.backendChosen(backend, frameRenderer.description());
  host::FrameSettings settings;
  settings.floatOutput = plan.drawBits == 16;
  settings.pixelAspect = input.pixelAspect;

  format.record = provenanceOf(request, sources.background(), plan.fire, settings, backend, plan.bits);
  if (request.isThere && request.isThere(recordOfAll(format, frames, sources)))
    return {frames.count(), 0, frames.count(), 0};
  if (request.makeFolders) makeFoldersOf(request.output);
  removeLeftovers(request.output, listener);
  const bool isSequence = media::Writer::isSequence(request.output);
  std::optional<record::Manifest> manifest;
  if (isSequence) manifest.emplace(request.output, format.record);
  const Rendering *rendering = nullptr;
  if (manifest)
    format.publish = [&](const media::NewPicture &picture) { manifest->add(picture, rendering->sourceFingerprint()); };

  listener.started(plan.endsWithInput ? 0 : plan.part.count());
  const auto writer = media::Writer::open(request.output, format);
  saveSettings(request, plan.parameters, input, frames, plan.endsWithInput, format.frameRate);
  FireDrawer drawer(filter, frameRenderer, plan.fire, settings, sources.firstFrame(), PreRollWatch(listener, stop));
  FrameSink sink(*writer, isSequence, listener);
  Rendering stages(request, sources, plan.endsWithInput, drawer, manifest, *writer, sink);
  rendering = &stages;
  runPipeline(plan.part, stages.stages(), stop, isSequence ? std::min(coresInUse(), mostEncoders) : 1);

  RenderResult result{plan.part.count(), sink.rendered(), sink.kept(), sink.failed()};
  if (plan.endsWithInput) result.frames = result.done();
  result.isStopped = plan.endsWithInput ? !stages.hasEnded() : result.done() < result.frames;
  if (!result.isStopped || result.done() > 0) sink.finish();
  listener.finished();
  remarkLosses(format.audioFrom, writer->losses(), listener);
  // An automatic padding has said already where it ends.
  if (!request.scene.pad || !request.scene.pad->isAuto) stages.remarkTouchedBorders(listener);
  return result;
}

}  // namespace pyrelux::job
