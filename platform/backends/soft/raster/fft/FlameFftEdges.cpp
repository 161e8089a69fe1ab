#include "FlameFftEdges.h"

#include <algorithm>
#include <cstring>

namespace pyrelux::soft {

namespace {

/// Four floats: a vector type that all supported processors have instructions for.
using Four = float __attribute__((vector_size(16)));

constexpr int blockVectors = 8;
constexpr int blockSize = 4 * blockVectors;

struct Weighted {
  std::size_t at;  ///< the place in the padded line that pixel 0 takes
  float weight;
};

Four loadFour(const float *from) {
  Four four;
  std::memcpy(&four, from, sizeof four);
  return four;
}

/// Computes sums[i] += weight * line[at + i] for all of `shifts`. The sums of a block stay in registers.
void addShifted(const float *line, const std::vector<Weighted> &shifts, float *sums, int count) {
  int i = 0;
  for (; i + blockSize <= count; i += blockSize) {
    Four block[blockVectors];
    for (int v = 0; v < blockVectors; ++v) block[v] = loadFour(sums + i + 4 * v);
    for (const Weighted &shift : shifts) {
      const float *from = line + shift.at + i;
      for (int v = 0; v < blockVectors; ++v) block[v] += shift.weight * loadFour(from + 4 * v);
    }
    std::memcpy(sums + i, block, sizeof block);
  }
  for (; i < count; ++i)
    for (const Weighted &shift : shifts) sums[i] += shift.weight * line[shift.at + static_cast<std::size_t>(i)];
}

}  // namespace

EdgeCorrection::EdgeCorrection(const std::vector<WholeCopy> &copies, const std::vector<ConvolvedChannel> &channels,
                               const TexturePlanes &planes, const Spans &spans, const Pixels &target, Lines lines)
    : copies_(copies), channels_(channels), direction_(lines) {
  const bool columns = lines == Lines::Columns;
  texels_ = columns ? planes.height() : planes.width();
  pixels_ = columns ? target.height() : target.width();
  const Span &span = columns ? spans.y : spans.x;
  firstOffset_ = span.kernelFirst;
  offsetCount_ = span.kernelSize;
  const int lineCount = columns ? target.width() : target.height();
  const int last = (columns ? planes.width() : planes.height()) - 1;
  for (const ConvolvedChannel &channel : channels) {
    const auto plane = static_cast<std::size_t>(channel.plane);
    low_.padded[plane] = paddedLine(planes, channel.plane, 0);
    high_.padded[plane] = paddedLine(planes, channel.plane, last);
  }
  sortByLine(low_, &CopyAxis::low, lineCount);
  sortByLine(high_, &CopyAxis::high, lineCount);
  const auto isUsed = [](const Edge &end, std::size_t line) {
    return end.firstOnLine[line] != end.firstOnLine[line + 1];
  };
  for (int line = 0; line < lineCount; ++line)
    if (isUsed(low_, static_cast<std::size_t>(line)) || isUsed(high_, static_cast<std::size_t>(line)))
      lines_.push_back(line);
}

std::vector<float> EdgeCorrection::paddedLine(const TexturePlanes &planes, int plane, int position) const {
  // Pixel p of a copy at offset o shows texel p - o.
  const int before = firstOffset_ + offsetCount_ - 1;
  std::vector<float> padded(static_cast<std::size_t>(pixels_ + offsetCount_ - 1));
  bool any = false;
  for (int texel = std::max(0, -before); texel < std::min(texels_, pixels_ - firstOffset_); ++texel) {
    const float value =
        direction_ == Lines::Columns ? *planes.floats(plane, position, texel) : *planes.floats(plane, texel, position);
    padded[static_cast<std::size_t>(texel + before)] = value;
    any = any || value != 0.0f;
  }
  if (!any) padded.clear();
  return padded;
}

void EdgeCorrection::sortByLine(Edge &end, EdgeTap CopyAxis::*tap, int lineCount) const {
  end.firstOnLine.assign(static_cast<std::size_t>(lineCount) + 1, 0);
  if (std::all_of(end.padded.begin(), end.padded.end(), [](const auto &line) { return line.empty(); })) return;
  const auto isOnLine = [&](const WholeCopy &copy) { return (across(copy).*tap).weight != 0.0f; };
  const auto lineOf = [&](const WholeCopy &copy) { return static_cast<std::size_t>((across(copy).*tap).pixel); };
  for (const WholeCopy &copy : copies_)
    if (isOnLine(copy)) ++end.firstOnLine[lineOf(copy) + 1];
  for (std::size_t line = 0; line < static_cast<std::size_t>(lineCount); ++line)
    end.firstOnLine[line + 1] += end.firstOnLine[line];
  end.onLine.resize(end.firstOnLine.back());
  std::vector<std::size_t> next = end.firstOnLine;
  for (std::size_t i = 0; i < copies_.size(); ++i)
    if (isOnLine(copies_[i])) end.onLine[next[lineOf(copies_[i])]++] = static_cast<int>(i);
}

void EdgeCorrection::add(int line, int index, bool corners, float *sums) const {
  addEdge(low_, &CopyAxis::low, line, index, corners, sums);
  addEdge(high_, &CopyAxis::high, line, index, corners, sums);
}

void EdgeCorrection::addEdge(const Edge &end, EdgeTap CopyAxis::*tap, int line, int index, bool corners,
                             float *sums) const {
  const ConvolvedChannel &channel = channels_[static_cast<std::size_t>(index)];
  const std::vector<float> &padded = end.padded[static_cast<std::size_t>(channel.plane)];
  const std::size_t first = end.firstOnLine[static_cast<std::size_t>(line)];
  const std::size_t last = end.firstOnLine[static_cast<std::size_t>(line) + 1];
  if (padded.empty() || first == last) return;
  std::vector<double> kernel(static_cast<std::size_t>(offsetCount_));
  const auto texel = [&](int t) { return padded[static_cast<std::size_t>(t + firstOffset_ + offsetCount_ - 1)]; };
  for (std::size_t i = first; i < last; ++i) {
    const WholeCopy &copy = copies_[static_cast<std::size_t>(end.onLine[i])];
    const CopyAxis &axis = along(copy);
    const float weight = (across(copy).*tap).weight * copy.colour[static_cast<std::size_t>(channel.channel)];
    const auto at = static_cast<std::size_t>(axis.offset - firstOffset_);
    kernel[at] += weight * axis.fraction;
    kernel[at + 1] += weight * (1.0f - axis.fraction);
    if (!corners) continue;
    if (axis.low.weight != 0.0f) sums[axis.low.pixel] += weight * axis.low.weight * texel(0);
    if (axis.high.weight != 0.0f) sums[axis.high.pixel] += weight * axis.high.weight * texel(texels_ - 1);
  }
  std::vector<Weighted> shifts;
  for (std::size_t i = 0; i < kernel.size(); ++i)
    if (kernel[i] != 0.0) shifts.push_back({kernel.size() - 1 - i, static_cast<float>(kernel[i])});
  addShifted(padded.data(), shifts, sums, pixels_);
}

}  // namespace pyrelux::soft
