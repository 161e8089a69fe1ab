#include "TestPattern.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace pyrelux {

namespace {

/// Red, green, blue and alpha, premultiplied, 0 .. 1.
using Pixel = std::array<float, 4>;

constexpr Pixel white(float alpha) { return {alpha, alpha, alpha, alpha}; }

struct Size {
  int width;
  int height;
};

Pixel bars(const Size &size, int x, int) {
  // Counted down from 7, the bits of the bar's number are green, red and blue, so the brightest bar comes first.
  const int bar = 7 - x * 8 / size.width;
  const auto bit = [bar](int place) { return static_cast<float>(bar >> place & 1); };
  return {bit(1), bit(2), bit(0), 1.0f};
}

Pixel checker(const Size &size, int x, int y) {
  const int side = std::max(size.height / 8, 1);
  return white((x / side + y / side) % 2 == 0 ? 1.0f : 0.0f);
}

Pixel circle(const Size &size, int x, int y) {
  const double radius = std::min(size.width, size.height) / 4.0;
  const double distance = std::hypot(x + 0.5 - size.width / 2.0, y + 0.5 - size.height / 2.0);
  return white(static_cast<float>(std::clamp(radius - distance + 0.5, 0.0, 1.0)));
}

Pixel ramp(const Size &size, int x, int) {
  return white(size.width > 1 ? static_cast<float>(x) / static_cast<float>(size.width - 1) : 1.0f);
}

Pixel title(const Size &size, int x, int y) {
  constexpr int rows = 7;
  static constexpr const char *word[rows] = {
      "####  #   # ####  ##### #     #   # #   #",  //
      "#   # #   # #   # #     #     #   # #   #",  //
      "#   #  # #  #   # #     #     #   #  # # ",  //
      "####    #   ####  ####  #     #   #   #  ",  //
      "#       #   # #   #     #     #   #  # # ",  //
      "#       #   #  #  #     #     #   # #   #",  //
      "#       #   #   # ##### #####  ###  #   #",  //
  };
  constexpr int columns = 41;
  // Dots are whole pixels. A picture that is too small for the word shows its middle.
  const int dot = std::max(std::min(size.width * 9 / 10 / columns, size.height / 2 / rows), 1);
  const int left = (size.width - columns * dot) / 2;
  const int top = (size.height - rows * dot) / 2;
  if (x < left || y < top) return white(0.0f);
  const int column = (x - left) / dot;
  const int row = (y - top) / dot;
  return white(column < columns && row < rows && word[row][column] == '#' ? 1.0f : 0.0f);
}

constexpr struct {
  const char *name;
  Pixel (*pixel)(const Size &size, int x, int y);
} patterns[] = {{"bars", bars}, {"checker", checker}, {"circle", circle}, {"ramp", ramp}, {"title", title}};

}  // namespace

const std::vector<std::string> &testPatternNames() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> all;
    for (const auto &pattern : patterns) all.push_back(pattern.name);
    return all;
  }();
  return names;
}

Image testPattern(const std::string &name, int width, int height, bool isFloat) {
  const auto pattern = std::find_if(std::begin(patterns), std::end(patterns),
                                    [&name](const auto &candidate) { return candidate.name == name; });
  Image image = Image::floats(width, height, Alpha::Premultiplied);
  float *sample = image.asFloats().data();
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const Pixel pixel = pattern->pixel({width, height}, x, y);
      sample = std::copy(pixel.begin(), pixel.end(), sample);
    }
  return isFloat ? image : toBytes(image);
}

}  // namespace pyrelux
