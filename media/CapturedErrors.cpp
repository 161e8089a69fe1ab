#include "CapturedErrors.h"

#include <fcntl.h>
#include <unistd.h>

#include <utility>

namespace pyrelux::media {

namespace {

std::mutex &turns() {
  static std::mutex mutex;
  return mutex;
}

void writeToStandardError(const std::string &text) {
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t written = ::write(STDERR_FILENO, text.data() + done, text.size() - done);
    if (written <= 0) return;
    done += static_cast<std::size_t>(written);
  }
}

}  // namespace

CapturedErrors::CapturedErrors(std::string prefix) : prefix_(std::move(prefix)), turn_(turns(), std::try_to_lock) {
  if (!turn_) return;
  file_.reset(std::tmpfile());
  if (file_) standardError_ = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  if (standardError_ < 0) return;
  std::fflush(stderr);
  dup2(fileno(file_.get()), STDERR_FILENO);
}

CapturedErrors::~CapturedErrors() { end(); }

std::vector<std::string> CapturedErrors::end() {
  std::vector<std::string> lines;
  if (standardError_ < 0) return lines;
  std::fflush(stderr);
  dup2(standardError_, STDERR_FILENO);
  close(std::exchange(standardError_, -1));
  std::rewind(file_.get());
  std::string line;
  const auto pass = [&] {
    if (line.rfind(prefix_, 0) == 0)
      lines.push_back(line.substr(0, line.find('\n')));
    else
      writeToStandardError(line);
    line.clear();
  };
  for (int character; (character = std::fgetc(file_.get())) != EOF;) {
    line += static_cast<char>(character);
    if (character == '\n') pass();
  }
  if (!line.empty()) pass();
  file_.reset();
  turn_.unlock();
  return lines;
}

}  // namespace pyrelux::media
