#include "TileParts.h"

namespace pyrelux::soft {

TileParts::TileParts(const Occupancy &occupancy)
    : columns_(occupancy.columns()), rows_(occupancy.rows()), stride_(columns_ + marginX) {
  if (occupancy.isFull()) return;
  constexpr int cellsInHalf = halfStrip / Occupancy::cellWidth, halves = tileWidth / halfStrip;
  constexpr int blocks = stripHeight / partRows;
  static_assert(partRows == Occupancy::cellHeight && 2 * blocks * (halves / 2) == 32);

  // A row of cells, its ends repeated to both sides.
  const auto width = static_cast<std::size_t>(stride_ + marginX + 1);
  std::vector<std::uint8_t> cells(width), reads(width);
  const auto load = [&](int row, bool join) {
    const std::uint8_t *const from = occupancy.row(std::clamp(row, 0, rows_ - 1));
    const auto put = [&](std::size_t at, std::uint8_t cell) { cells[at] = join ? cells[at] | cell : cell; };
    for (std::size_t i = 0; i < marginX; ++i) put(i, from[0]);
    for (std::size_t i = 0; i < static_cast<std::size_t>(columns_); ++i) put(marginX + i, from[i]);
    for (std::size_t i = static_cast<std::size_t>(stride_); i < width; ++i) put(i, from[columns_ - 1]);
  };
  // For each row of cells that a block of rows may begin in, the halves of every strip.
  const int starts = rows_ + marginY + blocks - 1;
  std::vector<std::uint32_t> blockBits(static_cast<std::size_t>(starts * stride_));
  for (int start = 0; start < starts; ++start) {
    load(start - marginY, false);
    load(start - marginY + 1, true);
    for (std::size_t i = 0; i + 2 < width; ++i) reads[i] = cells[i] | cells[i + 1] | cells[i + 2];
    std::uint32_t *const bits = blockBits.data() + start * stride_;
    for (int half = 0; half < halves; ++half) {
      const std::uint8_t *const read = reads.data() + half * cellsInHalf;
      const int shift = half / 2 * 8 + half % 2;
      for (int i = 0; i < stride_; ++i) bits[i] |= static_cast<std::uint32_t>(read[i]) << shift;
    }
  }
  table_.resize(static_cast<std::size_t>((rows_ + marginY) * stride_));
  for (int row = 0; row < rows_ + marginY; ++row)
    for (int block = 0; block < blocks; ++block) {
      const std::uint32_t *const bits = blockBits.data() + (row + block) * stride_;
      for (int i = 0; i < stride_; ++i) table_[static_cast<std::size_t>(row * stride_ + i)] |= bits[i] << 2 * block;
    }
}

}  // namespace pyrelux::soft
