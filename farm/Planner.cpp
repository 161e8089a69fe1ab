#include "Planner.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <mutex>
#include <set>
#include <system_error>
#include <utility>

#include "Attempts.h"
#include "BackendChoice.h"
#include "Bundles.h"
#include "Chunks.h"
#include "Cores.h"
#include "FarmFiles.h"
#include "Filter.h"
#include "MediaErrors.h"
#include "Project.h"
#include "RenderPlan.h"
#include "Scripts.h"
#include "StandardStream.h"
#include "Status.h"
#include "Task.h"
#include "TextFile.h"
#include "ValueError.h"
#include "Writer.h"

namespace fs = std::filesystem;

namespace pyrelux::farm {

namespace {

using SteadyClock = std::chrono::steady_clock;

/// Hears when frames are finished, and passes on what is said.
class Stopwatch : public job::RenderListener {
 public:
  explicit Stopwatch(job::RenderListener &next) : next_(next) {}

  void warn(const std::string &text) override { next_.warn(text); }
  void started(std::int64_t) override { note(); }
  void frameFinished(std::int64_t, job::FrameOutcome) override { note(); }

  /// Of the whole: several frames are under way at a time, and finish together.
  double secondsPerFrame() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (times_.size() < 2) return 0.0;
    const std::chrono::duration<double> span = times_.back() - times_.front();
    return span.count() / static_cast<double>(times_.size() - 1);
  }

 private:
  void note() {
    const std::lock_guard<std::mutex> lock(mutex_);
    times_.push_back(SteadyClock::now());
  }

  job::RenderListener &next_;
  mutable std::mutex mutex_;
  std::vector<SteadyClock::time_point> times_;
};

/// A folder under a name of its own, until it is complete.
class Draft {
 public:
  explicit Draft(const fs::path &folder) : folder_(folder) {
    std::error_code error;
    if (fs::exists(fs::symlink_status(folder, error)) && !fs::is_empty(folder, error))
      media::failWriting(folder.string(), "it is there already; give another '--folder', or remove it");
    draft_ = folder.parent_path() / ("." + folder.filename().string() + "." + uniqueWord());
    makeFolder(draft_);
  }
  ~Draft() {
    std::error_code error;
    if (!isDone_) fs::remove_all(draft_, error);
  }
  Draft(const Draft &) = delete;
  Draft &operator=(const Draft &) = delete;

  const fs::path &path() const { return draft_; }

  void finish() {
    std::error_code error;
    fs::rename(draft_, folder_, error);
    if (error) media::failWriting(folder_.string(), media::systemCause(error.value()));
    isDone_ = true;
  }

 private:
  fs::path folder_;
  fs::path draft_;
  bool isDone_ = false;
};

void refuseStreams(const job::RenderRequest &request) {
  const auto refuse = [](const std::string &option) {
    throw ValueError("a farm reads " + option + " for every task, and standard input can be read once; give a file");
  };
  if (request.input == media::standardInput) refuse("its INPUT");
  if (request.project == media::standardInput) refuse("'--project'");
  if (request.background && request.background->name == media::standardInput) refuse("'--over'");
  if (request.scene.title.textFile == media::standardInput) refuse("'--text-file'");
  if (request.output == "-" || !media::standardOutputFormat(request.output).empty())
    throw ValueError("a farm writes files; give '--output' a file's name");
  if (!media::Writer::holdsManyFrames(request.output))
    throw ValueError(media::shownName(request.output) +
                     " holds one frame, and needs no farm; put %04d or #### into its name, or write a movie");
}

/// A path without folders before it that "." and ".." make long.
std::string absolute(const std::string &path) { return fs::absolute(path).lexically_normal().string(); }

/// Brings the files behind a reader into the folder, or leaves them where they are, and describes them. Returns what
/// the request is to call them.
std::string takeFiles(const std::string &name, const std::vector<std::string> &files, const fs::path &draft,
                      const std::string &folder, bool copies, std::vector<InputFile> &described) {
  for (const std::string &file : files) {
    InputFile entry = describe(absolute(file));
    if (copies) {
      makeFolder(draft / folder);
      const fs::path place = fs::path(folder) / fs::path(file).filename();
      copyFile(file, draft / place);
      entry.path = place.string();
    }
    described.push_back(entry);
  }
  return copies && !files.empty() ? (fs::path(folder) / fs::path(name).filename()).string() : absolute(name);
}

/// The project with everything that is in force. Texts and fonts in files come into the folder: they are small.
void writeProject(const job::RenderPlan &rendering, const fs::path &draft, std::vector<InputFile> &files) {
  project::Project project;
  project.scene = rendering.request.scene;
  std::set<std::string> names;
  for (auto *file : project.scene.title.files()) {
    if (!*file) continue;
    std::string name = fs::path(**file).filename().string();
    if (!names.insert(name).second) name = "2-" + name;
    const fs::path place = fs::path("text") / name;
    makeFolder(draft / "text");
    copyFile(**file, draft / place);
    InputFile entry = describe(draft / place);
    entry.path = place.string();
    files.push_back(entry);
    *file = place.string();
  }
  project.parameters = project::parametersInForce(rendering.inForce);
  media::writeText(Layout{draft}.project().string(), project::formatProject(project, rendering.inForce.declarations()));
}

/// Three frames in a row from the middle, or all if there are fewer.
FrameList framesToMeasure(const FrameList &frames) {
  const std::vector<std::int64_t> all = numbersOf(frames);
  const std::size_t count = std::min<std::size_t>(all.size(), 3);
  const auto from = all.begin() + static_cast<std::ptrdiff_t>((all.size() - count) / 2);
  return listOf({from, from + static_cast<std::ptrdiff_t>(count)});
}

double measure(const Plan &plan, const fs::path &draft, job::RenderListener &listener, const job::StopToken &stop) {
  const fs::path folder = draft / "measure";
  makeFolder(folder);
  Stopwatch watch(listener);
  renderPart(plan, framesToMeasure(plan.frames), {(folder / pictureName(plan)).string(), folder}, watch, stop);
  std::error_code error;
  fs::remove_all(folder, error);
  return watch.secondsPerFrame();
}

Cut cutFor(double secondsPerFrame, std::size_t frames, double chunkMinutes, const std::optional<int> &tasks,
           bool looksFirst) {
  constexpr double secondsPerMinute = 60.0;
  constexpr double quickest = 1e-6;
  Cut cut;
  cut.looksFirst = looksFirst;
  const double wanted = tasks ? std::ceil(static_cast<double>(frames) / *tasks)
                              : std::floor(chunkMinutes * secondsPerMinute / std::max(secondsPerFrame, quickest));
  cut.framesPerChunk = static_cast<std::int64_t>(std::clamp(wanted, 1.0, static_cast<double>(frames)));
  return cut;
}

Plan planOf(const job::RenderPlan &rendering) {
  Plan plan;
  plan.version = PYRELUX_VERSION;
  plan.request = rendering.request;
  plan.request.preset.reset();
  plan.request.settings.clear();
  plan.request.projectInMemory.reset();
  plan.request.output = absolute(plan.request.output);
  // Nodes may have others.
  const std::int32_t backendId = host::chooseBackend(plan.request.backend);
  plan.request.backend = host::backendName(backendId);
  plan.product = productOf(plan.request);
  plan.frames = rendering.frames;
  plan.width = rendering.format.width;
  plan.height = rendering.format.height;
  plan.drawBits = rendering.drawBits;
  if (plan.drawBits == 16) plan.instructions = host::instructionsOf(backendId);
  plan.cores = coresInUse();
  return plan;
}

}  // namespace

