// Compares every instruction set of this processor with the plain loop and with the C library, bit by bit.

#include "NoiseSets.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <vector>

#include "NumericHelpers.h"

namespace pyrelux {
namespace {

using Doubles = std::vector<double>;

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double tiniest = std::numeric_limits<double>::denorm_min();

// Without optimising, and with sanitizers, the loops take many times as long.
#if defined(NDEBUG) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
constexpr int many = 4 << 20;
#else
constexpr int many = 1 << 18;
#endif

constexpr double noRange[] = {0.0, -0.0, tiniest, -tiniest, 1e-310, 1e-300, -1e-20, 1e-9, -3e-8, 1e-5, 0.1,
                              -0.1, 0.5, 0.9999999999999999, 1.0, -1.0, 1.5707963267948966, 3.141592653589793,
                              4194303.9999999995, 4194304.0, -4194304.0, 1e9, 1e12, -1e12, 1e22, 1e300,
                              std::numeric_limits<double>::max(), inf, -inf, nan};

bool sameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

/// Which NaN comes out is nobody's business.
void expectSame(const Doubles &x, const Doubles &expected, const Doubles &got) {
  ASSERT_EQ(expected.size(), got.size());
  int wrong = 0;
  for (std::size_t i = 0; i < got.size(); ++i) {
    if (sameBits(expected[i], got[i]) || (std::isnan(expected[i]) && std::isnan(got[i]))) continue;
    if (++wrong <= 3) ADD_FAILURE() << std::hexfloat << "of " << x[i] << ": " << got[i] << ", not " << expected[i];
  }
  EXPECT_EQ(wrong, 0) << "of " << got.size();
}

class NoiseSetTest : public ::testing::TestWithParam<const NoiseSet *> {
 protected:
  std::mt19937_64 random{20262};

  Doubles within(double reach, int count) {
    std::uniform_real_distribution<double> value(-reach, reach);
    Doubles values;
    for (int i = 0; i < count; ++i) values.push_back(value(random));
    return values;
  }

  /// Both functions of all these are the C library's. Returns for which share the library was asked.
  double expectWavesOf(const Doubles &x) const {
    const int count = static_cast<int>(x.size());
    Doubles sines(x.size()), cosines(x.size()), got(x.size());
    for (std::size_t i = 0; i < x.size(); ++i) {
      sines[i] = std::sin(x[i]);
      cosines[i] = std::cos(x[i]);
    }
    int asked = GetParam()->sines(x.data(), count, got.data());
    expectSame(x, sines, got);
    asked += GetParam()->cosines(x.data(), count, got.data());
    expectSame(x, cosines, got);
    return asked / 2.0 / count;
  }

