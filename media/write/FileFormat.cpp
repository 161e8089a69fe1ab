#include "FileFormat.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "MediaErrors.h"

namespace pyrelux::media {

namespace {

std::vector<FileFormat> makeFormats() {
  const Codec png = {
      "png", "png", AV_PIX_FMT_RGBA, AV_PIX_FMT_RGBA64BE, AlphaUse::Straight, false, {{"pred", "mixed"}}};
  const Codec tiff = {"tiff",
                      "tiff",
                      AV_PIX_FMT_RGBA,
                      AV_PIX_FMT_RGBA64LE,
                      AlphaUse::Straight,
                      true,
                      {{"compression_algo", "deflate"}}};
  const auto exr = [](const char *depth) {
    return Codec{depth,
                 "exr",
                 AV_PIX_FMT_GBRAPF32,
                 AV_PIX_FMT_GBRAPF32,
                 AlphaUse::Premultiplied,
                 true,
                 {{"format", depth}, {"compression", "zip16"}}};
  };
  const Codec prores = {"prores",
                        "prores_ks",
                        AV_PIX_FMT_YUVA444P10,
                        AV_PIX_FMT_YUVA444P10,
                        AlphaUse::Straight,
                        true,
                        {{"profile", "4444"}, {"alpha_bits", "16"}}};
  const Codec ffv1 = {
      "ffv1", "ffv1", AV_PIX_FMT_BGRA, AV_PIX_FMT_GBRAP16, AlphaUse::Straight, false, {{"level", "3"}, {"g", "1"}}};
  const Codec h264 = {"h264",
                      "libx264",
                      AV_PIX_FMT_YUV420P,
                      AV_PIX_FMT_YUV420P,
                      AlphaUse::None,
                      false,
                      {{"crf", "16"}, {"preset", "medium"}}};
  // Messages of libx265 go past FFmpeg's log.
  const Codec h265 = {"h265",
                      "libx265",
                      AV_PIX_FMT_YUV420P,
                      AV_PIX_FMT_YUV420P10,
                      AlphaUse::None,
                      false,
                      {{"crf", "18"}, {"preset", "medium"}, {"x265-params", "log-level=none"}},
                      // libx265 3.5 writes past its buffers for pictures that are narrower.
                      50,
                      16};
  // Alternate reference frames are not for pictures with alpha; no bit rate means constant quality.
  const Codec vp9 = {"vp9",
                     "libvpx-vp9",
                     AV_PIX_FMT_YUVA420P,
                     AV_PIX_FMT_YUVA420P,
                     AlphaUse::Straight,
                     false,
                     {{"crf", "20"}, {"b", "0"}, {"auto-alt-ref", "0"}, {"cpu-used", "4"}, {"row-mt", "1"}}};
  // Of 16 bits, it would blend parts of frames in a way that its own decoder refuses.
  const Codec apng = {"apng", "apng", AV_PIX_FMT_RGBA, AV_PIX_FMT_RGBA, AlphaUse::Straight, false, {{"pred", "mixed"}}};
  const auto webp = [](const char *name, const char *isLossless) {
    return Codec{name,
                 "libwebp_anim",
                 AV_PIX_FMT_BGRA,
                 AV_PIX_FMT_BGRA,
                 AlphaUse::Straight,
                 false,
                 {{"lossless", isLossless}, {"quality", "90"}}};
  };
  // Whole frames only: in search of what has not changed, it compares colour numbers of different palettes.
  const Codec gif = {"gif", "gif", AV_PIX_FMT_PAL8, AV_PIX_FMT_PAL8, AlphaUse::None, false, {{"gifflags", "0"}}};
  return {
      {".png", nullptr, {png}, {}},
      {".tif", nullptr, {tiff}, {}},
      {".tiff", nullptr, {tiff}, {}},
      {".exr", nullptr, {exr("half"), exr("float")}, {}},
      {".mov", "mov", {prores, h264, h265}, {}},
      {".mkv", "matroska", {ffv1, h264, h265}, {}},
      {".mp4", "mp4", {h264, h265}, {{"movflags", "+faststart"}}},
      {".webm", "webm", {vp9}, {}},
      {".apng", "apng", {apng}, {{"plays", "0"}}},
      {".webp", "webp", {webp("lossy", "0"), webp("lossless", "1")}, {{"loop", "0"}}},
      {".gif", "gif", {gif}, {{"loop", "0"}}},
  };
}

}  // namespace

const std::vector<FileFormat> &fileFormats() {
  static const std::vector<FileFormat> all = makeFormats();
  return all;
}

const Codec &FileFormat::codec(const std::string &name, const std::string &path) const {
  std::string known;
  for (const Codec &codec : codecs) {
    if (name.empty() || name == codec.name) return codec;
    known += known.empty() ? codec.name : std::string(" ") + codec.name;
  }
  failWriting(path, "the codec '" + name + "' is not one that " + extension + " holds: " + known);
}

const FileFormat &formatOf(const std::string &path) {
  const std::string extension = std::filesystem::path(path).extension().string();
  std::string lower = extension;
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  std::string known;
  for (const FileFormat &format : fileFormats()) {
    if (lower == format.extension) return format;
    known += known.empty() ? format.extension : std::string(" ") + format.extension;
  }
  failWriting(path, extension.empty() ? "it has no extension; it needs one of " + known
                                      : "the extension '" + extension + "' is not one of " + known);
}

}  // namespace pyrelux::media
