#pragma once

#include <string>

#include "CliTest.h"

namespace pyrelux::cli::test {

/// melt, with the modules that the tests need and ours, in a fresh folder with a title in it.
class Melt : public CliTest {
 protected:
  Melt();

  /// Saves `name`, a profile of 25 progressive frames a second.
  void saveProfile(const std::string &name, int width, int height, const std::string &pixelAspect = "1/1") const;

  /// `melt -quiet` with the arguments.
  Result melt(const Words &arguments, const Environment &environment = {}) const;

  /// The same, until `name`, which melt writes, has something in it.
  Result meltInto(const std::string &name, const Words &arguments, const Environment &environment = {}) const;

  /// The words for a consumer that writes red, green, blue and alpha in bytes, and nothing else, into "frames".
  static Words rawConsumer(const Words &settings = {"real_time=-1"});

  /// All frames of `melt -profile PROFILE ARGUMENTS` through that consumer; not a word is expected of it.
  std::string frames(const std::string &profile, const Words &arguments,
                     const Words &consumer = {"real_time=-1"}) const;

  /// The same of the title through the effect with these properties, `count` frames.
  std::string burnt(const Words &properties, int count, const Words &consumer = {"real_time=-1"}) const;

  /// Frame `number` of a run of these.
  static std::string frame(const std::string &frames, std::size_t number, int width = testWidth,
                           int height = testHeight);

  /// What `pyrelux render` draws of the input with these arguments, as expectComposed() takes it.
  std::string fire(const std::string &input, int frame, const Words &arguments = {}) const;
};

}  // namespace pyrelux::cli::test
