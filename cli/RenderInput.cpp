#include "RenderInput.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "CanvasReader.h"
#include "DrawnInput.h"
#include "Message.h"
#include "PictureSize.h"
#include "UsageError.h"
#include "Writer.h"

namespace pyrelux::cli {

namespace {

/// What a still is rendered to when no frames are asked for.
constexpr FrameRange stillToMovie{1, 48};
constexpr FrameRange stillToStill{1, 1};

media::InputAlpha inputAlphaOf(const RenderOptions &options) {
  const std::string name = options.inputAlpha.value_or("auto");
  if (name == "straight") return media::InputAlpha::Straight;
  if (name == "premultiplied") return media::InputAlpha::Premultiplied;
  if (name == "none") return media::InputAlpha::None;
  return media::InputAlpha::Auto;
}

bool isKept(const RenderOptions &options) { return options.vfr == "keep"; }

void requirePlaceForTimes(const RenderOptions &options) {
  if (!isKept(options)) return;
  if (!media::Writer::holdsAudio(options.output))
    throw UsageError("'--vfr keep' is for .mov, .mkv, .mp4 and .webm, and '" + options.output +
                     "' has no place for times; leave it out");
  if (options.fps)
    throw UsageError("'--vfr keep' keeps the times of the input, and 'fps' sets others: give one of them");
}

/// With the remedy where there is one: backgrounds go by the frames of what is laid over them.
std::string resampledText(const RenderOptions &options, const std::string &path, const FrameRate &rate) {
  const bool couldKeep = path == options.input && media::Writer::holdsAudio(options.output);
  return "the movie '" + path + "' has a variable frame rate and is resampled to " + formatFrameRate(rate) +
         " frames per second" + (couldKeep ? "; --vfr keep keeps the times of its pictures" : "");
}

/// A stray file with a large number would have a render ask for all the numbers before it.
void refuseGaps(const std::string &path, const media::InputInfo &input, const FrameList &wanted) {
  constexpr std::int64_t mostMissing = 100000;
  const std::int64_t there = std::count_if(input.present.begin(), input.present.end(),
                                           [&](std::int64_t frame) { return wanted.contains(frame); });
  if (wanted.count() - there <= mostMissing) return;
  throw UsageError("of the frames " + formatFrames(wanted) + ", '" + path + "' has " + std::to_string(there) +
                   "; choose them with --frames");
}

void requireMovieToDeinterlace(const RenderOptions &options, bool isMovie) {
  if (options.deinterlace && !isMovie) throw UsageError("'--deinterlace' is for movies, and there is none to read");
}

}  // namespace

std::unique_ptr<media::Reader> openFile(const RenderOptions &options, const std::string &path,
                                        const media::ReadOptions &how) {
  auto reader = media::Reader::open(path, how);
  const media::InputInfo &info = reader->info();
  if (info.isInterlaced && !options.quiet)
    say("the movie '" + path + "' is interlaced; --deinterlace makes whole pictures of its fields");
  if (info.isResampled && !options.quiet) say(resampledText(options, path, info.frameRate));
  return reader;
}

FrameRate chooseRate(const RenderOptions &options, const Background *background, const FrameRate &usual) {
  if (options.fps) return parseFrameRate(*options.fps);
  return background ? background->rate(usual) : usual;
}

std::unique_ptr<media::Reader> openInput(const RenderOptions &options, int bits, const Background *background) {
  const int inputs = options.input.has_value() + options.text.has_value() + options.testPattern.has_value();
  if (inputs == 0) throw UsageError("nothing to burn: give an INPUT, --text or --input-test-pattern");
  if (inputs > 1) throw UsageError("INPUT, --text and --input-test-pattern exclude each other: give one of them");
  requirePlaceForTimes(options);
  const media::InputInfo *back = background ? background->info() : nullptr;
  const bool hasMovie = back && back->kind == media::InputKind::Movie;
  if (!options.input) {
    if (options.vfr) throw UsageError("'--vfr' is for movies; give one as INPUT");
    requireMovieToDeinterlace(options, hasMovie);
    const bool followsBack = back && !options.size;
    PictureSize size = options.size ? parseSize(*options.size) : PictureSize();
    // Drawn with square pixels, whatever those of the background are.
    if (followsBack) size = {std::max(1, static_cast<int>(std::lround(back->width * back->pixelAspect))), back->height};
    auto drawn = media::Reader::of(drawInput(options, size, bits > 8));
    return followsBack ? onCanvas(std::move(drawn), *background, {}, false) : std::move(drawn);
  }
  auto reader = openFile(options, *options.input, {inputAlphaOf(options), options.deinterlace, isKept(options)});
  const bool isMovie = reader->info().kind == media::InputKind::Movie;
  requireMovieToDeinterlace(options, isMovie || hasMovie);
  if (options.vfr && !isMovie) throw UsageError("'--vfr' is for movies, and '" + *options.input + "' is none");
  if (background && background->film() && isKept(options))
    throw UsageError("the background '" + *options.over + "' has frames of its own; leave '--vfr keep' out");
  if (!back) return reader;
  const FrameRate rate = chooseRate(options, background, reader->info().frameRate);
  return onCanvas(std::move(reader), *background, rate, options.overFit.has_value());
}

FrameList chooseFrames(const RenderOptions &options, const media::InputInfo &input, const Background *background,
                       bool manyFrames) {
  const bool isStill = input.kind == media::InputKind::Still;
  const auto usual = [&]() -> FrameRange {
    const bool hasFilm = background && background->film();
    if (hasFilm && (isStill || (input.kind == media::InputKind::Movie && background->decidesLength()))) {
      const FrameRange film = background->frames(chooseRate(options, background, input.frameRate));
      return manyFrames ? film : FrameRange{film.first, film.first};
    }
    if (isStill) return manyFrames ? stillToMovie : stillToStill;
    return {input.firstFrame, input.lastFrame};
  };
  const FrameList wanted = options.frames ? parseFrames(*options.frames) : FrameList(usual());
  if (!isStill && (wanted.first() < input.firstFrame || wanted.last() > input.lastFrame))
    throw UsageError("'" + *options.input + "' has the frames " + std::to_string(input.firstFrame) + "-" +
                     std::to_string(input.lastFrame) + "; '" + formatFrames(wanted) + "' is not among them");
  if (input.kind == media::InputKind::Sequence) refuseGaps(*options.input, input, wanted);
  if (background) background->requireSome(wanted);
  return wanted;
}

}  // namespace pyrelux::cli
