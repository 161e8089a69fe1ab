// Tests random settings: every pixel is written, and nothing else.

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include "Frei0rLibrary.h"

namespace pyrelux::adapters::test {
namespace {

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr int trials = 100;  // which take as long as a thousand do without
#else
constexpr int trials = 1000;
#endif

constexpr double infinity = std::numeric_limits<double>::infinity();

class Frei0rSettings : public testing::Test {
 protected:
  /// Draws twice, into memory with different contents and guard bytes on both sides.
  void expectValidPixels(Instance &instance, double time, const Frame &input) {
    constexpr std::size_t margin = 64;
    const Frame before = input;
    Frame frames[2];
    for (const int filling : {0x55, 0xAA}) {
      Frame output(input.size() + 2 * margin, static_cast<std::uint8_t>(filling));
      library.update(instance.get(), time, reinterpret_cast<const std::uint32_t *>(input.data()),
                     reinterpret_cast<std::uint32_t *>(output.data() + margin));
      EXPECT_EQ(std::count(output.begin(), output.begin() + margin, filling), margin);
      EXPECT_EQ(std::count(output.end() - margin, output.end(), filling), margin);
      frames[filling == 0xAA].assign(output.begin() + margin, output.end() - margin);
    }
    EXPECT_EQ(frames[0], frames[1]);
    EXPECT_EQ(input, before);
    // Fire covers, but never makes a picture more transparent.
    std::size_t lost = 0;
    for (std::size_t alpha = 3; alpha < input.size(); alpha += 4) lost += frames[0][alpha] < input[alpha];
    EXPECT_EQ(lost, 0u);
  }

  f0r_param_info_t parameter(int index) const {
    f0r_param_info_t info = {};
    library.paramInfo(&info, index);
    return info;
  }

  /// Sets a number, or each channel of a colour, to a result of `draw`; does not set texts.
  template <typename Draw>
  void set(Instance &instance, int index, Draw draw) const {
    double number = draw();
    f0r_param_color_t colour = {static_cast<float>(number), static_cast<float>(draw()), static_cast<float>(draw())};
    if (parameter(index).type == F0R_PARAM_DOUBLE) library.set(instance.get(), &number, index);
    if (parameter(index).type == F0R_PARAM_COLOR) library.set(instance.get(), &colour, index);
  }

  Library library;
};

TEST_F(Frei0rSettings, EveryParameterAtBothEndsAndBeyond) {
  for (const auto &[pictureWidth, pictureHeight] : {std::pair(1, 1), {61, 45}, {8, 200}}) {
    const Frame input = title(pictureWidth, pictureHeight);
    for (int index = 0; index < library.info().num_params; ++index)
      for (const double value : {0.0, 1.0, -7.0, 40.0, std::nan(""), infinity, -infinity}) {
        SCOPED_TRACE(std::string(parameter(index).name) + " at " + std::to_string(value));
        Instance instance(library, pictureWidth, pictureHeight);
        set(instance, index, [value] { return value; });
        if (parameter(index).type == F0R_PARAM_DOUBLE) {
          EXPECT_EQ(instance.number(index), value >= 1.0 ? 1.0 : 0.0);
        }
        expectValidPixels(instance, 0.52, input);
      }
  }
}

TEST_F(Frei0rSettings, AThousandAtRandom) {
  std::mt19937 random(4);
  std::uniform_real_distribution<> anywhere(-0.2, 1.2);
  const auto upTo = [&random](int most) { return std::uniform_int_distribution<>(1, most)(random); };
  for (int trial = 0; trial < trials; ++trial) {
    SCOPED_TRACE(trial);
    const int pictureWidth = upTo(40);
    const int pictureHeight = upTo(30);
    Frame input(static_cast<std::size_t>(pictureWidth * pictureHeight) * 4);
    for (std::uint8_t &sample : input) sample = static_cast<std::uint8_t>(random());
    Instance instance(library, pictureWidth, pictureHeight);
    for (int index = 0; index < library.info().num_params; ++index) {
      // Many copies are tried less often than few, as they take their time.
      const std::string name = parameter(index).name;
      const double power = name == "Tongues" || name == "Steps" ? 5.0 : 1.0;
      set(instance, index,
          [&] { return power == 1.0 ? anywhere(random) : std::pow(std::abs(anywhere(random)), power); });
    }
    expectValidPixels(instance, 100.0 * anywhere(random), input);
  }
}

TEST_F(Frei0rSettings, TimesThatAreNoneAreHarmless) {
  Instance instance(library);
  for (const double time : {-1.0, 1e9, 1e12, 1e300, infinity}) expectValidPixels(instance, time, title());
}

TEST_F(Frei0rSettings, FramesWithoutATimeFollowOneAnother) {
  Instance timed(library);
  Instance untimed(library);
  // What ffmpeg makes of a frame without a time is far below nothing, how far depends on its unit.
  const double none[] = {-9.2e18, -9.2e9, std::nan(""), -infinity, -1e300};
  for (int frame = 0; frame < 5; ++frame) EXPECT_EQ(untimed.update(none[frame]), timed.update(frame / 25.0)) << frame;
  // Continues from a frame that has a time.
  EXPECT_EQ(untimed.update(1.0), timed.update(1.0));
  EXPECT_EQ(untimed.update(none[0]), timed.update(26 / 25.0));
}

}  // namespace
}  // namespace pyrelux::adapters::test
