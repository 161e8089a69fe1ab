#pragma once

#include <memory>

#include "Reader.h"

namespace pyrelux::media {

/// Reads standard input: a still if it is one picture, otherwise a stream. Throws InputError.
std::unique_ptr<Reader> openStream(const ReadOptions &options);

}  // namespace pyrelux::media
