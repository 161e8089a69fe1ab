// Contact sheets.

#include <algorithm>
#include <cmath>
#include <cstring>

#include "CliTest.h"

namespace pyrelux::cli::test {
namespace {

/// 8-bit red, green, blue, rows from the top.
struct Pixels {
  int width = 0;
  int height = 0;
  std::string samples;

  int at(int x, int y, int channel) const {
    return static_cast<unsigned char>(samples.at((static_cast<std::size_t>(y) * width + x) * 3 + channel));
  }
  Pixels part(int left, int top, int partWidth, int partHeight) const {
    Pixels part{partWidth, partHeight, {}};
    for (int y = 0; y < partHeight; ++y)
      part.samples += samples.substr((static_cast<std::size_t>(top + y) * width + left) * 3,
                                     static_cast<std::size_t>(partWidth) * 3);
    return part;
  }
  int brightest() const {
    int brightest = 0;
    for (const char sample : samples) brightest = std::max<int>(brightest, static_cast<unsigned char>(sample));
    return brightest;
  }
};

// As sheets are laid out.
constexpr int gap = 8;
constexpr int line = 18;

class Sheets : public CliTest {
 protected:
  Sheets() { save(path("title.png"), titlePng(testWidth, testHeight)); }

  Result sheet(const Words &words) const {
    return pyrelux(Words{"sheet", "title.png", "-o", "sheet.png", "--overwrite", "--draw-bits", "8"} + quick() + words);
  }

  Pixels drawn(const Words &words) const {
    expectSuccess(sheet(words));
    const nlohmann::json stream = probe("sheet.png");
    return {stream.at("width"), stream.at("height"), decoded("sheet.png", "rgb24")};
  }

  /// The frame as a render by itself has it, over black. EXR keeps what a flame adds, which PNG would clip.
  Pixels frame(int width, int height, const std::string &number, const Words &words) const {
    render("title.png", "frame.exr", Words{"--draw-bits", "8", "--frames", number} + words);
    const std::string planes = decoded("frame.exr", "gbrapf32le");
    const std::size_t count = static_cast<std::size_t>(width) * height;
    Pixels pixels{width, height, {}};
    for (std::size_t i = 0; i < count; ++i)
      for (const std::size_t plane : {2, 0, 1}) {
        float sample = 0;
        std::memcpy(&sample, planes.data() + (plane * count + i) * sizeof sample, sizeof sample);
        pixels.samples += static_cast<char>(std::lround(sample * 255));
      }
    return pixels;
  }

