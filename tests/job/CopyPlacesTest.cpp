// Where the filter draws its copies, as the host sees it.

#include "CopyPlaces.h"

#include <gtest/gtest.h>

#include <vector>

#include "Bundles.h"

namespace pyrelux::host {
namespace {

class CopyPlaces : public testing::Test {
 protected:
  void set(const std::string &name, double value) {
    filter_.parameters().set(filter_.parameters().named(name), {value});
  }

  std::vector<CopyPlace> visited(
      const FrameList &frames, const std::function<bool()> &goesOn = [] { return true; }) {
    std::vector<CopyPlace> places;
    visitCopies(
        filter_, 1, frames, {}, [&](const CopyPlace &place) { places.push_back(place); }, goesOn);
    return places;
  }

  Filter filter_{findFilter(defaultSearchPath())};
};

TEST_F(CopyPlaces, AreThoseOfEachTongueAndStepOfTheWantedFrames) {
  set("tongues", 3);
  set("steps", 10);
  set("source-opacity", 1);
  EXPECT_EQ(visited(FrameRange{1, 1}).size(), 3u * 11) << "without the passes over the whole picture";
  EXPECT_EQ(visited(parseFrames("2,5")).size(), 2u * 3 * 11) << "without those on the way";
}

TEST_F(CopyPlaces, AreTheInputsOwnWithoutLength) {
  set("tongue-length", 0);
  for (const CopyPlace &place : visited(FrameRange{1, 1})) {
    EXPECT_NEAR(place.scaleX, 1.0, 1e-6) << "corners are floats";
    EXPECT_NEAR(place.scaleY, 1.0, 1e-6);
    EXPECT_NEAR(place.offsetX, 0.0, 1e-6);
    EXPECT_NEAR(place.offsetY, 0.0, 1e-6);
  }
}

TEST_F(CopyPlaces, GoUpTheDirectionAndGrowAboutThePoint) {
  set("tongue-length", 40);
  set("turbulence-amount", 0);
  set("wiggle-amount", 0);
  set("spread-degrees", 0);
  set("attract-repel", 50);
  const std::vector<CopyPlace> places = visited(FrameRange{1, 1});
  // The first copy of a tongue is its far end, about the frame's middle.
  EXPECT_NEAR(places.front().scaleY, 1.5, 1e-6);
  EXPECT_NEAR(places.front().offsetX, -0.25, 1e-6);
  EXPECT_NEAR(places.front().offsetY, 1.5 * 0.4 - 0.25, 1e-6);
  EXPECT_NEAR(places.back().scaleY, 1.0, 1e-6);
}

TEST_F(CopyPlaces, ShowWhatTheCropLeaves) {
  set("crop-left", 0.25);
  set("crop-top", 0.5);
  const CopyPlace place = visited(FrameRange{1, 1}).front();
  EXPECT_FLOAT_EQ(static_cast<float>(place.left), 0.25f);
  EXPECT_FLOAT_EQ(static_cast<float>(place.right), 1.0f);
  EXPECT_FLOAT_EQ(static_cast<float>(place.bottom), 0.0f);
  EXPECT_FLOAT_EQ(static_cast<float>(place.top), 0.5f);
}

TEST_F(CopyPlaces, AreLeftOutOnceNobodyWantsMore) {
  int asked = 0;
  const std::size_t one = visited(FrameRange{1, 1}).size();
  EXPECT_EQ(visited(FrameRange{1, 9}, [&] { return ++asked <= 2; }).size(), 2 * one);
}

}  // namespace
}  // namespace pyrelux::host
