#include "Sheet.h"

#include <algorithm>

#include "FrameRange.h"
#include "Media.h"
#include "Title.h"

namespace pyrelux::cli {

namespace {

// Pixels.
constexpr int gap = 8;
constexpr int lineHeight = 18;
constexpr int largestLetters = 13;
constexpr int smallestLetters = 5;

constexpr std::uint8_t ground = 32;

int span(int count, int each) { return gap + count * (each + gap); }

Image blankSheet(int columns, int rows, int width, int height) {
  const auto side = [](int count, int each) { return static_cast<std::int64_t>(count) * (each + gap) + gap; };
  if (std::max(side(columns, width), side(rows, height)) > media::maximumSide)
    throw UsageError("a sheet of " + std::to_string(columns) + " by " + std::to_string(rows) + " pictures would be " +
                     std::to_string(side(columns, width)) + "x" + std::to_string(side(rows, height)) +
                     " pixels, and a side has " + std::to_string(media::maximumSide) +
                     " at most; vary less, or give a smaller --cell");
  Image image = Image::bytes(span(columns, width), span(rows, height), Alpha::Premultiplied);
  for (std::size_t i = 0; i < image.sampleCount(); ++i) image.asBytes()[i] = i % 4 == 3 ? 255 : ground;
  return image;
}

/// As large as the letters can be.
Image drawLabel(const std::string &text, int width, int height) {
  Title title;
  title.text = text;
  title.colour = {0.9, 0.9, 0.9};
  title.width = width;
  title.height = height;
  for (int letters = largestLetters;; --letters) {
    title.font = "Sans " + std::to_string(letters);
    try {
      return drawTitle(title).picture;
    } catch (const TitleError &error) {
      if (letters == smallestLetters)
        throw UsageError(std::string("a label can't be drawn: ") + error.what() + "; give a larger --cell");
    }
  }
}

}  // namespace

Sheet::Sheet(int columns, int rows, int cellWidth, int cellHeight, int labelLines)
    : cellWidth_(cellWidth),
      cellHeight_(cellHeight),
      labelHeight_(labelLines * lineHeight),
      image_(blankSheet(columns, rows, cellWidth, cellHeight + labelHeight_)) {}

void Sheet::put(int column, int row, const Image &picture, const std::string &label) {
  const int left = span(column, cellWidth_);
  const int top = span(row, cellHeight_ + labelHeight_);
  Image opaque = picture;
  for (std::size_t i = 3; i < opaque.sampleCount(); i += 4) opaque.asBytes()[i] = 255;
  lay(opaque, left, top);
  lay(drawLabel(label, cellWidth_, labelHeight_), left, top + cellHeight_);
}

void Sheet::lay(const Image &picture, int left, int top) {
  for (int y = 0; y < picture.height(); ++y) {
    const std::uint8_t *from = &picture.asBytes()[static_cast<std::size_t>(y) * picture.width() * 4];
    std::uint8_t *to = &image_.asBytes()[(static_cast<std::size_t>(top + y) * image_.width() + left) * 4];
    for (int x = 0; x < picture.width(); ++x, from += 4, to += 4)
      for (int channel = 0; channel < 3; ++channel)
        to[channel] = static_cast<std::uint8_t>(from[channel] + to[channel] * (255 - from[3]) / 255);
  }
}

}  // namespace pyrelux::cli
