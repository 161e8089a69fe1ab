#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace pyrelux::studio {

/// What a page asked for can't be. what() is one sentence without a final stop.
class Refusal : public std::runtime_error {
 public:
  explicit Refusal(const std::string &message, std::optional<std::string> field = {})
      : std::runtime_error(message), field_(std::move(field)) {}

  /// The field of the page that is wrong: a parameter's slug, a field of the scene, or a key of the message.
  const std::optional<std::string> &field() const { return field_; }

 private:
  std::optional<std::string> field_;
};

}  // namespace pyrelux::studio
