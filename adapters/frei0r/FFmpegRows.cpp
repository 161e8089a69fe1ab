#include "FFmpegRows.h"

#include <dlfcn.h>
#include <link.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

namespace pyrelux::adapters {

namespace {

thread_local bool isAsking = false;

struct Asking {
  Asking() { isAsking = true; }
  ~Asking() { isAsking = false; }
};

/// The first members of AVFrame, the same in every version.
struct FrameStart {
  std::uint8_t *data[8];
  int linesize[8];
};

/// Functions of the libavfilter and libavutil that the process has loaded. They are looked up at run time, so the
/// plug-in links to neither library and never mixes versions.
class FFmpegFunctions {
 public:
  FFmpegFunctions() {
    std::string path;
    dl_iterate_phdr(noteFilterLibrary, &path);
    // RTLD_NOLOAD: the library is loaded already. A program that is linked statically may still export the functions.
    library_.reset(path.empty() ? nullptr : dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD));
    find(allocGraph, "avfilter_graph_alloc");
    find(freeGraph, "avfilter_graph_free");
    find(parse, "avfilter_graph_parse2");
    find(configure, "avfilter_graph_config");
    find(findFilter, "avfilter_graph_get_filter");
    find(getFrame, "av_buffersink_get_frame");
    find(allocFrame, "av_frame_alloc");
    find(freeFrame, "av_frame_free");
  }

  bool areThere() const { return areThere_; }

  void *(*allocGraph)() = nullptr;
  void (*freeGraph)(void **graph) = nullptr;
  int (*parse)(void *graph, const char *filters, void **inputs, void **outputs) = nullptr;
  int (*configure)(void *graph, void *logContext) = nullptr;
  void *(*findFilter)(void *graph, const char *name) = nullptr;
  int (*getFrame)(void *sink, FrameStart *frame) = nullptr;
  FrameStart *(*allocFrame)() = nullptr;
  void (*freeFrame)(FrameStart **frame) = nullptr;

 private:
  static int noteFilterLibrary(dl_phdr_info *library, std::size_t, void *path) {
    if (!std::strstr(library->dlpi_name, "/libavfilter.")) return 0;
    *static_cast<std::string *>(path) = library->dlpi_name;
    return 1;
  }

  template <typename Function>
  void find(Function &function, const char *name) {
    function = reinterpret_cast<Function>(dlsym(library_ ? library_.get() : RTLD_DEFAULT, name));
    areThere_ = areThere_ && function;
  }

  struct Close {
    void operator()(void *library) const { dlclose(library); }
  };
  std::unique_ptr<void, Close> library_;
  bool areThere_ = true;
};

/// The name under which FFmpeg finds this library.
std::string ownName() {
  Dl_info library = {};
  if (!dladdr(reinterpret_cast<const void *>(&rowPixelsOfFFmpeg), &library)) return {};
  const std::string path = library.dli_fname;
  const std::string file = path.substr(path.rfind('/') + 1);
  return file.substr(0, file.rfind('.'));
}

/// Bytes from one row to the next, or 0.
int askForRowBytes(int width) {
  const FFmpegFunctions ffmpeg;
  if (!ffmpeg.areThere()) return 0;
  const Asking asking;
  int bytes = 0;
  void *graph = ffmpeg.allocGraph();
  FrameStart *frame = ffmpeg.allocFrame();
  const std::string filters =
      "color=size=" + std::to_string(width) + "x1,format=rgba,frei0r=" + ownName() + ",buffersink";
  void *inputs = nullptr;
  void *outputs = nullptr;
  if (graph && frame && ffmpeg.parse(graph, filters.c_str(), &inputs, &outputs) >= 0 &&
      ffmpeg.configure(graph, nullptr) >= 0) {
    void *sink = ffmpeg.findFilter(graph, "Parsed_buffersink_3");
    if (sink && ffmpeg.getFrame(sink, frame) >= 0) bytes = frame->linesize[0];
  }
  ffmpeg.freeFrame(&frame);
  ffmpeg.freeGraph(&graph);
  return bytes;
}

constexpr int roundedUp(int width, int unit) { return (width + unit - 1) / unit * unit; }

}  // namespace

int rowPixelsOfFFmpeg(int width) {
  if (width < 1) return 0;
  const int bytes = askForRowBytes(width);
  if (bytes > 0 && bytes % 4 == 0 && bytes / 4 >= width) return bytes / 4;
  // Unknown, unless both ways of rounding agree.
  return roundedUp(width, 4) == roundedUp(width, 16) ? roundedUp(width, 4) : 0;
}

bool isAskingForRows() { return isAsking; }

}  // namespace pyrelux::adapters
