#pragma once

#include <memory>
#include <string>

#include "Media.h"
#include "MovieDecoder.h"

namespace pyrelux::media {

/// The frames of a movie by number. Holds the picture read last.
class MovieReader : public Reader {
 public:
  MovieReader(const std::string &path, const AVInputFormat *demuxer, InputAlpha alpha);
  Image read(std::int64_t frame) override;

 private:
  std::string path_;
  const AVInputFormat *demuxer_;
  InputAlpha alpha_;
  std::unique_ptr<MovieDecoder> decoder_;  // null after a failure
  std::int64_t position_ = 0;              // of the picture decoded last; 0 before the first
  Image image_;
};

}  // namespace pyrelux::media
