#pragma once

#include <array>
#include <vector>

#include "FlameFftCopies.h"

// How the transforms draw copies, and why their edges need a correction.
//
// A transform turns a convolution into a product: transform texture and kernel, multiply point by point, transform
// back. The kernel has two taps in each direction for every copy (FlameFftCopies.h). The product treats everything
// outside the texture as zero, whereas a copy clamps to the texture's edge and ends at its quad's edge. The two differ
// only at the pixels half inside a copy, one line at each of its four edges. There EdgeCorrection adds or subtracts a
// multiple of the texture's first or last row or column, so that the result is the copy's.

namespace pyrelux::soft {

/// A channel that is convolved, and the plane that holds it.
struct ConvolvedChannel {
  int channel;
  int plane;
};

/// The sum of all copies' edge taps along one direction. On each line of the target across that direction (a column for
/// taps along x) it adds, for every copy with an edge there, the texture's first or last line, interpolated along the
/// line and weighted.
class EdgeCorrection {
 public:
  enum class Lines { Columns, Rows };

  /// Keeps references to the copies and the channels.
  EdgeCorrection(const std::vector<WholeCopy> &copies, const std::vector<ConvolvedChannel> &channels,
                 const TexturePlanes &planes, const Spans &spans, const Pixels &target, Lines lines);

  /// The lines with a correction, ascending.
  const std::vector<int> &lines() const { return lines_; }

  /// Adds a line's correction of channels[index] to `sums`. With `corners` it includes the pixels where edges of both
  /// directions meet; exactly one of the two directions does that.
  void add(int line, int index, bool corners, float *sums) const;

 private:
  /// The texture's first or last line, padded with zeros.
  struct Edge {
    std::array<std::vector<float>, 4> padded;  ///< for each plane; empty when the line is all zero
    std::vector<std::size_t> firstOnLine;      ///< index into `onLine`, for each line of the target and one more
    std::vector<int> onLine;                   ///< indices of copies, sorted by line
  };

  const CopyAxis &across(const WholeCopy &copy) const { return direction_ == Lines::Columns ? copy.x : copy.y; }
  const CopyAxis &along(const WholeCopy &copy) const { return direction_ == Lines::Columns ? copy.y : copy.x; }
  std::vector<float> paddedLine(const TexturePlanes &planes, int plane, int position) const;
  void sortByLine(Edge &end, EdgeTap CopyAxis::*tap, int lineCount) const;
  void addEdge(const Edge &end, EdgeTap CopyAxis::*tap, int line, int index, bool corners, float *sums) const;

  const std::vector<WholeCopy> &copies_;
  const std::vector<ConvolvedChannel> &channels_;
  Lines direction_;
  int texels_;       ///< of the texture along a line
  int pixels_;       ///< of the target along a line
  int firstOffset_;  ///< the copies' lowest offset along the lines
  int offsetCount_;  ///< the number of taps' places from there on
  Edge low_;
  Edge high_;
  std::vector<int> lines_;
};

}  // namespace pyrelux::soft
