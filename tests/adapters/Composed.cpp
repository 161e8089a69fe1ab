#include "Composed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace pyrelux::cli::test {

void expectComposed(const std::string &over, const std::string &fire, const std::string &source) {
  ASSERT_EQ(over.size(), source.size());
  ASSERT_EQ(fire.size(), source.size() * sizeof(float));
  const std::size_t pixels = source.size() / 4;
  const auto drawn = [&](std::size_t pixel, std::size_t channel) {
    constexpr std::size_t planes[] = {2, 0, 1, 3};
    float sample = 0.0f;
    std::memcpy(&sample, &fire[(planes[channel] * pixels + pixel) * sizeof sample], sizeof sample);
    return static_cast<double>(sample);
  };
  const auto byte = [](const std::string &picture, std::size_t pixel, std::size_t channel) {
    return static_cast<unsigned char>(picture[pixel * 4 + channel]) / 255.0;
  };
  std::size_t burning = 0;
  double maxDifference = 0.0;
  for (std::size_t pixel = 0; pixel < pixels; ++pixel) {
    burning += drawn(pixel, 0) > 0.1;
    for (std::size_t channel = 0; channel < 3; ++channel) {
      const double sum =
          drawn(pixel, channel) + byte(source, pixel, channel) * byte(source, pixel, 3) * (1.0 - drawn(pixel, 3));
      const double shown = byte(over, pixel, channel) * byte(over, pixel, 3);
      maxDifference = std::max(maxDifference, 255.0 * std::abs(shown - std::min(sum, 1.0)));
    }
  }
  EXPECT_LE(maxDifference, 1.0);
  EXPECT_GT(burning, pixels / 50);
}

}  // namespace pyrelux::cli::test
