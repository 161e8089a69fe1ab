#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "FrameList.h"
#include "InputFiles.h"
#include "RenderRequest.h"

namespace pyrelux::farm {

/// What tasks leave.
enum class Product {
  Sequence,  ///< the output's pictures
  Pieces,    ///< movies without audio, whose frames stand alone and are joined
  Pictures,  ///< pictures without loss, from which the output is encoded
};

/// A render that is cut into tasks. Its folder is complete in itself, and may be moved as long as its inputs stay, or
/// were copied.
struct Plan {
  std::string version;         ///< of the program; pictures of another one may differ
  job::RenderRequest request;  ///< without part; its project is in the folder
  Product product = Product::Sequence;
  FrameList frames{FrameRange{}};
  std::vector<InputFile> files;  ///< that pictures are made from
  int width = 0;                 ///< of the output, pixels
  int height = 0;                ///< of the output, pixels
  int drawBits = 16;             ///< per channel of the drawing
  std::string instructions;      ///< of the processor that all draw floats with; empty where it does not matter
  double secondsPerFrame = 0.0;  ///< measured where the farm was planned
  int cores = 1;                 ///< that it was measured with
};

/// Chunks that are handed out together. The plan makes the first round; each retry adds one.
struct Round {
  int number = 1;
  std::vector<FrameList> chunks;
  bool isAnew = false;  ///< failures of earlier rounds do not count any more
};

/// Where things are in a farm's folder.
struct Layout {
  std::filesystem::path folder;
  std::filesystem::path plan() const { return folder / "farm.json"; }
  std::filesystem::path project() const { return folder / "project.json"; }
  std::filesystem::path inputs() const { return folder / "input"; }
  std::filesystem::path attempts() const { return folder / "attempts"; }
  std::filesystem::path logs() const { return folder / "logs"; }
  std::filesystem::path round(int number) const { return folder / ("chunks-" + std::to_string(number) + ".json"); }
  std::filesystem::path jobScript() const { return folder / "job.sh"; }
  std::filesystem::path mergeScript() const { return folder / "merge.sh"; }
};

/// Throws media::InputError: the folder is missing or holds no farm.
Plan readPlan(const std::filesystem::path &folder);

/// Throws media::OutputError.
void writePlan(const std::filesystem::path &folder, const Plan &plan);

/// Throws media::InputError.
Round readRound(const std::filesystem::path &folder, int number);

/// The round that was made last. Throws media::InputError.
Round newestRound(const std::filesystem::path &folder);

/// The number of the newest round that is anew, or 1. Rounds that can't be read are passed over.
int newestAnew(const std::filesystem::path &folder);

/// Adds a round with the next number. Returns it. Throws media::OutputError.
Round addRound(const std::filesystem::path &folder, std::vector<FrameList> chunks, bool isAnew = false);

/// What tasks of this output leave. Throws media::OutputError for an extension or codec that is none.
Product productOf(const job::RenderRequest &request);

/// The request for a part of the frames that a task leaves at `output`.
job::RenderRequest taskRequest(const Plan &plan, const std::string &output, const FrameList &part);

}  // namespace pyrelux::farm
