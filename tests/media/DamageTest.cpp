#include <algorithm>
#include <map>
#include <random>

#include "TestFiles.h"

namespace pyrelux::media::test {
namespace {

/// Files of every kind, cut off and with bytes changed.
class Damage : public MediaTest {
 protected:
  /// A picture with enough in it that no twentieth of its file is empty.
  static Image busyPicture() { return toBytes(deepStraightPicture(48, 40)); }

  std::map<std::string, FileBytes> stills() {
    const Image busy = busyPicture();
    const Image busyFloats = premultiplied(deepStraightPicture(48, 40));
    std::map<std::string, FileBytes> files = {
        {"a.png", encodeStill("png", *frameOf(busy, AV_PIX_FMT_RGBA))},
        {"grey.png", encodeStill("png", *frameOf(busy, AV_PIX_FMT_RGB24))},
        {"a.jpg", encodeStill("mjpeg", *frameOf(busy, AV_PIX_FMT_YUVJ420P))},
        {"huffman.jpg", encodeStill("mjpeg", *frameOf(busy, AV_PIX_FMT_YUVJ444P), "huffman=default")},
        {"raw.tiff", encodeStill("tiff", *frameOf(busy, AV_PIX_FMT_RGBA), "compression_algo=raw")},
        {"lzw.tiff", encodeStill("tiff", *frameOf(busy, AV_PIX_FMT_RGBA), "compression_algo=lzw")},
        {"deflate.tiff", encodeStill("tiff", *frameOf(busy, AV_PIX_FMT_RGBA64LE), "compression_algo=deflate")},
        {"packbits.tiff", encodeStill("tiff", *frameOf(busy, AV_PIX_FMT_RGBA))},
        {"none.exr", encodeStill("exr", *frameOf(busyFloats, AV_PIX_FMT_GBRAPF32), "compression=none")},
        {"rle.exr", encodeStill("exr", *frameOf(busyFloats, AV_PIX_FMT_GBRAPF32), "compression=rle")},
        {"zip.exr", encodeStill("exr", *frameOf(busyFloats, AV_PIX_FMT_GBRAPF32), "compression=zip16")},
        {"a.gif", gif(busy)},
        {"a.bmp", encodeStill("bmp", *frameOf(busy, AV_PIX_FMT_BGRA))},
        {"a.tga", encodeStill("targa", *frameOf(busy, AV_PIX_FMT_BGRA))},
        {"raw.tga", encodeStill("targa", *frameOf(busy, AV_PIX_FMT_BGRA), "rle=0")},
    };
    if (avcodec_find_encoder_by_name("libwebp")) {
      files["a.webp"] = encodeStill("libwebp", *frameOf(busy, AV_PIX_FMT_YUVA420P));
      files["lossless.webp"] = encodeStill("libwebp", *frameOf(busy, AV_PIX_FMT_BGRA), "lossless=1");
    }
    return files;
  }

  /// A GIF's header comes from its muxer.
  FileBytes gif(const Image &image) {
    std::vector<FramePtr> frames;
    frames.push_back(frameOf(image, AV_PIX_FMT_RGB8));
    saveMovie(path("made.gif"), "gif", "gif", frames);
    return load(path("made.gif"));
  }

  FileBytes movie(const std::string &name) {
    std::vector<Image> frames(6, busyPicture());
    for (std::size_t frame = 0; frame < frames.size(); ++frame)
      std::rotate(frames[frame].asBytes().begin(), frames[frame].asBytes().begin() + 4 * 101 * frame,
                  frames[frame].asBytes().end());
    write(path(name), formatFor(frames[0], 8), frames);
    return load(path(name));
  }
};

/// Reads everything a path offers, up to `limit` frames. What is wrong with it comes as MediaError or not at all.
bool readsThrough(const std::string &path, std::int64_t limit) {
  try {
    const auto reader = Reader::open(path);
    const InputInfo info = reader->info();
    for (std::int64_t frame = info.firstFrame; frame <= std::min(info.lastFrame, info.firstFrame + limit - 1);
         ++frame) {
      const Image image = reader->read(frame);
      EXPECT_EQ(image.width(), info.width);
      EXPECT_EQ(image.height(), info.height);
    }
    return true;
  } catch (const MediaError &) {
    return false;
  }
}

TEST_F(Damage, WholeStillsAreRead) {
  for (const auto &[name, bytes] : stills()) {
    save(path(name), bytes);
    EXPECT_EQ(readingMessage(path(name)), "") << name;
  }
}

TEST_F(Damage, CutOffStillsAreRefused) {
  for (const auto &[name, bytes] : stills())
    for (std::size_t part = 1; part < 60; ++part) {
      save(path(name), FileBytes(bytes.begin(), bytes.begin() + bytes.size() * part / 60));
      EXPECT_NE(readingMessage(path(name)), "") << name << " with " << part << " of 60 parts";
    }
}

TEST_F(Damage, StillsCutOffAtEveryKilobyteAreRefused) {
  for (const auto &[name, bytes] : stills())
    for (std::size_t size = 1024; size < bytes.size(); size += 1024) {
      save(path(name), FileBytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)));
      EXPECT_NE(readingMessage(path(name)), "") << name << " with " << size << " bytes";
    }
}

