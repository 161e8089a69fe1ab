#include <iostream>
#include <optional>

#include "Commands.h"
#include "Filter.h"
#include "FrameRange.h"
#include "FrameRenderer.h"
#include "Interruption.h"
#include "Look.h"
#include "Media.h"
#include "Progress.h"
#include "RenderInput.h"
#include "Renderers.h"
#include "Timeline.h"

namespace pyrelux::cli {

int render(const RenderOptions &options) {
  // Everything that can be refused is asked before anything is drawn.
  const bool manyFrames = media::Writer::holdsManyFrames(options.output);
  const int bits = options.bits ? std::stoi(*options.bits) : media::Writer::isDeep(options.output) ? 16 : 8;
  host::Filter filter(host::findFilter(host::defaultSearchPath()));
  applyLook(filter.parameters(), options, bits);

  const auto reader = openInput(options, bits);
  const media::InputInfo &input = reader->info();
  const FrameList frames = chooseFrames(options, input, manyFrames);
  if (frames.count() > 1 && !manyFrames)
    throw UsageError("'" + options.output + "' holds one frame, not " + std::to_string(frames.count()) +
                     "; put %04d or #### into its name, or write a movie");

  refuseToReplaceInput(options, input, frames);

  media::OutputFormat format;
  format.width = input.width;
  format.height = input.height;
  format.bits = bits;
  format.frameRate = options.fps ? parseFrameRate(*options.fps) : input.frameRate;

  const std::int32_t rendererId = host::chooseRenderer(options.backend);
  host::FrameRenderer renderer(rendererId);
  if (options.verbose)
    std::cerr << "drawing with " << host::rendererName(rendererId) << ": " << renderer.description() << '\n';
  host::FrameSettings settings;
  settings.floatOutput = bits == 16;
  settings.pixelAspect = input.pixelAspect;

  // From the time on when there is something half written.
  const Interruption interruption;
  const auto writer = media::Writer::open(options.output, format);
  std::optional<Progress> progress(std::in_place, options.progress, frames.count());
  // Stills burn from frame 1.
  host::Timeline timeline(filter, renderer, input.kind == media::InputKind::Still ? 1 : input.firstFrame);
  Image image;
  frames.forEach([&](std::int64_t frame) {
    timeline.render(frame, reader->read(frame), settings, image);
    writer->write(frame, image);
    progress->advance(frame);
    return interruption.signal() == 0;
  });
  writer->finish();
  const std::int64_t done = progress->done();
  progress.reset();
  if (done == frames.count()) return 0;
  std::cerr << "pyrelux: interrupted after " << done << " of " << frames.count() << " frames; '" << options.output
            << "' holds what was finished\n";
  return exitCodeOf(interruption.signal());
}

}  // namespace pyrelux::cli
