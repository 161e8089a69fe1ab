// The table in docs/formats.md says what the program does.

#include <fstream>
#include <set>
#include <sstream>

#include "FileFormat.h"
#include "TestFiles.h"

namespace pyrelux::media::test {
namespace {

struct FormatRow {
  std::vector<std::string> extensions;
  std::string codec;
  std::string bits;
  std::string alpha;
  std::string audio;
};

/// What stands between each pair of backquotes, or everything else.
std::vector<std::string> partsOf(const std::string &cell, bool areQuoted) {
  std::vector<std::string> parts;
  std::istringstream stream(cell);
  bool isQuoted = false;
  for (std::string part; std::getline(stream, part, '`'); isQuoted = !isQuoted)
    if (isQuoted == areQuoted) parts.push_back(part);
  return parts;
}

std::set<int> numbersIn(const std::string &text) {
  std::set<int> numbers;
  const std::string digits = "0123456789";
  for (std::size_t begin = text.find_first_of(digits); begin != std::string::npos;) {
    const std::size_t end = text.find_first_not_of(digits, begin);
    numbers.insert(std::stoi(text.substr(begin, end - begin)));
    begin = text.find_first_of(digits, end);
  }
  return numbers;
}

std::string trimmed(const std::string &cell) {
  const std::size_t begin = cell.find_first_not_of(' ');
  return begin == std::string::npos ? "" : cell.substr(begin, cell.find_last_not_of(' ') + 1 - begin);
}

/// The rows of the table whose first column is an extension.
std::vector<FormatRow> tableRows() {
  std::ifstream file(PYRELUX_DOCS "/formats.md");
  std::vector<FormatRow> rows;
  for (std::string line; std::getline(file, line);) {
    if (line.rfind("| `.", 0) != 0) continue;
    std::vector<std::string> cells;
    std::istringstream stream(line.substr(1));
    for (std::string cell; std::getline(stream, cell, '|');) cells.push_back(trimmed(cell));
    if (cells.size() == 7)
      rows.push_back({partsOf(cells[0], true), partsOf(cells[1], true).at(0), cells[2], cells[3], cells[4]});
  }
  return rows;
}

std::string alphaText(const Codec &codec) {
  return codec.alpha == AlphaUse::None ? "none" : codec.alpha == AlphaUse::Straight ? "straight" : "premultiplied";
}

class FormatTableTest : public MediaTest {
 protected:
  /// The depth of what is written, as it is read.
  int depthOf(const std::string &extension, const std::string &codec, int bits) const {
    OutputFormat format{64, 16, bits, {}};
    format.codec = codec;
    write(path("a" + extension), format, {flat(64, 16, 0.4f, 0.2f, 0.1f, 0.5f)});
    return Reader::open(path("a" + extension))->info().bitsPerComponent;
  }
};

TEST_F(FormatTableTest, HasEveryCodecOfEveryFormatInTheirOrderAndNoOther) {
  std::vector<std::string> listed;
  for (const FormatRow &row : tableRows())
    for (const std::string &extension : row.extensions) listed.push_back(extension + " " + row.codec);
  std::vector<std::string> known;
  for (const FileFormat &file : fileFormats())
    for (const Codec &codec : file.codecs)
      if (file.isFile) known.push_back(std::string(file.extension) + " " + codec.name);
  EXPECT_EQ(listed, known);
}

TEST_F(FormatTableTest, TellsAlphaAudioAndDepth) {
  for (const FormatRow &row : tableRows())
    for (const std::string &extension : row.extensions) {
      SCOPED_TRACE(extension + " " + row.codec);
      const std::string name = "a" + extension;
      const Codec &codec = formatOf(name).codec(row.codec, name);
      EXPECT_EQ(row.alpha, alphaText(codec));
      EXPECT_EQ(row.audio, Writer::holdsAudio(name) ? "yes" : "no");
      // FFmpeg does not decode animated WebP; a GIF's colours are counted, not its bits.
      if (extension == ".webp" || extension == ".gif") continue;
      std::set<int> told;
      for (const std::string &part : partsOf(row.bits, false)) told.merge(numbersIn(part));
      std::set<int> found = {depthOf(extension, row.codec, 8), depthOf(extension, row.codec, 16)};
      // Halves are read as floats of 32 bits. ProRes is decoded into 12 bits, and its alpha has its own depth.
      if (row.codec == "half") found = {16};
      if (row.codec == "prores") found = {10, 16};
      EXPECT_EQ(told, found);
    }
}

}  // namespace
}  // namespace pyrelux::media::test
