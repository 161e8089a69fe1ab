#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Pass.h"

namespace pyrelux::soft {

/// Draws passes in order. On 8-bit surfaces the result is drawByReference()'s, byte for byte; on float surfaces it may
/// differ by the order of additions. Thread: any, one at a time for each target; uses the process's thread pool.
///
/// `blank` says that the target counts as transparent black, whatever it contains. Afterwards it is false unless
/// nothing was drawn.
///
/// Ownership: pixels may have several owners, none of which changes them. A target that becomes a copy of a texture
/// shares the texture's pixels; a target with shared pixels gets its own before anything else is drawn.
void draw(const std::vector<Pass> &passes, std::shared_ptr<Pixels> &target, bool &blank);

/// Fills a blank target with transparent black, so that its pixels can be read. Does nothing when `blank` is false.
void materialiseClear(std::shared_ptr<Pixels> &target, bool &blank);

/// For tests: whether the whole process draws everything by the reference from now on.
void useReferenceOnly(bool only);

/// A description for users: the instruction set and the number of threads.
const std::string &rasteriserDescription();

/// The instructions that are in use, as PYRELUX_SIMD names them. Thread: any.
const char *rasteriserInstructions();

}  // namespace pyrelux::soft
