#include "RenderOutput.h"

#include <utility>

#include "Colour.h"
#include "Message.h"
#include "OutputGuard.h"
#include "Over.h"
#include "RenderInput.h"

namespace pyrelux::cli {

namespace {

/// What the frames are laid over.
class Background {
 public:
  explicit Background(const std::array<double, 3> &colour) : colour_(colour) {}
  explicit Background(std::unique_ptr<media::Reader> reader) : reader_(std::move(reader)) {}

  /// Throws media::InputError.
  Image under(std::int64_t frame, const Image &front) {
    if (!reader_) return over(front, colour_);
    // A still is the same behind every frame.
    if (back_.sampleCount() == 0 || reader_->info().kind != media::InputKind::Still)
      back_ = premultiplied(toFloat(reader_->read(frame)));
    return over(front, back_);
  }

 private:
  std::array<double, 3> colour_{};
  std::unique_ptr<media::Reader> reader_;  // null for a colour
  Image back_;
};

std::string sizeText(const media::InputInfo &info) {
  return std::to_string(info.width) + "x" + std::to_string(info.height);
}

Background openBackground(const RenderOptions &options, const media::InputInfo &input, const FrameList &frames) {
  const std::string &text = *options.over;
  if (const auto colour = parseColour("over", text)) {
    requireMovieToDeinterlace(options, input.kind == media::InputKind::Movie);
    return Background(*colour);
  }
  // "####.png" is a sequence.
  if (text.empty() || (text[0] == '#' && text.find('.') == std::string::npos))
    throw UsageError("'over' can't be '" + text + "': a colour is #rrggbb or r,g,b in 0..1");
  auto reader = openFile(options, text, {media::InputAlpha::Auto, options.deinterlace});
  const media::InputInfo &info = reader->info();
  const bool isMovie = info.kind == media::InputKind::Movie;
  requireMovieToDeinterlace(options, isMovie || input.kind == media::InputKind::Movie);
  if (isMovie && options.vfr == "keep")
    throw UsageError("the background '" + text + "' is a movie with times of its own; leave '--vfr keep' out");
  if (info.width != input.width || info.height != input.height)
    throw UsageError("the background '" + text + "' is " + sizeText(info) + " pixels, the input " + sizeText(input) +
                     "; they have to be of one size");
  if (info.kind != media::InputKind::Still && (frames.first() < info.firstFrame || frames.last() > info.lastFrame))
    throw UsageError("the background '" + text + "' has the frames " + std::to_string(info.firstFrame) + "-" +
                     std::to_string(info.lastFrame) + ", which are not all of those to render");
  refuseToReplaceSource(*reader, "background", options, frames);
  return Background(std::move(reader));
}

/// Lays frames over a background before another writer gets them.
class OverWriter : public media::Writer {
 public:
  OverWriter(Background background, std::unique_ptr<media::Writer> writer)
      : background_(std::move(background)), writer_(std::move(writer)) {}

  void write(std::int64_t frame, const Image &image) override {
    writer_->write(frame, background_.under(frame, image));
  }
  void finish() override { writer_->finish(); }
  media::Losses losses() const override { return writer_->losses(); }

 private:
  Background background_;
  std::unique_ptr<media::Writer> writer_;
};

void sayAudioIsLeftOut(const RenderOptions &options, const std::string &cause, bool isPart = false) {
  const std::string what = isPart ? "a part of the audio of '" : "the audio of '";
  if (!options.quiet) say(what + *options.input + "' is left out: " + cause);
}

std::string counted(std::int64_t count, const std::string &what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

}  // namespace

int chooseBits(const RenderOptions &options) {
  const bool isDeep = media::Writer::isDeep(options.output, options.codec);
  return options.bits ? std::stoi(*options.bits) : isDeep ? 16 : 8;
}

media::OutputFormat chooseFormat(const RenderOptions &options, const media::InputInfo &input, const FrameList &frames,
                                 int bits) {
  media::OutputFormat format;
  format.width = input.width;
  format.height = input.height;
  format.bits = bits;
  format.pixelAspect = input.pixelAspect;
  format.times = input.times;
  format.frameRate = options.fps ? parseFrameRate(*options.fps) : input.frameRate;
  format.codec = options.codec;
  if (options.alpha) {
    if (!media::Writer::holdsAlpha(options.output, options.codec))
      throw UsageError("'--alpha' is of no use for '" + options.output + "', which holds no alpha");
    format.alpha = *options.alpha == "straight" ? Alpha::Straight : Alpha::Premultiplied;
  }
  if (input.hasAudio && !options.noAudio && media::Writer::holdsAudio(options.output)) {
    const FrameRate rate = format.frameRate;
    if (frames.count() != frames.last() - frames.first() + 1) {
      sayAudioIsLeftOut(options, "the frames are not all in a row");
    } else if (std::int64_t{rate.numerator} * input.frameRate.denominator !=
               std::int64_t{input.frameRate.numerator} * rate.denominator) {
      sayAudioIsLeftOut(options, "the output has another frame rate");
    } else {
      format.audioFrom = *options.input;
      format.audioFirstFrame = frames.first();
    }
  }
  return format;
}

std::unique_ptr<media::Writer> openOutput(const RenderOptions &options, const media::OutputFormat &format,
                                          const media::InputInfo &input, const FrameList &frames) {
  if (!options.over) return media::Writer::open(options.output, format);
  Background background = openBackground(options, input, frames);
  return std::make_unique<OverWriter>(std::move(background), media::Writer::open(options.output, format));
}

void sayLosses(const RenderOptions &options, const media::Losses &losses) {
  if (!losses.audioObstacle.empty()) sayAudioIsLeftOut(options, losses.audioObstacle, losses.hasAudio);
  if (losses.clippedPixels == 0 || options.quiet) return;
  const bool isOne = losses.clippedPixels == 1;
  say(counted(losses.clippedPixels, "pixel") + " in " + counted(losses.clippedFrames, "frame") +
      (isOne ? " is brighter than its alpha and was" : " are brighter than their alpha and were") +
      " cut to fit straight alpha; --alpha premultiplied or an .exr keeps the glow");
}

}  // namespace pyrelux::cli
