#pragma once

#include <optional>
#include <string>

#include "FilterTime.h"
#include "FrameRate.h"
#include "Parameters.h"
#include "Project.h"

namespace pyrelux::adapters {

/// The preset and the seed that a host's user chooses. What the user sets by hand wins over the preset. Hosts that
/// always give every parameter give defaults for those that nobody has set, so a constant that is the default counts as
/// not set. Thread: one at a time.
class Look {
 public:
  /// The word for no preset.
  static constexpr char noPreset[] = "none";

  /// `defaults`: the filter's parameters at their defaults.
  explicit Look(host::ParameterSet defaults);

  /// Chooses the preset of that name or path, none for noPreset and for an empty text; and the seed, 0 for an empty
  /// text. `rate`: the host's frames per second. Returns whether anything has changed. A text that can't be used counts
  /// as empty, with a complaint when it is new.
  bool choose(const std::string &preset, const std::string &seed, const FrameRate &rate);

  /// The parameters where nothing is set by hand: the preset's, at the host's frames, and the defaults of all others.
  const host::ParameterSet &parameters() const { return parameters_; }

  /// When the filter draws the host's frames.
  host::FilterTime time() const;

  /// Whether the preset's value or keyframes hold although the host has set this constant.
  bool holdsInsteadOf(const host::ParameterDeclaration &parameter, const host::ParameterValue &constant) const;

 private:
  /// An empty project for no preset, and with a complaint for one that can't be used.
  project::Project read(const std::string &preset) const;

  host::ParameterSet defaults_;
  host::ParameterSet parameters_;
  project::Project preset_;
  std::optional<std::int64_t> seed_;
  // What was chosen last.
  std::string presetText_;
  std::string seedText_;
  FrameRate rate_;
};

}  // namespace pyrelux::adapters
