#include "ColourSpace.h"

#include <zimg.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "MediaErrors.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace pyrelux::media {

namespace {

using ConverterPtr = std::unique_ptr<zimg_filter_graph, Deleter<zimg_filter_graph_free>>;
using MemoryPtr = std::unique_ptr<void, Deleter<av_free>>;

/// Pictures are converted by as many rows at a time, so that the copies in planes stay small.
constexpr int bandHeight = 64;

/// Red, green and blue in GBRPF32's order of planes.
constexpr int planeOf[] = {2, 0, 1};

zimg_image_format formatOf(const ColourSpace &space, int width, int height) {
  zimg_image_format format;
  zimg_image_format_default(&format, ZIMG_API_VERSION);
  format.width = static_cast<unsigned>(width);
  format.height = static_cast<unsigned>(height);
  format.pixel_type = ZIMG_PIXEL_FLOAT;
  format.color_family = space.matrix == AVCOL_SPC_RGB ? ZIMG_COLOR_RGB : ZIMG_COLOR_YUV;
  format.matrix_coefficients = static_cast<zimg_matrix_coefficients_e>(space.matrix);
  format.transfer_characteristics = static_cast<zimg_transfer_characteristics_e>(space.transfer);
  format.color_primaries = static_cast<zimg_color_primaries_e>(space.primaries);
  return format;
}

ConverterPtr makeConverter(const ColourSpace &from, const ColourSpace &to, int width, int height) {
  const zimg_image_format source = formatOf(from, width, height);
  const zimg_image_format target = formatOf(to, width, height);
  zimg_graph_builder_params parameters;
  zimg_graph_builder_params_default(&parameters, ZIMG_API_VERSION);
  // The same samples on every processor.
  parameters.cpu_type = ZIMG_CPU_NONE;
  parameters.nominal_peak_luminance = referenceWhite;
  return ConverterPtr(zimg_filter_graph_build(&source, &target, &parameters));
}

FramePtr allocatePlanes(int width, int height) {
  FramePtr frame = newFrame();
  frame->format = AV_PIX_FMT_GBRPF32;
  frame->width = width;
  frame->height = height;
  if (av_frame_get_buffer(frame.get(), 0) < 0) throw std::bad_alloc();
  return frame;
}

float *rowOf(const AVFrame &planes, int channel, int y) {
  const int plane = planeOf[channel];
  return reinterpret_cast<float *>(planes.data[plane] + static_cast<std::ptrdiff_t>(y) * planes.linesize[plane]);
}

}  // namespace

void failConverting(const ColourSpace &space, const std::string &path) {
  failReading(path, std::string("its colours (matrix ") + av_color_space_name(space.matrix) + ", transfer " +
                        av_color_transfer_name(space.transfer) + ", primaries " +
                        av_color_primaries_name(space.primaries) + ") are not known; convert it to BT.709");
}

void convertColours(Image &image, const ColourSpace &from, const ColourSpace &to, const std::string &path) {
  const int height = std::min(image.height(), bandHeight);
  const ConverterPtr converter = makeConverter(from, to, image.width(), height);
  std::size_t memorySize = 0;
  if (!converter || zimg_filter_graph_get_tmp_size(converter.get(), &memorySize) != ZIMG_ERROR_SUCCESS)
    failConverting(from, path);
  const MemoryPtr memory = allocated<MemoryPtr>(av_malloc(std::max<std::size_t>(memorySize, 1)));
  const FramePtr source = allocatePlanes(image.width(), height);
  const FramePtr target = allocatePlanes(image.width(), height);
  zimg_image_buffer_const input = {ZIMG_API_VERSION, {}};
  zimg_image_buffer output = {ZIMG_API_VERSION, {}};
  for (int channel = 0; channel < 3; ++channel) {
    const int plane = planeOf[channel];
    input.plane[channel] = {source->data[plane], source->linesize[plane], ZIMG_BUFFER_MAX};
    output.plane[channel] = {target->data[plane], target->linesize[plane], ZIMG_BUFFER_MAX};
  }
  const std::size_t width = static_cast<std::size_t>(image.width());
  for (int top = 0; top < image.height(); top += height) {
    const int rows = std::min(height, image.height() - top);
    float *const pixels = &image.asFloats()[static_cast<std::size_t>(top) * width * 4];
    const auto forEachRow = [&](const AVFrame &planes, auto work) {
      for (int channel = 0; channel < 3; ++channel)
        for (int y = 0; y < rows; ++y)
          work(rowOf(planes, channel, y), pixels + static_cast<std::size_t>(y) * width * 4 + channel);
    };
    forEachRow(*source, [width](float *plane, const float *samples) {
      for (std::size_t x = 0; x < width; ++x) plane[x] = samples[x * 4];
    });
    if (zimg_filter_graph_process(converter.get(), &input, &output, memory.get(), nullptr, nullptr, nullptr, nullptr) !=
        ZIMG_ERROR_SUCCESS)
      throw std::bad_alloc();
    forEachRow(*target, [width](const float *plane, float *samples) {
      for (std::size_t x = 0; x < width; ++x) samples[x * 4] = plane[x];
    });
  }
}

}  // namespace pyrelux::media
