#pragma once

#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

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

/// Declares the options of `pyrelux render`; parsing fills `options`, which must outlive that.
void addRenderOptions(CLI::App &command, RenderOptions &options);

/// Declares --backend.
void addBackendOption(CLI::App &command, std::string &backend);

}  // namespace pyrelux::cli
