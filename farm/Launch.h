#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "Plan.h"
#include "StopToken.h"

namespace pyrelux::farm {

/// A program with its arguments.
using CommandLine = std::vector<std::string>;

/// The command line of an array job for a round. `options`: of sbatch, which win over ours; `leftOut`: names of nodes.
CommandLine arrayJob(const std::filesystem::path &farm, const Round &round, const std::vector<std::string> &options,
                     const std::vector<std::string> &leftOut);

/// The command line of a merge that begins after any end of the array job `id`.
CommandLine mergeJob(const std::filesystem::path &farm, const std::string &id, const std::vector<std::string> &options);

/// The command line that runs a round on this machine, `jobs` tasks at a time.
CommandLine parallelRun(const std::filesystem::path &farm, const Round &round, int jobs);

/// What Slurm calls the jobs.
struct Submission {
  std::string array;
  std::string merge;
};

/// Hands the newest round and a merge to Slurm. Throws std::runtime_error with the cause when sbatch is missing or
/// refuses; if it refuses the merge alone, the array job is cancelled.
Submission submitToSlurm(const std::filesystem::path &farm, const std::vector<std::string> &options);

/// Runs the newest round here by GNU parallel, and waits. The program's standard streams are this one's. Once `stop` is
/// requested, its tasks are told to stop. Returns whether all tasks succeeded. Throws std::runtime_error when GNU
/// parallel is missing. Thread: one at a time.
bool runHere(const std::filesystem::path &farm, int jobs, const job::StopToken &stop);

}  // namespace pyrelux::farm
