// Tests the reading of MLT's properties. No module is needed for this.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "Bundles.h"
#include "Filter.h"
#include "MltParameters.h"
#include "TemporaryFile.h"

namespace pyrelux::adapters::test {
namespace {

class MltParametersTest : public testing::Test {
 protected:
  MltParametersTest() : filter_(host::findFilter(host::defaultSearchPath())), read_(filter_.parameters()) {}

  void set(const char *name, const char *text) { mlt_properties_set(properties_.get(), name, text); }
  bool read() { return read_.read(properties_.get(), clip); }

  host::ParameterValue value(const char *name, double frame = 0.0) const {
    const host::ParameterSet &parameters = read_.parameters();
    return parameters.value(parameters.named(name).id, frame);
  }
  double number(const char *name, double frame = 0.0) const { return value(name, frame)[0]; }

  const host::ParameterSet &parameters() const { return read_.parameters(); }

  mlt_properties properties() const { return properties_.get(); }

  Clip clip{50, 1000, 500, {}};

 private:
  host::Filter filter_;
  std::unique_ptr<mlt_properties_s, decltype(&mlt_properties_close)> properties_{mlt_properties_new(),
                                                                                 mlt_properties_close};

 protected:
  MltParameters read_;
};

TEST_F(MltParametersTest, WithoutPropertiesAllIsAtItsDefault) {
  EXPECT_FALSE(read());
  EXPECT_EQ(number("glow"), 20.0);
}

TEST_F(MltParametersTest, NumbersAreInAPersonsUnits) {
  set("glow", "-12.5");
  set("direction", "-90");
  set("pyrelux", "7");
  EXPECT_TRUE(read());
  EXPECT_EQ(number("glow"), -12.5);
  EXPECT_EQ(number("direction"), -90.0);
  EXPECT_EQ(number("pyrelux"), 7.0);
}

TEST_F(MltParametersTest, SharesAreInPercentWithAndWithoutTheSign) {
  set("source-opacity", "40");
  set("crop-left", "25%");
  read();
  EXPECT_DOUBLE_EQ(number("source-opacity"), 0.4);
  EXPECT_DOUBLE_EQ(number("crop-left"), 0.25);
}

TEST_F(MltParametersTest, ColoursAreReadAsMltReadsThem) {
  set("color-inner", "#336699");
  set("color-outer", "0x0000ffff");
  read();
  EXPECT_EQ(value("color-inner"), (host::ParameterValue{0x33 / 255.0, 0x66 / 255.0, 0x99 / 255.0}));
  EXPECT_EQ(value("color-outer"), (host::ParameterValue{0.0, 0.0, 1.0}));
}

TEST_F(MltParametersTest, APointIsTheMiddleOfARectangleFromTheUpperLeft) {
  const auto expectPoint = [this](const char *text, double x, double y) {
    set("point-attract-repel", text);
    read();
    EXPECT_NEAR(value("point-attract-repel")[0], x, 1e-12) << text;
    EXPECT_NEAR(value("point-attract-repel")[1], y, 1e-12) << text;
  };
  expectPoint("250 100", 0.25, 0.8);
  expectPoint("200 50 100 100", 0.25, 0.8);
  expectPoint("200/50:100x100", 0.25, 0.8);
  expectPoint("25% 20%", 0.25, 0.8);
  expectPoint("20% 10% 10% 20%", 0.25, 0.8);
  expectPoint("0=0 0;20=500 500", 0.0, 1.0);
  EXPECT_DOUBLE_EQ(value("point-attract-repel", 10.0)[0], 0.25);
  EXPECT_DOUBLE_EQ(value("point-attract-repel", 10.0)[1], 0.5);
}

TEST_F(MltParametersTest, PopupsAreNamesOrIndices) {
  set("source-mode", "mix");
  set("color-depth", "1");
  read();
  EXPECT_EQ(number("source-mode"), 1.0);
  EXPECT_EQ(number("color-depth"), 1.0);
}

TEST_F(MltParametersTest, APopupThatIsNoneKeepsItsDefaultAndIsTold) {
  set("source-mode", "between");
  testing::internal::CaptureStderr();
  read();
  read();
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "pyrelux: 'source-mode' can't be 'between': it takes one of 0 Cover, 1 Mix\n");
  EXPECT_EQ(number("source-mode"), 0.0);
}

TEST_F(MltParametersTest, WhatIsOutOfRangeBecomesTheNearest) {
  for (const auto &[text, expected] : {std::pair("1e9", 100.0), {"-1e9", -100.0}, {"inf", 100.0}, {"nan", 20.0}}) {
    set("glow", text);
    read();
    EXPECT_EQ(number("glow"), expected) << text;
  }
  set("color-depth", "17");
  set("pyrelux", "3.6");
  read();
  EXPECT_EQ(number("color-depth"), 1.0);
  EXPECT_EQ(number("pyrelux"), 4.0);
}

TEST_F(MltParametersTest, KeyframesGoMltsWays) {
  set("glow", "0=0;10=50;20|=60;30=0;40~=40;-1=0");
  read();
  EXPECT_DOUBLE_EQ(number("glow", 5.0), 25.0);
  EXPECT_DOUBLE_EQ(number("glow", 25.0), 60.0);
  // -1 is the last frame.
  EXPECT_DOUBLE_EQ(number("glow", 49.0), 0.0);
  EXPECT_DOUBLE_EQ(number("glow", 500.0), 0.0);
  // The curve, whichever it is, is MLT's.
  mlt_properties same = mlt_properties_new();
  mlt_properties_set(same, "glow", "0=0;10=50;20|=60;30=0;40~=40;-1=0");
  for (int frame = 0; frame < 50; ++frame)
    EXPECT_DOUBLE_EQ(number("glow", frame), mlt_properties_anim_get_double(same, "glow", frame, 50)) << frame;
  mlt_properties_close(same);
}

TEST_F(MltParametersTest, AKeyframeFarAwayTakesNoMemory) {
  constexpr int last = 10000000;
  clip.length = last + 1;
  set("glow", ("0=0;" + std::to_string(last) + "=100").c_str());
  EXPECT_TRUE(read());
  EXPECT_EQ(number("glow"), 0.0);
  EXPECT_NEAR(number("glow", last / 4), 25.0, 1e-9);
  EXPECT_EQ(number("glow", last), 100.0);
  EXPECT_EQ(number("glow", 2.0 * last), 100.0);
  EXPECT_EQ(number("glow", -5.0), 0.0);
  EXPECT_EQ(parameters().keyframes(parameters().named("glow")).size(), 1u);
  EXPECT_TRUE(parameters().isSet(parameters().named("glow").id));
  // A copy still evaluates its curve after the text has changed.
  const host::ParameterSet copy = parameters();
  set("glow", "7");
  EXPECT_TRUE(read());
  EXPECT_EQ(number("glow", last), 7.0);
  EXPECT_EQ(copy.value(copy.named("glow").id, last)[0], 100.0);
  EXPECT_NE(copy.revision(), parameters().revision());
}

TEST_F(MltParametersTest, KeyframesAreTimesOfTheProfilesFrameRateToo) {
  const std::unique_ptr<mlt_profile_s, decltype(&mlt_profile_close)> profile(mlt_profile_init(nullptr),
                                                                             mlt_profile_close);
  profile->frame_rate_num = 20;
  profile->frame_rate_den = 1;
  mlt_properties_set_data(properties(), "_profile", profile.get(), 0, nullptr, nullptr);
  set("glow", "00:00:00.000=0;00:00:00.500=50");
  read();
  EXPECT_DOUBLE_EQ(number("glow", 5.0), 25.0);
  EXPECT_DOUBLE_EQ(number("glow", 20.0), 50.0);
}

TEST_F(MltParametersTest, TheFiltersOwnTextsStayAsTheyAre) {
  for (const char *text : {"0=0;-1=49", "0=0;200=50"}) {
    set("glow", text);
    read();
    EXPECT_STREQ(mlt_properties_get(properties(), "glow"), text);
  }
}

TEST_F(MltParametersTest, EveryKindHasKeyframes) {
  set("pyrelux", "0=1;10=11");
  set("source-opacity", "0=0;10=100");
  set("crop-left", "0=0%;10=50%");
  set("color-inner", "0=#000000;10=#ff0000");
  set("source-mode", "0=Cover;10=Mix;20=0");
  read();
  EXPECT_EQ(number("pyrelux", 5.0), 6.0);
  EXPECT_DOUBLE_EQ(number("source-opacity", 5.0), 0.5);
  EXPECT_DOUBLE_EQ(number("crop-left", 5.0), 0.25);
  EXPECT_NEAR(value("color-inner", 5.0)[0], 0.5, 1.0 / 255.0);
  EXPECT_EQ(number("source-mode", 9.0), 0.0);
  EXPECT_EQ(number("source-mode", 10.0), 1.0);
  EXPECT_EQ(number("source-mode", 25.0), 0.0);
}

TEST_F(MltParametersTest, OnlyChangesAreRead) {
  set("glow", "0=0;10=50");
  EXPECT_TRUE(read());
  EXPECT_FALSE(read());
  set("glow", "0=0;10=50");
  EXPECT_FALSE(read());
  set("glow", "0=0;20=50");
  EXPECT_TRUE(read());
  EXPECT_DOUBLE_EQ(number("glow", 10.0), 25.0);
  set("glow", nullptr);
  EXPECT_TRUE(read());
  EXPECT_EQ(number("glow"), 20.0);
  EXPECT_FALSE(read());
}

TEST_F(MltParametersTest, ALongerClipMovesWhatCountsFromItsEnd) {
  set("glow", "0=0;-1=49");
  read();
  EXPECT_DOUBLE_EQ(number("glow", 24.0), 24.0);
  clip.length = 99;
  EXPECT_TRUE(read());
  EXPECT_DOUBLE_EQ(number("glow", 24.0), 12.0);
}

TEST_F(MltParametersTest, KeyframesBeyondAnyClipTakeNoTime) {
  set("glow", "0=0;2000000000=50");
  EXPECT_TRUE(read());
  clip.length = 0;
  EXPECT_TRUE(read());
  EXPECT_NEAR(number("glow", 20000.0), 50.0 * 20000.0 / 2e9, 1e-9);
}

TEST_F(MltParametersTest, APresetIsBeneathWhatIsSet) {
  const TemporaryFile look(R"({"version": 1, "parameters": {
      "glow": [{"frame": 0, "value": 0}, {"frame": 10, "value": 50}], "length-of-pyrelux": 60, "source-mode": "Mix",
      "source-opacity": 0.3, "color-center": [0, 0, 1], "point-attract-repel": [0, 0]}})");
  set("preset", look.path().c_str());
  EXPECT_TRUE(read());
  EXPECT_FALSE(read());
  const auto expectPresets = [this] {
    EXPECT_EQ(number("glow", 5.0), 25.0);
    EXPECT_EQ(number("length-of-pyrelux"), 60.0);
    EXPECT_EQ(number("source-mode"), 1.0);
    EXPECT_EQ(number("source-opacity"), 0.3);
    EXPECT_EQ(value("color-center"), (host::ParameterValue{0.0, 0.0, 1.0}));
    EXPECT_EQ(value("point-attract-repel"), (host::ParameterValue{0.0, 0.0}));
  };
  expectPresets();
  // As programs do that give every parameter, some as a single keyframe.
  for (const auto &[name, standard] : {std::pair("glow", "0=20"),
                                       {"length-of-pyrelux", "30"},
                                       {"source-mode", "Cover"},
                                       {"source-opacity", "0"},
                                       {"color-center", "#ff8000"},
                                       {"point-attract-repel", "45% 45% 10% 10%"}})
    set(name, standard);
  EXPECT_TRUE(read());
  expectPresets();
  set("source-mode", "0=0");
  read();
  expectPresets();
  // What is set wins, and a curve is set even where it begins at the default.
  set("length-of-pyrelux", "31");
  set("glow", "0=20;10=20");
  set("color-center", "#ff8100");
  read();
  EXPECT_EQ(number("length-of-pyrelux"), 31.0);
  EXPECT_EQ(number("glow", 5.0), 20.0);
  EXPECT_EQ(value("color-center")[0], 1.0);
  EXPECT_EQ(number("source-mode"), 1.0);
  set("preset", "none");
  EXPECT_TRUE(read());
  EXPECT_EQ(number("length-of-pyrelux"), 31.0);
  EXPECT_EQ(number("source-mode"), 0.0);
}

TEST_F(MltParametersTest, ASeedMovesTheFiltersTimeAlone) {
  set("seed", "2");
  set("glow", "0=0;10=50");
  EXPECT_TRUE(read());
  EXPECT_FALSE(read());
  EXPECT_EQ(read_.time().at(4), 2030.0);
  EXPECT_DOUBLE_EQ(number("glow", 5.0), 25.0);
  set("seed", "");
  EXPECT_TRUE(read());
  EXPECT_EQ(read_.time().at(4), 4.0);
}

}  // namespace
}  // namespace pyrelux::adapters::test
