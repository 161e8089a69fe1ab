// EXRs as other programs write them: windows, tiles, parts, layers; and those that are damaged.

#include <ImfChannelList.h>
#include <ImfDeepScanLineOutputFile.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfInputFile.h>
#include <ImfMultiPartOutputFile.h>
#include <ImfOutputFile.h>
#include <ImfOutputPart.h>
#include <ImfPartType.h>
#include <ImfStringAttribute.h>
#include <ImfTiledOutputFile.h>
#include <ImfTiledOutputPart.h>
#include <half.h>

#include <algorithm>
#include <functional>
#include <map>
#include <random>

#include "TestFiles.h"

namespace pyrelux::media::test {
namespace {

using Imath::Box2i;
using Imath::V2i;

const Box2i whole(V2i(0, 0), V2i(20, 18));

/// How a part is written; by default scan lines of halves, RGBA.
struct Style {
  Box2i display = whole;
  Box2i data = whole;
  std::vector<std::string> channels = {"R", "G", "B", "A"};
  Imf::PixelType type = Imf::HALF;
  Imf::Compression compression = Imf::ZIP_COMPRESSION;
  bool isTiled = false;
  Imf::LevelMode levels = Imf::ONE_LEVEL;
  float pixelAspect = 1.0f;
};

/// Values that halves hold: below 0, above 1, tiny. The same for each name, whatever its layer.
float valueOf(int x, int y, const std::string &channel) {
  if (x == 3 && y == 2) return std::ldexp(1.0f, -24);
  return static_cast<float>(x - 2) / 8.0f + static_cast<float>(y) * 4.0f + static_cast<float>(channel.back()) / 16.0f;
}

/// A part's samples in memory, for the library to take.
class Samples {
 public:
  explicit Samples(const Style &style) {
    const int width = style.data.max.x - style.data.min.x + 1;
    const int height = style.data.max.y - style.data.min.y + 1;
    for (const std::string &name : style.channels) {
      std::vector<float> &floats = floats_[name];
      for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) floats.push_back(valueOf(style.data.min.x + x, style.data.min.y + y, name));
      halves_[name].assign(floats.begin(), floats.end());
      numbers_[name].assign(floats.size(), 7u);
      const auto add = [&](auto &samples) {
        buffer.insert(name, Imf::Slice::Make(style.type, samples.data(), style.data, sizeof samples[0],
                                             sizeof samples[0] * static_cast<std::size_t>(width)));
      };
      if (style.type == Imf::HALF) add(halves_[name]);
      if (style.type == Imf::FLOAT) add(floats);
      if (style.type == Imf::UINT) add(numbers_[name]);
    }
  }

  Imf::FrameBuffer buffer;

 private:
  std::map<std::string, std::vector<float>> floats_;
  std::map<std::string, std::vector<Imath::half>> halves_;
  std::map<std::string, std::vector<std::uint32_t>> numbers_;
};

Imf::Header headerOf(const Style &style) {
  Imf::Header header(style.display, style.data, style.pixelAspect);
  header.compression() = style.compression;
  for (const std::string &name : style.channels) header.channels().insert(name, Imf::Channel(style.type));
  if (style.isTiled) header.setTileDescription(Imf::TileDescription(8, 4, style.levels));
  return header;
}

class Exr : public MediaTest {
 protected:
  std::string file() const { return path("a.exr"); }

  void saveExr(const Style &style) const {
    Samples samples(style);
    if (style.isTiled) {
      Imf::TiledOutputFile tiles(file().c_str(), headerOf(style));
      tiles.setFrameBuffer(samples.buffer);
      for (int level = 0; level < tiles.numLevels(); ++level)
        tiles.writeTiles(0, tiles.numXTiles(level) - 1, 0, tiles.numYTiles(level) - 1, level);
    } else {
      Imf::OutputFile lines(file().c_str(), headerOf(style));
      lines.setFrameBuffer(samples.buffer);
      lines.writePixels(style.data.max.y - style.data.min.y + 1);
    }
  }

