#include "PngFile.h"

#include <algorithm>
#include <cstddef>

namespace pyrelux::cli::test {

namespace {

const std::string signature = "\x89PNG\r\n\x1A\n";
constexpr std::size_t lengthSize = 4, typeSize = 4, checksumSize = 4;

std::string bigEndian(std::uint32_t number) {
  std::string bytes;
  for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(number >> shift & 0xFF);
  return bytes;
}

std::uint32_t fromBigEndian(const std::string &bytes, std::size_t position) {
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < 4; ++i) number = number << 8 | static_cast<std::uint8_t>(bytes[position + i]);
  return number;
}

/// The checksum of chunks (CRC-32).
std::uint32_t chunkChecksum(const std::string &bytes) {
  std::uint32_t remainder = 0xFFFFFFFF;
  for (const char byte : bytes) {
    remainder ^= static_cast<std::uint8_t>(byte);
    for (int bit = 0; bit < 8; ++bit) remainder = remainder >> 1 ^ (remainder & 1 ? 0xEDB88320 : 0);
  }
  return ~remainder;
}

/// The checksum of compressed data (Adler-32).
std::uint32_t dataChecksum(const std::string &bytes) {
  std::uint32_t sum = 1;
  std::uint32_t sumOfSums = 0;
  for (const char byte : bytes) {
    sum = (sum + static_cast<std::uint8_t>(byte)) % 65521;
    sumOfSums = (sumOfSums + sum) % 65521;
  }
  return sumOfSums << 16 | sum;
}

std::string chunk(const std::string &type, const std::string &data) {
  return bigEndian(static_cast<std::uint32_t>(data.size())) + type + data + bigEndian(chunkChecksum(type + data));
}

/// A compressed stream of blocks that are stored as they are.
std::string stored(const std::string &data) {
  constexpr std::size_t largestBlock = 0xFFFF;
  std::string stream = "\x78\x01";
  for (std::size_t begin = 0; begin < data.size(); begin += largestBlock) {
    const std::size_t size = std::min(largestBlock, data.size() - begin);
    stream += static_cast<char>(begin + size == data.size());
    for (const std::size_t number : {size, ~size}) {
      stream += static_cast<char>(number & 0xFF);
      stream += static_cast<char>(number >> 8 & 0xFF);
    }
    stream += data.substr(begin, size);
  }
  return stream + bigEndian(dataChecksum(data));
}

/// Of rows of 8-bit red, green, blue and alpha, unless `kind` says something else.
std::string file(std::uint32_t width, std::uint32_t height, const std::string &rows,
                 const std::array<std::uint8_t, 5> &kind = {8, 6, 0, 0, 0}) {
  return signature + chunk("IHDR", bigEndian(width) + bigEndian(height) + std::string(kind.begin(), kind.end())) +
         chunk("IDAT", stored(rows)) + chunk("IEND", "");
}

}  // namespace

std::string titlePng(int width, int height, int shift) {
  const std::string ground(4, '\0');
  const std::string title = "\xF0\xC8\x50\xFF";
  std::string rows;
  for (int y = 0; y < height; ++y) {
    rows += '\0';  // no filter
    for (int x = 0; x < width; ++x) {
      const bool isTitle = y > height / 2 && y < height * 3 / 4 && x - shift > width / 4 && x - shift < width / 2;
      rows += isTitle ? title : ground;
    }
  }
  return file(static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), rows);
}

std::string emptyPromisePng(std::uint32_t width, std::uint32_t height) {
  return file(width, height, std::string(64, '\0'));
}

std::string headedPng(const std::array<std::uint8_t, 5> &kind) { return file(4, 4, std::string(4 * 17, '\0'), kind); }

std::string withRightChecksums(std::string png) {
  std::size_t position = signature.size();
  while (position + lengthSize + typeSize + checksumSize <= png.size()) {
    const std::size_t length = fromBigEndian(png, position);
    const std::size_t typeBegin = position + lengthSize;
    if (length > png.size() - typeBegin - typeSize - checksumSize) break;
    const std::size_t checksumBegin = typeBegin + typeSize + length;
    png.replace(checksumBegin, checksumSize, bigEndian(chunkChecksum(png.substr(typeBegin, typeSize + length))));
    position = checksumBegin + checksumSize;
  }
  return png;
}

}  // namespace pyrelux::cli::test
