#include "MediaErrors.h"

#include <cctype>
#include <system_error>

#include "StandardStream.h"

namespace pyrelux::media {

void failReading(const std::string &path, const std::string &cause) {
  throw InputError("cannot read " + shownName(path) + ": " + cause);
}

void failWriting(const std::string &path, const std::string &cause) {
  throw OutputError("cannot write " + shownName(path) + ": " + cause);
}

void failEncoding(const std::string &path, const std::string &cause) {
  throw EncoderError("cannot write " + shownName(path) + ": " + cause);
}

std::string systemCause(int errnoValue) {
  std::string text = std::generic_category().message(errnoValue);
  if (!text.empty()) text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
  return text;
}

std::string sizeText(int width, int height) { return std::to_string(width) + "x" + std::to_string(height) + " pixels"; }

}  // namespace pyrelux::media
