#include "Message.h"

#include <iostream>

namespace pyrelux::cli {

std::string printable(const std::string &text) {
  std::string line;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const auto byte = static_cast<unsigned char>(text[at]);
    // In UTF-8, the second set of control characters is of two bytes, C2 and 80 to 9F.
    const bool isLongControl = byte == 0xC2 && at + 1 < text.size() && (text[at + 1] & 0xE0) == 0x80;
    at += isLongControl;
    line += byte < ' ' || byte == 0x7F || isLongControl ? '?' : text[at];
  }
  return line;
}

void say(const std::string &message) { std::cerr << "pyrelux: " << printable(message) << '\n'; }

}  // namespace pyrelux::cli
