#pragma once

namespace pyrelux {

/// How the lines of a text lie in its block.
enum class TextAlign { Left, Center, Right };

}  // namespace pyrelux
