#pragma once

#include <string>

#include "AvPtr.h"
#include "Image.h"

/// Effects are drawn on the scale of BT.709, which movies of a high dynamic range and of wide gamuts are brought to.
namespace pyrelux::media {

/// Whether the transfer is PQ or HLG.
bool isHighRange(AVColorTransferCharacteristic transfer);

/// Brings red, green and blue of an image, which has the frame's transfer and primaries, to BT.709, limited to 0 .. 1.
/// Leaves an image alone that is neither PQ nor HLG nor has the primaries of BT.2020 or P3; any other comes back as
/// floats. Throws MediaError, naming `path`, for a combination that cannot be converted.
///
/// PQ and HLG become light of a display (HLG that of one of 1000 cd/m²), of which 203 cd/m², their reference white, is
/// 1. The brightest component of each pixel goes through the curve that Report ITU-R BT.2390 (5.4.1, "EETF") gives for
/// a source of 1000 cd/m² on a display of 203; the others follow it, so that hues stay. Then come the primaries of
/// BT.709 and the inverse of BT.1886. Of other pictures the transfer stays and only the primaries change.
Image toStandardRange(Image image, const AVFrame &frame, const std::string &path);

/// The transfer that the frame's colours are converted by: BT.709's where it names none, or one that zimg does not
/// know.
AVColorTransferCharacteristic transferOf(const AVFrame &frame);

/// The curve alone, in units of the reference white.
float toneMapped(float light);

}  // namespace pyrelux::media