TEST_F(Damage, MoviesCutOffAtEveryKilobyteAreReadOrRefused) {
  for (const char *name : {"a.mov", "a.mkv", "a.mp4"}) {
    const FileBytes bytes = movie(name);
    int readable = 0;
    for (std::size_t size = 1024; size < bytes.size(); size += 1024) {
      save(path(name), FileBytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)));
      readable += readsThrough(path(name), 100);
    }
    // What has its index at the end has none then, and what has it in front misses pictures.
    if (std::string(name) != "a.mkv") {
      EXPECT_EQ(readable, 0) << name;
    }
  }
}

TEST_F(Damage, StillsWithoutTheirLastByteAreRefused) {
  for (const auto &[name, bytes] : stills()) {
    // A Targa's last bytes are an optional footer, a TIFF's here the place of a second picture.
    if (name.find(".tga") != name.npos || name.find(".tiff") != name.npos) continue;
    save(path(name), FileBytes(bytes.begin(), bytes.end() - 1));
    EXPECT_NE(readingMessage(path(name)), "") << name;
  }
}

TEST_F(Damage, BytesAfterTheEndAreAllowed) {
  for (const char *name : {"a.png", "a.jpg", "a.gif"}) {
    FileBytes bytes = stills()[name];
    bytes.insert(bytes.end(), 100, std::uint8_t{'x'});
    save(path(name), bytes);
    EXPECT_EQ(readingMessage(path(name)), "") << name;
  }
}

TEST_F(Damage, CutOffStillSaysSo) {
  for (const char *name : {"a.png", "a.jpg", "zip.exr", "lzw.tiff", "a.gif", "a.bmp"}) {
    FileBytes bytes = stills()[name];
    bytes.resize(bytes.size() * 3 / 4);
    save(path(name), bytes);
    EXPECT_EQ(readingMessage(path(name)), "cannot read '" + path(name) + "': it is damaged or cut off");
  }
}

TEST_F(Damage, OneWrongByteInCheckedDataIsFound) {
  for (const char *name : {"a.png", "deflate.tiff", "zip.exr"}) {
    FileBytes bytes = stills()[name];
    bytes[bytes.size() / 2] ^= 0x10;
    save(path(name), bytes);
    EXPECT_EQ(readingMessage(path(name)), "cannot read '" + path(name) + "': it is damaged or cut off");
  }
}

TEST_F(Damage, WrongChecksumOfAPngIsFound) {
  FileBytes bytes = stills()["a.png"];
  // Before the 12 bytes of the end mark comes the checksum of the picture's data, which are right themselves.
  bytes[bytes.size() - 13] ^= 0x10;
  save(path("a.png"), bytes);
  EXPECT_EQ(readingMessage(path("a.png")), "cannot read '" + path("a.png") + "': it is damaged or cut off");
}

TEST_F(Damage, CutOffMoviesAreReadOrRefused) {
  for (const char *name : {"a.mov", "a.mkv", "a.mp4"}) {
    const FileBytes bytes = movie(name);
    ASSERT_TRUE(readsThrough(path(name), 100)) << name;
    for (std::size_t part = 1; part < 20; ++part) {
      save(path(name), FileBytes(bytes.begin(), bytes.begin() + bytes.size() * part / 20));
      readsThrough(path(name), 100);
    }
  }
}

TEST_F(Damage, MovieThatLostItsEndFailsThereAndNotBefore) {
  // An MP4 has its index at the front, so it opens; the pictures that are there can be read.
  FileBytes bytes = movie("a.mp4");
  bytes.resize(bytes.size() - 200);
  save(path("a.mp4"), bytes);
  const auto reader = Reader::open(path("a.mp4"));
  ASSERT_EQ(reader->info().lastFrame, 6);
  EXPECT_NO_THROW(reader->read(1));
  try {
    reader->read(6);
    FAIL();
  } catch (const MediaError &error) {
    EXPECT_EQ(error.what(), "cannot read '" + path("a.mp4") + "': it is damaged or cut off");
  }
  EXPECT_NO_THROW(reader->read(1));
}

TEST_F(Damage, WrongBytesInLosslessMoviesAreFound) {
  FileBytes bytes = movie("a.mkv");
  bytes[bytes.size() / 2] ^= 0x10;
  save(path("a.mkv"), bytes);
  EXPECT_FALSE(readsThrough(path("a.mkv"), 100));
}

TEST_F(Damage, ChangedBytesNeverCrash) {
  std::mt19937 random(20240607);
  const auto below = [&random](std::size_t limit) { return random() % limit; };
  std::map<std::string, FileBytes> files = stills();
  for (const char *name : {"a.mov", "a.mkv", "a.mp4"}) files[name] = movie(name);
  for (const auto &[name, original] : files) {
    int readable = 0;
    for (int round = 0; round < 250; ++round) {
      FileBytes bytes = original;
      // Half of the changes go to the start, where the headers are.
      const std::size_t reach = round % 2 ? bytes.size() : std::min<std::size_t>(bytes.size(), 200);
      for (std::size_t change = 1 + below(8); change > 0; --change)
        bytes[below(reach)] = static_cast<std::uint8_t>(below(256));
      save(path(name), bytes);
      readable += readsThrough(path(name), 10);
    }
    RecordProperty(name, readable);
  }
}

TEST_F(Damage, NoiseNeverCrashes) {
  std::mt19937 random(11);
  for (int round = 0; round < 500; ++round) {
    FileBytes bytes(1 + random() % 3000);
    for (std::uint8_t &byte : bytes) byte = static_cast<std::uint8_t>(random());
    save(path("noise"), bytes);
    readsThrough(path("noise"), 10);
  }
}

}  // namespace
}  // namespace pyrelux::media::test
