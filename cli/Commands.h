#pragma once

#include <optional>
#include <string>
#include <vector>

namespace pyrelux::cli {

struct RenderOptions {
  std::string input;
  std::string output;
  std::optional<std::string> frames;  ///< otherwise all of the input's, or a default for stills
  std::optional<std::string> fps;     ///< otherwise the input's, or 24
  std::optional<std::string> preset;  ///< a look's name
  std::vector<std::string> settings;  ///< NAME=VALUE; win over the preset
  std::optional<std::string> bits;    ///< 8 or 16; otherwise what the output's format holds
  std::string backend = "auto";
  std::string progress = "auto";  ///< one of progressNames()
  bool verbose = false;
};

// Each command throws the errors of media/, host/ and UsageError; its result is the program's exit code.

/// Burns an input into an output. When a signal interrupts it, what is finished is kept, and a movie ends there.
int render(const RenderOptions &options);

/// Prints the filter's parameters in the inspector's order.
int listParameters(bool json);

/// Prints the looks that are shipped.
int listPresets(bool json);

/// Prints what draws and which filter was found; 1 when either is missing.
int info(const std::string &backend);

}  // namespace pyrelux::cli
