// Compares every instruction set of this processor with the scalar kernels.

#include "Kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <type_traits>
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

  template <typename Sum>
  struct Sums {
    std::vector<Sum> planes[4];
    StripTarget<Sum> target;

    Sums(int channels, const Sum *mask) {
      target.channels = channels;
      target.rows = rows;
      target.mask = mask;
      for (int c = 0; c < 4; ++c) {
        planes[c].assign(stripWidth * rows, Sum(c));
        target.sums[c] = planes[c].data();
      }
    }
  };

  /// Lets this set and the scalar one add to the same sums, by `run(kernels, target)`, and compares the results.
  template <typename Sum, typename Run, typename Compare>
  void both(const Sum *mask, Run run, Compare compare) {
    int count = 0;
    const Kernels &scalar = *availableKernels(count)[0];
    for (int channels = 1; channels <= 4; ++channels) {
      Sums<Sum> expected(channels, mask), got(channels, mask);
      run(scalar, expected.target);
      run(*GetParam(), got.target);
      for (int c = 0; c < 4; ++c)
        for (std::size_t i = 0; i < expected.planes[c].size(); ++i)
          compare(expected.planes[c][i], got.planes[c][i], c, static_cast<int>(i));
    }
  }

  template <typename Tint>
  void fillTints(Tint (&tints)[4]) {
    for (Tint &tint : tints) {
      if constexpr (std::is_same_v<Tint, float>)
        tint = unit();
      else
        tint = static_cast<Tint>(upTo(4) ? upTo(32767) : 32767);
    }
  }
};

/// The rows of texels that the rows of a copy at another size sample.
struct RowTaps {
  std::vector<int> texelRows;
  std::vector<int> lowerRows;

  void add(int lower) {
    if (texelRows.empty() || texelRows.back() != lower + 1) {
      if (texelRows.empty() || texelRows.back() != lower) texelRows.push_back(lower);
      texelRows.push_back(lower + 1);
    }
    lowerRows.push_back(static_cast<int>(texelRows.size()) - 2);
  }
};

/// A level as planes store it.
std::int8_t texelOf(int level) { return static_cast<std::int8_t>(level - 128); }

TEST_P(KernelTest, UnitLevelsAreTheSameToTheBit) {
  std::vector<std::int8_t> texels(stride * (rows + 2));
  for (int round = 0; round < 200; ++round) {
    for (auto &texel : texels) texel = texelOf(round % 3 ? upTo(255) : 255 * upTo(1));
    std::uint16_t mask[stripWidth];
    for (auto &m : mask) m = static_cast<std::uint16_t>(-upTo(1));
    std::vector<UnitLevels> copies(static_cast<std::size_t>(1 + upTo(6)));
    for (UnitLevels &copy : copies) {
      copy.texels = texels.data() + upTo(40);
      copy.fractionX = static_cast<std::int16_t>(upTo(255) << 7);
      copy.fractionY = static_cast<std::int16_t>(upTo(255) << 7);
      fillTints(copy.tints);
    }
    both<std::uint16_t>(
        round % 2 ? mask : nullptr,
        [&](const Kernels &set, LevelTarget &target) {
          set.unitLevels(copies.data(), static_cast<int>(copies.size()), stride, target);
        },
        [&](auto a, auto b, int c, int i) { ASSERT_EQ(a, b) << round << " " << c << " " << i; });
  }
}

TEST_P(KernelTest, SumsSaturateInsteadOfWrapping) {
  std::vector<std::int8_t> texels(stride * (rows + 2), texelOf(255));
  Sums<std::uint16_t> sums(1, nullptr);
  const UnitLevels copy{texels.data(), 77 << 7, 200 << 7, {32767, 0, 0, 0}};
  for (int i = 0; i < 300; ++i) GetParam()->unitLevels(&copy, 1, stride, sums.target);
  EXPECT_EQ(sums.planes[0][100], 0xFFFF);
}

