#include "FlameFft.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>

#include "FlameFftConvolution.h"
#include "FlameFftCopies.h"
#include "FlameFftEdges.h"
#include "FlameFftRectangles.h"
#include "FlameTile.h"
#include "Kernels.h"
#include "RecycledArray.h"
#include "ThreadPool.h"

namespace pyrelux::soft {

namespace {

/// The tiles of the direct way, which adds up copy by copy.
using Tile = FlameTile<FloatAccumulator>;

constexpr int rowsAtOnce = 16;
/// Columns in one piece of work.
constexpr int columnsAtOnce = 8;

/// The copies that can be convolved, and the others.
struct Split {
  std::vector<Quad> whole;
  std::vector<Quad> rest;
};

bool isPlain(float value) { return value >= 0.0f && value <= std::numeric_limits<float>::max(); }

bool isPlain(const Colour &colour) {
  return std::all_of(colour.begin(), colour.end(), [](float value) { return isPlain(value); });
}

Split split(const Pass &pass, const TexturePlanes &planes, const Pixels &target) {
  Split result;
  for (const Quad &quad : pass.quads)
    (isWholeCopy(quad, planes, target) && isPlain(quad.colour) ? result.whole : result.rest).push_back(quad);
  return result;
}

/// Whether no texel is negative, infinite or NaN. Transforms would spread infinities and NaN all over the target, and
/// addToRow() relies on sums that are not negative.
bool isPlain(const Pixels &texture) {
  if (texture.samples() == Samples::Byte) return true;
  std::vector<char> plain(static_cast<std::size_t>(texture.height()));
  parallelFor(texture.height(), [&](int y) {
    bool all = true;
    for (int i = 0; i < 4 * texture.width(); ++i) all = all & isPlain(texture.floatRow(y)[i]);
    plain[static_cast<std::size_t>(y)] = all;
  });
  return std::all_of(plain.begin(), plain.end(), [](char row) { return row != 0; });
}

struct Channels {
  std::vector<ConvolvedChannel> convolved;
  std::vector<int> uniform;  ///< channels with a uniform plane, drawn as rectangles
};

Channels channelsOf(const std::vector<Quad> &copies, const std::array<bool, 4> &mask, const TexturePlanes &planes) {
  Channels channels;
  for (int c = 0; c < 4; ++c) {
    const auto channel = static_cast<std::size_t>(c);
    const auto isTinted = [&](const Quad &quad) { return quad.colour[channel] != 0.0f; };
    if (!mask[channel] || std::none_of(copies.begin(), copies.end(), isTinted)) continue;
    const int plane = planes.planeOf(c);
    if (!planes.isUniform(plane))
      channels.convolved.push_back({c, plane});
    else if (planes.largestFloat(plane) != 0.0f)
      channels.uniform.push_back(c);
  }
  return channels;
}

/// The share of the texture that the direct way does not skip: empty strips cost it little.
double shareNotEmpty(const TexturePlanes &planes) {
  int looked = 0, found = 0;
  for (int y = 0; y < planes.height(); y += stripWidth)
    for (int x = 0; x < planes.width(); x += stripWidth) {
      ++looked;
      found += planes.occupancy().any(x, y, x + stripWidth, y + stripWidth);
    }
  return static_cast<double>(found) / looked;
}

FlameCost costOf(const std::vector<Quad> &copies, const Channels &channels, const TexturePlanes &planes,
                 const Spans &spans, const Pixels &target) {
  FlameCost cost;
  std::array<bool, 4> isUsed{};
  for (const ConvolvedChannel &channel : channels.convolved) isUsed[static_cast<std::size_t>(channel.plane)] = true;
  cost.copies = static_cast<double>(copies.size());
  cost.channels = static_cast<double>(channels.convolved.size());
  cost.planes = static_cast<double>(std::count(isUsed.begin(), isUsed.end(), true));
  cost.points = static_cast<double>(spans.x.size) * spans.y.size;
  cost.pixels = static_cast<double>(target.width()) * target.height();
  const double share = shareNotEmpty(planes);
  for (const Quad &quad : copies) {
    const double width = quad.x.end - quad.x.first, height = quad.y.end - quad.y.first;
    double channelsHere = 0;
    for (const ConvolvedChannel &channel : channels.convolved)
      channelsHere += quad.colour[static_cast<std::size_t>(channel.channel)] != 0.0f;
    cost.tiles += (width / Tile::width + 1) * (height / Tile::height + 1);
    cost.samples += share * width * height * std::min(cost.planes, channelsHere);
    cost.sums += share * width * height * channelsHere;
  }
  return cost;
}

/// The columns of an EdgeCorrection, transposed, so that they can be added row by row.
class EdgeColumns {
 public:
  /// Keeps a reference to the correction's list of lines. Thread: uses the pool.
  EdgeColumns(const EdgeCorrection &lines, int channelCount, int height)
      : columns_(lines.lines()), height_(height), stride_(static_cast<int>(columns_.size())) {
    for (int index = 0; index < channelCount; ++index)
      sums_.emplace_back(static_cast<std::size_t>(roundUp(stride_)) * static_cast<std::size_t>(height));
    parallelFor((stride_ + columnsAtOnce - 1) / columnsAtOnce, [&](int piece) {
      const int first = piece * columnsAtOnce;
      for (int index = 0; index < channelCount; ++index)
        fill(lines, index, first, std::min(first + columnsAtOnce, stride_));
    });
  }

