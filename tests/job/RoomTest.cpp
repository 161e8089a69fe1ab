#include "JobTest.h"
#include "Room.h"
#include "TouchedBorders.h"
#include "ValueError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace pyrelux::job {
namespace {

using testing::ElementsAre;

project::Scene scene(const std::map<std::string, std::string> &fields) {
  project::Scene scene;
  for (const auto &[key, text] : fields) project::sceneField(key).parse(scene, text);
  return scene;
}

const media::PictureShape logo{100, 50, 1.0};

std::vector<int> numbers(const Room &room) {
  return {room.frame.width, room.frame.height, room.width, room.height, room.left, room.top};
}

TEST(Rooms, AreThePictureUnlessAsked) {
  EXPECT_TRUE(roomFor({}, logo, logo).isWhole(logo));
  EXPECT_FALSE(roomFor(scene({{"place", "50,60"}}), logo, logo).isWhole(logo));
}

TEST(Rooms, HaveThePictureInTheMiddleOfACanvas) {
  EXPECT_THAT(numbers(roomFor(scene({{"canvas", "400x200"}}), logo, logo)), ElementsAre(400, 200, 100, 50, 150, 75));
  EXPECT_THAT(numbers(roomFor(scene({{"canvas", "50x50"}}), logo, logo)), ElementsAre(50, 50, 50, 25, 0, 12))
      << "smaller to fit";
  EXPECT_THAT(numbers(roomFor(scene({{"canvas", "50x50"}, {"fit", "none"}}), logo, logo)),
              ElementsAre(50, 50, 100, 50, -25, 0));
}

TEST(Rooms, PutAndFitThePicture) {
  EXPECT_THAT(numbers(roomFor(scene({{"canvas", "400x200"}, {"fit", "contain"}}), logo, logo)),
              ElementsAre(400, 200, 400, 200, 0, 0));
  EXPECT_THAT(numbers(roomFor(scene({{"canvas", "400x200"}, {"fit", "50%"}, {"place", "25,25"}}), logo, logo)),
              ElementsAre(400, 200, 200, 100, 0, 100))
      << "from the left and from the bottom";
  EXPECT_THAT(numbers(roomFor(scene({{"fit", "50%"}}), logo, logo)), ElementsAre(100, 50, 50, 25, 25, 12))
      << "without a canvas, in its own frame";
  EXPECT_THAT(numbers(roomFor({}, logo, {300, 300, 1.0})), ElementsAre(300, 300, 100, 50, 100, 125));
}

TEST(Rooms, CountWhatIsSeenOfPixels) {
  const Room room = roomFor({}, {100, 50, 2.0}, {400, 100, 1.0});
  EXPECT_THAT(numbers(room), ElementsAre(400, 100, 200, 50, 100, 25));
  EXPECT_EQ(roomFor(scene({{"canvas", "400x200"}}), {100, 50, 2.0}, logo).frame.pixelAspect, 2.0)
      << "a canvas has the picture's pixels";
}

TEST(Rooms, ArePaddedInPixelsOrPercentOfTheHeight) {
  EXPECT_THAT(numbers(roomFor(scene({{"pad", "10,20%"}}), logo, logo)), ElementsAre(120, 70, 100, 50, 10, 10));
  EXPECT_THAT(numbers(roomFor(scene({{"pad", "1,2,3,4"}}), logo, logo)), ElementsAre(106, 54, 100, 50, 4, 1));
  EXPECT_TRUE(roomFor(scene({{"pad", "auto"}}), logo, logo).isWhole(logo)) << "not known yet";
}

TEST(Rooms, AreRefusedWhenTheyDoNotGoTogetherOrAreTooLarge) {
  EXPECT_THROW(roomFor(scene({{"pad", "1"}, {"canvas", "9x9"}}), logo, logo), ValueError);
  EXPECT_THROW(roomFor(scene({{"pad", "1"}, {"place", "1,1"}}), logo, logo), ValueError);
  EXPECT_THROW(roomFor(scene({{"pad", "1"}, {"fit", "none"}}), logo, logo), ValueError);
  EXPECT_THROW(roomFor(scene({{"pad", "16000"}}), logo, logo), ValueError);
  EXPECT_THROW(roomFor(scene({{"canvas", "9000x9000"}, {"fit", "1000%"}}), {100, 100, 1.0}, logo), ValueError);
}

Image withPixel(int x, int y, float level) {
  Image image = Image::floats(8, 6, Alpha::Premultiplied);
  image.asFloats()[4 * static_cast<std::size_t>(y * 8 + x)] = level;
  image.asFloats()[4 * static_cast<std::size_t>(y * 8 + x) + 3] = level;
  return image;
}

std::vector<std::string> remarksOf(const TouchedBorders &borders) {
  Journal journal;
  borders.remark(journal);
  return journal.lines;
}

TEST(TouchedBorders, AreRemarkedWithTheirFrames) {
  const Image nothing = Image::bytes(8, 6, Alpha::Premultiplied);
  TouchedBorders borders;
  borders.look(4, nothing, withPixel(3, 3, 1.0f));
  EXPECT_TRUE(remarksOf(borders).empty());
  borders.look(5, nothing, withPixel(3, 0, 0.5f));
  borders.look(6, nothing, toBytes(withPixel(3, 0, 0.5f)));
  borders.look(7, nothing, withPixel(7, 2, 0.5f));
  EXPECT_THAT(
      remarksOf(borders),
      ElementsAre("remark: the fire is cut off at the top, right of 2 of 4 frames, first of frame 5; --pad auto "
                  "makes room for it"));
}

TEST(TouchedBorders, AreThoseOfEachSideAlone) {
  const Image nothing = Image::bytes(8, 6, Alpha::Premultiplied);
  const std::map<std::string, std::pair<int, int>> places{
      {"top", {2, 0}}, {"right", {7, 2}}, {"bottom", {2, 5}}, {"left", {0, 2}}};
  for (const auto &[side, place] : places) {
    TouchedBorders borders;
    borders.look(1, nothing, withPixel(place.first, place.second, 1.0f));
    EXPECT_THAT(remarksOf(borders), ElementsAre(testing::HasSubstr("cut off at the " + side + " of")));
  }
}

TEST(TouchedBorders, DoNotCountWhereTheInputEndsOrWhatNobodySees) {
  TouchedBorders borders;
  borders.look(1, withPixel(6, 0, 1.0f), withPixel(3, 0, 1.0f));
  borders.look(2, Image::bytes(8, 6, Alpha::Premultiplied), withPixel(3, 0, 0.015f));
  EXPECT_TRUE(remarksOf(borders).empty());
}

}  // namespace
}  // namespace pyrelux::job
