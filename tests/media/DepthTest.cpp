// What deep files hold comes in whole.

#include "TestFiles.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace pyrelux::media::test {
namespace {

constexpr int levelsAtOnce = 64;

struct LayoutRow {
  AVPixelFormat layout;
  int depth;
};

class Depth : public MediaTest {
 protected:
  /// The first and only frame of a lossless movie whose plane `plane` has these levels in every row.
  Image readMovie(AVPixelFormat layout, int plane, const std::vector<int> &levels, int otherLevel) {
    const int height = 2;
    FramePtr frame = blankFrame(layout, static_cast<int>(levels.size()), height);
    frame->colorspace = AVCOL_SPC_BT709;
    frame->color_range = AVCOL_RANGE_MPEG;
    const AVPixFmtDescriptor &pixels = *av_pix_fmt_desc_get(layout);
    for (int index = 0; index < av_pix_fmt_count_planes(layout); ++index) {
      const bool isChroma = index > 0 && index < 3 && !(pixels.flags & AV_PIX_FMT_FLAG_RGB);
      const int columns = frame->width >> (isChroma ? pixels.log2_chroma_w : 0);
      for (int y = 0; y < height >> (isChroma ? pixels.log2_chroma_h : 0); ++y)
        for (int x = 0; x < columns; ++x)
          reinterpret_cast<std::uint16_t *>(frame->data[index] + y * frame->linesize[index])[x] =
              static_cast<std::uint16_t>(index == plane ? levels[static_cast<std::size_t>(x)] : otherLevel);
    }
    std::vector<FramePtr> frames;
    frames.push_back(std::move(frame));
    saveMovie(path("a.mkv"), "matroska", "ffv1", frames);
    return Reader::open(path("a.mkv"))->read(1);
  }

  InputInfo info() const { return Reader::open(path("a.mkv"))->info(); }
};

/// Neighbours, from `first` on.
std::vector<int> levelsFrom(int first) {
  std::vector<int> levels;
  for (int x = 0; x < levelsAtOnce; ++x) levels.push_back(first + x);
  return levels;
}

TEST_F(Depth, OfRgbMoviesIsKept) {
  const LayoutRow rows[] = {{AV_PIX_FMT_GBRP10, 10},  {AV_PIX_FMT_GBRP12, 12},  {AV_PIX_FMT_GBRP16, 16},
                            {AV_PIX_FMT_GBRAP10, 10}, {AV_PIX_FMT_GBRAP12, 12}, {AV_PIX_FMT_GBRAP16, 16}};
  for (const LayoutRow &row : rows) {
    SCOPED_TRACE(av_get_pix_fmt_name(row.layout));
    const int largest = (1 << row.depth) - 1;
    // Planes are green, blue, red and alpha.
    for (int plane = 0; plane < av_pix_fmt_count_planes(row.layout); ++plane) {
      const std::vector<int> levels = levelsFrom(largest / 3);
      const Image image = readMovie(row.layout, plane, levels, largest);
      ASSERT_EQ(info().bitsPerComponent, row.depth);
      const std::size_t channel = std::size_t{plane == 0 ? 1u : plane == 1 ? 2u : plane == 2 ? 0u : 3u};
      for (std::size_t x = 0; x < levels.size(); ++x)
        for (std::size_t other = 0; other < 4; ++other)
          ASSERT_EQ(image.asFloats()[x * 4 + other],
                    other == channel ? static_cast<float>(levels[x]) / static_cast<float>(largest) : 1.0f);
    }
  }
}

TEST_F(Depth, OfYuvMoviesIsKept) {
  const LayoutRow rows[] = {{AV_PIX_FMT_YUV444P10, 10}, {AV_PIX_FMT_YUV422P10, 10}, {AV_PIX_FMT_YUV420P10, 10},
                            {AV_PIX_FMT_YUV444P12, 12}, {AV_PIX_FMT_YUV422P12, 12}, {AV_PIX_FMT_YUV420P12, 12}};
  for (const LayoutRow &row : rows) {
    SCOPED_TRACE(av_get_pix_fmt_name(row.layout));
    const int scale = 1 << (row.depth - 8);
    const std::vector<int> levels = levelsFrom(100 * scale);
    const Image image = readMovie(row.layout, 0, levels, 128 * scale);
    ASSERT_TRUE(image.isFloat());
    EXPECT_EQ(info().bitsPerComponent, row.depth);
    // Grey, since both colour differences are none: less than a tenth of a level off in every channel.
    const double level = 1.0 / (219.0 * scale);
    for (std::size_t x = 0; x < levels.size(); ++x)
      for (std::size_t channel = 0; channel < 3; ++channel)
        ASSERT_NEAR(image.asFloats()[x * 4 + channel], (levels[x] - 16 * scale) * level, level / 10) << x;
  }
}

TEST_F(Depth, OfAlphaInYuvMoviesIsKept) {
  const std::vector<int> levels = levelsFrom(300);
  const Image image = readMovie(AV_PIX_FMT_YUVA444P10, 3, levels, 512);
  for (std::size_t x = 0; x < levels.size(); ++x)
    ASSERT_EQ(image.asFloats()[x * 4 + 3], static_cast<float>(levels[x]) / 1023.0f);
}

TEST_F(Depth, Of16BitStillsIsKept) {
  // Every level, in both orders of bytes.
  for (const auto &[encoder, layout] : {std::pair{"png", AV_PIX_FMT_RGBA64BE}, {"tiff", AV_PIX_FMT_RGBA64LE}}) {
    FramePtr frame = blankFrame(layout, 256, 256);
    const bool bigEndian = layout == AV_PIX_FMT_RGBA64BE;
    for (int level = 0; level < 65536; ++level)
      for (int channel = 0; channel < 4; ++channel) {
        const int value = (level + channel * 1000) % 65536;
        std::uint8_t *sample = frame->data[0] + level / 256 * frame->linesize[0] + level % 256 * 8 + channel * 2;
        sample[bigEndian ? 0 : 1] = static_cast<std::uint8_t>(value >> 8);
        sample[bigEndian ? 1 : 0] = static_cast<std::uint8_t>(value);
      }
    save(path("a.png"), encodeStill(encoder, *frame));
    const Image image = readStill(path("a.png"));
    ASSERT_TRUE(image.isFloat());
    for (std::size_t sample = 0; sample < image.sampleCount(); ++sample)
      ASSERT_EQ(image.asFloats()[sample], static_cast<float>((sample / 4 + sample % 4 * 1000) % 65536) / 65535.0f)
          << encoder << " " << sample;
  }
}

}  // namespace
}  // namespace pyrelux::media::test
