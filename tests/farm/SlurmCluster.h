#pragma once

#include <sys/types.h>

#include <array>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Process.h"

namespace pyrelux::cli::test {

/// Is thrown, with the reason, where Slurm can't be started.
struct NoSlurm : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// A cluster of two nodes on this machine, n1 and n2, with one core each. It runs as this user, in a folder of its own,
/// and touches nothing of a Slurm that the system has. All of it ends with the object, and its daemons with this
/// process.
class SlurmCluster {
 public:
  /// Returns once both nodes wait for work. Throws NoSlurm.
  SlurmCluster();
  ~SlurmCluster();
  SlurmCluster(const SlurmCluster &) = delete;
  SlurmCluster &operator=(const SlurmCluster &) = delete;

  /// What has Slurm's programs find this cluster.
  const Environment &environment() const { return environment_; }

  /// What one of Slurm's programs prints. Throws std::runtime_error when it fails.
  std::string ask(const std::vector<std::string> &words) const;

  /// Whether a job runs, waits or ends.
  bool hasJobs() const { return !ask({"squeue", "--noheader"}).empty(); }

  /// Ends a node at once, as a power cut does: its daemon and all that it runs.
  void cutOff(const std::string &node);

  /// Tells the cluster that a node was cut off, which it would notice after half a minute.
  void tellOfItsEnd(const std::string &node) const;

  /// Starts the daemon of a node that was cut off, and waits until the cluster counts on it.
  void bringBack(const std::string &node);

 private:
  std::filesystem::path file(const std::string &name) const { return folder_ / name; }
  void configure();
  void startAll();
  void endAll();
  pid_t start(const std::vector<std::string> &words, const std::string &log);
  void startNode(const std::string &node);
  bool isWaiting(const std::string &node) const;

  std::filesystem::path folder_;
  Environment environment_;
  std::vector<std::pair<std::string, pid_t>> daemons_;  ///< by the names of their logs, in the order of their starts
};

/// Whether it becomes so, looked at again and again for two minutes.
bool comesTrue(const std::function<bool()> &condition);

}  // namespace pyrelux::cli::test
