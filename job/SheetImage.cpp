#include "SheetImage.h"

#include <algorithm>

#include "DrawnInput.h"
#include "PictureSize.h"
#include "ValueError.h"

namespace pyrelux::job {

namespace {

// Pixels.
constexpr int gap = 8;
constexpr int lineHeight = 18;
constexpr int largestLetters = 13;
constexpr int smallestLetters = 5;

constexpr float ground = 32.0f / 255.0f;

int span(int count, int each) { return gap + count * (each + gap); }

Image blankSheet(int columns, int rows, int width, int height) {
  const auto side = [](int count, int each) { return static_cast<std::int64_t>(count) * (each + gap) + gap; };
  if (std::max(side(columns, width), side(rows, height)) > maximumSide)
    throw ValueError("a sheet of " + std::to_string(columns) + " by " + std::to_string(rows) + " pictures would be " +
                     std::to_string(side(columns, width)) + "x" + std::to_string(side(rows, height)) +
                     " pixels, and a side has " + std::to_string(maximumSide) +
                     " at most; vary less, or give a smaller --cell");
  Image image = Image::floats(span(columns, width), span(rows, height), Alpha::Premultiplied);
  std::fill(image.asFloats().begin(), image.asFloats().end(), ground);
  makeOpaque(image);
  return image;
}

/// As large as the letters can be.
Image drawLabel(const std::string &text, int width, int height, RenderListener &listener) {
  Title title;
  title.text = text;
  title.colour = {0.9, 0.9, 0.9};
  title.width = width;
  title.height = height;
  for (int letters = largestLetters;; --letters) {
    title.font = "Sans " + std::to_string(letters);
    try {
      return drawTitleWithWarnings(title, listener).picture;
    } catch (const TitleError &error) {
      if (letters == smallestLetters)
        throw ValueError(std::string("a label can't be drawn: ") + error.what() + "; give a larger --cell");
    }
  }
}

}  // namespace

SheetImage::SheetImage(int columns, int rows, int cellWidth, int cellHeight, int labelLines)
    : cellWidth_(cellWidth),
      cellHeight_(cellHeight),
      labelHeight_(labelLines * lineHeight),
      image_(blankSheet(columns, rows, cellWidth, cellHeight + labelHeight_)) {}

void SheetImage::put(int column, int row, const Image &picture, const std::string &label, RenderListener &listener) {
  const int left = span(column, cellWidth_);
  const int top = span(row, cellHeight_ + labelHeight_);
  Image opaque = picture;
  makeOpaque(opaque);
  lay(opaque, left, top);
  lay(toFloat(drawLabel(label, cellWidth_, labelHeight_, listener)), left, top + cellHeight_);
}

void SheetImage::lay(const Image &picture, int left, int top) {
  for (int y = 0; y < picture.height(); ++y) {
    const float *from = &picture.asFloats()[static_cast<std::size_t>(y) * picture.width() * 4];
    float *to = &image_.asFloats()[(static_cast<std::size_t>(top + y) * image_.width() + left) * 4];
    for (int x = 0; x < picture.width(); ++x, from += 4, to += 4)
      for (int channel = 0; channel < 3; ++channel) to[channel] = from[channel] + to[channel] * (1.0f - from[3]);
  }
}

}  // namespace pyrelux::job
