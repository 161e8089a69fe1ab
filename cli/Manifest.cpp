#include "Manifest.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <system_error>

#include "Fingerprint.h"
#include "FramePattern.h"
#include "Media.h"

namespace fs = std::filesystem;

namespace pyrelux::cli {

namespace {

using Json = nlohmann::ordered_json;

std::string causeOf(int error) { return std::generic_category().message(error); }

/// Adds what the line says, if it is a record.
void addRecord(const std::string &line, FrameRecords &records) {
  const Json object = Json::parse(line, nullptr, false);
  if (!object.is_object()) return;
  const auto text = [&object](const char *name) {
    const auto found = object.find(name);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
  };
  const auto frame = object.find("frame");
  const auto bytes = object.find("bytes");
  FrameRecord record{text("file"), 0, text("xxh3"), text("origin")};
  // A name of another folder is nothing that this program wrote.
  if (record.file.empty() || record.file.find('/') != std::string::npos || record.fingerprint.empty()) return;
  if (frame == object.end() || !frame->is_number_integer() || bytes == object.end() || !bytes->is_number_unsigned())
    return;
  record.bytes = bytes->get<std::uintmax_t>();
  records[frame->get<std::int64_t>()] = record;
}

FrameRecords recordsIn(const std::string &path) {
  FrameRecords records;
  std::ifstream file(path, std::ios::binary);
  for (std::string line; std::getline(file, line);) addRecord(line, records);
  return records;
}

std::string folderOf(const std::string &path) {
  const std::string folder = fs::path(path).parent_path().string();
  return folder.empty() ? "." : folder;
}

}  // namespace

FrameRecords readManifest(const std::string &path) {
  const auto fail = [&path](const std::string &cause) {
    throw media::InputError("cannot read '" + path + "': " + cause);
  };
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (!fs::exists(status)) fail("no such file");
  if (!fs::is_regular_file(status)) fail("it is not a regular file");
  if (access(path.c_str(), R_OK) != 0) fail(causeOf(errno));
  FrameRecords records = recordsIn(path);
  if (records.empty()) fail("it is not a manifest: it records no frame");
  return records;
}

RecordState stateOf(const FrameRecord &record, const std::string &folder) {
  const std::string path = folder + "/" + record.file;
  std::error_code error;
  const std::uintmax_t bytes = fs::file_size(path, error);
  if (error) return RecordState::Missing;
  return bytes == record.bytes && fingerprintOfFile(path) == record.fingerprint ? RecordState::Right
                                                                                : RecordState::Different;
}

std::string Manifest::pathFor(const std::string &output) {
  const media::FramePattern pattern(output);
  return pattern.folder() + "/" + pattern.unnumberedName() + ".manifest.jsonl";
}

Manifest::Manifest(const std::string &output, const std::string &settings)
    : output_(output),
      path_(pathFor(output)),
      settings_(settings),
      settingsFingerprint_(Fingerprint().add(settings).text()),
      before_(recordsIn(path_)) {}

Manifest::~Manifest() {
  if (file_ >= 0) close(file_);
}

std::string Manifest::originOf(const Image &input) const {
  return Fingerprint().add(settingsFingerprint_).add(input).text();
}

bool Manifest::holds(std::int64_t frame, const std::string &origin) const {
  const auto found = before_.find(frame);
  return found != before_.end() && found->second.origin == origin &&
         found->second.file == fs::path(media::FramePattern(output_).path(frame)).filename() &&
         stateOf(found->second, folderOf(path_)) == RecordState::Right;
}

void Manifest::add(std::int64_t frame, const std::string &origin) {
  if (file_ < 0) begin();
  const std::string path = media::FramePattern(output_).path(frame);
  const Json record = {{"frame", frame},
                       {"file", fs::path(path).filename().string()},
                       {"bytes", fs::file_size(path)},
                       {"xxh3", fingerprintOfFile(path)},
                       {"origin", origin}};
  append(record.dump() + "\n");
}

void Manifest::begin() {
  const bool isStale = std::none_of(before_.begin(), before_.end(), [this](const auto &record) {
    return fs::exists(folderOf(path_) + "/" + record.second.file);
  });
  file_ = open(path_.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC | (isStale ? O_TRUNC : 0), 0666);
  if (file_ < 0) failWriting();
  // Whoever was killed may have left half a line.
  char last = '\n';
  const off_t end = lseek(file_, 0, SEEK_END);
  if (end > 0 && pread(file_, &last, 1, end - 1) == 1 && last != '\n') append("\n");
  append(Json({{"settings", settingsFingerprint_}, {"of", Json::parse(settings_)}}).dump() + "\n");
}

void Manifest::append(const std::string &line) {
  // In one call, so that lines of several programs do not mix.
  if (write(file_, line.data(), line.size()) != static_cast<ssize_t>(line.size())) failWriting();
}

void Manifest::failWriting() const { throw media::OutputError("cannot write '" + path_ + "': " + causeOf(errno)); }

}  // namespace pyrelux::cli
