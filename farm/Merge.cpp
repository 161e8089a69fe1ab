#include "Merge.h"

#include <algorithm>
#include <map>
#include <thread>
#include <utility>

#include "Attempts.h"
#include "Bundles.h"
#include "Chunks.h"
#include "FarmFiles.h"
#include "Filter.h"
#include "Manifest.h"
#include "MediaErrors.h"
#include "MovieJoin.h"
#include "OutputGuard.h"
#include "OutputPlan.h"
#include "Plan.h"
#include "Reader.h"
#include "RenderJob.h"
#include "RenderPlan.h"
#include "Status.h"
#include "Task.h"
#include "ValueError.h"
#include "Writer.h"

namespace fs = std::filesystem;

namespace pyrelux::farm {

namespace {

/// Where each frame is, and what is missing.
struct Found {
  Attempts attempts;
  std::map<std::int64_t, Finished> frames;
  std::map<std::int64_t, std::string> missing;  ///< with the reasons
};

/// Looks at files, at each once.
class Checker {
 public:
  record::RecordState stateOf(const Finished &finished) {
    const auto known = states_.find(finished.file);
    if (known != states_.end()) return known->second;
    const fs::path path = finished.file;
    const auto state = record::stateOf(path.filename().string(), {0, finished.bytes, finished.fingerprint, {}},
                                       path.parent_path().string());
    return states_[finished.file] = state;
  }

