#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "AvPtr.h"

namespace pyrelux::media {

/// Makes whole pictures of pairs of fields, one of each pair: libavfilter's bwdif, which looks at the pictures before
/// and after. All pictures are taken for interlaced, whether they say so or not.
class Deinterlacer {
 public:
  /// `order`: which field comes first in pictures that do not say it. `path` is for messages.
  Deinterlacer(const std::string &path, AVFieldOrder order);
  ~Deinterlacer();

  /// The next picture, which it may change; null once after the last. Throws MediaError: too small, of another size or
  /// layout than the first, or libavfilter is not installed.
  void send(AVFrame *frame);

  /// The next whole picture, valid until the next call; null if it needs another or is at the end.
  AVFrame *receive();

 private:
  class Graph;

  std::string path_;
  AVFieldOrder order_;
  std::unique_ptr<Graph> graph_;  ///< from the first picture on
  std::int64_t count_ = 0;
  FramePtr frame_ = newFrame();
};

}  // namespace pyrelux::media
