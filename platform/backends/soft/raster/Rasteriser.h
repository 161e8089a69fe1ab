#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Pass.h"

namespace pyrelux::soft {

/// Draws passes in order, as drawByReference() does: byte for byte on 8-bit surfaces; on float surfaces copies are
/// summed in another order. Thread: any, one target at a time; uses the process's pool.
///
/// `blank` says that the target is transparent black, whatever it holds; it is false afterwards unless nothing was
/// drawn.
///
/// Pixels may have several owners, who only look at them. A target that becomes a copy of a texture shares the
/// texture's pixels from then on, and one that is drawn into gets pixels of its own first.
void draw(const std::vector<Pass> &passes, std::shared_ptr<Pixels> &target, bool &blank);

/// Makes a blank target hold transparent black, for somebody who looks at it.
void materialiseClear(std::shared_ptr<Pixels> &target, bool &blank);

/// For tests: draws everything pixel by pixel from now on, or no longer, in the whole process.
void useReferenceOnly(bool only);

/// What draws, for people: the instructions it uses and how many threads.
const std::string &rasteriserDescription();

}  // namespace pyrelux::soft