  Pixels cell(const Pixels &sheet, int column, int row, int lines) const {
    return sheet.part(gap + column * (testWidth + gap), gap + row * (testHeight + lines * line + gap), testWidth,
                      testHeight);
  }
};

TEST_F(Sheets, HaveTheFirstAcrossAndTheSecondDownAndTheFramesOfRender) {
  const Words look{"--preset", "toxic", "--set", "turbulence-speed=50"};
  const Pixels pixels =
      drawn(look + Words{"--vary", "glow=-50,0,50", "--vary", "length-of-pyrelux=10,60", "--frame", "7"});
  EXPECT_EQ(pixels.width, 3 * (testWidth + gap) + gap);
  EXPECT_EQ(pixels.height, 2 * (testHeight + 2 * line + gap) + gap);
  const char *const glows[] = {"-50", "0", "50"};
  const char *const lengths[] = {"10", "60"};
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 2; ++row) {
      const Words values{"--set", std::string("glow=") + glows[column], "--set",
                         std::string("length-of-pyrelux=") + lengths[row]};
      EXPECT_TRUE(cell(pixels, column, row, 2).samples == frame(testWidth, testHeight, "7", look + values).samples)
          << column << " " << row;
      EXPECT_GT(cell(pixels, column, row, 2).brightest(), 100);
    }
}

TEST_F(Sheets, HaveALabelBelowEveryPicture) {
  const Pixels pixels = drawn({"--vary", "glow=-50,0", "--vary", "frame=1,12"});
  const int ground = pixels.at(0, 0, 0);
  EXPECT_LT(ground, 60);
  const auto label = [&](int column, int row) {
    return pixels.part(gap + column * (testWidth + gap), gap + row * (testHeight + 2 * line + gap) + testHeight,
                       testWidth, 2 * line);
  };
  for (int column = 0; column < 2; ++column)
    for (int row = 0; row < 2; ++row) EXPECT_GT(label(column, row).brightest(), ground + 60);
  EXPECT_FALSE(label(0, 0).samples == label(1, 0).samples) << "the glow differs";
  EXPECT_FALSE(label(0, 0).samples == label(0, 1).samples) << "the frame differs";
  // Between the cells there is nothing.
  EXPECT_EQ(pixels.part(0, 0, pixels.width, gap).brightest(), ground);
  EXPECT_EQ(pixels.part(gap + testWidth, 0, gap, pixels.height).brightest(), ground);
}

TEST_F(Sheets, OfOneThingGoOnInTheNextRow) {
  const Pixels pixels = drawn({"--vary", "frame=1-9x2", "--columns", "3", "--set", "turbulence-speed=90"});
  const Pixels same = drawn({"--vary", "frame=1-9x2", "--columns", "0.3e1", "--set", "turbulence-speed=90"});
  EXPECT_EQ(same.width, pixels.width) << "a number counts, however it is written";
  EXPECT_EQ(pixels.width, 3 * (testWidth + gap) + gap);
  EXPECT_EQ(pixels.height, 2 * (testHeight + line + gap) + gap);
  const Words look{"--set", "turbulence-speed=90"};
  EXPECT_TRUE(cell(pixels, 2, 0, 1).samples == frame(testWidth, testHeight, "5", look).samples);
  EXPECT_TRUE(cell(pixels, 1, 1, 1).samples == frame(testWidth, testHeight, "9", look).samples);
  EXPECT_LT(cell(pixels, 2, 1, 1).brightest(), 60) << "no sixth frame";
}

TEST_F(Sheets, VaryPresetsOverWhichSettingsAndProjectsWin) {
  save(path("fire.json"),
       R"({"version": 1, "parameters": {"glow": [{"frame": 1, "value": 0}, {"frame": 5, "value": 80}]}})");
  const Words look{"--project", "fire.json", "--set", "direction=40"};
  const Pixels all = drawn(look + Words{"--presets", "--frame", "4"});
  EXPECT_EQ(all.width, 4 * (testWidth + gap) + gap);
  const auto list = nlohmann::json::parse(pyrelux({"presets", "--json"}).out);
  const int rows = (static_cast<int>(list.size()) + 3) / 4;
  EXPECT_EQ(all.height, rows * (testHeight + line + gap) + gap);
  const std::string sixth = list.at(5).at("name");
  EXPECT_TRUE(cell(all, 1, 1, 1).samples == frame(testWidth, testHeight, "4", look + Words{"--preset", sixth}).samples);
  const Pixels two = drawn(look + Words{"--vary", "preset=ghost,toxic", "--frame", "4"});
  EXPECT_TRUE(cell(two, 1, 0, 1).samples ==
              frame(testWidth, testHeight, "4", look + Words{"--preset", "toxic"}).samples);
}

TEST_F(Sheets, LeadARunOfItsOwnToEveryPicture) {
  const Pixels pixels = drawn({"--vary", "turbulence-speed=5,100", "--vary", "frame=3,9"});
  EXPECT_TRUE(cell(pixels, 0, 1, 2).samples ==
              frame(testWidth, testHeight, "9", {"--set", "turbulence-speed=5"}).samples);
  EXPECT_TRUE(cell(pixels, 1, 1, 2).samples ==
              frame(testWidth, testHeight, "9", {"--set", "turbulence-speed=100"}).samples);
}

TEST_F(Sheets, VaryColoursBetweenSemicolons) {
  const Pixels pixels = drawn({"--vary", "color-outer=1,0,0;0,0,1;#00ff00", "--frame", "2"});
  EXPECT_TRUE(cell(pixels, 1, 0, 1).samples ==
              frame(testWidth, testHeight, "2", {"--set", "color-outer=#0000ff"}).samples);
}

TEST_F(Sheets, ReduceWhatWasDrawnAtFullSize) {
  constexpr int factor = 2;
  save(path("title.png"), titlePng(factor * testWidth, factor * testHeight));
  const Pixels pixels = drawn({"--vary", "glow=60", "--cell", std::to_string(testWidth), "--frame", "3"});
  const Pixels small = cell(pixels, 0, 0, 1);
  const Pixels full = frame(factor * testWidth, factor * testHeight, "3", {"--set", "glow=60"});
  // Bicubic, its kernel (Mitchell and Netravali's, B = C = 1/3) twice as wide.
  const auto kernel = [](double x) {
    x = std::abs(x);
    if (x < 1.0) return (7.0 * x * x * x - 12.0 * x * x + 16.0 / 3.0) / 6.0;
    return x < 2.0 ? (-7.0 / 3.0 * x * x * x + 12.0 * x * x - 20.0 * x + 32.0 / 3.0) / 6.0 : 0.0;
  };
  const auto at = [&](int x, int y, int channel) {
    return full.at(std::clamp(x, 0, full.width - 1), std::clamp(y, 0, full.height - 1), channel);
  };
  double farthest = 0;
  for (int y = 0; y < testHeight; ++y)
    for (int x = 0; x < testWidth; ++x)
      for (int channel = 0; channel < 3; ++channel) {
        double sum = 0;
        for (int down = -3; down <= 4; ++down)
          for (int across = -3; across <= 4; ++across)
            sum += kernel((across - 0.5) / factor) * kernel((down - 0.5) / factor) / (factor * factor) *
                   at(factor * x + across, factor * y + down, channel);
        farthest = std::max(farthest, std::abs(small.at(x, y, channel) - std::clamp(sum, 0.0, 255.0)));
      }
  EXPECT_LE(farthest, 1.0) << "dithering";
  EXPECT_GT(small.brightest(), 100);
}

TEST_F(Sheets, TakeBackgroundsAndDepths) {
  save(path("back.png"), titlePng(testWidth, testHeight, 12));
  const Words words{"--vary", "glow=0,60", "--frame", "3"};
  const Pixels pixels = drawn(words + Words{"--over", "back.png"});
  render("title.png", "frame.png", {"--draw-bits", "8", "--frames", "3", "--over", "back.png", "--set", "glow=60"});
  const Pixels alone{testWidth, testHeight, decoded("frame.png", "rgb24")};
  const Pixels inSheet = cell(pixels, 1, 0, 1);
  // Dithered by the place in the picture.
  for (std::size_t i = 0; i < alone.samples.size(); ++i)
    ASSERT_LE(std::abs(static_cast<unsigned char>(alone.samples[i]) - static_cast<unsigned char>(inSheet.samples[i])),
              1);
  EXPECT_FALSE(inSheet.samples == cell(drawn(words), 1, 0, 1).samples);
  expectSuccess(sheet(words + Words{"--bits", "16"}));
  EXPECT_EQ(probe("sheet.png").at("pix_fmt"), "rgba64be");
  expectRefusal(sheet(words + Words{"--density", "0.5"}), {"--density", "--over"});
}

TEST_F(Sheets, DrawTheFrameThatTheInputHas) {
  saveSequence("fire", 5, 7);
  const Words words{"sheet", "fire_%04d.png", "-o", "sheet.png", "--overwrite", "--vary", "glow=1"};
  expectSuccess(pyrelux(words + quick()));
  const std::string usual = load(path("sheet.png"));
  expectSuccess(pyrelux(words + quick() + Words{"--frame", "7"}));
  EXPECT_TRUE(load(path("sheet.png")) == usual);
  expectSuccess(pyrelux(words + quick() + Words{"--frame", "6"}));
  EXPECT_FALSE(load(path("sheet.png")) == usual);
  const Result result = pyrelux(words + Words{"--vary", "frame=5,8"});
  expectRefusal(result, {"5-7", "'8'"});
  EXPECT_EQ(result.exitCode, 2);
}

TEST_F(Sheets, ThatCantBeDrawnAreRefusedInOneLine) {
  const struct {
    Words words;
    Words message;
  } rows[] = {
      {{}, {"nothing to vary", "--vary", "--presets"}},
      {{"--vary", "glow"}, {"'glow' is not NAME=VALUE,VALUE"}},
      {{"--vary", "=1"}, {"'=1' is not NAME=VALUE,VALUE"}},
      {{"--vary", "glow="}, {"'glow=' has an empty value"}},
      {{"--vary", "glow=1,,2"}, {"'glow=1,,2' has an empty value"}},
      {{"--vary", "glov=1"}, {"'glov'", "nearest is 'glow'", "'preset' and 'frame'"}},
      {{"--vary", "glow=1,300"}, {"'glow' can't be 300", "-100..100"}},
      {{"--vary", "color-inner=1,0,0"}, {"'color-inner' can't be '1'", "#rrggbb"}},
      {{"--vary", "preset=torch,bonfyre"}, {"'bonfyre'", "campfire"}},
      {{"--vary", "frame=9-1"}, {"'9-1'"}},
      {{"--vary", "glow=1", "--vary", "Glow=2"}, {"'glow' is varied twice"}},
      {{"--presets", "--vary", "preset=torch"}, {"'preset' is varied twice"}},
      {{"--vary", "glow=1", "--vary", "steps=20", "--vary", "frame=1"}, {"two directions"}},
      {{"--vary", "glow=1", "--frame", "1-3"}, {"'--frame'", "'1-3'"}},
      {{"--vary", "glow=1", "--cell", "63"}, {"--cell", "64"}},
      {{"--vary", "glow=1", "--columns", "0"}, {"--columns"}},
      {{"--vary", "glow=1", "--columns", "2.5"}, {"--columns", "whole number in 1..100"}},
      {{"--vary", "glow=1", "--columns", "1e3"}, {"--columns", "whole number in 1..100"}},
      {{"--vary", "frame=1-2000"}, {"4 by 500", "16384", "--cell"}},
      {{"--vary", "frame=1-2147483647"}, {"16384", "--cell"}},
  };
  for (const auto &row : rows) {
    const Result result = sheet(row.words);
    expectRefusal(result, row.message);
    EXPECT_EQ(result.exitCode, 2) << result.err;
    EXPECT_EQ(names(""), (Words{"title.png"}));
  }
}

TEST_F(Sheets, AreOnePictureThatReplacesNothingUnasked) {
  const Words words{"sheet", "title.png", "--vary", "glow=1"};
  expectRefusal(pyrelux(words + Words{"-o", "sheet.mp4"}), {"one picture", "'sheet.mp4'"});
  expectRefusal(pyrelux(words + Words{"-o", "sheet_%d.png"}), {"one picture", "'sheet_%d.png'"});
  expectRefusal(pyrelux(words + Words{"-o", "title.png", "--overwrite"}), {"would replace the input"});
  expectRefusal(pyrelux(words + Words{"-o", "gone/sheet.png"}), {"'gone'"});
  save(path("there.png"), "mine");
  expectRefusal(pyrelux(words + Words{"-o", "there.png"}), {"'there.png'", "--overwrite"});
  EXPECT_EQ(load(path("there.png")), "mine");
  EXPECT_EQ(names(""), (Words{"there.png", "title.png"}));
}

}  // namespace
}  // namespace pyrelux::cli::test
