#include "StillStructure.h"

#include <cstring>
#include <stdexcept>
#include <string_view>

namespace pyrelux::media {

namespace {

/// Reads forward through bytes; running past their end throws.
class Cursor {
 public:
  struct Ended : std::exception {};

  Cursor(const std::uint8_t *data, int size) : position_(data), end_(data + size) {}

  const std::uint8_t *take(std::int64_t count) {
    if (count < 0 || count > end_ - position_) throw Ended();
    const std::uint8_t *start = position_;
    position_ += count;
    return start;
  }
  void skip(std::int64_t count) { take(count); }
  int byte() { return *take(1); }
  std::int64_t bigEndian(int bytes) {
    std::int64_t value = 0;
    while (bytes-- > 0) value = value << 8 | byte();
    return value;
  }
  std::int64_t littleEndian(int bytes) {
    std::int64_t value = 0;
    for (int shift = 0; shift < 8 * bytes; shift += 8) value |= std::int64_t{byte()} << shift;
    return value;
  }
  /// The next byte without taking it.
  int peek() {
    if (position_ == end_) throw Ended();
    return *position_;
  }

 private:
  const std::uint8_t *position_;
  const std::uint8_t *end_;
};

/// Whether a layout of PNG may have that many bits per component. The decoder takes some that it then reads wrongly.
bool hasPngBits(int layout, int bits) {
  constexpr int grey = 0, palette = 3;
  switch (bits) {
    case 1:
    case 2:
    case 4:
      return layout == grey || layout == palette;
    case 8:
      return true;
    default:
      return bits == 16 && layout != palette;
  }
}

void walkPng(Cursor cursor) {
  constexpr int signatureSize = 8;
  constexpr int checksumSize = 4;
  constexpr int paletteLayout = 3;
  cursor.skip(signatureSize);
  bool hasPalette = true;
  for (bool atEnd = false; !atEnd;) {
    const std::int64_t length = cursor.bigEndian(4);
    const std::string_view type(reinterpret_cast<const char *>(cursor.take(4)), 4);
    atEnd = type == "IEND";
    if (type == "IHDR") {
      Cursor header = cursor;
      header.skip(8);
      const int bits = header.byte();
      const int layout = header.byte();
      header.skip(2);
      if (!hasPngBits(layout, bits) || header.byte() > 1) throw Cursor::Ended();
      hasPalette = layout != paletteLayout;
    }
    hasPalette |= type == "PLTE";
    cursor.skip(length + checksumSize);
  }
  if (!hasPalette) throw Cursor::Ended();
}

/// Returns whether it has four colour components and no word of Adobe's, which tells what these are.
bool walkJpeg(Cursor cursor) {
  constexpr int stuffing = 0x00, firstRestart = 0xD0, start = 0xD8, end = 0xD9, temporary = 0x01, adobe = 0xEE;
  // Among the kinds of frames there are three tables.
  const auto beginsFrame = [](int marker) {
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
  };
  int components = 0;
  bool hasAdobe = false;
  const auto standsAlone = [](int marker) {
    return marker == stuffing || marker == temporary || (marker >= firstRestart && marker <= start);
  };
  for (;;) {
    // What is not a marker is the coded data of a scan, where FF is followed by 00 or a restart marker.
    while (cursor.byte() != 0xFF) continue;
    while (cursor.peek() == 0xFF) cursor.skip(1);
    const int marker = cursor.byte();
    if (marker == end) return components == 4 && !hasAdobe;
    if (standsAlone(marker)) continue;
    const std::int64_t length = cursor.bigEndian(2) - 2;
    Cursor segment(cursor.take(length), static_cast<int>(length));
    if (beginsFrame(marker)) {
      segment.skip(5);
      components = segment.byte();
    }
    if (marker == adobe && length >= 12) hasAdobe |= std::memcmp(segment.take(5), "Adobe", 5) == 0;
  }
}

bool isAnimatedWebp(Cursor cursor) {
  constexpr int riffHeader = 12, animation = 0x02;
  cursor.skip(riffHeader);
  if (std::memcmp(cursor.take(4), "VP8X", 4) != 0) return false;
  cursor.skip(4);
  return cursor.byte() & animation;
}

std::string_view takeText(Cursor &cursor) {
  const auto *start = reinterpret_cast<const char *>(cursor.take(0));
  std::size_t length = 0;
  while (cursor.byte() != 0) ++length;
  return {start, length};
}

/// Walks through the headers, which end with an empty one where there are several parts.
void walkExr(Cursor cursor) {
  constexpr int magicAndVersion = 4 + 1, severalParts = 0x10;
  cursor.skip(magicAndVersion);
  const bool hasParts = cursor.byte() & severalParts;
  cursor.skip(2);
  do {
    while (!takeText(cursor).empty()) {
      takeText(cursor);
      cursor.skip(cursor.littleEndian(4));
    }
  } while (hasParts && cursor.peek() != 0);
}

/// Returns the number of pictures.
int walkGif(Cursor cursor) {
  constexpr int extension = 0x21, picture = 0x2C, trailer = 0x3B;
  const auto skipColourTable = [&cursor](int flags) {
    if (flags & 0x80) cursor.skip(3 << ((flags & 7) + 1));
  };
  const auto skipBlocks = [&cursor] {
    while (const int length = cursor.byte()) cursor.skip(length);
  };

  cursor.skip(10);
  const int screenFlags = cursor.byte();
  cursor.skip(2);
  skipColourTable(screenFlags);
  for (int pictures = 0;;) {
    switch (cursor.byte()) {
      case extension:
        cursor.skip(1);
        skipBlocks();
        break;
      case picture:
        ++pictures;
        cursor.skip(8);
        skipColourTable(cursor.byte());
        cursor.skip(1);
        skipBlocks();
        break;
      case trailer:
        return pictures;
      default:
        throw Cursor::Ended();
    }
  }
}

}  // namespace

bool isWhole(AVCodecID codec, const std::uint8_t *data, int size) {
  try {
    if (codec == AV_CODEC_ID_PNG) walkPng(Cursor(data, size));
    if (codec == AV_CODEC_ID_MJPEG) walkJpeg(Cursor(data, size));
    if (codec == AV_CODEC_ID_EXR) walkExr(Cursor(data, size));
  } catch (const Cursor::Ended &) {
    return false;
  }
  return codec != AV_CODEC_ID_GIF || countGifPictures(data, size);
}

bool hasUnknownColours(AVCodecID codec, const std::uint8_t *data, int size) {
  try {
    return codec == AV_CODEC_ID_MJPEG && walkJpeg(Cursor(data, size));
  } catch (const Cursor::Ended &) {
    return false;
  }
}

const char *unsupportedKind(AVCodecID codec, const std::uint8_t *data, int size) {
  try {
    if (codec == AV_CODEC_ID_WEBP && isAnimatedWebp(Cursor(data, size)))
      return "it is an animated WebP, which can't be read; convert it to a movie or a sequence";
  } catch (const Cursor::Ended &) {
  }
  return nullptr;
}

std::optional<int> countGifPictures(const std::uint8_t *data, int size) {
  try {
    return walkGif(Cursor(data, size));
  } catch (const Cursor::Ended &) {
    return std::nullopt;
  }
}

}  // namespace pyrelux::media
