#include "Scripts.h"

#include <cstdio>

#include "MediaErrors.h"
#include "TextFile.h"

namespace fs = std::filesystem;

namespace pyrelux::farm {

namespace {

constexpr const char *findProgram = R"sh(# Slurm runs a copy of this script from elsewhere, and begins in the folder.
folder=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
[[ -f $folder/farm.json ]] || folder=$PWD
pyrelux=${PYRELUX-}
[[ -n $pyrelux ]] || pyrelux=$(command -v pyrelux) || pyrelux=@PROGRAM@
)sh";

constexpr const char *jobHead = R"sh(#!/usr/bin/env bash
# Renders what is missing of one chunk.
#
# usage: job.sh [--round N] [CHUNK]     the chunk's number, from 0 on; of a Slurm array it is the task's
#
# PYRELUX names the program; otherwise it is looked for in PATH.
set -u
)sh";

constexpr const char *jobTail = R"sh(round=1
if [[ ${1-} == --round ]]; then
  round=$2
  shift 2
fi
chunk=${1-${SLURM_ARRAY_TASK_ID-}}
if [[ -z $chunk ]]; then
  echo "job.sh: give a chunk's number" >&2
  exit 2
fi
# As many threads as cores were granted.
cores=${SLURM_CPUS_PER_TASK:-${SLURM_CPUS_ON_NODE-}}
[[ -z $cores ]] || export PYRELUX_THREADS=$cores

"$pyrelux" farm task "$folder" "$chunk" --round "$round" --progress none &
child=$!
isLate=
# What is finished counts. Slurm sends USR1 before the time is over, and TERM when the job is cancelled or has to make room.
trap 'isLate=yes; kill -TERM "$child"' USR1
trap 'kill -TERM "$child"' TERM INT HUP
wait "$child"
status=$?
# A trap ends the wait before the program has ended.
while kill -0 "$child" 2>/dev/null; do
  wait "$child"
  status=$?
done
# Slurm does not begin again by itself what ran out of time.
if [[ -n $isLate && -n ${SLURM_JOB_ID-} ]] && ((status != 0 && ${SLURM_RESTART_COUNT-0} < 5)); then
  scontrol requeue "$SLURM_JOB_ID"
fi
exit "$status"
)sh";

constexpr const char *mergeHead = R"sh(#!/usr/bin/env bash
# Checks every picture, and makes the output of them.
#
# usage: merge.sh [OPTION…]     the options of "pyrelux farm merge"
set -u
)sh";

constexpr const char *mergeTail = R"sh(exec "$pyrelux" farm merge "$folder" "$@"
)sh";

std::string replaced(std::string text, const std::string &from, const std::string &to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
    text.replace(at, from.size(), to);
  return text;
}

void writeProgram(const fs::path &path, const std::string &text) {
  media::writeText(path.string(), text);
  std::error_code error;
  fs::permissions(path, fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec, fs::perm_options::add,
                  error);
  if (error) media::failWriting(path.string(), media::systemCause(error.value()));
}

/// What every node needs besides the folder and the program.
std::string needs(const Plan &plan) {
  std::string text;
  for (const InputFile &file : plan.files)
    if (fs::path(file.path).is_absolute()) text += "- The file `" + file.path + "` has to be reachable there.\n";
  if (const project::TitleFields &title = plan.request.scene.title; title.hasText() && (title.font || !title.fontFile))
    text += "- The font " + (title.font ? "`" + *title.font + "`" : std::string("that the text has by default")) +
            " has to be installed there.\n";
  return text.empty() ? "Nothing else has to be there on the nodes but pyrelux " + plan.version + ".\n"
                      : "On every node, besides pyrelux " + plan.version + ":\n\n" + text;
}

std::string readme(const Planned &planned) {
  char seconds[32];
  std::snprintf(seconds, sizeof seconds, "%.3g", planned.plan.secondsPerFrame);
  const std::string last = std::to_string(planned.chunks - 1);
  std::string text = "# A render in parts\n\n";
  text += "`" + planned.plan.request.output + "`: " + std::to_string(planned.plan.frames.count()) + " frames of " +
          std::to_string(planned.plan.width) + "x" + std::to_string(planned.plan.height) + " pixels in " +
          std::to_string(planned.chunks) + " chunks, planned with pyrelux " + planned.plan.version + " at " + seconds +
          " s a frame.\n\n";
  text += "    sbatch --array=0-" + last +
          " --output=logs/%A_%a.log job.sh     # in this folder; or 'pyrelux farm submit .'\n";
  text += "    parallel --jobs 4 ./job.sh ::: {0.." + last + "}               # or 'pyrelux farm run .'\n";
  text += "    ./job.sh 0                                        # one chunk by hand\n";
  text += "    pyrelux farm status .                             # what is done, missing, failed\n";
  text += "    pyrelux farm retry .                              # cuts what is missing into new chunks\n";
  text += "    ./merge.sh                                        # checks every picture, and makes the output\n\n";
  text +=
      "Tasks may be killed, run twice or at the same time: each run has its own folder in `attempts/`, and renders "
      "what no other has finished. `farm.json` says what is rendered, `project.json` how it looks, `chunks-1.json` in "
      "which parts.\n\n";
  return text + needs(planned.plan);
}

}  // namespace

std::string quoted(const std::string &text) { return "'" + replaced(text, "'", "'\\''") + "'"; }

void writeScripts(const fs::path &folder, const Planned &planned, const std::string &program) {
  const Layout layout{folder};
  const std::string find = replaced(findProgram, "@PROGRAM@", quoted(program));
  writeProgram(layout.jobScript(), std::string(jobHead) + find + jobTail);
  writeProgram(layout.mergeScript(), std::string(mergeHead) + find + mergeTail);
  media::writeText((folder / "README.md").string(), readme(planned));
}

}  // namespace pyrelux::farm
