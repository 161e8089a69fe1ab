#include "Deinterlacer.h"

#include <new>

#include "MediaErrors.h"

extern "C" {
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
}

namespace pyrelux::media {

namespace {

AVFilterContext *addFilter(AVFilterGraph &graph, const char *name) {
  AVFilterContext *filter = avfilter_graph_alloc_filter(&graph, avfilter_get_by_name(name), name);
  if (!filter) throw std::bad_alloc();
  return filter;
}

}  // namespace

void Deinterlacer::open(const AVFrame &frame) {
  graph_ = allocated<GraphPtr>(avfilter_graph_alloc());
  source_ = addFilter(*graph_, "buffer");
  sink_ = addFilter(*graph_, "buffersink");
  AVFilterContext *bwdif = addFilter(*graph_, "bwdif");
  AVBufferSrcParameters *parameters = av_buffersrc_parameters_alloc();
  if (!parameters) throw std::bad_alloc();
  parameters->format = frame.format;
  parameters->width = frame.width;
  parameters->height = frame.height;
  parameters->sample_aspect_ratio = frame.sample_aspect_ratio;
  parameters->time_base = {1, 1};
  const int isSet = av_buffersrc_parameters_set(source_, parameters);
  av_free(parameters);
  if (isSet < 0 || avfilter_init_str(source_, nullptr) < 0 || avfilter_init_str(sink_, nullptr) < 0 ||
      avfilter_init_str(bwdif, "mode=send_frame:parity=auto:deint=all") < 0 ||
      avfilter_link(source_, 0, bwdif, 0) < 0 || avfilter_link(bwdif, 0, sink_, 0) < 0 ||
      avfilter_graph_config(graph_.get(), nullptr) < 0)
    failReading(path_, "pictures of " + sizeText(frame.width, frame.height) + " cannot be deinterlaced");
}

void Deinterlacer::send(AVFrame *frame) {
  if (frame) {
    if (!graph_) open(*frame);
    if (!frame->interlaced_frame) {
      frame->interlaced_frame = 1;
      frame->top_field_first = order_ != AV_FIELD_BB && order_ != AV_FIELD_TB;
    }
    frame->pts = count_++;
  }
  // A movie without a picture.
  if (!graph_) return;
  // The filters would go on with what they were made for.
  const AVFilterLink &link = *source_->outputs[0];
  if (frame && (frame->width != link.w || frame->height != link.h || frame->format != link.format))
    failReading(path_, "its pictures cannot be deinterlaced: their size or layout changes");
  if (av_buffersrc_add_frame_flags(source_, frame, AV_BUFFERSRC_FLAG_PUSH) < 0) throw std::bad_alloc();
}

AVFrame *Deinterlacer::receive() {
  av_frame_unref(frame_.get());
  return graph_ && av_buffersink_get_frame(sink_, frame_.get()) >= 0 ? frame_.get() : nullptr;
}

}  // namespace pyrelux::media
