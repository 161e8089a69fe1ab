#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "Parameters.h"
#include "Scene.h"

// What a project file holds, as text and as data; nothing here touches a file.

namespace pyrelux::project {

/// The text is no project. what() is one sentence without a final stop that names the place: a line and column where it
/// is not JSON, else a path like "parameters.glow[2].value".
class ProjectError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The settings of a render, without its input and output. What is not there is not set.
struct Project {
  std::optional<std::string> description;  ///< of a preset: one sentence without a full stop
  std::optional<std::string> preset;       ///< a preset's name, or the path of its file
  Scene scene;
  std::map<std::uint32_t, std::vector<host::Keyframe>> parameters;  ///< by id; a single keyframe means a constant
  /// Parameters whose keyframes have seconds from the first frame on in the place of frame numbers.
  std::set<std::uint32_t> timed;
};

/// The version of what is written, and the only one that is read.
constexpr int projectVersion = 1;

/// Keyframes that are set by time are at -maxSeconds .. maxSeconds from the first frame on.
constexpr double maxSeconds = 86400.0;

/// The largest project file that is read, in bytes.
constexpr std::size_t maxProjectBytes = 16u << 20;

/// Reads a project. Everything in it can be set: names are known, values in their ranges, and a preset of that name is
/// there. Throws ProjectError.
Project parseProject(const std::string &text, const std::vector<host::ParameterDeclaration> &declarations);

/// The text of a project, which parseProject() turns into one that means the same.
std::string formatProject(const Project &project, const std::vector<host::ParameterDeclaration> &declarations);

/// The parameters as a project with all that is in force has them, those at their defaults included.
std::map<std::uint32_t, std::vector<host::Keyframe>> parametersInForce(const host::ParameterSet &parameters);

}  // namespace pyrelux::project
