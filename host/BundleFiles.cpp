#include "BundleFiles.h"

#include <elf.h>
#include <link.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace pyrelux::host {

bool isWholeProgramLibrary(const std::string &path) {
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(path, error);
  std::ifstream file(path, std::ios::binary);
  ElfW(Ehdr) header = {};
  if (error || !file.read(reinterpret_cast<char *>(&header), sizeof header)) return false;
  if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_phentsize != sizeof(ElfW(Phdr))) return false;
  file.seekg(static_cast<std::streamoff>(header.e_phoff));
  for (int index = 0; index < header.e_phnum; ++index) {
    ElfW(Phdr) part = {};
    if (!file.read(reinterpret_cast<char *>(&part), sizeof part)) return false;
    if (part.p_type == PT_LOAD && (part.p_offset > size || part.p_filesz > size - part.p_offset)) return false;
  }
  return header.e_phnum > 0;
}

bool isShallowPropertyList(const std::string &text) {
  if (text.rfind("bplist", 0) == 0) return false;
  // Every list, dictionary or element begins with one of these, so that there are no more levels than there are such
  // characters. A bundle's list has some dozens.
  constexpr int most = 5000;
  int beginnings = 0;
  for (std::size_t at = 0; at < text.size(); ++at)
    beginnings += text[at] == '{' || text[at] == '(' || (text[at] == '<' && text.compare(at, 2, "</") != 0);
  return beginnings <= most;
}

}  // namespace pyrelux::host
