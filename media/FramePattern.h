#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace pyrelux::media {

/// A path whose file name may hold the place of a frame number: "%d", "%04d" (zeros in front up to that many digits)
/// or a run of "#" as long as the number. "%%" stands for a percent sign; any other "%" stands for itself. The folder
/// is taken as it stands.
class FramePattern {
 public:
  /// Throws MediaError if the file name has more than one place for a number.
  explicit FramePattern(const std::string &path);

  /// Whether there is a place for a number at all.
  bool isNumbered() const { return isNumbered_; }

  /// The folder's path; "." if the path names none.
  std::string folder() const { return folder_.empty() ? "." : folder_; }

  /// The path with the number, which is not negative, in its place.
  std::string path(std::int64_t frame) const { return folder_ + before_ + digits(frame) + after_; }

  /// The file's name without the number and what sets it off: "fire.png" for "fire.%04d.png"; "frames.png" for
  /// "%04d.png".
  std::string unnumberedName() const;

  /// The number in a file's name (without folder); nothing if path() never makes that name.
  std::optional<std::int64_t> frameOf(const std::string &fileName) const;

 private:
  std::string digits(std::int64_t frame) const;

  std::string folder_;  // with its last slash
  std::string before_;
  std::string after_;
  bool isNumbered_ = false;
  std::size_t minimumDigits_ = 1;
};

}  // namespace pyrelux::media
