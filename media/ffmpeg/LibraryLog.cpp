#include "LibraryLog.h"

#include <tiffio.h>

#include <cstdarg>
#include <cstdio>
#include <map>
#include <mutex>

namespace pyrelux::media {

namespace {

/// The decoders listened to. A decoder's messages may come from any of its threads.
struct Listeners {
  std::mutex mutex;
  std::map<const void *, DecoderLog::Complaints> complaints;
};

Listeners &listeners() {
  static Listeners all;
  return all;
}

/// The object that owns the sender of a message; null if nothing owns it. Every sender starts with a pointer to its
/// class. The class says at which byte of the sender the pointer to the owner is.
void *parentOf(void *object) {
  const AVClass *type = *static_cast<AVClass **>(object);
  if (!type || type->parent_log_context_offset == 0) return nullptr;
  return *reinterpret_cast<void **>(static_cast<char *>(object) + type->parent_log_context_offset);
}

void receive(void *object, int level, const char *format, va_list arguments) {
  if (level > AV_LOG_ERROR) return;
  const std::lock_guard<std::mutex> lock(listeners().mutex);
  auto found = listeners().complaints.end();
  for (; object && found == listeners().complaints.end(); object = parentOf(object))
    found = listeners().complaints.find(object);
  if (found == listeners().complaints.end()) return;

  found->second.hasErrors = true;
  char line[128];
  std::vsnprintf(line, sizeof line, format, arguments);
  unsigned width = 0;
  unsigned height = 0;
  if (std::sscanf(line, "Picture size %ux%u", &width, &height) == 2)
    found->second.refusedSize = PictureSize{static_cast<int>(width), static_cast<int>(height)};
}

}  // namespace

void silenceLibraries() {
  av_log_set_callback(receive);
  static const bool done = [] {
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
    return true;
  }();
  static_cast<void>(done);
}

DecoderLog::DecoderLog(const AVCodecContext &decoder) : decoder_(&decoder) {
  const std::lock_guard<std::mutex> lock(listeners().mutex);
  listeners().complaints[decoder_] = {};
}

DecoderLog::~DecoderLog() {
  const std::lock_guard<std::mutex> lock(listeners().mutex);
  listeners().complaints.erase(decoder_);
}

DecoderLog::Complaints DecoderLog::complaints() const {
  const std::lock_guard<std::mutex> lock(listeners().mutex);
  return listeners().complaints[decoder_];
}

}  // namespace pyrelux::media
