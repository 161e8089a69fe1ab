#include "TexturePlanes.h"

#include <algorithm>
#include <cstring>

#include "Arithmetic.h"
#include "ThreadPool.h"

namespace pyrelux::soft {

namespace {

/// Rows in one piece of work: a multiple of the cells' height, so that two pieces never mark the same cell.
constexpr int rowsAtOnce = 4 * Occupancy::cellHeight;

float asFloat(std::uint8_t level) { return static_cast<float>(level) / 255.0f; }
float asFloat(float value) { return value; }
std::uint8_t asLevel(std::uint8_t level) { return level; }
std::uint8_t asLevel(float value) { return toLevel(value); }

/// The facts about a texture, from one reading of all its samples.
template <typename Sample>
struct Survey {
  Sample smallest[4];
  Sample largest[4];
  bool alike[4] = {true, true, true, true};  ///< channel c holds what the channel before it holds

  explicit Survey(const Sample *pixel) {
    for (int c = 0; c < 4; ++c) smallest[c] = largest[c] = pixel[c];
  }

  void look(const Sample *row, int width) {
    // Whole blocks of samples suit the compiler's vectoriser.
    constexpr int block = 64;
    Sample low[block], high[block];
    for (int i = 0; i < block; ++i) {
      low[i] = smallest[i % 4];
      high[i] = largest[i % 4];
    }
    const int whole = 4 * width / block * block;
    for (int at = 0; at < whole; at += block) {
      for (int i = 0; i < block; ++i) {
        low[i] = row[at + i] < low[i] ? row[at + i] : low[i];
        high[i] = row[at + i] > high[i] ? row[at + i] : high[i];
      }
    }
    for (int i = whole; i < 4 * width; ++i) {
      low[i % 4] = std::min(low[i % 4], row[i]);
      high[i % 4] = std::max(high[i % 4], row[i]);
    }
    for (int i = 0; i < block; ++i) {
      smallest[i % 4] = std::min(smallest[i % 4], low[i]);
      largest[i % 4] = std::max(largest[i % 4], high[i]);
    }
    compare(row, width);
  }

  void join(const Survey &other) {
    for (int c = 0; c < 4; ++c) {
      smallest[c] = std::min(smallest[c], other.smallest[c]);
      largest[c] = std::max(largest[c], other.largest[c]);
      alike[c] = alike[c] && other.alike[c];
    }
  }

