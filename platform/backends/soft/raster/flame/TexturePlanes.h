#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

#include "Pixels.h"

namespace pyrelux::soft {

/// Tells which parts of a texture are empty, that is all zero. It keeps prefix sums over cells of 8 x 8 texels, so a
/// query about any rectangle takes constant time.
class Occupancy {
 public:
  static constexpr int cellWidth = 8;
  static constexpr int cellHeight = 8;

  void resize(int width, int height);
  /// Marks the cell of a texel as not empty.
  void mark(int x, int y) { marks_[static_cast<std::size_t>(y / cellHeight * columns_ + x / cellWidth)] = 1; }
  /// Sums the marks up. Call it once, after the last mark().
  void finish();
  /// Whether no cell is empty.
  bool isFull() const { return full_; }

  /// Some rows of the texture, for callers that query many parts of them.
  class Band {
   public:
    /// Whether texels x0 .. x1 (both included; clamped to the texture) may be other than zero.
    bool any(int x0, int x1) const {
      const int left = std::clamp(x0, 0, lastTexel_) / cellWidth;
      const int right = std::clamp(x1, 0, lastTexel_) / cellWidth + 1;
      return last_[right] - last_[left] != before_[right] - before_[left];
    }

   private:
    friend class Occupancy;
    const std::int32_t *before_;  ///< prefix sums of the cells before the band
    const std::int32_t *last_;    ///< prefix sums of those and of the band's cells
    int lastTexel_;
  };
  /// Rows y0 .. y1 (both included; clamped to the texture).
  Band band(int y0, int y1) const;

  /// The texels that may be other than zero: x0 <= x < x1, y0 <= y < y1; empty if all are zero.
  struct Box {
    int x0, y0, x1, y1;
  };
  const Box &box() const { return box_; }

  /// The cells of a row, a byte each: 1 if the cell is not empty, else 0.
  int columns() const { return columns_; }
  int rows() const { return rows_; }
  const std::uint8_t *row(int row) const { return &marks_[static_cast<std::size_t>(row * columns_)]; }

  /// Whether texels x0 .. x1, y0 .. y1 (both included; clamped to the texture) may be other than zero.
  bool any(int x0, int y0, int x1, int y1) const { return band(y0, y1).any(x0, x1); }

 private:
  std::size_t index(int column, int row) const {
    return static_cast<std::size_t>(row + 1) * static_cast<std::size_t>(columns_ + 1) +
           static_cast<std::size_t>(column + 1);
  }

  int columns_ = 0;
  int rows_ = 0;
  bool full_ = false;
  Box box_{};
  std::vector<std::uint8_t> marks_;
  std::vector<std::int32_t> sums_;  ///< prefix sums of the marks, preceded by a row and a column of zeros
};

/// A texture in the form that the kernels read: one plane for each channel, with the edge texels repeated in margins
/// all round, so that taps near the edges need no clamping. Equal channels share a plane.
class TexturePlanes {
 public:
  /// The widths of the margins, in texels: taps may lie this far outside the texture.
  static constexpr int marginX = 64;
  static constexpr int marginY = 1;
  /// The number of texels after the last row that a kernel may read.
  static constexpr int stripSlack = 64;

  enum Wanted : unsigned {
    Levels = 1,  ///< levels - 128, as signed bytes
    Bytes = 2,   ///< levels, as unsigned bytes
    Floats = 4,
  };

  /// `wanted` is a combination of Wanted: the kinds of planes to make. Thread: uses the pool.
  TexturePlanes(const Pixels &texture, unsigned wanted);

  int width() const { return width_; }
  int height() const { return height_; }
  const Occupancy &occupancy() const { return occupancy_; }

  /// The index of the plane that holds a channel.
  int planeOf(int channel) const { return planeOf_[static_cast<std::size_t>(channel)]; }

  /// A plane's maximum as a level or as a float, and whether all its texels are equal.
  int largestLevel(int plane) const { return facts_[static_cast<std::size_t>(plane)].largestLevel; }
  float largestFloat(int plane) const { return facts_[static_cast<std::size_t>(plane)].largest; }
  bool isUniform(int plane) const { return facts_[static_cast<std::size_t>(plane)].uniform; }

  /// The texel at (x, y), which may lie in the margins. The planes of that kind were wanted.
  const std::int8_t *levels(int plane, int x, int y) const {
    return levels_[static_cast<std::size_t>(plane)].data() + at(x, y);
  }
  const std::uint8_t *bytes(int plane, int x, int y) const {
    return bytes_[static_cast<std::size_t>(plane)].data() + at(x, y);
  }
  const float *floats(int plane, int x, int y) const {
    return floats_[static_cast<std::size_t>(plane)].data() + at(x, y);
  }
  /// Texels from one row to the next.
  std::ptrdiff_t stride() const { return stride_; }

 private:
  struct Facts {
    int largestLevel = 0;
    float largest = 0.0f;
    bool uniform = true;
  };

  std::size_t at(int x, int y) const { return static_cast<std::size_t>((y + marginY) * stride_ + x + marginX); }
  void findPlanes(const Pixels &texture);
  void fillRows(const Pixels &texture, unsigned wanted, int first, int end);

  int width_;
  int height_;
  std::ptrdiff_t stride_;
  std::array<int, 4> planeOf_{0, 1, 2, 3};
  std::array<Facts, 4> facts_;
  std::array<RecycledArray<std::int8_t>, 4> levels_;
  std::array<RecycledArray<std::uint8_t>, 4> bytes_;
  std::array<RecycledArray<float>, 4> floats_;
  Occupancy occupancy_;
};

}  // namespace pyrelux::soft
