#pragma once

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace pyrelux::studio {

/// What is in a folder, for a page.
struct FolderEntry {
  std::string name;  ///< of a numbered sequence with "####" in the place of the number
  bool isFolder = false;
  std::uintmax_t bytes = 0;  ///< of a sequence its pictures' together
  std::string kind;          ///< "picture", "movie", "project" or "other"; empty for a folder
};

/// The one folder that pages may name files in. Paths of pages are counted from it; symbolic links that lead out of it
/// are refused, and so is every way up. Thread: any.
class Folders {
 public:
  /// Throws media::InputError when it is no folder.
  explicit Folders(const std::string &root);

  /// "." for the folder that the program was started in.
  const std::string &root() const { return root_; }

  /// The root's last part, for people.
  std::string name() const { return canonical_.filename().string(); }

  /// What the command line named may be anywhere.
  void allow(const std::string &path) { allowed_.insert(path); }

  /// The path, as this process takes it, of a page's path to a file that is there or may be made, or to a pattern of
  /// files. Throws Refusal with the field's name.
  std::string resolve(const std::string &path, const std::string &field) const;

  /// A path that resolve() gave, as pages know it.
  std::string shown(const std::string &path) const;

  /// Throws Refusal unless the file, named as this process takes it, lies in the root or was allowed.
  void require(const std::string &path, const std::string &field) const;

  /// In alphabetical order, folders first; without hidden files and what resolve() refuses. Throws Refusal.
  std::vector<FolderEntry> list(const std::string &folder, const std::string &field) const;

 private:
  bool isInside(const std::filesystem::path &path) const;
  /// Refuses a pattern of files of which one is a link out.
  void requireFrames(const std::filesystem::path &path, const std::string &asked, const std::string &field) const;

  std::string root_;
  std::filesystem::path canonical_;
  std::set<std::string> allowed_;
};

}  // namespace pyrelux::studio
