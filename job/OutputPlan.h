#pragma once

#include <string>

#include "Background.h"
#include "FrameList.h"
#include "RenderListener.h"
#include "RenderRequest.h"
#include "Writer.h"

namespace pyrelux::job {

/// The bits per channel of the output: those asked for, or what suits it. Throws media::OutputError for an extension or
/// codec that does not exist.
int chooseBits(const RenderRequest &request);

/// How the request asks for these frames of the input, over the background (may be null), to be stored. Remarks when
/// audio has to be left out. Throws ValueError.
media::OutputFormat chooseFormat(const RenderRequest &request, const media::InputInfo &input,
                                 const Background *background, const FrameList &frames, int bits,
                                 RenderListener &listener);

/// How dense the fire is, see Delivery::density.
float densityOf(const RenderRequest &request);

/// Remarks what the output does not keep. `audioFrom` is the movie whose audio was asked for.
void remarkLosses(const std::string &audioFrom, const media::Losses &losses, RenderListener &listener);

}  // namespace pyrelux::job