TEST_P(KernelTest, APartOfAStripGetsWhatTheStripWouldGetThere) {
  std::vector<std::int8_t> levels(stride * (rows + 2));
  std::vector<float> floats(levels.size());
  for (auto &level : levels) level = texelOf(upTo(255));
  for (auto &value : floats) value = unit();
  const UnitLevels levelCopy{levels.data(), 50 << 7, 99 << 7, {32767, 20000}};
  const UnitFloats floatCopy{floats.data(), 0.25f, 0.125f, {1.0f, 0.5f}};
  const Sums<std::uint16_t> noLevels(2, nullptr);
  const Sums<float> noFloats(2, nullptr);
  Sums<std::uint16_t> wholeLevels(2, nullptr);
  Sums<float> wholeFloats(2, nullptr);
  GetParam()->unitLevels(&levelCopy, 1, stride, wholeLevels.target);
  GetParam()->unitFloats(&floatCopy, 1, stride, wholeFloats.target);
  const int first = 1 * stripWidth;  // one row up
  const auto check = [&](const auto &before, const auto &whole, int columns, auto add) {
    for (int x = 0; x < stripWidth; x += columns) {
      auto part = before;
      for (int c = 0; c < 2; ++c) part.target.sums[c] = part.planes[c].data() + first + x;
      part.target.columns = columns;
      part.target.rows = 5;
      add(part.target, stride + x);
      for (int c = 0; c < 2; ++c)
        for (int i = 0; i < stripWidth * rows; ++i) {
          const int column = i % stripWidth - x, row = i / stripWidth - 1;
          const bool inside = column >= 0 && column < columns && row >= 0 && row < 5;
          const auto at = static_cast<std::size_t>(i);
          ASSERT_EQ(part.planes[c][at], (inside ? whole : before).planes[c][at])
              << c << " " << i << " from column " << x;
        }
    }
  };
  check(noLevels, wholeLevels, GetParam()->levelColumns, [&](const LevelTarget &target, int offset) {
    UnitLevels copy = levelCopy;
    copy.texels += offset;
    GetParam()->unitLevels(&copy, 1, stride, target);
  });
  check(noFloats, wholeFloats, halfStrip, [&](const FloatTarget &target, int offset) {
    UnitFloats copy = floatCopy;
    copy.texels += offset;
    GetParam()->unitFloats(&copy, 1, stride, target);
  });
}

TEST_P(KernelTest, ATargetIsSaturatedWhenItsLastSumIs) {
  Sums<std::uint16_t> sums(2, nullptr);
  LevelTarget all = sums.target;
  for (int c = 0; c < 2; ++c) std::fill(sums.planes[c].begin(), sums.planes[c].end(), std::uint16_t{255});
  sums.planes[0][7] = 0xFFFF;
  EXPECT_TRUE(GetParam()->isSaturated(all));
  LevelTarget firstHalf = all;
  firstHalf.columns = halfStrip;
  LevelTarget firstRow = all;
  firstRow.rows = 1;
  for (int c = 0; c < 2; ++c)
    for (const int at : {0, 17, 40, stripWidth * rows - 1}) {
      std::uint16_t &sum = sums.planes[c][static_cast<std::size_t>(at)];
      sum = 254;
      EXPECT_FALSE(GetParam()->isSaturated(all)) << at;
      EXPECT_EQ(GetParam()->isSaturated(firstRow), at >= stripWidth) << at;
      EXPECT_EQ(GetParam()->isSaturated(firstHalf), at % stripWidth >= halfStrip) << at;
      sum = 255;
    }
}

TEST_P(KernelTest, PixelsOfFloatsAreCleared) {
  // Rows as a surface has them, and such as do not begin with a cache line.
  for (const int begin : {0, 4})
    for (const int width : {1, 3, 8, 60}) {
      constexpr int rowFloats = 256;
      alignas(64) float pixels[4 * rowFloats];
      std::fill(std::begin(pixels), std::end(pixels), 0.5f);
      const int fromRowToRow = rowFloats + begin;
      GetParam()->clearFloats(pixels + begin, width, 3, fromRowToRow);
      for (int i = 0; i < 4 * rowFloats; ++i) {
        const int row = (i - begin + fromRowToRow) / fromRowToRow - 1, column = i - begin - row * fromRowToRow;
        const bool isCleared = row >= 0 && row < 3 && column < 4 * width;
        ASSERT_EQ(pixels[i], isCleared ? 0.0f : 0.5f) << begin << " " << width << " " << i;
      }
    }
}

TEST_P(KernelTest, LevelsArePutTogetherAndCut) {
  for (int round = 0; round < 100; ++round) {
    const int width = 1 + upTo(stripWidth - 1);
    std::uint16_t sums[4][stripWidth], constants[4];
    for (auto &row : sums)
      for (auto &sum : row) sum = static_cast<std::uint16_t>(upTo(3) ? upTo(300) : upTo(0xFFFF));
    for (auto &constant : constants) constant = static_cast<std::uint16_t>(upTo(1) ? upTo(300) : upTo(0xFFFF));
    const std::uint16_t *const planes[4] = {sums[0], sums[1], sums[2], sums[3]};
    const bool blank = round % 2;
    std::vector<std::uint8_t> before(4 * stripWidth);
    for (auto &level : before) level = static_cast<std::uint8_t>(upTo(255));
    std::vector<std::uint8_t> pixels = before;
    GetParam()->putLevels(planes, constants, width, blank, pixels.data());
    for (int i = 0; i < 4 * stripWidth; ++i) {
      const auto at = static_cast<std::size_t>(i);
      const int sum = sums[i % 4][i / 4] + constants[i % 4] + (blank ? 0 : before[at]);
      ASSERT_EQ(pixels[at], i < 4 * width ? std::min(sum, 255) : before[at]) << round << " " << i;
    }
  }
}

