#include "AutoSave.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

#include "Fingerprint.h"
#include "MediaErrors.h"
#include "Project.h"
#include "TextFile.h"

namespace fs = std::filesystem;

namespace pyrelux::studio {

namespace {

/// A lock that ends with the process, whatever ends it; -1 if another process has it.
int lockedFile(const std::string &path) {
  const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (file >= 0 && flock(file, LOCK_EX | LOCK_NB) == 0) return file;
  if (file >= 0) close(file);
  return -1;
}

}  // namespace

std::string stateFolder() {
  const char *state = std::getenv("XDG_STATE_HOME");
  const char *home = std::getenv("HOME");
  const fs::path folder = state && fs::path(state).is_absolute() ? fs::path(state) / "pyrelux"
                          : home && *home                        ? fs::path(home) / ".local/state/pyrelux"
                                                                 : fs::path();
  std::error_code error;
  if (!folder.empty()) fs::create_directories(folder, error);
  return folder.empty() || error ? std::string() : folder.string();
}

AutoSave::AutoSave(const std::string &root) {
  const fs::path folder = stateFolder();
  std::error_code error;
  if (folder.empty()) return;
  // As many studios as a person has in one folder.
  constexpr int most = 16;
  const std::string name = "studio-" + record::Fingerprint().add(fs::weakly_canonical(root, error).string()).text();
  for (int number = 1; number <= most && lock_ < 0; ++number) {
    const std::string path = (folder / (name + "-" + std::to_string(number))).string();
    lock_ = lockedFile(path + ".lock");
    if (lock_ >= 0) path_ = path + ".json";
  }
  if (path_.empty()) return;
  struct stat status = {};
  if (stat(path_.c_str(), &status) == 0) try {
      left_ = Left{media::readText(path_, 2 * project::maxProjectBytes), status.st_mtime};
    } catch (const media::InputError &) {
      // What can't be read can't be offered.
    }
  thread_ = std::thread([this] { work(); });
}

AutoSave::~AutoSave() {
  if (thread_.joinable()) {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      isEnding_ = true;
      changed_.notify_all();
    }
    thread_.join();
  }
  if (lock_ >= 0) close(lock_);
}

void AutoSave::keep(std::optional<std::string> text) {
  const std::lock_guard<std::mutex> lock(mutex_);
  news_ = std::move(text);
  hasNews_ = true;
  changed_.notify_all();
}

void AutoSave::work() {
  constexpr std::chrono::milliseconds between{500};
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return hasNews_ || isEnding_; });
    // More may come.
    if (!isEnding_) changed_.wait_for(lock, between, [this] { return isEnding_; });
    if (!hasNews_) return;
    const std::optional<std::string> text = std::exchange(news_, std::nullopt);
    hasNews_ = false;
    lock.unlock();
    std::error_code error;
    if (!text) {
      fs::remove(path_, error);
    } else {
      try {
        media::writeText(path_, *text);
      } catch (const media::MediaError &) {
        // A full disk must not end the work; the next change is another try.
      }
    }
    lock.lock();
  }
}

}  // namespace pyrelux::studio
