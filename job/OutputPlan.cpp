#include "OutputPlan.h"

#include <cstdio>
#include <utility>

#include "InputSource.h"
#include "StandardStream.h"
#include "ValueError.h"

namespace pyrelux::job {

namespace {

/// The movie whose audio comes along: the background's, else the input's; empty if neither has any.
std::string audioSource(const RenderRequest &request, const media::InputInfo &input, const Background *background) {
  if (!request.withAudio) return {};
  if (background && background->info() && background->info()->hasAudio) return background->name();
  return input.hasAudio ? *request.input : std::string();
}

/// "34.5 %", and "less than 0.1 %" of what is there all the same.
std::string percentText(std::int64_t part, std::int64_t whole) {
  const double percent = 100.0 * static_cast<double>(part) / static_cast<double>(whole);
  if (percent < 0.1) return "less than 0.1 %";
  char text[16];
  std::snprintf(text, sizeof text, "%.1f %%", percent);
  return text;
}

void remarkAudioIsLeftOut(const std::string &source, const std::string &cause, RenderListener &listener,
                          bool isPart = false) {
  const std::string what = isPart ? "a part of the audio of " : "the audio of ";
  listener.remark(what + media::shownName(source) + " is left out: " + cause);
}

void chooseAudio(const RenderRequest &request, const media::InputInfo &input, const Background *background,
                 const FrameList &frames, media::OutputFormat &format, RenderListener &listener) {
  const std::string source = audioSource(request, input, background);
  if (source == media::standardInput) {
    remarkAudioIsLeftOut(source, "its pictures are read from the same stream", listener);
    return;
  }
  if (source.empty() || !media::Writer::holdsAudio(request.output)) return;
  const FrameRate rate = format.frameRate;
  // The frames of a background are chosen by time, so its audio fits any rate.
  const bool isInTime = source != request.input || std::int64_t{rate.numerator} * input.frameRate.denominator ==
                                                       std::int64_t{input.frameRate.numerator} * rate.denominator;
  if (frames.count() != frames.last() - frames.first() + 1) {
    remarkAudioIsLeftOut(source, "the frames are not all in a row", listener);
  } else if (!isInTime) {
    remarkAudioIsLeftOut(source, "the output has another frame rate", listener);
  } else {
    format.audioFrom = source;
    format.audioFirstFrame = frames.first();
  }
}

/// Refuses a number that the output's codec does not take.
void requireKnob(const char *option, const std::optional<int> &number, const std::optional<media::NumberRange> &range,
                 const std::string &output, const char *takers) {
  if (!number) return;
  if (!range)
    throw ValueError("'" + std::string(option) + "' is of no use for " + media::shownName(output) + "; it is for " +
                     takers);
  if (*number < range->least || *number > range->most)
    throw ValueError("'" + std::string(option) + "' can't be " + std::to_string(*number) + ": for " +
                     media::shownName(output) + " its range is " + std::to_string(range->least) + ".." +
                     std::to_string(range->most));
}

}  // namespace

float densityOf(const RenderRequest &request) { return static_cast<float>(request.density.value_or(0.0)); }

int chooseBits(const RenderRequest &request) {
  const bool isDeep = media::Writer::isDeep(request.output, request.codec);
  return request.scene.bits.value_or(isDeep ? 16 : 8);
}

media::OutputFormat chooseFormat(const RenderRequest &request, const media::InputInfo &input,
                                 const Background *background, const FrameList &frames, int bits,
                                 RenderListener &listener) {
  media::OutputFormat format;
  format.width = input.width;
  format.height = input.height;
  format.bits = bits;
  format.pixelAspect = input.pixelAspect;
  format.times = input.times;
  format.frameRate = chooseRate(request, background, input.frameRate);
  format.codec = request.codec;
  requireKnob("--crf", request.crf, media::Writer::crfRange(request.output, request.codec), request.output,
              "h264, h265 and vp9");
  requireKnob("--quality", request.quality, media::Writer::qualityRange(request.output, request.codec), request.output,
              "lossy .webp");
  if (request.loopCount && !media::Writer::countsPlays(request.output))
    throw ValueError("'--loop-count' is of no use for " + media::shownName(request.output) +
                     "; it is for .apng, .webp and .gif");
  format.crf = request.crf;
  format.quality = request.quality;
  format.plays = request.loopCount.value_or(0);
  const bool holdsAlpha = media::Writer::holdsAlpha(request.output, request.codec);
  if (request.alpha) {
    if (!holdsAlpha && *request.alpha != AlphaUse::None)
      throw ValueError("'--alpha' is of no use for " + media::shownName(request.output) + ", which holds no alpha");
    format.alpha = request.alpha;
  }
  if (request.density && !request.background && (!holdsAlpha || format.alpha == AlphaUse::None))
    throw ValueError("'--density' is of no use for an output without alpha; it goes with --over or another --alpha");
  // Laid over a background, the frames have no alpha left to raise.
  if (!request.background) format.density = densityOf(request);
  chooseAudio(request, input, background, frames, format, listener);
  return format;
}

void remarkLosses(const std::string &audioFrom, const media::Losses &losses, RenderListener &listener) {
  if (!losses.audioObstacle.empty()) remarkAudioIsLeftOut(audioFrom, losses.audioObstacle, listener, losses.hasAudio);
  if (losses.cutPixels == 0) return;
  listener.remark(percentText(losses.cutPixels, losses.pixels) +
                  " of the pixels are brighter than their alpha and were cut by " +
                  "--alpha exact; --alpha straight or premultiplied keeps their light");
}

}  // namespace pyrelux::job
