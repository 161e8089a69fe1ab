#include "KeptPictures.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace pyrelux::studio {

namespace {

std::size_t bytesOf(const Image &picture) {
  return picture.sampleCount() * (picture.isFloat() ? sizeof(float) : sizeof(std::uint8_t));
}

}  // namespace

bool KeptPictures::Key::operator==(const Key &other) const {
  return sources == other.sources && frame == other.frame && width == other.width && height == other.height &&
         asBytes == other.asBytes;
}

std::shared_ptr<const Image> KeptPictures::find(const Key &key) {
  const auto found =
      std::find_if(pictures_.begin(), pictures_.end(), [&key](const Kept &kept) { return kept.key == key; });
  if (found == pictures_.end()) return nullptr;
  pictures_.splice(pictures_.begin(), pictures_, found);
  return pictures_.front().picture;
}

void KeptPictures::keep(const Key &key, std::shared_ptr<const Image> picture) {
  const std::size_t size = bytesOf(*picture);
  if (size > mostBytes_) return;
  while (bytes_ + size > mostBytes_ || pictures_.size() == mostPictures) {
    bytes_ -= bytesOf(*pictures_.back().picture);
    pictures_.pop_back();
  }
  pictures_.push_front({key, std::move(picture)});
  bytes_ += size;
}

void KeptPictures::keepOnly(const std::shared_ptr<const OpenSources> &one,
                            const std::shared_ptr<const OpenSources> &other) {
  for (auto kept = pictures_.begin(); kept != pictures_.end();) {
    const bool stays = kept->key.sources == one || kept->key.sources == other;
    if (!stays) bytes_ -= bytesOf(*kept->picture);
    kept = stays ? std::next(kept) : pictures_.erase(kept);
  }
}

}  // namespace pyrelux::studio
