#include "ExrFile.h"

#include <Iex.h>
#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfIO.h>
#include <ImfInputPart.h>
#include <ImfMultiPartInputFile.h>
#include <ImfPartType.h>
#include <ImfTileDescription.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <vector>

#include "Decoder.h"
#include "MediaErrors.h"
#include "PictureSize.h"
#include "StillStructure.h"

namespace pyrelux::media {

namespace {

/// The file in memory.
class Source : public Imf::IStream {
 public:
  Source(const std::uint8_t *data, std::size_t size, const std::string &path)
      : IStream(path.c_str()), data_(data), size_(size) {}

  bool read(char to[], int count) override {
    if (count < 0 || position_ > size_ || static_cast<std::size_t>(count) > size_ - position_)
      throw Iex::InputExc("the file ends too early");
    std::memcpy(to, data_ + position_, static_cast<std::size_t>(count));
    position_ += static_cast<std::size_t>(count);
    return position_ < size_;
  }
  std::uint64_t tellg() override { return position_; }
  void seekg(std::uint64_t position) override { position_ = position; }

 private:
  const std::uint8_t *data_;
  std::size_t size_;
  std::uint64_t position_ = 0;
};

/// Names of the channels that become red, green, blue and alpha; alpha's is empty if there is none. Luminance is named
/// three times.
using Names = std::array<std::string, 4>;

/// The channel of that name, in upper or lower case; empty if there is none.
std::string findChannel(const Imf::ChannelList &channels, const std::string &name) {
  std::string lower = name;
  lower.back() = static_cast<char>(lower.back() - 'A' + 'a');
  for (const std::string &spelling : {name, lower})
    if (channels.findChannel(spelling)) return spelling;
  return {};
}

/// Nothing if no layer has colours. The layer without a name goes first.
std::optional<Names> namesOf(const Imf::ChannelList &channels) {
  std::set<std::string> layers;
  channels.layers(layers);
  std::vector<std::string> prefixes = {""};
  for (const std::string &layer : layers) prefixes.push_back(layer + ".");
  for (const std::string &prefix : prefixes)
    for (const auto &colours : {std::array{"R", "G", "B"}, {"X", "Y", "Z"}, {"U", "V", "W"}, {"Y", "Y", "Y"}}) {
      Names names;
      for (std::size_t index = 0; index < 3; ++index) names[index] = findChannel(channels, prefix + colours[index]);
      names[3] = findChannel(channels, prefix + "A");
      if (!names[0].empty() && !names[1].empty() && !names[2].empty()) return names;
    }
  return std::nullopt;
}

/// As a part's picture is stored.
enum class Kind { Readable, Deep, WholeNumbers, NoPicture };

Kind kindOf(const Imf::Header &header) {
  if (header.hasType() && Imf::isDeepData(header.type())) return Kind::Deep;
  const auto names = namesOf(header.channels());
  if (!names) return Kind::NoPicture;
  for (const std::string &name : *names) {
    if (name.empty()) continue;
    const Imf::Channel &channel = header.channels()[name];
    if (channel.type == Imf::UINT) return Kind::WholeNumbers;
    if (channel.xSampling != 1 || channel.ySampling != 1) return Kind::NoPicture;
  }
  return Kind::Readable;
}

[[noreturn]] void failKind(Kind kind, const std::string &path) {
  if (kind == Kind::Deep) failReading(path, "it is an EXR of deep pixels, which can't be read; flatten it");
  if (kind == Kind::WholeNumbers)
    failReading(path, "it is an EXR of whole numbers, which can't be read; save it with half or float channels");
  failReading(path, "it is an EXR without red, green and blue or luminance");
}

/// The first readable part.
int choosePart(const Imf::MultiPartInputFile &file, const std::string &path) {
  for (int part = 0; part < file.parts(); ++part)
    if (kindOf(file.header(part)) == Kind::Readable) return part;
  failKind(kindOf(file.header(0)), path);
}

/// In pixels. The window is not empty, and the library has seen to it that its corners are far from an overflow.
PictureSize sizeOf(const Imath::Box2i &window) {
  return {window.max.x - window.min.x + 1, window.max.y - window.min.y + 1};
}

/// What the library allocates for its blocks follows from the header alone.
void requireReadableBlocks(const Imf::Header &header, const std::string &path) {
  constexpr std::int64_t mostBytes = std::int64_t{1} << 30;
  std::int64_t pixelBytes = 0;
  for (auto channel = header.channels().begin(); channel != header.channels().end(); ++channel) pixelBytes += 4;
  const PictureSize size = sizeOf(header.dataWindow());
  // The most rows that a method of compression takes together.
  std::int64_t width = size.width;
  std::int64_t rows = 256;
  if (header.hasTileDescription()) {
    const Imf::TileDescription &tile = header.tileDescription();
    if (tile.xSize > static_cast<unsigned>(maximumSide) || tile.ySize > static_cast<unsigned>(maximumSide))
      failReading(path, causeCutOff);
    // A whole row of tiles is kept.
    width += tile.xSize;
    rows = std::max<std::int64_t>(rows, tile.ySize);
  }
  if (pixelBytes * width * rows > mostBytes) failReading(path, "its blocks need more than a gigabyte of memory each");
}

/// A band of the data window's rows, four floats for a pixel, and where they belong in the picture.
class Band {
 public:
  Band(const Imf::Header &header, const Names &names)
      : names_(names), data_(header.dataWindow()), width_(static_cast<std::size_t>(sizeOf(data_).width)) {
    samples_.resize(width_ * height * 4);
  }