  void addRow(int index, int y, float *sums) const {
    const float *from = sums_[static_cast<std::size_t>(index)].data() + static_cast<std::ptrdiff_t>(y) * stride_;
    for (std::size_t i = 0; i < columns_.size(); ++i) sums[columns_[i]] += from[i];
  }

 private:
  /// The number of columns changes a little from frame to frame; rounding it up lets the next frame recycle the memory.
  static int roundUp(int columns) { return (columns + 255) / 256 * 256; }

  void fill(const EdgeCorrection &lines, int index, int first, int end) {
    std::vector<float> column(static_cast<std::size_t>(height_) * columnsAtOnce);
    for (int i = first; i < end; ++i)
      lines.add(columns_[static_cast<std::size_t>(i)], index, true, column.data() + (i - first) * height_);
    float *to = sums_[static_cast<std::size_t>(index)].data() + first;
    for (int y = 0; y < height_; ++y, to += stride_)
      for (int i = 0; i < end - first; ++i) to[i] = column[static_cast<std::size_t>(i * height_ + y)];
  }

  const std::vector<int> &columns_;
  int height_;
  int stride_;
  std::vector<RecycledArray<float>> sums_;  ///< of each channel
};

/// Adds a channel's sums to a row of the target. No sum is negative but for rounding, so negative sums count as 0.
void addToRow(const float *sums, int channel, int width, float *row) {
  for (int x = 0; x < width; ++x) row[4 * x + channel] += std::max(sums[x], 0.0f);
}

/// The sum of all copies, which is then added to the target row by row.
class FftSum {
 public:
  FftSum(const std::vector<Quad> &quads, std::vector<WholeCopy> copies, Channels channels, const TexturePlanes &planes,
         const Spans &spans, const Pixels &target)
      : copies_(std::move(copies)), channels_(std::move(channels)), spans_(spans), width_(target.width()) {
    for (const int channel : channels_.uniform) {
      rectangles_.emplace_back();
      const double value = planes.largestFloat(planes.planeOf(channel));
      for (const Quad &quad : quads)
        rectangles_.back().push_back({quad.x.first, quad.x.end, quad.y.first, quad.y.end,
                                      value * quad.colour[static_cast<std::size_t>(channel)]});
    }
    if (channels_.convolved.empty()) return;
    const int count = static_cast<int>(channels_.convolved.size());
    convolution_.emplace(copies_, channels_.convolved, planes, spans_);
    columnEdges_.emplace(copies_, channels_.convolved, planes, spans_, target, EdgeCorrection::Lines::Columns);
    rowEdges_.emplace(copies_, channels_.convolved, planes, spans_, target, EdgeCorrection::Lines::Rows);
    edgeColumns_.emplace(*columnEdges_, count, target.height());
  }

