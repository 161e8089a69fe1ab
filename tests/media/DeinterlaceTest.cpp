// Movies whose pictures are pairs of fields.

#include <cmath>

#include "TestFiles.h"

namespace pyrelux::media::test {
namespace {

constexpr int side = 48;
constexpr int count = 8;

/// A bar that moves by three pixels from field to field; the fields of a picture are two moments.
Image fields(int picture, bool isTopFirst) {
  Image image = Image::bytes(side, side, Alpha::Straight);
  for (int y = 0; y < side; ++y)
    for (int x = 0; x < side; ++x) {
      const bool isLater = (y % 2 == 1) == isTopFirst;
      const int left = 3 * (2 * picture + isLater);
      const bool isBar = x >= left % side && x < left % side + 12;
      std::uint8_t *pixel = &image.asBytes()[static_cast<std::size_t>(y * side + x) * 4];
      pixel[0] = pixel[1] = pixel[2] = isBar ? 220 : 30;
      pixel[3] = 255;
    }
  return image;
}

/// How much rows differ from the mean of their neighbours.
double combing(const Image &image) {
  const Image bytes = toBytes(image);
  double sum = 0.0;
  for (int y = 2; y < side - 2; ++y)
    for (int x = 0; x < side; ++x) {
      const auto level = [&](int row) { return bytes.asBytes()[static_cast<std::size_t>(row * side + x) * 4]; };
      sum += std::fabs(2.0 * level(y) - level(y - 1) - level(y + 1));
    }
  return sum;
}

class Deinterlacing : public MediaTest {
 protected:
  void saveFields(bool isTopFirst, bool isTold = true, AVPixelFormat layout = AV_PIX_FMT_BGRA) {
    std::vector<FramePtr> frames;
    for (int picture = 0; picture < count; ++picture) {
      frames.push_back(frameOf(fields(picture, isTopFirst), layout));
      frames.back()->interlaced_frame = isTold;
      frames.back()->top_field_first = isTopFirst;
    }
    saveMovie(path("a.mkv"), "matroska", "ffv1", frames);
  }

  std::unique_ptr<Reader> open(bool deinterlace) {
    ReadOptions options;
    options.deinterlace = deinterlace;
    return Reader::open(path("a.mkv"), options);
  }
};

TEST_F(Deinterlacing, FieldsAreTold) {
  for (const bool isTold : {true, false}) {
    saveFields(true, isTold);
    EXPECT_EQ(open(false)->info().isInterlaced, isTold);
    EXPECT_FALSE(open(true)->info().isInterlaced);
  }
}

TEST_F(Deinterlacing, PicturesAreWholeAndKeepTheFirstField) {
  for (const AVPixelFormat layout : {AV_PIX_FMT_BGRA, AV_PIX_FMT_GBRAP16, AV_PIX_FMT_YUV444P10, AV_PIX_FMT_GRAY8})
    for (const bool isTopFirst : {true, false}) {
      SCOPED_TRACE(std::to_string(layout) + (isTopFirst ? " top first" : " bottom first"));
      saveFields(isTopFirst, true, layout);
      const auto plain = open(false);
      const auto whole = open(true);
      ASSERT_EQ(whole->info().lastFrame, count);
      EXPECT_EQ(whole->info().frameRate.perSecond(), 25.0);
      for (int frame = 1; frame <= count; ++frame) {
        const Image before = plain->read(frame);
        const Image after = whole->read(frame);
        // What is left are the edges, which the other field guesses.
        EXPECT_LT(combing(after), 0.25 * combing(before)) << frame;
        const Image kept = toBytes(before);
        const Image now = toBytes(after);
        for (int y = isTopFirst ? 0 : 1; y < side; y += 2)
          for (std::size_t sample = 0; sample < side * 4; ++sample)
            ASSERT_EQ(now.asBytes()[static_cast<std::size_t>(y) * side * 4 + sample],
                      kept.asBytes()[static_cast<std::size_t>(y) * side * 4 + sample])
                << "frame " << frame << " row " << y;
      }
    }
}

TEST_F(Deinterlacing, AFrameIsTheSameHoweverItIsReached) {
  saveFields(true);
  const auto once = open(true);
  std::vector<Image> images;
  for (int frame = 1; frame <= count; ++frame) images.push_back(once->read(frame));
  const auto reader = open(true);
  for (const int frame : {5, 2, 3, 8, 1, 8, 4, 4, 7})
    expectSame(reader->read(frame), images[static_cast<std::size_t>(frame) - 1]);
}

TEST_F(Deinterlacing, OneWhoseFieldsAreNotToldIsDoneAsWell) {
  saveFields(true, false);
  EXPECT_LT(combing(open(true)->read(4)), 0.25 * combing(open(false)->read(4)));
}

TEST_F(Deinterlacing, OfOnePictureGivesOne) {
  std::vector<FramePtr> frames;
  frames.push_back(frameOf(fields(0, true), AV_PIX_FMT_BGRA));
  saveMovie(path("a.mkv"), "matroska", "ffv1", frames);
  EXPECT_EQ(open(true)->info().lastFrame, 1);
  EXPECT_NO_THROW(open(true)->read(1));
}

TEST_F(Deinterlacing, TooSmallIsRefused) {
  std::vector<FramePtr> frames;
  frames.push_back(frameOf(straightPicture(2, 2), AV_PIX_FMT_BGRA));
  saveMovie(path("a.mkv"), "matroska", "ffv1", frames);
  try {
    open(true)->read(1);
    ADD_FAILURE() << "read";
  } catch (const InputError &error) {
    EXPECT_NE(std::string(error.what()).find("2x2 pixels cannot be deinterlaced"), std::string::npos) << error.what();
  }
}

}  // namespace
}  // namespace pyrelux::media::test
