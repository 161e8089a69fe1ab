#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "Image.h"

namespace pyrelux::record {

/// A short word that stands for what was added, in order: XXH3 with 128 bits, as `xxhsum -H2` prints it. It tells
/// accidents, not forgeries.
class Fingerprint {
 public:
  Fingerprint();
  ~Fingerprint();

  Fingerprint &add(const void *data, std::size_t bytes);
  Fingerprint &add(const std::string &text) { return add(text.data(), text.size()); }
  /// Size, kind of samples and alpha, and the samples.
  Fingerprint &add(const Image &image);

  /// 32 hexadecimal digits.
  std::string text() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// Of a file's bytes. Throws media::InputError when it can't be read.
std::string fingerprintOfFile(const std::string &path);

}  // namespace pyrelux::record