  void addTo(Pixels &target, bool blank) {
    parallelFor((target.height() + rowsAtOnce - 1) / rowsAtOnce, [&](int piece) {
      addRows(target, piece * rowsAtOnce, std::min((piece + 1) * rowsAtOnce, target.height()), blank);
    });
  }

 private:
  void addRows(Pixels &target, int first, int end, bool blank) {
    std::vector<float> sums(static_cast<std::size_t>(width_));
    std::vector<RectangleRows> constants;
    for (const auto &rectangles : rectangles_) constants.emplace_back(rectangles, width_, first, end);
    RecycledArray<float> buffer = convolution_ ? convolution_->rowBuffer() : RecycledArray<float>();
    for (int y = first; y < end; ++y) {
      float *row = target.floatRow(y);
      if (blank) std::fill_n(row, 4 * width_, 0.0f);
      for (std::size_t i = 0; i < channels_.convolved.size(); ++i) {
        std::fill(sums.begin(), sums.end(), 0.0f);
        const int index = static_cast<int>(i);
        convolution_->addRow(index, y, buffer, sums.data());
        rowEdges_->add(y, index, false, sums.data());
        edgeColumns_->addRow(index, y, sums.data());
        addToRow(sums.data(), channels_.convolved[i].channel, width_, row);
      }
      for (std::size_t i = 0; i < constants.size(); ++i) {
        std::fill(sums.begin(), sums.end(), 0.0f);
        constants[i].addRow(sums.data());
        addToRow(sums.data(), channels_.uniform[i], width_, row);
      }
    }
  }

  std::vector<WholeCopy> copies_;
  Channels channels_;
  Spans spans_;
  int width_;
  std::vector<std::vector<RectangleRows::Rectangle>> rectangles_;  ///< of each uniform channel
  std::optional<Convolution> convolution_;
  std::optional<EdgeCorrection> columnEdges_;
  std::optional<EdgeCorrection> rowEdges_;
  std::optional<EdgeColumns> edgeColumns_;
};

std::vector<Quad> add(const Pass &pass, const TexturePlanes &planes, Pixels &target, bool &blank, bool anyway) {
  Split quads = split(pass, planes, target);
  if (quads.whole.empty()) return pass.quads;
  std::vector<WholeCopy> copies;
  for (const Quad &quad : quads.whole) copies.push_back(makeWholeCopy(quad, planes, target));
  Channels channels = channelsOf(quads.whole, pass.mask, planes);
  const Spans spans = spansOf(copies, planes, target);
  if (!anyway && !fftIsFaster(costOf(quads.whole, channels, planes, spans, target))) return pass.quads;
  if (!isPlain(*pass.texture)) return pass.quads;
  FftSum(quads.whole, std::move(copies), std::move(channels), planes, spans, target).addTo(target, blank);
  blank = false;
  return quads.rest;
}

}  // namespace

bool fftIsFaster(const FlameCost &cost) {
  // Nanoseconds on one core, measured from 320 x 180 to 1920 x 1080. Those of oneByOne are a fifth below the time of
  // the fastest kernels.
  const double oneByOne = 0.12 * cost.samples + 0.04 * cost.sums + 25.0 * cost.tiles;
  const double perPoint = std::log2(std::max(cost.points, 2.0)) * (0.1 * cost.planes + 0.19 * cost.channels);
  const double transforms = perPoint * cost.points + 4.0 * cost.pixels + 1000.0 * cost.copies + 2e5;
  constexpr double doubt = 1.5;
  // In bytes. Surfaces larger than 8K leave little memory for transforms.
  constexpr double maxMemory = 1 << 30;
  const double memory = sizeof(float) * cost.points * (cost.channels + 1);
  return oneByOne > doubt * transforms && memory <= maxMemory;
}

std::vector<Quad> addByFft(const Pass &pass, const TexturePlanes &planes, Pixels &target, bool &blank) {
  return add(pass, planes, target, blank, false);
}

std::vector<Quad> addByFftAnyway(const Pass &pass, const TexturePlanes &planes, Pixels &target, bool &blank) {
  return add(pass, planes, target, blank, true);
}

}  // namespace pyrelux::soft
