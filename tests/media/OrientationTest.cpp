// Pictures that are stored lying or mirrored, and pixels that are not square.

#include <array>
#include <cstring>
#include <functional>

#include "Orientation.h"
#include "TestFiles.h"

namespace pyrelux::media::test {
namespace {

constexpr int storedWidth = 6;
constexpr int storedHeight = 4;

/// Where a stored pixel is to be seen, counted from the upright picture's top left.
struct Place {
  int x;
  int y;
};

struct OrientationRow {
  const char *name;
  int exif;                   // the number that EXIF has for it
  std::array<int, 4> matrix;  // a, b, c, d
  std::function<Place(int, int)> place;
};

constexpr int right = storedWidth - 1;
constexpr int bottom = storedHeight - 1;

const std::vector<OrientationRow> rows = {
    {"upright",
     1,
     {1, 0, 0, 1},
     [](int x, int y) {
       return Place{x, y};
     }},
    {"mirrored",
     2,
     {-1, 0, 0, 1},
     [](int x, int y) {
       return Place{right - x, y};
     }},
    {"upside down",
     3,
     {-1, 0, 0, -1},
     [](int x, int y) {
       return Place{right - x, bottom - y};
     }},
    {"flipped",
     4,
     {1, 0, 0, -1},
     [](int x, int y) {
       return Place{x, bottom - y};
     }},
    {"transposed",
     5,
     {0, 1, 1, 0},
     [](int x, int y) {
       return Place{y, x};
     }},
    {"a quarter turn to the right",
     6,
     {0, 1, -1, 0},
     [](int x, int y) {
       return Place{bottom - y, x};
     }},
    {"transposed the other way",
     7,
     {0, -1, -1, 0},
     [](int x, int y) {
       return Place{bottom - y, right - x};
     }},
    {"a quarter turn to the left",
     8,
     {0, -1, 1, 0},
     [](int x, int y) {
       return Place{y, right - x};
     }},
};

void setMatrix(AVFrame &frame, const std::array<int, 4> &matrix, double scale = 65536.0) {
  const auto entry = [&](int index) { return static_cast<std::int32_t>(matrix[index] * scale); };
  const std::int32_t whole[9] = {entry(0), entry(1), 0, entry(2), entry(3), 0, 0, 0, 1 << 30};
  AVFrameSideData *data = av_frame_new_side_data(&frame, AV_FRAME_DATA_DISPLAYMATRIX, sizeof whole);
  std::memcpy(data->data, whole, sizeof whole);
}

void expectUpright(const Image &image, const Image &stored, const OrientationRow &row) {
  const bool isTransposed = row.exif >= 5;
  ASSERT_EQ(image.width(), isTransposed ? storedHeight : storedWidth);
  ASSERT_EQ(image.height(), isTransposed ? storedWidth : storedHeight);
  for (int y = 0; y < storedHeight; ++y)
    for (int x = 0; x < storedWidth; ++x) {
      const auto [toX, toY] = row.place(x, y);
      for (std::size_t channel = 0; channel < 4; ++channel)
        ASSERT_EQ(image.asBytes()[static_cast<std::size_t>(toY * image.width() + toX) * 4 + channel],
                  stored.asBytes()[static_cast<std::size_t>(y * storedWidth + x) * 4 + channel])
            << x << "," << y << " channel " << channel;
    }
}

class OrientationTest : public MediaTest {};

TEST_F(OrientationTest, OfAMovieComesFromItsMatrix) {
  const Image stored = straightPicture(storedWidth, storedHeight);
  for (const OrientationRow &row : rows) {
    SCOPED_TRACE(row.name);
    std::vector<FramePtr> frames;
    for (int frame = 0; frame < 2; ++frame) frames.push_back(frameOf(stored, AV_PIX_FMT_RGBA));
    setMatrix(*frames[0], row.matrix);
    frames[0]->sample_aspect_ratio = {16, 11};
    saveMovie(path("a.mov"), "mov", "png", frames);
    const auto reader = Reader::open(path("a.mov"));
    EXPECT_EQ(reader->info().width, row.exif >= 5 ? storedHeight : storedWidth);
    EXPECT_EQ(reader->info().height, row.exif >= 5 ? storedWidth : storedHeight);
    // A lying pixel is as high as it was wide.
    EXPECT_NEAR(reader->info().pixelAspect, row.exif >= 5 ? 11.0 / 16.0 : 16.0 / 11.0, 1e-9);
    for (const int frame : {2, 1}) expectUpright(reader->read(frame), stored, row);
  }
}

TEST_F(OrientationTest, OfAJpegComesFromItsExif) {
  // Whole blocks of one grey each, which JPEG keeps.
  constexpr int block = 16;
  Image picture = Image::bytes(2 * block, 2 * block, Alpha::Premultiplied);
  for (std::size_t pixel = 0; pixel < picture.sampleCount() / 4; ++pixel) {
    const bool isRight = pixel % (2 * block) >= block;
    const bool isBottom = pixel / (2 * block) >= block;
    for (std::size_t channel = 0; channel < 4; ++channel)
      picture.asBytes()[pixel * 4 + channel] =
          static_cast<std::uint8_t>(channel == 3 ? 255 : 40 + 60 * isRight + 120 * isBottom);
  }
  const FramePtr frame = frameOf(picture, AV_PIX_FMT_YUV444P);
  const FileBytes plain = encodeStill("mjpeg", *frame);
  for (const OrientationRow &row : rows) {
    SCOPED_TRACE(row.name);
    const std::uint8_t segment[] = {0xFF,
                                    0xE1,
                                    0,
                                    34,
                                    'E',
                                    'x',
                                    'i',
                                    'f',
                                    0,
                                    0,
                                    'I',
                                    'I',
                                    42,
                                    0,
                                    8,
                                    0,
                                    0,
                                    0,
                                    1,
                                    0,
                                    0x12,
                                    1,
                                    3,
                                    0,
                                    1,
                                    0,
                                    0,
                                    0,
                                    static_cast<std::uint8_t>(row.exif),
                                    0,
                                    0,
                                    0,
                                    0,
                                    0,
                                    0,
                                    0};
    FileBytes bytes = plain;
    bytes.insert(bytes.begin() + 2, std::begin(segment), std::end(segment));
    save(path("a.jpg"), bytes);
    const Image image = readStill(path("a.jpg"));
    for (const int y : {0, 1})
      for (const int x : {0, 1}) {
        // Of a picture of two pixels by two, the sides are as near as of the larger one.
        const Place place = row.place(x == 0 ? 0 : right, y == 0 ? 0 : bottom);
        const std::size_t pixel = static_cast<std::size_t>((place.y > 0 ? 24 : 8) * 32 + (place.x > 0 ? 24 : 8));
        const double grey = 40 + 60 * x + 120 * y;
        EXPECT_NEAR(image.asBytes()[pixel * 4], grey, 4.0) << x << "," << y;
      }
  }
}

TEST_F(OrientationTest, AnyMatrixLeavesAPicture) {
  const Image stored = straightPicture(storedWidth, storedHeight);
  const auto orientationWith = [&](const std::array<int, 4> &matrix, double scale) {
    const FramePtr frame = frameOf(stored, AV_PIX_FMT_RGBA);
    setMatrix(*frame, matrix, scale);
    return orientationOf(*frame);
  };
  EXPECT_FALSE(orientationWith({0, 0, 0, 0}, 1.0).isTransposed);
  EXPECT_FALSE(orientationWith({1, 1, 1, 1}, -2147483648.0).isTransposed);
  // 30 and 60 degrees: the nearest quarter turn.
  EXPECT_FALSE(orientationWith({87, 50, -50, 87}, 600.0).isTransposed);
  EXPECT_TRUE(orientationWith({50, 87, -87, 50}, 600.0).isTransposed);
  EXPECT_TRUE(orientationWith({50, 87, -87, 50}, 600.0).isMirrored);
}

TEST_F(OrientationTest, PixelAspectIsWritten) {
  const Image picture = straightPicture(64, 36);
  for (const char *name : {"a.mov", "a.mkv", "a.mp4", "a.webm", "a.png", "a.tif", "a.exr", "a.gif", "a.apng"})
    for (const double aspect : {16.0 / 11.0, 0.5, 1.0}) {
      SCOPED_TRACE(std::string(name) + " " + std::to_string(aspect));
      OutputFormat format = formatFor(picture, 8);
      format.pixelAspect = aspect;
      write(path(name), format, {picture});
      // WebM keeps the size in square pixels, which is a whole number, and GIF 64ths.
      const bool isCoarse =
          path(name).find(".webm") != std::string::npos || path(name).find(".gif") != std::string::npos;
      EXPECT_NEAR(Reader::open(path(name))->info().pixelAspect, aspect, isCoarse ? 1.0 / 64.0 : 1e-12);
    }
}

}  // namespace
}  // namespace pyrelux::media::test
