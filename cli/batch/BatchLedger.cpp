#include "BatchLedger.h"

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <system_error>

#include "Fingerprint.h"
#include "MediaErrors.h"

namespace fs = std::filesystem;

namespace pyrelux::cli {

namespace {

/// What tells whether a file is the one that was written with a record; empty without a file.
std::string stateOf(const std::string &output, const std::string &record) {
  std::error_code error;
  const auto size = fs::file_size(output, error);
  if (error) return {};
  const auto changed = fs::last_write_time(output, error).time_since_epoch().count();
  return record::Fingerprint().add(record).text() + " " + std::to_string(size) + " " + std::to_string(changed);
}

}  // namespace

BatchLedger::BatchLedger(std::string path) : path_(std::move(path)) {
  std::ifstream file(path_, std::ios::binary);
  for (std::string line; std::getline(file, line);) {
    const auto entry = nlohmann::json::parse(line, nullptr, false);
    // The last line of a run that was killed may be half a line.
    const auto isText = [&](const char *key) { return entry.contains(key) && entry[key].is_string(); };
    if (isText("output") && isText("state")) states_[entry["output"]] = entry["state"];
  }
  std::error_code error;
  if (!file.is_open() && fs::exists(path_, error)) media::failReading(path_, "it can't be read");
}

bool BatchLedger::holds(const std::string &output, const std::string &record) const {
  const auto found = states_.find(output);
  return found != states_.end() && found->second == stateOf(output, record);
}

void BatchLedger::add(const std::string &output, const std::string &record) {
  states_[output] = stateOf(output, record);
  const nlohmann::ordered_json entry = {{"output", output}, {"state", states_[output]}};
  std::ofstream file(path_, std::ios::binary | std::ios::app);
  // A line of its own, whatever half a line is before it.
  file << "\n" + entry.dump() << std::flush;
  if (!file) media::failWriting(path_, "it can't be written");
}

}  // namespace pyrelux::cli
