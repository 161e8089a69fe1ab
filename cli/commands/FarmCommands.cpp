#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Chunks.h"
#include "Commands.h"
#include "ExitCodes.h"
#include "Launch.h"
#include "Merge.h"
#include "Message.h"
#include "Numbers.h"
#include "ParameterList.h"
#include "Planner.h"
#include "RenderOptions.h"
#include "SignalGuard.h"
#include "Status.h"
#include "Task.h"
#include "TerminalListener.h"
#include "ValueError.h"

namespace fs = std::filesystem;

namespace pyrelux::cli {

namespace {

constexpr const char *farmGroup = "Farm";

std::string refusalOfCount(const std::string &text, int least, int most) {
  const auto number = readNumber(text);
  const bool isCount = number && *number >= least && *number <= most && *number == static_cast<int>(*number);
  return isCount ? std::string()
                 : "'" + text + "' is no whole number in " + std::to_string(least) + ".." + std::to_string(most);
}

template <typename Target>
Option countOption(const char *names, const char *brief, const char *details, int least, int most, Target &target) {
  return option(names, "N", brief, details)
      .refusing([least, most](const std::string &text) { return refusalOfCount(text, least, most); })
      .filling(target, [](const std::string &text) { return static_cast<int>(*readNumber(text)); });
}

Option folderOption(std::string &folder) {
  return option("JOB", "JOB", "The folder", " that 'pyrelux farm plan' made").required().filling(folder);
}

/// How chunks are cut.
std::vector<Option> cutOptions(double &minutes, std::optional<int> &tasks) {
  const auto refuse = [](const std::string &text) {
    const auto number = readNumber(text);
    return number && *number > 0.0 && *number <= 1440.0 ? std::string() : "'" + text + "' is no time in 0..1440";
  };
  return {
      option("--chunk-minutes", "MINUTES", "How long a chunk takes on a machine like this one",
             ", more than 0 (default: 5)")
          .refusing(refuse)
          .filling(minutes, [](const std::string &text) { return *readNumber(text); })
          .in(farmGroup),
      countOption("--tasks", "How many chunks there are to be", ", 1..1000, instead of --chunk-minutes", 1, 1000, tasks)
          .excluding("--chunk-minutes")
          .in(farmGroup)};
}

Option sbatchOption(std::vector<std::string> &words) {
  return option("OPTIONS", "OPTIONS", "Options of sbatch",
                ", after \"--\": -- --partition=night --time=01:00:00 --cpus-per-task=8")
      .ofKind(ValueKind::Text)
      .repeatable()
      .calling([&words](const std::string &text) { words.push_back(text); });
}

std::string number(double value, int digits) {
  char text[48];
  std::snprintf(text, sizeof text, "%.*g", digits, value);
  return text;
}

std::string counted(std::int64_t count, const std::string &thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

std::string duration(double seconds) {
  if (seconds < 90.0) return number(seconds, 2) + " s";
  if (seconds < 5400.0) return number(seconds / 60.0, 2) + " minutes";
  return number(seconds / 3600.0, 3) + " hours";
}

/// Whoever else wants to call the program by its path.
std::string ownProgram() {
  std::error_code error;
  const fs::path path = fs::read_symlink("/proc/self/exe", error);
  return error ? "pyrelux" : path.string();
}

int submit(const std::string &folder, const std::vector<std::string> &options) {
  const farm::Submission jobs = farm::submitToSlurm(folder, options);
  std::cout << "Job " << jobs.array << " renders, and job " << jobs.merge << " merges after it\n";
  return 0;
}

struct PlanArguments {
  job::RenderRequest request;
  Reporting reporting;
  farm::PlanOptions options;
  std::string folder;
  std::string system;               ///< to submit to; empty for none
  std::vector<std::string> sbatch;  ///< options
};

void printPlan(const farm::Planned &planned, const std::string &folder) {
  const farm::Plan &plan = planned.plan;
  std::cout << counted(plan.frames.count(), "frame") << " of " << plan.width << "x" << plan.height << " at "
            << number(plan.secondsPerFrame, 2)
            << " s a frame: " << counted(static_cast<std::int64_t>(planned.chunks), "chunk") << " in '"
            << printable(folder) << "'\n"
            << "One machine like this one (" << counted(plan.cores, "core") << ") takes about "
            << duration(planned.seconds) << "\n";
  if (!planned.isWorthIt()) std::cout << "A farm is not worth it: 'pyrelux render' is as fast\n";
}

int plan(PlanArguments &arguments) {
  if (arguments.system.empty() && !arguments.sbatch.empty())
    throw ValueError("'" + arguments.sbatch[0] + "' is an option of sbatch, which goes with '--submit slurm'");
  arguments.options.folder = arguments.folder;
  arguments.options.program = ownProgram();
  arguments.reporting.progress = "none";
  TerminalListener listener(arguments.reporting);
  const farm::Planned planned = farm::planFarm(arguments.request, arguments.options, listener, listener.stop());
  printPlan(planned, arguments.folder);
  return arguments.system.empty() ? 0 : submit(arguments.folder, arguments.sbatch);
}

Command planCommand() {
  const auto arguments = std::make_shared<PlanArguments>();
  std::vector<Option> options = renderOptions(arguments->request, arguments->reporting);
  // What a folder of tasks does by itself, or in another way.
  options.erase(std::remove_if(options.begin(), options.end(),
                               [](const Option &row) {
                                 const std::string &name = row.names.back();
                                 return name == "--resume" || name == "--save-project" || name == "--progress";
                               }),
                options.end());
  options.push_back(option("--folder", "JOB", "The folder to make", "; every node sees it under the same path")
                        .ofKind(ValueKind::File)
                        .required()
                        .filling(arguments->folder)
                        .in(farmGroup));
  append(options, cutOptions(arguments->options.chunkMinutes, arguments->options.tasks));
  options.push_back(flag("--first-look", arguments->options.looksFirst, true, "Render every tenth frame first",
                         ", so that people see something of everything early")
                        .in(farmGroup));
  options.push_back(flag("--copy-input", arguments->options.copiesInput, true, "Copy the input into the folder",
                         ", with the background; otherwise nodes read it where it is")
                        .in(farmGroup));
  options.push_back(option("--submit", "SYSTEM", "Hand the tasks to slurm at once",
                           ", as 'pyrelux farm submit' does; options of sbatch follow after \"--\"")
                        .oneOf({"slurm"})
                        .filling(arguments->system)
                        .in(farmGroup));
  options.push_back(sbatchOption(arguments->sbatch).in(farmGroup));
  return {"farm-plan", "Cut a render into tasks for many machines", std::move(options),
          [arguments] { return plan(*arguments); }, parametersHelp};
}

Command submitCommand() {
  struct Arguments {
    std::string folder;
    std::vector<std::string> sbatch;
  };
  const auto arguments = std::make_shared<Arguments>();
  return {"farm-submit",
          "Hand a farm's tasks to Slurm, and a merge after them",
          {folderOption(arguments->folder), sbatchOption(arguments->sbatch)},
          [arguments] { return submit(arguments->folder, arguments->sbatch); }};
}

struct MergeArguments {
  std::string folder;
  farm::MergeOptions options;
  Reporting reporting;
};

int mergeFarm(const MergeArguments &arguments) {
  TerminalListener listener(arguments.reporting);
  const farm::MergeResult result = farm::merge(arguments.folder, arguments.options, listener, listener.stop());
  if (result.isStopped) {
    say("interrupted; the output is not complete");
    return exitCodeOf(SignalGuard::signal());
  }
  for (const farm::Gap &gap : result.gaps) say("frames " + formatFrames(gap.frames) + " are missing: " + gap.why);
  if (!result.gaps.empty()) {
    say("nothing is merged; 'pyrelux farm retry' makes chunks of what is missing");
    return failedExit;
  }
  std::cout << "Merged " << counted(result.frames, "frame") << " into '" << printable(result.output) << "'\n";
  return 0;
}

Command mergeCommand() {
  const auto arguments = std::make_shared<MergeArguments>();
  return {"farm-merge",
          "Check a farm's pictures, and make the output of them",
          {folderOption(arguments->folder),
           option("-o,--output", "FILE", "Where to", ", instead of where the plan says; of the same extension")
               .filling(arguments->options.output),
           flag("--overwrite", arguments->options.replaces, true, "Replace output that is there already")},
          [arguments] { return mergeFarm(*arguments); }};
}

int runFarm(const std::string &folder, int jobs) {
  const job::StopToken stop;
  {
    const SignalGuard signals(stop);
    if (!farm::runHere(folder, jobs, stop) && !stop.isRequested()) say("some tasks failed");
  }
  if (stop.isRequested()) {
    say("interrupted; what is finished is kept, and 'pyrelux farm run' goes on");
    return exitCodeOf(SignalGuard::signal());
  }
  MergeArguments merge;
  merge.folder = folder;
  return mergeFarm(merge);
}

Command runningCommand() {
  struct Arguments {
    std::string folder;
    int jobs = 1;
  };
  const auto arguments = std::make_shared<Arguments>();
  return {"farm-run",
          "Run a farm's tasks on this machine, and merge",
          {folderOption(arguments->folder),
           countOption("--jobs", "How many tasks at a time",
                       ", 1..1000, by GNU parallel; each gets its share of the cores (default: 1)", 1, 1000,
                       arguments->jobs)},
          [arguments] { return runFarm(arguments->folder, arguments->jobs); }};
}

nlohmann::ordered_json statusJson(const farm::Status &status) {
  auto nodes = nlohmann::ordered_json::array();
  for (const farm::NodeStatus &node : status.nodes)
    nodes.push_back({{"node", node.node},
                     {"frames", node.frames},
                     {"frames_per_second", node.framesPerSecond},
                     {"running", node.running},
                     {"lost", node.lost},
                     {"failed", node.failed},
                     {"bad", node.isBad}});
  auto failed = nlohmann::ordered_json::array();
  for (const farm::FailedFrame &frame : status.failed)
    failed.push_back(
        {{"frame", frame.frame}, {"cause", frame.cause}, {"nodes", frame.nodes}, {"given_up", frame.isGivenUp}});
  return {{"total", status.total},
          {"done", status.done},
          {"missing", status.missing},
          {"failed", failed},
          {"frames_per_second", status.framesPerSecond},
          {"seconds_left", status.secondsLeft},
          {"nodes", nodes}};
}

std::string namesOf(const std::vector<std::int64_t> &frames) {
  return (frames.size() == 1 ? "frame " : "frames ") + formatFrames(farm::listOf(frames));
}

/// Frames that failed alike are told in one line.
std::map<std::string, std::vector<std::int64_t>> byStory(const std::vector<farm::FailedFrame> &failed) {
  std::map<std::string, std::vector<std::int64_t>> stories;
  for (const farm::FailedFrame &frame : failed) {
    std::string story = " failed at";
    for (const std::string &node : frame.nodes) story += ' ' + printable(node);
    story += ": " + printable(frame.cause);
    if (frame.isGivenUp) story += "; given up after three failures";
    stories[story].push_back(frame.frame);
  }
  return stories;
}

void printStatus(const farm::Status &status) {
  std::cout << status.done << " of " << counted(status.total, "frame") << " done, " << status.missing << " missing, "
            << status.failed.size() << " of them failed\n";
  for (const farm::NodeStatus &node : status.nodes)
    std::cout << printable(node.node) << ": " << counted(node.frames, "frame") << ", "
              << number(node.framesPerSecond, 3) << " a second; tasks: " << node.running << " running, " << node.lost
              << " lost, " << node.failed << " failed" << (node.isBad ? "; left out of what is submitted next" : "")
              << '\n';
  for (const auto &[story, frames] : byStory(status.failed)) std::cout << namesOf(frames) << story << '\n';
  if (status.missing > 0)
    std::cout << (status.framesPerSecond > 0.0 ? "About " : "Nothing runs; one machine would take about ")
              << duration(status.secondsLeft) << (status.framesPerSecond > 0.0 ? " left\n" : "\n");
}

Command statusCommand() {
  struct Arguments {
    std::string folder;
    bool asJson = false;
  };
  const auto arguments = std::make_shared<Arguments>();
  return {"farm-status",
          "Tell how far a farm is",
          {folderOption(arguments->folder), flag("--json", arguments->asJson, true, "As JSON")},
          [arguments] {
            const farm::Status status = farm::statusOf(arguments->folder);
            if (arguments->asJson)
              std::cout << statusJson(status).dump(2) << '\n';
            else
              printStatus(status);
            return 0;
          }};
}

int retry(const std::string &folder, const farm::RetryOptions &options) {
  const farm::Retry retry = farm::retryFarm(folder, options);
  if (!retry.givenUp.empty())
    say(namesOf(retry.givenUp) + " failed three times and " + (retry.givenUp.size() == 1 ? "is" : "are") +
        " left out; 'pyrelux farm status' tells why, and --anew tries again");
  if (retry.round)
    std::cout << "Round " << retry.round->number << " has "
              << counted(static_cast<std::int64_t>(retry.round->chunks.size()), "chunk")
              << "; 'pyrelux farm run' or 'pyrelux farm submit' takes it\n";
  else if (retry.givenUp.empty())
    std::cout << "Nothing is missing\n";
  return retry.round || retry.givenUp.empty() ? 0 : failedExit;
}

Command retryCommand() {
  struct Arguments {
    std::string folder;
    farm::RetryOptions options;
  };
  const auto arguments = std::make_shared<Arguments>();
  std::vector<Option> options{folderOption(arguments->folder)};
  append(options, cutOptions(arguments->options.chunkMinutes, arguments->options.tasks));
  options.push_back(flag("--anew", arguments->options.isAnew, true, "Try what was given up after three failures, too",
                         "; as often as before")
                        .in(farmGroup));
  return {"farm-retry", "Make new tasks of what a farm's tasks left out", std::move(options),
          [arguments] { return retry(arguments->folder, arguments->options); }};
}

struct TaskArguments {
  std::string folder;
  int chunk = 0;
  int round = 1;
  Reporting reporting;
};

int runTask(const TaskArguments &arguments) {
  TerminalListener listener(arguments.reporting);
  // Schedulers send SIGTERM to all of a job's processes, and job.sh passes on its own.
  listener.heedSignals(SignalGuard::FurtherTerms::Pass);
  const farm::TaskResult result =
      farm::runTask(arguments.folder, arguments.round, arguments.chunk, listener, listener.stop());
  if (result.isStopped) {
    say("interrupted after " + std::to_string(result.rendered) + " of " +
        counted(result.frames - result.before - result.givenUp, "frame") + ", which are kept");
    return exitCodeOf(SignalGuard::signal());
  }
  if (result.failed > 0) say(counted(result.failed, "frame") + " failed");
  if (result.givenUp > 0) say(counted(result.givenUp, "frame") + " failed three times before: not tried");
  return result.failed + result.givenUp > 0 ? failedExit : 0;
}

Command taskCommand() {
  const auto arguments = std::make_shared<TaskArguments>();
  std::vector<Option> options{
      folderOption(arguments->folder),
      countOption("CHUNK", "The chunk's number", ", from 0 on", 0, 999, arguments->chunk)
          .ofKind(ValueKind::Text)
          .required(),
      countOption("--round", "The round that the chunk is of",
                  ": 1 is the plan's, and each retry adds one (default: 1)", 1, 1000000, arguments->round),
      option("--progress", "KIND", "How far it is", ": line, json, none or auto, as of render")
          .oneOf(progressNames())
          .filling(arguments->reporting.progress)};
  return {"farm-task", "Render what is missing of a chunk; what job.sh runs", std::move(options),
          [arguments] { return runTask(*arguments); }};
}

}  // namespace

std::vector<Command> farmCommands() {
  return {planCommand(),  submitCommand(), runningCommand(), statusCommand(),
          retryCommand(), mergeCommand(),  taskCommand()};
}

}  // namespace pyrelux::cli
