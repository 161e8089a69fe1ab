#include "SequenceReader.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "Decoder.h"
#include "InputFile.h"
#include "MediaErrors.h"
#include "StillDecoder.h"

namespace pyrelux::media {

namespace {

Still readStill(const std::string &path, InputAlpha alpha) {
  InputFile file(path);
  const Content content = file.identify();
  if (content.stillCodec == AV_CODEC_ID_NONE) failReading(path, "a movie cannot be a frame of a sequence");
  return decodeStill(file, content.stillCodec, alpha);
}

}  // namespace

SequenceReader::SequenceReader(const std::string &path, const FramePattern &pattern, InputAlpha alpha)
    : path_(path), pattern_(pattern), alpha_(alpha) {
  std::vector<std::int64_t> present;
  // A folder that cannot be read shows nothing, which is reported like an empty one.
  std::error_code error;
  for (std::filesystem::directory_iterator entry(pattern.folder(), error), end; !error && entry != end;
       entry.increment(error))
    if (const auto number = pattern.frameOf(entry->path().filename().string())) present.push_back(*number);
  if (present.empty()) failReading(path, causeNoSuchFile);
  std::sort(present.begin(), present.end());

  Still still = readStill(pattern.path(present.front()), alpha);
  info_ = still.info;
  info_.kind = InputKind::Sequence;
  info_.firstFrame = present.front();
  info_.lastFrame = present.back();
  position_ = present.front();
  info_.present = std::move(present);
  image_ = std::move(still.image);
}

std::vector<std::string> SequenceReader::files() const {
  std::vector<std::string> files;
  for (const std::int64_t frame : info_.present) files.push_back(pattern_.path(frame));
  return files;
}

Image SequenceReader::read(std::int64_t frame) {
  requireFrame(info_, frame, path_);
  if (frame == position_) return image_;
  const std::string path = pattern_.path(frame);
  std::error_code error;
  if (!std::filesystem::exists(path, error) && !error)
    failReading(path, "frame " + std::to_string(frame) + " of '" + path_ + "' is missing");
  Still still = readStill(path, alpha_);
  if (still.info.width != info_.width || still.info.height != info_.height)
    failReading(path, "it is " + sizeText(still.info.width, still.info.height) + ", not " +
                          sizeText(info_.width, info_.height) + " like the first of the sequence");
  image_ = std::move(still.image);
  position_ = frame;
  return image_;
}

}  // namespace pyrelux::media
