#pragma once

#include <string>
#include <vector>

namespace pyrelux::cli {

/// A look: what the filter's parameters are set to; the others keep their defaults.
struct Preset {
  std::string name;
  std::string description;            ///< one sentence without a full stop
  std::vector<std::string> settings;  ///< NAME=VALUE, as --set takes them
};

/// All that are shipped, hot ones first.
const std::vector<Preset> &presets();

/// Their names, in the same order.
std::vector<std::string> presetNames();

/// Throws UsageError, which lists the names, when there is none of that name.
const Preset &presetNamed(const std::string &name);

}  // namespace pyrelux::cli
