#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "FrameList.h"
#include "FrameRate.h"
#include "Parameters.h"
#include "PictureSize.h"

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
  std::optional<PictureSize> size;         ///< of a text or test pattern; other inputs have their own
  std::optional<FrameList> frames;
  std::optional<FrameRate> frameRate;
  std::optional<int> bits;                                          ///< per channel of the output, 8 or 16
  std::map<std::uint32_t, std::vector<host::Keyframe>> parameters;  ///< by id; a single keyframe means a constant
};

/// The version of what is written, and the only one that is read.
constexpr int projectVersion = 1;

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
