#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "Image.h"

namespace pyrelux::cli {

/// What a manifest says of a frame's picture.
struct FrameRecord {
  std::string file;          ///< its name, in the manifest's folder
  std::uintmax_t bytes = 0;  ///< its length
  std::string fingerprint;   ///< of its bytes
  std::string origin;        ///< of what it was made from
};

/// By frame number.
using FrameRecords = std::map<std::int64_t, FrameRecord>;

/// Reads a manifest: a line of JSON for every picture that was finished, of which the last one for a frame counts.
/// Lines that are no such thing are passed over, since a crash may leave one. Throws media::InputError when the file
/// can't be read or has no record at all.
FrameRecords readManifest(const std::string &path);

/// Whether a picture is there as it was recorded. `folder`: where the manifest is.
enum class RecordState { Right, Missing, Different };
RecordState stateOf(const FrameRecord &record, const std::string &folder);

/// The manifest beside a numbered sequence that is being rendered. Several programs may add to one at the same time.
/// Thread: add() is independent of the others.
class Manifest {
 public:
  /// The path of the manifest of a sequence: "fire.png.manifest.jsonl" for "fire.%04d.png".
  static std::string pathFor(const std::string &output);

  /// `settings`: JSON that tells everything but the input that a picture depends on. Reads what is recorded already.
  Manifest(const std::string &output, const std::string &settings);
  ~Manifest();
  Manifest(const Manifest &) = delete;
  Manifest &operator=(const Manifest &) = delete;

  /// Stands for the settings and the input picture.
  std::string originOf(const Image &input) const;

  /// Whether the frame's picture is there, whole, and was made from this.
  bool holds(std::int64_t frame, const std::string &origin) const;

  /// Records the picture of a frame, which is complete under its name. The first one makes the file, or begins it
  /// afresh if none of the pictures that it records is there any more. Throws media::OutputError.
  void add(std::int64_t frame, const std::string &origin);

 private:
  void begin();
  void append(const std::string &line);
  [[noreturn]] void failWriting() const;

  std::string output_;
  std::string path_;
  std::string settings_;
  std::string settingsFingerprint_;
  FrameRecords before_;
  int file_ = -1;
};

}  // namespace pyrelux::cli
