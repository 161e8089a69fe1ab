#include "FileFormat.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "CodecNeeds.h"
#include "ExrEncoder.h"
#include "Joined.h"
#include "MediaErrors.h"
#include "PngEncoder.h"
#include "RawStill.h"
#include "StandardStream.h"
#include "TiffEncoder.h"

namespace pyrelux::media {

namespace {

Codec png() {
  Codec codec;
  codec.name = "png";
  codec.layout8 = AV_PIX_FMT_RGBA;
  codec.layout16 = AV_PIX_FMT_RGBA64BE;
  codec.alpha = AlphaUse::Straight;
  codec.encodeStill = encodePng;
  return codec;
}

Codec tiff() {
  Codec codec;
  codec.name = "tiff";
  codec.layout8 = AV_PIX_FMT_RGBA;
  codec.layout16 = AV_PIX_FMT_RGBA64LE;
  codec.alpha = AlphaUse::Straight;
  codec.isDeep = true;
  codec.encodeStill = encodeTiff;
  return codec;
}

Codec exr(const char *name, decltype(Codec::encodeStill) encode) {
  Codec codec;
  codec.name = name;
  codec.layout8 = AV_PIX_FMT_GBRAPF32;
  codec.layout16 = AV_PIX_FMT_GBRAPF32;
  codec.alpha = AlphaUse::Premultiplied;
  codec.isDeep = true;
  codec.encodeStill = encode;
  return codec;
}

Codec prores() {
  Codec codec;
  codec.name = "prores";
  codec.encoder = "prores_ks";
  codec.layout8 = AV_PIX_FMT_YUVA444P10;
  codec.layout16 = AV_PIX_FMT_YUVA444P10;
  codec.alpha = AlphaUse::Straight;
  codec.standsAlone = true;
  codec.isDeep = true;
  codec.options = {{"profile", "4444"}, {"alpha_bits", "16"}};
  return codec;
}

Codec ffv1() {
  Codec codec;
  codec.name = "ffv1";
  codec.encoder = "ffv1";
  codec.layout8 = AV_PIX_FMT_BGRA;
  codec.layout16 = AV_PIX_FMT_GBRAP16;
  codec.alpha = AlphaUse::Straight;
  codec.standsAlone = true;
  codec.options = {{"level", "3"}, {"g", "1"}};
  codec.prepare = avoidSmallSlices;
  return codec;
}

Codec h264() {
  Codec codec;
  codec.name = "h264";
  codec.encoder = "libx264";
  codec.layout8 = AV_PIX_FMT_YUV420P;
  codec.layout16 = AV_PIX_FMT_YUV420P;
  codec.options = {{"crf", "16"}, {"preset", "medium"}};
  codec.crf = {"crf", 0, 51};
  return codec;
}

Codec h265() {
  Codec codec;
  codec.name = "h265";
  codec.encoder = "libx265";
  codec.layout8 = AV_PIX_FMT_YUV420P;
  codec.layout16 = AV_PIX_FMT_YUV420P10;
  // Messages of libx265 go past FFmpeg's log.
  codec.options = {{"crf", "18"}, {"preset", "medium"}, {"x265-params", "log-level=none"}};
  codec.crf = {"crf", 0, 51};
  // libx265 3.5 writes past its buffers for pictures that are narrower.
  codec.smallestWidth = 50;
  codec.smallestHeight = 16;
  codec.prepare = requireMemoryForH265;
  codec.correct = setMissingDecodingTime;
  return codec;
}

Codec vp9() {
  Codec codec;
  codec.name = "vp9";
  codec.encoder = "libvpx-vp9";
  codec.layout8 = AV_PIX_FMT_YUVA420P;
  codec.layout16 = AV_PIX_FMT_YUVA420P;
  codec.alpha = AlphaUse::Straight;
  // Alternate reference frames are not for pictures with alpha; no bit rate means constant quality.
  codec.options = {{"crf", "20"}, {"b", "0"}, {"auto-alt-ref", "0"}, {"cpu-used", "4"}, {"row-mt", "1"}};
  codec.crf = {"crf", 0, 63};
  return codec;
}

Codec apng() {
  Codec codec;
  codec.name = "apng";
  codec.encoder = "apng";
  codec.layout8 = AV_PIX_FMT_RGBA;
  // Of 16 bits, it would blend parts of frames in a way that its own decoder refuses.
  codec.layout16 = AV_PIX_FMT_RGBA;
  codec.alpha = AlphaUse::Straight;
  codec.options = {{"pred", "mixed"}};
  codec.prepare = declareSrgb;
  return codec;
}

Codec webp(const char *name, const char *isLossless) {
  Codec codec;
  codec.name = name;
  codec.encoder = "libwebp_anim";
  codec.layout8 = AV_PIX_FMT_BGRA;
  codec.layout16 = AV_PIX_FMT_BGRA;
  codec.alpha = AlphaUse::Straight;
  codec.options = {{"lossless", isLossless}, {"quality", "90"}};
  if (std::string(isLossless) == "0") codec.quality = {"quality", 0, 100};
  return codec;
}

Codec gif() {
  Codec codec;
  codec.name = "gif";
  codec.encoder = "gif";
  codec.layout8 = AV_PIX_FMT_PAL8;
  codec.layout16 = AV_PIX_FMT_PAL8;
  // Whole frames only: in search of what has not changed, it compares colour numbers of different palettes.
  codec.options = {{"gifflags", "0"}};
  return codec;
}

std::string asCounted(int plays) { return std::to_string(plays); }

/// GIF counts how often it is repeated.
std::string asRepeated(int plays) { return std::to_string(plays == 0 ? 0 : plays == 1 ? -1 : plays - 1); }

/// The pixels and nothing else, row by row from the top.
Codec rgba() {
  Codec codec;
  codec.name = "rgba";
  codec.layout8 = AV_PIX_FMT_RGBA;
  codec.layout16 = AV_PIX_FMT_RGBA64LE;
  codec.alpha = AlphaUse::Straight;
  codec.encodeStill = encodeRaw;
  return codec;
}

Codec yuv() {
  Codec codec;
  codec.name = "yuv";
  codec.encoder = "wrapped_avframe";
  codec.layout8 = AV_PIX_FMT_YUV444P;
  codec.layout16 = AV_PIX_FMT_YUV444P10;
  return codec;
}

FileFormat still(const char *extension, std::vector<Codec> codecs, Stream stream) {
  FileFormat format{extension, nullptr, std::move(codecs)};
  format.stream = stream;
  return format;
}

FileFormat movie(const char *extension, const char *muxer, std::vector<Codec> codecs) {
  FileFormat format{extension, muxer, std::move(codecs)};
  format.stream = Stream::Frames;
  return format;
}

/// QuickTime's and MPEG's containers, whose index is at the end of a file. In a stream every fragment has its own.
FileFormat indexed(const char *extension, std::vector<Codec> codecs, Options options = {}) {
  FileFormat format = movie(extension, extension + 1, std::move(codecs));
  format.options = std::move(options);
  format.streamOptions = {{"movflags", "frag_keyframe+empty_moov+default_base_moof"}};
  return format;
}

FileFormat animation(const char *extension, std::vector<Codec> codecs, const char *playsOption,
                     std::string (*playsValue)(int plays), Stream stream) {
  FileFormat format{extension, extension + 1, std::move(codecs)};
  format.playsOption = playsOption;
  format.playsValue = playsValue;
  format.stream = stream;
  return format;
}

FileFormat onlyStream(FileFormat format) {
  format.isFile = false;
  return format;
}

/// Says that more than 8 bits are meant, which not every reader of the format knows.
FileFormat yuv4mpeg() {
  FileFormat format = movie(".y4m", "yuv4mpegpipe", {yuv()});
  format.streamOptions = {{"strict", "-1"}};
  return format;
}

std::vector<FileFormat> makeFormats() {
  return {
      still(".png", {png()}, Stream::Frames),
      still(".tif", {tiff()}, Stream::OneFrame),
      still(".tiff", {tiff()}, Stream::OneFrame),
      still(".exr", {exr("half", encodeHalfExr), exr("float", encodeFloatExr)}, Stream::OneFrame),
      indexed(".mov", {prores(), h264(), h265()}),
      movie(".mkv", "matroska", {ffv1(), h264(), h265()}),
      indexed(".mp4", {h264(), h265()}, {{"movflags", "+faststart"}}),
      movie(".webm", "webm", {vp9()}),
      // Their beginnings tell how long they are.
      animation(".apng", {apng()}, "plays", asCounted, Stream::None),
      animation(".webp", {webp("lossy", "0"), webp("lossless", "1")}, "loop", asCounted, Stream::None),
      animation(".gif", {gif()}, "loop", asRepeated, Stream::Frames),
      onlyStream(yuv4mpeg()),
      onlyStream(still(".rgba", {rgba()}, Stream::Frames)),
  };
}

}  // namespace

const std::vector<FileFormat> &fileFormats() {
  static const std::vector<FileFormat> all = makeFormats();
  return all;
}

const Codec &FileFormat::codec(const std::string &name, const std::string &path) const {
  std::vector<std::string> known;
  for (const Codec &codec : codecs) {
    if (name.empty() || name == codec.name) return codec;
    known.push_back(codec.name);
  }
  failWriting(path, "the codec '" + name + "' is not one that " + extension + " holds: " + joined(known, " "));
}

namespace {

const FileFormat *formatNamed(const std::string &extension) {
  std::string lower = extension;
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  const auto &all = fileFormats();
  const auto found =
      std::find_if(all.begin(), all.end(), [&](const FileFormat &format) { return lower == format.extension; });
  return found == all.end() ? nullptr : &*found;
}

const FileFormat &formatOfStream(const std::string &path) {
  const FileFormat *format = formatNamed("." + standardOutputFormat(path));
  if (format && format->stream != Stream::None) return *format;
  failWriting(path, "'" + standardOutputFormat(path) +
                        "' is not one of the formats that it can have: " + joined(streamFormats(), " "));
}

}  // namespace

std::vector<std::string> streamFormats() {
  std::vector<std::string> names;
  for (const FileFormat &format : fileFormats())
    if (format.stream != Stream::None) names.push_back(format.extension + 1);
  return names;
}

const FileFormat &formatOf(const std::string &path) {
  if (!standardOutputFormat(path).empty()) return formatOfStream(path);
  const std::string extension = std::filesystem::path(path).extension().string();
  const FileFormat *format = formatNamed(extension);
  if (format && format->isFile) return *format;
  std::vector<std::string> known;
  for (const FileFormat &file : fileFormats())
    if (file.isFile) known.push_back(file.extension);
  const std::string fault =
      extension.empty() ? "it has no extension; it needs one of " : "the extension '" + extension + "' is not one of ";
  failWriting(path, fault + joined(known, " "));
}

}  // namespace pyrelux::media
