#include "StillDecoder.h"

#include "Decoder.h"
#include "Errors.h"
#include "PixelConversion.h"
#include "StillStructure.h"

namespace pyrelux::media {

Still decodeStill(InputFile &file, AVCodecID codec) {
  const PacketPtr bytes = file.readAll();
  Decoder decoder(codec, file.path());
  decoder.send(bytes.get());
  decoder.send(nullptr);
  const AVFrame *frame = decoder.receive();
  if (!frame || !isWhole(codec, bytes->data, bytes->size)) failReading(file.path(), causeCutOff);
  if (hasUnknownColours(codec, bytes->data, bytes->size))
    failReading(file.path(), "it has four colour components and does not say which; convert it to RGB");
  return {describe(*frame), toImage(*frame, alphaKindOf(codec), file.path())};
}

}  // namespace pyrelux::media
