// What our PNGs hold, read by FFmpeg and zlib, which did not write them.

#include <zlib.h>

#include <algorithm>
#include <array>
#include <random>
#include <set>
#include <string_view>
#include <tuple>

#include "Decoder.h"
#include "PngEncoder.h"
#include "TestFiles.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace pyrelux::media::test {
namespace {

struct Chunk {
  std::string type;
  FileBytes data;
};

std::uint32_t numberAt(const FileBytes &bytes, std::size_t position) {
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < 4; ++i) number = number << 8 | bytes.at(position + i);
  return number;
}

/// Expects right checksums.
std::vector<Chunk> chunksOf(const FileBytes &png) {
  std::vector<Chunk> chunks;
  for (std::size_t at = 8; at < png.size();) {
    const std::size_t size = numberAt(png, at);
    const auto begin = png.begin() + static_cast<std::ptrdiff_t>(at + 4);
    const auto data = begin + 4, end = data + static_cast<std::ptrdiff_t>(size);
    EXPECT_EQ(numberAt(png, at + 8 + size), crc32(0, &*begin, static_cast<uInt>(4 + size)));
    chunks.push_back({std::string(begin, data), FileBytes(data, end)});
    at += 12 + size;
  }
  return chunks;
}

std::string typesOf(const FileBytes &png) {
  std::string types;
  for (const Chunk &chunk : chunksOf(png)) types += chunk.type + " ";
  return types;
}

/// The numbers of the filters that its rows have.
std::set<int> filtersOf(const FileBytes &png, std::size_t rowSize, int height) {
  FileBytes packed;
  for (const Chunk &chunk : chunksOf(png))
    if (chunk.type == "IDAT") packed.insert(packed.end(), chunk.data.begin(), chunk.data.end());
  FileBytes rows((1 + rowSize) * static_cast<std::size_t>(height));
  uLongf size = rows.size();
  EXPECT_EQ(uncompress(rows.data(), &size, packed.data(), packed.size()), Z_OK);
  EXPECT_EQ(size, rows.size());
  std::set<int> filters;
  for (std::size_t at = 0; at < rows.size(); at += 1 + rowSize) filters.insert(rows[at]);
  return filters;
}

/// Ramps along the rows, ramps down the columns, noise, the mean of neighbours, and one of them: every filter suits one
/// of them.
void paint(AVFrame &frame, int pixel) {
  std::mt19937 random(5);
  const auto at = [&frame](int y, int i) -> std::uint8_t & { return frame.data[0][y * frame.linesize[0] + i]; };
  for (int y = 0; y < frame.height; ++y)
    for (int i = 0; i < frame.width * pixel; ++i) {
      const int noise = static_cast<int>(random() & 0xFF);
      const int left = i < pixel ? 0 : at(y, i - pixel), above = y == 0 ? 0 : at(y - 1, i);
      const int nearest = noise % 16 < 8 ? left : above;
      const std::array kinds{3 * i, above + noise % 2, noise, (left + above) / 2 + noise % 2, nearest};
      at(y, i) = static_cast<std::uint8_t>(kinds[static_cast<std::size_t>(y) / 4 % kinds.size()]);
    }
}

class PngTest : public testing::TestWithParam<std::tuple<AVPixelFormat, PngEffort>> {};

TEST_P(PngTest, HoldsEverySample) {
  const auto [layout, effort] = GetParam();
  for (const auto &[width, height] : {std::pair{1, 1}, {1, 9}, {9, 1}, {37, 41}}) {
    const FramePtr frame = blankFrame(layout, width, height);
    const int pixel = av_get_padded_bits_per_pixel(av_pix_fmt_desc_get(layout)) / 8;
    const auto rowSize = static_cast<std::size_t>(width * pixel);
    paint(*frame, pixel);
    const FileBytes png = encodePng(*frame, 1.0, effort);
    Decoder decoder(AV_CODEC_ID_PNG, "picture.png");
    const PacketPtr packet = newPacket();
    ASSERT_EQ(av_new_packet(packet.get(), static_cast<int>(png.size())), 0);
    std::copy(png.begin(), png.end(), packet->data);
    decoder.send(packet.get());
    const AVFrame *const back = decoder.receive();
    ASSERT_NE(back, nullptr);
    ASSERT_EQ(back->format, layout);
    ASSERT_EQ(back->width, width);
    ASSERT_EQ(back->height, height);
    for (int y = 0; y < height; ++y)
      EXPECT_EQ(std::string_view(reinterpret_cast<char *>(back->data[0] + y * back->linesize[0]), rowSize),
                std::string_view(reinterpret_cast<char *>(frame->data[0] + y * frame->linesize[0]), rowSize))
          << y;
    if (height <= 9) continue;
    const std::set<int> filters = effort == PngEffort::Usual ? std::set{1, 2, 3, 4} : std::set{1};
    EXPECT_EQ(filtersOf(png, rowSize, height), filters);
  }
}

INSTANTIATE_TEST_SUITE_P(Layouts, PngTest,
                         testing::Combine(testing::Values(AV_PIX_FMT_RGB24, AV_PIX_FMT_RGBA, AV_PIX_FMT_RGB48BE,
                                                          AV_PIX_FMT_RGBA64BE),
                                          testing::Values(PngEffort::Usual, PngEffort::Least)));

TEST(PngChunks, SayWhatIsKnown) {
  const FramePtr frame = blankFrame(AV_PIX_FMT_RGBA, 4, 4);
  const FileBytes square = encodePng(*frame, 1.0, PngEffort::Usual);
  EXPECT_EQ(typesOf(square), "IHDR sRGB cHRM gAMA IDAT IEND ");
  // Relative colorimetric; the primaries and the white of sRGB, and 1 / 2.2, in 1/100000.
  EXPECT_EQ(chunksOf(square).at(1).data, FileBytes{1});
  const std::array<std::uint32_t, 8> primaries{31270, 32900, 64000, 33000, 30000, 60000, 15000, 6000};
  for (std::size_t i = 0; i < primaries.size(); ++i)
    EXPECT_EQ(numberAt(chunksOf(square).at(2).data, 4 * i), primaries[i]);
  EXPECT_EQ(numberAt(chunksOf(square).at(3).data, 0), 45455u);
  const FileBytes wide = encodePng(*frame, 16.0 / 15.0, PngEffort::Usual);
  EXPECT_EQ(typesOf(wide), "IHDR pHYs sRGB cHRM gAMA IDAT IEND ");
  EXPECT_EQ(chunksOf(wide).at(1).data, (FileBytes{0, 0, 0, 16, 0, 0, 0, 15, 0}));
}

}  // namespace
}  // namespace pyrelux::media::test
