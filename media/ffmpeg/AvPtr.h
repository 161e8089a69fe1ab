#pragma once

#include <memory>
#include <new>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libavutil/dict.h>
#include <libavutil/frame.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

/// Owners of the libraries' objects.
namespace pyrelux::media {

/// Calls a function that takes the address of a pointer, frees the object and clears the pointer.
template <auto function>
struct AddressDeleter {
  template <typename Object>
  void operator()(Object *object) const {
    function(&object);
  }
};

/// Calls a function that takes the pointer and frees the object.
template <auto function>
struct Deleter {
  template <typename Object>
  void operator()(Object *object) const {
    function(object);
  }
};

using FramePtr = std::unique_ptr<AVFrame, AddressDeleter<av_frame_free>>;
using PacketPtr = std::unique_ptr<AVPacket, AddressDeleter<av_packet_free>>;
using CodecPtr = std::unique_ptr<AVCodecContext, AddressDeleter<avcodec_free_context>>;
using DemuxerPtr = std::unique_ptr<AVFormatContext, AddressDeleter<avformat_close_input>>;
using MuxerPtr = std::unique_ptr<AVFormatContext, Deleter<avformat_free_context>>;
using IoPtr = std::unique_ptr<AVIOContext, AddressDeleter<avio_closep>>;
using ResamplerPtr = std::unique_ptr<SwrContext, AddressDeleter<swr_free>>;
using SampleQueuePtr = std::unique_ptr<AVAudioFifo, Deleter<av_audio_fifo_free>>;
/// Of an AVIOContext over functions of one's own, with its buffer.
struct BufferedIoDeleter {
  void operator()(AVIOContext *io) const {
    av_freep(&io->buffer);
    avio_context_free(&io);
  }
};
using BufferedIoPtr = std::unique_ptr<AVIOContext, BufferedIoDeleter>;
using ScalerPtr = std::unique_ptr<SwsContext, Deleter<sws_freeContext>>;

/// The libraries' constructors return null for one reason only.
template <typename Handle>
Handle allocated(typename Handle::pointer object) {
  if (!object) throw std::bad_alloc();
  return Handle(object);
}

inline FramePtr newFrame() { return allocated<FramePtr>(av_frame_alloc()); }
inline PacketPtr newPacket() { return allocated<PacketPtr>(av_packet_alloc()); }

/// Options by name. The libraries remove those that they understand.
class Dictionary {
 public:
  Dictionary() = default;
  Dictionary(const Dictionary &) = delete;
  Dictionary &operator=(const Dictionary &) = delete;
  ~Dictionary() { av_dict_free(&entries_); }

  void set(const char *name, const char *value) { av_dict_set(&entries_, name, value, 0); }
  AVDictionary **get() { return &entries_; }

 private:
  AVDictionary *entries_ = nullptr;
};

}  // namespace pyrelux::media
