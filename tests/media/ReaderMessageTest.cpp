#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <iterator>

#include "InputFile.h"
#include "MediaErrors.h"
#include "TestFiles.h"
#include "Unprivileged.h"

namespace pyrelux::media::test {
namespace {

class ReaderMessage : public MediaTest {
 protected:
  void expectCause(const std::string &name, const std::string &cause) {
    EXPECT_EQ(readingMessage(path(name)), "cannot read '" + path(name) + "': " + cause);
  }
};

constexpr const char *notDecodable = "it is not a picture or movie that can be decoded";

/// The first bytes of a PNG of that size, RGBA with 8 bits, up to the header's checksum.
FileBytes pngHeader(std::uint32_t width, std::uint32_t height) {
  constexpr std::uint8_t start[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n', 0, 0, 0, 13, 'I', 'H', 'D', 'R'};
  constexpr std::uint8_t kind[] = {8, 6, 0, 0, 0};
  constexpr std::ptrdiff_t checkedFrom = 12;
  FileBytes bytes(std::begin(start), std::end(start));
  const auto appendNumber = [&bytes](std::uint32_t number) {
    for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<std::uint8_t>(number >> shift));
  };
  appendNumber(width);
  appendNumber(height);
  for (const std::uint8_t byte : kind) bytes.push_back(byte);
  std::uint32_t checksum = 0xFFFFFFFFu;
  for (auto byte = bytes.begin() + checkedFrom; byte != bytes.end(); ++byte) {
    checksum ^= *byte;
    for (int bit = 0; bit < 8; ++bit) checksum = checksum & 1 ? checksum >> 1 ^ 0xEDB88320u : checksum >> 1;
  }
  appendNumber(~checksum);
  return bytes;
}

/// A PNG whose header tells another size than its data have.
FileBytes pngOfSize(std::uint32_t width, std::uint32_t height) {
  FileBytes bytes = encodeStill("png", *frameOf(straightPicture(4, 4), AV_PIX_FMT_RGBA));
  const FileBytes header = pngHeader(width, height);
  std::copy(header.begin(), header.end(), bytes.begin());
  return bytes;
}

TEST_F(ReaderMessage, NoSuchFile) {
  expectCause("x.png", "no such file");
  expectCause("none/x.png", "no such file");
  EXPECT_EQ(readingMessage(""), "cannot read '': no such file");
}

TEST_F(ReaderMessage, AKindOfTheFormatThatIsNotRead) {
  const Image image = flat(8, 8, 0.5f, 0.25f, 0.125f, 1.0f);
  write(path("x.webp"), {8, 8, 8, {}}, {image, flat(8, 8, 0.0f, 0.0f, 0.0f, 1.0f)});
  expectCause("x.webp", "it is an animated WebP, which can't be read; convert it to a movie or a sequence");
  write(path("x.exr"), {8, 8, 16, {}}, {image});
  const FileBytes exr = load(path("x.exr"));
  constexpr std::size_t flags = 5;
  FileBytes deep = exr;
  deep[flags] = 0x08;
  save(path("x.exr"), deep);
  expectCause("x.exr", "it is an EXR of deep pixels, which can't be read; flatten it");
  // "chlist", its length, then for each channel a name and its kind.
  const std::string list = "chlist";
  FileBytes whole = exr;
  const auto start = std::search(whole.begin(), whole.end(), list.begin(), list.end());
  ASSERT_NE(start, whole.end());
  for (auto at = start + 11; *at != 0; at += 18) at[2] = 0;
  save(path("x.exr"), whole);
  expectCause("x.exr", "it is an EXR of whole numbers, which can't be read; save it with half or float channels");
  FileBytes cut = exr;
  cut.resize(cut.size() - 20);
  save(path("x.exr"), cut);
  expectCause("x.exr", causeCutOff);
}

TEST_F(ReaderMessage, Empty) {
  save(path("x.png"), "");
  expectCause("x.png", "it is empty");
}

TEST_F(ReaderMessage, Folder) {
  std::filesystem::create_directory(path("x.png"));
  expectCause("x.png", "it is a folder");
}

TEST_F(ReaderMessage, PipeAndDevice) {
  ASSERT_EQ(mkfifo(path("x.png").c_str(), 0600), 0);
  expectCause("x.png", "it is not a regular file");
  EXPECT_EQ(readingMessage("/dev/zero"), "cannot read '/dev/zero': it is not a regular file");
}

TEST_F(ReaderMessage, NotPermitted) {
  save(path("x.png"), pngOfSize(4, 4));
  std::filesystem::permissions(path("x.png"), std::filesystem::perms::none);
  const Unprivileged unprivileged(folder());
  expectCause("x.png", "permission denied");
}

TEST_F(ReaderMessage, NotAPicture) {
  save(path("x.png"), "These are words, and words only.\n");
  expectCause("x.png", notDecodable);
  save(path("x.mov"), FileBytes(5000, std::uint8_t{0}));
  expectCause("x.mov", notDecodable);
}

TEST_F(ReaderMessage, SoundWithoutAPicture) {
  // 1000 samples of silence.
  std::string wave("RIFF\x0c\x08\0\0WAVEfmt \x10\0\0\0\x01\0\x01\0\x40\x1f\0\0\x80\x3e\0\0\x02\0\x10\0data\xe8\x07\0\0",
                   44);
  wave.append(2024, '\0');
  save(path("x.wav"), wave);
  expectCause("x.wav", notDecodable);
}

TEST_F(ReaderMessage, ScriptsThatNameOtherFilesAreRefused) {
  // Each names a good file. A reader that followed them would read it.
  save(path("good.png"), pngOfSize(4, 4));
  ASSERT_EQ(readingMessage(path("good.png")), "");
  write(path("good.mkv"), {4, 4, 8, {}}, {flat(4, 4, 0, 0, 0, 1)});
  for (const char *target : {"good.png", "good.mkv"}) {
    save(path("x.png"), std::string("ffconcat version 1.0\nfile ") + target + "\nduration 1\n");
    expectCause("x.png", notDecodable);
    save(path("x.png"), std::string("#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-TARGETDURATION:10\n#EXTINF:10,\n") + target +
                            "\n#EXT-X-ENDLIST\n");
    expectCause("x.png", notDecodable);
    std::filesystem::copy_file(path("x.png"), path(std::string(target) + ".m3u8"));
    expectCause(std::string(target) + ".m3u8", notDecodable);
  }
  save(path("x.mpd"),
       "<?xml version=\"1.0\"?><MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\" type=\"static\" "
       "mediaPresentationDuration=\"PT1S\"><Period><AdaptationSet mimeType=\"video/webm\"><Representation id=\"1\" "
       "bandwidth=\"1\"><BaseURL>good.mkv</BaseURL></Representation></AdaptationSet></Period></MPD>");
  expectCause("x.mpd", notDecodable);
}

TEST_F(ReaderMessage, NoDemuxerOpensOtherFiles) {
  // Past the list of known scripts: one that slips through it still gets at nothing else.
  write(path("good.mkv"), {4, 4, 8, {}}, {flat(4, 4, 0, 0, 0, 1)});
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder());
  save(path("x.ffconcat"), "ffconcat version 1.0\nfile good.mkv\n");
  InputFile script(path("x.ffconcat"));
  EXPECT_THROW(script.demux(av_find_input_format("concat")), MediaError);
  save(path("x.m3u8"),
       "#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-TARGETDURATION:10\n#EXTINF:10,\n" + path("good.mkv") + "\n#EXT-X-ENDLIST\n");
  InputFile playlist(path("x.m3u8"));
  EXPECT_THROW(playlist.demux(av_find_input_format("hls")), MediaError);
  std::filesystem::current_path(before);
}

TEST_F(ReaderMessage, TooLarge) {
  const std::string largestSide = "; the largest that can be read is 16384 on a side";
  save(path("x.png"), pngOfSize(60000, 60000));
  expectCause("x.png", "it is 60000x60000 pixels" + largestSide);
  save(path("x.png"), pngOfSize(16385, 1));
  expectCause("x.png", "it is 16385x1 pixels" + largestSide);
  save(path("x.png"), pngOfSize(1, 20000));
  expectCause("x.png", "it is 1x20000 pixels" + largestSide);
  save(path("x.png"), pngOfSize(16384, 8193));
  expectCause("x.png", "it is 16384x8193 pixels; the largest that can be read is 134217728 in all");
  save(path("x.png"), pngHeader(60000, 60000));
  expectCause("x.png", "it is 60000x60000 pixels" + largestSide);
}

TEST_F(ReaderMessage, LargestSideIsNotTooLarge) {
  write(path("x.png"), {16384, 1, 8, {}}, {Image::bytes(16384, 1, Alpha::Premultiplied)});
  EXPECT_EQ(Reader::open(path("x.png"))->info().width, 16384);
}

TEST_F(ReaderMessage, NoSuchFrame) {
  write(path("x.mkv"), {4, 4, 8, {}}, std::vector<Image>(10, flat(4, 4, 0, 0, 0, 1)));
  for (const int frame : {0, 11, -1})
    EXPECT_EQ(readingMessage(path("x.mkv"), frame), "cannot read '" + path("x.mkv") + "': it has no frame " +
                                                        std::to_string(frame) + "; its frames are 1 to 10");
}

}  // namespace
}  // namespace pyrelux::media::test
