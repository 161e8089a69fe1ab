#pragma once

#include <memory>
#include <vector>

#include "FlameFftCopies.h"
#include "FlameFftEdges.h"
#include "FlameFftPlans.h"
#include "RecycledArray.h"

namespace pyrelux::soft {

/// The convolution of a texture, with zeros outside it, and the taps of all copies. addRow() gives the rows of the
/// result, each once.
class Convolution {
 public:
  /// Transforms and multiplies everything; only the rows remain to be transformed back. Keeps a reference to the
  /// channels. Thread: uses the pool.
  Convolution(const std::vector<WholeCopy> &copies, const std::vector<ConvolvedChannel> &channels,
              const TexturePlanes &planes, const Spans &spans);

  /// The working memory that addRow() needs, one for each thread.
  RecycledArray<float> rowBuffer() const { return RecycledArray<float>(static_cast<std::size_t>(spans_.x.size)); }

  /// Adds row y of channels[index] to `sums`, a row of the target's width. Thread: any, each row on one thread.
  void addRow(int index, int y, RecycledArray<float> &buffer, float *sums);

 private:
  using Complex = TransformPlans::Complex;
  /// The number of columns that are transformed together: their values in one row fill a cache line.
  static constexpr int blockColumns = 8;

  struct Block;

  int columns() const { return spans_.x.size / 2 + 1; }
  Complex *row(RecycledArray<Complex> &spectrum, int y) const { return spectrum.data() + y * stride_; }
  void forwardRow(float *values, Complex *to) const;
  void clearRow(RecycledArray<Complex> &spectrum, int y) const;
  /// Whether any copy has a tap in a row of the kernel.
  bool hasTaps(int row) const;
  void sortByRow(const std::vector<WholeCopy> &copies);
  void transformKernelRows(const std::vector<WholeCopy> &copies);
  void fillKernelRow(const std::vector<WholeCopy> &copies, int row, int channel, double *taps) const;
  void transformTextureRows(const TexturePlanes &planes, int plane);
  void transformColumns(int plane);
  void transformBlock(int plane, int firstColumn, Block &block);
  void gather(RecycledArray<Complex> &spectrum, int rows, int firstColumn, Block &block) const;
  void scatter(RecycledArray<Complex> &spectrum, int firstColumn, Block &block) const;

  const std::vector<ConvolvedChannel> &channels_;
  Spans spans_;
  std::shared_ptr<const TransformPlans> plans_;
  std::ptrdiff_t stride_;
  std::vector<std::size_t> firstInRow_;              ///< index into inRow_, for each row of the kernel and one more
  std::vector<int> inRow_;                           ///< indices of copies, sorted by vertical offset
  RecycledArray<Complex> texture_;                   ///< the transformed rows of one plane
  std::vector<RecycledArray<Complex>> channelRows_;  ///< for each channel: the kernel's rows, then the result's
};

}  // namespace pyrelux::soft
