#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "Compositing.h"
#include "Title.h"

namespace pyrelux {

// Of the titles that tests draw, in pixels.
constexpr int pictureWidth = 320;
constexpr int pictureHeight = 180;

/// A title of that size, in a font or in the default one.
inline Title titleOf(const std::string &text, const std::optional<std::string> &font = {}) {
  Title title;
  title.text = text;
  title.font = font;
  title.width = pictureWidth;
  title.height = pictureHeight;
  return title;
}

/// The smallest rectangle around all ink.
inline PixelBox inkOf(const Title &title) { return alphaBox(drawTitle(title).picture); }

/// What drawing throws; empty if nothing.
inline std::string refusalOf(const Title &title) {
  try {
    drawTitle(title);
  } catch (const TitleError &error) {
    return error.what();
  }
  return {};
}

}  // namespace pyrelux
