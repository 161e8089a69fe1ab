#include <optional>

#include "BackendChoice.h"
#include "Commands.h"
#include "Filter.h"
#include "FrameList.h"
#include "FrameRenderer.h"
#include "FrameSink.h"
#include "Interruption.h"
#include "Look.h"
#include "Manifest.h"
#include "Message.h"
#include "OutputGuard.h"
#include "Pipeline.h"
#include "Progress.h"
#include "ProjectFile.h"
#include "Reader.h"
#include "RenderInput.h"
#include "RenderOutput.h"
#include "RenderRecord.h"
#include "RunUpNotice.h"
#include "Timeline.h"
#include "UsageError.h"
#include "Writer.h"

namespace pyrelux::cli {

int render(const RenderOptions &given) {
  // Everything that can be refused is asked before anything is drawn.
  host::Filter filter(host::findFilter(host::defaultSearchPath()));
  const Project project = loadProject(given, filter.parameters().declarations());
  const RenderOptions options = withProject(given, project);
  const bool manyFrames = media::Writer::holdsManyFrames(options.output);
  const int bits = chooseBits(options);
  const int drawBits = applyLook(filter.parameters(), options, project);

  std::optional<Background> opened = Background::open(options);
  Background *const background = opened ? &*opened : nullptr;
  const auto reader = openInput(options, drawBits, background);
  const media::InputInfo &input = reader->info();
  const FrameList frames = chooseFrames(options, input, background, manyFrames);
  const bool isSequence = media::Writer::isSequence(options.output);
  if (options.resume && !isSequence)
    throw UsageError("--resume is for numbered sequences, and '" + options.output + "' is none");
  if (frames.count() > 1 && !manyFrames)
    throw UsageError("'" + options.output + "' holds one frame, not " + std::to_string(frames.count()) +
                     "; put %04d or #### into its name, or write a movie");

  refuseToReplaceSource(*reader, "input", options, frames);
  if (background && background->reader()) refuseToReplaceSource(*background->reader(), "background", options, frames);
  refuseToReplaceOutput(options, frames);

  media::OutputFormat format = chooseFormat(options, input, background, frames, bits);
  if (background) background->prepare({input.width, input.height, input.pixelAspect}, format.frameRate);

  const std::int32_t backendId = host::chooseBackend(options.backend);
  host::FrameRenderer renderer(backendId);
  if (options.verbose) say(std::string("drawing with ") + host::backendName(backendId) + ": " + renderer.description());
  host::FrameSettings settings;
  settings.floatOutput = drawBits == 16;
  settings.pixelAspect = input.pixelAspect;

  format.record = recordOf(options, background, filter.parameters(), settings, backendId, bits);
  std::optional<Manifest> manifest;
  std::string writtenOrigin;
  if (isSequence) {
    manifest.emplace(options.output, format.record);
    format.publish = [&](const media::NewPicture &picture) { manifest->add(picture, writtenOrigin); };
  }

  // From the time on when there is something half written.
  const Interruption interruption;
  const auto writer = media::Writer::open(options.output, format);
  if (options.saveProject) saveProject(options, filter.parameters(), input, frames, format.frameRate);
  std::optional<Progress> progress(std::in_place, options.progress, frames.count());
  // Stills burn from frame 1.
  const bool isStill = input.kind == media::InputKind::Still;
  host::Timeline timeline(filter, renderer, isStill ? 1 : input.firstFrame);
  timeline.setRunUpListener(RunUpNotice([&](const std::string &message) {
    if (!options.quiet) progress->say(message);
  }));
  FrameSink sink(*writer, isSequence, *progress);

  std::shared_ptr<const Image> picture;
  std::string origin;
  Stages stages;
  stages.read = [&](Frame &frame) {
    if (!picture || !isStill) {
      picture = std::make_shared<const Image>(reader->read(frame.number));
      if (manifest) origin = manifest->originOf(*picture);
    }
    frame.input = picture;
    frame.origin = origin;
    frame.isKept = options.resume && manifest->holds(frame.number, origin);
    if (background && !frame.isKept) frame.back = background->behind(frame.number);
  };
  stages.draw = [&](Frame &frame) { timeline.render(frame.number, *frame.input, settings, frame.output); };
  const float density = densityOf(options);
  stages.write = [&](Frame &frame) {
    const bool isLaid = background && !frame.error && !frame.isKept;
    if (isLaid) frame.output = background->lay(frame.output, frame.back.get(), density);
    writtenOrigin = frame.origin;
    sink.take(frame);
  };
  runPipeline(frames, stages, [] { return Interruption::signal() != 0; });

  const bool isInterrupted = sink.done() < frames.count();
  if (!isInterrupted || sink.done() > 0) sink.finish();
  progress.reset();
  sayLosses(options, format.audioFrom, writer->losses());
  if (options.verbose && options.resume)
    say(std::to_string(sink.kept()) + " of " + std::to_string(frames.count()) + " frames were there already");
  if (sink.failed() > 0)
    say(std::to_string(sink.failed()) + " of " + std::to_string(frames.count()) + " frames failed");
  if (isInterrupted) {
    say("interrupted after " + std::to_string(sink.done()) + " of " + std::to_string(frames.count()) + " frames" +
        (sink.done() > 0 ? "; '" + options.output + "' holds what was finished" : ""));
    return exitCodeOf(Interruption::signal());
  }
  return sink.failed() > 0 ? 1 : 0;
}

}  // namespace pyrelux::cli
