// Every instruction set that this processor has, against one lane at a time.

#include "Kernels.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace pyrelux::soft {
namespace {

constexpr int rows = 9;
constexpr int stride = 128;

class KernelTest : public ::testing::TestWithParam<const Kernels *> {
 protected:
  std::mt19937 random{20261};

  int upTo(int largest) { return std::uniform_int_distribution<int>(0, largest)(random); }
  float unit() { return std::uniform_real_distribution<float>(0.0f, 1.0f)(random); }

  template <typename Sum, typename Tint>
  struct Sums {
    std::vector<Sum> planes[4];
    StripTarget<Sum, Tint> target;

    Sums(int channels, const Sum *mask) {
      target.channels = channels;
      target.stride = stripWidth;
      target.rows = rows;
      target.mask = mask;
      for (int c = 0; c < 4; ++c) {
        planes[c].assign(stripWidth * rows, Sum(c));
        target.sums[c] = planes[c].data();
      }
    }
  };

  /// Runs a kernel of this set and the scalar one on the same job and hands both results to `compare`.
  template <typename Sum, typename Tint, typename Job, typename Kernel, typename Compare>
  void both(const Job &job, const Tint (&tints)[4], const Sum *mask, Kernel kernel, Compare compare) {
    int count = 0;
    const Kernels &scalar = *availableKernels(count)[0];
    for (int channels = 1; channels <= 4; ++channels) {
      Sums<Sum, Tint> expected(channels, mask), got(channels, mask);
      for (int c = 0; c < 4; ++c) expected.target.tints[c] = got.target.tints[c] = tints[c];
      (scalar.*kernel)(job, expected.target);
      (GetParam()->*kernel)(job, got.target);
      for (int c = 0; c < 4; ++c)
        for (std::size_t i = 0; i < expected.planes[c].size(); ++i)
          compare(expected.planes[c][i], got.planes[c][i], c, static_cast<int>(i));
    }
  }
};

TEST_P(KernelTest, UnitLevelsAreTheSameToTheBit) {
  std::vector<std::uint16_t> texels(stride * (rows + 2));
  for (int round = 0; round < 200; ++round) {
    for (auto &texel : texels) texel = static_cast<std::uint16_t>(round % 3 ? upTo(255) : 255 * upTo(1));
    std::int16_t tints[4];
    for (auto &tint : tints) tint = static_cast<std::int16_t>(round % 5 ? upTo(32767) : 32767);
    std::uint16_t mask[stripWidth];
    for (auto &m : mask) m = static_cast<std::uint16_t>(-upTo(1));
    const UnitLevels job{texels.data() + upTo(40), stride, upTo(255), upTo(255)};
    both<std::uint16_t>(job, tints, round % 2 ? mask : nullptr, &Kernels::unitLevels,
                        [&](auto a, auto b, int c, int i) { ASSERT_EQ(a, b) << round << " " << c << " " << i; });
  }
}

TEST_P(KernelTest, SumsSaturateInsteadOfWrapping) {
  std::vector<std::uint16_t> texels(stride * (rows + 2), 255);
  Sums<std::uint16_t, std::int16_t> sums(1, nullptr);
  sums.target.tints[0] = 32767;
  const UnitLevels job{texels.data(), stride, 77, 200};
  for (int i = 0; i < 300; ++i) GetParam()->unitLevels(job, sums.target);
  EXPECT_EQ(sums.planes[0][100], 0xFFFF);
}

TEST_P(KernelTest, ScaledLevelsAreTheSameToTheBit) {
  std::vector<std::int8_t> texels(512 * 64 + 64);
  for (int round = 0; round < 300; ++round) {
    for (auto &texel : texels) texel = static_cast<std::int8_t>(round % 3 ? upTo(255) - 128 : 255 * upTo(1) - 128);
    // Narrow tables at first, then such as no shuffle reaches.
    const int reach = round % 2 ? 14 : 200;
    ColumnTable table{};
    table.narrow = reach == 14;
    for (int group = 0; group < stripWidth / 8; ++group) {
      table.windows[group] = static_cast<std::uint16_t>(upTo(200));
      for (int i = 8 * group; i < 8 * group + 8; ++i) {
        const int inside = upTo(reach);
        table.taps[i] = static_cast<std::uint16_t>(table.windows[group] + inside);
        const int fraction = upTo(7) ? upTo(255) : 0;
        table.fractions[i] = static_cast<std::uint8_t>(fraction);
        table.pairs[2 * i] = static_cast<std::uint8_t>(inside);
        table.pairs[2 * i + 1] = static_cast<std::uint8_t>(fraction ? inside + 1 : inside);
        table.weights[2 * i] = static_cast<std::uint8_t>(fraction ? 256 - fraction : 255);
        table.weights[2 * i + 1] = static_cast<std::uint8_t>(fraction ? fraction : 1);
      }
    }
    int rowTaps[rows];
    std::int16_t rowFractions[rows];
    const int step = upTo(4) - 2;
    for (int y = 0; y < rows; ++y) {
      rowTaps[y] = 30 + step * y + upTo(1);
      rowFractions[y] = static_cast<std::int16_t>(upTo(255) << 7);
    }
    std::int16_t tints[4];
    for (auto &tint : tints) tint = static_cast<std::int16_t>(upTo(32767));
    std::uint16_t mask[stripWidth];
    for (auto &m : mask) m = static_cast<std::uint16_t>(-upTo(1));
    const ScaledLevels job{texels.data(), 512, &table, rowTaps, rowFractions};
    both<std::uint16_t>(job, tints, round % 4 < 2 ? mask : nullptr, &Kernels::scaledLevels,
                        [&](auto a, auto b, int c, int i) { ASSERT_EQ(a, b) << round << " " << c << " " << i; });
  }
}

/// Fused multiplications round once instead of twice: three of them on values up to 1, and the sum.
constexpr float floatSlack = 4 * 1.2e-7f;

TEST_P(KernelTest, UnitFloatsAreTheSameWithinRounding) {
  std::vector<float> texels(stride * (rows + 2));
  for (int round = 0; round < 100; ++round) {
    for (auto &texel : texels) texel = unit();
    const float tints[4] = {unit(), unit(), unit(), unit()};
    float mask[stripWidth];
    for (auto &m : mask) m = static_cast<float>(upTo(1));
    const UnitFloats job{texels.data() + upTo(40), stride, unit(), unit()};
    both<float>(job, tints, round % 2 ? mask : nullptr, &Kernels::unitFloats, [&](float a, float b, int c, int i) {
      ASSERT_NEAR(a, b, floatSlack * static_cast<float>(1 + c)) << round << " " << c << " " << i;
    });
  }
}

TEST_P(KernelTest, ScaledFloatsAreTheSameWithinRounding) {
  std::vector<float> texels(512 * 64);
  for (int round = 0; round < 100; ++round) {
    for (auto &texel : texels) texel = unit();
    std::int32_t taps[stripWidth];
    float fractions[stripWidth];
    for (int i = 0; i < stripWidth; ++i) {
      taps[i] = upTo(500);
      fractions[i] = unit();
    }
    int rowTaps[rows];
    float rowFractions[rows];
    for (int y = 0; y < rows; ++y) {
      rowTaps[y] = 20 + (upTo(2) - 1) + y;
      rowFractions[y] = unit();
    }
    const float tints[4] = {unit(), unit(), unit(), unit()};
    const ScaledFloats job{texels.data(), 512, taps, fractions, rowTaps, rowFractions};
    both<float>(job, tints, static_cast<const float *>(nullptr), &Kernels::scaledFloats,
                [&](float a, float b, int c, int i) {
                  ASSERT_NEAR(a, b, floatSlack * static_cast<float>(1 + c)) << round << " " << c << " " << i;
                });
  }
}

std::vector<const Kernels *> everySet() {
  int count = 0;
  const Kernels *const *sets = availableKernels(count);
  return {sets, sets + count};
}

INSTANTIATE_TEST_SUITE_P(Sets, KernelTest, ::testing::ValuesIn(everySet()),
                         [](const auto &set) { return std::string(set.param->name); });

}  // namespace
}  // namespace pyrelux::soft
