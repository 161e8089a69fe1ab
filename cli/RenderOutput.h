#pragma once

#include <string>

#include "Background.h"
#include "FrameList.h"
#include "MediaErrors.h"
#include "Reader.h"
#include "RenderOptions.h"
#include "Writer.h"

namespace pyrelux::cli {

/// The bits per channel of the output: those asked for, or what suits it. Throws media::OutputError for an
/// extension or codec that does not exist.
int chooseBits(const RenderOptions &options);

/// How the options ask for these frames of the input, over the background (may be null), to be stored. Tells when audio
/// has to be left out. Throws UsageError.
media::OutputFormat chooseFormat(const RenderOptions &options, const media::InputInfo &input,
                                 const Background *background, const FrameList &frames, int bits);

/// How dense the fire is, see Delivery::density.
float densityOf(const RenderOptions &options);

/// Tells what the output does not keep, if there is any such thing and the options do not ask for quiet. `audioFrom` is
/// the movie whose audio was asked for.
void sayLosses(const RenderOptions &options, const std::string &audioFrom, const media::Losses &losses);

}  // namespace pyrelux::cli
