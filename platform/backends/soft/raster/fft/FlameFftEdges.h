#pragma once

#include <array>
#include <vector>

#include "FlameFftCopies.h"

namespace pyrelux::soft {

/// A channel that is convolved, and the plane that holds it.
struct ConvolvedChannel {
  int channel;
  int plane;
};

/// What the end taps along one direction add up to: on each line of the target across it (a column for the taps along
/// x), the texture's first and last line, interpolated along the line and weighted, once for every copy whose end lies
/// there.
class EdgeCorrection {
 public:
  enum class Lines { Columns, Rows };

  /// Keeps a reference to the copies.
  EdgeCorrection(const std::vector<WholeCopy> &copies, const std::vector<ConvolvedChannel> &channels,
                 const TexturePlanes &planes, const Spans &spans, const Pixels &target, Lines lines);

  /// Lines that get something, ascending.
  const std::vector<int> &lines() const { return lines_; }

  /// Adds a line's part of channels[index] to `sums`. With `corners`, what both ends of a copy's own axis make of it
  /// too.
  void add(int line, int index, bool corners, float *sums) const;

 private:
  /// The texture's first or last line, with nothing around it.
  struct Edge {
    std::array<std::vector<float>, 4> padded;  ///< of each plane; empty when the line is
    std::vector<std::size_t> firstOnLine;      ///< into `onLine`, for each line and one more
    std::vector<int> onLine;                   ///< copies, by line
  };

  const CopyAxis &across(const WholeCopy &copy) const { return direction_ == Lines::Columns ? copy.x : copy.y; }
  const CopyAxis &along(const WholeCopy &copy) const { return direction_ == Lines::Columns ? copy.y : copy.x; }
  std::vector<float> paddedLine(const TexturePlanes &planes, int plane, int position) const;
  void sortByLine(Edge &end, EdgeTap CopyAxis::*tap, int lineCount) const;
  void addEdge(const Edge &end, EdgeTap CopyAxis::*tap, int line, int index, bool corners, float *sums) const;

  const std::vector<WholeCopy> &copies_;
  const std::vector<ConvolvedChannel> &channels_;
  Lines direction_;
  int texels_;  ///< along the lines
  int pixels_;
  int firstOffset_;  ///< of the copies along the lines
  int offsetCount_;
  Edge low_;
  Edge high_;
  std::vector<int> lines_;
};

}  // namespace pyrelux::soft
