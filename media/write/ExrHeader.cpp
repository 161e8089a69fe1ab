#include "ExrHeader.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

extern "C" {
#include <libavutil/intreadwrite.h>
}

namespace pyrelux::media {

namespace {

/// Where the header ends: at the empty name after the last attribute. An attribute has a name, a type, and a value of
/// so many bytes.
int endOfHeader(const AVPacket &exr) {
  constexpr int magicAndVersion = 8;
  int position = magicAndVersion;
  const auto skipWord = [&] {
    position += static_cast<int>(std::strlen(reinterpret_cast<char *>(&exr.data[position]))) + 1;
  };
  while (exr.data[position]) {
    skipWord();
    skipWord();
    position += 4 + static_cast<int>(AV_RL32(&exr.data[position]));
  }
  return position;
}

std::string attributeOf(const std::string &name, const std::string &text) {
  std::string attribute = name + '\0' + "string" + '\0' + std::string(4, '\0') + text;
  AV_WL32(&attribute[attribute.size() - text.size() - 4], static_cast<std::uint32_t>(text.size()));
  return attribute;
}

std::string attributesOf(const std::string &name, const std::string &text) {
  constexpr std::size_t longest = 255;
  std::string attributes;
  for (std::size_t begin = 0, number = 1; begin < text.size(); begin += longest, ++number) {
    std::string digits = std::to_string(number);
    digits.insert(0, 3 - std::min<std::size_t>(3, digits.size()), '0');
    attributes += attributeOf(name + "." + digits, text.substr(begin, longest));
  }
  return attributes;
}

}  // namespace

void addText(AVPacket &exr, const std::string &name, const std::string &text) {
  const std::string attributes = attributesOf(name, text);
  const int added = static_cast<int>(attributes.size());
  const int end = endOfHeader(exr);
  // A table of where each block of rows begins, which is followed by the first.
  const std::uint64_t table = static_cast<std::uint64_t>(end) + 1;
  const std::uint64_t firstBlock = AV_RL64(&exr.data[table]);
  for (std::uint64_t entry = table; entry < firstBlock; entry += 8)
    AV_WL64(&exr.data[entry], AV_RL64(&exr.data[entry]) + attributes.size());

  const int size = exr.size;
  if (av_grow_packet(&exr, added) < 0) throw std::bad_alloc();
  std::memmove(exr.data + end + added, exr.data + end, static_cast<std::size_t>(size - end));
  std::memcpy(exr.data + end, attributes.data(), attributes.size());
}

}  // namespace pyrelux::media