  void saveParts(const std::vector<Style> &styles) const {
    std::vector<Imf::Header> headers;
    for (const Style &style : styles) {
      headers.push_back(headerOf(style));
      headers.back().setName("part" + std::to_string(headers.size()));
      headers.back().setType(style.isTiled ? Imf::TILEDIMAGE : Imf::SCANLINEIMAGE);
    }
    Imf::MultiPartOutputFile parts(file().c_str(), headers.data(), static_cast<int>(headers.size()));
    for (std::size_t index = 0; index < styles.size(); ++index) {
      Samples samples(styles[index]);
      if (styles[index].isTiled) {
        Imf::TiledOutputPart part(parts, static_cast<int>(index));
        part.setFrameBuffer(samples.buffer);
        part.writeTiles(0, part.numXTiles() - 1, 0, part.numYTiles() - 1);
      } else {
        Imf::OutputPart part(parts, static_cast<int>(index));
        part.setFrameBuffer(samples.buffer);
        part.writePixels(styles[index].data.max.y - styles[index].data.min.y + 1);
      }
    }
  }

  /// The picture of a part whose colours and alpha come from these channels; an empty one is opaque alpha.
  static Image expected(const Style &style, const std::vector<std::string> &channels) {
    const int width = style.display.max.x - style.display.min.x + 1;
    const int height = style.display.max.y - style.display.min.y + 1;
    Image image = Image::floats(width, height, Alpha::Premultiplied);
    std::size_t at = 0;
    for (int y = style.display.min.y; y <= style.display.max.y; ++y)
      for (int x = style.display.min.x; x <= style.display.max.x; ++x)
        for (const std::string &channel : channels)
          image.asFloats()[at++] = channel.empty()                    ? 1.0f
                                   : style.data.intersects(V2i(x, y)) ? valueOf(x, y, channel)
                                                                      : 0.0f;
    return image;
  }

  void expectRead(const Style &style, const std::vector<std::string> &channels = {"R", "G", "B", "A"}) const {
    expectSame(readStill(file()), expected(style, channels));
    EXPECT_EQ(Reader::open(file())->info().hasAlpha, !channels[3].empty());
  }

