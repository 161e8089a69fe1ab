#include "TextFile.h"

#include <cerrno>
#include <cstdio>
#include <memory>

#include "MediaErrors.h"
#include "RegularFile.h"

namespace pyrelux::media {

std::string readText(const std::string &path, std::size_t mostBytes) {
  requireRegularFile(path);
  struct Close {
    void operator()(std::FILE *file) const { std::fclose(file); }
  };
  const std::unique_ptr<std::FILE, Close> file(std::fopen(path.c_str(), "rb"));
  if (!file) failReading(path, systemCause(errno));
  std::string text;
  char part[65536];
  while (const std::size_t count = std::fread(part, 1, sizeof part, file.get())) {
    text.append(part, count);
    if (text.size() > mostBytes) failReading(path, "it is longer than " + std::to_string(mostBytes) + " bytes");
  }
  if (std::ferror(file.get())) failReading(path, systemCause(errno));
  return text;
}

}  // namespace pyrelux::media