TEST_P(KernelTest, FloatsArePutTogether) {
  for (int round = 0; round < 20; ++round) {
    const int width = 1 + upTo(stripWidth - 1);
    float sums[4][stripWidth];
    for (auto &row : sums)
      for (auto &sum : row) sum = unit();
    const float constants[4] = {unit(), 0.0f, 2.0f, unit()};
    const float *const planes[4] = {sums[0], sums[1], sums[2], sums[3]};
    const bool blank = round % 2;
    std::vector<float> pixels(4 * stripWidth, 0.75f);
    GetParam()->putFloats(planes, constants, width, blank, pixels.data());
    for (int i = 0; i < 4 * stripWidth; ++i) {
      const float sum = (blank ? 0.0f : 0.75f) + sums[i % 4][i / 4] + constants[i % 4];
      ASSERT_EQ(pixels[static_cast<std::size_t>(i)], i < 4 * width ? sum : 0.75f) << round << " " << i;
    }
  }
}

TEST_P(KernelTest, ScaledLevelsAreTheSameToTheBit) {
  std::vector<std::int8_t> texels(512 * 64 + 64);
  for (int round = 0; round < 300; ++round) {
    for (auto &texel : texels) texel = texelOf(round % 3 ? upTo(255) : 255 * upTo(1));
    // Narrow tables at first, then such as no shuffle reaches.
    const int reach = round % 2 ? 14 : 200;
    LevelColumnTable table{};
    table.narrow = reach == 14;
    for (int group = 0; group < stripWidth / 8; ++group) {
      table.windows[group] = static_cast<std::uint16_t>(upTo(200));
      for (int i = 8 * group; i < 8 * group + 8; ++i) {
        const int inside = upTo(reach);
        table.taps[i] = static_cast<std::uint16_t>(table.windows[group] + inside);
        table.fractions[i] = static_cast<std::uint8_t>(upTo(7) ? upTo(255) : 0);
      }
    }
    RowTaps taps;
    std::int16_t rowFractions[rows];
    const int step = upTo(4) - 2;
    for (int y = 0; y < rows; ++y) {
      taps.add(30 + step * y + upTo(1));
      rowFractions[y] = static_cast<std::int16_t>(upTo(255) << 7);
    }
    std::uint16_t mask[stripWidth];
    for (auto &m : mask) m = static_cast<std::uint16_t>(-upTo(1));
    // More copies than are resampled at once.
    std::vector<ScaledLevels> copies(
        static_cast<std::size_t>(1 + upTo(8)),
        {texels.data(), &table, taps.texelRows.data(), taps.lowerRows.data(), rowFractions, {}});
    for (ScaledLevels &copy : copies) fillTints(copy.tints);
    both<std::uint16_t>(
        round % 4 < 2 ? mask : nullptr,
        [&](const Kernels &set, LevelTarget &target) {
          set.scaledLevels(copies.data(), static_cast<int>(copies.size()), 512, target);
        },
        [&](auto a, auto b, int c, int i) { ASSERT_EQ(a, b) << round << " " << c << " " << i; });
  }
}

/// The largest difference from the scalar kernels: fused operations round once instead of twice, three times and for
/// the sum.
constexpr float floatSlack = 4 * 1.2e-7f;

TEST_P(KernelTest, UnitFloatsAreTheSameWithinRounding) {
  std::vector<float> texels(stride * (rows + 2));
  for (int round = 0; round < 100; ++round) {
    for (auto &texel : texels) texel = unit();
    float mask[stripWidth];
    for (auto &m : mask) m = static_cast<float>(upTo(1));
    std::vector<UnitFloats> copies(static_cast<std::size_t>(1 + upTo(3)));
    for (UnitFloats &copy : copies) {
      copy.texels = texels.data() + upTo(40);
      copy.fractionX = unit();
      copy.fractionY = unit();
      fillTints(copy.tints);
    }
    both<float>(
        round % 2 ? mask : nullptr,
        [&](const Kernels &set, FloatTarget &target) {
          set.unitFloats(copies.data(), static_cast<int>(copies.size()), stride, target);
        },
        [&](float a, float b, int c, int i) {
          ASSERT_NEAR(a, b, floatSlack * static_cast<float>(c + 4)) << round << " " << c << " " << i;
        });
  }
}

