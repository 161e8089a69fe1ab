#include "ExrEncoder.h"

#include <Iex.h>
#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfIO.h>
#include <ImfOutputFile.h>
#include <ImfStringAttribute.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <utility>

#include "MediaErrors.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace pyrelux::media {

namespace {

/// The file that grows in memory.
class Growing : public Imf::OStream {
 public:
  explicit Growing(const std::string &path) : OStream(path.c_str()) {}

  void write(const char from[], int count) override {
    bytes_.resize(std::max(bytes_.size(), position_ + static_cast<std::size_t>(count)));
    std::memcpy(bytes_.data() + position_, from, static_cast<std::size_t>(count));
    position_ += static_cast<std::size_t>(count);
  }
  std::uint64_t tellp() override { return position_; }
  void seekp(std::uint64_t position) override { position_ = position; }

  std::vector<std::uint8_t> take() { return std::move(bytes_); }

 private:
  std::vector<std::uint8_t> bytes_;
  std::size_t position_ = 0;
};

/// In the frame's order of planes.
constexpr const char *channelNames[] = {"G", "B", "R", "A"};

/// Adds the text as the attributes "NAME.001", "NAME.002" and so on. FFmpeg 5.1 cannot read files with longer ones.
void addText(Imf::Header &header, const std::string &name, const std::string &text) {
  constexpr std::size_t longest = 255;
  for (std::size_t begin = 0, number = 1; begin < text.size(); begin += longest, ++number) {
    std::string digits = std::to_string(number);
    digits.insert(0, 3 - std::min<std::size_t>(3, digits.size()), '0');
    header.insert(name + "." + digits, Imf::StringAttribute(text.substr(begin, longest)));
  }
}

/// As many rows are compressed together.
constexpr int bandHeight = 16;

/// `Sample`: what the file holds, `type` its name.
template <typename Sample>
std::vector<std::uint8_t> encode(const AVFrame &frame, const StillNotes &notes, Imf::PixelType type) {
  const int planes = av_pix_fmt_count_planes(static_cast<AVPixelFormat>(frame.format));
  const std::size_t width = static_cast<std::size_t>(frame.width);
  Growing target(notes.path);
  try {
    Imf::Header header(frame.width, frame.height);
    header.compression() = Imf::ZIP_COMPRESSION;
    header.pixelAspectRatio() = static_cast<float>(notes.pixelAspect);
    for (int plane = 0; plane < planes; ++plane) header.channels().insert(channelNames[plane], Imf::Channel(type));
    addText(header, "pyrelux", notes.record);

    Imf::OutputFile file(target, header, 0);
    std::vector<Sample> band(static_cast<std::size_t>(planes) * width * bandHeight);
    for (int top = 0; top < frame.height; top += bandHeight) {
      const int rows = std::min(bandHeight, frame.height - top);
      Imf::FrameBuffer buffer;
      for (int plane = 0; plane < planes; ++plane) {
        Sample *const samples = &band[static_cast<std::size_t>(plane) * width * bandHeight];
        for (int row = 0; row < rows; ++row) {
          const auto *from = reinterpret_cast<const float *>(
              frame.data[plane] + static_cast<std::ptrdiff_t>(top + row) * frame.linesize[plane]);
          std::transform(from, from + width, samples + static_cast<std::size_t>(row) * width,
                         [](float sample) { return Sample(sample); });
        }
        buffer.insert(channelNames[plane], Imf::Slice::Make(type, samples, Imath::V2i(0, top), frame.width, rows,
                                                            sizeof(Sample), width * sizeof(Sample)));
      }
      file.setFrameBuffer(buffer);
      file.writePixels(rows);
    }
  } catch (const Iex::BaseExc &error) {
    failEncoding(notes.path, error.what());
  }
  return target.take();
}

}  // namespace

std::vector<std::uint8_t> encodeHalfExr(const AVFrame &frame, const StillNotes &notes) {
  return encode<Imath::half>(frame, notes, Imf::HALF);
}

std::vector<std::uint8_t> encodeFloatExr(const AVFrame &frame, const StillNotes &notes) {
  return encode<float>(frame, notes, Imf::FLOAT);
}

}  // namespace pyrelux::media
