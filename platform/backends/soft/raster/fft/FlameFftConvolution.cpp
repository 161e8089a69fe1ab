#include "FlameFftConvolution.h"

#include <algorithm>

#include "ThreadPool.h"

namespace pyrelux::soft {

namespace {

/// Rows, or blocks of columns, in one piece of work.
constexpr int rowsAtOnce = 16;
constexpr int blocksAtOnce = 8;

/// Calls work(first, end) for consecutive pieces of 0 .. count - 1, each of at most `size`, on all threads.
template <typename Work>
void inPieces(int count, int size, Work work) {
  parallelFor((count + size - 1) / size, [&](int piece) { work(piece * size, std::min((piece + 1) * size, count)); });
}

std::size_t product(std::ptrdiff_t a, int b) { return static_cast<std::size_t>(a * b); }

}  // namespace

/// Some columns, each stored contiguously, `height` values apart.
struct Convolution::Block {
  explicit Block(int height)
      : values(product(blockColumns, height)),
        texture(product(blockColumns, height)),
        spectrum(static_cast<std::size_t>(height)) {}

  RecycledArray<Complex> values;
  RecycledArray<Complex> texture;
  RecycledArray<Complex> spectrum;
};

Convolution::Convolution(const std::vector<WholeCopy> &copies, const std::vector<ConvolvedChannel> &channels,
                         const TexturePlanes &planes, const Spans &spans)
    : channels_(channels), spans_(spans), plans_(transformPlans(spans.x.size, spans.y.size)) {
  stride_ = (columns() + blockColumns - 1) / blockColumns * blockColumns;
  // The full height, although some parts have fewer rows: with one size the next frame can recycle the memory.
  const std::size_t size = product(stride_, spans.y.size);
  for (std::size_t i = 0; i < channels.size(); ++i) channelRows_.emplace_back(size);
  texture_ = RecycledArray<Complex>(size);
  sortByRow(copies);
  transformKernelRows(copies);
  for (int plane = 0; plane < 4; ++plane) {
    const auto isOfPlane = [&](const ConvolvedChannel &channel) { return channel.plane == plane; };
    if (std::none_of(channels.begin(), channels.end(), isOfPlane)) continue;
    transformTextureRows(planes, plane);
    transformColumns(plane);
  }
}

void Convolution::forwardRow(float *values, Complex *to) const {
  plans_->forwardRow(values, to);
  // The last block of columns also has these.
  std::fill(to + columns(), to + stride_, Complex());
}

void Convolution::clearRow(RecycledArray<Complex> &spectrum, int y) const {
  std::fill_n(row(spectrum, y), stride_, Complex());
}

bool Convolution::hasTaps(int row) const {
  const auto r = static_cast<std::size_t>(row);
  return firstInRow_[r > 0 ? r - 1 : 0] != firstInRow_[r + 1];
}

void Convolution::sortByRow(const std::vector<WholeCopy> &copies) {
  const auto rowOf = [&](const WholeCopy &copy) {
    return static_cast<std::size_t>(copy.y.offset - spans_.y.kernelFirst);
  };
  firstInRow_.assign(static_cast<std::size_t>(spans_.y.kernelSize) + 1, 0);
  for (const WholeCopy &copy : copies) ++firstInRow_[rowOf(copy) + 1];
  for (std::size_t row = 1; row < firstInRow_.size(); ++row) firstInRow_[row] += firstInRow_[row - 1];
  std::vector<std::size_t> next = firstInRow_;
  inRow_.resize(copies.size());
  for (std::size_t i = 0; i < copies.size(); ++i) inRow_[next[rowOf(copies[i])]++] = static_cast<int>(i);
}

void Convolution::transformKernelRows(const std::vector<WholeCopy> &copies) {
  inPieces(spans_.y.kernelSize, rowsAtOnce, [&](int first, int end) {
    RecycledArray<float> values = rowBuffer();
    std::vector<double> taps(static_cast<std::size_t>(spans_.x.kernelSize));
    // Undoes the factor of the forward and backward transforms.
    const double scale = 1.0 / (static_cast<double>(spans_.x.size) * spans_.y.size);
    for (std::size_t i = 0; i < channels_.size(); ++i) {
      for (int y = first; y < end; ++y) {
        if (!hasTaps(y)) {
          clearRow(channelRows_[i], y);
          continue;
        }
        std::fill(taps.begin(), taps.end(), 0.0);
        fillKernelRow(copies, y, channels_[i].channel, taps.data());
        for (std::size_t x = 0; x < taps.size(); ++x) values.data()[x] = static_cast<float>(taps[x] * scale);
        std::fill(values.data() + taps.size(), values.data() + spans_.x.size, 0.0f);
        forwardRow(values.data(), row(channelRows_[i], y));
      }
    }
  });
}

void Convolution::fillKernelRow(const std::vector<WholeCopy> &copies, int row, int channel, double *taps) const {
  const auto add = [&](int bucket, bool upper) {
    const auto b = static_cast<std::size_t>(bucket);
    for (std::size_t i = firstInRow_[b]; i < firstInRow_[b + 1]; ++i) {
      const WholeCopy &copy = copies[static_cast<std::size_t>(inRow_[i])];
      const double tint = copy.colour[static_cast<std::size_t>(channel)];
      const double weight = tint * (upper ? 1.0f - copy.y.fraction : copy.y.fraction);
      double *at = taps + (copy.x.offset - spans_.x.kernelFirst);
      at[0] += weight * copy.x.fraction;
      at[1] += weight * (1.0f - copy.x.fraction);
    }
  };
  add(row, false);
  if (row > 0) add(row - 1, true);
}

void Convolution::transformTextureRows(const TexturePlanes &planes, int plane) {
  const Span &x = spans_.x;
  inPieces(spans_.y.boxSize, rowsAtOnce, [&](int first, int end) {
    RecycledArray<float> values = rowBuffer();
    std::fill(values.data() + x.boxSize, values.data() + x.size, 0.0f);
    for (int y = first; y < end; ++y) {
      const int texel = spans_.y.boxFirst + y;
      if (!planes.occupancy().any(x.boxFirst, texel, x.boxFirst + x.boxSize - 1, texel)) {
        clearRow(texture_, y);
        continue;
      }
      std::copy_n(planes.floats(plane, x.boxFirst, texel), x.boxSize, values.data());
      forwardRow(values.data(), row(texture_, y));
    }
  });
}

void Convolution::transformColumns(int plane) {
  inPieces(static_cast<int>(stride_ / blockColumns), blocksAtOnce, [&](int first, int end) {
    Block block(spans_.y.size);
    for (int b = first; b < end; ++b) transformBlock(plane, b * blockColumns, block);
  });
}

void Convolution::transformBlock(int plane, int firstColumn, Block &block) {
  const int height = spans_.y.size;
  gather(texture_, spans_.y.boxSize, firstColumn, block);
  for (int c = 0; c < blockColumns; ++c)
    plans_->forwardColumn(block.values.data() + c * height, block.texture.data() + c * height);
  for (std::size_t i = 0; i < channels_.size(); ++i) {
    if (channels_[i].plane != plane) continue;
    gather(channelRows_[i], spans_.y.kernelSize, firstColumn, block);
    for (int c = 0; c < blockColumns; ++c) {
      Complex *values = block.values.data() + c * height;
      const Complex *texture = block.texture.data() + c * height;
      Complex *spectrum = block.spectrum.data();
      plans_->forwardColumn(values, spectrum);
      // Written out, because std::complex's product checks for infinities.
      for (int y = 0; y < height; ++y) {
        const float re = spectrum[y].real() * texture[y].real() - spectrum[y].imag() * texture[y].imag();
        const float im = spectrum[y].real() * texture[y].imag() + spectrum[y].imag() * texture[y].real();
        spectrum[y] = {re, im};
      }
      plans_->backwardColumn(spectrum, values);
    }
    scatter(channelRows_[i], firstColumn, block);
  }
}

void Convolution::gather(RecycledArray<Complex> &spectrum, int rows, int firstColumn, Block &block) const {
  const int height = spans_.y.size;
  for (int y = 0; y < rows; ++y) {
    const Complex *from = row(spectrum, y) + firstColumn;
    for (int c = 0; c < blockColumns; ++c) block.values.data()[c * height + y] = from[c];
  }
  for (int c = 0; c < blockColumns; ++c)
    std::fill(block.values.data() + c * height + rows, block.values.data() + (c + 1) * height, Complex());
}

void Convolution::scatter(RecycledArray<Complex> &spectrum, int firstColumn, Block &block) const {
  const int first = spans_.y.outFirst - spans_.y.origin();
  for (int y = 0; y < spans_.y.outEnd - spans_.y.outFirst; ++y) {
    Complex *to = row(spectrum, y) + firstColumn;
    for (int c = 0; c < blockColumns; ++c) to[c] = block.values.data()[c * spans_.y.size + first + y];
  }
}

void Convolution::addRow(int index, int y, RecycledArray<float> &buffer, float *sums) {
  if (y < spans_.y.outFirst || y >= spans_.y.outEnd) return;
  plans_->backwardRow(row(channelRows_[static_cast<std::size_t>(index)], y - spans_.y.outFirst), buffer.data());
  const int origin = spans_.x.origin();
  for (int x = spans_.x.outFirst; x < spans_.x.outEnd; ++x) sums[x] += buffer.data()[x - origin];
}

}  // namespace pyrelux::soft
