// Compares copies added up by transforms with the same copies added one by one.

#include "FlameFft.h"

#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <thread>

#include "FlameFftPlans.h"
#include "FlameSum.h"
#include "Reference.h"
#include "Scenes.h"

namespace pyrelux::soft {
namespace {

using namespace testing;

struct Size {
  int width;
  int height;
};

/// A transform's roundings spread over all pixels: each gets an error that goes with the root mean square of all of
/// them, about 1.2e-7 for each of some 20 butterflies, so 1e-6 of the largest sum; 1e-5 leaves room for rare cases and
/// is still 400 times finer than a level of 8 bits.
constexpr double slack = 1e-5;

/// The sums in double precision.
class ExactSums {
 public:
  ExactSums(const Pass &pass, const Pixels &before) : width_(before.width()), height_(before.height()) {
    for (int y = 0; y < height_; ++y)
      for (int i = 0; i < 4 * width_; ++i) sums_.push_back(before.floatRow(y)[i]);
    for (const Quad &quad : pass.quads) add(pass, quad);
  }

  double at(int y, int i) const { return sums_[static_cast<std::size_t>(y * 4 * width_ + i)]; }
  double largest() const { return *std::max_element(sums_.begin(), sums_.end()); }

 private:
  static double texel(const Pixels &texture, std::int64_t s, std::int64_t t, int c) {
    const int x = static_cast<int>(std::clamp<std::int64_t>(s, 0, texture.width() - 1));
    const int y = static_cast<int>(std::clamp<std::int64_t>(t, 0, texture.height() - 1));
    return texture.samples() == Samples::Byte ? texture.byteRow(y)[4 * x + c] / 255.0 : texture.floatRow(y)[4 * x + c];
  }

  void add(const Pass &pass, const Quad &quad) {
    for (int y = quad.y.first; y < quad.y.end; ++y)
      for (int x = quad.x.first; x < quad.x.end; ++x) {
        const std::int64_t s = quad.x.position(x), t = quad.y.position(y);
        const double fs = static_cast<double>(s & (Axis::one - 1)) / static_cast<double>(Axis::one);
        const double ft = static_cast<double>(t & (Axis::one - 1)) / static_cast<double>(Axis::one);
        for (int c = 0; c < 4; ++c) {
          if (!pass.mask[static_cast<std::size_t>(c)]) continue;
          const auto row = [&](std::int64_t j) {
            return texel(*pass.texture, s >> 32, j, c) * (1 - fs) + texel(*pass.texture, (s >> 32) + 1, j, c) * fs;
          };
          sums_[static_cast<std::size_t>((y * width_ + x) * 4 + c)] +=
              quad.colour[static_cast<std::size_t>(c)] * (row(t >> 32) * (1 - ft) + row((t >> 32) + 1) * ft);
        }
      }
  }

