#include "FarmFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <random>
#include <system_error>

#include "MediaErrors.h"
#include "OnDisk.h"
#include "TextFile.h"

namespace fs = std::filesystem;

namespace pyrelux::farm {

namespace {

constexpr std::size_t maxJsonBytes = std::size_t{256} << 20;

/// Closes a descriptor of open().
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) ::close(number_);
  }
  Descriptor(const Descriptor &) = delete;
  Descriptor &operator=(const Descriptor &) = delete;
  int number() const { return number_; }

 private:
  int number_;
};

void synchroniseNameOf(const fs::path &path) {
  if (const int error = media::synchroniseName(path.string()))
    media::failWriting(path.string(), media::systemCause(error));
}

fs::path besideOf(const fs::path &path) {
  return path.parent_path() / ("." + path.filename().string() + "." + uniqueWord());
}

/// Removes what did not get another name.
class Temporary {
 public:
  explicit Temporary(fs::path path) : path_(std::move(path)) {}
  ~Temporary() {
    std::error_code error;
    fs::remove(path_, error);
  }
  Temporary(const Temporary &) = delete;
  Temporary &operator=(const Temporary &) = delete;
  const fs::path &path() const { return path_; }

 private:
  fs::path path_;
};

void writeAll(int to, const char *bytes, std::size_t count, const fs::path &path) {
  while (count > 0) {
    const ssize_t written = ::write(to, bytes, count);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) media::failWriting(path.string(), media::systemCause(errno));
    bytes += written;
    count -= static_cast<std::size_t>(written);
  }
}

/// The bytes of `from` in a new file, on the disk.
void copyBytes(const fs::path &from, const fs::path &to) {
  const Descriptor source(::open(from.c_str(), O_RDONLY | O_CLOEXEC));
  if (source.number() < 0) media::failReading(from.string(), media::systemCause(errno));
  const Descriptor target(::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  if (target.number() < 0) media::failWriting(to.string(), media::systemCause(errno));
  std::vector<char> part(1 << 20);
  for (;;) {
    const ssize_t count = ::read(source.number(), part.data(), part.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) media::failReading(from.string(), media::systemCause(errno));
    if (count == 0) break;
    writeAll(target.number(), part.data(), static_cast<std::size_t>(count), to);
  }
  if (const int error = media::synchronise(target.number())) media::failWriting(to.string(), media::systemCause(error));
}

}  // namespace

Json readJson(const fs::path &path) {
  const std::string text = media::readText(path.string(), maxJsonBytes);
  Json json = Json::parse(text, nullptr, false);
  if (!json.is_object()) media::failReading(path.string(), "it is damaged: it holds no JSON object");
  return json;
}

void writeJson(const fs::path &path, const Json &json) { media::writeText(path.string(), json.dump(2) + "\n"); }

bool writeNewJson(const fs::path &path, const Json &json) {
  const Temporary beside(besideOf(path));
  writeJson(beside.path(), json);
  if (::link(beside.path().c_str(), path.c_str()) != 0) {
    if (errno == EEXIST) return false;
    media::failWriting(path.string(), media::systemCause(errno));
  }
  synchroniseNameOf(path);
  return true;
}

void copyBeside(const fs::path &from, const fs::path &to, const std::function<void(const std::string &)> &name) {
  const Temporary beside(besideOf(to));
  copyBytes(from, beside.path());
  name(beside.path().string());
}

void giveName(const std::string &temporary, const fs::path &to) {
  if (std::rename(temporary.c_str(), to.c_str()) != 0) media::failWriting(to.string(), media::systemCause(errno));
  synchroniseNameOf(to);
}

void copyFile(const fs::path &from, const fs::path &to) {
  copyBeside(from, to, [&](const std::string &temporary) {
    std::error_code error;
    const auto changed = fs::last_write_time(from, error);
    if (!error) fs::last_write_time(temporary, changed, error);
    giveName(temporary, to);
  });
}

void makeFolder(const fs::path &path) {
  std::error_code error;
  fs::create_directories(path, error);
  if (error) media::failWriting(path.string(), media::systemCause(error.value()));
}

std::vector<fs::path> listFolder(const fs::path &path) {
  std::vector<fs::path> entries;
  std::error_code error;
  for (fs::directory_iterator entry(path, error), end; !error && entry != end; entry.increment(error))
    if (entry->path().filename().string()[0] != '.') entries.push_back(entry->path());
  std::sort(entries.begin(), entries.end());
  return entries;
}

std::string nodeName() {
  // Several of a cluster's nodes may be one machine.
  const char *slurm = std::getenv("SLURMD_NODENAME");
  char host[256] = {};
  if (!slurm && ::gethostname(host, sizeof host - 1) != 0) host[0] = '\0';
  std::string name = slurm ? slurm : host;
  for (char &letter : name)
    if (!std::isalnum(static_cast<unsigned char>(letter)) && letter != '-' && letter != '_') letter = '_';
  return name.empty() ? "unknown" : name.substr(0, 64);
}

std::string uniqueWord() {
  std::random_device random;
  char word[20];
  std::snprintf(word, sizeof word, "%08x%08x", random(), random());
  return word;
}

double now() { return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count(); }

}  // namespace pyrelux::farm
