#include "Folders.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <map>
#include <system_error>

#include "FramePattern.h"
#include "MediaErrors.h"
#include "Refusal.h"

namespace fs = std::filesystem;

namespace pyrelux::studio {

namespace {

std::string lower(std::string text) {
  for (char &letter : text) letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  return text;
}

std::string kindOf(const fs::path &file) {
  static const std::array<const char *, 12> pictures{".png", ".jpg", ".jpeg", ".tif", ".tiff", ".exr",
                                                     ".bmp", ".tga", ".webp", ".gif", ".svg",  ".apng"};
  static const std::array<const char *, 7> movies{".mov", ".mkv", ".mp4", ".webm", ".avi", ".m4v", ".mxf"};
  const std::string extension = lower(file.extension().string());
  const auto isOne = [&](const auto &kinds) { return std::find(kinds.begin(), kinds.end(), extension) != kinds.end(); };
  if (isOne(pictures)) return "picture";
  if (isOne(movies)) return "movie";
  return extension == ".json" ? "project" : "other";
}

/// "fire_####.png" for "fire_0012.png"; empty for a name without a number before its extension.
std::string patternOf(const std::string &name) {
  const std::size_t dot = name.rfind('.');
  if (dot == std::string::npos || kindOf(name) != "picture") return {};
  std::size_t digits = dot;
  while (digits > 0 && std::isdigit(static_cast<unsigned char>(name[digits - 1]))) --digits;
  if (digits == dot || name.find('#') != std::string::npos || name.find('%') != std::string::npos) return {};
  return name.substr(0, digits) + std::string(dot - digits, '#') + name.substr(dot);
}

}  // namespace

Folders::Folders(const std::string &root) : root_(root.empty() ? "." : root) {
  std::error_code error;
  canonical_ = fs::canonical(root_, error);
  if (error || !fs::is_directory(canonical_, error)) media::failReading(root_, "it is no folder");
}

bool Folders::isInside(const fs::path &path) const {
  std::error_code error;
  // Links of what is there are followed, and what is not there is taken as it stands.
  const fs::path real = fs::weakly_canonical(path, error);
  if (error) return false;
  const auto [inRoot, inReal] = std::mismatch(canonical_.begin(), canonical_.end(), real.begin(), real.end());
  // A link to what is not there yet would be followed by whoever makes the file.
  return inRoot == canonical_.end() && !(fs::is_symlink(path, error) && !fs::exists(path, error));
}

void Folders::requireFrames(const fs::path &path, const std::string &asked, const std::string &field) const try {
  const media::FramePattern pattern(path.string());
  if (!pattern.isNumbered()) return;
  std::error_code error;
  for (fs::directory_iterator entry(pattern.folder(), error), end; !error && entry != end; entry.increment(error))
    if (fs::is_symlink(entry->symlink_status()) && pattern.frameOf(entry->path().filename().string()) &&
        !isInside(entry->path()))
      throw Refusal("'" + asked + "' has pictures that are not in the folder '" + name() + "'", field);
} catch (const media::MediaError &error) {
  throw Refusal(error.what(), field);
}

std::string Folders::resolve(const std::string &path, const std::string &field) const {
  if (allowed_.count(path)) return path;
  constexpr std::size_t longest = 4096;
  if (path.empty() || path.size() > longest || path.find('\0') != std::string::npos)
    throw Refusal("that is no file's name", field);
  const fs::path relative(path);
  const bool goesUp = std::any_of(relative.begin(), relative.end(), [](const fs::path &part) { return part == ".."; });
  if (relative.is_absolute() || goesUp || !isInside(canonical_ / relative))
    throw Refusal("'" + path + "' is not in the folder '" + name() + "'", field);
  requireFrames(canonical_ / relative, path, field);
  const fs::path plain = relative.lexically_normal();
  // What begins with a dash is no option, and a dash alone is not standard input.
  if (root_ == ".") return plain.string()[0] == '-' ? "./" + plain.string() : plain.string();
  return (fs::path(root_) / plain).lexically_normal().string();
}

std::string Folders::shown(const std::string &path) const {
  if (allowed_.count(path)) return path;
  if (root_ == ".") return path.rfind("./-", 0) == 0 ? path.substr(2) : path;
  return fs::path(path).lexically_relative(fs::path(root_).lexically_normal()).string();
}

void Folders::require(const std::string &path, const std::string &field) const {
  if (!allowed_.count(path) && !isInside(path))
    throw Refusal("'" + path + "' is not in the folder '" + name() + "'", field);
}

std::vector<FolderEntry> Folders::list(const std::string &folder, const std::string &field) const {
  const fs::path real = fs::path(resolve(folder, field));
  std::vector<FolderEntry> entries;
  std::map<std::string, std::vector<FolderEntry>> numbered;
  std::error_code error;
  for (fs::directory_iterator entry(real, error), end; !error && entry != end; entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    std::error_code missing;
    if (name[0] == '.' || !isInside(entry->path())) continue;
    if (entry->is_directory(missing)) {
      entries.push_back({name, true, 0, {}});
    } else if (entry->is_regular_file(missing)) {
      const FolderEntry file{name, false, entry->file_size(missing), kindOf(entry->path())};
      const std::string pattern = patternOf(name);
      (pattern.empty() ? entries : numbered[pattern]).push_back(file);
    }
  }
  if (error) throw Refusal("the folder '" + folder + "' can't be read: " + error.message(), field);
  for (auto &[pattern, files] : numbered) {
    FolderEntry sequence{pattern, false, 0, "picture"};
    for (const FolderEntry &file : files) sequence.bytes += file.bytes;
    if (files.size() > 1)
      entries.push_back(sequence);
    else
      entries.push_back(files[0]);
  }
  std::sort(entries.begin(), entries.end(), [](const FolderEntry &one, const FolderEntry &other) {
    return one.isFolder != other.isFolder ? one.isFolder : one.name < other.name;
  });
  return entries;
}

}  // namespace pyrelux::studio
