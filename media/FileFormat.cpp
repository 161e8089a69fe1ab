#include "FileFormat.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "Errors.h"

namespace pyrelux::media {

namespace {

const std::vector<FileFormat> &formats() {
  static const std::vector<FileFormat> all = {
      {".png", "png", nullptr, AV_PIX_FMT_RGBA, AV_PIX_FMT_RGBA64BE, AlphaUse::Straight, false, {{"pred", "mixed"}}},
      {".exr",
       "exr",
       nullptr,
       AV_PIX_FMT_GBRAPF32,
       AV_PIX_FMT_GBRAPF32,
       AlphaUse::Premultiplied,
       true,
       {{"format", "half"}, {"compression", "zip16"}}},
      {".mov",
       "prores_ks",
       "mov",
       AV_PIX_FMT_YUVA444P10,
       AV_PIX_FMT_YUVA444P10,
       AlphaUse::Straight,
       true,
       {{"profile", "4444"}, {"alpha_bits", "16"}}},
      {".mkv",
       "ffv1",
       "matroska",
       AV_PIX_FMT_BGRA,
       AV_PIX_FMT_GBRAP16,
       AlphaUse::Straight,
       false,
       {{"level", "3"}, {"g", "1"}}},
      {".mp4",
       "libx264",
       "mp4",
       AV_PIX_FMT_YUV420P,
       AV_PIX_FMT_YUV420P,
       AlphaUse::OverBlack,
       false,
       {{"crf", "16"}, {"preset", "medium"}, {"movflags", "+faststart"}}},
  };
  return all;
}

}  // namespace

const FileFormat &formatOf(const std::string &path) {
  const std::string extension = std::filesystem::path(path).extension().string();
  std::string lower = extension;
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  std::string known;
  for (const FileFormat &format : formats()) {
    if (lower == format.extension) return format;
    known += known.empty() ? format.extension : std::string(" ") + format.extension;
  }
  failWriting(path, extension.empty() ? "it has no extension; it needs one of " + known
                                      : "the extension '" + extension + "' is not one of " + known);
}

}  // namespace pyrelux::media
