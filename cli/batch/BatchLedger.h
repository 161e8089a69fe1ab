#pragma once

#include <map>
#include <string>

namespace pyrelux::cli {

/// What a batch has finished: a file of lines beside the outputs, one for each output that is complete. Thread: one at
/// a time.
class BatchLedger {
 public:
  /// `path`: the file; missing is as good as empty, and lines that are none are left out. Throws media::InputError when
  /// it can't be read.
  explicit BatchLedger(std::string path);

  /// Whether the output was finished with this record and its file is as it was then.
  bool holds(const std::string &output, const std::string &record) const;

  /// Notes that the output is complete. Throws media::OutputError.
  void add(const std::string &output, const std::string &record);

 private:
  std::string path_;
  std::map<std::string, std::string> states_;  ///< by output
};

}  // namespace pyrelux::cli