 private:
  void compare(const std::uint8_t *row, int width) {
    std::uint32_t different = 0;
    for (int x = 0; x < width; ++x) {
      std::uint32_t pixel;
      std::memcpy(&pixel, row + 4 * x, sizeof pixel);
      different |= pixel ^ (pixel << 8);
    }
    // The lowest byte is channel 0: all supported processors are little-endian.
    for (int c = 1; c < 4; ++c) alike[c] = alike[c] && (different >> (8 * c) & 255) == 0;
  }
  void compare(const float *row, int width) {
    int different[4] = {};
    for (int x = 0; x < width; ++x)
      for (int c = 1; c < 4; ++c) different[c] |= row[4 * x + c] != row[4 * x + c - 1];
    for (int c = 1; c < 4; ++c) alike[c] = alike[c] && !different[c];
  }
};

template <typename Row>
auto surveyed(const Pixels &texture, Row row) {
  using Sample = std::remove_const_t<std::remove_pointer_t<decltype(row(0))>>;
  const int pieces = (texture.height() + rowsAtOnce - 1) / rowsAtOnce;
  std::vector<Survey<Sample>> surveys(static_cast<std::size_t>(pieces), Survey<Sample>(row(0)));
  parallelFor(pieces, [&](int piece) {
    for (int y = piece * rowsAtOnce; y < std::min((piece + 1) * rowsAtOnce, texture.height()); ++y)
      surveys[static_cast<std::size_t>(piece)].look(row(y), texture.width());
  });
  for (const auto &survey : surveys) surveys[0].join(survey);
  return surveys[0];
}

bool anything(const std::uint8_t *samples, int count) {
  std::uint32_t all = 0;
  for (int i = 0; i < count; i += 4) {
    std::uint32_t pixel;
    std::memcpy(&pixel, samples + i, sizeof pixel);
    all |= pixel;
  }
  return all != 0;
}
bool anything(const float *samples, int count) {
  return std::any_of(samples, samples + count, [](float sample) { return sample != 0.0f; });
}

std::uint8_t channelOf(const std::uint8_t *row, int x, int channel) {
  std::uint32_t pixel;
  std::memcpy(&pixel, row + 4 * x, sizeof pixel);
  return static_cast<std::uint8_t>(pixel >> (8 * channel));
}
float channelOf(const float *row, int x, int channel) { return row[4 * x + channel]; }

/// Copies one channel of a row into a plane's row, and its end texels into the margins.
template <typename Sample, typename Value, typename Convert>
void spread(const Sample *row, int width, int channel, Value *to, std::ptrdiff_t marginRight, Convert convert) {
  for (int x = 0; x < width; ++x) to[x] = convert(channelOf(row, x, channel));
  std::fill_n(to - TexturePlanes::marginX, TexturePlanes::marginX, to[0]);
  std::fill_n(to + width, marginRight, to[width - 1]);
}

/// The stride is an odd multiple of 32 texels. With a power of two, such as the 4096 bytes that pictures 1920 wide
/// would have, all rows of a strip would compete for the same few cache lines.
std::ptrdiff_t strideFor(int width) {
  const int units = (width + 2 * TexturePlanes::marginX + 31) / 32;
  return (units | 1) * 32;
}

}  // namespace

void Occupancy::resize(int width, int height) {
  columns_ = (width + cellWidth - 1) / cellWidth;
  rows_ = (height + cellHeight - 1) / cellHeight;
  marks_.assign(static_cast<std::size_t>(columns_) * static_cast<std::size_t>(rows_), 0);
}

void Occupancy::finish() {
  sums_.assign(static_cast<std::size_t>(columns_ + 1) * static_cast<std::size_t>(rows_ + 1), 0);
  box_ = {columns_, rows_, 0, 0};
  for (int y = 0; y < rows_; ++y) {
    std::int32_t sum = 0;
    for (int column = 0; column < columns_; ++column) {
      if (row(y)[column]) {
        box_ = {std::min(box_.x0, column), std::min(box_.y0, y), std::max(box_.x1, column + 1), y + 1};
        ++sum;
      }
      sums_[index(column, y)] = sums_[index(column, y - 1)] + sum;
    }
  }
  full_ = sums_.back() == columns_ * rows_;
  box_ = {box_.x0 * cellWidth, box_.y0 * cellHeight, box_.x1 * cellWidth, box_.y1 * cellHeight};
}

Occupancy::Band Occupancy::band(int y0, int y1) const {
  const auto clampRow = [&](int y) { return std::clamp(y / cellHeight, 0, rows_ - 1); };
  Band band;
  band.before_ = sums_.data() + index(-1, clampRow(y0) - 1);
  band.last_ = sums_.data() + index(-1, clampRow(y1));
  band.lastTexel_ = columns_ * cellWidth - 1;
  return band;
}

TexturePlanes::TexturePlanes(const Pixels &texture, unsigned wanted)
    : width_(texture.width()), height_(texture.height()), stride_(strideFor(texture.width())) {
  findPlanes(texture);
  const auto size = static_cast<std::size_t>(stride_ * (height_ + 2 * marginY) + stripSlack);
  for (std::size_t c = 0; c < 4; ++c) {
    if (planeOf_[c] != static_cast<int>(c)) continue;
    if (wanted & Levels) levels_[c] = RecycledArray<std::int8_t>(size);
    if (wanted & Bytes) bytes_[c] = RecycledArray<std::uint8_t>(size);
    if (wanted & Floats) floats_[c] = RecycledArray<float>(size);
  }
  occupancy_.resize(width_, height_);
  parallelFor((height_ + rowsAtOnce - 1) / rowsAtOnce, [&](int piece) {
    fillRows(texture, wanted, piece * rowsAtOnce, std::min((piece + 1) * rowsAtOnce, height_));
  });
  occupancy_.finish();
}

void TexturePlanes::findPlanes(const Pixels &texture) {
  const auto take = [&](const auto &survey) {
    for (std::size_t c = 0; c < 4; ++c) {
      planeOf_[c] = c > 0 && survey.alike[c] ? planeOf_[c - 1] : static_cast<int>(c);
      facts_[c].largestLevel = asLevel(survey.largest[c]);
      facts_[c].largest = asFloat(survey.largest[c]);
      facts_[c].uniform = survey.smallest[c] == survey.largest[c];
    }
  };
  if (texture.samples() == Samples::Byte)
    take(surveyed(texture, [&](int y) { return texture.byteRow(y); }));
  else
    take(surveyed(texture, [&](int y) { return texture.floatRow(y); }));
}

void TexturePlanes::fillRows(const Pixels &texture, unsigned wanted, int first, int end) {
  const std::ptrdiff_t marginRight = stride_ - marginX - width_;
  const auto fillRow = [&](const auto *row, int y) {
    for (int c = 0; c < 4; ++c) {
      if (planeOf(c) != c) continue;
      const auto plane = static_cast<std::size_t>(c);
      if (wanted & Levels)
        spread(row, width_, c, levels_[plane].data() + at(0, y), marginRight,
               [](auto sample) { return static_cast<std::int8_t>(asLevel(sample) - 128); });
      if (wanted & Bytes)
        spread(row, width_, c, bytes_[plane].data() + at(0, y), marginRight,
               [](auto sample) { return asLevel(sample); });
      if (wanted & Floats)
        spread(row, width_, c, floats_[plane].data() + at(0, y), marginRight,
               [](auto sample) { return asFloat(sample); });
    }
  };
  const auto fill = [&](const auto *row, int y) {
    fillRow(row, y);
    // The margins repeat the first and the last row.
    if (y == 0) fillRow(row, -1);
    if (y == height_ - 1) fillRow(row, height_);
    for (int x0 = 0; x0 < width_; x0 += Occupancy::cellWidth) {
      const int x1 = std::min(x0 + Occupancy::cellWidth, width_);
      if (anything(row + 4 * x0, 4 * (x1 - x0))) occupancy_.mark(x0, y);
    }
  };
  for (int y = first; y < end; ++y) {
    if (texture.samples() == Samples::Byte)
      fill(texture.byteRow(y), y);
    else
      fill(texture.floatRow(y), y);
  }
}

}  // namespace pyrelux::soft
