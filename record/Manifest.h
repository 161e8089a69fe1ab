#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "Image.h"
#include "MediaErrors.h"
#include "Writer.h"

namespace pyrelux::record {

/// What a manifest says of a picture.
struct PictureRecord {
  std::int64_t frame = 0;
  std::uintmax_t bytes = 0;       ///< its length
  std::string fingerprint;        ///< of its bytes
  std::string sourceFingerprint;  ///< of what it was made from
};

/// By the pictures' names, in the manifest's folder. Sequences whose names differ may share a manifest.
using PictureRecords = std::map<std::string, PictureRecord>;

/// Reads a manifest: a line of JSON for every picture that was finished, of which the last one for a name counts. Lines
/// that are no such thing are passed over, since a crash may leave one. Throws media::InputError when the file can't be
/// read or has no record at all.
PictureRecords readManifest(const std::string &path);

/// Whether a picture is there as it was recorded. `folder`: where the manifest is.
enum class RecordState { Right, Missing, Different, Unreadable };
RecordState stateOf(const std::string &file, const PictureRecord &record, const std::string &folder);

struct CheckedPicture {
  std::string file;  ///< its name in the manifest's folder
  RecordState state = RecordState::Right;
};

/// Checks every picture that a manifest records. In the order of the frames. Throws what readManifest() throws.
std::vector<CheckedPicture> checkPictures(const std::string &manifest);

/// The manifest beside a numbered sequence that is being rendered. Any number of programs on one machine may add to one
/// at the same time. Thread: add() is independent of the others.
class Manifest {
 public:
  /// The path of the manifest of a sequence: "fire.png.manifest.jsonl" for "fire.%04d.png".
  static std::string pathFor(const std::string &output);

  /// `settings`: JSON that tells everything but the input that a picture depends on. Reads what is recorded already.
  /// Throws media::OutputError when the file is there and is no manifest, or can't be written.
  Manifest(const std::string &output, const std::string &settings);

  /// Stands for the settings and the input picture.
  std::string sourceFingerprintOf(const Image &input) const;

  /// Whether the frame's picture is there, whole, and was made from this.
  bool holds(std::int64_t frame, const std::string &sourceFingerprint) const;

  /// Gives a picture its name and records it, in one turn among the programs, so that the last record of a name is that
  /// of the picture that has it. The first one makes the file, or begins it afresh if none of the pictures that it
  /// records is there any more. Throws media::OutputError.
  void add(const media::NewPicture &picture, const std::string &sourceFingerprint);

 private:
  std::string output_;
  std::string path_;
  std::string settings_;
  std::string settingsFingerprint_;
  PictureRecords before_;
  bool hasBegun_ = false;  ///< a line with the settings is written
};

}  // namespace pyrelux::record
