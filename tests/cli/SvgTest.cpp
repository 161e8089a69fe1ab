// Drawings that burn.

#include "CliTest.h"

namespace pyrelux::cli::test {
namespace {

class Svg : public CliTest {
 protected:
  Svg() {
    save(path("logo.svg"),
         "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"40\" height=\"20\">"
         "<rect x=\"10\" y=\"5\" width=\"20\" height=\"10\" fill=\"tomato\"/></svg>");
  }

  /// Red of a picture's pixel, where the fire is not.
  int red(const std::string &name, int x, int y) const {
    const std::string pixels = decoded(name, "rgb24");
    const int width = probe(name).at("width").get<int>();
    return static_cast<unsigned char>(pixels.at(3 * static_cast<std::size_t>(y * width + x)));
  }

  const Words still{"--set", "source-opacity=1", "--set", "fire-opacity=0"};
};

TEST_F(Svg, BurnsAtItsNaturalSize) {
  render("logo.svg", "logo.png", still);
  EXPECT_EQ(probe("logo.png").at("width"), 40);
  EXPECT_EQ(probe("logo.png").at("height"), 20);
  EXPECT_EQ(red("logo.png", 20, 10), 255);
  EXPECT_EQ(red("logo.png", 5, 10), 0);
}

TEST_F(Svg, IsDrawnAsLargeAsItIsOnItsCanvas) {
  render("logo.svg", "large.png", still + Words{"--canvas", "400x400", "--fit", "contain"});
  // From 100 to 299 across; a picture of 40 pixels would be blurred there.
  EXPECT_EQ(red("large.png", 99, 200), 0);
  EXPECT_EQ(red("large.png", 100, 200), 255);
  EXPECT_EQ(red("large.png", 299, 200), 255);
  EXPECT_EQ(red("large.png", 300, 200), 0);
}

TEST_F(Svg, IsAnInputLikeAnyOther) {
  const Result over = pyrelux(renderWords("logo.svg", "logo.svg"));
  EXPECT_EQ(over.exitCode, 4) << "no picture is written as a drawing";
  expectRefusal(pyrelux(renderWords("logo.svg", "out.png", {"--input-alpha", "none"})), {"'--input-alpha'", "drawing"});
  save(path("broken.svg"), "<svg");
  const Result broken = pyrelux(renderWords("broken.svg", "out.png"));
  EXPECT_EQ(broken.exitCode, 3);
  expectRefusal(broken, {"'broken.svg'"});
  expectSuccess(pyrelux(renderWords("logo.svg", "fire_%d.png", {"--frames", "1-2"})));
  Words resumed = renderWords("logo.svg", "fire_%d.png", {"--frames", "1-2", "--resume", "--verbose"});
  resumed.erase(std::find(resumed.begin(), resumed.end(), "--overwrite"));
  EXPECT_THAT(pyrelux(resumed).err, testing::HasSubstr("2 of 2 frames were there already"));
}

}  // namespace
}  // namespace pyrelux::cli::test
