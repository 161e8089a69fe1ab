#include "Uploads.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace fs = std::filesystem;

namespace pyrelux::studio {

namespace {

[[noreturn]] void fail(const std::string &what) { throw std::runtime_error(what + ": " + std::strerror(errno)); }

}  // namespace

std::optional<std::string> uploadName(std::string_view asked) {
  static const std::array<const char *, 22> extensions{
      ".png",  ".jpg", ".jpeg", ".tif", ".tiff", ".exr", ".bmp", ".tga", ".webp", ".gif", ".svg",
      ".apng", ".mov", ".mkv",  ".mp4", ".webm", ".avi", ".m4v", ".mxf", ".json", ".ttf", ".otf"};
  constexpr std::size_t longest = 200;
  const std::size_t slash = asked.find_last_of("/\\");
  std::string name(slash == std::string_view::npos ? asked : asked.substr(slash + 1));
  const bool isText = std::none_of(
      name.begin(), name.end(), [](char letter) { return static_cast<unsigned char>(letter) < 32 || letter == 127; });
  if (name.empty() || name[0] == '.' || name.size() > longest || !isText) return std::nullopt;
  // Places of numbers would make a sequence of it.
  std::replace_if(
      name.begin(), name.end(), [](char letter) { return letter == '%' || letter == '#'; }, '_');
  std::string extension = fs::path(name).extension().string();
  for (char &letter : extension) letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  if (std::find(extensions.begin(), extensions.end(), extension) == extensions.end()) return std::nullopt;
  return name;
}

Upload::Upload(const std::string &folder, std::string name) : folder_(folder), name_(std::move(name)) {
  std::error_code error;
  fs::create_directory(folder_, error);
  // A link could lead anywhere.
  if (fs::is_symlink(folder_, error)) throw std::runtime_error("the folder for uploads is a symbolic link");
  temporary_ = folder_ + "/.upload-XXXXXX";
  file_ = mkostemp(temporary_.data(), O_CLOEXEC);
  if (file_ < 0) fail("the file can't be stored");
  fchmod(file_, 0644);
}

Upload::~Upload() {
  if (file_ >= 0) close(file_);
  if (!temporary_.empty()) unlink(temporary_.c_str());
}

void Upload::write(const void *bytes, std::size_t count) const {
  const char *from = static_cast<const char *>(bytes);
  while (count > 0) {
    const ssize_t written = ::write(file_, from, count);
    if (written < 0) fail("the file can't be stored");
    from += written;
    count -= static_cast<std::size_t>(written);
  }
}

std::string Upload::finish() {
  close(std::exchange(file_, -1));
  const fs::path plain(name_);
  constexpr int most = 1000;
  for (int number = 1; number < most; ++number) {
    const std::string name =
        number == 1 ? name_ : plain.stem().string() + "-" + std::to_string(number) + plain.extension().string();
    // A link, unlike a new name, never replaces what is there.
    if (link(temporary_.c_str(), (folder_ + "/" + name).c_str()) == 0) return name;
    if (errno != EEXIST) fail("the file can't be stored");
  }
  throw std::runtime_error("there are too many files of that name");
}

}  // namespace pyrelux::studio
