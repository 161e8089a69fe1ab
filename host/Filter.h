#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>

#include "Bundles.h"
#include "Parameters.h"

namespace pyrelux::host {

/// A filter object of a loaded bundle, with the parameter values that this host owns for it. A bundle stays loaded once
/// it is. Thread: one at a time; different objects are independent, and wait for each other.
class Filter {
 public:
  /// Loads the bundle, creates the object and asks it for its properties and parameters. Throws HostError: a bundle
  /// that can't be loaded, a class that is not there or is no filter, a filter that declares no parameters.
  explicit Filter(const FilterInfo &info);
  ~Filter();
  Filter(const Filter &) = delete;
  Filter &operator=(const Filter &) = delete;

  const FilterInfo &info() const { return info_; }
  ParameterSet &parameters() { return *parameters_; }
  const ParameterSet &parameters() const { return *parameters_; }

  /// What a user edits after the filter was created: sets a constant as ParameterSet::set() does, and tells the filter
  /// which parameter changed, unless it has this value already. Initial values go to parameters() instead. Throws
  /// HostError: what set() throws, before anything changed; a filter that raises an exception.
  void edit(const ParameterDeclaration &parameter, const ParameterValue &value);
  /// The same for keyframes.
  void editKeyframes(const ParameterDeclaration &parameter, const std::vector<Keyframe> &keyframes);
  /// The same for all parameters: each gets its keyframes or curve in `parameters`. Of parameters that are not the
  /// filter's own it is told nothing.
  void edit(const ParameterSet &parameters);

  /// Puts a new filter object in the place of the old one, as if nothing had been rendered yet. It is asked for its
  /// properties and parameters like the first. Parameter values stay. Throws HostError as the constructor does; the old
  /// object then stays.
  void restart();

  /// The booleans it declares, "IsThreadSafe" and the like.
  const std::map<std::string, bool> &properties() const { return properties_; }

 private:
  /// Makes a change to the parameter, and tells the filter of it if it is one.
  template <typename Change>
  void change(const ParameterDeclaration &parameter, Change change);

  friend class CustomView;
  friend class FrameRenderer;
  friend struct FilterState;  ///< how tests look at the object's fields
  struct Objects;

  FilterInfo info_;
  std::unique_ptr<Objects> objects_;
  std::unique_ptr<ParameterSet> parameters_;
  std::map<std::string, bool> properties_;
  std::set<std::uint32_t> declared_;  ///< the ids of its parameters; a host may keep others with them
};

}  // namespace pyrelux::host