bool Planned::isWorthIt() const {
  // Waiting for a cluster's scheduler, and the merge, take a few minutes.
  constexpr double least = 600.0;
  return seconds >= least;
}

Planned planFarm(const job::RenderRequest &request, const PlanOptions &options, job::RenderListener &listener,
                 const job::StopToken &stop) {
  refuseStreams(request);
  host::Filter filter(host::findFilter(host::defaultSearchPath()));
  job::RenderPlan rendering = job::planRender(request, filter, listener, stop);
  if (rendering.sources.info().isStream || rendering.endsWithInput)
    throw ValueError("a farm reads its INPUT for every task, and a stream can be read once; give a file");
  if (!request.makeFolders)
    media::Writer::requireWritable(media::Writer::pathOf(request.output, rendering.frames.first()));

  const fs::path folder = absolute(options.folder.string());
  Draft draft(folder.has_filename() ? folder : folder.parent_path());
  Plan plan = planOf(rendering);
  if (plan.request.input)
    plan.request.input = takeFiles(*plan.request.input, rendering.sources.input().files(), draft.path(), "input",
                                   options.copiesInput, plan.files);
  if (job::Background *background = rendering.sources.background(); background && background->reader()) {
    // Headers of pictures are to say what they say without a farm.
    plan.request.background->askedAs = background->name();
    plan.request.background->name = takeFiles(background->name(), background->reader()->files(), draft.path(), "over",
                                              options.copiesInput, plan.files);
  }
  writeProject(rendering, draft.path(), plan.files);
  writePlan(draft.path(), plan);
  Plan written = readPlan(draft.path());
  plan.secondsPerFrame = written.secondsPerFrame = measure(written, draft.path(), listener, stop);
  if (stop.isRequested()) throw std::runtime_error("interrupted; no farm is planned");
  writePlan(draft.path(), plan);

  const std::vector<std::int64_t> frames = numbersOf(plan.frames);
  const std::vector<FrameList> chunks = cutFrames(
      frames, cutFor(plan.secondsPerFrame, frames.size(), options.chunkMinutes, options.tasks, options.looksFirst));
  addRound(draft.path(), chunks);
  makeFolder(Layout{draft.path()}.attempts());
  makeFolder(Layout{draft.path()}.logs());
  const Planned planned{plan, chunks.size(), plan.secondsPerFrame * static_cast<double>(frames.size())};
  writeScripts(draft.path(), planned, options.program);
  draft.finish();
  return planned;
}

Retry retryFarm(const fs::path &farm, const RetryOptions &options) {
  const Plan plan = readPlan(farm);
  Attempts attempts = readAttempts(farm);
  if (options.isAnew) attempts.countsFrom = std::numeric_limits<int>::max();
  const Missing missing = whatIsMissing(plan, attempts, now());
  Retry retry;
  retry.givenUp = missing.givenUp;
  if (missing.toTry.empty()) return retry;
  const Cut cut = cutFor(plan.secondsPerFrame, missing.toTry.size(), options.chunkMinutes, options.tasks, false);
  retry.round = addRound(fs::absolute(farm), cutFrames(missing.toTry, cut), options.isAnew);
  return retry;
}

}  // namespace pyrelux::farm