  int width_;
  int height_;
  std::vector<double> sums_;
};

template <typename Expected>
double largestError(const Pixels &drawn, Expected expected) {
  double largest = 0.0;
  for (int y = 0; y < drawn.height(); ++y)
    for (int i = 0; i < 4 * drawn.width(); ++i) {
      const double error = std::abs(drawn.floatRow(y)[i] - expected(y, i));
      if (!(error <= largest)) largest = error;
    }
  return largest;
}

bool isSame(const Pixels &a, const Pixels &b) {
  for (int y = 0; y < a.height(); ++y)
    if (std::memcmp(a.floatRow(y), b.floatRow(y), sizeof(float) * 4 * static_cast<std::size_t>(a.width())) != 0)
      return false;
  return true;
}

/// A copy of the whole texture, its lower left corner at x, y.
Quad copyAt(double x, double y, const Colour &colour, const Pixels &texture, const Pixels &target) {
  Quad quad;
  quad.x = makeAxis(x, x + texture.width(), 0, texture.width(), target.width());
  quad.y = makeAxis(y, y + texture.height(), 0, texture.height(), target.height());
  quad.colour = colour;
  return quad;
}

double shiftOf(Random &random, int texels, int pixels) {
  switch (between(random, 0, 5)) {
    case 0:
      return between(random, -texels, pixels);  // texel on pixel
    case 1:
      return between(random, -texels, pixels) + 0.5;
    case 2:
      return between(random, -2.0 * texels - 1, pixels + 2.0 * texels + 1);  // maybe off the target
    default:
      return between(random, -0.4, 0.4) * texels;
  }
}

Pass makeFlame(Random &random, Picture picture, Samples samples, Size size, const Pixels &target, int copies) {
  Pass pass;
  pass.texture = std::make_shared<Pixels>(makePicture(random, picture, samples, size.width, size.height));
  pass.blend = Blend::Add;
  for (int i = 0; i < copies; ++i)
    pass.quads.push_back(copyAt(shiftOf(random, size.width, target.width()),
                                shiftOf(random, size.height, target.height()), makeColour(random), *pass.texture,
                                target));
  return pass;
}

/// Draws the copies that transforms can draw, and returns the number of the others.
std::size_t addAnyway(const Pass &pass, Pixels &target, bool blank = false) {
  const TexturePlanes planes(*pass.texture, TexturePlanes::Floats);
  return addByFftAnyway(pass, planes, target, blank).size();
}

/// The number of copies that cover anything; addByFftAnyway() returns the others.
void dropUnseen(Pass &pass) {
  const auto isUnseen = [](const Quad &quad) { return quad.x.first >= quad.x.end || quad.y.first >= quad.y.end; };
  pass.quads.erase(std::remove_if(pass.quads.begin(), pass.quads.end(), isUnseen), pass.quads.end());
}

/// Compares transforms with the exact sums, the reference and the kernels, on a target that contains `before`.
void compare(Pass pass, const Pixels &before) {
  dropUnseen(pass);
  Pixels drawn = before;
  ASSERT_EQ(addAnyway(pass, drawn), 0u) << "every copy is whole";
  const ExactSums exact(pass, before);
  const double allowed = slack * std::max(1.0, exact.largest());
  ASSERT_LE(largestError(drawn, [&](int y, int i) { return exact.at(y, i); }), allowed);
  Pixels reference = before;
  drawByReference(pass, reference);
  ASSERT_LE(largestError(drawn, [&](int y, int i) { return reference.floatRow(y)[i]; }), allowed);
  // A transform never pays for few copies.
  Pixels direct = before;
  Pass one = pass;
  for (const Quad &quad : pass.quads) {
    one.quads = {quad};
    addFlame(one, direct, false);
  }
  ASSERT_LE(largestError(drawn, [&](int y, int i) { return direct.floatRow(y)[i]; }), allowed);
}

constexpr Size sizes[] = {{1, 1}, {1, 7}, {9, 1}, {2, 3}, {13, 17}, {31, 37}, {64, 48}, {101, 40}, {150, 8}, {3, 127}};

class FlameFft : public ::testing::TestWithParam<int> {
 protected:
  Random random{static_cast<unsigned>(GetParam())};

