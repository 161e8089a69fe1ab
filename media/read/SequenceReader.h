#pragma once

#include <optional>

#include "FramePattern.h"
#include "Reader.h"

namespace pyrelux::media {

/// Numbered stills in a folder. Holds the picture read last.
class SequenceReader : public Reader {
 public:
  /// `path` is the one the pattern was made of, to be named in messages.
  SequenceReader(const std::string &path, const FramePattern &pattern, InputAlpha alpha);
  Image read(std::int64_t frame) override;
  std::vector<std::string> files() const override;

 private:
  std::string path_;
  FramePattern pattern_;
  InputAlpha alpha_;
  std::optional<std::int64_t> position_;  // frame of image_
  Image image_;
};

}  // namespace pyrelux::media
