#include "Launch.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include "Cores.h"
#include "FarmFiles.h"
#include "MediaErrors.h"
#include "Status.h"

#if defined(__APPLE__)
extern char **environ;
#endif

namespace fs = std::filesystem;

namespace pyrelux::farm {

namespace {

std::vector<char *> pointersTo(std::vector<std::string> &words) {
  std::vector<char *> pointers;
  for (std::string &word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  return pointers;
}

std::vector<std::string> ownEnvironment() {
  std::vector<std::string> all;
  for (char **entry = environ; *entry; ++entry) all.emplace_back(*entry);
  return all;
}

std::vector<std::string> withThreads(std::vector<std::string> environment, int threads) {
  const std::string name = "PYRELUX_THREADS=";
  environment.erase(std::remove_if(environment.begin(), environment.end(),
                                   [&](const std::string &entry) { return entry.rfind(name, 0) == 0; }),
                    environment.end());
  environment.push_back(name + std::to_string(threads));
  return environment;
}

/// Starts a program of PATH. `output`: a descriptor for its standard output, -1 for this one's.
pid_t start(CommandLine words, std::vector<std::string> environment, int output, const std::string &remedy) {
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  if (output >= 0) posix_spawn_file_actions_adddup2(&files, output, STDOUT_FILENO);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  // What this program ignores, shells and their children are not to.
  sigset_t usual;
  sigemptyset(&usual);
  sigaddset(&usual, SIGPIPE);
  sigaddset(&usual, SIGXFSZ);
  posix_spawnattr_setsigdefault(&attributes, &usual);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
  pid_t child = 0;
  const int error = posix_spawnp(&child, words[0].c_str(), &files, &attributes, pointersTo(words).data(),
                                 pointersTo(environment).data());
  posix_spawn_file_actions_destroy(&files);
  posix_spawnattr_destroy(&attributes);
  if (error == ENOENT) throw std::runtime_error("there is no '" + words[0] + "' here; " + remedy);
  if (error) throw std::runtime_error("'" + words[0] + "' can't be started: " + media::systemCause(error));
  return child;
}

int exitCodeOf(int status) {
  constexpr int signalled = 128;
  return WIFEXITED(status) ? WEXITSTATUS(status) : signalled + WTERMSIG(status);
}

/// The first line that a program prints. Throws std::runtime_error when it fails.
std::string answerOf(const CommandLine &words) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe: " + media::systemCause(errno));
  pid_t child = 0;
  try {
    child = start(words, ownEnvironment(), ends[1], "submit from a machine of the cluster, or use 'pyrelux farm run'");
  } catch (...) {
    ::close(ends[0]);
    ::close(ends[1]);
    throw;
  }
  ::close(ends[1]);
  std::string text;
  char part[256];
  for (ssize_t count; (count = ::read(ends[0], part, sizeof part)) != 0;) {
    if (count < 0 && errno != EINTR) break;
    if (count > 0) text.append(part, static_cast<std::size_t>(count));
  }
  ::close(ends[0]);
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (const int code = exitCodeOf(status))
    throw std::runtime_error("'" + words[0] + "' ended with exit code " + std::to_string(code) +
                             ", and nothing was submitted; what it said is above");
  return text.substr(0, text.find('\n'));
}

std::string folderPath(const fs::path &farm) {
  std::string path = fs::absolute(farm).lexically_normal().string();
  if (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

CommandLine sbatch(const std::string &folder, const char *log) {
  return {"sbatch", "--parsable", "--chdir=" + folder, "--output=" + folder + "/logs/" + log, "--open-mode=append"};
}

std::vector<std::string> badNodes(const fs::path &farm) {
  std::vector<std::string> names;
  for (const NodeStatus &node : statusOf(farm).nodes)
    if (node.isBad) names.push_back(node.node);
  return names;
}

}  // namespace

CommandLine arrayJob(const fs::path &farm, const Round &round, const std::vector<std::string> &options,
                     const std::vector<std::string> &leftOut) {
  const std::string folder = folderPath(farm);
  CommandLine words = sbatch(folder, "%A_%a.log");
  words.push_back("--job-name=pyrelux-" + fs::path(folder).filename().string());
  words.push_back("--array=0-" + std::to_string(round.chunks.size() - 1));
  words.push_back("--requeue");
  // To the shell, early enough for a frame to be finished.
  words.push_back("--signal=B:USR1@90");
  std::string nodes;
  for (const std::string &node : leftOut) nodes += (nodes.empty() ? "--exclude=" : ",") + node;
  if (!nodes.empty()) words.push_back(nodes);
  words.insert(words.end(), options.begin(), options.end());
  words.push_back(Layout{folder}.jobScript().string());
  words.push_back("--round");
  words.push_back(std::to_string(round.number));
  return words;
}

CommandLine mergeJob(const fs::path &farm, const std::string &id, const std::vector<std::string> &options) {
  const std::string folder = folderPath(farm);
  CommandLine words = sbatch(folder, "merge-%j.log");
  words.push_back("--job-name=pyrelux-merge-" + fs::path(folder).filename().string());
  // After one task that failed, afterok would wait for ever; the merge names what is missing.
  words.push_back("--dependency=afterany:" + id);
  for (const std::string &option : options)
    if (option.rfind("--array", 0) != 0) words.push_back(option);
  words.push_back(Layout{folder}.mergeScript().string());
  return words;
}

CommandLine parallelRun(const fs::path &farm, const Round &round, int jobs) {
  const std::string folder = folderPath(farm);
  CommandLine words{"parallel",
                    "--will-cite",
                    "--jobs",
                    std::to_string(jobs),
                    "--line-buffer",
                    "--termseq",
                    "TERM,60000,KILL",
                    "--quote",
                    Layout{folder}.jobScript().string(),
                    "--round",
                    std::to_string(round.number),
                    "{}",
                    ":::"};
  for (std::size_t chunk = 0; chunk < round.chunks.size(); ++chunk) words.push_back(std::to_string(chunk));
  return words;
}

Submission submitToSlurm(const fs::path &farm, const std::vector<std::string> &options) {
  const Round round = newestRound(fs::absolute(farm));
  // A cluster's name may follow.
  const auto idOf = [](const std::string &answer) { return answer.substr(0, answer.find(';')); };
  const std::string id = idOf(answerOf(arrayJob(farm, round, options, badNodes(farm))));
  try {
    return {id, idOf(answerOf(mergeJob(farm, id, options)))};
  } catch (const std::runtime_error &) {
    answerOf({"scancel", id});
    throw;
  }
}

bool runHere(const fs::path &farm, int jobs, const job::StopToken &stop) {
  const Round round = newestRound(fs::absolute(farm));
  const int cores = std::max(1, coresInUse() / jobs);
  const pid_t child = start(parallelRun(farm, round, jobs), withThreads(ownEnvironment(), cores), -1,
                            "install GNU parallel, or run job.sh with each chunk's number");
  int status = 0;
  bool isTold = false;
  constexpr auto pause = std::chrono::milliseconds(50);
  for (pid_t ended; (ended = ::waitpid(child, &status, WNOHANG)) != child; std::this_thread::sleep_for(pause)) {
    if (ended < 0 && errno != EINTR) throw std::runtime_error("GNU parallel is lost: " + media::systemCause(errno));
    if (!stop.isRequested() || isTold) continue;
    isTold = true;
    // The first has it begin no other task, the second ends those that run.
    ::kill(child, SIGTERM);
    std::this_thread::sleep_for(pause);
    ::kill(child, SIGTERM);
  }
  return exitCodeOf(status) == 0;
}

}  // namespace pyrelux::farm