  void expectCause(const std::string &cause) const {
    EXPECT_EQ(readingMessage(file()), "cannot read '" + file() + "': " + cause);
  }
};

TEST_F(Exr, OfScanLinesOrTilesIsReadUnchanged) {
  for (const Imf::PixelType type : {Imf::HALF, Imf::FLOAT})
    for (const bool isTiled : {false, true})
      for (const Imf::Compression compression : {Imf::NO_COMPRESSION, Imf::RLE_COMPRESSION, Imf::ZIPS_COMPRESSION,
                                                 Imf::ZIP_COMPRESSION, Imf::PIZ_COMPRESSION}) {
        SCOPED_TRACE(std::to_string(type) + " " + std::to_string(compression) + (isTiled ? " tiles" : ""));
        Style style;
        style.type = type;
        style.isTiled = isTiled;
        style.compression = compression;
        saveExr(style);
        expectRead(style);
      }
}

TEST_F(Exr, OfTilesMayHaveSmallerLevels) {
  Style style;
  style.isTiled = true;
  style.levels = Imf::MIPMAP_LEVELS;
  saveExr(style);
  expectRead(style);
}

TEST_F(Exr, ShowsItsDisplayWindow) {
  for (const bool isTiled : {false, true})
    for (const Box2i &data : {Box2i(V2i(4, 5), V2i(9, 7)), Box2i(V2i(-7, -3), V2i(30, 25)),
                              Box2i(V2i(-7, 10), V2i(5, 40)), Box2i(V2i(100, 100), V2i(110, 110))}) {
      Style style;
      style.type = Imf::FLOAT;
      style.isTiled = isTiled;
      style.data = data;
      saveExr(style);
      expectRead(style);
    }
  Style moved;
  moved.type = Imf::FLOAT;
  moved.display = moved.data = Box2i(V2i(-50, 70), V2i(-31, 90));
  saveExr(moved);
  expectRead(moved);
}

TEST_F(Exr, HigherThanOneBandIsReadUnchanged) {
  Style style;
  style.type = Imf::FLOAT;
  style.display = style.data = Box2i(V2i(0, 0), V2i(2, 599));
  saveExr(style);
  expectRead(style);
}

TEST_F(Exr, OfSeveralPartsGivesTheFirstThatIsAPicture) {
  Style depth;
  depth.channels = {"Z"};
  Style numbers;
  numbers.type = Imf::UINT;
  Style picture;
  picture.isTiled = true;
  picture.type = Imf::FLOAT;
  Style other;
  other.channels = {"Y"};
  saveParts({depth, numbers, picture, other});
  expectRead(picture);
  saveParts({other, picture});
  expectRead(other, {"Y", "Y", "Y", ""});
}

TEST_F(Exr, TakesColoursFromTheLayerWithoutNameFirst) {
  const struct {
    std::vector<std::string> channels;
    std::vector<std::string> read;
  } rows[] = {
      {{"R", "G", "B"}, {"R", "G", "B", ""}},
      {{"r", "g", "b", "a"}, {"r", "g", "b", "a"}},
      {{"Y"}, {"Y", "Y", "Y", ""}},
      {{"Y", "A"}, {"Y", "Y", "Y", "A"}},
      {{"R", "G", "B", "A", "Z", "key.R", "key.G", "key.B"}, {"R", "G", "B", "A"}},
      {{"beauty.R", "beauty.G", "beauty.B", "beauty.A", "Z"}, {"R", "G", "B", "A"}},
  };
  for (const auto &row : rows) {
    Style style;
    style.channels = row.channels;
    saveExr(style);
    expectRead(style, row.read);
  }
}

TEST_F(Exr, OfAnotherKindIsRefused) {
  Style depth;
  depth.channels = {"Z"};
  saveExr(depth);
  expectCause("it is an EXR without red, green and blue or luminance");
  Style numbers;
  numbers.type = Imf::UINT;
  saveExr(numbers);
  expectCause("it is an EXR of whole numbers, which can't be read; save it with half or float channels");
  {
    Imf::Header header = headerOf({});
    header.setType(Imf::DEEPSCANLINE);
    header.compression() = Imf::ZIPS_COMPRESSION;
    Imf::DeepScanLineOutputFile deep(file().c_str(), header);
  }
  expectCause("it is an EXR of deep pixels, which can't be read; flatten it");
}

TEST_F(Exr, OfAnUnreadableSizeIsRefusedBeforeItTakesMemory) {
  const auto change = [this](const char *window, int right, int bottom) {
    saveExr({});
    FileBytes bytes = load(file());
    const std::string name = std::string(window) + '\0' + "box2i" + '\0';
    const auto at = std::search(bytes.begin(), bytes.end(), name.begin(), name.end());
    ASSERT_NE(at, bytes.end());
    const std::int32_t corner[] = {right, bottom};
    std::copy_n(reinterpret_cast<const std::uint8_t *>(corner), sizeof corner, at + name.size() + 4 + 8);
    save(file(), bytes);
  };
  for (const char *window : {"displayWindow", "dataWindow"}) {
    change(window, 16384, 18);
    expectCause("it is 16385x19 pixels; the largest that can be read is 16384 on a side");
  }
  change("displayWindow", 16383, 16383);
  expectCause("it is 16384x16384 pixels; the largest that can be read is 134217728 in all");
  Style tiled;
  tiled.isTiled = true;
  saveExr(tiled);
  FileBytes bytes = load(file());
  const std::string name = std::string("tiledesc") + '\0';
  const auto at = std::search(bytes.begin(), bytes.end(), name.begin(), name.end());
  ASSERT_NE(at, bytes.end());
  const std::uint32_t sides[] = {16384, 16384};
  std::copy_n(reinterpret_cast<const std::uint8_t *>(sides), sizeof sides, at + name.size() + 4);
  save(file(), bytes);
  expectCause("its blocks need more than a gigabyte of memory each");
}

TEST_F(Exr, WithALongerAttributeThanTheFileIsRefused) {
  saveExr({});
  FileBytes bytes = load(file());
  const std::string name = std::string("chlist") + '\0';
  const auto at = std::search(bytes.begin(), bytes.end(), name.begin(), name.end());
  ASSERT_NE(at, bytes.end());
  at[static_cast<std::ptrdiff_t>(name.size()) + 3] = 0x7F;
  save(file(), bytes);
  expectCause(causeCutOff);
}

TEST_F(Exr, ThatIsCutOffIsRefused) {
  for (const bool isTiled : {false, true}) {
    Style style;
    style.isTiled = isTiled;
    saveExr(style);
    const FileBytes bytes = load(file());
    for (std::size_t size = 1; size < bytes.size(); size += 1 + size / 20) {
      save(file(), FileBytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)));
      EXPECT_NE(readingMessage(file()), "") << size;
    }
  }
}

