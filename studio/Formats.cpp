#include "Formats.h"

#include <map>
#include <utility>

namespace pyrelux::studio {

std::vector<OfferedFormat> offeredFormats() {
  static const std::map<std::pair<std::string, std::string>, std::pair<const char *, const char *>> texts{
      {{".png", "png"}, {"PNG pictures", "everything of 8 or 16 bits, with alpha"}},
      {{".tif", "tiff"}, {"TIFF pictures", "everything of 8 or 16 bits, with alpha"}},
      {{".tiff", "tiff"}, {"TIFF pictures (.tiff)", "everything of 8 or 16 bits, with alpha"}},
      {{".exr", "half"}, {"OpenEXR pictures", "light above white, as 16-bit floats, with alpha"}},
      {{".exr", "float"}, {"OpenEXR pictures, 32 bit", "all light exactly, as 32-bit floats, with alpha"}},
      {{".mov", "prores"}, {"ProRes 4444 movie", "10 bits of colour and 16 of alpha, nearly without loss"}},
      {{".mov", "h264"}, {"H.264 movie (.mov)", "what the eye sees, over the background, without alpha"}},
      {{".mov", "h265"}, {"H.265 movie (.mov)", "what the eye sees, over the background, without alpha"}},
      {{".mkv", "ffv1"}, {"FFV1 movie", "everything of 8 or 16 bits, with alpha"}},
      {{".mkv", "h264"}, {"H.264 movie (.mkv)", "what the eye sees, over the background, without alpha"}},
      {{".mkv", "h265"}, {"H.265 movie (.mkv)", "what the eye sees, over the background, without alpha"}},
      {{".mp4", "h264"}, {"H.264 movie", "what the eye sees, over the background, without alpha"}},
      {{".mp4", "h265"}, {"H.265 movie", "what the eye sees, over the background, without alpha"}},
      {{".webm", "vp9"}, {"VP9 movie", "what the eye sees, with alpha, for web pages"}},
      {{".apng", "apng"}, {"Animated PNG", "everything of 8 bits, with alpha, for web pages"}},
      {{".webp", "lossy"}, {"Animated WebP", "what the eye sees, with alpha, for web pages"}},
      {{".webp", "lossless"}, {"Animated WebP, lossless", "everything of 8 bits, with alpha, for web pages"}},
      {{".gif", "gif"}, {"GIF animation", "256 colours, over the background, without alpha"}},
  };
  std::vector<OfferedFormat> formats;
  for (media::OutputKind &kind : media::outputKinds()) {
    const auto found = texts.find({kind.extension, kind.codec});
    const bool isKnown = found != texts.end();
    std::string label = isKnown ? found->second.first : kind.codec + " (" + kind.extension + ")";
    std::string keeps = isKnown ? found->second.second : "";
    formats.push_back({std::move(kind), std::move(label), std::move(keeps)});
  }
  return formats;
}

}  // namespace pyrelux::studio
