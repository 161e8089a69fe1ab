#include "RenderOutput.h"

#include <cstdio>
#include <utility>

#include "Message.h"
#include "RenderInput.h"
#include "UsageError.h"

namespace pyrelux::cli {

namespace {

AlphaUse parseAlpha(const std::string &name) {
  if (name == "straight") return AlphaUse::Straight;
  if (name == "exact") return AlphaUse::Exact;
  if (name == "premultiplied") return AlphaUse::Premultiplied;
  return AlphaUse::None;
}

/// The movie whose audio comes along: the background's, else the input's; empty if neither has any.
std::string audioSource(const RenderOptions &options, const media::InputInfo &input, const Background *background) {
  if (options.noAudio) return {};
  if (background && background->info() && background->info()->hasAudio) return *options.over;
  return input.hasAudio ? *options.input : std::string();
}

/// "34.5 %", and "less than 0.1 %" of what is there all the same.
std::string percentText(std::int64_t part, std::int64_t whole) {
  const double percent = 100.0 * static_cast<double>(part) / static_cast<double>(whole);
  if (percent < 0.1) return "less than 0.1 %";
  char text[16];
  std::snprintf(text, sizeof text, "%.1f %%", percent);
  return text;
}

void sayAudioIsLeftOut(const RenderOptions &options, const std::string &source, const std::string &cause,
                       bool isPart = false) {
  const std::string what = isPart ? "a part of the audio of '" : "the audio of '";
  if (!options.quiet) say(what + source + "' is left out: " + cause);
}

void chooseAudio(const RenderOptions &options, const media::InputInfo &input, const Background *background,
                 const FrameList &frames, media::OutputFormat &format) {
  const std::string source = audioSource(options, input, background);
  if (source.empty() || !media::Writer::holdsAudio(options.output)) return;
  const FrameRate rate = format.frameRate;
  // The frames of a background are chosen by time, so its audio fits any rate.
  const bool isInTime = source != options.input || std::int64_t{rate.numerator} * input.frameRate.denominator ==
                                                       std::int64_t{input.frameRate.numerator} * rate.denominator;
  if (frames.count() != frames.last() - frames.first() + 1) {
    sayAudioIsLeftOut(options, source, "the frames are not all in a row");
  } else if (!isInTime) {
    sayAudioIsLeftOut(options, source, "the output has another frame rate");
  } else {
    format.audioFrom = source;
    format.audioFirstFrame = frames.first();
  }
}

}  // namespace

float densityOf(const RenderOptions &options) { return static_cast<float>(options.density.value_or(0.0)); }

int chooseBits(const RenderOptions &options) {
  const bool isDeep = media::Writer::isDeep(options.output, options.codec);
  return options.bits ? std::stoi(*options.bits) : isDeep ? 16 : 8;
}

media::OutputFormat chooseFormat(const RenderOptions &options, const media::InputInfo &input,
                                 const Background *background, const FrameList &frames, int bits) {
  media::OutputFormat format;
  format.width = input.width;
  format.height = input.height;
  format.bits = bits;
  format.pixelAspect = input.pixelAspect;
  format.times = input.times;
  format.frameRate = chooseRate(options, background, input.frameRate);
  format.codec = options.codec;
  const bool holdsAlpha = media::Writer::holdsAlpha(options.output, options.codec);
  if (options.alpha) {
    if (!holdsAlpha && *options.alpha != "none")
      throw UsageError("'--alpha' is of no use for '" + options.output + "', which holds no alpha");
    format.alpha = parseAlpha(*options.alpha);
  }
  if (options.density && !options.over && (!holdsAlpha || format.alpha == AlphaUse::None))
    throw UsageError("'--density' is of no use for an output without alpha; it goes with --over or another --alpha");
  // Laid over a background, the frames have no alpha left to raise.
  if (!options.over) format.density = densityOf(options);
  chooseAudio(options, input, background, frames, format);
  return format;
}

void sayLosses(const RenderOptions &options, const std::string &audioFrom, const media::Losses &losses) {
  if (!losses.audioObstacle.empty()) sayAudioIsLeftOut(options, audioFrom, losses.audioObstacle, losses.hasAudio);
  if (losses.cutPixels == 0 || options.quiet) return;
  say(percentText(losses.cutPixels, losses.pixels) + " of the pixels are brighter than their alpha and were cut by " +
      "--alpha exact; --alpha straight or premultiplied keeps their light");
}

}  // namespace pyrelux::cli