TEST_P(KernelTest, ScaledFloatsAreTheSameWithinRounding) {
  std::vector<float> texels(512 * 64);
  for (int round = 0; round < 200; ++round) {
    for (auto &texel : texels) texel = unit();
    // Narrow tables at first, then such as no permutation reaches.
    FloatColumnTable table{};
    table.narrow = round % 2;
    for (int i = 0; i < stripWidth; i += 8) {
      // Two windows of eight pixels lie within 32 texels.
      table.windows[i / 8] = i % 16 == 0 || !table.narrow ? upTo(400) : table.windows[i / 8 - 1] + upTo(32) - 16;
      if (table.windows[i / 8] < 0) table.windows[i / 8] = 0;
      for (int j = i; j < i + 8; ++j) {
        table.taps[j] = table.narrow ? table.windows[i / 8] + upTo(14) : upTo(500);
        table.fractions[j] = unit();
      }
    }
    RowTaps taps;
    float rowFractions[rows];
    for (int y = 0; y < rows; ++y) {
      taps.add(20 + (upTo(2) - 1) + y);
      rowFractions[y] = unit();
    }
    std::vector<ScaledFloats> copies(
        static_cast<std::size_t>(1 + upTo(5)),
        {texels.data(), &table, taps.texelRows.data(), taps.lowerRows.data(), rowFractions, {}});
    for (ScaledFloats &copy : copies) fillTints(copy.tints);
    both<float>(
        static_cast<const float *>(nullptr),
        [&](const Kernels &set, FloatTarget &target) {
          set.scaledFloats(copies.data(), static_cast<int>(copies.size()), 512, target);
        },
        [&](float a, float b, int c, int i) {
          ASSERT_NEAR(a, b, floatSlack * static_cast<float>(6 + c)) << round << " " << c << " " << i;
        });
  }
}

TEST_P(KernelTest, ScaledLevelsOnFloatsAreTheExactSums) {
  std::vector<std::uint8_t> texels(512 * 64 + 64);
  for (int round = 0; round < 200; ++round) {
    for (auto &texel : texels) texel = static_cast<std::uint8_t>(round % 3 ? upTo(255) : 255 * upTo(1));
    // Narrow tables at first, then such as no shuffle reaches.
    const int reach = round % 2 ? 14 : 200;
    MixedColumnTable table{};
    table.narrow = reach == 14;
    for (int i = 0; i < stripWidth; ++i) {
      if (i % 8 == 0) table.windows[i / 8] = static_cast<std::uint16_t>(upTo(200));
      const int inside = upTo(reach);
      table.taps[i] = static_cast<std::uint16_t>(table.windows[i / 8] + inside);
      table.fractions[i] = static_cast<std::uint16_t>(i % 8 ? upTo(mixedUnit) : upTo(1) * mixedUnit);
    }
    RowTaps taps;
    std::vector<int> lowest;
    float rowFractions[rows];
    for (int y = 0; y < rows; ++y) {
      lowest.push_back(30 + (upTo(4) - 2) * y);
      taps.add(lowest.back());
      rowFractions[y] = unit();
    }
    std::vector<ScaledMixed> copies(
        static_cast<std::size_t>(1 + upTo(5)),
        {texels.data(), &table, taps.texelRows.data(), taps.lowerRows.data(), rowFractions, {}});
    for (ScaledMixed &copy : copies)
      for (float &tint : copy.tints) tint = unit() / (255 * mixedUnit);
    float mask[stripWidth];
    for (auto &m : mask) m = static_cast<float>(upTo(1));
    for (int channels = 1; channels <= 4; ++channels) {
      Sums<float> sums(channels, round % 4 < 2 ? mask : nullptr);
      GetParam()->scaledMixed(copies.data(), static_cast<int>(copies.size()), 512, sums.target);
      for (int c = 0; c < channels; ++c)
        for (int i = 0; i < stripWidth * rows; ++i) {
          const int x = i % stripWidth, y = i / stripWidth;
          const auto sample = [&](int texelRow) {
            const std::uint8_t *tap = texels.data() + 512 * texelRow + table.taps[x];
            return static_cast<double>(tap[0] * mixedUnit + table.fractions[x] * (tap[1] - tap[0]));
          };
          const int lower = lowest[static_cast<std::size_t>(y)];
          const double value = sample(lower) + rowFractions[y] * (sample(lower + 1) - sample(lower));
          // Of the four texels.
          double largest = 0;
          for (const int texelRow : {lower, lower + 1})
            for (const int column : {0, 1})
              largest =
                  std::max<double>(largest, texels[static_cast<std::size_t>(512 * texelRow + table.taps[x] + column)]);
          largest *= mixedUnit;
          double sum = 0, size = c;
          for (const ScaledMixed &copy : copies) {
            sum += value * static_cast<double>(copy.tints[c]);
            size += largest * static_cast<double>(copy.tints[c]);
          }
          if (round % 4 < 2) sum *= static_cast<double>(mask[x]);
          // Singles have a 24-bit mantissa; a copy is rounded five times at most, by the largest of its texels.
          ASSERT_NEAR(sums.planes[c][static_cast<std::size_t>(i)], c + sum, size * 30 / (1 << 24))
              << round << " " << c << " of " << channels << ", " << i;
        }
    }
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
