#pragma once

#include <memory>
#include <string>

#include "MovieDecoder.h"
#include "PictureTimes.h"
#include "Reader.h"

namespace pyrelux::media {

/// The frames of a movie by number. Holds the picture read last.
class MovieReader : public Reader {
 public:
  MovieReader(const std::string &path, const AVInputFormat *demuxer, const ReadOptions &options);
  Image read(std::int64_t frame) override;
  std::vector<std::string> files() const override { return {path_}; }

 private:
  std::unique_ptr<MovieDecoder> open() const {
    return std::make_unique<MovieDecoder>(path_, demuxer_, options_.deinterlace);
  }
  void chooseTimes(const MovieDecoder &decoder);

  std::string path_;
  const AVInputFormat *demuxer_;
  ReadOptions options_;
  PictureTimes pictures_;
  std::unique_ptr<MovieDecoder> decoder_;  // null after a failure
  std::int64_t position_ = 0;              // of the picture decoded last; 0 before the first
  Image image_;
};

}  // namespace pyrelux::media
