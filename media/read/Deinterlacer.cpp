#include "Deinterlacer.h"

#include <dlfcn.h>

#include <new>
#include <string>
#include <type_traits>

#include "MediaErrors.h"

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/macros.h>
}

namespace pyrelux::media {

namespace {

#if defined(__APPLE__)
constexpr char libraryName[] = "libavfilter." AV_STRINGIFY(LIBAVFILTER_VERSION_MAJOR) ".dylib";
#else
constexpr char libraryName[] = "libavfilter.so." AV_STRINGIFY(LIBAVFILTER_VERSION_MAJOR);
#endif

/// libavfilter's functions. The library is loaded when a first movie is deinterlaced: with it come a hundred others, of
/// speech and loudness among them, which take longer to load than a picture takes to draw.
struct FilterLibrary {
  decltype(&avfilter_graph_alloc) graphAlloc;
  decltype(&avfilter_graph_free) graphFree;
  decltype(&avfilter_graph_alloc_filter) graphAllocFilter;
  decltype(&avfilter_graph_config) graphConfig;
  decltype(&avfilter_get_by_name) getByName;
  decltype(&avfilter_init_str) initStr;
  decltype(&avfilter_link) link;
  decltype(&av_buffersrc_parameters_alloc) sourceParametersAlloc;
  decltype(&av_buffersrc_parameters_set) sourceParametersSet;
  decltype(&av_buffersrc_add_frame_flags) sourceAddFrame;
  decltype(&av_buffersink_get_frame) sinkGetFrame;

  explicit FilterLibrary(const std::string &path) {
    // Never unloaded.
    void *const library = dlopen(libraryName, RTLD_LAZY | RTLD_LOCAL);
    if (!library) failReading(path, std::string("to be deinterlaced it needs ") + libraryName + ": " + dlerror());
    const auto find = [&](const char *name, auto &function) {
      function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(dlsym(library, name));
      if (!function) failReading(path, std::string("to be deinterlaced it needs ") + name + " in " + libraryName);
    };
    find("avfilter_graph_alloc", graphAlloc);
    find("avfilter_graph_free", graphFree);
    find("avfilter_graph_alloc_filter", graphAllocFilter);
    find("avfilter_graph_config", graphConfig);
    find("avfilter_get_by_name", getByName);
    find("avfilter_init_str", initStr);
    find("avfilter_link", link);
    find("av_buffersrc_parameters_alloc", sourceParametersAlloc);
    find("av_buffersrc_parameters_set", sourceParametersSet);
    find("av_buffersrc_add_frame_flags", sourceAddFrame);
    find("av_buffersink_get_frame", sinkGetFrame);
  }
};

/// The library; `path` is for messages. Thread: any.
const FilterLibrary &filterLibrary(const std::string &path) {
  static const FilterLibrary library(path);
  return library;
}

}  // namespace

/// The filters of a movie.
class Deinterlacer::Graph {
 public:
  Graph(const std::string &path, const AVFrame &frame) : library_(filterLibrary(path)) {
    graph_ = library_.graphAlloc();
    if (!graph_) throw std::bad_alloc();
    try {
      open(path, frame);
    } catch (...) {
      library_.graphFree(&graph_);
      throw;
    }
  }
  ~Graph() { library_.graphFree(&graph_); }
  Graph(const Graph &) = delete;
  Graph &operator=(const Graph &) = delete;

  /// What the filters were made for: width, height and format.
  const AVFilterLink &made() const { return *source_->outputs[0]; }
  bool add(AVFrame *frame) { return library_.sourceAddFrame(source_, frame, AV_BUFFERSRC_FLAG_PUSH) >= 0; }
  bool get(AVFrame *frame) { return library_.sinkGetFrame(sink_, frame) >= 0; }

 private:
  AVFilterContext *addFilter(const char *name) {
    AVFilterContext *filter = library_.graphAllocFilter(graph_, library_.getByName(name), name);
    if (!filter) throw std::bad_alloc();
    return filter;
  }

  void open(const std::string &path, const AVFrame &frame) {
    source_ = addFilter("buffer");
    sink_ = addFilter("buffersink");
    AVFilterContext *bwdif = addFilter("bwdif");
    AVBufferSrcParameters *parameters = library_.sourceParametersAlloc();
    if (!parameters) throw std::bad_alloc();
    parameters->format = frame.format;
    parameters->width = frame.width;
    parameters->height = frame.height;
    parameters->sample_aspect_ratio = frame.sample_aspect_ratio;
    parameters->time_base = {1, 1};
    const int isSet = library_.sourceParametersSet(source_, parameters);
    av_free(parameters);
    if (isSet < 0 || library_.initStr(source_, nullptr) < 0 || library_.initStr(sink_, nullptr) < 0 ||
        library_.initStr(bwdif, "mode=send_frame:parity=auto:deint=all") < 0 ||
        library_.link(source_, 0, bwdif, 0) < 0 || library_.link(bwdif, 0, sink_, 0) < 0 ||
        library_.graphConfig(graph_, nullptr) < 0)
      failReading(path, "pictures of " + sizeText(frame.width, frame.height) + " cannot be deinterlaced");
  }

  const FilterLibrary &library_;
  AVFilterGraph *graph_;
  AVFilterContext *source_ = nullptr;  // the graph's
  AVFilterContext *sink_ = nullptr;    // the graph's
};

Deinterlacer::Deinterlacer(const std::string &path, AVFieldOrder order) : path_(path), order_(order) {}
Deinterlacer::~Deinterlacer() = default;

void Deinterlacer::send(AVFrame *frame) {
  if (frame) {
    if (!graph_) graph_ = std::make_unique<Graph>(path_, *frame);
    if (!frame->interlaced_frame) {
      frame->interlaced_frame = 1;
      frame->top_field_first = order_ != AV_FIELD_BB && order_ != AV_FIELD_TB;
    }
    frame->pts = count_++;
  }
  // A movie without a picture.
  if (!graph_) return;
  // The filters would go on with what they were made for.
  const AVFilterLink &link = graph_->made();
  if (frame && (frame->width != link.w || frame->height != link.h || frame->format != link.format))
    failReading(path_, "its pictures cannot be deinterlaced: their size or layout changes");
  if (!graph_->add(frame)) throw std::bad_alloc();
}

AVFrame *Deinterlacer::receive() {
  av_frame_unref(frame_.get());
  return graph_ && graph_->get(frame_.get()) ? frame_.get() : nullptr;
}

}  // namespace pyrelux::media