  bool plain() const { return GetParam() == &scalarNoise(); }
};

TEST_P(NoiseSetTest, SumsAreThoseOfThePlainLoop) {
  for (const double octaves : {-5.0, 0.0, 1.9, 2.0, 3.0, 7.5, 10.0, 20.0, 20.7, nan}) {
    Doubles x(std::begin(noRange), std::end(noRange));
    for (const double reach : {1e-3, 3.0, 100.0, 5e3, 1e5, 1e7, 1e12})
      for (const double value : within(reach, many / 2048)) x.push_back(value);
    Doubles expected, got(x.size());
    for (const double value : x) expected.push_back(noiseSum(value, octaves));
    GetParam()->sums(x.data(), static_cast<int>(x.size()), octaves, got.data());
    expectSame(x, expected, got);
  }
}

TEST_P(NoiseSetTest, SumsOfAnyNumberOfSteps) {
  for (int count = 0; count <= 140; ++count) {
    const Doubles x = within(30.0, count + 1);
    Doubles inPlace = x, expected = x;
    for (int i = 0; i < count; ++i) expected[i] = noiseSum(x[i], 10.0);
    GetParam()->sums(inPlace.data(), count, 10.0, inPlace.data());
    expectSame(x, expected, inPlace);
  }
}

TEST_P(NoiseSetTest, WavesOfAnyNumberOfSteps) {
  for (int count = 0; count <= 140; ++count) {
    const Doubles x = within(30.0, count + 1);
    Doubles sines = x, cosines = x, expectedSines = x, expectedCosines = x;
    for (int i = 0; i < count; ++i) {
      expectedSines[i] = std::sin(x[i]);
      expectedCosines[i] = std::cos(x[i]);
    }
    GetParam()->sines(sines.data(), count, sines.data());
    GetParam()->cosines(cosines.data(), count, cosines.data());
    expectSame(x, expectedSines, sines);
    expectSame(x, expectedCosines, cosines);
  }
}

TEST_P(NoiseSetTest, WavesAreTheLibrarys) {
  for (const double reach : {1.6, 20.0, 1e3, 1e5, 4e6}) expectWavesOf(within(reach, many / 4));
  std::uniform_real_distribution<double> exponent(-40.0, 30.0);
  Doubles x = within(1.0, many / 4);
  for (double &value : x) value = std::ldexp(value, static_cast<int>(exponent(random)));
  expectWavesOf(x);
}

TEST_P(NoiseSetTest, WavesNearMultiplesOfAQuarterTurn) {
  std::uniform_int_distribution<int> upTo(-2700000, 2700000);
  Doubles x;
  for (int i = 0; i < many / 32; ++i) {
    const int quarters = i < 4096 ? i - 2048 : upTo(random);
    const double multiple = quarters * (pi / 2.0);
    double below = multiple, above = multiple;
    x.push_back(multiple);
    for (int k = 0; k < 3; ++k) {
      x.push_back(below = std::nextafter(below, -inf));
      x.push_back(above = std::nextafter(above, inf));
    }
    x.push_back(multiple + std::ldexp(1.0, -20 - i % 24));
    x.push_back(multiple - std::ldexp(1.0, -20 - i % 24));
  }
  expectWavesOf(x);
}

TEST_P(NoiseSetTest, WavesOutOfRangeAreAskedOfTheLibrary) {
  expectWavesOf(Doubles(std::begin(noRange), std::end(noRange)));
  double result;
  for (const double x : {0.0, -0.0, 1e-10, -1e-310, 4194304.0, -4194304.0, 1e12, inf, -inf, nan})
    EXPECT_EQ(GetParam()->sines(&x, 1, &result), 1) << x;
  for (const double x : {4194304.0, -1e12, inf, -inf, nan}) EXPECT_EQ(GetParam()->cosines(&x, 1, &result), 1) << x;
}

TEST_P(NoiseSetTest, AsksTheLibraryForOneInNine) {
  const double share = plain() ? 1.0 : 0.11;
  for (const double reach : {1.6, 50.0, 1e5}) EXPECT_NEAR(expectWavesOf(within(reach, 1 << 18)), share, 0.004);
}

#if defined(__x86_64__)
/// Whatever the C library's own error: a value is rounded without it only where an error of 0.55 of the last place gives
/// the same double. Long doubles have 11 bits more.
TEST_P(NoiseSetTest, RoundsNothingThatALibraryMightRoundOtherwise) {
  if (plain()) GTEST_SKIP() << "all is the library's";
  const auto expectFarFromTheMiddle = [](const Doubles &x, int (*waves)(const double *, int, double *),
                                         long double (*exact)(long double)) {
    double farthest = 0.0, nearest = 1.0;
    for (const double value : x) {
      double result;
      const int asked = waves(&value, 1, &result);
      const double ulp = std::abs(result) - std::nextafter(std::abs(result), 0.0);
      const double distance = static_cast<double>(std::abs(exact(value) - result)) / ulp;
      if (asked == 0)
        farthest = std::max(farthest, distance);
      else
        nearest = std::min(nearest, distance);
    }
    EXPECT_LT(farthest, 0.4495);
    EXPECT_GT(farthest, 0.4405);
    EXPECT_GT(nearest, 0.4405);
  };
  for (const double reach : {1.6, 20.0, 1e5}) {
    const Doubles x = within(reach, many / 16);
    expectFarFromTheMiddle(x, GetParam()->sines, std::sin);
    expectFarFromTheMiddle(x, GetParam()->cosines, std::cos);
  }
}
#endif

std::vector<const NoiseSet *> available() {
  int count = 0;
  const NoiseSet *const *sets = availableNoise(count);
  return {sets, sets + count};
}

INSTANTIATE_TEST_SUITE_P(Processor, NoiseSetTest, ::testing::ValuesIn(available()),
                         [](const auto &instance) { return instance.param->name; });

TEST(NoiseSets, ThePlainLoopIsFirst) {
  ASSERT_FALSE(available().empty());
  EXPECT_STREQ(available().front()->name, "scalar");
}

TEST(NoiseSets, AreChosenByName) {
  for (const NoiseSet *set : available()) EXPECT_EQ(&noiseSetFor(set->name), set);
  for (const char *without : {"sse2", "neon"}) EXPECT_EQ(&noiseSetFor(without), &scalarNoise());
  for (const char *best : {"", "unheard-of", static_cast<const char *>(nullptr)})
    EXPECT_EQ(&noiseSetFor(best), available().back());
}

}  // namespace
}  // namespace pyrelux