 private:
  std::map<std::string, record::RecordState> states_;
};

Found find(const fs::path &farm, const Plan &plan) {
  Found found;
  found.attempts = readAttempts(farm);
  Checker checker;
  plan.frames.forEach([&](std::int64_t frame) {
    const auto candidates = found.attempts.frames.find(frame);
    if (candidates == found.attempts.frames.end()) {
      found.missing[frame] = whyMissing(found.attempts, frame);
      return true;
    }
    for (const Finished &finished : candidates->second) {
      if (checker.stateOf(finished) != record::RecordState::Right) {
        found.missing[frame] = "'" + finished.file + "' is not what was recorded";
        continue;
      }
      found.missing.erase(frame);
      found.frames.emplace(frame, finished);
      break;
    }
    return true;
  });
  return found;
}

/// Reads the folder again before anything counts as missing.
Found findAll(const fs::path &farm, const Plan &plan, std::chrono::milliseconds patience) {
  constexpr int looks = 3;
  Found found = find(farm, plan);
  for (int look = 1; look < looks && !found.missing.empty() && patience.count() > 0; ++look) {
    std::this_thread::sleep_for(patience / looks);
    found = find(farm, plan);
  }
  return found;
}

/// What is damaged counts as done for tasks as long as it has its name.
void setDamagedAside(const Found &found) {
  for (const auto &missing : found.missing) {
    const auto candidates = found.attempts.frames.find(missing.first);
    if (candidates == found.attempts.frames.end()) continue;
    for (const Finished &finished : candidates->second) {
      std::error_code error;
      fs::rename(finished.file, finished.file + ".damaged", error);
    }
  }
}

std::vector<Gap> gapsOf(const std::map<std::int64_t, std::string> &missing) {
  std::map<std::string, std::vector<std::int64_t>> byReason;
  for (const auto &[frame, why] : missing) byReason[why].push_back(frame);
  std::vector<Gap> gaps;
  for (const auto &[why, frames] : byReason) gaps.push_back({listOf(frames), why});
  std::sort(gaps.begin(), gaps.end(), [](const Gap &a, const Gap &b) { return a.frames.first() < b.frames.first(); });
  return gaps;
}

/// Refuses to replace pictures that are not the farm's. Those that are, an earlier merge has left.
void refuseToReplaceOthers(const job::RenderRequest &request, const Found &found) {
  if (request.existing == job::Existing::Replace) return;
  for (const auto &[frame, finished] : found.frames) {
    const fs::path path = media::Writer::pathOf(request.output, frame);
    std::error_code error;
    if (!fs::exists(fs::symlink_status(path, error))) continue;
    const record::PictureRecord wanted{frame, finished.bytes, finished.fingerprint, {}};
    if (record::stateOf(path.filename().string(), wanted, path.parent_path().string()) != record::RecordState::Right)
      media::failWriting(path.string(), "it is there already, and is not the farm's; --overwrite replaces it");
  }
}

/// Copies the pictures, and records them as a render does.
bool writeSequence(const Plan &plan, const job::RenderRequest &request, const Found &found,
                   job::RenderListener &listener, const job::StopToken &stop) {
  if (request.makeFolders) job::makeFoldersOf(request.output);
  refuseToReplaceOthers(request, found);
  // Pictures of different settings are possible where a background's file was copied to nodes.
  std::map<std::size_t, std::string> settings;
  std::map<std::string, record::Manifest> manifests;
  for (const auto &[frame, finished] : found.frames)
    if (!settings.count(finished.attempt)) {
      const std::string text = settingsOf(found.attempts.all[finished.attempt]);
      settings[finished.attempt] = text;
      manifests.try_emplace(text, request.output, text);
    }
  listener.started(plan.frames.count());
  for (const auto &[frame, finished] : found.frames) {
    if (stop.isRequested()) return false;
    const std::string path = media::Writer::pathOf(request.output, frame);
    record::Manifest &manifest = manifests.at(settings.at(finished.attempt));
    if (request.existing != job::Existing::Replace && manifest.holds(frame, finished.origin)) {
      listener.frameFinished(frame, job::FrameOutcome::Kept);
      continue;
    }
    copyBeside(finished.file, path, [&, number = frame, origin = finished.origin](const std::string &temporary) {
      manifest.add({number, path, temporary, [&] { giveName(temporary, path); }}, origin);
    });
    listener.frameFinished(frame, job::FrameOutcome::Rendered);
  }
  listener.finished();
  return true;
}

bool joinPieces(const job::RenderRequest &request, const Found &found, job::RenderListener &listener,
                const job::StopToken &stop) {
  host::Filter filter(host::findFilter(host::defaultSearchPath()));
  const job::RenderPlan plan = job::planRender(request, filter, listener, stop);
  if (request.makeFolders) job::makeFoldersOf(request.output);
  job::removeLeftovers(request.output, listener);
  listener.started(plan.frames.count());
  media::MovieJoiner joiner(request.output, plan.format);
  for (const auto &[frame, finished] : found.frames) {
    if (stop.isRequested()) return false;
    joiner.add(frame, {finished.file, finished.index});
    listener.frameFinished(frame, job::FrameOutcome::Rendered);
  }
  joiner.finish();
  listener.finished();
  job::remarkLosses(plan.format.audioFrom, joiner.losses(), listener);
  return true;
}

/// A picture as it was drawn.
Image drawnPicture(const std::string &path, bool isBytes) {
  const Image picture = media::Reader::open(path, media::InputAlpha::Premultiplied)->read(0);
  // Levels of 8 bits became floats without loss.
  return isBytes ? toBytes(picture) : picture;
}

/// Is thrown to end an encoding without an output.
struct Stopped {};

bool encodePictures(const Plan &plan, job::RenderRequest request, const Found &found, job::RenderListener &listener,
                    const job::StopToken &stop) {
  const bool isBytes = plan.drawBits == 8 && !request.background;
  request.drawn = [&](std::int64_t frame) {
    if (stop.isRequested()) throw Stopped();
    return drawnPicture(found.frames.at(frame).file, isBytes);
  };
  try {
    // The token would have a movie end early, and look whole.
    job::RenderJob(request).run(listener, job::StopToken());
  } catch (const Stopped &) {
    return false;
  }
  return true;
}

job::RenderRequest requestOf(const Plan &plan, const MergeOptions &options) {
  job::RenderRequest request = plan.request;
  if (options.output) {
    const fs::path output = fs::absolute(*options.output).lexically_normal();
    if (output.extension() != fs::path(request.output).extension())
      throw ValueError("the farm was planned for a '" + fs::path(request.output).extension().string() +
                       "', and the output '" + *options.output + "' is none; give it that extension, or plan anew");
    if (media::Writer::isSequence(output.string()) != (plan.product == Product::Sequence))
      throw ValueError("the output '" + *options.output + "' needs a place for the frame number, as %04d");
    request.output = output.string();
  }
  if (options.replaces) request.existing = job::Existing::Replace;
  return request;
}

}  // namespace

MergeResult merge(const fs::path &farm, const MergeOptions &options, job::RenderListener &listener,
                  const job::StopToken &stop) {
  const Plan plan = readPlan(farm);
  const job::RenderRequest request = requestOf(plan, options);
  if (plan.product != Product::Sequence) job::refuseToReplaceOutput(request, plan.frames);
  const Found found = findAll(farm, plan, options.patience);
  MergeResult result{request.output, plan.frames.count(), gapsOf(found.missing), false};
  if (!result.gaps.empty()) {
    setDamagedAside(found);
    return result;
  }
  requireSame(plan.files, fs::absolute(farm));
  const bool isDone = plan.product == Product::Sequence ? writeSequence(plan, request, found, listener, stop)
                      : plan.product == Product::Pieces ? joinPieces(request, found, listener, stop)
                                                        : encodePictures(plan, request, found, listener, stop);
  result.isStopped = !isDone;
  return result;
}

}  // namespace pyrelux::farm
