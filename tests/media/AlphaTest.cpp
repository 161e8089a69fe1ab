// What an input's colour means, by its format and as asked for.

#include "TestFiles.h"

namespace pyrelux::media::test {
namespace {

class InputAlphaTest : public MediaTest {
 protected:
  InputAlphaTest() {
    picture.asBytes() = {200, 100, 50, 128, 10, 20, 30, 0};
    save(path("a.png"), encodeStill("png", *frameOf(picture, AV_PIX_FMT_RGBA)));
    save(path("a.tif"), encodeStill("tiff", *frameOf(picture, AV_PIX_FMT_RGBA)));
    save(path("a_1.png"), encodeStill("png", *frameOf(picture, AV_PIX_FMT_RGBA)));
    save(path("a.exr"), encodeStill("exr", *frameOf(toFloat(picture), AV_PIX_FMT_GBRAPF32), "format=float"));
    std::vector<FramePtr> frames;
    frames.push_back(frameOf(picture, AV_PIX_FMT_BGRA));
    saveMovie(path("a.mkv"), "matroska", "ffv1", frames);
  }

  Image picture = Image::bytes(2, 1, Alpha::Straight);
};

constexpr const char *files[] = {"a.png", "a.tif", "a.exr", "a.mkv", "a_#.png"};

TEST_F(InputAlphaTest, IsTheFormatsUnlessAskedFor) {
  for (const char *name : files) {
    const Image image = Reader::open(path(name), InputAlpha::Auto)->read(1);
    EXPECT_EQ(image.alpha(), std::string(name) == "a.exr" ? Alpha::Premultiplied : Alpha::Straight) << name;
    EXPECT_EQ(toBytes(image).asBytes(), picture.asBytes()) << name;
  }
}

TEST_F(InputAlphaTest, IsWhatWasAskedFor) {
  for (const char *name : files)
    for (const auto &[asked, alpha] :
         {std::pair{InputAlpha::Straight, Alpha::Straight}, {InputAlpha::Premultiplied, Alpha::Premultiplied}}) {
      const auto reader = Reader::open(path(name), asked);
      const Image image = reader->read(1);
      EXPECT_EQ(image.alpha(), alpha) << name;
      EXPECT_EQ(toBytes(image).asBytes(), picture.asBytes()) << name;
      EXPECT_TRUE(reader->info().hasAlpha) << name;
    }
}

TEST_F(InputAlphaTest, IsIgnoredIfAskedFor) {
  for (const char *name : files) {
    const auto reader = Reader::open(path(name), InputAlpha::None);
    EXPECT_EQ(toBytes(premultiplied(reader->read(1))).asBytes(), (Image::Bytes{200, 100, 50, 255, 10, 20, 30, 255}))
        << name;
    EXPECT_FALSE(reader->info().hasAlpha) << name;
  }
}

}  // namespace
}  // namespace pyrelux::media::test
