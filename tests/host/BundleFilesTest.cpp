// What is looked at in a bundle's files before others read them.

#include "BundleFiles.h"

#include <gtest/gtest.h>
#include <link.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

namespace fs = std::filesystem;

namespace pyrelux::host {
namespace {

std::string repeated(const std::string &text, int count) {
  std::string all;
  while (count-- > 0) all += text;
  return all;
}

/// A file of one part that is to be loaded, all of it, or less a byte.
class ProgramLibrary : public ::testing::Test {
 protected:
  ~ProgramLibrary() override { fs::remove(path); }

  void save(int parts, std::uint64_t partBytes, const char *magic = ELFMAG,
            std::size_t entryBytes = sizeof(ElfW(Phdr))) const {
    ElfW(Ehdr) header = {};
    std::memcpy(header.e_ident, magic, SELFMAG);
    header.e_phoff = sizeof header;
    header.e_phentsize = static_cast<ElfW(Half)>(entryBytes);
    header.e_phnum = static_cast<ElfW(Half)>(parts);
    ElfW(Phdr) part = {};
    part.p_type = PT_LOAD;
    part.p_filesz = partBytes;
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char *>(&header), sizeof header);
    file.write(reinterpret_cast<const char *>(&part), sizeof part);
  }

  static constexpr std::uint64_t size = sizeof(ElfW(Ehdr)) + sizeof(ElfW(Phdr));
  const std::string path = fs::temp_directory_path() / ("pyrelux-library-" + std::to_string(getpid()));
};

TEST_F(ProgramLibrary, IsWholeIfAllThatIsLoadedIsThere) {
  save(1, size);
  EXPECT_TRUE(isWholeProgramLibrary(path));
  save(1, size + 1);
  EXPECT_FALSE(isWholeProgramLibrary(path));
  save(2, size);
  EXPECT_FALSE(isWholeProgramLibrary(path)) << "a part is not described";
}

TEST_F(ProgramLibrary, IsOfTheSystemsKind) {
  save(1, size, "\177elf");
  EXPECT_FALSE(isWholeProgramLibrary(path));
  save(1, size, ELFMAG, 32);
  EXPECT_FALSE(isWholeProgramLibrary(path));
}

TEST_F(ProgramLibrary, HasSomethingToLoad) {
  save(0, size);
  EXPECT_FALSE(isWholeProgramLibrary(path));
  EXPECT_FALSE(isWholeProgramLibrary(path + ".missing"));
}

TEST(PropertyList, OfBinaryKindIsNotRead) {
  EXPECT_FALSE(isShallowPropertyList("bplist00"));
  EXPECT_TRUE(isShallowPropertyList("{ kind = bplist; }"));
}

TEST(PropertyList, MayHaveSomeThousandLevels) {
  for (const char *beginning : {"{", "(", "<a>"}) {
    EXPECT_TRUE(isShallowPropertyList(repeated(beginning, 5000))) << beginning;
    EXPECT_FALSE(isShallowPropertyList(repeated(beginning, 5001))) << beginning;
  }
  EXPECT_FALSE(isShallowPropertyList(repeated("{", 2500) + repeated("(", 2501)));
}

TEST(PropertyList, MayHaveAnyNumberOfOtherCharacters) {
  EXPECT_TRUE(isShallowPropertyList(repeated("word;", 6000)));
  EXPECT_TRUE(isShallowPropertyList(repeated("<a></a>", 5000))) << "what ends is no beginning";
}

}  // namespace
}  // namespace pyrelux::host
