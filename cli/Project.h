#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Parameters.h"

// What a project file holds, as text and as data; nothing here touches a file.

namespace pyrelux::cli {

/// The text is no project. what() is one sentence without a final stop that names the place: a line and column where it
/// is not JSON, else a path like "parameters.glow[2].value".
class ProjectError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The settings of a render, without its input and output. What is not there is not set. The texts are as the options
/// of their names take them.
struct Project {
  std::optional<std::string> preset;
  std::optional<std::string> size;  ///< of a text or test pattern; other inputs have their own
  std::optional<std::string> frames;
  std::optional<std::string> fps;
  std::optional<std::string> bits;
  std::map<std::uint32_t, std::vector<host::Keyframe>> parameters;  ///< by id; a single keyframe means a constant
};

/// The version of what is written, and the only one that is read.
constexpr int projectVersion = 1;

/// Files are no longer than this, in bytes.
constexpr std::size_t longestProject = 16u << 20;

/// Reads a project. Everything in it can be set: names are known, values in their ranges. Throws ProjectError.
Project parseProject(const std::string &text, const std::vector<host::ParameterDeclaration> &declarations);

/// The text of a project, which parseProject() turns into one that means the same.
std::string formatProject(const Project &project, const std::vector<host::ParameterDeclaration> &declarations);

/// The parameters as a project with all that is in force has them, those at their defaults included.
std::map<std::uint32_t, std::vector<host::Keyframe>> parametersInForce(const host::ParameterSet &parameters);

}  // namespace pyrelux::cli
