#include "OutputKinds.h"

#include "FileFormat.h"

namespace pyrelux::media {

std::vector<OutputKind> outputKinds() {
  std::vector<OutputKind> kinds;
  for (const FileFormat &format : fileFormats())
    for (const Codec &codec : format.codecs) {
      if (!format.isFile) continue;
      const std::string path = std::string("x") + format.extension;
      OutputKind kind;
      kind.extension = format.extension;
      kind.codec = codec.name;
      kind.isUsual = &codec == &format.codecs.front();
      kind.isMovie = format.isMovie();
      kind.holdsAlpha = Writer::holdsAlpha(path, codec.name);
      kind.holdsAudio = Writer::holdsAudio(path);
      kind.isDeep = codec.isDeep;
      kind.followsBits = codec.layout8 != codec.layout16;
      kind.crf = Writer::crfRange(path, codec.name);
      kind.quality = Writer::qualityRange(path, codec.name);
      kinds.push_back(std::move(kind));
    }
  return kinds;
}

}  // namespace pyrelux::media
