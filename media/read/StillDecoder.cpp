#include "StillDecoder.h"

#include "Decoder.h"
#include "ExrFile.h"
#include "MediaErrors.h"
#include "PixelConversion.h"
#include "StillStructure.h"
#include "TiffFile.h"

namespace pyrelux::media {

Still decodeStill(InputFile &file, AVCodecID codec, InputAlpha alpha) {
  return decodeStill(*file.readAll(), codec, alpha, file.path());
}

Still decodeStill(const AVPacket &bytes, AVCodecID codec, InputAlpha alpha, const std::string &path) {
  if (codec == AV_CODEC_ID_EXR) return readExr(bytes.data, static_cast<std::size_t>(bytes.size), alpha, path);
  Alpha own = alphaKindOf(codec);
  if (codec == AV_CODEC_ID_TIFF) {
    const TiffFile tiff(bytes.data, bytes.size, path);
    own = tiff.alpha();
    if (tiff.holdsFloats()) return tiff.readFloats(chooseAlpha(alpha, own));
  }
  try {
    Decoder decoder(codec, path);
    decoder.send(&bytes);
    decoder.send(nullptr);
    const AVFrame *frame = decoder.receive();
    if (!frame || !isWhole(codec, bytes.data, bytes.size)) failReading(path, causeCutOff);
    if (hasUnknownColours(codec, bytes.data, bytes.size))
      failReading(path, "it has four colour components and does not say which; convert it to RGB");
    return {describe(*frame, alpha), toImage(*frame, chooseAlpha(alpha, own), path)};
  } catch (const InputError &) {
    // Whatever the decoder calls it, and only then: another may have learnt it.
    if (const char *cause = unsupportedKind(codec, bytes.data, bytes.size)) failReading(path, cause);
    throw;
  }
}

}  // namespace pyrelux::media
