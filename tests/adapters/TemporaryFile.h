#pragma once

#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>

namespace pyrelux::adapters::test {

/// A .json file that is there while the object lives.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string &text) {
    char name[] = "/tmp/pyrelux-look-XXXXXX.json";
    const int descriptor = mkstemps(name, 5);
    if (descriptor < 0) throw std::runtime_error("no temporary file");
    close(descriptor);
    path_ = name;
    std::ofstream(path_) << text;
  }
  ~TemporaryFile() { std::remove(path_.c_str()); }
  TemporaryFile(const TemporaryFile &) = delete;
  TemporaryFile &operator=(const TemporaryFile &) = delete;

  const std::string &path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace pyrelux::adapters::test
