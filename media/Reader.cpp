#include "Reader.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "FramePattern.h"
#include "InputFile.h"
#include "LibraryLog.h"
#include "MovieReader.h"
#include "SequenceReader.h"
#include "StandardStream.h"
#include "StillDecoder.h"
#include "StillReader.h"
#include "StreamReader.h"

namespace pyrelux::media {

namespace {

/// A picture that no file holds.
Still stillOf(Image image) {
  Still still;
  still.info.width = image.width();
  still.info.height = image.height();
  still.info.hasAlpha = true;
  still.info.bitsPerComponent = image.isFloat() ? 32 : 8;
  still.image = std::move(image);
  return still;
}

std::unique_ptr<Reader> openFile(const std::string &path, const ReadOptions &options) {
  InputFile file(path);
  const Content content = file.identify();
  if (content.stillCodec != AV_CODEC_ID_NONE)
    return std::make_unique<StillReader>(decodeStill(file, content.stillCodec, options.alpha), std::vector{path});
  return std::make_unique<MovieReader>(path, content.demuxer, options);
}

}  // namespace

std::unique_ptr<Reader> Reader::open(const std::string &path, const ReadOptions &options) {
  silenceLibraries();
  if (path == standardInput) return openStream(options);
  // A file whose own name looks like a pattern ("take#2.mov") is itself what is meant.
  std::error_code error;
  if (std::filesystem::exists(path, error)) return openFile(path, options);
  const FramePattern pattern(path);
  if (pattern.isNumbered()) return std::make_unique<SequenceReader>(path, pattern, options.alpha);
  return openFile(pattern.path(0), options);
}

std::unique_ptr<Reader> Reader::of(Image image) { return std::make_unique<StillReader>(stillOf(std::move(image))); }

std::unique_ptr<Reader> Reader::of(Image image, std::vector<std::string> files) {
  return std::make_unique<StillReader>(stillOf(std::move(image)), std::move(files));
}

}  // namespace pyrelux::media
