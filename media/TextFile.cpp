#include "TextFile.h"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <string_view>

#include "MediaErrors.h"
#include "RegularFile.h"
#include "StandardStream.h"

namespace pyrelux::media {

namespace {

std::string readAll(std::FILE *file, const std::string &path, std::size_t mostBytes) {
  std::string text;
  char part[65536];
  while (const std::size_t count = std::fread(part, 1, sizeof part, file)) {
    text.append(part, count);
    if (text.size() > mostBytes) failReading(path, "it is longer than " + std::to_string(mostBytes) + " bytes");
  }
  if (std::ferror(file)) failReading(path, systemCause(errno));
  return text;
}

}  // namespace

bool isUtf8(const std::string &text) {
  try {
    nlohmann::json(text).dump();
    return true;
  } catch (const nlohmann::json::type_error &) {
    return false;
  }
}

std::string readText(const std::string &path, std::size_t mostBytes) {
  if (path == standardInput) {
    takeStandardInput();
    return readAll(stdin, path, mostBytes);
  }
  requireRegularFile(path);
  struct Close {
    void operator()(std::FILE *file) const { std::fclose(file); }
  };
  const std::unique_ptr<std::FILE, Close> file(std::fopen(path.c_str(), "rb"));
  if (!file) failReading(path, systemCause(errno));
  return readAll(file.get(), path, mostBytes);
}

std::string readUtf8(const std::string &path, std::size_t mostBytes) {
  constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
  std::string text = readText(path, mostBytes);
  if (!isUtf8(text) || text.find('\0') != std::string::npos) failReading(path, "it is not UTF-8; save it as UTF-8");
  if (text.rfind(byteOrderMark, 0) == 0) text.erase(0, byteOrderMark.size());
  return text;
}

}  // namespace pyrelux::media
