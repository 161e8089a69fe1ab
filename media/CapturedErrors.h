#pragma once

#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace pyrelux::media {

/// Takes the lines that a library writes to standard error, as some have no other way to tell. From the construction to
/// end() or the destruction standard error of the whole process goes into a file; what does not begin with the
/// library's prefix is written to standard error afterwards. Lines of other threads come late therefore, and none is
/// lost. One at a time captures: others, and those for which there is no file, take nothing.
class CapturedErrors {
 public:
  explicit CapturedErrors(std::string prefix);
  ~CapturedErrors();
  CapturedErrors(const CapturedErrors &) = delete;
  CapturedErrors &operator=(const CapturedErrors &) = delete;

  /// The library's lines, without line feeds. Nothing is taken any more.
  std::vector<std::string> end();

 private:
  struct Close {
    void operator()(std::FILE *file) const { std::fclose(file); }
  };

  std::string prefix_;
  std::unique_lock<std::mutex> turn_;
  std::unique_ptr<std::FILE, Close> file_;
  int standardError_ = -1;  ///< a copy of it
};

}  // namespace pyrelux::media
