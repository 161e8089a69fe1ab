#include "Fingerprint.h"

#include <xxhash.h>

#include <cerrno>
#include <cstdio>
#include <new>
#include <system_error>
#include <vector>

#include "MediaErrors.h"

namespace pyrelux::record {

struct Fingerprint::State {
  XXH3_state_t *hash = XXH3_createState();
  ~State() { XXH3_freeState(hash); }
};

Fingerprint::Fingerprint() : state_(std::make_unique<State>()) {
  if (!state_->hash) throw std::bad_alloc();
  XXH3_128bits_reset(state_->hash);
}

Fingerprint::~Fingerprint() = default;

Fingerprint &Fingerprint::add(const void *data, std::size_t bytes) {
  XXH3_128bits_update(state_->hash, data, bytes);
  return *this;
}

Fingerprint &Fingerprint::add(const Image &image) {
  const int description[] = {image.width(), image.height(), image.isFloat(), image.alpha() == Alpha::Straight};
  add(description, sizeof description);
  return image.isFloat() ? add(image.asFloats().data(), image.sampleCount() * sizeof(float))
                         : add(image.asBytes().data(), image.sampleCount());
}

std::string Fingerprint::text() const {
  XXH128_canonical_t digest;
  XXH128_canonicalFromHash(&digest, XXH3_128bits_digest(state_->hash));
  std::string text;
  for (const unsigned char byte : digest.digest) {
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02x", byte);
    text += digits;
  }
  return text;
}

std::string fingerprintOfFile(const std::string &path) {
  const auto fail = [&path] {
    throw media::InputError("cannot read '" + path + "': " + std::generic_category().message(errno));
  };
  const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::fopen(path.c_str(), "rb"), std::fclose);
  if (!file) fail();
  Fingerprint fingerprint;
  std::vector<char> part(1 << 20);
  while (const std::size_t bytes = std::fread(part.data(), 1, part.size(), file.get()))
    fingerprint.add(part.data(), bytes);
  if (std::ferror(file.get())) fail();
  return fingerprint.text();
}

}  // namespace pyrelux::record
