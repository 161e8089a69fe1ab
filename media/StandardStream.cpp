#include "StandardStream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "MediaErrors.h"

namespace pyrelux::media {

namespace {

constexpr char outputMark[] = "-:";

}  // namespace

std::string standardOutput(const std::string &format) { return outputMark + format; }

std::string standardOutputFormat(const std::string &path) {
  const std::string mark = outputMark;
  return path.rfind(mark, 0) == 0 ? path.substr(mark.size()) : std::string();
}

std::string shownName(const std::string &path) {
  if (path == standardInput) return "standard input";
  return standardOutputFormat(path).empty() ? "'" + path + "'" : "standard output";
}

std::string standardInputFile() {
  struct stat status = {};
  const bool isFile = ::fstat(STDIN_FILENO, &status) == 0 && S_ISREG(status.st_mode);
  return isFile ? "/dev/stdin" : standardInput;
}

void takeStandardInput() {
  static std::atomic<bool> isTaken{false};
  if (::isatty(STDIN_FILENO)) failReading(standardInput, "it is a terminal; send a file or a program's output to it");
  if (::fcntl(STDIN_FILENO, F_GETFD) < 0) failReading(standardInput, systemCause(errno));
  if (isTaken.exchange(true)) failReading(standardInput, "it has been read already; there can be one '-'");
}

void requireStandardOutput() {
  const std::string name = standardOutput("-");
  if (::isatty(STDOUT_FILENO)) failWriting(name, "it is a terminal; send it to a file or a program");
  if (::fcntl(STDOUT_FILENO, F_GETFD) < 0) failWriting(name, systemCause(errno));
}

}  // namespace pyrelux::media
