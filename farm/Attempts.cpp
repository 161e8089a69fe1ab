#include "Attempts.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <system_error>

#include "FarmFiles.h"
#include "Fingerprint.h"
#include "Manifest.h"
#include "MediaErrors.h"
#include "Plan.h"
#include "ValueError.h"

namespace fs = std::filesystem;

namespace pyrelux::farm {

namespace {

constexpr const char *beginName = "begin.json";
constexpr const char *endName = "end.json";
constexpr const char *picturesName = "pictures";
constexpr const char *piecesName = "pieces";
constexpr const char *manifestEnd = ".manifest.jsonl";

bool endsWith(const std::string &text, const std::string &end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

/// Seconds since 1970; 0 for what is not there.
double changeOf(const fs::path &path) {
  std::error_code error;
  const auto changed = fs::last_write_time(path, error);
  if (error) return 0.0;
  return std::chrono::duration<double>(changed - fs::file_time_type::clock::now()).count() + now();
}

bool hasLength(const std::string &path, std::uintmax_t bytes) {
  std::error_code error;
  return fs::file_size(path, error) == bytes && !error;
}

std::optional<AttemptEnd> readEnd(const fs::path &path) {
  std::error_code error;
  if (!fs::exists(path, error)) return {};
  try {
    const Json json = readJson(path);
    AttemptEnd end{json.at("exit"), json.at("cause"), json.at("seconds"), {}};
    for (const Json &frame : json.at("failed")) end.failed[frame.at("frame")] = frame.at("cause");
    return end;
  } catch (const media::InputError &) {
  } catch (const nlohmann::json::exception &) {
  }
  return {};
}

std::optional<Attempt> readAttempt(const fs::path &folder) {
  try {
    const Json json = readJson(folder / beginName);
    Attempt attempt;
    attempt.folder = folder;
    attempt.round = json.at("round");
    attempt.chunk = json.at("chunk");
    attempt.node = json.at("node");
    attempt.cores = json.at("cores");
    attempt.frames = parseFrames(json.at("frames").get<std::string>());
    attempt.started = json.at("started");
    attempt.end = readEnd(folder / endName);
    attempt.lastSign = std::max(changeOf(folder / picturesName), changeOf(folder / piecesName));
    attempt.lastSign = std::max({attempt.lastSign, changeOf(folder / beginName), changeOf(folder / endName)});
    return attempt;
  } catch (const media::InputError &) {
  } catch (const ValueError &) {
  } catch (const nlohmann::json::exception &) {
  }
  return {};
}

void readPictures(Attempts &attempts, std::size_t index) {
  Attempt &attempt = attempts.all[index];
  const fs::path folder = attempt.folder / picturesName;
  for (const fs::path &manifest : listFolder(folder)) {
    if (!endsWith(manifest.string(), manifestEnd)) continue;
    attempt.lastSign = std::max(attempt.lastSign, changeOf(manifest));
    try {
      for (const auto &[name, record] : record::readManifest(manifest.string())) {
        const std::string path = (folder / name).string();
        if (!hasLength(path, record.bytes)) continue;
        attempts.frames[record.frame].push_back(
            {index, path, record.bytes, record.fingerprint, record.sourceFingerprint, 0});
        ++attempt.finished;
      }
    } catch (const media::InputError &) {
      // It has no record yet.
    }
  }
}

void readPieces(Attempts &attempts, std::size_t index) {
  Attempt &attempt = attempts.all[index];
  for (const fs::path &path : listFolder(attempt.folder / piecesName)) {
    if (path.extension() != ".json") continue;
    try {
      const Json json = readJson(path);
      const std::string file = (path.parent_path() / json.at("file").get<std::string>()).string();
      const std::uintmax_t bytes = json.at("bytes");
      if (!hasLength(file, bytes)) continue;
      std::int64_t place = 0;
      parseFrames(json.at("frames").get<std::string>()).forEach([&](std::int64_t frame) {
        attempts.frames[frame].push_back({index, file, bytes, json.at("xxh3"), "", place++});
        return true;
      });
      attempt.finished += place;
    } catch (const media::InputError &) {
    } catch (const ValueError &) {
    } catch (const nlohmann::json::exception &) {
    }
  }
}

}  // namespace

Attempts readAttempts(const fs::path &farm) {
  Attempts attempts;
  for (const fs::path &folder : listFolder(Layout{fs::absolute(farm)}.attempts()))
    if (auto attempt = readAttempt(folder)) attempts.all.push_back(std::move(*attempt));
  for (std::size_t index = 0; index < attempts.all.size(); ++index) {
    readPictures(attempts, index);
    readPieces(attempts, index);
  }
  attempts.countsFrom = newestAnew(fs::absolute(farm));
  return attempts;
}

Attempt beginAttempt(const fs::path &farm, int round, int chunk, const FrameList &frames, int cores) {
  Attempt attempt;
  attempt.round = round;
  attempt.chunk = chunk;
  attempt.node = nodeName();
  attempt.cores = cores;
  attempt.frames = frames;
  attempt.started = now();
  char number[32];
  std::snprintf(number, sizeof number, "%d-%04d-", round, chunk);
  attempt.folder = Layout{fs::absolute(farm)}.attempts() / (number + attempt.node + "-" + uniqueWord());
  makeFolder(attempt.folder / picturesName);
  makeFolder(attempt.folder / piecesName);
  writeJson(attempt.folder / beginName, {{"round", round},
                                         {"chunk", chunk},
                                         {"node", attempt.node},
                                         {"cores", cores},
                                         {"started", attempt.started},
                                         {"frames", formatFrames(frames)}});
  return attempt;
}

void endAttempt(const Attempt &attempt, const AttemptEnd &end) {
  Json failed = Json::array();
  for (const auto &[frame, cause] : end.failed) failed.push_back({{"frame", frame}, {"cause", cause}});
  writeJson(attempt.folder / endName,
            {{"exit", end.exitCode}, {"cause", end.cause}, {"seconds", end.seconds}, {"failed", failed}});
}

void recordPiece(const fs::path &path, const FrameList &frames) {
  std::error_code error;
  const std::uintmax_t bytes = fs::file_size(path, error);
  if (error) media::failReading(path.string(), media::systemCause(error.value()));
  writeJson(path.string() + ".json", {{"file", path.filename().string()},
                                      {"frames", formatFrames(frames)},
                                      {"bytes", bytes},
                                      {"xxh3", record::fingerprintOfFile(path.string())}});
}

std::string picturesOf(const Attempt &attempt, const std::string &name) {
  return (attempt.folder / picturesName / name).string();
}

std::string settingsOf(const Attempt &attempt) {
  const fs::path folder = attempt.folder / picturesName;
  for (const fs::path &manifest : listFolder(folder)) {
    if (!endsWith(manifest.string(), manifestEnd)) continue;
    std::ifstream file(manifest, std::ios::binary);
    std::string line;
    std::getline(file, line);
    const Json json = Json::parse(line, nullptr, false);
    // As it was written, in ASCII.
    if (json.is_object() && json.contains("of")) return json["of"].dump(-1, ' ', true);
  }
  media::failReading(folder.string(), "it has no manifest that tells how its pictures were made");
}

}  // namespace pyrelux::farm
