#pragma once

#include <condition_variable>
#include <ctime>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace pyrelux::studio {

/// $XDG_STATE_HOME/pyrelux, or ~/.local/state/pyrelux; made if it is missing. Empty if the environment names no home or
/// it can't be made.
std::string stateFolder();

/// Keeps what is not saved, so that nothing is lost with the process. The files lie in $XDG_STATE_HOME/pyrelux, or
/// ~/.local/state/pyrelux; one for each folder that a studio works in, and another while one works there already. They
/// are written at most every half second, beside, and renamed. Thread: any.
class AutoSave {
 public:
  /// `root`: the folder that is worked in. Without a home, and where nothing can be written, nothing is kept.
  explicit AutoSave(const std::string &root);
  /// Writes what is still to be written.
  ~AutoSave();
  AutoSave(const AutoSave &) = delete;
  AutoSave &operator=(const AutoSave &) = delete;

  /// What an earlier process left, and when it was written; nothing if it left nothing.
  struct Left {
    std::string text;
    std::time_t when = 0;
  };
  const std::optional<Left> &left() const { return left_; }

  /// To be kept from now on; nothing: there is nothing unsaved.
  void keep(std::optional<std::string> text);

 private:
  void work();

  std::string path_;  ///< empty: nothing is kept
  int lock_ = -1;
  std::optional<Left> left_;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool hasNews_ = false;
  bool isEnding_ = false;
  std::optional<std::string> news_;
  std::thread thread_;
};

}  // namespace pyrelux::studio
