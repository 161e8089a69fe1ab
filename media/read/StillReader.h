#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Reader.h"
#include "StillDecoder.h"

namespace pyrelux::media {

/// One picture for every frame.
class StillReader : public Reader {
 public:
  explicit StillReader(Still still, std::vector<std::string> files = {})
      : files_(std::move(files)), image_(std::make_shared<const Image>(std::move(still.image))) {
    info_ = still.info;
  }
  Image read(std::int64_t) override { return *image_; }
  std::shared_ptr<const Image> share(std::int64_t) override { return image_; }
  std::vector<std::string> files() const override { return files_; }

 private:
  std::vector<std::string> files_;
  std::shared_ptr<const Image> image_;
};

}  // namespace pyrelux::media