  Size anySize() { return sizes[between(random, 0, static_cast<int>(std::size(sizes)) - 1)]; }
  Picture anyPicture() { return static_cast<Picture>(between(random, 0, 5)); }
};

TEST_P(FlameFft, IsTheSumOfTheCopies) {
  for (const Size size : sizes) {
    const Pixels before = makePicture(random, between(random, 0, 1) ? Picture::Noise : Picture::Empty, Samples::Float,
                                      size.width, size.height);
    const auto samples = between(random, 0, 1) ? Samples::Byte : Samples::Float;
    const Size textureSize = between(random, 0, 1) ? size : anySize();
    Pass pass = makeFlame(random, anyPicture(), samples, textureSize, before, between(random, 1, 60));
    if (between(random, 0, 3) == 0)
      for (bool &channel : pass.mask) channel = between(random, 0, 1) == 1;
    if (between(random, 0, 3) == 0)
      for (Quad &quad : pass.quads) quad.colour[2] = 0.0f;
    SCOPED_TRACE(::testing::Message() << textureSize.width << "x" << textureSize.height << " on " << size.width << "x"
                                      << size.height);
    ASSERT_NO_FATAL_FAILURE(compare(pass, before));
  }
}

TEST_P(FlameFft, KeepsValuesAboveOne) {
  const Size size = anySize();
  const Pixels before = makePicture(random, Picture::Noise, Samples::Float, size.width, size.height);
  Pass pass = makeFlame(random, anyPicture(), Samples::Float, anySize(), before, 30);
  auto bright = std::make_shared<Pixels>(*pass.texture);
  for (int y = 0; y < bright->height(); ++y)
    for (int i = 0; i < 4 * bright->width(); ++i) bright->floatRow(y)[i] *= 25.0f;
  pass.texture = bright;
  ASSERT_NO_FATAL_FAILURE(compare(pass, before));
}

TEST_P(FlameFft, CoversABlankTarget) {
  const Size size = anySize();
  const Pixels black(Samples::Float, size.width, size.height);
  Pass pass = makeFlame(random, anyPicture(), Samples::Byte, anySize(), black, 20);
  pass.quads.push_back(copyAt(0.25, 0, {1, 1, 1, 1}, *pass.texture, black));
  Pixels expected = black;
  addAnyway(pass, expected);
  Pixels drawn = makePicture(random, Picture::Noise, Samples::Float, size.width, size.height);
  addAnyway(pass, drawn, true);
  EXPECT_TRUE(isSame(expected, drawn));
}

TEST_P(FlameFft, LeavesWhatIsNotAWholeCopyAtItsSize) {
  const Pixels before = makePicture(random, Picture::Noise, Samples::Float, 64, 48);
  Pass pass = makeFlame(random, Picture::Noise, Samples::Byte, {64, 48}, before, 20);
  for (int i = 0; i < 20; ++i) pass.quads.push_back(makeQuad(random, *pass.texture, before));
  Pixels reference = before;
  drawByReference(pass, reference);
  Pixels drawn = before;
  const TexturePlanes planes(*pass.texture, TexturePlanes::Floats);
  bool blank = false;
  Pass rest = pass;
  rest.quads = addByFftAnyway(pass, planes, drawn, blank);
  EXPECT_LT(rest.quads.size(), 40u);
  drawByReference(rest, drawn);
  EXPECT_LE(largestError(drawn, [&](int y, int i) { return reference.floatRow(y)[i]; }), slack * 40);
}

INSTANTIATE_TEST_SUITE_P(Starts, FlameFft, ::testing::Range(1, 41));

TEST(FlameFftCopies, CroppedScaledAndMirroredOnesAreLeft) {
  Random random(4);
  Pixels target(Samples::Float, 40, 30);
  Pass pass = makeFlame(random, Picture::Noise, Samples::Byte, {20, 10}, target, 0);
  const Axis whole = makeAxis(5.25, 15.25, 0, 10, 30);
  const Colour white{1, 1, 1, 1};
  pass.quads = {{makeAxis(5.25, 24.25, 0, 19, 40), whole, white},
                {makeAxis(7.25, 25.25, 2, 20, 40), whole, white},
                {makeAxis(5.25, 30.25, 0, 20, 40), whole, white},
                {makeAxis(5.25, 25.25, 20, 0, 40), whole, white},
                {makeAxis(4.25, 26.25, -1, 21, 40), whole, white}};
  EXPECT_EQ(addAnyway(pass, target), pass.quads.size());
  // A copy that the target's bounds cut off counts as whole.
  pass.quads = {{makeAxis(-3.25, 16.75, 0, 20, 40), whole, white}, {makeAxis(30.5, 50.5, 0, 20, 40), whole, white}};
  EXPECT_EQ(addAnyway(pass, target), 0u);
}

TEST(FlameFftCopies, ValuesThatWouldSpreadAreLeft) {
  Random random(5);
  Pixels target(Samples::Float, 16, 16);
  const float infinity = std::numeric_limits<float>::infinity();
  for (const float value : {-1.0f, infinity, std::numeric_limits<float>::quiet_NaN()}) {
    Pass pass = makeFlame(random, Picture::Noise, Samples::Float, {16, 16}, target, 0);
    pass.quads = {copyAt(0.5, 0.5, {1, 1, 1, 1}, *pass.texture, target)};
    ASSERT_EQ(addAnyway(pass, target), 0u);
    auto texture = std::make_shared<Pixels>(*pass.texture);
    texture->floatRow(3)[7] = value;
    pass.texture = texture;
    EXPECT_EQ(addAnyway(pass, target), 1u);
    pass = makeFlame(random, Picture::Noise, Samples::Byte, {16, 16}, target, 0);
    pass.quads = {copyAt(0.5, 0.5, {1, value, 1, 1}, *pass.texture, target)};
    EXPECT_EQ(addAnyway(pass, target), 1u);
  }
}

TEST(FlameFftCopies, EveryQuarterPixelAtTheEndsIsExact) {
  // An opaque picture of one value shows any error at its edges.
  for (const Size size : {Size{1, 1}, Size{2, 1}, Size{5, 4}}) {
    const Pixels black(Samples::Float, 12, 9);
    Pass pass;
    auto texture = std::make_shared<Pixels>(Samples::Float, size.width, size.height);
    for (int y = 0; y < size.height; ++y)
      for (int i = 0; i < 4 * size.width; ++i) texture->floatRow(y)[i] = 1.0f;
    texture->floatRow(0)[0] = 0.75f;  // not uniform
    pass.texture = texture;
    pass.blend = Blend::Add;
    for (double x = -6; x < 13; x += 0.25)
      for (double y = -5; y < 10; y += 0.25) {
        pass.quads = {copyAt(x, y, {1, 0.5f, 0.25f, 1}, *texture, black)};
        SCOPED_TRACE(::testing::Message() << x << "," << y);
        ASSERT_NO_FATAL_FAILURE(compare(pass, black));
      }
  }
}

TEST(FlameFftCopies, ManyOfThemLeaveNothingBelowZero) {
  Random random(6);
  Pixels target(Samples::Float, 200, 100);
  const Pass pass = makeFlame(random, Picture::Title, Samples::Byte, {200, 100}, target, 3000);
  addAnyway(pass, target, true);
  for (int y = 0; y < 100; ++y)
    for (int i = 0; i < 800; ++i) ASSERT_GE(target.floatRow(y)[i], 0.0f);
}

/// Tongues of shifted copies, so many that transforms draw them.
Pass largeFlame(const Pixels &target, int copies) {
  Random random(8);
  Pass pass = makeFlame(random, Picture::Opaque, Samples::Byte, {target.width(), target.height()}, target, 0);
  for (int i = 0; i < copies; ++i) {
    const double x = between(random, -0.2, 0.2) * target.width(), y = between(random, 0.0, 0.3) * target.height();
    pass.quads.push_back(copyAt(x, y, {0.001f, 0.002f, 0.0005f, 0.001f}, *pass.texture, target));
  }
  return pass;
}

TEST(FlameFftUse, AFlameOfManyCopiesIsDrawnByTransforms) {
  Pixels target(Samples::Float, 320, 180);
  const Pass pass = largeFlame(target, 2000);
  const TexturePlanes planes(*pass.texture, TexturePlanes::Floats);
  bool blank = true;
  EXPECT_TRUE(addByFft(pass, planes, target, blank).empty());
  EXPECT_FALSE(blank);
  Pixels drawn(Samples::Float, 320, 180);
  addFlame(pass, drawn, true);
  EXPECT_TRUE(isSame(target, drawn));
  // A flame of few copies is not.
  const Pass small = largeFlame(target, 20);
  blank = true;
  EXPECT_EQ(addByFft(small, planes, target, blank).size(), 20u);
  EXPECT_TRUE(blank);
}

TEST(FlameFftUse, FiftyTonguesOfThreeHundredCopiesAreAsExactAsDrawnOneByOne) {
  const Pixels black(Samples::Float, 320, 180);
  Pass pass = largeFlame(black, 50 * 301);
  Random random(9);
  for (Quad &quad : pass.quads)
    for (float &channel : quad.colour) channel = static_cast<float>(between(random, 0.0, 2.0 / (50 * 301)));
  Pixels drawn = black;
  ASSERT_EQ(addAnyway(pass, drawn), 0u);

  // Checks all copies at a few pixels, because all pixels would take minutes.
  constexpr int pixelsApart = 23;
  double largest = 0.0, error = 0.0, directError = 0.0;
  Pixels direct = black;
  Pass some = pass;
  for (std::size_t i = 0; i < pass.quads.size(); i += 20) {
    some.quads.assign(pass.quads.begin() + static_cast<std::ptrdiff_t>(i),
                      pass.quads.begin() + static_cast<std::ptrdiff_t>(std::min(i + 20, pass.quads.size())));
    addFlame(some, direct, false);
  }
  for (int y = 0; y < black.height(); y += pixelsApart)
    for (int x = 0; x < black.width(); x += pixelsApart) {
      Pass here = pass;
      for (Quad &quad : here.quads) {
        const bool isHere = x >= quad.x.first && x < quad.x.end && y >= quad.y.first && y < quad.y.end;
        quad.x.start = quad.x.position(x), quad.y.start = quad.y.position(y);
        quad.x.first = quad.y.first = 0;
        quad.x.end = quad.y.end = isHere ? 1 : 0;
      }
      const ExactSums exact(here, Pixels(Samples::Float, 1, 1));
      for (int c = 0; c < 4; ++c) {
        largest = std::max(largest, exact.at(0, c));
        error = std::max(error, std::abs(drawn.floatRow(y)[4 * x + c] - exact.at(0, c)));
        directError = std::max(directError, std::abs(direct.floatRow(y)[4 * x + c] - exact.at(0, c)));
      }
    }
  EXPECT_GT(largest, 0.5);
  EXPECT_LE(error, slack);
  EXPECT_LE(directError, slack);
}

TEST(FlameFftUse, ScaledCopiesAreDrawnToo) {
  const Pixels before(Samples::Float, 160, 90);
  Pass pass = largeFlame(before, 2000);
  for (int i = 0; i < 5; ++i)
    pass.quads.push_back({makeAxis(i, 100 + i, 0, 160, 160), makeAxis(0, 70, 0, 90, 90), {0.1f, 0.1f, 0.1f, 0.1f}});
  const ExactSums exact(pass, before);
  Pixels drawn = before;
  addFlame(pass, drawn, true);
  EXPECT_LE(largestError(drawn, [&](int y, int i) { return exact.at(y, i); }), slack * std::max(1.0, exact.largest()));
}

FlameCost costOf(double copies, double share) {
  FlameCost cost;
  cost.copies = copies;
  cost.pixels = 1920 * 1080;
  cost.tiles = copies * 30 * 34;
  cost.samples = cost.sums = 3 * share * copies * cost.pixels;
  cost.planes = cost.channels = 3;
  cost.points = 2304 * 1440 * share;
  return cost;
}

TEST(FlameFftDecision, MoreCopiesSpeakForTransforms) {
  for (const double share : {1.0, 0.2}) {
    bool faster = false;
    for (double copies = 1; copies < 1e6; copies *= 1.1) {
      const bool now = fftIsFaster(costOf(copies, share));
      EXPECT_TRUE(now || !faster) << copies;
      faster = now;
    }
    EXPECT_TRUE(faster);
    EXPECT_FALSE(fftIsFaster(costOf(10, share)));
  }
}

TEST(FlameFftDecision, WorkSpeaksAgainstWhoeverHasIt) {
  double FlameCost::*const saved[] = {&FlameCost::samples, &FlameCost::sums, &FlameCost::tiles};
  double FlameCost::*const spent[] = {&FlameCost::points, &FlameCost::planes, &FlameCost::channels, &FlameCost::pixels};
  const auto flips = [](double FlameCost::*member, bool expected) {
    bool last = !expected;
    FlameCost cost = costOf(120, 1.0);
    cost.*member = 0;
    for (double factor = 1; factor < 1e12; factor *= 2) {
      const bool now = fftIsFaster(cost);
      EXPECT_TRUE(now == expected || last != expected) << factor;
      last = now;
      cost.*member = factor;
    }
    EXPECT_EQ(last, expected);
  };
  for (const auto member : saved) flips(member, true);
  for (const auto member : spent) flips(member, false);
}

TEST(FlameFftDecision, TransformsLargerThanMemoryAreNotTaken) {
  FlameCost cost = costOf(1e6, 1.0);
  cost.points = 1e9;
  cost.samples *= 1000;
  EXPECT_FALSE(fftIsFaster(cost));
}

/// The checksum of a flame that another process draws with that many threads.
std::string checksumWith(int threads) {
  int ends[2];
  if (pipe(ends) != 0) return "no pipe";
  const pid_t child = fork();
  if (child == 0) {
    dup2(ends[1], STDOUT_FILENO);
    setenv("PYRELUX_THREADS", std::to_string(threads).c_str(), 1);
    execl("/proc/self/exe", "raster_tests", "--gtest_filter=FlameFftThreads.HasAChecksum",
          static_cast<char *>(nullptr));
    _exit(127);
  }
  close(ends[1]);
  std::string output;
  char buffer[4096];
  for (ssize_t count; (count = read(ends[0], buffer, sizeof buffer)) > 0;)
    output.append(buffer, static_cast<std::size_t>(count));
  close(ends[0]);
  waitpid(child, nullptr, 0);
  const std::size_t at = output.find("checksum ");
  return at == std::string::npos ? "none: " + output : output.substr(at, output.find('\n', at) - at);
}

/// Prints what TheirNumberChangesNoBit compares.
TEST(FlameFftThreads, HasAChecksum) {
  Pixels target(Samples::Float, 333, 181);
  addFlame(largeFlame(target, 3000), target, true);
  std::uint64_t sum = 14695981039346656037u;
  for (int y = 0; y < target.height(); ++y)
    for (int i = 0; i < 4 * target.width(); ++i) {
      std::uint32_t bits;
      std::memcpy(&bits, target.floatRow(y) + i, sizeof bits);
      sum = (sum ^ bits) * 1099511628211u;
    }
  EXPECT_NE(sum, 14695981039346656037u);
  std::printf("checksum %llx\n", static_cast<unsigned long long>(sum));
}

TEST(FlameFftThreads, TheirNumberChangesNoBit) {
  const std::string one = checksumWith(1);
  EXPECT_EQ(one.substr(0, 9), "checksum ");
  EXPECT_EQ(one, checksumWith(2));
  EXPECT_EQ(one, checksumWith(5));
}

TEST(FlameFftThreads, SeveralMayDrawAtOnce) {
  const Pixels black(Samples::Float, 150, 80);
  const Pass pass = largeFlame(black, 300);
  Pixels expected = black;
  addAnyway(pass, expected);
  std::vector<std::thread> threads;
  std::vector<char> same(4);
  for (std::size_t i = 0; i < same.size(); ++i)
    threads.emplace_back([&, i] {
      for (int round = 0; round < 5; ++round) {
        // Each thread has its own sizes, so that plans are made and dropped meanwhile.
        transformPlans(16 * static_cast<int>(i + 1), 16 * (round + 1));
        Pixels drawn = black;
        addAnyway(pass, drawn);
        same[i] = isSame(expected, drawn);
        if (!same[i]) return;
      }
    });
  for (std::thread &thread : threads) thread.join();
  for (const char each : same) EXPECT_TRUE(each);
}

TEST(FlameFftPlans, SizesAreTheNextThatAreFast) {
  for (int size = 1; size < 5000; ++size) {
    const int fast = fastTransformSize(size);
    ASSERT_GE(fast, size);
    ASSERT_EQ(fast % 16, 0);
    ASSERT_LE(fast, std::max(16, size + size / 4 + 16));
    ASSERT_EQ(fastTransformSize(fast), fast);
  }
  EXPECT_EQ(fastTransformSize(1404), 1440);
}

/// The bytes that the program has allocated and not freed; 0 with a sanitizer, which replaces the allocator.
std::size_t bytesInUse() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

TEST(FlameFftPlans, ManySizesInARowDoNotGrowMemory) {
  if (bytesInUse() == 0) GTEST_SKIP() << "NOT TESTED: this allocator does not count";
  // The sizes are too small for recycled memory, and too many for any plan to be kept.
  const auto drawAll = [] {
    for (int height = 84; height > 0; height -= 12)
      for (int width = 240; width > 0; width -= 4) {
        Pixels target(Samples::Float, width, height);
        addAnyway(largeFlame(target, 20), target);
      }
  };
  // FFTW keeps some bytes for every new size.
  drawAll();
  const std::size_t before = bytesInUse();
  for (int round = 0; round < 3; ++round) drawAll();
  EXPECT_LT(bytesInUse(), before + 65536);
}

TEST(FlameFftPlans, TheLastOnesAreKept) {
  const std::weak_ptr<const TransformPlans> plans = transformPlans(32, 48);
  EXPECT_EQ(transformPlans(32, 48), plans.lock());
  for (int height = 1; height <= 4; ++height) transformPlans(64, 16 * height);
  EXPECT_EQ(transformPlans(32, 48), plans.lock());
  for (int height = 1; height <= 40; ++height) transformPlans(80, 16 * height);
  EXPECT_TRUE(plans.expired());
}

}  // namespace
}  // namespace pyrelux::soft