TEST_F(Exr, ThatIsDamagedAnywhereIsReadOrRefused) {
  Style tiled;
  tiled.isTiled = true;
  tiled.compression = Imf::PIZ_COMPRESSION;
  Style deepened;
  deepened.data = Box2i(V2i(-7, -3), V2i(30, 25));
  deepened.compression = Imf::B44_COMPRESSION;
  Style waves;
  waves.compression = Imf::DWAA_COMPRESSION;
  std::minstd_rand random(1);
  const std::vector<std::function<void()>> files = {[&] { saveExr({}); }, [&] { saveExr(tiled); },
                                                    [&] { saveExr(deepened); }, [&] { saveExr(waves); },
                                                    [&] {
                                                      saveParts({{}, tiled});
                                                    }};
  for (const auto &saveFile : files) {
    saveFile();
    const FileBytes original = load(file());
    int refused = 0;
    for (int round = 0; round < 120; ++round) {
      FileBytes bytes = original;
      // Mostly where the header is.
      const std::size_t reach = round % 4 ? std::min<std::size_t>(bytes.size(), 500) : bytes.size();
      bytes[random() % reach] = static_cast<std::uint8_t>(random());
      save(file(), bytes);
      const std::string message = readingMessage(file());
      refused += !message.empty();
      ASSERT_TRUE(message.empty() || message.rfind("cannot read '" + file() + "': ", 0) == 0) << message;
    }
    EXPECT_GT(refused, 10);
  }
}

TEST_F(Exr, ThatIsWrittenSaysWhatItHolds) {
  for (const char *codec : {"half", "float"})
    for (const AlphaUse alpha : {AlphaUse::Premultiplied, AlphaUse::None}) {
      OutputFormat format{33, 40, 16, {}};
      format.codec = codec;
      format.alpha = alpha;
      format.pixelAspect = 16.0 / 11.0;
      format.record = std::string(300, 'x') + "end";
      write(file(), format, {flat(33, 40, 0.5f, 0.25f, 0.125f, 1.0f)});
      Imf::InputFile exr(file().c_str());
      const Imf::Header &header = exr.header();
      EXPECT_EQ(header.compression(), Imf::ZIP_COMPRESSION);
      EXPECT_EQ(header.pixelAspectRatio(), static_cast<float>(16.0 / 11.0));
      EXPECT_EQ(header.dataWindow(), Box2i(V2i(0, 0), V2i(32, 39)));
      EXPECT_EQ(header.displayWindow(), header.dataWindow());
      std::string names;
      for (auto channel = header.channels().begin(); channel != header.channels().end(); ++channel) {
        names += channel.name();
        EXPECT_EQ(channel.channel().type, std::string(codec) == "half" ? Imf::HALF : Imf::FLOAT);
      }
      EXPECT_EQ(names, alpha == AlphaUse::None ? "BGR" : "ABGR");
      EXPECT_EQ(header.typedAttribute<Imf::StringAttribute>("pyrelux.001").value(), std::string(255, 'x'));
      EXPECT_EQ(header.typedAttribute<Imf::StringAttribute>("pyrelux.002").value(), std::string(45, 'x') + "end");
      EXPECT_DOUBLE_EQ(Reader::open(file())->info().pixelAspect, 16.0 / 11.0);
    }
}

TEST_F(Exr, OfHalvesIsRoundedToTheNearest) {
  // Between the halves 1 and 1 + 2^-10.
  const Image image = flat(4, 4, 1.0f + std::ldexp(0.75f, -10), 1.0f + std::ldexp(0.25f, -10), 0.0f, 1.0f);
  write(file(), formatFor(image, 16), {image});
  const Image read = readStill(file());
  EXPECT_EQ(read.asFloats()[0], 1.0f + std::ldexp(1.0f, -10));
  EXPECT_EQ(read.asFloats()[1], 1.0f);
}

}  // namespace
}  // namespace pyrelux::media::test
