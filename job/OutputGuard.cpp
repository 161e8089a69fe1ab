#include "OutputGuard.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <set>
#include <system_error>
#include <utility>
#include <vector>

#include "FramePattern.h"
#include "MediaErrors.h"
#include "ValueError.h"
#include "Writer.h"

namespace fs = std::filesystem;

namespace pyrelux::job {

namespace {

/// The device and number of the file, which all its names share; nothing if there is none.
std::optional<std::pair<std::uintmax_t, std::uintmax_t>> identityOf(const std::string &path) {
  struct stat status = {};
  if (stat(path.c_str(), &status) != 0) return std::nullopt;
  return std::pair<std::uintmax_t, std::uintmax_t>(status.st_dev, status.st_ino);
}

/// The numbers of the output's pictures that are in its folder and belong to the frames, in ascending order.
std::vector<std::int64_t> framesInFolder(const std::string &output, const FrameList &frames) {
  const media::FramePattern pattern(output);
  std::vector<std::int64_t> found;
  std::error_code error;
  for (fs::directory_iterator entry(pattern.folder(), error), end; !error && entry != end; entry.increment(error))
    if (const auto frame = pattern.frameOf(entry->path().filename().string()); frame && frames.contains(*frame))
      found.push_back(*frame);
  if (error && error != std::errc::no_such_file_or_directory && error != std::errc::not_a_directory)
    media::failWriting(output, "the folder '" + pattern.folder() +
                                   "' can't be listed, which many frames need: " + media::systemCause(error.value()));
  std::sort(found.begin(), found.end());
  return found;
}

/// Calls work(path) for the files that the output's frames go into, as far as something may be there.
template <typename Work>
void forEachPresent(const std::string &output, const FrameList &frames, Work work) {
  const auto call = [&](std::int64_t frame) { work(media::Writer::pathOf(output, frame)); };
  // Up to here, asking for every name costs no more than listing a folder.
  constexpr std::int64_t fewFrames = 1000;
  if (!media::Writer::isSequence(output)) {
    call(frames.first());
  } else if (frames.count() <= fewFrames) {
    frames.forEach([&](std::int64_t frame) { return call(frame), true; });
  } else {
    for (const std::int64_t frame : framesInFolder(output, frames)) call(frame);
  }
}

/// A file, or a link that leads to none. Whatever else it is, the writer refuses with its own reasons.
bool isThere(const std::string &path) {
  std::error_code error;
  return fs::is_symlink(fs::symlink_status(path, error)) ? !fs::exists(path, error) || fs::is_regular_file(path, error)
                                                         : fs::is_regular_file(path, error);
}

}  // namespace

void refuseToReplaceSource(const media::Reader &source, const std::string &what, const RenderRequest &request,
                           const FrameList &frames) {
  std::set<std::pair<std::uintmax_t, std::uintmax_t>> files;
  for (const std::string &path : source.files())
    if (const auto file = identityOf(path)) files.insert(*file);
  const auto check = [&](const char *writes, const std::string &path) {
    const auto file = identityOf(path);
    if (file && files.count(*file)) throw ValueError(std::string(writes) + " '" + path + "' would replace the " + what);
  };
  forEachPresent(request.output, frames, [&](const std::string &path) { check("the output", path); });
  if (request.saveProject) check("the project", *request.saveProject);
}

void refuseToReplaceOutput(const RenderRequest &request, const FrameList &frames) {
  if (request.existing != Existing::Refuse) return;
  const bool mayResume = media::Writer::isSequence(request.output);
  forEachPresent(request.output, frames, [&](const std::string &path) {
    if (isThere(path))
      media::failWriting(path, std::string("it is there already; --overwrite replaces it") +
                                   (mayResume ? ", --resume keeps what is right" : ""));
  });
}

void makeFoldersOf(const std::string &output) {
  const fs::path folder = fs::path(output).parent_path();
  std::error_code error;
  if (!folder.empty()) fs::create_directories(folder, error);
  if (error) media::failWriting(output, "the folder '" + folder.string() + "' can't be made: " + error.message());
}

void removeLeftovers(const std::string &output, RenderListener &listener) {
  for (const std::string &name : media::Writer::removeLeftovers(output))
    listener.remark("removed '" + name + "', which a run for '" + output + "' left when it was killed");
}

}  // namespace pyrelux::job
