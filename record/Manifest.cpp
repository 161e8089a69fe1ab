#include "Manifest.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <system_error>

#include "Fingerprint.h"
#include "FramePattern.h"
#include "LockedFile.h"
#include "MediaErrors.h"

namespace fs = std::filesystem;

namespace pyrelux::record {

namespace {

using Json = nlohmann::ordered_json;

/// How the line begins that a run begins with.
constexpr const char *runStart = "{\"settings\":";

struct Contents {
  PictureRecords records;
  std::string obstacle;  ///< why it is no manifest; empty if it is one, or empty itself
};

/// What stands in the line, if it is an object without others in it; null otherwise.
Json flatObject(const std::string &line) {
  const auto isFlat = [](int depth, Json::parse_event_t event, const Json &) {
    return depth == 0 || (event != Json::parse_event_t::object_start && event != Json::parse_event_t::array_start);
  };
  Json object = Json::parse(line, isFlat, false);
  return object.is_object() ? object : Json();
}

/// Adds what the line says. Returns whether it is a record.
bool addRecord(const std::string &line, PictureRecords &records) {
  const Json object = flatObject(line);
  const auto text = [&object](const char *name) {
    const auto found = object.find(name);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
  };
  const std::string file = text("file");
  PictureRecord record{0, 0, text("xxh3"), text("origin")};
  // A name of another folder is nothing that this program wrote.
  if (file.empty() || file.find('/') != std::string::npos || record.fingerprint.empty()) return false;
  const auto frame = object.find("frame");
  const auto bytes = object.find("bytes");
  if (frame == object.end() || !frame->is_number_integer() || bytes == object.end() || !bytes->is_number_unsigned())
    return false;
  record.frame = frame->get<std::int64_t>();
  record.bytes = bytes->get<std::uintmax_t>();
  records[file] = record;
  return true;
}

Contents contentsOf(const Descriptor &file) {
  Contents contents;
  // Millions of pictures; what is larger would only keep the program busy.
  constexpr std::uintmax_t maxBytes = std::uintmax_t{1} << 30;
  if (sizeOf(file) > maxBytes) {
    contents.obstacle = "it is not a manifest: it is longer than a gigabyte";
    return contents;
  }
  // A record has a name, which may be written in six bytes for each of its own.
  constexpr std::size_t maxRecordBytes = 1 << 14;
  bool isManifest = sizeOf(file) == 0;
  readLines(file, maxRecordBytes, [&](const std::string &line, bool hasEnd) {
    // Not what is being written while this is read.
    isManifest |= line.rfind(runStart, 0) == 0 || (hasEnd && addRecord(line, contents.records));
    return true;
  });
  if (!isManifest) contents.obstacle = "it is not a manifest";
  return contents;
}

std::string folderOf(const std::string &path) {
  const std::string folder = fs::path(path).parent_path().string();
  return folder.empty() ? "." : folder;
}

bool exists(const std::string &path) {
  struct stat status = {};
  return lstat(path.c_str(), &status) == 0;
}

/// Throws OutputError for a file that was not made by a render.
Contents requireManifest(const Descriptor &file, const std::string &path) {
  Contents contents = contentsOf(file);
  if (!contents.obstacle.empty())
    media::failWriting(path, contents.obstacle + "; move it away, or give the output another name");
  return contents;
}

/// Of the picture before it has its name, when no other program knows it.
std::string recordOf(const media::NewPicture &picture, const std::string &sourceFingerprint) {
  try {
    const Json record = {{"frame", picture.frame},
                         {"file", fs::path(picture.path).filename().string()},
                         {"bytes", fs::file_size(picture.temporaryPath)},
                         {"xxh3", fingerprintOfFile(picture.temporaryPath)},
                         {"origin", sourceFingerprint}};
    return record.dump();
  } catch (const fs::filesystem_error &error) {
    media::failWriting(picture.path, media::systemCause(error.code().value()));
  } catch (const media::InputError &error) {
    throw media::OutputError(error.what());
  }
}

}  // namespace

PictureRecords readManifest(const std::string &path) {
  std::string cause;
  const Descriptor file = openRegular(path, O_RDONLY, cause);
  if (!file) media::failReading(path, cause);
  const Contents contents = contentsOf(file);
  if (!contents.obstacle.empty()) media::failReading(path, contents.obstacle);
  if (contents.records.empty()) media::failReading(path, "it is not a manifest: it records no frame");
  return contents.records;
}

RecordState stateOf(const std::string &file, const PictureRecord &record, const std::string &folder) {
  const std::string path = folder + "/" + file;
  std::string cause;
  const Descriptor picture = openRegular(path, O_RDONLY, cause);
  if (!picture) {
    if (cause == media::causeNoSuchFile) return RecordState::Missing;
    return cause == media::causeNotRegular ? RecordState::Different : RecordState::Unreadable;
  }
  if (sizeOf(picture) != record.bytes) return RecordState::Different;
  try {
    return fingerprintOfFile(path) == record.fingerprint ? RecordState::Right : RecordState::Different;
  } catch (const media::InputError &) {
    return RecordState::Unreadable;
  }
}

std::vector<CheckedPicture> checkPictures(const std::string &manifest) {
  const PictureRecords records = readManifest(manifest);
  std::vector<PictureRecords::const_iterator> inOrder;
  for (auto record = records.begin(); record != records.end(); ++record) inOrder.push_back(record);
  std::stable_sort(inOrder.begin(), inOrder.end(),
                   [](const auto &a, const auto &b) { return a->second.frame < b->second.frame; });
  std::vector<CheckedPicture> pictures;
  for (const auto &record : inOrder)
    pictures.push_back({record->first, stateOf(record->first, record->second, folderOf(manifest))});
  return pictures;
}

std::string Manifest::pathFor(const std::string &output) {
  const media::FramePattern pattern(output);
  return (fs::path(output).parent_path() / (pattern.unnumberedName() + ".manifest.jsonl")).string();
}

Manifest::Manifest(const std::string &output, const std::string &settings)
    : output_(output),
      path_(pathFor(output)),
      settings_(settings),
      settingsFingerprint_(Fingerprint().add(settings).text()) {
  // The folder is the same, and the output the name that was given.
  media::Writer::requireWritable(output_);
  media::Writer::requireWritable(path_);
  std::string cause;
  const Descriptor file = openRegular(path_, O_RDWR | O_NOFOLLOW, cause);
  if (file) {
    const Contents contents = contentsOf(file);
    // A file that another program begins afresh meanwhile looks like none: what it holds is told in our turn.
    before_ =
        contents.obstacle.empty() ? contents.records : requireManifest(LockedFile(path_).descriptor(), path_).records;
  } else if (cause != media::causeNoSuchFile)
    media::failWriting(path_, cause + "; move it away, or give the output another name");
}

std::string Manifest::sourceFingerprintOf(const Image &input) const {
  return Fingerprint().add(settingsFingerprint_).add(input).text();
}

bool Manifest::holds(std::int64_t frame, const std::string &sourceFingerprint) const {
  const std::string file = fs::path(media::FramePattern(output_).path(frame)).filename().string();
  const auto found = before_.find(file);
  return found != before_.end() && found->second.sourceFingerprint == sourceFingerprint &&
         stateOf(file, found->second, folderOf(path_)) == RecordState::Right;
}

void Manifest::add(const media::NewPicture &picture, const std::string &sourceFingerprint) {
  const std::string record = recordOf(picture, sourceFingerprint);
  LockedFile file(path_);
  if (!hasBegun_) {
    const PictureRecords records = requireManifest(file.descriptor(), path_).records;
    const bool isStale = std::none_of(records.begin(), records.end(), [this](const auto &present) {
      return exists(folderOf(path_) + "/" + present.first);
    });
    if (isStale) file.clear();
    file.append(Json({{"settings", settingsFingerprint_}, {"of", Json::parse(settings_)}}).dump());
    hasBegun_ = true;
  }
  picture.giveName();
  file.append(record);
}

}  // namespace pyrelux::record
