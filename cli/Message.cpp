#include "Message.h"

#include <iostream>

namespace pyrelux::cli {

void say(const std::string &message) {
  std::string line;
  for (const char c : message) line += static_cast<unsigned char>(c) < ' ' || c == 0x7F ? '?' : c;
  std::cerr << "pyrelux: " << line << '\n';
}

}  // namespace pyrelux::cli
