#include "Writer.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "FileFormat.h"
#include "FramePattern.h"
#include "LibraryLog.h"
#include "MediaErrors.h"
#include "MovieWriter.h"
#include "OutputFile.h"
#include "StandardStream.h"
#include "StillEncoder.h"

namespace pyrelux::media {

namespace {

bool isStream(const std::string &path) { return !standardOutputFormat(path).empty(); }

/// One still, or one for each frame.
class StillFileWriter : public Writer {
 public:
  StillFileWriter(const std::string &path, const FileFormat &file, const OutputFormat &format)
      : path_(path), pattern_(path), publish_(format.publish), encoder_(path, file.codec(format.codec, path), format) {}

  void write(std::int64_t frame, const Image &image) override { prepare(frame, image)(); }

  std::function<void()> prepare(std::int64_t frame, const Image &image) override {
    return [this, frame, bytes = encoder_.encode(image)] { store(frame, bytes); };
  }

  void finish() override {
    if (still_)
      still_->commit();
    else if (!hasFrames_)
      failWriting(path_, causeNoFrame);
  }

  Losses losses() const override { return encoder_.losses(); }

 private:
  void store(std::int64_t frame, const std::vector<std::uint8_t> &bytes) {
    if (frame < 0) failWriting(path_, "the frame number " + std::to_string(frame) + " is negative");
    if (still_) failWriting(path_, "it can hold one frame only");
    const std::string path = pattern_.path(frame);
    auto output = std::make_unique<OutputFile>(path);
    output->write(bytes);
    if (pattern_.isNumbered()) {
      output->complete();
      if (publish_)
        publish_({frame, path, output->temporaryPath(), [&output] { output->commit(); }});
      else
        output->commit();
      hasFrames_ = true;
    } else {
      output->requireWritten();
      still_ = std::move(output);
    }
  }

  std::string path_;
  FramePattern pattern_;
  std::function<void(const NewPicture &)> publish_;
  StillEncoder encoder_;
  std::unique_ptr<OutputFile> still_;
  bool hasFrames_ = false;
};

/// Stills one after the other.
class StillStreamWriter : public Writer {
 public:
  StillStreamWriter(const std::string &path, const FileFormat &file, const OutputFormat &format)
      : path_(path), output_(path), encoder_(path, file.codec(format.codec, path), format) {}

  void write(std::int64_t, const Image &image) override {
    output_.write(encoder_.encode(image));
    output_.requireWritten();
    hasFrames_ = true;
  }

  void finish() override {
    if (!hasFrames_) failWriting(path_, causeNoFrame);
    output_.commit();
  }

  Losses losses() const override { return encoder_.losses(); }

 private:
  std::string path_;
  OutputStream output_;
  StillEncoder encoder_;
  bool hasFrames_ = false;
};

std::optional<NumberRange> rangeOf(const Knob &knob) {
  return knob.option ? std::optional<NumberRange>({knob.least, knob.most}) : std::nullopt;
}

}  // namespace

std::unique_ptr<Writer> Writer::open(const std::string &path, const OutputFormat &format) {
  silenceLibraries();
  OutputFile::requireWritable(path);
  const FileFormat &file = formatOf(path);
  if (!isSequence(path)) OutputFile::requireWritable(pathOf(path, 0));
  if (file.isMovie()) return std::make_unique<MovieWriter>(path, file, format);
  if (isStream(path)) return std::make_unique<StillStreamWriter>(path, file, format);
  return std::make_unique<StillFileWriter>(path, file, format);
}

void Writer::requireWritable(const std::string &path) { OutputFile::requireWritable(path); }

bool Writer::holdsManyFrames(const std::string &path) {
  if (isStream(path)) return formatOf(path).stream == Stream::Frames;
  return formatOf(path).isMovie() || FramePattern(path).isNumbered();
}

std::vector<std::string> Writer::removeLeftovers(const std::string &path) {
  if (isStream(path)) return {};
  // The name of a movie is none with places for numbers.
  return media::removeLeftovers(path, !formatOf(path).isMovie());
}

std::string Writer::pathOf(const std::string &path, std::int64_t frame) {
  return formatOf(path).isMovie() || isStream(path) ? path : FramePattern(path).path(frame);
}

bool Writer::isSequence(const std::string &path) {
  return !isStream(path) && !formatOf(path).isMovie() && FramePattern(path).isNumbered();
}

bool Writer::holdsAudio(const std::string &path) {
  const FileFormat &file = formatOf(path);
  return file.isMovie() && av_guess_format(file.muxer, nullptr, nullptr)->audio_codec != AV_CODEC_ID_NONE;
}

std::vector<std::string> Writer::codecNames() {
  std::vector<std::string> names;
  for (const FileFormat &format : fileFormats())
    for (const Codec &codec : format.codecs)
      if (format.isFile && std::find(names.begin(), names.end(), codec.name) == names.end())
        names.push_back(codec.name);
  return names;
}

std::vector<std::string> Writer::streamFormats() { return media::streamFormats(); }

bool Writer::isDeep(const std::string &path, const std::string &codec) {
  return formatOf(path).codec(codec, path).isDeep;
}

std::optional<NumberRange> Writer::crfRange(const std::string &path, const std::string &codec) {
  return rangeOf(formatOf(path).codec(codec, path).crf);
}

std::optional<NumberRange> Writer::qualityRange(const std::string &path, const std::string &codec) {
  return rangeOf(formatOf(path).codec(codec, path).quality);
}

bool Writer::countsPlays(const std::string &path) { return formatOf(path).playsOption != nullptr; }

std::function<void()> Writer::prepare(std::int64_t frame, const Image &image) {
  return [this, frame, &image] { write(frame, image); };
}

bool Writer::holdsAlpha(const std::string &path, const std::string &codec) {
  return formatOf(path).codec(codec, path).alpha != AlphaUse::None;
}

}  // namespace pyrelux::media
