#include "LibraryCause.h"

#include "MediaErrors.h"

extern "C" {
#include <libavutil/error.h>
}

namespace pyrelux::media {

std::string libraryCause(int code) {
  // The libraries' own codes are four letters and far below any errno value.
  constexpr int largestErrno = 4096;
  if (code > -largestErrno) return systemCause(AVUNERROR(code));
  char text[AV_ERROR_MAX_STRING_SIZE];
  av_strerror(code, text, sizeof text);
  return text;
}

}  // namespace pyrelux::media