  /// Reads some rows from `top` on, at most `height` of them, and copies what lies in the display window.
  void read(Imf::InputPart &part, int top, int rows, const Imath::Box2i &display, Image &image) {
    Imf::FrameBuffer buffer;
    for (std::size_t channel = 0; channel < names_.size(); ++channel) {
      if (names_[channel].empty()) continue;
      // Luminance goes once into the frame buffer, which knows each name once.
      buffer.insert(names_[channel],
                    Imf::Slice::Make(Imf::FLOAT, &samples_[channel], Imath::V2i(data_.min.x, top),
                                     static_cast<std::int64_t>(width_), rows, pixelStride, width_ * pixelStride));
    }
    part.setFrameBuffer(buffer);
    part.readPixels(top, top + rows - 1);
    const bool isGrey = names_[0] == names_[1];
    const int left = std::max(data_.min.x, display.min.x);
    const int right = std::min(data_.max.x, display.max.x);
    for (int y = top; y < top + rows; ++y)
      for (int x = left; x <= right; ++x) {
        const float *from =
            &samples_[(static_cast<std::size_t>(y - top) * width_ + static_cast<std::size_t>(x - data_.min.x)) * 4];
        float *to = &image.asFloats()[(static_cast<std::size_t>(y - display.min.y) * image.width() +
                                       static_cast<std::size_t>(x - display.min.x)) *
                                      4];
        for (int channel = 0; channel < 3; ++channel) to[channel] = from[isGrey ? 2 : channel];
        if (!names_[3].empty()) to[3] = from[3];
      }
  }

  static constexpr int height = 256;

 private:
  static constexpr std::size_t pixelStride = 4 * sizeof(float);

  Names names_;
  Imath::Box2i data_;
  std::size_t width_;
  std::vector<float> samples_;
};

Still readPart(Imf::MultiPartInputFile &file, int number, InputAlpha alpha, const std::string &path) {
  const Imf::Header &header = file.header(number);
  const Imath::Box2i display = header.displayWindow();
  const Imath::Box2i data = header.dataWindow();
  requireReadableSize(sizeOf(display), path);
  requireReadableSize(sizeOf(data), path);
  requireReadableBlocks(header, path);
  const Names names = *namesOf(header.channels());
  const std::optional<Alpha> meaning = chooseAlpha(alpha, Alpha::Premultiplied);

  Still still;
  still.info.width = sizeOf(display).width;
  still.info.height = sizeOf(display).height;
  still.info.hasAlpha = meaning && !names[3].empty();
  still.info.bitsPerComponent = 32;
  // Exact for every ratio that video knows.
  constexpr int largestTerm = 10000;
  const AVRational aspect = av_d2q(header.pixelAspectRatio(), largestTerm);
  if (aspect.num > 0 && aspect.den > 0) still.info.pixelAspect = av_q2d(aspect);
  still.image = Image::floats(still.info.width, still.info.height, meaning.value_or(Alpha::Premultiplied));
  Imf::InputPart part(file, number);
  Band band(header, names);
  const int end = std::min(data.max.y, display.max.y) + 1;
  for (int top = std::max(data.min.y, display.min.y); top < end; top += Band::height)
    band.read(part, top, std::min(Band::height, end - top), display, still.image);
  if (!still.info.hasAlpha) makeOpaque(still.image);
  return still;
}

}  // namespace

Still readExr(const std::uint8_t *data, std::size_t size, InputAlpha alpha, const std::string &path) {
  // The library believes the sizes in a header, and would allocate what they say.
  if (!isWhole(AV_CODEC_ID_EXR, data, static_cast<int>(size))) failReading(path, causeCutOff);
  // In a file of one part, which need not have a type, a flag alone may say so.
  constexpr std::size_t flags = 5;
  constexpr int deep = 0x08, severalParts = 0x10;
  if ((data[flags] & deep) && !(data[flags] & severalParts)) failKind(Kind::Deep, path);
  try {
    Source source(data, size, path);
    Imf::MultiPartInputFile file(source, 0);
    return readPart(file, choosePart(file, path), alpha, path);
  } catch (const Iex::BaseExc &) {
    failReading(path, causeCutOff);
  }
}

}  // namespace pyrelux::media
