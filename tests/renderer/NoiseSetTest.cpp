// Compares every instruction set of this processor with the plain loop and with the C library, bit by bit.

#include "NoiseSets.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include "NumericHelpers.h"

namespace pyrelux {
namespace {

using Doubles = std::vector<double>;

constexpr double infinite = std::numeric_limits<double>::infinity();
constexpr double noNumber = std::numeric_limits<double>::quiet_NaN();
constexpr double tiniest = std::numeric_limits<double>::denorm_min();

// Without optimising, and with sanitizers, the loops take many times as long.
#if defined(NDEBUG) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
constexpr int many = 1 << 20;
#else
constexpr int many = 1 << 17;
#endif

constexpr double noRange[] = {0.0,
                              -0.0,
                              tiniest,
                              -tiniest,
                              1e-310,
                              1e-300,
                              -1e-20,
                              1e-9,
                              -3e-8,
                              1e-5,
                              0.1,
                              -0.1,
                              0.5,
                              0.9999999999999999,
                              1.0,
                              -1.0,
                              1.5707963267948966,
                              3.141592653589793,
                              4194303.9999999995,
                              4194304.0,
                              -4194304.0,
                              1e9,
                              1e12,
                              -1e12,
                              1e22,
                              1e300,
                              std::numeric_limits<double>::max(),
                              infinite,
                              -infinite,
                              noNumber};

bool sameDouble(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

/// Which NaN comes out is nobody's business.
void expectSame(const Doubles &x, const Doubles &expected, const Doubles &got) {
  ASSERT_EQ(expected.size(), got.size());
  int wrong = 0;
  for (std::size_t i = 0; i < got.size(); ++i) {
    if (sameDouble(expected[i], got[i]) || (std::isnan(expected[i]) && std::isnan(got[i]))) continue;
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

  /// Multiples of pi/2 and what is around each of them.
  Doubles nearMultiples(int count) {
    std::uniform_int_distribution<int> upTo(-2700000, 2700000);
    Doubles x;
    for (int i = 0; i < count; ++i) {
      const int quarters = i < 4096 ? i - 2048 : upTo(random);
      const double multiple = quarters * (pi / 2.0);
      double below = multiple, above = multiple;
      x.push_back(multiple);
      for (int k = 0; k < 3; ++k) {
        x.push_back(below = std::nextafter(below, -infinite));
        x.push_back(above = std::nextafter(above, infinite));
      }
      x.push_back(multiple + std::ldexp(1.0, -8 - i % 32));
      x.push_back(multiple - std::ldexp(1.0, -8 - i % 32));
    }
    return x;
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
  for (const double octaves : {-5.0, 0.0, 1.9, 2.0, 3.0, 7.5, 10.0, 20.0, 20.7, noNumber}) {
    Doubles x(std::begin(noRange), std::end(noRange));
    for (const double reach : {1e-3, 3.0, 100.0, 5e3, 1e5, 1e7, 1e12})
      for (const double value : within(reach, many / 512)) x.push_back(value);
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

TEST_P(NoiseSetTest, WavesNearMultiplesOfAQuarterTurn) { expectWavesOf(nearMultiples(many / 16)); }

TEST_P(NoiseSetTest, WavesOutOfRangeAreAskedOfTheLibrary) {
  expectWavesOf(Doubles(std::begin(noRange), std::end(noRange)));
  double result;
  for (const double x : {0.0, -0.0, 1e-10, -1e-310, 4194304.0, -4194304.0, 1e12, infinite, -infinite, noNumber})
    EXPECT_EQ(GetParam()->sines(&x, 1, &result), 1) << x;
  for (const double x : {4194304.0, -1e12, infinite, -infinite, noNumber})
    EXPECT_EQ(GetParam()->cosines(&x, 1, &result), 1) << x;
}

TEST_P(NoiseSetTest, AsksTheLibraryForOneInNine) {
  const double share = plain() ? 1.0 : 0.11;
  for (const double reach : {1.6, 50.0, 1e5}) EXPECT_NEAR(expectWavesOf(within(reach, 1 << 17)), share, 0.004);
}

#if defined(__x86_64__)
using Waves = int (*)(const double *, int, double *);
using Exact = long double (*)(long double);

/// How far results are from the exact values, in units of the last place. Long doubles have 11 bits more.
struct Distances {
  double farthest = 0.0;      ///< of those that the library was not asked for
  double nearestAsked = 1.0;  ///< of those that it was asked for, not because they are near zero
};

Distances distances(const Doubles &x, Waves waves, Exact exact) {
  Distances found;
  for (const double value : x) {
    double result;
    const int asked = waves(&value, 1, &result);
    const double ulp = std::abs(result) - std::nextafter(std::abs(result), 0.0);
    const double distance = static_cast<double>(std::abs(exact(value) - result)) / ulp;
    if (asked == 0)
      found.farthest = std::max(found.farthest, distance);
    else if (std::abs(result) > 1e-5)
      found.nearestAsked = std::min(found.nearestAsked, distance);
  }
  return found;
}

/// Whatever the C library's own error: a value is rounded without it only where an error of 0.55 of the last place
/// gives the same double.
TEST_P(NoiseSetTest, RoundsNothingThatALibraryMightRoundOtherwise) {
  if (plain()) GTEST_SKIP() << "all is the library's";
  const Doubles multiples = nearMultiples(many / 64);
  for (const auto &[waves, exact] :
       {std::pair<Waves, Exact>{GetParam()->sines, std::sin}, {GetParam()->cosines, std::cos}}) {
    for (const double reach : {1.6, 20.0, 1e5}) {
      const Distances found = distances(within(reach, many / 16), waves, exact);
      EXPECT_LT(found.farthest, 0.4495);
      EXPECT_GT(found.farthest, 0.4405);
      EXPECT_GT(found.nearestAsked, 0.4405);
    }
    EXPECT_LT(distances(multiples, waves, exact).farthest, 0.4495);
  }
}
#endif

std::vector<const NoiseSet *> everyNoiseSet() {
  int count = 0;
  const NoiseSet *const *sets = availableNoise(count);
  return {sets, sets + count};
}

INSTANTIATE_TEST_SUITE_P(Processor, NoiseSetTest, ::testing::ValuesIn(everyNoiseSet()),
                         [](const auto &instance) { return instance.param->name; });

TEST(NoiseSets, ThePlainLoopIsFirst) {
  ASSERT_FALSE(everyNoiseSet().empty());
  EXPECT_STREQ(everyNoiseSet().front()->name, "scalar");
}

TEST(NoiseSets, AreChosenByName) {
  for (const NoiseSet *set : everyNoiseSet()) EXPECT_EQ(&noiseSetFor(set->name), set);
  for (const char *without : {"sse2", "neon"}) EXPECT_EQ(&noiseSetFor(without), &scalarNoise());
  for (const char *best : {"", "unheard-of", static_cast<const char *>(nullptr)})
    EXPECT_EQ(&noiseSetFor(best), everyNoiseSet().back());
}

}  // namespace
}  // namespace pyrelux
