#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace pyrelux::studio {

/// The name that a dropped file may have: the last part of what the page calls it, of an extension that can be burned,
/// laid behind or opened. Nothing for any other.
std::optional<std::string> uploadName(std::string_view asked);

/// A file that grows beside its final name, hidden, and is removed unless it is complete. Thread: one at a time.
class Upload {
 public:
  /// Makes the folder if it is missing. Throws std::runtime_error.
  Upload(const std::string &folder, std::string name);
  ~Upload();
  Upload(const Upload &) = delete;
  Upload &operator=(const Upload &) = delete;

  /// Throws std::runtime_error: a full disk.
  void write(const void *bytes, std::size_t count) const;

  /// Gives it its name, or one with a number where that is taken, and returns it. Throws std::runtime_error.
  std::string finish();

 private:
  std::string folder_;
  std::string name_;
  std::string temporary_;
  int file_ = -1;
};

}  // namespace pyrelux::studio
