#pragma once

#include <memory>
#include <string>

#include "FrameRange.h"
#include "Media.h"
#include "RenderOptions.h"

namespace pyrelux::cli {

/// The bits per channel to draw with: those asked for, or what suits the output. Throws media::OutputError for an
/// extension or codec that does not exist.
int chooseBits(const RenderOptions &options);

/// How the options ask for these frames of the input to be stored. Tells when its audio has to be left out. Throws
/// UsageError.
media::OutputFormat chooseFormat(const RenderOptions &options, const media::InputInfo &input, const FrameList &frames,
                                 int bits);

/// Opens the output for these frames of the input. The writer lays them over the background, if there is one. Throws
/// UsageError, media::MediaError.
std::unique_ptr<media::Writer> openOutput(const RenderOptions &options, const media::OutputFormat &format,
                                          const media::InputInfo &input, const FrameList &frames);

/// Tells what the output does not keep, if there is any such thing and the options do not ask for quiet.
void sayLosses(const RenderOptions &options, const media::Losses &losses);

}  // namespace pyrelux::cli
